// The Sector Viewer's text and range, and `vexlon-report sector N`. Expected
// rows are written by hand from the byte layout and from xxd's view of the
// shared images (xxd shows 20h-7Eh as themselves and everything else as ".").

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "DeviceTestSupport.h"
#include "TestPaths.h"
#include "pages/SectorView.h"
#include "report/ReportCommands.h"

namespace {

using devtest::EmulatedDrive;
using devtest::LoadSharedDrive;
using devtest::ParseDrive;

std::string Row(const std::string& text, uint32_t row) { return text.substr(row * 78u, 78u); }

std::vector<uint8_t> Counting() {
    std::vector<uint8_t> bytes(2048);
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i);
    return bytes;
}

// A drive with a disc image and one READ CAPACITY answer (empty: none).
DriveFile CapacityDrive(const std::string& capacityHex) {
    std::string text = "title: capacity\nletter: E\naddress: 1 0 0 0\npath: \\\\?\\scsi#test\n";
    text += "image: " + SharedPath("discs/udf102-genisoimage.iso") + "\n";
    if (!capacityHex.empty()) text += "> 25\n" + capacityHex + "\n";
    return ParseDrive(text);
}

TEST(SectorText, OneRowReadsOffsetBytesWithTheExtraBlankAndCharacters) {
    std::vector<uint8_t> bytes = Counting();
    std::string text = FormatSectorText(bytes.data(), bytes.size(), 0);
    EXPECT_EQ(Row(text, 0), "00000000| 00 01 02 03 04 05 06 07  08 09 0A 0B 0C 0D 0E 0F |................\r\n");
    EXPECT_EQ(Row(text, 2), "00000020| 20 21 22 23 24 25 26 27  28 29 2A 2B 2C 2D 2E 2F | !\"#$%&'()*+,-./\r\n");
    EXPECT_EQ(Row(text, 7), "00000070| 70 71 72 73 74 75 76 77  78 79 7A 7B 7C 7D 7E 7F |pqrstuvwxyz{|}~.\r\n");
    EXPECT_EQ(Row(text, 8), "00000080| 80 81 82 83 84 85 86 87  88 89 8A 8B 8C 8D 8E 8F |................\r\n");
    EXPECT_EQ(Row(text, 15), "000000F0| F0 F1 F2 F3 F4 F5 F6 F7  F8 F9 FA FB FC FD FE FF |................\r\n");
    EXPECT_EQ(Row(text, 127), "000007F0| F0 F1 F2 F3 F4 F5 F6 F7  F8 F9 FA FB FC FD FE FF |................\r\n");
}

TEST(SectorText, IsExactly128RowsOf78Characters) {
    std::vector<uint8_t> bytes = Counting();
    std::string text = FormatSectorText(bytes.data(), bytes.size(), 7);
    ASSERT_EQ(text.size(), 128u * 78u);
    for (uint32_t r = 0; r < 128; ++r) {
        EXPECT_EQ(text.substr(r * 78 + 76, 2), "\r\n") << r;
        EXPECT_EQ(text[r * 78 + 8], '|') << r;
        EXPECT_EQ(text[r * 78 + 59], '|') << r;
    }
}

TEST(SectorText, CarriageReturnLineFeedAndTabShowAsDots) {
    uint8_t bytes[2048] = {};
    const uint8_t line[16] = {'A', 0x0D, 0x0A, 0x09, ' ', '~', 0x7F, 0xA9, 0x00, 'z', '0', 0x1F, 0xC0, '.', 0xFF, 0x20};
    for (int i = 0; i < 16; ++i) bytes[16 + i] = line[i];
    std::string text = FormatSectorText(bytes, sizeof bytes, 0);
    EXPECT_EQ(Row(text, 1), "00000010| 41 0D 0A 09 20 7E 7F A9  00 7A 30 1F C0 2E FF 20 |A... ~...z0.... \r\n");
}

