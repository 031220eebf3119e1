#pragma once
// File Entry and Extended File Entry parsing shared by the volume layer (the
// Metadata File and the root) and the tree (every node).

#include <cstdint>

#include "common/ByteReader.h"

constexpr uint16_t kTagFileEntry = 261;
constexpr uint16_t kTagExtendedFileEntry = 266;

constexpr uint8_t kAdShort = 0;
constexpr uint8_t kAdLong = 1;
constexpr uint8_t kAdExtended = 2;
constexpr uint8_t kAdEmbedded = 3;

struct EntryInfo {
    bool valid;               // tag 261 or 266
    uint16_t tag;
    uint8_t adType;           // ICB Tag Flags & 7
    uint32_t adOffset;        // where the descriptors (or embedded data) start
    uint32_t adLength;        // L_AD, cut to the bytes the entry holds
    uint32_t count;           // descriptors; bytes for embedded data
    uint32_t modifiedOffset;  // Modification Date and Time
};

// Reads an entry from the bytes held; descriptors that would run past them
// are cut off (the 64-bit sum of offsets and lengths is checked).
EntryInfo ParseFileEntry(const ByteReader& entry);

// Extent length without the two type bits, and the type.
inline uint32_t ExtentBytes(uint32_t length) { return length & 0x3FFFFFFFu; }
inline uint32_t ExtentType(uint32_t length) { return length >> 30; }
