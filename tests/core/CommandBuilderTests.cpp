// The exact requests the identification builders send: CDB bytes, CDB
// length, direction, transfer length and timeout; and what they make of the
// answers.

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "DeviceTestSupport.h"
#include "device/Capabilities.h"
#include "device/Commands.h"
#include "device/Profiles.h"

using namespace devtest;

namespace {

void ExpectRequest(const ScsiCommand& c, const std::vector<uint8_t>& cdb, uint8_t cdbLength,
                   uint32_t transferLength) {
    EXPECT_EQ(CdbOf(c.cdb), cdb);
    EXPECT_EQ(c.cdbLength, cdbLength);
    EXPECT_EQ(c.direction, DataIn);
    EXPECT_EQ(c.transferLength, transferLength);
    EXPECT_EQ(c.timeout, 10u);
}

// The same request as the drive saw it.
void ExpectSeen(const TranscriptEntry& e, const std::vector<uint8_t>& cdb, uint8_t cdbLength,
                uint32_t transferLength) {
    EXPECT_EQ(CdbOf(e.cdb), cdb);
    EXPECT_EQ(e.cdbLength, cdbLength);
    EXPECT_EQ(e.direction, DataIn);
    EXPECT_EQ(e.transferLength, transferLength);
}

// A drive on LUN 5, so that any builder putting LUN bits into byte 1 shows
// them as A0h.
const char kLunFiveDrive[] =
    "address: 1 0 0 5\n"
    "sectors: 100\n"
    "> 12\n00 80 05 32 5B 00 00 00\n"
    "> 5A page=2A\n00 1C 00 00 00 00 00 00 2A 14\n"
    "> 46\n00 00 00 08 00 00 00 10 FF 33 00 00\n"
    "> 51\n00 20 0E 01\n"
    "> A4 format=08\n00 06 00 00 25 FF 01 00\n";

}  // namespace

TEST(CommandBuilders, MakeCommandFillsLengthDirectionBufferAndTimeout) {
    uint8_t buffer[4];
    ScsiCommand c = MakeCommand(12, DataOut, buffer, 4);
    EXPECT_EQ(CdbOf(c.cdb), Cdb16({}));
    EXPECT_EQ(c.cdbLength, 12);
    EXPECT_EQ(c.direction, DataOut);
    EXPECT_EQ(c.data, static_cast<void*>(buffer));
    EXPECT_EQ(c.transferLength, 4u);
    EXPECT_EQ(c.timeout, 10u);
}

TEST(CommandBuilders, InquiryAsksFor96BytesWithASixByteCdb) {
    EmulatedDrive drive(ParseDrive(kLunFiveDrive));
    RecordingDevice device(drive.device);
    std::vector<uint8_t> buffer(96, 0);
    Inquiry(device, buffer.data());
    ASSERT_EQ(device.commands.size(), 1u);
    ExpectRequest(device.commands[0], Cdb16({0x12, 0x00, 0x00, 0x00, 0x60, 0x00}), 6, 96);
    EXPECT_EQ(device.commands[0].data, static_cast<void*>(buffer.data()));
    EXPECT_EQ(device.results[0], nullptr);
    ExpectSeen(drive.Transcript()[0], Cdb16({0x12, 0x00, 0x00, 0x00, 0x60, 0x00}), 6, 96);
    EXPECT_EQ(buffer[1], 0x80);  // the drive's answer arrived
}

TEST(CommandBuilders, FailedInquiryLeavesTheZeroedBuffer) {
    EmulatedDrive drive(ParseDrive("> 12\n! 5 24 00\n"));
    std::vector<uint8_t> buffer(96, 0);
    Inquiry(drive.device, buffer.data());
    EXPECT_EQ(buffer, std::vector<uint8_t>(96, 0));
}

