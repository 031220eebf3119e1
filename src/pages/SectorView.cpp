#include "pages/SectorView.h"

#include <cstdio>
#include <cstring>

#include "common/ByteReader.h"
#include "device/Commands.h"
#include "pages/MediaInfo.h"

namespace {

// The C runtime's iswprint for values below 128 accepts exactly 20h-7Eh;
// everything else, 8-bit values included, shows as a dot.
char Shown(uint8_t byte) { return byte >= 0x20 && byte <= 0x7E ? static_cast<char>(byte) : '.'; }

}  // namespace

SectorRange ReadSectorRange(CDevice& device) {
    SectorRange range{false, 0, std::string()};
    // A failed command and a last sector of 0 (FFFFFF6Ah included) both
    // come back as 0; that disc cannot be stepped through.
    uint32_t last = GetRecordedCapacity(device);
    if (last == 0) return range;
    range.enabled = true;
    range.last = last;
    char text[24];
    // Printed signed, so a reply of 0 (last FFFFFFFFh) reads "/ 0".
    std::snprintf(text, sizeof text, "/ %d", static_cast<int>(static_cast<int32_t>(last + 1u)));
    range.countText = text;
    return range;
}

std::string FormatSectorText(const uint8_t* sector, size_t size, uint32_t lba) {
    ByteReader bytes(sector, size);
    std::string text;
    text.reserve(kSectorTextRows * kSectorTextRowLength);
    char piece[16];
    for (uint32_t row = 0; row < kSectorTextRows; ++row) {
        uint32_t offset = lba * kSectorSize + row * 16u;  // wraps modulo 2^32 on purpose
        std::snprintf(piece, sizeof piece, "%08X| ", offset);
        text += piece;
        for (uint32_t i = 0; i < 16; ++i) {
            std::snprintf(piece, sizeof piece, "%02X ", bytes.U8(row * 16u + i));
            text += piece;
            if (i == 7) text += ' ';
        }
        text += '|';
        for (uint32_t i = 0; i < 16; ++i) text += Shown(bytes.U8(row * 16u + i));
        text += "\r\n";
    }
    return text;
}

std::string ReadSectorText(CDevice& device, uint32_t lba) {
    uint8_t sector[kSectorSize] = {};
    // A failed read shows zeros, whatever the drive left in the buffer.
    if (ReadSectors(device, lba, 1, sector) != 1) std::memset(sector, 0, sizeof sector);
    return FormatSectorText(sector, sizeof sector, lba);
}

bool ParseSectorNumber(const std::string& text, uint32_t& lba) {
    if (text.empty() || text.size() > 10) return false;
    uint64_t value = 0;
    for (char c : text) {
        if (c < '0' || c > '9') return false;
        value = value * 10 + static_cast<uint64_t>(c - '0');
    }
    if (value > 0xFFFFFFFFull) return false;
    lba = static_cast<uint32_t>(value);
    return true;
}
