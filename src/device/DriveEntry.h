#pragma once
// One enumerated optical drive, and the list of them sorted by letter.

#include <string>
#include <vector>

#include "device/Capabilities.h"
#include "device/TidyCopy.h"

struct DriveEntry {
    char letter;
    DriveCapabilities capabilities;
    char displayText[kDisplayTextSize];
    std::string devicePath;
};

using DriveList = std::vector<DriveEntry>;

// Ascending by drive letter; entries with equal letters keep their order.
void SortDriveList(DriveList& list);