TEST(CommandBuilders, ReportKeyForRpcStateHasAllocation8AndKeyFormat8) {
    EmulatedDrive drive(ParseDrive(kLunFiveDrive));
    RecordingDevice device(drive.device);
    RpcState state{};
    EXPECT_TRUE(ReadRpcState(device, state));
    ASSERT_EQ(device.commands.size(), 1u);
    const auto cdb = Cdb16({0xA4, 0, 0, 0, 0, 0, 0, 0, 0x00, 0x08, 0x08, 0x00});
    ExpectRequest(device.commands[0], cdb, 12, 8);
    ExpectSeen(drive.Transcript()[0], cdb, 12, 8);
}

TEST(CommandBuilders, GetConfigurationPutsRtStartingFeatureAndLength) {
    EmulatedDrive drive(ParseDrive(kLunFiveDrive));
    RecordingDevice device(drive.device);
    std::vector<uint8_t> buffer(0x1234, 0);
    EXPECT_TRUE(GetConfiguration(device, 0xFF33, 2, buffer.data(), 0x1234));
    ASSERT_EQ(device.commands.size(), 1u);
    const auto cdb = Cdb16({0x46, 0x02, 0xFF, 0x33, 0x00, 0x00, 0x00, 0x12, 0x34, 0x00});
    ExpectRequest(device.commands[0], cdb, 10, 0x1234);
    ExpectSeen(drive.Transcript()[0], cdb, 10, 0x1234);
}

TEST(CommandBuilders, GetConfigurationReportsFailure) {
    EmulatedDrive drive(ParseDrive("> 46\n! 2 3A 00\n"));
    uint8_t buffer[8] = {};
    EXPECT_FALSE(GetConfiguration(drive.device, 0, 0, buffer, sizeof buffer));
}

TEST(CommandBuilders, ReadDiscInformationPutsTheLengthInBytes7And8) {
    EmulatedDrive drive(ParseDrive(kLunFiveDrive));
    RecordingDevice device(drive.device);
    std::vector<uint8_t> buffer(34, 0);
    ReadDiscInformation(device, buffer.data(), 34);
    ASSERT_EQ(device.commands.size(), 1u);
    const auto cdb = Cdb16({0x51, 0x00, 0, 0, 0, 0, 0, 0x00, 0x22, 0x00});
    ExpectRequest(device.commands[0], cdb, 10, 34);
    ExpectSeen(drive.Transcript()[0], cdb, 10, 34);
    EXPECT_EQ(buffer[2], 0x0E);
}

TEST(CommandBuilders, ModeSenseCommandsCarryTheLunBitsAndAllocation252) {
    // LUN 5 -> byte 1 = 5 << 5 = A0h. MODE SENSE(10) fails here, so both
    // forms are sent; GET CONFIGURATION follows with 65530 = FFFAh.
    EmulatedDrive drive(ParseDrive("address: 1 0 0 5\n> 5A\n! 5 24 00\n> 1A\n! 5 24 00\n"));
    RecordingDevice device(drive.device);
    DriveCapabilities caps{};
    EXPECT_FALSE(ReadCapabilities(device, caps));
    ASSERT_EQ(device.commands.size(), 3u);
    ExpectRequest(device.commands[0], Cdb16({0x5A, 0xA0, 0x2A, 0, 0, 0, 0, 0x00, 0xFC, 0x00}), 10, 252);
    ExpectRequest(device.commands[1], Cdb16({0x1A, 0xA0, 0x2A, 0x00, 0xFC, 0x00}), 6, 252);
    ExpectRequest(device.commands[2], Cdb16({0x46, 0x00, 0x00, 0x00, 0, 0, 0, 0xFF, 0xFA, 0x00}), 10, 65530);
    for (ScsiResult* r : device.results) EXPECT_EQ(r, nullptr);
    ASSERT_EQ(drive.Transcript().size(), 3u);
    ExpectSeen(drive.Transcript()[0], Cdb16({0x5A, 0xA0, 0x2A, 0, 0, 0, 0, 0x00, 0xFC, 0x00}), 10, 252);
    ExpectSeen(drive.Transcript()[1], Cdb16({0x1A, 0xA0, 0x2A, 0x00, 0xFC, 0x00}), 6, 252);
    ExpectSeen(drive.Transcript()[2], Cdb16({0x46, 0x00, 0x00, 0x00, 0, 0, 0, 0xFF, 0xFA, 0x00}), 10, 65530);
}

