#pragma once
// The drives command: one line per optical drive the selector would list.

#include <cstdint>
#include <string>
#include <vector>

#include "emulation/DriveFile.h"
#include "report/ReportSession.h"

struct ListedDrive {
    std::string selector;  // the drive selector's text
    char letter = 0;       // 0: the drive has no letter
    uint8_t address[4] = {};  // PortNumber PathId TargetId Lun
    std::string devicePath;
};

// Identifies the emulated drive of `file` (its INQUIRY) as enumeration
// would, adding what that cost to `cost`.
ListedDrive ListEmulatedDrive(const DriveFile& file, DriveCost& cost);

// Sorted by letter as the selector sorts; equal letters keep their order.
void SortListedDrives(std::vector<ListedDrive>& drives);

// "selector<TAB>E:<TAB>port:path:target:lun<TAB>path" lines; "-" for no letter.
std::string FormatDriveList(const std::vector<ListedDrive>& drives);
