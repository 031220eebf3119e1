// The feature walk's bit moves, one descriptor at a time, including the
// moves that look wrong but are kept because the drive tables and the pages
// built on them depend on them.

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "DeviceTestSupport.h"
#include "device/Capabilities.h"

using namespace devtest;

namespace {

struct MediaCase {
    const char* what;
    uint16_t code;
    size_t index;  // d[index] is set to `value`; index 0 sets nothing
    uint8_t value;
    uint32_t media;
};

// Expected media bits straight from the media feature table.
const MediaCase kMediaCases[] = {
    {"DVD Read, nothing set: present only", 0x001F, 0, 0, 1u << 1},
    {"DVD Read d[6] bit 0", 0x001F, 6, 0x01, (1u << 0) | (1u << 1)},
    {"DVD Read d[6] bit 1", 0x001F, 6, 0x02, (1u << 1) | (1u << 2)},
    {"DVD Read d[6] other bits", 0x001F, 6, 0xFC, 1u << 1},
    {"DVD Read d[4] not looked at", 0x001F, 4, 0xFF, 1u << 1},
    {"DVD+R present", 0x002B, 0, 0, 1u << 3},
    {"DVD+R d[4] bit 0", 0x002B, 4, 0x01, (1u << 3) | (1u << 19)},
    {"DVD+R d[4] other bits", 0x002B, 4, 0xFE, 1u << 3},
    {"DVD+R DL present", 0x003B, 0, 0, 1u << 4},
    {"DVD+R DL d[4] bit 0", 0x003B, 4, 0x01, (1u << 4) | (1u << 20)},
    {"DVD+RW present", 0x002A, 0, 0, 1u << 5},
    {"DVD+RW d[4] bit 0", 0x002A, 4, 0x01, (1u << 5) | (1u << 21)},
    {"DVD+RW DL present", 0x003A, 0, 0, 1u << 6},
    {"DVD+RW DL d[4] bit 0", 0x003A, 4, 0x01, (1u << 6) | (1u << 22)},
    {"HD DVD Read present", 0x0050, 0, 0, 1u << 12},
    {"HD DVD Read d[4] bit 0", 0x0050, 4, 0x01, (1u << 7) | (1u << 12)},
    {"HD DVD Read d[5] bit 0", 0x0050, 5, 0x01, (1u << 8) | (1u << 12)},
    {"HD DVD Read d[6] bit 0", 0x0050, 6, 0x01, (1u << 11) | (1u << 12)},
    {"HD DVD Read d[4..6] bit 1 not looked at", 0x0050, 5, 0xFE, 1u << 12},
    {"BD Read has no present bit", 0x0040, 0, 0, 0},
    {"BD Read d[4..7] not looked at", 0x0040, 7, 0xFF, 0},
    {"BD Read d[8]", 0x0040, 8, 0x01, 1u << 13},
    {"BD Read d[15]", 0x0040, 15, 0x80, 1u << 13},
    {"BD Read d[16]", 0x0040, 16, 0x01, 1u << 14},
    {"BD Read d[23]", 0x0040, 23, 0x10, 1u << 14},
    {"BD Read d[24]", 0x0040, 24, 0x01, 1u << 15},
    {"BD Read d[31]", 0x0040, 31, 0x02, 1u << 15},
    {"BD Read d[32] not looked at", 0x0040, 32, 0xFF, 0},
    {"DVD-R/-RW Write d[4] bit 3", 0x002F, 4, 0x08, 1u << 16},
    {"DVD-R/-RW Write d[4] bit 1 gives 17 and 18", 0x002F, 4, 0x02, (1u << 17) | (1u << 18)},
    {"DVD-R/-RW Write d[4] bits 3 and 1", 0x002F, 4, 0x0A, (1u << 16) | (1u << 17) | (1u << 18)},
    {"DVD-R/-RW Write d[4] other bits", 0x002F, 4, 0xF5, 0},
    {"HD DVD Write has no present bit", 0x0051, 0, 0, 0},
    {"HD DVD Write d[4] bit 0", 0x0051, 4, 0x01, 1u << 23},
    {"HD DVD Write d[5] bit 0", 0x0051, 5, 0x01, 1u << 24},
    {"HD DVD Write d[6] bit 0", 0x0051, 6, 0x01, 1u << 27},
    {"BD Write has no present bit", 0x0041, 0, 0, 0},
    {"BD Write d[8] gives 29", 0x0041, 8, 0x01, 1u << 29},
    {"BD Write d[15] gives 29", 0x0041, 15, 0x40, 1u << 29},
    {"BD Write d[16] gives 28", 0x0041, 16, 0x01, 1u << 28},
    {"BD Write d[23] gives 28", 0x0041, 23, 0x04, 1u << 28},
    {"BD Write d[24] not looked at", 0x0041, 24, 0xFF, 0},
    {"BD Write d[4..7] not looked at", 0x0041, 5, 0xFF, 0},
    {"Layer Jump Recording present", 0x0033, 0, 0, 1u << 30},
    {"TSR present", 0x0042, 0, 0, 1u << 31},
    {"Profile List is not a media feature", 0x0000, 4, 0xFF, 0},
    {"DVD-RW (002Ch) is not in the table", 0x002C, 4, 0xFF, 0},
    {"SAO (002Eh) is not in the table", 0x002E, 4, 0xFF, 0},
};

}  // namespace

