// Every captured answer the Media report and the Feature page read, cut at
// every length and with its length fields made to lie: the report must come
// out every time, and (in the sanitizer build) without a read outside any
// buffer.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "MediaTestSupport.h"
#include "device/Capabilities.h"
#include "pages/FeatureLabels.h"
#include "pages/MediaReport.h"

namespace {

const char* const kDrives[] = {"cd-writer-blank-cdr", "dvd-writer-blank-dvdplusrw",
                               "dvdram-writer-recorded-dvdrw", "bd-writer-recorded-bdr"};

// Where an answer keeps its own length: offset and width in bytes.
struct LengthField {
    size_t offset;
    size_t width;
};

bool LengthFieldOf(uint8_t opcode, LengthField& field) {
    switch (opcode) {
    case 0x46: case 0xAC: field = {0, 4}; return true;  // feature list, performance
    case 0x51: case 0x43: case 0xAD: field = {0, 2}; return true;
    case 0x23: field = {3, 1}; return true;  // capacity list length
    default: return false;
    }
}

bool ReadByTheMediaPages(uint8_t opcode) {
    switch (opcode) {
    case 0x46: case 0x5A: case 0x51: case 0x25: case 0x23: case 0x43: case 0xAC: case 0xAD: return true;
    default: return false;
    }
}

void Store(std::vector<uint8_t>& data, const LengthField& field, uint64_t value) {
    for (size_t i = 0; i < field.width; ++i) {
        size_t at = field.offset + i;
        if (at < data.size()) data[at] = static_cast<uint8_t>(value >> (8 * (field.width - 1 - i)));
    }
}

uint64_t Load(const std::vector<uint8_t>& data, const LengthField& field) {
    uint64_t value = 0;
    for (size_t i = 0; i < field.width; ++i) {
        size_t at = field.offset + i;
        value = (value << 8) | (at < data.size() ? data[at] : 0);
    }
    return value;
}

// Runs both page reports over `file` and checks the shape every report has.
void ExpectReports(const DriveFile& file, const std::string& what) {
    MediaTestDrive media(file);
    std::string report = MediaReport(*media.device);
    ASSERT_EQ(report.compare(0, 17, "Current Profile: "), 0) << what;
    ASSERT_GE(report.size(), 2u) << what;
    ASSERT_EQ(report.substr(report.size() - 2), "\r\n") << what;
    size_t bareLineFeeds = 0;
    for (size_t i = 0; i < report.size(); ++i)
        if (report[i] == '\n' && (i == 0 || report[i - 1] != '\r')) ++bareLineFeeds;
    ASSERT_EQ(bareLineFeeds, 0u) << what;
    MediaTestDrive features(file);
    DriveCapabilities caps{};
    ReadCapabilities(*features.device, caps);
    std::string states = FormatFeatureStates(caps);
    ASSERT_EQ(std::count(states.begin(), states.end(), '\n'), 64) << what;
}

class MediaTruncation : public ::testing::TestWithParam<const char*> {};

TEST_P(MediaTruncation, EveryAnswerCutAtEveryLength) {
    DriveFile original = LoadSharedDrive(GetParam());
    original.imagePath.clear();  // the reports read no sectors
    size_t variants = 0;
    for (size_t b = 0; b < original.blocks.size(); ++b) {
        const ReplyBlock& block = original.blocks[b];
        if (block.isStatus || !ReadByTheMediaPages(block.opcode)) continue;
        for (size_t length = 0; length < block.data.size(); ++length) {
            DriveFile cut = original;
            cut.blocks[b].data.resize(length);
            ExpectReports(cut, std::string(GetParam()) + " block " + std::to_string(block.line) +
                                   " cut at " + std::to_string(length));
            ++variants;
        }
    }
    EXPECT_GT(variants, 100u);
}

TEST_P(MediaTruncation, EveryLengthFieldLies) {
    DriveFile original = LoadSharedDrive(GetParam());
    original.imagePath.clear();
    size_t variants = 0;
    for (size_t b = 0; b < original.blocks.size(); ++b) {
        const ReplyBlock& block = original.blocks[b];
        LengthField field;
        if (block.isStatus || !LengthFieldOf(block.opcode, field)) continue;
        uint64_t n = Load(block.data, field);
        uint64_t all = field.width == 1 ? 0xFFu : field.width == 2 ? 0xFFFFu : 0xFFFFFFFFu;
        for (uint64_t value : {uint64_t{0}, n - 1, n + 1, uint64_t{0xFF}, uint64_t{0xFFFF}, all}) {
            DriveFile lying = original;
            Store(lying.blocks[b].data, field, value & all);
            ExpectReports(lying, std::string(GetParam()) + " block " + std::to_string(block.line) +
                                     " length " + std::to_string(value & all));
            // The same lie in an answer cut to its header.
            lying.blocks[b].data.resize(std::min<size_t>(lying.blocks[b].data.size(), 8));
            ExpectReports(lying, std::string(GetParam()) + " block " + std::to_string(block.line) +
                                     " header only, length " + std::to_string(value & all));
            ++variants;
        }
    }
    EXPECT_GE(variants, 24u);
}

INSTANTIATE_TEST_SUITE_P(Captures, MediaTruncation, ::testing::ValuesIn(kDrives));

TEST(MediaTruncation, ALyingTocLengthStillListsTheCapturedTracks) {
    DriveFile file = LoadSharedDrive("dvdram-writer-recorded-dvdrw");
    file.imagePath.clear();
    for (ReplyBlock& block : file.blocks)
        if (block.opcode == 0x43 && !block.isStatus) block.data[0] = block.data[1] = 0xFF;
    MediaTestDrive drive(file);
    std::string report = MediaReport(*drive.device);
    EXPECT_NE(report.find("-> Track 01 Lba:0, Adr:1, Control:4\r\n-> Track 02 Lba:2064, Adr:1, Control:4\r\n"
                          "-> Track AA Lba:2254432, Adr:1, Control:4\r\n-> Track 00 Lba:0, Adr:0, Control:0\r\n"),
              std::string::npos);
}

}  // namespace
