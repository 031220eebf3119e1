// Hostile drive answers for the capability record: the input becomes a mode
// parameter list and a feature list, served by a drive that answers nothing
// else, and is also handed to the two decoders in buffers of exactly its size
// so that any read past the answer is caught.
//
// Input: byte 0 flags (bit 0 MODE SENSE(10) succeeds, bit 1 MODE SENSE(6)
// succeeds, bit 2 GET CONFIGURATION fails, bits 5-7 the LUN), byte 1 the
// length of the mode answer, byte 2 a page offset for the direct decoder,
// then the mode answer, then the feature list.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

#include "device/Capabilities.h"

namespace {

class CannedDrive : public CDevice {
public:
    CannedDrive(uint8_t driveFlags, const uint8_t* mode, size_t modeSize, const uint8_t* list, size_t listSize)
        : flags(driveFlags), modeAnswer(mode), modeBytes(modeSize), listAnswer(list), listBytes(listSize) {}

    bool Open(const char*) override { return true; }
    bool OpenDriveLetter(uint32_t) override { return true; }
    bool Lock() override { return true; }
    bool Unlock() override { return true; }
    bool Close() override { return true; }

    bool ExecuteCommand(const ScsiCommand& command, ScsiResult* result) override {
        ++commands;
        bool succeeds = false;
        const uint8_t* answer = modeAnswer;
        size_t size = modeBytes;
        switch (command.cdb[0]) {
        case 0x5A: succeeds = (flags & 1) != 0; break;
        case 0x1A: succeeds = (flags & 2) != 0; break;
        case 0x46:
            succeeds = (flags & 4) == 0;
            answer = listAnswer;
            size = listBytes;
            break;
        default: break;
        }
        if (!succeeds) {
            if (result) {
                std::memset(result, 0, sizeof *result);
                result->scsiStatus = 2;
                result->senseLength = 18;
                result->sense[0] = 0x70;
                result->sense[2] = 5;
                result->sense[12] = 0x24;
            }
            return false;
        }
        // A drive never delivers more than the host asked for.
        size_t n = std::min<size_t>(size, command.transferLength);
        if (command.data && n) std::memcpy(command.data, answer, n);
        return true;
    }

    int commands = 0;

private:
    uint8_t flags;
    const uint8_t* modeAnswer;
    size_t modeBytes;
    const uint8_t* listAnswer;
    size_t listBytes;
};

// A heap copy of exactly `size` bytes, so ASan sees the first byte past it.
std::unique_ptr<uint8_t[]> Exact(const uint8_t* data, size_t size) {
    std::unique_ptr<uint8_t[]> copy(new uint8_t[size ? size : 1]);
    if (size) std::memcpy(copy.get(), data, size);
    return copy;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 3) return 0;
    uint8_t flags = data[0];
    size_t modeSize = std::min<size_t>(data[1], size - 3);
    size_t pageOffset = data[2];
    const uint8_t* mode = data + 3;
    const uint8_t* list = mode + modeSize;
    size_t listSize = size - 3 - modeSize;

    CannedDrive drive(flags, mode, modeSize, list, listSize);
    drive.LUN = static_cast<uint8_t>(flags >> 5);
    DriveCapabilities caps;
    std::memset(&caps, 0xA5, sizeof caps);
    bool read = ReadCapabilities(drive, caps);
    // True exactly when one of the MODE SENSE commands succeeded, and then the
    // valid bit is set; without a page every page field stays zero.
    if (read != ((flags & 3) != 0)) __builtin_trap();
    if (read && !(caps.pageBits & 1)) __builtin_trap();
    if (!read && (caps.pageBits & ~(1u << 10)) != 0) __builtin_trap();
    if (!read && (caps.loadingMechanism || caps.bufferSize || caps.maxReadSpeed)) __builtin_trap();
    if (caps.mediaFeatureBits & ((1u << 9) | (1u << 10) | (1u << 25) | (1u << 26))) __builtin_trap();
    if (caps.driveFeatureBits & ~0x17FFu) __builtin_trap();
    if (drive.commands < 2 || drive.commands > 3) __builtin_trap();

    std::unique_ptr<uint8_t[]> exactMode = Exact(mode, modeSize);
    std::unique_ptr<uint8_t[]> exactList = Exact(list, listSize);
    DriveCapabilities direct{};
    DecodeCapabilitiesPage(exactMode.get(), modeSize, pageOffset, direct);
    DecodeFeatureList(exactList.get(), listSize, direct);
    DecodeFeatureList(exactList.get(), std::min<size_t>(listSize, 8), direct);
    return 0;
}