TEST(CapabilitiesFeatureTable, EachMediaFeatureSetsTheBitsOfItsRow) {
    for (const MediaCase& c : kMediaCases) {
        std::vector<uint8_t> d = Descriptor(c.code, 36);
        if (c.index) d[c.index] = c.value;
        FeatureWords w = DecodeFeatures(FeatureList({d}));
        EXPECT_EQ(Hex32(w.media), Hex32(c.media)) << c.what;
        EXPECT_EQ(w.drive, 0u) << c.what;
    }
}

TEST(CapabilitiesFeatureTable, EachDriveFeatureSetsItsBitAndNeighbouringCodesSetNone) {
    struct DriveCase { uint16_t code; int bit; };
    const DriveCase cases[] = {
        {0x0080, 0},  {0x0100, 1},  {0x0101, 2},  {0x0102, 3},  {0x0104, 4},  {0x0106, 5},
        {0x0107, 6},  {0x010A, 7},  {0x010B, 8},  {0x010D, 9},  {0x0113, 10}, {0xFF33, 12},
        {0x0081, -1}, {0x0103, -1}, {0x0105, -1}, {0x0108, -1}, {0x0109, -1}, {0x010C, -1},
        {0x010E, -1}, {0x0110, -1}, {0x0112, -1}, {0x0114, -1}, {0xFF32, -1}, {0xFF34, -1},
        {0x3300, -1}, {0x33FF, -1},
    };
    for (const DriveCase& c : cases) {
        FeatureWords w = DecodeFeatures(FeatureList({Descriptor(c.code, 8, {{4, 0xFF}})}));
        uint32_t expected = c.bit >= 0 ? 1u << c.bit : 0u;
        EXPECT_EQ(Hex32(w.drive), Hex32(expected)) << "feature " << std::hex << c.code;
        EXPECT_EQ(w.media, 0u) << "feature " << std::hex << c.code;
    }
}

TEST(CapabilitiesFeatureTable, Bits17And18BothComeFromByte4Bit1) {
    for (unsigned value = 0; value < 256; ++value) {
        FeatureWords w = DecodeFeatures(
            FeatureList({Descriptor(0x002F, 8, {{4, static_cast<uint8_t>(value)}})}));
        bool bit1 = (value & 0x02) != 0;
        EXPECT_EQ((w.media >> 17) & 1u, bit1 ? 1u : 0u) << "d[4]=" << value;
        EXPECT_EQ((w.media >> 18) & 1u, bit1 ? 1u : 0u) << "d[4]=" << value;
        EXPECT_EQ((w.media >> 16) & 1u, (value >> 3) & 1u) << "d[4]=" << value;
    }
}

TEST(CapabilitiesFeatureTable, DvdMinusWriteDescriptorOverwritesPageBit10BothWays) {
    // Set before, d[4] bit 3 clear: cleared. Clear before, bit 3 set: set.
    // No other page bit moves.
    FeatureWords cleared =
        DecodeFeatures(FeatureList({Descriptor(0x002F, 8, {{4, 0xF7}})}), 0xFFFFFFFFu);
    EXPECT_EQ(Hex32(cleared.pageBits), Hex32(0xFFFFFBFFu));
    FeatureWords set = DecodeFeatures(FeatureList({Descriptor(0x002F, 8, {{4, 0x08}})}), 0x00000001u);
    EXPECT_EQ(Hex32(set.pageBits), Hex32(0x00000401u));
    // Other descriptors leave the page bits alone.
    FeatureWords other = DecodeFeatures(FeatureList({Descriptor(0x002B, 8, {{4, 0xFF}})}), 0x00000401u);
    EXPECT_EQ(Hex32(other.pageBits), Hex32(0x00000401u));
}

TEST(CapabilitiesFeatureTable, BdReadDescriptorWithOnlyByte20SetSetsOnlyBit14) {
    FeatureWords w = DecodeFeatures(FeatureList({Descriptor(0x0040, 36, {{20, 0x01}})}));
    EXPECT_EQ(Hex32(w.media), Hex32(0x4000u));
    EXPECT_EQ(w.drive, 0u);
}

