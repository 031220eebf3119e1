#include "udf/UdfReadAhead.h"

#include <algorithm>
#include <cstring>

#include "device/Commands.h"
#include "udf/UdfLimits.h"

void CReadAhead::Attach(CDevice* drive, const MediumEnd& end) {
    Clear();
    device = drive;
    medium = end;
}

void CReadAhead::Clear() {
    windows.clear();
    windows.shrink_to_fit();
    where.clear();
    clock = 0;
}

uint64_t CReadAhead::MemoryInUse() const {
    uint64_t bytes = 0;
    for (const Window& w : windows) bytes += w.data.capacity() + w.state.capacity() + sizeof w;
    return bytes;
}

// A free slot, or the least recently used one once the bound is reached.
CReadAhead::Window& CReadAhead::Slot() {
    if (windows.size() < kUdfReadAheadWindows) {
        windows.emplace_back();
        return windows.back();
    }
    auto oldest = std::min_element(windows.begin(), windows.end(),
                                   [](const Window& a, const Window& b) { return a.used < b.used; });
    where.erase(oldest->index);
    return *oldest;
}

CReadAhead::Window& CReadAhead::Fetch(uint32_t index) {
    auto found = where.find(index);
    if (found != where.end()) {
        Window& w = windows[found->second];
        w.used = ++clock;
        return w;
    }
    Window& w = Slot();
    where[index] = static_cast<size_t>(&w - windows.data());
    w.index = index;
    w.used = ++clock;
    uint64_t first = static_cast<uint64_t>(index) * kReadAheadWindowSectors;
    uint64_t count = kReadAheadWindowSectors;
    // Never past the medium's end when the drive told it.
    if (medium.known && medium.sectors > first) count = std::min<uint64_t>(count, medium.sectors - first);
    count = std::min<uint64_t>(count, 0x100000000ull - first);
    w.count = static_cast<uint32_t>(count);
    w.data.resize(static_cast<size_t>(kReadAheadWindowSectors) * kSectorSize);
    bool whole = ReadSectors(*device, static_cast<uint32_t>(first), static_cast<uint16_t>(w.count), w.data.data()) == w.count;
    w.state.assign(kReadAheadWindowSectors, whole ? kGood : kUnknown);
    return w;
}

bool CReadAhead::SectorReadable(Window& w, uint32_t at) {
    if (w.state[at] == kUnknown) {
        uint32_t sector = w.index * kReadAheadWindowSectors + at;
        bool ok = ReadSectors(*device, sector, 1, w.data.data() + static_cast<size_t>(at) * kSectorSize) == 1;
        w.state[at] = ok ? kGood : kBad;
    }
    return w.state[at] == kGood;
}

bool CReadAhead::Read(uint32_t first, uint32_t count, uint8_t* dst) {
    if (!device) return false;
    for (uint64_t s = first, end = static_cast<uint64_t>(first) + count; s < end;) {
        uint32_t index = static_cast<uint32_t>(s / kReadAheadWindowSectors);
        uint32_t at = static_cast<uint32_t>(s % kReadAheadWindowSectors);
        uint32_t take = static_cast<uint32_t>(std::min<uint64_t>(kReadAheadWindowSectors - at, end - s));
        uint8_t* out = dst + (s - first) * kSectorSize;
        Window& w = Fetch(index);
        for (uint32_t i = at; i < at + take; ++i) {
            // Past a window cut at the medium's end: asked for alone, as before.
            bool ok = i < w.count ? SectorReadable(w, i)
                                  : ReadSectors(*device, static_cast<uint32_t>(s + (i - at)), 1,
                                                out + static_cast<size_t>(i - at) * kSectorSize) == 1;
            if (!ok) return false;
            if (i < w.count)
                std::memcpy(out + static_cast<size_t>(i - at) * kSectorSize, w.data.data() + static_cast<size_t>(i) * kSectorSize,
                            kSectorSize);
        }
        s += take;
    }
    return true;
}
