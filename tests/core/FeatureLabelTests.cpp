#include <gtest/gtest.h>

#include <set>
#include <string>

#include "MediaTestSupport.h"
#include "device/Capabilities.h"
#include "pages/FeatureLabels.h"
#include "report/ReportCommands.h"

namespace {

// The state of the label `caption` in `group`, or -1 when there is none.
int StateOf(const DriveCapabilities& caps, FeatureGroup group, const std::string& caption) {
    FeatureLabel labels[kFeatureLabelCount];
    FeatureLabelStates(caps, labels);
    for (const FeatureLabel& label : labels)
        if (label.group == group && caption == label.caption) return label.on ? 1 : 0;
    return -1;
}

// Capabilities decoded from a feature list of one descriptor after the header.
DriveCapabilities FromDescriptor(std::vector<uint8_t> descriptor, uint32_t pageBits = 0) {
    std::vector<uint8_t> list = {0, 0, 0, 0, 0, 0, 0, 0};
    uint32_t length = static_cast<uint32_t>(descriptor.size()) + 4;
    list[2] = static_cast<uint8_t>(length >> 8);
    list[3] = static_cast<uint8_t>(length);
    list.insert(list.end(), descriptor.begin(), descriptor.end());
    DriveCapabilities caps{};
    caps.pageBits = pageBits;
    DecodeFeatureList(list.data(), list.size(), caps);
    return caps;
}

std::vector<uint8_t> BdReadDescriptor(size_t nonZeroByte) {
    std::vector<uint8_t> d(36, 0);
    d[0] = 0x00; d[1] = 0x40; d[3] = 32;
    d[nonZeroByte] = 0x0E;
    return d;
}

TEST(FeatureLabels, SixtyFourLabelsInTheGridOrderWithUniqueIds) {
    FeatureLabel labels[kFeatureLabelCount];
    FeatureLabelStates(DriveCapabilities{}, labels);
    std::set<uint16_t> ids;
    for (const FeatureLabel& label : labels) ids.insert(label.controlId);
    EXPECT_EQ(ids.size(), 64u);
    EXPECT_EQ(labels[0].controlId, 1001);
    EXPECT_STREQ(labels[0].caption, "CD-R");
    EXPECT_EQ(labels[20].controlId, 1016);
    EXPECT_STREQ(labels[20].caption, "BD-RE");
    EXPECT_EQ(labels[21].controlId, 1025);
    EXPECT_EQ(labels[21].group, GroupWrite);
    EXPECT_EQ(labels[42].controlId, 1050);
    EXPECT_STREQ(labels[42].caption, "LightScribe");
    EXPECT_EQ(labels[43].controlId, 1053);
    EXPECT_EQ(labels[43].group, GroupGeneral);
    EXPECT_EQ(labels[63].controlId, 1072);
    EXPECT_STREQ(labels[63].caption, "Timely SafeRecording");
}

TEST(FeatureLabels, HiddenPlaceholdersNeverAppear) {
    FeatureLabel labels[kFeatureLabelCount];
    DriveCapabilities all{};
    all.pageBits = all.mediaFeatureBits = all.driveFeatureBits = 0xFFFFFFFFu;
    FeatureLabelStates(all, labels);
    for (const FeatureLabel& label : labels)
        for (uint16_t hidden : kHiddenFeatureControls) EXPECT_NE(label.controlId, hidden);
    std::string text = FormatFeatureStates(all);
    EXPECT_EQ(text.find("Solid Burn"), std::string::npos);
    EXPECT_EQ(text.find("LabelFlash"), std::string::npos);
    EXPECT_EQ(text.find("DVD Download Recording"), std::string::npos);
    EXPECT_EQ(text.find("QFix Recording"), std::string::npos);
}

TEST(FeatureLabels, NothingAnsweredLeavesEveryLabelGrey) {
    FeatureLabel labels[kFeatureLabelCount];
    FeatureLabelStates(DriveCapabilities{}, labels);
    for (const FeatureLabel& label : labels) EXPECT_FALSE(label.on) << label.caption;
}

TEST(FeatureLabels, HdDvdRewritableIsAlwaysGrey) {
    DriveCapabilities all{};
    all.pageBits = all.mediaFeatureBits = all.driveFeatureBits = 0xFFFFFFFFu;
    EXPECT_EQ(StateOf(all, GroupRead, "HD DVD-RW"), 0);
    EXPECT_EQ(StateOf(all, GroupRead, "HD DVD-RW DL"), 0);
    EXPECT_EQ(StateOf(all, GroupWrite, "HD DVD-RW"), 0);
    EXPECT_EQ(StateOf(all, GroupWrite, "HD DVD-RW DL"), 0);
    EXPECT_EQ(StateOf(all, GroupRead, "HD DVD-RAM"), 1);
}

TEST(FeatureLabels, BdReadWithOnlyTheBdRBitmapsLightsBdROnly) {
    DriveCapabilities caps = FromDescriptor(BdReadDescriptor(20));
    EXPECT_EQ(StateOf(caps, GroupRead, "BD-R"), 1);
    EXPECT_EQ(StateOf(caps, GroupRead, "BD-ROM"), 0);
    EXPECT_EQ(StateOf(caps, GroupRead, "BD-RE"), 0);
}

TEST(FeatureLabels, BdReadBytesEightToFifteenLightBdRom) {
    DriveCapabilities caps = FromDescriptor(BdReadDescriptor(9));
    EXPECT_EQ(StateOf(caps, GroupRead, "BD-ROM"), 1);
    EXPECT_EQ(StateOf(caps, GroupRead, "BD-R"), 0);
    EXPECT_EQ(StateOf(caps, GroupRead, "BD-RE"), 0);
    caps = FromDescriptor(BdReadDescriptor(30));
    EXPECT_EQ(StateOf(caps, GroupRead, "BD-RE"), 1);
    EXPECT_EQ(StateOf(caps, GroupRead, "BD-ROM"), 0);
}

TEST(FeatureLabels, BdWriteBytesEightToFifteenLightBdReAndSixteenToTwentyThreeBdR) {
    std::vector<uint8_t> d(28, 0);
    d[1] = 0x41; d[3] = 24; d[10] = 1;
    DriveCapabilities caps = FromDescriptor(d);
    EXPECT_EQ(StateOf(caps, GroupWrite, "BD-RE"), 1);
    EXPECT_EQ(StateOf(caps, GroupWrite, "BD-R"), 0);
    d[10] = 0; d[18] = 1;
    caps = FromDescriptor(d);
    EXPECT_EQ(StateOf(caps, GroupWrite, "BD-RE"), 0);
    EXPECT_EQ(StateOf(caps, GroupWrite, "BD-R"), 1);
}

TEST(FeatureLabels, DvdRWriterWithoutDualLayerReportingItsWriteFeatureShowsDvdRGrey) {
    constexpr uint32_t kDvdRWritePageBit = 1u << 10;  // page 2Ah byte 3 bit 4
    DriveCapabilities caps = FromDescriptor({0x00, 0x2F, 0x04, 0x04, 0x02, 0, 0, 0}, kDvdRWritePageBit);
    EXPECT_EQ(StateOf(caps, GroupWrite, "DVD-R"), 0);
    EXPECT_EQ(StateOf(caps, GroupWrite, "DVD-R DL"), 0);
    EXPECT_EQ(StateOf(caps, GroupWrite, "DVD-RW"), 1);
    // The dual-layer DVD-RW label repeats the single-layer bit.
    EXPECT_EQ(StateOf(caps, GroupWrite, "DVD-RW DL"), 1);
}

TEST(FeatureLabels, DvdRWriterWithoutTheWriteFeatureTakesDvdRFromTheModePage) {
    DriveCapabilities caps{};
    uint8_t mode[16] = {0x2A, 0x0E, 0x00, 0x10};  // byte 3 bit 4: DVD-R write
    DecodeCapabilitiesPage(mode, sizeof mode, 0, caps);
    EXPECT_EQ(StateOf(caps, GroupWrite, "DVD-R"), 1);
    EXPECT_EQ(StateOf(caps, GroupWrite, "DVD-RAM"), 0);
    EXPECT_EQ(StateOf(caps, GroupWrite, "DVD-RW"), 0);
}

TEST(FeatureLabels, DvdReadFeaturePresenceAloneLightsDvdRwRead) {
    DriveCapabilities caps = FromDescriptor({0x00, 0x1F, 0x00, 0x04, 0, 0, 0, 0});
    EXPECT_EQ(StateOf(caps, GroupRead, "DVD-RW"), 1);
    EXPECT_EQ(StateOf(caps, GroupRead, "DVD-R DL"), 0);
    EXPECT_EQ(StateOf(caps, GroupRead, "DVD-RW DL"), 0);
    caps = FromDescriptor({0x00, 0x1F, 0x00, 0x04, 0, 0, 0x02, 0});
    EXPECT_EQ(StateOf(caps, GroupRead, "DVD-RW DL"), 1);
}

TEST(FeatureLabels, LightScribeFeatureLightsLightScribe) {
    DriveCapabilities caps = FromDescriptor({0xFF, 0x33, 0x00, 0x00});
    EXPECT_EQ(StateOf(caps, GroupWrite, "LightScribe"), 1);
    EXPECT_EQ(StateOf(caps, GroupGeneral, "SMART"), 0);
}

TEST(FeatureLabels, ReportLinesAreGroupCaptionAndState) {
    DriveCapabilities caps = FromDescriptor({0x01, 0x01, 0x00, 0x00});
    std::string text = FormatFeatureStates(caps);
    EXPECT_EQ(text.substr(0, 23), "Read Features\tCD-R\toff\n");
    EXPECT_NE(text.find("\nGeneral Features\tSMART\ton\n"), std::string::npos);
    EXPECT_NE(text.find("\nWrite Features\tBuffer Underun\toff\n"), std::string::npos);
}

class SharedDriveFeatures : public ::testing::TestWithParam<const char*> {};

TEST_P(SharedDriveFeatures, MatchTheStatesWorkedOutFromTheCapture) {
    MediaTestDrive drive(LoadSharedDrive(GetParam()));
    ReportDrive report{drive.device.get(), 'E', 1, 0, 0, ""};
    std::string out, error;
    ASSERT_TRUE(RunReportCommand("features", report, out, error)) << error;
    EXPECT_EQ(out, ReadTextFile(TestDataPath(std::string("media/") + GetParam() + ".features.txt")));
}

INSTANTIATE_TEST_SUITE_P(Captures, SharedDriveFeatures,
                         ::testing::Values("cd-writer-blank-cdr", "dvd-writer-blank-dvdplusrw",
                                           "dvdram-writer-recorded-dvdrw", "bd-writer-recorded-bdr"));

}  // namespace
