// Drive answers whose lengths lie. The decoders read only the bytes they
// were given (exact-size heap buffers, so the address sanitizer sees any
// overread); bytes past those read as zero, and the results are what the
// tables give for the bytes that were held.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "DeviceTestSupport.h"
#include "device/Capabilities.h"

using namespace devtest;

namespace {

// The LG drives' page start: 2A 12 3F 37 FD 7F 29 3F. Bytes 2-6 give page
// bits 0x97FFDFFF (see CapabilitiesDriveTests), byte 6 loading 1, byte 7
// 3Fh all six byte-7 bits.
const std::vector<uint8_t> kPageHead = {0x2A, 0x12, 0x3F, 0x37, 0xFD, 0x7F, 0x29, 0x3F};

}  // namespace

TEST(CapabilitiesHostile, FeatureDataLengthBeyondTheBytesHeldStopsAtTheEndOfThem) {
    // Data length FFFFFFFFh over 8 + 8 + 4 held bytes: 002Bh d[4]=01 -> media
    // 3, 19; FF33h -> drive 12; then nothing more.
    std::vector<uint8_t> list = FeatureList({Descriptor(0x002B, 8, {{4, 0x01}}), Descriptor(0xFF33, 4)});
    SetDataLength(list, 0xFFFFFFFFu);
    FeatureWords w = DecodeFeatures(list);
    EXPECT_EQ(Hex32(w.media), Hex32(0x00080008u));
    EXPECT_EQ(Hex32(w.drive), Hex32(0x1000u));
}

TEST(CapabilitiesHostile, DriveReportingFeatureDataLengthFFFFFFFFIsWalkedOnlyOverTheBytesAskedFor) {
    std::vector<uint8_t> list = FeatureList({Descriptor(0x002B, 8, {{4, 0x01}}), Descriptor(0xFF33, 4)});
    SetDataLength(list, 0xFFFFFFFFu);
    EmulatedDrive drive(ParseDrive("> 46\n" + HexLines(list)));
    DriveCapabilities caps{};
    EXPECT_FALSE(ReadCapabilities(drive.device, caps));
    ExpectCapsEqual(caps, Caps(0, 0, 0, 0, 0, 0, 0, 0, 0x00080008u, 0x1000u));
}

TEST(CapabilitiesHostile, DescriptorWhoseLengthRunsPastTheDataIsReadOnlyWhereHeld) {
    // 001Fh claims FFh more bytes but only d[0]-d[5] are held: present (bit
    // 1); d[6], which would give bits 0 and 2, reads as zero.
    std::vector<uint8_t> list = FeatureList({Descriptor(0x002B, 8, {{4, 0x01}})});
    const uint8_t cut[] = {0x00, 0x1F, 0x01, 0xFF, 0x03, 0x03};
    list.insert(list.end(), cut, cut + sizeof cut);
    SetDataLength(list, static_cast<uint32_t>(list.size() - 4));
    EXPECT_EQ(Hex32(DecodeFeatures(list).media), Hex32(0x0008000Au));
    SetDataLength(list, 0xFFFFFFFFu);
    EXPECT_EQ(Hex32(DecodeFeatures(list).media), Hex32(0x0008000Au));

    // BD Read claiming FCh more bytes with d[0]-d[9] held, d[9]=01: bit 13
    // from the held d[8]-d[15] part; d[16]-d[31] are not held, so 14 and 15
    // stay clear.
    std::vector<uint8_t> bd = FeatureList({});
    const uint8_t bdCut[] = {0x00, 0x40, 0x01, 0xFC, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01};
    bd.insert(bd.end(), bdCut, bdCut + sizeof bdCut);
    SetDataLength(bd, 0xFFFFFFFFu);
    EXPECT_EQ(Hex32(DecodeFeatures(bd).media), Hex32(0x2000u));
}

TEST(CapabilitiesHostile, FeatureListShorterThanItsHeaderSetsNothing) {
    DriveCapabilities caps{};
    DecodeFeatureList(nullptr, 0, caps);
    EXPECT_EQ(Hex32(caps.mediaFeatureBits), Hex32(0u));
    EXPECT_EQ(DecodeFeatures({0xFF, 0xFF, 0xFF}).media, 0u);
    EXPECT_EQ(DecodeFeatures({0xFF, 0xFF, 0xFF, 0xFF}).media, 0u);
    // Data length FFFFFFFFh and a header cut after byte 6: no descriptor held.
    EXPECT_EQ(DecodeFeatures({0xFF, 0xFF, 0xFF, 0xFF, 0x00, 0x00, 0x00}).drive, 0u);
}

TEST(CapabilitiesHostile, AllZeroDescriptorsAreWalkedFourBytesAtATimeToTheEnd) {
    // 65530 bytes, data length FFFFFFFFh, every descriptor 0000h with
    // additional length 0 (4 bytes) but one FF33h at 8 + 4 * 16379 = 65524:
    // the walk must get there and then stop at the end of the buffer.
    std::vector<uint8_t> list(kFeatureAllocation, 0);
    SetDataLength(list, 0xFFFFFFFFu);
    list[65524] = 0xFF;
    list[65525] = 0x33;
    FeatureWords w = DecodeFeatures(list);
    EXPECT_EQ(Hex32(w.drive), Hex32(0x1000u));
    EXPECT_EQ(w.media, 0u);

    list[65524] = list[65525] = 0;
    w = DecodeFeatures(list);
    EXPECT_EQ(w.drive, 0u);
    EXPECT_EQ(w.media, 0u);
}

