#include <gtest/gtest.h>

#include <cctype>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "TestPaths.h"
#include "device/Capabilities.h"
#include "device/Commands.h"
#include "device/Profiles.h"
#include "emulation/DriveFile.h"
#include "emulation/EmulatedDevice.h"
#include "emulation/MmcTarget.h"

namespace {

using Bytes = std::vector<uint8_t>;

// A target and the device over it, loaded the way the tools load a drive.
struct Drive {
    explicit Drive(const DriveFile& file) : target(file), device(target) {}
    CMmcTarget target;
    CEmulatedDevice device;
};

std::unique_ptr<Drive> SharedDrive(const std::string& file) {
    DriveFile drive;
    std::string error;
    EXPECT_TRUE(LoadDriveFile(SharedPath("drives/" + file), drive, error)) << error;
    std::vector<DriveFile> one{drive};
    ApplyLoadOrderDefaults(one);
    return std::make_unique<Drive>(one[0]);
}

std::unique_ptr<Drive> TextDrive(const std::string& text) {
    DriveFile drive;
    std::string error;
    EXPECT_TRUE(ParseDriveFile(text, "t.drive", drive, error)) << error;
    std::vector<DriveFile> one{drive};
    ApplyLoadOrderDefaults(one);
    return std::make_unique<Drive>(one[0]);
}

Bytes FileBytes(const std::string& name, uint64_t offset, size_t count) {
    std::ifstream in(name, std::ios::binary);
    in.seekg(static_cast<std::streamoff>(offset));
    Bytes bytes(count);
    in.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(count));
    bytes.resize(static_cast<size_t>(in.gcount()));
    return bytes;
}

ScsiCommand Command(std::initializer_list<uint8_t> cdb, DataDirection direction, void* data, uint32_t length) {
    ScsiCommand c{};
    std::copy(cdb.begin(), cdb.end(), c.cdb);
    c.cdbLength = static_cast<uint8_t>(cdb.size());
    c.direction = direction;
    c.data = data;
    c.transferLength = length;
    c.timeout = 10;
    return c;
}

// The record is byte-packed: compare copies, never references to its fields.
template <typename T>
T Value(T v) {
    return v;
}

// ---- opening ----

TEST(EmulatedDeviceOpen, ByItsInterfacePathInAnyCase) {
    auto d = SharedDrive("dvdram-writer-recorded-dvdrw.drive");
    std::string path = d->target.File().path;
    for (char& c : path) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    EXPECT_TRUE(d->device.Open(path.c_str()));
    EXPECT_EQ(d->device.handle, static_cast<void*>(&d->target));
    EXPECT_TRUE(d->device.Close());
    EXPECT_EQ(d->device.handle, nullptr);
    EXPECT_FALSE(d->device.Close());
}

TEST(EmulatedDeviceOpen, ByItsDriveLetter) {
    auto d = SharedDrive("dvd-writer-blank-dvdplusrw.drive");  // E:
    EXPECT_TRUE(d->device.Open("\\\\.\\E:"));
    EXPECT_TRUE(d->device.Close());
    EXPECT_TRUE(d->device.Open("\\\\.\\e:"));
    EXPECT_TRUE(d->device.Close());
    EXPECT_TRUE(d->device.OpenDriveLetter(4));
    EXPECT_TRUE(d->device.Close());
    EXPECT_FALSE(d->device.OpenDriveLetter(3));
    EXPECT_FALSE(d->device.Open("\\\\.\\D:"));
}

TEST(EmulatedDeviceOpen, RefusesOtherPathsAndLettersPastZ) {
    auto d = SharedDrive("cd-writer-blank-cdr.drive");
    EXPECT_FALSE(d->device.OpenDriveLetter(26));
    EXPECT_FALSE(d->device.OpenDriveLetter(0xFFFFFFFFu));
    EXPECT_FALSE(d->device.Open(nullptr));
    EXPECT_FALSE(d->device.Open(""));
    EXPECT_FALSE(d->device.Open("\\\\?\\ide#cdromsomething_else#1#{53f56308-b6bf-11d0-94f2-00a0c91efb8b}"));
    EXPECT_EQ(d->device.handle, nullptr);
    EXPECT_FALSE(d->device.Lock());
    EXPECT_FALSE(d->device.Unlock());
}

