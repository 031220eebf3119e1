#pragma once
// Read-ahead for the reader: a read that misses takes the whole aligned
// 64 KiB window around it from the drive in one command and keeps it, so
// that the many small reads of a mount (entries, directories, allocation
// extent descriptors, metadata) cost one command per window instead of one
// per descriptor. A window whose command fails is read sector by sector, as
// each sector is asked for, so a bad sector costs only itself.

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "device/Device.h"
#include "pages/MediumEnd.h"

constexpr uint32_t kReadAheadWindowSectors = 32;  // 64 KiB

class CReadAhead {
public:
    void Attach(CDevice* drive, const MediumEnd& end);
    void Clear();
    // Copies sectors [first, first + count) into dst; false (dst then holds
    // whatever was read) when any of them cannot be read.
    bool Read(uint32_t first, uint32_t count, uint8_t* dst);
    uint64_t MemoryInUse() const;

private:
    enum : uint8_t { kUnknown, kGood, kBad };
    struct Window {
        uint32_t index = 0;
        uint32_t count = 0;  // sectors the window holds (fewer at the medium's end)
        std::vector<uint8_t> data;
        std::vector<uint8_t> state;
        uint64_t used = 0;
    };
    Window& Fetch(uint32_t index);
    Window& Slot();
    bool SectorReadable(Window& window, uint32_t at);

    CDevice* device = nullptr;
    MediumEnd medium{false, 0};
    std::vector<Window> windows;
    std::unordered_map<uint32_t, std::size_t> where;  // window index -> slot
    uint64_t clock = 0;
};
