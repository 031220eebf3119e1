#pragma once
// A disc folded into a short input, and the drive that plays it back.
//
// A UDF volume spreads over a few fixed places (the recognition sequence at
// 16, the anchor at 256, the partition after it), so a whole image would be
// mostly zeros. Folded, input sectors 0-2 are disc sectors 16-18, input
// sector 3 is the anchor at 256 and the rest follow it from 257 on. Every
// other disc sector reads as zeros, and the disc ends with the last input
// sector: a small input is a small disc, and a mutated anchor reaches any
// structure within the input. The last input sector may be cut short; its
// missing bytes read as zeros.
//
// Shared by the fuzz target and the corpus maker, so a seed that the maker
// checked mounts in the fuzzer exactly as it did there.

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "common/ByteReader.h"
#include "device/Device.h"

namespace folded {

constexpr uint32_t kSector = 2048;
constexpr uint64_t kRecognitionStart = 16;
constexpr uint64_t kRecognitionSectors = 3;
constexpr uint64_t kAnchor = 256;
constexpr uint64_t kNowhere = UINT64_MAX;

// The input sector that holds a disc sector, or kNowhere for zeros.
inline uint64_t InputSector(uint64_t discSector) {
    if (discSector >= kRecognitionStart && discSector < kRecognitionStart + kRecognitionSectors)
        return discSector - kRecognitionStart;
    if (discSector >= kAnchor) return discSector - kAnchor + kRecognitionSectors;
    return kNowhere;
}

// Sectors of the disc an input of `bytes` folds into.
inline uint64_t DiscSectors(size_t bytes) {
    uint64_t held = (static_cast<uint64_t>(bytes) + kSector - 1) / kSector;
    if (held <= kRecognitionSectors) return kRecognitionStart + held;
    return kAnchor + (held - kRecognitionSectors);
}

// Answers READ CAPACITY with the folded disc's last sector and READ(10) by
// copying whole sectors out of the input; every other command fails, as on
// a drive that does not know it.
class CFoldedDevice : public CDevice {
public:
    CFoldedDevice(const uint8_t* data, size_t size) : bytes(data), held(size), sectors(DiscSectors(size)) {}
    bool Open(const char*) override { return true; }
    bool OpenDriveLetter(uint32_t) override { return true; }
    bool Lock() override { return true; }
    bool Unlock() override { return true; }
    bool Close() override { return true; }

    bool ExecuteCommand(const ScsiCommand& command, ScsiResult*) override {
        ByteReader cdb(command.cdb, sizeof command.cdb);
        if (!command.data) return false;
        if (cdb.U8(0) == 0x25) return ReadCapacity(command);
        if (cdb.U8(0) == 0x28) return Read(cdb.BE32(2), cdb.BE16(7), command);
        return false;
    }

    uint64_t Sectors() const { return sectors; }

private:
    bool ReadCapacity(const ScsiCommand& command) const {
        if (command.transferLength < 8) return false;
        uint8_t* out = static_cast<uint8_t*>(command.data);
        PutBE32(out, static_cast<uint32_t>(sectors - 1));
        PutBE32(out + 4, kSector);
        return true;
    }

    // A command that runs past the end fails whole, as a drive reports an
    // address out of range; the host's buffer is then left as it was.
    bool Read(uint64_t lba, uint64_t count, const ScsiCommand& command) const {
        if (lba + count > sectors) return false;
        uint64_t room = command.transferLength;
        uint8_t* out = static_cast<uint8_t*>(command.data);
        for (uint64_t i = 0; i < count && room > 0; ++i) {
            size_t n = static_cast<size_t>(room < kSector ? room : kSector);
            CopySector(lba + i, out + i * kSector, n);
            room -= n;
        }
        return true;
    }

    void CopySector(uint64_t discSector, uint8_t* out, size_t n) const {
        uint64_t from = InputSector(discSector);
        size_t copied = 0;
        if (from != kNowhere && from < held / kSector + 1) {
            uint64_t at = from * kSector;
            if (at < held) copied = static_cast<size_t>(held - at < n ? held - at : n);
            if (copied) std::memcpy(out, bytes + at, copied);
        }
        if (copied < n) std::memset(out + copied, 0, n - copied);
    }

    const uint8_t* bytes;
    size_t held;
    uint64_t sectors;
};

}  // namespace folded
