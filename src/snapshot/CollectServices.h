#pragma once
// The services and the drivers that the service control manager knows: one
// builder, with a flag, turns their recorded answers into either section.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "snapshot/XmlDocument.h"

struct ServiceAnswer {
    std::u16string name;
    std::u16string displayName;
    uint32_t currentState = 0;
    bool configRead = false;  // the configuration could be read
    std::u16string binaryPath;
    std::u16string startName;
    uint32_t startType = 0;
    std::optional<std::u16string> description;  // the registry's Description, as stored
};

// "BOOT_START" .. "DISABLED", "N/A" from 5 on.
const char* ServiceStartTypeName(uint32_t startType);
// "STOPPED" .. "PAUSED" for 1 to 7, "N/A" for 0 and from 8 on.
const char* ServiceStateName(uint32_t state);

// `driver_info` (drivers) or `service_info` with one `item` per entry; an
// absent list (it could not be read) still appends the empty section.
bool BuildServiceInfo(XmlNode* root, bool drivers, const std::optional<std::vector<ServiceAnswer>>& services);
