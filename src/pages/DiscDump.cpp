#include "pages/DiscDump.h"

#include <cstdio>
#include <cstring>

#include "common/ByteReader.h"
#include "device/Commands.h"
#include "pages/MediaCommands.h"
#include "udf/UdfReader.h"

MediumEnd ReadMediumEnd(CDevice& device) {
    uint8_t answer[kReadCapacityLength] = {};
    if (!ReadCapacity(device, answer)) return MediumEnd{false, 0};
    uint32_t last = ByteReader(answer, sizeof answer).BE32(0);
    if (last == 0xFFFFFF6Au) return MediumEnd{true, 0};
    return MediumEnd{true, static_cast<uint64_t>(last) + 1u};
}

uint32_t DumpSectorCount(uint32_t lowestDataSector, const MediumEnd& end) {
    if (!end.known) return lowestDataSector == 0xFFFFFFFFu ? 0 : lowestDataSector;
    return end.sectors < lowestDataSector ? static_cast<uint32_t>(end.sectors) : lowestDataSector;
}

DumpOutcome WriteSectors(CDevice& device, uint32_t count, const char* path) {
    if (count == 0) return DumpOutcome::NothingToCopy;
    FILE* file = std::fopen(path, "wb");
    if (!file) return DumpOutcome::CannotOpen;
    uint8_t buffer[kSectorSize] = {};
    uint8_t incoming[kSectorSize];
    for (uint32_t s = 0; s < count; ++s) {
        // A sector that cannot be read repeats the one before (zeros before
        // the first), whatever a failing drive left in the transfer buffer.
        if (ReadSectors(device, s, 1, incoming) == 1) std::memcpy(buffer, incoming, sizeof buffer);
        std::fwrite(buffer, 1, sizeof buffer, file);
    }
    std::fclose(file);
    return DumpOutcome::Written;
}

DumpOutcome DumpDisc(CDevice& device, const char* path, uint32_t* sectorsWritten) {
    if (sectorsWritten) *sectorsWritten = 0;
    // The reader stays mounted while the sectors are copied: releasing it
    // closes the device it was given.
    CUdfReader reader;
    if (!reader.MountDevice(&device)) return DumpOutcome::NoVolume;
    uint32_t lowest = reader.lowestDataSector;
    if (lowest == 0) return DumpOutcome::NothingToCopy;
    uint32_t count = DumpSectorCount(lowest, ReadMediumEnd(device));
    DumpOutcome outcome = WriteSectors(device, count, path);
    if (outcome == DumpOutcome::Written && sectorsWritten) *sectorsWritten = count;
    return outcome;
}
