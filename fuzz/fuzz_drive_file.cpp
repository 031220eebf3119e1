// Hostile drive files: the loader must refuse with "file:line: what" or
// accept, and an accepted file must give a drive that answers every command
// within the buffer it was given.
//
// A file that names an image reads a small fixture instead, so the input
// never chooses which file of this machine gets opened.

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "emulation/DriveFile.h"
#include "emulation/MmcTarget.h"

namespace {

constexpr uint64_t kFixtureSectors = 3;
std::string fixture;

void RemoveFixture() {
    if (!fixture.empty()) std::remove(fixture.c_str());
}

// Sectors 0-2 of a recognisable pattern; the third ends 100 bytes short.
void MakeFixture() {
    char name[] = "/tmp/vexlon-fuzz-image-XXXXXX";
    int fd = ::mkstemp(name);
    if (fd < 0) std::abort();
    std::vector<uint8_t> bytes(kFixtureSectors * 2048 - 100);
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i / 2048 + 1);
    if (::write(fd, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) std::abort();
    ::close(fd);
    fixture = name;
    std::atexit(RemoveFixture);
}

struct Command {
    std::vector<uint8_t> cdb;
    DataDirection direction;
    uint32_t transferLength;
};

// Sends one command into a buffer with a guard behind it and checks what the
// target may and may not do with it.
MmcReply Send(CMmcTarget& target, const Command& c) {
    constexpr size_t kGuard = 32;
    std::vector<uint8_t> buffer(c.transferLength + kGuard, 0xC5);
    MmcReply reply = target.Execute(c.cdb.data(), static_cast<uint8_t>(c.cdb.size()), c.direction,
                                    c.direction == DataNone ? nullptr : buffer.data(), c.transferLength);
    if (reply.status != 0 && reply.status != 2) __builtin_trap();
    if (reply.transferred > c.transferLength) __builtin_trap();
    if (reply.status == 2 && (reply.senseLength != 18 || reply.sense[0] != 0x70 || reply.transferred != 0))
        __builtin_trap();
    // Data-out bytes are the host's: the drive reads them and writes nothing.
    size_t untouchedFrom = c.direction == DataIn ? reply.transferred : 0;
    for (size_t i = untouchedFrom; i < buffer.size(); ++i)
        if (buffer[i] != 0xC5) __builtin_trap();
    return reply;
}

std::vector<uint8_t> GetConfiguration(uint8_t rt, uint16_t start) {
    return {0x46, rt, uint8_t(start >> 8), uint8_t(start), 0, 0, 0, 0xFF, 0xFF, 0};
}

std::vector<uint8_t> Read10(uint64_t lba, uint16_t count) {
    return {0x28, 0, uint8_t(lba >> 24), uint8_t(lba >> 16), uint8_t(lba >> 8), uint8_t(lba), 0,
            uint8_t(count >> 8), uint8_t(count), 0};
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    MakeFixture();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string text(reinterpret_cast<const char*>(data), size);
    DriveFile drive;
    std::string error;
    if (!ParseDriveFile(text, "fuzz.drive", drive, error)) {
        if (error.compare(0, 11, "fuzz.drive:") != 0) __builtin_trap();
        return 0;
    }
    for (const ReplyBlock& b : drive.blocks)
        if (b.isStatus == !b.data.empty() || b.data.size() > kMaxBlockBytes) __builtin_trap();
    if (!drive.imagePath.empty()) {
        drive.imagePath = fixture;
        if (!drive.hasSectors) {
            drive.sectors = kFixtureSectors;
            drive.hasSectors = true;
        }
    }
    uint64_t last = drive.sectors ? drive.sectors - 1 : 0;
    std::vector<DriveFile> one;
    one.push_back(std::move(drive));
    ApplyLoadOrderDefaults(one);
    if (one[0].path.empty() || !one[0].hasDeviceNumber) __builtin_trap();
    CMmcTarget target(std::move(one[0]));

    const Command commands[] = {
        {{0x12, 0, 0, 0, 0x60, 0}, DataIn, 96},
        {{0x12, 1, 0x80, 0, 0xFF, 0}, DataIn, 255},
        {{0x5A, 0, 0x2A, 0, 0, 0, 0, 0, 0xFC, 0}, DataIn, 252},
        {{0x1A, 0, 0x2A, 0, 0xFC, 0}, DataIn, 252},
        {GetConfiguration(0, 0), DataIn, 65530},
        {GetConfiguration(0, 0x001F), DataIn, 65530},
        {GetConfiguration(1, 0), DataIn, 65530},
        {GetConfiguration(2, 0x002F), DataIn, 65530},
        {GetConfiguration(0, 0), DataIn, 44},
        {{0xAC, 0, 0, 0, 0, 0, 0, 0, 0x00, 0x03, 0x03, 0}, DataIn, 56},
        {{0xAD, 0, 0, 0, 0, 0, 0, 0x00, 0x08, 0x04, 0, 0}, DataIn, 2052},
        {{0x25, 0, 0, 0, 0, 0, 0, 0, 0, 0}, DataIn, 8},
        {Read10(0, 1), DataIn, 2048},
        {Read10(last, 2), DataIn, 4096},
        {Read10(2, 1), DataIn, 2048},
        {{0x55, 0x10, 0, 0, 0, 0, 0, 0, 12, 0}, DataOut, 12},
    };
    for (const Command& c : commands) Send(target, c);

    // Open the tray: the medium goes, the profile drops to 0.
    MmcReply eject = Send(target, {{0x1B, 0, 0, 0, 0x02, 0}, DataNone, 0});
    if (eject.status == 0) {
        if (!target.TrayOpen()) __builtin_trap();
        MmcReply read = Send(target, {Read10(0, 1), DataIn, 2048});
        if (read.status != 2 || read.sense[12] != 0x3A || read.sense[13] != 0x02) __builtin_trap();
        std::vector<uint8_t> header(8, 0xEE);
        MmcReply config = target.Execute(GetConfiguration(0, 0).data(), 10, DataIn, header.data(), 8);
        if (config.status == 0 && config.transferred == 8 && (header[6] || header[7])) __builtin_trap();
        Send(target, {{0x1B, 0, 0, 0, 0x03, 0}, DataNone, 0});
        if (target.TrayOpen()) __builtin_trap();
    }
    if (target.CommandCount() != target.Transcript().size()) __builtin_trap();
    return 0;
}
