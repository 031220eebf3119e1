#pragma once
// The network adapters section from the adapter list the platform gave.

#include <cstdint>
#include <string>
#include <vector>

#include "snapshot/XmlDocument.h"

struct AdapterAnswer {
    std::string name;         // UTF-8, converted from the code page
    std::string description;  // UTF-8, converted from the code page
    uint32_t addressLength = 0;
    uint8_t address[8] = {};
    std::vector<std::string> addresses;  // dotted strings, as the platform gives them
    std::vector<std::string> gateways;
    bool interfaceRead = false;  // the interface row could be read
    uint32_t operStatus = 0;
};

// The operational status names, indexed 0 to 5.
const char* AdapterStatusName(uint32_t status);

// `netcard_info` with one `netcard` per adapter, in list order; always
// appended (empty when the list could not be read). The MAC text buffer is
// shared by all adapters of one run and never cleared between them, so an
// adapter without an address repeats the one before it.
bool BuildNetcardInfo(XmlNode* root, const std::vector<AdapterAnswer>& adapters);
