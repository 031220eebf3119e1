// ReadCapabilities on drives written for one behaviour each: the MODE SENSE
// fallbacks, where the page starts, and how the feature list is bounded by
// its data length.

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "DeviceTestSupport.h"
#include "device/Capabilities.h"

using namespace devtest;

namespace {

// A capabilities page whose every field is distinct:
//   p[2]=01 -> page bit 1 (CD-R read)
//   p[3]=10 -> byte 3 bit 4 -> page bit 10 (DVD-R write)
//   p[4]=00
//   p[5]=80 -> byte 5 bit 7 -> page bit 27 (read bar code)
//   p[6]=E1 -> bit 0 -> page bit 28 (lock); loading mechanism E1h >> 5 = 7
//   p[7]=3F -> page byte 7 bits 0-5
//   p[8-9]=0B06h 2822 max read, p[12-13]=0200h 512 KB buffer,
//   p[14-15]=0583h 1411 current read, p[18-19]=0AD2h 2770 max write,
//   p[20-21]=02C2h 706 current write
//   page bits = 0x1 | 0x2 | 0x400 | 0x08000000 | 0x10000000 = 0x18000403
const char kPage[] = "2A 14 01 10 00 80 E1 3F 0B 06 00 02 02 00 05 83 00 00 0A D2 02 C2\n";
constexpr uint32_t kPageBits = 0x18000403u;

DriveCapabilities PageOnly(uint32_t pageBits, uint32_t media = 0, uint32_t drive = 0) {
    return Caps(pageBits, 7, 0x3F, 512, 2822, 2770, 1411, 706, media, drive);
}

// Eight block-descriptor bytes of FFh: a page read from the wrong offset
// would pick them up.
const char kBlockDescriptor[] = "FF FF FF FF FF FF FF FF\n";

std::string ModeSense6Block() {
    // Header: mode data length, medium type, device-specific, block descriptor
    // length 8; the page follows at 4 + 8 = 12.
    return std::string("> 1A page=2A\n21 00 00 08\n") + kBlockDescriptor + kPage;
}

std::vector<uint8_t> Opcodes(const EmulatedDrive& drive) {
    std::vector<uint8_t> ops;
    for (const auto& e : drive.Transcript()) ops.push_back(e.cdb[0]);
    return ops;
}

}  // namespace

TEST(Capabilities, ModeSense6OnlyDriveHasPageParsedAfterItsBlockDescriptor) {
    EmulatedDrive drive(ParseDrive("> 5A\n! 5 20 00\n" + ModeSense6Block()));
    DriveCapabilities caps{};
    EXPECT_TRUE(ReadCapabilities(drive.device, caps));
    ExpectCapsEqual(caps, PageOnly(kPageBits));
    EXPECT_EQ(Opcodes(drive), (std::vector<uint8_t>{0x5A, 0x1A, 0x46}));
}

TEST(Capabilities, DriveWithoutAnyModeSense10BlockFallsBackToModeSense6) {
    // No 5A block at all: the emulator answers 5 20 00 (invalid opcode).
    EmulatedDrive drive(ParseDrive(ModeSense6Block()));
    DriveCapabilities caps{};
    EXPECT_TRUE(ReadCapabilities(drive.device, caps));
    ExpectCapsEqual(caps, PageOnly(kPageBits));
    ASSERT_EQ(drive.Transcript().size(), 3u);
    EXPECT_EQ(drive.Transcript()[0].asc, 0x20);
}

TEST(Capabilities, ModeSense10PageStartsAfterTheLowByteOfTheBlockDescriptorLength) {
    // Header bytes 6-7 = 01 08: only the low byte counts, so the page is at
    // 8 + 8 = 16, right after the eight FFh bytes.
    EmulatedDrive drive(ParseDrive(std::string("> 5A page=2A\n00 26 00 00 00 00 01 08\n") +
                                   kBlockDescriptor + kPage));
    DriveCapabilities caps{};
    EXPECT_TRUE(ReadCapabilities(drive.device, caps));
    ExpectCapsEqual(caps, PageOnly(kPageBits));
    EXPECT_EQ(Opcodes(drive), (std::vector<uint8_t>{0x5A, 0x46}));
}

