#include "device/Capabilities.h"

#include <cstdlib>
#include <cstring>

#include "common/ByteReader.h"
#include "device/Commands.h"

namespace {

void SetBit(uint32_t& word, unsigned bit, bool on) {
    if (on) word |= 1u << bit; else word &= ~(1u << bit);
}

// Copies `count` bits of `byte` (listed bit positions) to consecutive bits of
// `word` from `firstBit` on.
void CopyBits(uint32_t& word, unsigned firstBit, uint8_t byte, const unsigned* sourceBits,
              unsigned count) {
    for (unsigned i = 0; i < count; ++i) SetBit(word, firstBit + i, ((byte >> sourceBits[i]) & 1u) != 0);
}

bool ModeSense(CDevice& device, bool tenByte, uint8_t* buffer) {
    ScsiCommand command = MakeCommand(tenByte ? 10 : 6, DataIn, buffer, kModePageAllocation);
    command.cdb[0] = tenByte ? 0x5A : 0x1A;
    command.cdb[1] = static_cast<uint8_t>(device.LUN << 5);
    command.cdb[2] = 0x2A;
    if (tenByte) PutBE16(&command.cdb[7], kModePageAllocation);
    else command.cdb[4] = static_cast<uint8_t>(kModePageAllocation);
    return device.ExecuteCommand(command, nullptr);
}

// Works on plain copies of the words: the record is byte-packed, so its
// members may sit at addresses no uint32_t reference may be bound to.
void ApplyMediaFeature(uint16_t code, const ByteReader& d, uint32_t& m, uint32_t& pageBits) {
    switch (code) {
    case 0x001F:
        SetBit(m, 0, d.Bit(6, 0)); SetBit(m, 1, true); SetBit(m, 2, d.Bit(6, 1)); break;
    case 0x002B: SetBit(m, 3, true); SetBit(m, 19, d.Bit(4, 0)); break;
    case 0x003B: SetBit(m, 4, true); SetBit(m, 20, d.Bit(4, 0)); break;
    case 0x002A: SetBit(m, 5, true); SetBit(m, 21, d.Bit(4, 0)); break;
    case 0x003A: SetBit(m, 6, true); SetBit(m, 22, d.Bit(4, 0)); break;
    case 0x0050:
        SetBit(m, 7, d.Bit(4, 0)); SetBit(m, 8, d.Bit(5, 0)); SetBit(m, 11, d.Bit(6, 0));
        SetBit(m, 12, true); break;
    case 0x0040:
        SetBit(m, 13, d.AnyNonZero(8, 8)); SetBit(m, 14, d.AnyNonZero(16, 8));
        SetBit(m, 15, d.AnyNonZero(24, 8)); break;
    case 0x002F:
        // Bits 17 and 18 both take d[4] bit 1, and the descriptor overrides
        // the mode page's DVD-R write bit: both kept as the drive tables were.
        SetBit(m, 16, d.Bit(4, 3)); SetBit(m, 17, d.Bit(4, 1)); SetBit(m, 18, d.Bit(4, 1));
        SetBit(pageBits, 10, d.Bit(4, 3)); break;
    case 0x0051:
        SetBit(m, 23, d.Bit(4, 0)); SetBit(m, 24, d.Bit(5, 0)); SetBit(m, 27, d.Bit(6, 0)); break;
    case 0x0041: SetBit(m, 28, d.AnyNonZero(16, 8)); SetBit(m, 29, d.AnyNonZero(8, 8)); break;
    case 0x0033: SetBit(m, 30, true); break;
    case 0x0042: SetBit(m, 31, true); break;
    default: break;
    }
}

int DriveFeatureBit(uint16_t code) {
    switch (code) {
    case 0x0080: return 0;
    case 0x0100: return 1;
    case 0x0101: return 2;
    case 0x0102: return 3;
    case 0x0104: return 4;
    case 0x0106: return 5;
    case 0x0107: return 6;
    case 0x010A: return 7;
    case 0x010B: return 8;
    case 0x010D: return 9;
    case 0x0113: return 10;
    case 0xFF33: return 12;
    default: return -1;
    }
}

}  // namespace