TEST(EmulatedDeviceOpen, LockAndUnlockFollowTheOpenState) {
    auto d = SharedDrive("cd-writer-blank-cdr.drive");
    ASSERT_TRUE(d->device.OpenDriveLetter(5));  // F:
    EXPECT_TRUE(d->device.Lock());
    EXPECT_TRUE(d->device.Unlock());
    d->device.Close();
    EXPECT_FALSE(d->device.Lock());
}

TEST(EmulatedDeviceOpen, DriveWithoutALetterOpensOnlyByItsPath) {
    auto d = TextDrive("letter: none\npath: \\\\?\\usbstor#cdrom&ven_x#1#{53f56308-b6bf-11d0-94f2-00a0c91efb8b}\n");
    for (uint32_t i = 0; i < 26; ++i) EXPECT_FALSE(d->device.OpenDriveLetter(i)) << i;
    EXPECT_TRUE(d->device.Open("\\\\?\\usbstor#cdrom&ven_x#1#{53f56308-b6bf-11d0-94f2-00a0c91efb8b}"));
}

TEST(EmulatedDeviceOpen, LunComesFromTheAddress) {
    EXPECT_EQ(TextDrive("address: 1 0 0 3\n")->device.LUN, 3);
    EXPECT_EQ(TextDrive("")->device.LUN, 0);
}

// ---- commands ----