TEST(CapabilitiesFeatureTable, BdWriteTakesBit28FromBytes16To23AndBit29FromBytes8To15) {
    EXPECT_EQ(Hex32(DecodeFeatures(FeatureList({Descriptor(0x0041, 32, {{10, 0x01}})})).media),
              Hex32(0x20000000u));
    EXPECT_EQ(Hex32(DecodeFeatures(FeatureList({Descriptor(0x0041, 32, {{18, 0x01}})})).media),
              Hex32(0x10000000u));
    // BD Read is the other way round: d[8-15] -> 13, d[16-23] -> 14.
    EXPECT_EQ(Hex32(DecodeFeatures(FeatureList({Descriptor(0x0040, 36, {{10, 0x01}})})).media),
              Hex32(0x2000u));
}

TEST(CapabilitiesFeatureTable, PresenceIgnoresTheCurrentBit) {
    // Every "present" feature with its Current bit (d[2] bit 0) clear: media
    // bits 1, 3, 4, 5, 6, 12, 30, 31 and every drive feature bit but 11.
    std::vector<std::vector<uint8_t>> notCurrent;
    for (uint16_t code : {0x001F, 0x002B, 0x003B, 0x002A, 0x003A, 0x0050, 0x0033, 0x0042, 0x0080,
                          0x0100, 0x0101, 0x0102, 0x0104, 0x0106, 0x0107, 0x010A, 0x010B, 0x010D,
                          0x0113, 0xFF33})
        notCurrent.push_back(Descriptor(code, 8, {}, 0x00));
    FeatureWords w = DecodeFeatures(FeatureList(notCurrent));
    EXPECT_EQ(Hex32(w.media), Hex32(0xC000107Au));
    EXPECT_EQ(Hex32(w.drive), Hex32(0x17FFu));

    // The same with the Current bit set gives the same words.
    std::vector<std::vector<uint8_t>> current = notCurrent;
    for (auto& d : current) d[2] = 0x01;
    FeatureWords c = DecodeFeatures(FeatureList(current));
    EXPECT_EQ(c.media, w.media);
    EXPECT_EQ(c.drive, w.drive);
}

TEST(CapabilitiesFeatureTable, MediaBits9And10And25And26AndDriveBit11AreNeverSet) {
    // Every code 0000h-01FFh and FF00h-FFFFh, each descriptor 32 bytes with
    // all of d[2]-d[31] set to FFh: every table row fires with every tested
    // bit set. Media: all but 9, 10, 25, 26 = ~0x06000600 = 0xF9FFF9FF.
    // Drive: bits 0-10 and 12 = 0x17FF.
    std::vector<std::vector<uint8_t>> all;
    auto add = [&all](unsigned code) {
        std::vector<uint8_t> d(32, 0xFF);
        d[0] = static_cast<uint8_t>(code >> 8);
        d[1] = static_cast<uint8_t>(code);
        d[3] = 28;
        all.push_back(d);
    };
    for (unsigned code = 0x0000; code <= 0x01FF; ++code) add(code);
    for (unsigned code = 0xFF00; code <= 0xFFFF; ++code) add(code);
    FeatureWords w = DecodeFeatures(FeatureList(all));
    EXPECT_EQ(Hex32(w.media), Hex32(0xF9FFF9FFu));
    EXPECT_EQ(Hex32(w.drive), Hex32(0x17FFu));
    EXPECT_EQ(Hex32(w.pageBits), Hex32(0x400u));  // 002Fh with d[4] bit 3 set
}

TEST(CapabilitiesFeatureTable, WalkStepsOverUnknownDescriptorsByTheirAdditionalLength) {
    // An unknown descriptor of 4 + 0Ch bytes whose data looks like 002Bh and
    // FF33h headers must be stepped over whole; the DVD+R descriptor after
    // it is found.
    std::vector<uint8_t> unknown = Descriptor(0x0108, 16);
    const uint8_t fakeInside[] = {0x00, 0x2B, 0x00, 0x04, 0x01, 0x00, 0x00, 0x00, 0xFF, 0x33, 0x00, 0x00};
    for (size_t i = 0; i < sizeof fakeInside; ++i) unknown[4 + i] = fakeInside[i];
    FeatureWords w = DecodeFeatures(FeatureList({unknown, Descriptor(0x003B, 8, {{4, 0x01}})}));
    EXPECT_EQ(Hex32(w.media), Hex32(0x00100010u));  // DVD+R DL: 4 and 20
    EXPECT_EQ(w.drive, 0u);
}