void DecodeCapabilitiesPage(const uint8_t* modeData, size_t size, size_t pageOffset,
                            DriveCapabilities& caps) {
    ByteReader p = ByteReader(modeData, size).Sub(pageOffset, size);
    static const unsigned byte2[] = {0, 1, 2, 3, 4, 5};
    static const unsigned byte3[] = {0, 1, 2, 4, 5};
    static const unsigned all8[] = {0, 1, 2, 3, 4, 5, 6, 7};
    uint32_t pageBits = caps.pageBits;
    SetBit(pageBits, 0, true);
    CopyBits(pageBits, 1, p.U8(2), byte2, 6);
    CopyBits(pageBits, 7, p.U8(3), byte3, 5);
    CopyBits(pageBits, 12, p.U8(4), all8, 8);
    CopyBits(pageBits, 20, p.U8(5), all8, 8);
    CopyBits(pageBits, 28, p.U8(6), all8, 4);
    caps.pageBits = pageBits;
    caps.loadingMechanism = static_cast<uint8_t>(p.U8(6) >> 5);
    caps.pageByte7Bits = (caps.pageByte7Bits & ~0x3Fu) | (p.U8(7) & 0x3Fu);
    caps.bufferSize = p.BE16(12);
    caps.maxReadSpeed = p.BE16(8);
    caps.maxWriteSpeed = p.BE16(18);
    caps.currentReadSpeed = p.BE16(14);
    caps.currentWriteSpeed = p.BE16(20);
}

void DecodeFeatureList(const uint8_t* list, size_t size, DriveCapabilities& caps) {
    ByteReader r(list, size);
    uint32_t dataLength = r.BE32(0);
    if (dataLength < 4 || dataLength - 4 < 1) return;
    int64_t remaining = static_cast<int64_t>(dataLength) - 4;
    size_t offset = 8;
    uint32_t media = caps.mediaFeatureBits;
    uint32_t pageBits = caps.pageBits;
    // Every descriptor is at least 4 bytes long, so the walk always advances;
    // it also ends at the last byte held, whatever the data length claims.
    while (remaining > 0 && offset < r.Size()) {
        // A descriptor's bytes are read where they lie in the buffer, as the
        // tables count them, even past a short additional length.
        ByteReader d = r.Sub(offset, r.Size());
        uint16_t code = d.BE16(0);
        size_t descriptorSize = static_cast<size_t>(r.U8(offset + 3)) + 4;
        ApplyMediaFeature(code, d, media, pageBits);
        int bit = DriveFeatureBit(code);
        if (bit >= 0) caps.driveFeatureBits |= 1u << bit;
        offset += descriptorSize;
        remaining -= static_cast<int64_t>(descriptorSize);
    }
    caps.mediaFeatureBits = media;
    caps.pageBits = pageBits;
}

bool ReadCapabilities(CDevice& device, DriveCapabilities& caps) {
    caps = DriveCapabilities{};
    uint8_t page[kModePageBufferSize] = {};
    bool result = false;
    size_t pageOffset = 0;
    if (ModeSense(device, true, page)) {
        pageOffset = 8 + static_cast<size_t>(page[7]);
        result = true;
    } else {
        std::memset(page, 0, sizeof page);
        if (ModeSense(device, false, page)) {
            pageOffset = 4 + static_cast<size_t>(page[3]);
            result = true;
        }
    }
    if (result) DecodeCapabilitiesPage(page, sizeof page, pageOffset, caps);

    uint8_t* features = static_cast<uint8_t*>(std::calloc(1, kFeatureBufferSize));
    if (!features) return result;
    GetConfiguration(device, 0, 0, features, kFeatureAllocation);
    DecodeFeatureList(features, kFeatureAllocation, caps);
    std::free(features);
    return result;
}
