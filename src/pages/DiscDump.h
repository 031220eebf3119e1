#pragma once
// The disc dump: a raw copy of the sectors in front of the first file data
// of the disc's UDF volume, never past the end of the medium. The toolbar's
// "Save Image" and `vexlon-report dump OUT` both write through here.

#include <cstdint>

#include "common/Progress.h"
#include "device/Device.h"
#include "pages/MediumEnd.h"

enum class DumpOutcome {
    NoVolume,       // no UDF volume mounts: nothing is written
    NothingToCopy,  // the bound is 0 sectors: nothing is written
    CannotOpen,     // the target file cannot be created
    Written,
};

// Sectors read by one command: 64 KiB, the size a drive moves at full rate.
constexpr uint32_t kDumpRunSectors = 32;

// A stretch of this many sectors that no read gets through ends the dump
// there: the rest is taken as beyond what the disc holds (a drive that
// claims a far larger medium than it has), since copying it would only
// repeat one sector. Shorter unreadable stretches are copied as before.
constexpr uint32_t kDumpMaxUnreadableRun = 1024;

// Sectors to copy: up to the lowest file-data sector, and never beyond the
// medium. A volume without file data (lowest still FFFFFFFFh) is bounded by
// the medium alone, and by nothing at all when the medium's end is unknown,
// so it then copies nothing rather than 8 TiB; with file data and no known
// end, at most the largest medium made.
uint32_t DumpSectorCount(uint32_t lowestDataSector, const MediumEnd& end);

// Copies sectors 0 .. count-1 to `path` (fopen "wb") in runs of
// kDumpRunSectors; a run that fails is read again sector by sector, and a
// sector that still fails writes the previous sector's contents again (zeros
// before the first), as the sectors are copied blind. `count` is from
// DumpSectorCount; `written` gets the sectors that went into the file.
DumpOutcome WriteSectors(CDevice& device, uint32_t count, const char* path, uint32_t* written = nullptr,
                         CProgress* progress = nullptr);

// Mounts a reader on `device`, bounds the copy and writes it: the whole dump
// for a device that the caller already opened (the report tool, the tests).
DumpOutcome DumpDisc(CDevice& device, const char* path, uint32_t* sectorsWritten = nullptr,
                     CProgress* progress = nullptr);