TEST(SectorText, OffsetsWrapModulo4GiB) {
    uint8_t bytes[2048] = {};
    // 2,097,152 * 2048 = 2^32: the first row reads 00000000 again.
    std::string text = FormatSectorText(bytes, sizeof bytes, 2097152);
    EXPECT_EQ(Row(text, 0).substr(0, 10), "00000000| ");
    EXPECT_EQ(Row(text, 1).substr(0, 10), "00000010| ");
    EXPECT_EQ(Row(text, 127).substr(0, 10), "000007F0| ");
    text = FormatSectorText(bytes, sizeof bytes, 2097151);
    EXPECT_EQ(Row(text, 0).substr(0, 10), "FFFFF800| ");
    EXPECT_EQ(Row(text, 127).substr(0, 10), "FFFFFFF0| ");
    text = FormatSectorText(bytes, sizeof bytes, 0xFFFFFFFFu);
    EXPECT_EQ(Row(text, 0).substr(0, 10), "FFFFF800| ");
    text = FormatSectorText(bytes, sizeof bytes, 2097152 + 3);
    EXPECT_EQ(Row(text, 0).substr(0, 10), "00001800| ");
}

TEST(SectorText, ShortOrMissingBytesShowAsZeros) {
    uint8_t bytes[3] = {0x41, 0x42, 0x43};
    std::string text = FormatSectorText(bytes, sizeof bytes, 1);
    EXPECT_EQ(Row(text, 0), "00000800| 41 42 43 00 00 00 00 00  00 00 00 00 00 00 00 00 |ABC.............\r\n");
    text = FormatSectorText(nullptr, 2048, 1);
    EXPECT_EQ(Row(text, 127), "00000FF0| 00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00 |................\r\n");
}

TEST(SectorText, ReadsTheDiscThroughReadTen) {
    EmulatedDrive drive(LoadSharedDrive("dvdram-writer-recorded-dvdrw.drive"));
    std::string text = ReadSectorText(drive.device, 16);
    // xxd -s 32768 -l 32 udf102-genisoimage.iso: the ISO 9660 primary descriptor.
    EXPECT_EQ(Row(text, 0), "00008000| 01 43 44 30 30 31 01 00  4C 49 4E 55 58 20 20 20 |.CD001..LINUX   \r\n");
    EXPECT_EQ(Row(text, 1), "00008010| 20 20 20 20 20 20 20 20  20 20 20 20 20 20 20 20 |                \r\n");
    text = ReadSectorText(drive.device, 256);
    // xxd -s 524288 -l 32: the anchor volume descriptor pointer.
    EXPECT_EQ(Row(text, 0), "00080000| 02 00 02 00 CE 00 00 00  01 D7 F0 01 00 01 00 00 |................\r\n");
    EXPECT_EQ(Row(text, 1), "00080010| 00 80 00 00 20 00 00 00  00 80 00 00 30 00 00 00 |.... .......0...\r\n");
    text = ReadSectorText(drive.device, 320);
    // xxd -s 655360 -l 48
    EXPECT_EQ(Row(text, 0), "000A0000| 05 01 02 00 22 00 00 00  CE 65 A8 00 3F 00 00 00 |....\"....e..?...\r\n");
    EXPECT_EQ(Row(text, 2), "000A0020| 00 00 30 02 FF FF FF FF  FF FF FF FF 84 10 00 00 |..0.............\r\n");
}

TEST(SectorText, SectorsPastTheEndShowZeros) {
    // The image holds 3046 sectors; READ(10) of 5000 fails with 5/21/00.
    EmulatedDrive drive(LoadSharedDrive("dvdram-writer-recorded-dvdrw.drive"));
    std::string text = ReadSectorText(drive.device, 5000);
    std::string zeros = " 00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00 |................\r\n";
    EXPECT_EQ(Row(text, 0), "009C4000|" + zeros);  // 5000 * 2048 = 9C4000h
    EXPECT_EQ(Row(text, 127), "009C47F0|" + zeros);
}