TEST(CapabilitiesHostile, DriveAnsweringMoreThanAskedForIsCutAtTheAllocationLength) {
    // A 70000-byte answer of zero descriptors under data length FFFFFFFFh.
    // FF33h at 65524 lies inside the 65530 bytes asked for; 002Bh with d[4]=01
    // at 65532 lies past them and is never delivered.
    std::vector<uint8_t> list(70000, 0);
    SetDataLength(list, 0xFFFFFFFFu);
    list[65524] = 0xFF;
    list[65525] = 0x33;
    list[65533] = 0x2B;
    list[65535] = 0x04;
    list[65536] = 0x01;
    EmulatedDrive drive(ParseDrive("> 46\n" + HexLines(list)));
    DriveCapabilities caps{};
    ReadCapabilities(drive.device, caps);
    EXPECT_EQ(Hex32(caps.driveFeatureBits), Hex32(0x1000u));
    EXPECT_EQ(Hex32(caps.mediaFeatureBits), Hex32(0u));
    ASSERT_FALSE(drive.Transcript().empty());
    EXPECT_EQ(drive.Transcript().back().transferred, kFeatureAllocation);
}

TEST(CapabilitiesHostile, ModePageBeyondTheBufferDecodesAsZerosWithTheValidBit) {
    // Block descriptor length FFh: the page would start at 8 + 255 = 263,
    // past the 256 bytes held. Every held byte is FFh, none may be taken.
    std::vector<uint8_t> mode(kModePageBufferSize, 0xFF);
    mode.shrink_to_fit();
    DriveCapabilities caps{};
    DecodeCapabilitiesPage(mode.data(), mode.size(), 8 + mode[7], caps);
    ExpectCapsEqual(caps, Caps(1, 0, 0, 0, 0, 0, 0, 0, 0, 0));
}

TEST(CapabilitiesHostile, ModePageCutByTheBufferEndKeepsTheHeldBytes) {
    // Page at 248 of 256: p[0]-p[7] held, the speeds and buffer size (p[8]
    // on) are not and read as zero.
    std::vector<uint8_t> mode(kModePageBufferSize, 0x11);
    mode.shrink_to_fit();
    for (size_t i = 0; i < kPageHead.size(); ++i) mode[248 + i] = kPageHead[i];
    DriveCapabilities caps{};
    DecodeCapabilitiesPage(mode.data(), mode.size(), 248, caps);
    ExpectCapsEqual(caps, Caps(0x97FFDFFFu, 1, 0x3F, 0, 0, 0, 0, 0, 0, 0));
}

TEST(CapabilitiesHostile, DriveWithBlockDescriptorLengthFFGetsOnlyTheValidBit) {
    // MODE SENSE(10) succeeds with header byte 7 = FFh and 300 bytes of FFh.
    std::vector<uint8_t> mode(300, 0xFF);
    mode[0] = 0x01;
    mode[1] = 0x2A;
    EmulatedDrive drive(ParseDrive("> 5A page=2A\n" + HexLines(mode)));
    DriveCapabilities caps{};
    EXPECT_TRUE(ReadCapabilities(drive.device, caps));
    ExpectCapsEqual(caps, Caps(1, 0, 0, 0, 0, 0, 0, 0, 0, 0));
    ASSERT_FALSE(drive.Transcript().empty());
    EXPECT_EQ(drive.Transcript()[0].transferred, kModePageAllocation);
}

TEST(CapabilitiesHostile, ModeSense6WithBlockDescriptorLengthFFGetsOnlyTheValidBit) {
    // 4 + 255 = 259, past the 256-byte buffer.
    std::vector<uint8_t> mode(300, 0xFF);
    EmulatedDrive drive(ParseDrive("> 5A\n! 5 24 00\n> 1A page=2A\n" + HexLines(mode)));
    DriveCapabilities caps{};
    EXPECT_TRUE(ReadCapabilities(drive.device, caps));
    ExpectCapsEqual(caps, Caps(1, 0, 0, 0, 0, 0, 0, 0, 0, 0));
}

TEST(CapabilitiesHostile, DrivePageStraddlingTheAllocationLengthKeepsOnlyTheDeliveredBytes) {
    // Header byte 7 = F0h puts the page at 248. The drive delivers 252 bytes
    // (the allocation length), so p[0]-p[3] = 2A 12 3F 37 arrive and p[4] on
    // stays as the zeroed buffer had it: page bits 0x1 | 0x7E (p[2]=3F) |
    // 0xF80 (p[3]=37) = 0xFFF, loading 0, byte 7 bits 0, speeds 0.
    std::vector<uint8_t> mode(248, 0xFF);
    for (size_t i = 0; i < 8; ++i) mode[i] = 0;
    mode[1] = 0xFF;
    mode[7] = 0xF0;
    mode.insert(mode.end(), kPageHead.begin(), kPageHead.end());
    const uint8_t speeds[] = {0x21, 0x13, 0x01, 0x00, 0x08, 0x00, 0x21, 0x13, 0x00, 0x00, 0x1B, 0x90, 0x1B, 0x90};
    mode.insert(mode.end(), speeds, speeds + sizeof speeds);
    EmulatedDrive drive(ParseDrive("> 5A page=2A\n" + HexLines(mode)));
    DriveCapabilities caps{};
    EXPECT_TRUE(ReadCapabilities(drive.device, caps));
    ExpectCapsEqual(caps, Caps(0xFFFu, 0, 0, 0, 0, 0, 0, 0, 0, 0));
}
