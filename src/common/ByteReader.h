#pragma once
// The one bounds-checked view over bytes that came from a drive or a disc.
// Reads outside the held bytes yield zero, exactly as if the caller's
// zero-filled buffer had been read there, so decoders never touch memory
// they were not given and hostile lengths decode to the cleared buffer.

#include <cstddef>
#include <cstdint>

class ByteReader {
public:
    ByteReader() = default;
    ByteReader(const void* data, size_t size)
        : bytes(static_cast<const uint8_t*>(data)), held(data ? size : 0) {}

    size_t Size() const { return held; }
    const uint8_t* Data() const { return bytes; }

    // True when [offset, offset + length) lies wholly inside the held bytes.
    bool Has(size_t offset, size_t length) const {
        return offset <= held && length <= held - offset;
    }

    uint8_t U8(size_t offset) const { return offset < held ? bytes[offset] : 0; }
    int8_t S8(size_t offset) const { return static_cast<int8_t>(U8(offset)); }
    bool Bit(size_t offset, unsigned bit) const { return ((U8(offset) >> bit) & 1u) != 0; }

    uint16_t BE16(size_t o) const { return static_cast<uint16_t>((U8(o) << 8) | U8(o + 1)); }
    uint32_t BE24(size_t o) const {
        return (static_cast<uint32_t>(U8(o)) << 16) | (static_cast<uint32_t>(U8(o + 1)) << 8) | U8(o + 2);
    }
    uint32_t BE32(size_t o) const { return (static_cast<uint32_t>(BE16(o)) << 16) | BE16(o + 2); }

    uint16_t LE16(size_t o) const { return static_cast<uint16_t>(U8(o) | (U8(o + 1) << 8)); }
    uint32_t LE32(size_t o) const { return LE16(o) | (static_cast<uint32_t>(LE16(o + 2)) << 16); }
    uint64_t LE64(size_t o) const { return LE32(o) | (static_cast<uint64_t>(LE32(o + 4)) << 32); }

    // True when any byte of [offset, offset + length) is non-zero.
    bool AnyNonZero(size_t offset, size_t length) const {
        for (size_t i = 0; i < length; ++i)
            if (U8(offset + i) != 0) return true;
        return false;
    }

    // A view of [offset, offset + length) clipped to the held bytes.
    ByteReader Sub(size_t offset, size_t length) const {
        if (offset >= held) return ByteReader();
        size_t n = held - offset < length ? held - offset : length;
        return ByteReader(bytes + offset, n);
    }

private:
    const uint8_t* bytes = nullptr;
    size_t held = 0;
};

// Big-endian stores into CDBs and other buffers we build ourselves.
inline void PutBE16(uint8_t* p, uint16_t v) {
    p[0] = static_cast<uint8_t>(v >> 8);
    p[1] = static_cast<uint8_t>(v);
}
inline void PutBE32(uint8_t* p, uint32_t v) {
    p[0] = static_cast<uint8_t>(v >> 24);
    p[1] = static_cast<uint8_t>(v >> 16);
    p[2] = static_cast<uint8_t>(v >> 8);
    p[3] = static_cast<uint8_t>(v);
}
