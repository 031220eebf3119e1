#pragma once
// Finds every optical drive through the Setup API, identifies it and reads
// its capabilities.

#include <cstdint>

#include "device/DriveEntry.h"

// Appends every present optical drive to `list` and sorts the whole list by
// letter; returns how many were added. `capabilityFilter` keeps only drives
// that write DVD-R, DVD+R or BD.
int32_t EnumerateDrives(DriveList& list, bool capabilityFilter);

// The letter whose DOS device is \Device\CdRom<n>; 'A' when none is.
char FindDriveLetter(uint32_t deviceNumber);

// Interface details above this many bytes are not believed.
constexpr unsigned long kMaxInterfaceDetail = 1024;
