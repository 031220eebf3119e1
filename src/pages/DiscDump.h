#pragma once
// The disc dump: a raw copy of the sectors in front of the first file data
// of the disc's UDF volume, never past the end of the medium. The toolbar's
// "Save Image" and `vexlon-report dump OUT` both write through here.

#include <cstdint>

#include "device/Device.h"

enum class DumpOutcome {
    NoVolume,       // no UDF volume mounts: nothing is written
    NothingToCopy,  // the bound is 0 sectors: nothing is written
    CannotOpen,     // the target file cannot be created
    Written,
};

// The end of the medium from READ CAPACITY: last LBA + 1, with FFFFFF6Ah
// (the pre-gap of an empty disc) as 0. `known` is false when the drive does
// not answer.
struct MediumEnd {
    bool known;
    uint64_t sectors;
};
MediumEnd ReadMediumEnd(CDevice& device);

// Sectors to copy: up to the lowest file-data sector, and never beyond the
// medium. A volume without file data (lowest still FFFFFFFFh) is bounded by
// the medium alone, and by nothing at all when the medium's end is unknown,
// so it then copies nothing rather than 8 TiB.
uint32_t DumpSectorCount(uint32_t lowestDataSector, const MediumEnd& end);

// Copies sectors 0 .. count-1 to `path` (fopen "wb"), one READ(10) each; a
// failed read writes the previous buffer's contents again, as the sectors
// are copied blind. `count` is from DumpSectorCount.
DumpOutcome WriteSectors(CDevice& device, uint32_t count, const char* path);

// Mounts a reader on `device`, bounds the copy and writes it: the whole dump
// for a device that the caller already opened (the report tool, the tests).
DumpOutcome DumpDisc(CDevice& device, const char* path, uint32_t* sectorsWritten = nullptr);