TEST(Capabilities, DvdRwWriteDescriptorSetsBits17And18AndClearsPageDvdRWriteSetByTheModePage) {
    // The page sets page bit 10 (p[3] bit 4); 002Fh with d[4]=02h (bit 1 set,
    // bit 3 clear) sets media bits 17 and 18, leaves 16 clear and writes 0
    // into page bit 10: 0x18000403 & ~0x400 = 0x18000003.
    std::vector<uint8_t> list = FeatureList({Descriptor(0x002F, 8, {{4, 0x02}})});
    EmulatedDrive drive(ParseDrive(std::string("> 5A page=2A\n00 1C 00 00 00 00 00 00\n") + kPage +
                                   "> 46\n" + HexLines(list)));
    DriveCapabilities caps{};
    EXPECT_TRUE(ReadCapabilities(drive.device, caps));
    ExpectCapsEqual(caps, PageOnly(0x18000003u, 0x00060000u, 0));
}

TEST(Capabilities, FeatureListOfHeaderOnlyLengthSetsNoFeatureBit) {
    // Data length 4 says "header only"; the descriptors the answer carries
    // after it (DVD+R with d[4]=01, FF33h) must not be walked.
    std::vector<uint8_t> list =
        FeatureList({Descriptor(0x002B, 8, {{4, 0x01}}), Descriptor(0xFF33, 4)});
    SetDataLength(list, 4);
    EmulatedDrive drive(ParseDrive("> 46\n" + HexLines(list)));
    DriveCapabilities caps{};
    EXPECT_FALSE(ReadCapabilities(drive.device, caps));
    ExpectCapsEqual(caps, Caps(0, 0, 0, 0, 0, 0, 0, 0, 0, 0));
}

TEST(Capabilities, FeatureListDataLengthBelowFiveSetsNothingAndFiveWalksOneDescriptor) {
    std::vector<uint8_t> list =
        FeatureList({Descriptor(0x002B, 8, {{4, 0x01}}), Descriptor(0xFF33, 4)});
    for (uint32_t length : {0u, 1u, 3u, 4u}) {
        SetDataLength(list, length);
        FeatureWords w = DecodeFeatures(list);
        EXPECT_EQ(w.media, 0u) << "data length " << length;
        EXPECT_EQ(w.drive, 0u) << "data length " << length;
    }
    // 5 - 4 = 1 byte remains: the first descriptor (8 bytes) is taken, which
    // uses up the rest, so FF33h after it is not.
    SetDataLength(list, 5);
    FeatureWords w = DecodeFeatures(list);
    EXPECT_EQ(Hex32(w.media), Hex32(0x00080008u));  // DVD+R present (3) and d[4] bit 0 (19)
    EXPECT_EQ(w.drive, 0u);
    // 4 + 8 + 1: one byte into FF33h's descriptor is enough to take it.
    SetDataLength(list, 13);
    EXPECT_EQ(Hex32(DecodeFeatures(list).drive), Hex32(0x1000u));
}

TEST(Capabilities, VendorFeatureFF33SetsDriveBit12) {
    std::vector<uint8_t> list = FeatureList({Descriptor(0xFF33, 4)});
    EmulatedDrive drive(ParseDrive("> 46\n" + HexLines(list)));
    DriveCapabilities caps{};
    ReadCapabilities(drive.device, caps);
    EXPECT_EQ(Hex32(caps.driveFeatureBits), Hex32(0x1000u));
    EXPECT_EQ(Hex32(caps.mediaFeatureBits), Hex32(0u));
}

TEST(Capabilities, BothModeSenseFailingReturnsFalseWithOnlyTheFeatureWordsFilled) {
    // 002Bh d[4]=01 -> media 3, 19; 0107h -> drive 6; FF33h -> drive 12.
    std::vector<uint8_t> list = FeatureList(
        {Descriptor(0x002B, 8, {{4, 0x01}}), Descriptor(0x0107, 8), Descriptor(0xFF33, 4)}, 0x001B);
    EmulatedDrive drive(ParseDrive("> 5A\n! 5 24 00\n> 1A\n! 5 24 00\n> 46\n" + HexLines(list)));
    DriveCapabilities caps{};
    EXPECT_FALSE(ReadCapabilities(drive.device, caps));
    ExpectCapsEqual(caps, Caps(0, 0, 0, 0, 0, 0, 0, 0, 0x00080008u, 0x1040u));
    EXPECT_EQ(Opcodes(drive), (std::vector<uint8_t>{0x5A, 0x1A, 0x46}));
}

TEST(Capabilities, DvdMinusWriteDescriptorSetsPageBit10EvenWhenNoModePageWasRead) {
    // The feature list is walked in every case and 002Fh always writes page
    // bit 10, so a drive without a mode page still shows DVD-R write (but
    // not the valid bit 0).
    std::vector<uint8_t> list = FeatureList({Descriptor(0x002F, 8, {{4, 0x08}})});
    EmulatedDrive drive(ParseDrive("> 46\n" + HexLines(list)));
    DriveCapabilities caps{};
    EXPECT_FALSE(ReadCapabilities(drive.device, caps));
    EXPECT_EQ(Hex32(caps.pageBits), Hex32(0x400u));
    EXPECT_EQ(Hex32(caps.mediaFeatureBits), Hex32(0x10000u));
}

