#pragma once
// What the Sector Viewer shows, without any window: the range of sectors a
// disc offers and the hex dump text of one 2048-byte sector. The page and
// `vexlon-report sector N` both print through these.

#include <cstddef>
#include <cstdint>
#include <string>

#include "device/Device.h"

// The sector every refresh shows first, whatever the disc.
constexpr uint32_t kFirstShownSector = 320;
constexpr uint32_t kSectorTextRows = 128;
constexpr uint32_t kSectorTextRowLength = 78;  // including CR LF

struct SectorRange {
    bool enabled;         // the number edit and its up-down take input
    uint32_t last;        // the up-down's upper bound
    std::string countText;  // "/ %d" of last + 1, for the static beside them
};

// READ CAPACITY through `device`, which must be freshly attached (no media
// type classified), so the answer always comes from the drive.
SectorRange ReadSectorRange(CDevice& device);

// The 128 rows of "offset| hex bytes |characters" CR LF for `sector`, a
// view of up to 2048 bytes (missing bytes show as 00). Offsets are the low
// 32 bits of lba * 2048 + 16 * row.
std::string FormatSectorText(const uint8_t* sector, size_t size, uint32_t lba);

// Reads sector `lba` into a zeroed buffer (a failed read shows zeros) and
// formats it.
std::string ReadSectorText(CDevice& device, uint32_t lba);

// Decimal sector number as the report takes it: digits only, at most
// 4294967295. False for anything else.
bool ParseSectorNumber(const std::string& text, uint32_t& lba);
