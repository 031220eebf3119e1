#include "pages/DiscDump.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

#include "device/Commands.h"
#include "udf/UdfLimits.h"
#include "udf/UdfReader.h"

namespace {

// The file side of a dump: sectors that could not be read are held back as
// a count and written (as copies of the last good sector) only once a later
// sector reads, so a dump that ends in a long unreadable stretch ends
// before it.
struct DumpWriter {
    FILE* file;
    uint8_t last[kSectorSize] = {};
    uint32_t unreadable = 0;
    uint32_t written = 0;

    void Good(const uint8_t* sector) {
        for (; unreadable > 0; --unreadable) Put(last);
        std::memcpy(last, sector, sizeof last);
        Put(last);
    }
    // False when the stretch is too long to be part of the disc.
    bool Bad() { return ++unreadable <= kDumpMaxUnreadableRun; }
    void Finish() {
        for (; unreadable > 0; --unreadable) Put(last);
    }
    void Put(const uint8_t* sector) {
        std::fwrite(sector, 1, kSectorSize, file);
        ++written;
    }
};

}  // namespace

uint32_t DumpSectorCount(uint32_t lowestDataSector, const MediumEnd& end) {
    if (!end.known)
        return lowestDataSector == 0xFFFFFFFFu ? 0 : std::min(lowestDataSector, kUdfLargestMediumSectors);
    return end.sectors < lowestDataSector ? static_cast<uint32_t>(end.sectors) : lowestDataSector;
}

DumpOutcome WriteSectors(CDevice& device, uint32_t count, const char* path, uint32_t* written, CProgress* progress) {
    if (written) *written = 0;
    if (count == 0) return DumpOutcome::NothingToCopy;
    FILE* file = std::fopen(path, "wb");
    if (!file) return DumpOutcome::CannotOpen;
    std::vector<uint8_t> run(static_cast<size_t>(kDumpRunSectors) * kSectorSize);
    DumpWriter out{file};
    bool going = true;
    for (uint32_t s = 0; s < count && going;) {
        uint32_t n = std::min(kDumpRunSectors, count - s);
        bool whole = ReadSectors(device, s, static_cast<uint16_t>(n), run.data()) == n;
        for (uint32_t i = 0; i < n && going; ++i) {
            uint8_t* sector = run.data() + static_cast<size_t>(i) * kSectorSize;
            // Whatever a failing drive left in the buffer is never copied.
            if (whole || ReadSectors(device, s + i, 1, sector) == 1) out.Good(sector);
            else going = out.Bad();
        }
        s += n;
        if (progress) progress->Advance(s, count);
    }
    if (going) out.Finish();
    std::fclose(file);
    if (written) *written = out.written;
    return DumpOutcome::Written;
}

DumpOutcome DumpDisc(CDevice& device, const char* path, uint32_t* sectorsWritten, CProgress* progress) {
    if (sectorsWritten) *sectorsWritten = 0;
    // The reader stays mounted while the sectors are copied: releasing it
    // closes the device it was given.
    CUdfReader reader;
    if (!reader.MountDevice(&device)) return DumpOutcome::NoVolume;
    uint32_t lowest = reader.lowestDataSector;
    if (lowest == 0) return DumpOutcome::NothingToCopy;
    uint32_t count = DumpSectorCount(lowest, reader.medium);
    return WriteSectors(device, count, path, sectorsWritten, progress);
}
