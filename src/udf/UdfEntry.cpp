#include "udf/UdfEntry.h"

EntryInfo ParseFileEntry(const ByteReader& entry) {
    EntryInfo info{};
    info.tag = entry.LE16(0);
    uint64_t lea, lad, base;
    if (info.tag == kTagFileEntry) {
        lea = entry.LE32(168);
        lad = entry.LE32(172);
        base = 176;
        info.modifiedOffset = 84;
    } else if (info.tag == kTagExtendedFileEntry) {
        lea = entry.LE32(208);
        lad = entry.LE32(212);
        base = 216;
        info.modifiedOffset = 92;
    } else {
        return info;
    }
    info.valid = true;
    info.adType = static_cast<uint8_t>(entry.LE16(34) & 7);
    uint64_t start = base + lea;
    uint64_t held = entry.Size();
    if (start > held) start = held;
    if (lad > held - start) lad = held - start;
    info.adOffset = static_cast<uint32_t>(start);
    info.adLength = static_cast<uint32_t>(lad);
    switch (info.adType) {
    case kAdShort: info.count = info.adLength >> 3; break;
    case kAdLong: info.count = info.adLength >> 4; break;
    case kAdEmbedded: info.count = info.adLength; break;
    default: info.count = 0; break;
    }
    return info;
}