TEST(SectorRangeTest, ReadCapacityCarriesTheLunInFourBits) {
    EmulatedDrive drive(CapacityDrive("00 00 0B E5 00 00 08 00"));
    for (uint8_t lun : {0, 1, 5, 7, 15}) {
        drive.device.LUN = lun;
        devtest::RecordingDevice recording(drive.device);
        SectorRange range = ReadSectorRange(recording);
        ASSERT_EQ(recording.commands.size(), 1u);
        EXPECT_EQ(devtest::CdbOf(recording.commands[0].cdb),
                  devtest::Cdb16({0x25, static_cast<uint8_t>((lun << 4) & 0xFF)}));
        EXPECT_EQ(recording.commands[0].transferLength, 8u);
        EXPECT_TRUE(range.enabled);
    }
}

TEST(SectorRangeTest, LastSectorGivesTheCountAndTheUpperBound) {
    EmulatedDrive drive(CapacityDrive("00 00 0B E5 00 00 08 00"));
    SectorRange range = ReadSectorRange(drive.device);
    EXPECT_TRUE(range.enabled);
    EXPECT_EQ(range.last, 3045u);
    EXPECT_EQ(range.countText, "/ 3046");
}

TEST(SectorRangeTest, ReplyOfZeroEnablesWithSlashZero) {
    EmulatedDrive drive(CapacityDrive("00 00 00 00 00 00 08 00"));
    SectorRange range = ReadSectorRange(drive.device);
    EXPECT_TRUE(range.enabled);
    EXPECT_EQ(range.last, 0xFFFFFFFFu);
    EXPECT_EQ(range.countText, "/ 0");
}

TEST(SectorRangeTest, PregapReplyAndFailureDisable) {
    EmulatedDrive pregap(CapacityDrive("FF FF FF 6A 00 00 08 00"));
    EXPECT_FALSE(ReadSectorRange(pregap.device).enabled);
    EmulatedDrive none(CapacityDrive(""));
    EXPECT_FALSE(ReadSectorRange(none.device).enabled);
}

TEST(SectorRangeTest, LastAboveTwoGigaSectorsPrintsSigned) {
    EmulatedDrive drive(CapacityDrive("7F FF FF FF 00 00 08 00"));
    EXPECT_EQ(ReadSectorRange(drive.device).countText, "/ -2147483648");
    EmulatedDrive big(CapacityDrive("FF FF FF 6B 00 00 08 00"));
    EXPECT_EQ(ReadSectorRange(big.device).countText, "/ -148");
}

TEST(SectorNumber, TakesDecimalDigitsUpTo32Bits) {
    uint32_t lba = 1;
    EXPECT_TRUE(ParseSectorNumber("0", lba));
    EXPECT_EQ(lba, 0u);
    EXPECT_TRUE(ParseSectorNumber("4294967295", lba));
    EXPECT_EQ(lba, 4294967295u);
    EXPECT_TRUE(ParseSectorNumber("2097152", lba));
    EXPECT_EQ(lba, 2097152u);
    EXPECT_FALSE(ParseSectorNumber("4294967296", lba));
    EXPECT_FALSE(ParseSectorNumber("", lba));
    EXPECT_FALSE(ParseSectorNumber("-1", lba));
    EXPECT_FALSE(ParseSectorNumber("12a", lba));
    EXPECT_FALSE(ParseSectorNumber("0x10", lba));
}

TEST(SectorReport, PrintsTheViewersText) {
    EmulatedDrive drive(LoadSharedDrive("dvdram-writer-recorded-dvdrw.drive"));
    ReportDrive report{&drive.device, 'D', 0, 1, 0, ""};
    std::string out, error;
    ASSERT_TRUE(RunReportCommand("sector", {"16"}, report, out, error)) << error;
    ASSERT_EQ(out.size(), 9984u);
    EXPECT_EQ(Row(out, 0), "00008000| 01 43 44 30 30 31 01 00  4C 49 4E 55 58 20 20 20 |.CD001..LINUX   \r\n");
    EXPECT_FALSE(RunReportCommand("sector", {}, report, out, error));
    EXPECT_FALSE(RunReportCommand("sector", {"sixteen"}, report, out, error));
    EXPECT_FALSE(RunReportCommand("sector", {"1", "2"}, report, out, error));
}

}  // namespace