TEST(CommandBuilders, OnlyTheModeSenseBuildersSetLunBits) {
    EmulatedDrive drive(ParseDrive(kLunFiveDrive));
    ASSERT_EQ(drive.device.LUN, 5);
    RecordingDevice device(drive.device);
    std::vector<uint8_t> inquiry(96), config(44), disc(34), sector(2048);
    RpcState state{};
    DriveCapabilities caps{};
    Inquiry(device, inquiry.data());
    ReadRpcState(device, state);
    GetConfiguration(device, 0, 0, config.data(), 44);
    ReadDiscInformation(device, disc.data(), 34);
    EXPECT_EQ(ReadSectors(device, 0, 1, sector.data()), 1u);
    ReadCurrentProfile(device);
    ReadCapabilities(device, caps);
    // INQUIRY, REPORT KEY, GET CONFIGURATION, READ DISC INFORMATION, READ(10),
    // GET CONFIGURATION (profile), MODE SENSE(10), GET CONFIGURATION.
    ASSERT_EQ(device.commands.size(), 8u);
    for (const ScsiCommand& c : device.commands) {
        EXPECT_EQ(c.timeout, 10u) << "opcode " << std::hex << int(c.cdb[0]);
        EXPECT_EQ(c.direction, DataIn) << "opcode " << std::hex << int(c.cdb[0]);
        EXPECT_EQ(c.cdb[1], c.cdb[0] == 0x5A ? 0xA0 : 0x00) << "opcode " << std::hex << int(c.cdb[0]);
    }
}

TEST(CommandBuilders, ReadSectorsSendsRead10WithBigEndianLbaAndCount) {
    EmulatedDrive drive(LoadSharedDrive("dvdram-writer-recorded-dvdrw.drive"));
    RecordingDevice device(drive.device);
    std::vector<uint8_t> buffer(2 * 2048, 0xEE);
    EXPECT_EQ(ReadSectors(device, 16, 2, buffer.data()), 2u);
    ASSERT_EQ(device.commands.size(), 1u);
    const auto cdb = Cdb16({0x28, 0x00, 0x00, 0x00, 0x00, 0x10, 0x00, 0x00, 0x02, 0x00});
    ExpectRequest(device.commands[0], cdb, 10, 4096);
    EXPECT_EQ(device.commands[0].data, static_cast<void*>(buffer.data()));
    ExpectSeen(drive.Transcript()[0], cdb, 10, 4096);
    // Sector 16 of the image is the ISO 9660 primary volume descriptor:
    // type 1, then "CD001".
    EXPECT_EQ(buffer[0], 0x01);
    EXPECT_EQ(std::memcmp(&buffer[1], "CD001", 5), 0);
}

TEST(CommandBuilders, ReadSectorsReturnsZeroWhenTheDriveRefuses) {
    // LBA 01020304h is past the disc: the drive ends in 5 21 00. Bytes 2-5
    // and 7-8 show the byte order.
    EmulatedDrive drive(LoadSharedDrive("dvdram-writer-recorded-dvdrw.drive"));
    RecordingDevice device(drive.device);
    std::vector<uint8_t> buffer(0x0102 * 2048, 0);
    EXPECT_EQ(ReadSectors(device, 0x01020304u, 0x0102, buffer.data()), 0u);
    ASSERT_EQ(device.commands.size(), 1u);
    ExpectRequest(device.commands[0], Cdb16({0x28, 0x00, 0x01, 0x02, 0x03, 0x04, 0x00, 0x01, 0x02, 0x00}),
                  10, 0x0102u * 2048u);
    EXPECT_EQ(drive.Transcript()[0].status, 2);
    EXPECT_EQ(drive.Transcript()[0].asc, 0x21);
}