TEST(Capabilities, FailedGetConfigurationLeavesTheFeatureWordsZero) {
    EmulatedDrive drive(ParseDrive(std::string("> 5A page=2A\n00 1C 00 00 00 00 00 00\n") + kPage +
                                   "> 46\n! 2 3A 00\n"));
    DriveCapabilities caps{};
    EXPECT_TRUE(ReadCapabilities(drive.device, caps));
    ExpectCapsEqual(caps, PageOnly(kPageBits));
}

TEST(Capabilities, ReadCapabilitiesZeroesTheRecordFirst) {
    EmulatedDrive drive(ParseDrive("> 5A\n! 5 24 00\n> 1A\n! 5 24 00\n> 46\n! 5 24 00\n"));
    DriveCapabilities caps;
    std::memset(&caps, 0xA5, sizeof caps);
    EXPECT_FALSE(ReadCapabilities(drive.device, caps));
    ExpectCapsEqual(caps, Caps(0, 0, 0, 0, 0, 0, 0, 0, 0, 0));
}

TEST(Capabilities, PageDecoderLeavesTheUpperBitsOfTheByte7UnitAlone) {
    // Only bits 0-5 of the unit carry page byte 7; p[7]=C5h gives 05h there
    // (its bits 6 and 7 are not taken) and bits 6-31 keep what they held.
    std::vector<uint8_t> mode = {0x2A, 0x14, 0, 0, 0, 0, 0, 0xC5};
    mode.resize(22, 0);
    DriveCapabilities caps{};
    caps.pageByte7Bits = 0xFFFFFF00u;
    DecodeCapabilitiesPage(mode.data(), mode.size(), 0, caps);
    EXPECT_EQ(Hex32(caps.pageByte7Bits), Hex32(0xFFFFFF05u));
    EXPECT_EQ(Hex32(caps.pageBits), Hex32(0x1u));
}

TEST(Capabilities, PageDecoderMapsEachModePageBitToItsPageBit) {
    // One set bit at a time in page bytes 2-6; the expected page bit comes
    // from the page-bit table (byte 3 bits 3, 6, 7 and byte 2 bits 6, 7 and
    // byte 6 bits 4 (and 5-7, the loading mechanism) have no page bit).
    struct Case { size_t byte; unsigned bit; int pageBit; };
    const Case cases[] = {
        {2, 0, 1},  {2, 1, 2},  {2, 2, 3},  {2, 3, 4},  {2, 4, 5},  {2, 5, 6},  {2, 6, -1}, {2, 7, -1},
        {3, 0, 7},  {3, 1, 8},  {3, 2, 9},  {3, 3, -1}, {3, 4, 10}, {3, 5, 11}, {3, 6, -1}, {3, 7, -1},
        {4, 0, 12}, {4, 1, 13}, {4, 2, 14}, {4, 3, 15}, {4, 4, 16}, {4, 5, 17}, {4, 6, 18}, {4, 7, 19},
        {5, 0, 20}, {5, 1, 21}, {5, 2, 22}, {5, 3, 23}, {5, 4, 24}, {5, 5, 25}, {5, 6, 26}, {5, 7, 27},
        {6, 0, 28}, {6, 1, 29}, {6, 2, 30}, {6, 3, 31}, {6, 4, -1},
    };
    for (const Case& c : cases) {
        std::vector<uint8_t> mode(22, 0);
        mode[c.byte] = static_cast<uint8_t>(1u << c.bit);
        DriveCapabilities caps{};
        DecodeCapabilitiesPage(mode.data(), mode.size(), 0, caps);
        uint32_t expected = 1u | (c.pageBit >= 0 ? 1u << c.pageBit : 0u);
        EXPECT_EQ(Hex32(caps.pageBits), Hex32(expected)) << "page byte " << c.byte << " bit " << c.bit;
        EXPECT_EQ(caps.loadingMechanism, 0) << "page byte " << c.byte << " bit " << c.bit;
    }
    // Byte 6 bits 5-7 are the loading mechanism 0-7.
    for (unsigned type = 0; type < 8; ++type) {
        std::vector<uint8_t> mode(22, 0);
        mode[6] = static_cast<uint8_t>(type << 5);
        DriveCapabilities caps{};
        DecodeCapabilitiesPage(mode.data(), mode.size(), 0, caps);
        EXPECT_EQ(caps.loadingMechanism, type);
        EXPECT_EQ(Hex32(caps.pageBits), Hex32(0x1u));
    }
}