TEST(EmulatedDeviceCommand, SuccessWritesNeitherResultNorLastCdbAndSense) {
    auto d = SharedDrive("dvdram-writer-recorded-dvdrw.drive");
    // A failure first, so there is a last CDB and sense to keep.
    uint8_t none[8];
    ASSERT_FALSE(d->device.ExecuteCommand(Command({0xBE, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, DataIn, none, 8), nullptr));
    uint8_t lastCdb[16], lastSense[32];
    std::memcpy(lastCdb, d->device.lastCdb, 16);
    std::memcpy(lastSense, d->device.lastSense, 32);

    uint8_t inquiry[96] = {};
    ScsiResult result;
    std::memset(&result, 0xAB, sizeof result);
    EXPECT_TRUE(d->device.ExecuteCommand(Command({0x12, 0, 0, 0, 0x60, 0}, DataIn, inquiry, 96), &result));
    const uint8_t* raw = reinterpret_cast<const uint8_t*>(&result);
    for (size_t i = 0; i < sizeof result; ++i) ASSERT_EQ(raw[i], 0xAB) << i;
    EXPECT_EQ(std::memcmp(lastCdb, d->device.lastCdb, 16), 0);
    EXPECT_EQ(std::memcmp(lastSense, d->device.lastSense, 32), 0);
    EXPECT_EQ(std::memcmp(inquiry + 8, "HL-DT-ST", 8), 0);
}

TEST(EmulatedDeviceCommand, FailureFillsTheResultAndTheLastCdbAndSense) {
    auto d = SharedDrive("cd-writer-blank-cdr.drive");
    uint8_t key[8] = {};
    ScsiResult result{};
    ScsiCommand c = Command({0xA4, 0, 0, 0, 0, 0, 0, 0, 0x00, 0x08, 0x08, 0}, DataIn, key, 8);
    EXPECT_FALSE(d->device.ExecuteCommand(c, &result));
    EXPECT_EQ(result.scsiStatus, 2);
    EXPECT_EQ(result.transferredLength, 0u);
    EXPECT_EQ(result.senseLength, 18u);
    const uint8_t sense[18] = {0x70, 0, 5, 0, 0, 0, 0, 10, 0, 0, 0, 0, 0x24, 0x00, 0, 0, 0, 0};
    EXPECT_EQ(std::memcmp(result.sense, sense, 18), 0);
    EXPECT_EQ(std::memcmp(d->device.lastCdb, c.cdb, 16), 0);
    EXPECT_EQ(std::memcmp(d->device.lastSense, sense, 18), 0);
    for (uint8_t b : key) EXPECT_EQ(b, 0);
    // Without a result record the last CDB and sense still change.
    ScsiCommand read = Command({0x28, 0, 0, 0, 0, 0, 0, 0, 1, 0}, DataIn, key, 8);
    EXPECT_FALSE(d->device.ExecuteCommand(read, nullptr));
    EXPECT_EQ(d->device.lastCdb[0], 0x28);
    EXPECT_EQ(d->device.lastSense[12], 0x21);
}

TEST(EmulatedDeviceCommand, CommandsReachTheTargetsTranscript) {
    auto d = SharedDrive("dvdram-writer-recorded-dvdrw.drive");
    uint8_t buffer[96];
    Inquiry(d->device, buffer);
    const auto& t = d->target.Transcript();
    ASSERT_EQ(t.size(), 1u);
    EXPECT_EQ(t[0].cdb[0], 0x12);
    EXPECT_EQ(t[0].cdb[4], 0x60);
    EXPECT_EQ(t[0].cdbLength, 6);
    EXPECT_EQ(t[0].direction, DataIn);
    EXPECT_EQ(t[0].transferLength, 96u);
    EXPECT_EQ(t[0].transferred, 96u);
    EXPECT_EQ(&d->device.Target(), &d->target);
}

TEST(EmulatedDeviceCommand, InquiryDeliversTheBlockOfTheFile) {
    auto d = SharedDrive("bd-writer-recorded-bdr.drive");
    uint8_t inquiry[96];
    std::memset(inquiry, 0, sizeof inquiry);
    Inquiry(d->device, inquiry);
    EXPECT_EQ(inquiry[0], 0x05);
    EXPECT_EQ(inquiry[1], 0x80);
    EXPECT_EQ(std::memcmp(inquiry + 8, "HL-DT-STBD-RE  BH16NS40 1.02", 28), 0);
}

TEST(EmulatedDeviceCommand, ReadSectorsComesFromTheImage) {
    auto d = SharedDrive("dvdram-writer-recorded-dvdrw.drive");
    Bytes sectors(3 * 2048, 0xCC);
    EXPECT_EQ(ReadSectors(d->device, 17, 3, sectors.data()), 3u);
    EXPECT_EQ(sectors, FileBytes(SharedPath("discs/udf102-genisoimage.iso"), 17 * 2048, 3 * 2048));
    uint32_t count = static_cast<uint32_t>(d->target.File().sectors);
    EXPECT_EQ(ReadSectors(d->device, count, 1, sectors.data()), 0u);
    EXPECT_EQ(d->device.lastSense[2], 5);
    EXPECT_EQ(d->device.lastSense[12], 0x21);
}

TEST(EmulatedDeviceCommand, RegionStateFromReportKey) {
    auto d = SharedDrive("dvdram-writer-recorded-dvdrw.drive");
    RpcState state{};
    ASSERT_TRUE(ReadRpcState(d->device, state));
    // 00 06 00 00 63 FE 01 00: 63h = 01 100 011b.
    EXPECT_EQ(state.dataLength, 6);
    EXPECT_EQ(state.typeCode, 1);
    EXPECT_EQ(state.vendorResets, 4);
    EXPECT_EQ(state.userChanges, 3);
    EXPECT_EQ(state.regionMask, 0xFE);
    EXPECT_EQ(state.rpcScheme, 0x01);

    auto cd = SharedDrive("cd-writer-blank-cdr.drive");  // answers 5 24 00
    RpcState untouched{};
    untouched.regionMask = 0x5A;
    EXPECT_FALSE(ReadRpcState(cd->device, untouched));
    EXPECT_EQ(untouched.regionMask, 0x5A);
}

TEST(EmulatedDeviceCommand, CurrentProfileFollowsTheTray) {
    auto d = SharedDrive("bd-writer-recorded-bdr.drive");
    ASSERT_TRUE(ReadCurrentProfile(d->device));
    EXPECT_EQ(d->device.CurrentProfile, 0x0041);  // BD-R SRM, header bytes 6-7
    ScsiCommand eject = Command({0x1B, 0, 0, 0, 0x02, 0}, DataNone, nullptr, 0);
    ASSERT_TRUE(d->device.ExecuteCommand(eject, nullptr));
    ASSERT_TRUE(ReadCurrentProfile(d->device));
    EXPECT_EQ(d->device.CurrentProfile, 0);
    Bytes sector(2048);
    EXPECT_EQ(ReadSectors(d->device, 0, 1, sector.data()), 0u);
    EXPECT_EQ(d->device.lastSense[2], 2);
    EXPECT_EQ(d->device.lastSense[12], 0x3A);
    EXPECT_EQ(d->device.lastSense[13], 0x02);
    ScsiCommand load = Command({0x1B, 0, 0, 0, 0x03, 0}, DataNone, nullptr, 0);
    ASSERT_TRUE(d->device.ExecuteCommand(load, nullptr));
    ASSERT_TRUE(ReadCurrentProfile(d->device));
    EXPECT_EQ(d->device.CurrentProfile, 0x0041);
}

TEST(EmulatedDeviceCommand, GetConfigurationOfOneFeature) {
    auto d = SharedDrive("bd-writer-recorded-bdr.drive");
    uint8_t answer[64];
    std::memset(answer, 0xCC, sizeof answer);
    ASSERT_TRUE(GetConfiguration(d->device, 0x0042, 2, answer, 64));
    // The header with its length made to fit, then TSR (0042h) as the file holds it.
    const uint8_t expected[12] = {0, 0, 0, 8, 0, 0, 0, 0x41, 0x00, 0x42, 0x01, 0x00};
    EXPECT_EQ(std::memcmp(answer, expected, 12), 0);
    for (size_t i = 12; i < 64; ++i) EXPECT_EQ(answer[i], 0xCC) << i;
}

// ---- the capability record of each shared drive, read by hand from its bytes ----

struct ExpectedCapabilities {
    const char* file;
    uint32_t pageBits;
    uint8_t loadingMechanism;
    uint32_t pageByte7Bits;
    uint16_t bufferSize, maxRead, maxWrite, currentRead, currentWrite;
    uint32_t mediaBits, driveBits;
};

const ExpectedCapabilities kExpected[] = {
    // Page bytes 2-6 3F 37 FD 7F 29; DVD-R/-RW Write d[4] 4Eh keeps page bit 10.
    // Media: 001Fh d[6] 03h, 002Ah, 002Bh, 002Fh, 0033h, 003Bh; drive: 0100h 0106h 0107h 010Bh.
    {"dvd-writer-blank-dvdplusrw.drive", 0x97FFDFFF, 1, 0, 768, 8467, 7056, 8467, 7056, 0x403F003F, 0x00000162},
    // As above, but 002Fh d[4] 46h clears page bit 10 and bit 16; 001Fh d[6] 00h.
    {"dvdram-writer-recorded-dvdrw.drive", 0x97FFDBFF, 1, 0, 2048, 5540, 2770, 5540, 2770, 0x002E002A, 0x00000162},
    // Page bytes 2-6 07 07 FD FF 29; no media feature of the tables; 0100h only.
    {"cd-writer-blank-cdr.drive", 0x9FFFD38F, 1, 0, 2048, 7056, 7056, 7056, 7056, 0x00000000, 0x00000002},
    // BD Read and BD Write with non-zero class words, TSR, and AACS (010Dh).
    {"bd-writer-recorded-bdr.drive", 0x97FFDFFF, 1, 0, 4096, 8467, 7056, 8467, 7056, 0xF03FE03F, 0x00000362},
};

TEST(EmulatedDeviceCapabilities, EverySharedDriveDecodesAsItsBytesSay) {
    for (const ExpectedCapabilities& x : kExpected) {
        auto d = SharedDrive(x.file);
        DriveCapabilities caps;
        std::memset(&caps, 0xEE, sizeof caps);
        EXPECT_TRUE(ReadCapabilities(d->device, caps)) << x.file;
        EXPECT_EQ(Value(caps.pageBits), x.pageBits) << x.file;
        EXPECT_EQ(Value(caps.loadingMechanism), x.loadingMechanism) << x.file;
        EXPECT_EQ(Value(caps.pageByte7Bits), x.pageByte7Bits) << x.file;
        EXPECT_EQ(Value(caps.bufferSize), x.bufferSize) << x.file;
        EXPECT_EQ(Value(caps.maxReadSpeed), x.maxRead) << x.file;
        EXPECT_EQ(Value(caps.maxWriteSpeed), x.maxWrite) << x.file;
        EXPECT_EQ(Value(caps.currentReadSpeed), x.currentRead) << x.file;
        EXPECT_EQ(Value(caps.currentWriteSpeed), x.currentWrite) << x.file;
        EXPECT_EQ(Value(caps.mediaFeatureBits), x.mediaBits) << x.file;
        EXPECT_EQ(Value(caps.driveFeatureBits), x.driveBits) << x.file;
        // MODE SENSE(10) answered, so (6) is never sent; then the whole list.
        const auto& t = d->target.Transcript();
        ASSERT_EQ(t.size(), 2u) << x.file;
        EXPECT_EQ(t[0].cdb[0], 0x5A);
        EXPECT_EQ(t[0].cdb[2], 0x2A);
        EXPECT_EQ(t[1].cdb[0], 0x46);
    }
}

TEST(EmulatedDeviceCapabilities, DriveAnsweringOnlyModeSenseSixIsReadFromItsShortHeader) {
    // A 4-byte header with an 8-byte block descriptor, then page 2Ah.
    auto d = TextDrive(
        "> 1A page=2A\n"
        "1B 00 00 08  00 00 00 00 00 00 08 00\n"
        "2A 12 01 00 00 00 00 00 02 C2 00 00 01 00 02 C2 00 00 00 00 00 00\n");
    DriveCapabilities caps{};
    EXPECT_TRUE(ReadCapabilities(d->device, caps));
    EXPECT_EQ(Value(caps.pageBits), 0x3u);  // valid, CD-R read
    EXPECT_EQ(Value(caps.maxReadSpeed), 706);
    EXPECT_EQ(Value(caps.bufferSize), 256);
    EXPECT_EQ(Value(caps.currentReadSpeed), 706);
    const auto& t = d->target.Transcript();
    ASSERT_EQ(t.size(), 3u);
    EXPECT_EQ(t[0].cdb[0], 0x5A);
    EXPECT_EQ(t[0].status, 2);
    EXPECT_EQ(t[1].cdb[0], 0x1A);
    EXPECT_EQ(t[1].cdb[4], 0xFC);
    EXPECT_EQ(t[2].cdb[0], 0x46);
}

TEST(EmulatedDeviceCapabilities, LunBitsGoIntoBothModeSenseCommands) {
    auto d = TextDrive("address: 1 0 0 2\n> 46\n00 00 00 04 00 00 00 00\n");
    DriveCapabilities caps{};
    EXPECT_FALSE(ReadCapabilities(d->device, caps));
    const auto& t = d->target.Transcript();
    ASSERT_EQ(t.size(), 3u);
    EXPECT_EQ(t[0].cdb[1], 0x40);
    EXPECT_EQ(t[1].cdb[1], 0x40);
    EXPECT_EQ(t[2].cdb[1], 0x00);
}

}  // namespace