TEST(CommandBuilders, ReadSectorsWithoutABufferSendsNothing) {
    EmulatedDrive drive(LoadSharedDrive("dvdram-writer-recorded-dvdrw.drive"));
    EXPECT_EQ(ReadSectors(drive.device, 16, 1, nullptr), 0u);
    EXPECT_TRUE(drive.Transcript().empty());
}

TEST(RpcState, DvdPlusRwWriterRegionState) {
    // Answer 00 06 00 00 64 FD 01 00: data length 0006h; byte 4 = 64h =
    // 01 100 100b -> type code 1, vendor resets 4, user changes 4; region
    // mask FDh; RPC scheme 01h.
    EmulatedDrive drive(LoadSharedDrive("dvd-writer-blank-dvdplusrw.drive"));
    RpcState s;
    std::memset(&s, 0xA5, sizeof s);
    ASSERT_TRUE(ReadRpcState(drive.device, s));
    EXPECT_EQ(s.dataLength, 6);
    EXPECT_EQ(s.reserved1, 0);
    EXPECT_EQ(s.typeCode, 1);
    EXPECT_EQ(s.vendorResets, 4);
    EXPECT_EQ(s.userChanges, 4);
    EXPECT_EQ(s.regionMask, 0xFD);
    EXPECT_EQ(s.rpcScheme, 1);
    EXPECT_EQ(s.reserved2, 0);
}

TEST(RpcState, DvdRamWriterRegionState) {
    // 00 06 00 00 63 FE 01 00: 63h = 01 100 011b -> type 1, vendor 4, user 3;
    // mask FEh (region 1 allowed); scheme 1.
    EmulatedDrive drive(LoadSharedDrive("dvdram-writer-recorded-dvdrw.drive"));
    RpcState s{};
    ASSERT_TRUE(ReadRpcState(drive.device, s));
    EXPECT_EQ(s.dataLength, 6);
    EXPECT_EQ(s.typeCode, 1);
    EXPECT_EQ(s.vendorResets, 4);
    EXPECT_EQ(s.userChanges, 3);
    EXPECT_EQ(s.regionMask, 0xFE);
    EXPECT_EQ(s.rpcScheme, 1);
}

TEST(RpcState, BdWriterWithNoRegionSetYet) {
    // 00 06 00 00 25 FF 01 00: 25h = 00 100 101b -> type 0, vendor 4, user 5;
    // mask FFh; scheme 1.
    EmulatedDrive drive(LoadSharedDrive("bd-writer-recorded-bdr.drive"));
    RpcState s{};
    ASSERT_TRUE(ReadRpcState(drive.device, s));
    EXPECT_EQ(s.dataLength, 6);
    EXPECT_EQ(s.typeCode, 0);
    EXPECT_EQ(s.vendorResets, 4);
    EXPECT_EQ(s.userChanges, 5);
    EXPECT_EQ(s.regionMask, 0xFF);
    EXPECT_EQ(s.rpcScheme, 1);
}

TEST(RpcState, CdWriterRefusesAndTheRecordIsLeftUntouched) {
    EmulatedDrive drive(LoadSharedDrive("cd-writer-blank-cdr.drive"));
    RpcState s;
    std::memset(&s, 0x5A, sizeof s);
    RpcState before;
    std::memcpy(&before, &s, sizeof s);
    EXPECT_FALSE(ReadRpcState(drive.device, s));
    EXPECT_EQ(std::memcmp(&s, &before, sizeof s), 0);
    ASSERT_EQ(drive.Transcript().size(), 1u);
    EXPECT_EQ(drive.Transcript()[0].senseKey, 5);
    EXPECT_EQ(drive.Transcript()[0].asc, 0x24);
}
