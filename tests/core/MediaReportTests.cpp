#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "MediaTestSupport.h"
#include "device/Profiles.h"
#include "pages/MediaDiscStructure.h"
#include "pages/MediaInfo.h"
#include "pages/MediaReport.h"
#include "pages/MediaSections.h"
#include "pages/MediaText.h"
#include "report/ReportCommands.h"

namespace {

std::string Profile(const char* profileHex) {
    return std::string("> 46\n00 00 00 04 00 00 00 ") + profileHex + "\n";
}

std::string ReportOf(const std::string& driveText) {
    MediaTestDrive drive(ParseMediaDrive(driveText));
    return MediaReport(*drive.device);
}

bool Contains(const std::string& text, const std::string& piece) {
    return text.find(piece) != std::string::npos;
}

// ---- numbers and times ----

TEST(MediaText, ThousandsSeparatorsOnlyFromFourDigitsOn) {
    EXPECT_EQ(FormatThousands(0), "0");
    EXPECT_EQ(FormatThousands(7), "7");
    EXPECT_EQ(FormatThousands(42), "42");
    EXPECT_EQ(FormatThousands(999), "999");
    EXPECT_EQ(FormatThousands(1234), "1,234");
    EXPECT_EQ(FormatThousands(123456), "123,456");
    EXPECT_EQ(FormatThousands(1234567), "1,234,567");
    EXPECT_EQ(FormatThousands(25025314816LL), "25,025,314,816");
}

TEST(MediaText, SignCountsAsADigitOfTheFirstGroup) {
    EXPECT_EQ(FormatThousands(-12), "-12");
    EXPECT_EQ(FormatThousands(-1234), "-1,234");
    EXPECT_EQ(FormatThousands(-123), "-,123");
    EXPECT_EQ(FormatThousands(INT64_MIN), "-9,223,372,036,854,775,808");
}

TEST(MediaText, SectorTimeAddsTheTwoSecondPregap) {
    EXPECT_EQ(FormatSectorTime(0), "0:02:00");
    EXPECT_EQ(FormatSectorTime(359847), "79:59:72");
    EXPECT_EQ(FormatSectorTime(2295105), "510:03:30");
    // 32-bit wrap: FFFFFF6Ah + 150 is 0.
    EXPECT_EQ(FormatSectorTime(0xFFFFFF6Au), "0:00:00");
}

// ---- current profile, media id ----

TEST(MediaReport, NoDiscGivesTheProfileLineAlone) {
    std::string report = ReportOf(Profile("00") + "> 43\n! 2 3A 00\n> AD\n! 2 3A 00\n> 23\n! 2 3A 00\n"
                                  "> AC\n! 2 3A 00\n> 51\n! 2 3A 00\n");
    EXPECT_EQ(report, "Current Profile: Unknown\r\n");
}

TEST(MediaReport, FailedGetConfigurationIsUnknownAndSkipsMediaIdAndDiscInformation) {
    MediaTestDrive drive(ParseMediaDrive("> 51\n00 20 0E 01 01\n"));
    EXPECT_EQ(MediaReport(*drive.device), "Current Profile: Unknown\r\n");
    EXPECT_EQ(drive.Opcodes().find("51"), std::string::npos);
}

TEST(MediaReport, UnknownFamilyRepeatsTheAtipSectionAtTheEnd) {
    const char* atip = "> 43 format=4\n00 1A 00 00 80 40 C0 00 61 1A 42 00 4F 3B 4A 00\n";
    std::string report = ReportOf(Profile("00") + atip);
    std::string section =
        "\r\nATIP Information:\r\n"
        "Disc ID: 97m26s66f\r\n"
        "Manufacturer: CMC Magnetics Corporation\r\n"
        "Start Time of LeadIn: 97m26s66f\r\n"
        "Last Possible Start Time of LeadOut: 79m59s74f\r\n\r\n";
    EXPECT_EQ(report, "Current Profile: Unknown\r\n" + section + section);
}

TEST(MediaReport, UnknownFamilyWithoutAtipRepeatsTheClearedBuffer) {
    std::string report = ReportOf(Profile("00") + "> 43 format=0\n00 0A 01 01 00 14 01 00 00 00 00 00\n");
    EXPECT_EQ(report,
              "Current Profile: Unknown\r\n\r\nTOC Information:\r\n-> Track 01 Lba:0, Adr:1, Control:4\r\n");
}

TEST(MediaId, FirstSuccessfulTryDecidesAndTheOthersAreNotSent) {
    MediaTestDrive drive(ParseMediaDrive(
        "> AD format=0E\n"
        "08 02 00 00 00 00 00 00 00 00 00 00 00 00 00 00\n"
        "00 00 00 00 00 4D 43 43 20 30 33 00 00 52 47 32 30 00\n"
        "> AD\n00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 41\n"));
    std::string id;
    EXPECT_TRUE(ReadMediaId(*drive.device, id));
    EXPECT_EQ(id, "MCC 03RG20");
    EXPECT_EQ(drive.Opcodes(), "AD ");
    EXPECT_EQ(drive.target->Transcript()[0].cdb[7], 0x0E);
}

TEST(MediaId, AllFourTriesFailingGiveNotAvailable) {
    MediaTestDrive drive(ParseMediaDrive("> AD\n! 5 24 00\n"));
    std::string id;
    EXPECT_FALSE(ReadMediaId(*drive.device, id));
    EXPECT_EQ(id, "N/A");
    ASSERT_EQ(drive.target->Transcript().size(), 4u);
    const auto& t = drive.target->Transcript();
    EXPECT_EQ(t[0].cdb[1], 0); EXPECT_EQ(t[0].cdb[7], 0x0E);
    EXPECT_EQ(t[1].cdb[1], 0); EXPECT_EQ(t[1].cdb[7], 0x11);
    EXPECT_EQ(t[2].cdb[1], 0); EXPECT_EQ(t[2].cdb[7], 0x00);
    EXPECT_EQ(t[3].cdb[1], 1); EXPECT_EQ(t[3].cdb[7], 0x00);
    EXPECT_EQ(t[0].cdb[8], 0x08);
    EXPECT_EQ(t[0].cdb[9], 0x04);
}

// An ADIP answer: "RICOHJPN" "W11" and the revision byte.
std::string AdipDrive(const char* revisionHex) {
    return std::string("> AD format=11\n"
                       "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00\n"
                       "00 00 00 00 00 00 00 52 49 43 4F 48 4A 50 4E 57 31 31 ") +
           revisionHex + "\n> AD\n! 5 24 00\n";
}

TEST(MediaId, AdipRevisionIsSignedAndCutAfterThreeCharacters) {
    struct { const char* hex; const char* id; } cases[] = {
        {"02", "RICOHJPN-W11-002"}, {"FF", "RICOHJPN-W11--01"}, {"80", "RICOHJPN-W11--12"},
        {"7F", "RICOHJPN-W11-127"}};
    for (const auto& c : cases) {
        MediaTestDrive drive(ParseMediaDrive(AdipDrive(c.hex)));
        std::string id;
        EXPECT_TRUE(ReadMediaId(*drive.device, id));
        EXPECT_EQ(id, c.id) << c.hex;
    }
}

TEST(MediaId, PhysicalFormatTryLosesTheThirdDigit) {
    std::string text =
        "> AD format=00 media=0\n"
        "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00\n"
        "00 00 00 00 00 00 00 4D 49 4A 49 00 00 00 00 30 30 31 7B\n"
        "> AD\n! 5 24 00\n";
    MediaTestDrive drive(ParseMediaDrive(text));
    std::string id;
    EXPECT_TRUE(ReadMediaId(*drive.device, id));
    EXPECT_EQ(id, "MIJI-001-12");  // revision 123 printed "123", kept "12"
}

std::string BdDrive(const char* revisionHex) {
    std::string text = "> AD media=1 format=00\n";
    for (int i = 0; i < 104; ++i) text += "00 ";
    text += "\n56 45 52 42 41 54 49 4D 31 00 00 ";
    text += revisionHex;
    text += "\n> AD\n! 5 24 00\n";
    return text;
}

TEST(MediaId, BdRevisionIsSignedAndNeverCut) {
    struct { const char* hex; const char* id; } cases[] = {
        {"01", "VERBAT-IM1-001"}, {"80", "VERBAT-IM1--128"}, {"FF", "VERBAT-IM1--01"}};
    for (const auto& c : cases) {
        MediaTestDrive drive(ParseMediaDrive(BdDrive(c.hex)));
        std::string id;
        EXPECT_TRUE(ReadMediaId(*drive.device, id));
        EXPECT_EQ(id, c.id) << c.hex;
    }
}

// ---- disc information ----

TEST(DiscInformation, UnknownMediumGivesNoSection) {
    MediaTestDrive drive(ParseMediaDrive("> 51\n00 20 0E\n"));
    std::string text = "left over";
    EXPECT_TRUE(FormatDiscInformation(*drive.device, text));
    EXPECT_EQ(text, "");
}

TEST(DiscInformation, BlankCdRShowsFreeSpaceFromFormatCapacities) {
    std::string report = ReportOf(Profile("09") +
                                  "> 51\n00 20 00 01 01 01 01 20\n"
                                  "> 23\n00 00 00 08 00 05 7D A7 01 00 08 00\n");
    EXPECT_TRUE(Contains(report,
                         "\r\nDisc Information:\r\n"
                         "Status: Empty\r\n"
                         "State of Last Session: Empty\r\n"
                         "Erasable: No\r\n"
                         "Free Sectors: 359,847\r\n"
                         "Free Space: 736,966,656 bytes\r\n"
                         "Free Time: 79:59:72 (MM:SS:FF)\r\n"))
        << report;
    // A list length of 8 (the current descriptor alone) has no section.
    EXPECT_FALSE(Contains(report, "Format Capacities"));
}

TEST(DiscInformation, FinalizedSingleLayerDvdPlusRIsAlwaysFullSize) {
    MediaTestDrive drive(ParseMediaDrive(Profile("1B") + "> 51\n00 20 0E 01 01\n> 25\n00 00 10 00 00 00 08 00\n"));
    std::string report = MediaReport(*drive.device);
    EXPECT_TRUE(Contains(report,
                         "Status: Finalized\r\nState of Last Session: Complete\r\nErasable: No\r\n"
                         "Sessions: 1\r\nSectors: 2,295,105\r\nSpace: 4,700,375,040 bytes\r\n"
                         "Time: 510:03:30 (MM:SS:FF)\r\n"))
        << report;
    // The size is fixed: READ CAPACITY is never asked.
    EXPECT_EQ(drive.Opcodes().find("25"), std::string::npos) << drive.Opcodes();
}

TEST(DiscInformation, DualLayerRecordableDvdIsFixedToo) {
    std::string report = ReportOf(Profile("2B") + "> 51\n00 20 0E 01 01\n");
    EXPECT_TRUE(Contains(report, "Sectors: 4,173,825\r\n")) << report;
}

TEST(DiscInformation, BdRomWithLastLbaZeroShowsNothingRecorded) {
    std::string report = ReportOf(Profile("40") + "> 51\n00 20 0E 01 01\n> 25\n00 00 00 00 00 00 08 00\n");
    EXPECT_TRUE(Contains(report, "Sectors: 0\r\nSpace: 0 bytes\r\nTime: 0:02:00 (MM:SS:FF)\r\n")) << report;
}

TEST(DiscInformation, LastLbaMinus150CountsOneSectorAndAFailureToo) {
    std::string report = ReportOf(Profile("08") + "> 51\n00 20 0E 01 01\n> 25\nFF FF FF 6A 00 00 08 00\n");
    EXPECT_TRUE(Contains(report, "Sectors: 1\r\nSpace: 2,048 bytes\r\nTime: 0:02:01 (MM:SS:FF)\r\n")) << report;
    report = ReportOf(Profile("08") + "> 51\n00 20 0E 01 01\n> 25\n! 2 3A 00\n");
    EXPECT_TRUE(Contains(report, "Sectors: 1\r\n")) << report;
}

TEST(DiscInformation, ReadCapacityCarriesTheLunShiftedByFour) {
    MediaTestDrive drive(ParseMediaDrive(Profile("08") + "> 25\n00 00 00 09 00 00 08 00\n"));
    drive.device->LUN = 1;
    ReadCurrentProfile(*drive.device);
    EXPECT_EQ(GetRecordedCapacity(*drive.device), 9u);
    const TranscriptEntry& last = drive.target->Transcript().back();
    EXPECT_EQ(last.cdb[0], 0x25);
    EXPECT_EQ(last.cdb[1], 0x10);
}

TEST(DiscInformation, FailedDiscInformationDecodesAsAnEmptyDisc) {
    std::string report = ReportOf(Profile("0A") + "> 23\n! 5 20 00\n");
    EXPECT_TRUE(Contains(report,
                         "Status: Empty\r\nState of Last Session: Empty\r\nErasable: No\r\n"
                         "Free Sectors: 0\r\nFree Space: 0 bytes\r\nFree Time: 0:02:00 (MM:SS:FF)\r\n"))
        << report;
    EXPECT_FALSE(Contains(report, "Supported Write Speeds"));
}

TEST(DiscInformation, FreeCapacityIsTheLargestDescriptor) {
    MediaTestDrive drive(ParseMediaDrive(
        "> 23\n00 00 00 18 00 00 00 10 02 00 08 00 00 00 20 00 00 00 08 00 00 00 03 00 00 00 08 00\n"));
    EXPECT_EQ(GetFreeCapacity(*drive.device), 0x2000u);
}

TEST(DiscInformation, StatusAndSessionNames) {
    std::string report = ReportOf(Profile("0A") + "> 51\n00 20 17 01 03\n> 25\n00 00 00 63 00 00 08 00\n");
    EXPECT_TRUE(Contains(report, "Status: Others\r\nState of Last Session: Incomplete\r\nErasable: Yes\r\n"
                                 "Sessions: 3\r\nSectors: 100\r\n"))
        << report;
}

TEST(WriteSpeeds, DuplicatesVanishAndTheOrderIsKept) {
    std::string perf =
        "> AC type=03\n00 00 00 44 00 00 00 00\n"
        "00 00 00 00 00 00 00 00 00 00 00 00 00 00 05 69\n"
        "00 00 00 00 00 00 00 00 00 00 00 00 00 00 0A D2\n"
        "00 00 00 00 00 00 00 00 00 00 00 00 00 00 0A D2\n"
        "00 00 00 00 00 00 00 00 00 00 00 00 00 00 15 A4\n";
    std::string report = ReportOf(Profile("1A") + "> 51\n00 20 10\n" + perf);
    EXPECT_TRUE(Contains(report, "Supported Write Speeds: 1.0x, 2.0x, 4.0x\r\n")) << report;
    MediaTestDrive drive(ParseMediaDrive(perf));
    uint32_t speeds[32] = {};
    EXPECT_EQ(GetWriteSpeeds(*drive.device, speeds, 32), 3u);
    EXPECT_EQ(speeds[0], 1385u);
    EXPECT_EQ(speeds[1], 2770u);
    EXPECT_EQ(speeds[2], 5540u);
    EXPECT_EQ(GetWriteSpeeds(*drive.device, speeds, 2), 2u);
}

TEST(WriteSpeeds, CdSpeedOf7056Is40x) {
    std::string report = ReportOf(Profile("09") + "> 51\n00 20 00\n> AC type=03\n00 00 00 14 00 00 00 00\n"
                                  "00 00 00 00 00 00 00 00 00 00 00 00 00 00 1B 90\n");
    EXPECT_TRUE(Contains(report, "Supported Write Speeds: 40.0x\r\n")) << report;
}

TEST(WriteSpeeds, DivisorPerFamily) {
    MediaTestDrive drive(ParseMediaDrive("> 25\n00\n"));
    const float expected[] = {1.0f, 176.4f, 1385.0f, 4495.5f, 4495.5f, 1.0f};
    for (uint8_t family = 0; family < 6; ++family) {
        drive.device->MediaFamily = family;
        EXPECT_EQ(GetSpeedDivisor(*drive.device), expected[family]);
    }
}

// ---- format capacities, TOC, ATIP, performance ----

std::string CapacitiesWithListLength(uint8_t length) {
    char text[64];
    std::snprintf(text, sizeof text, "> 23\n00 00 00 %02X 00 00 10 00 02 00 08 00\n", length);
    std::string drive = text;
    for (int i = 0; i < 4; ++i) drive += "00 00 20 00 40 00 00 10\n";
    return drive;
}

TEST(FormatCapacities, ListLengthEightGivesNoSection) {
    MediaTestDrive drive(ParseMediaDrive(CapacitiesWithListLength(8)));
    std::string text = "previous";
    EXPECT_TRUE(FormatCapacitiesSection(*drive.device, text));
    EXPECT_EQ(text, "");
}

TEST(FormatCapacities, ListLengthSixteenGivesOneFormattableLineAndTwentyFourTwo) {
    MediaTestDrive sixteen(ParseMediaDrive(CapacitiesWithListLength(16)));
    std::string text;
    EXPECT_TRUE(FormatCapacitiesSection(*sixteen.device, text));
    EXPECT_EQ(text,
              "\r\nFormat Capacities:\r\n"
              "DT: 0x02 - NB: 4096 (0x00001000) - TDP: 2048\r\n"
              "FT: 0x10 - NB: 8192 (0x00002000) - TDP: 16\r\n");
    MediaTestDrive twentyFour(ParseMediaDrive(CapacitiesWithListLength(24)));
    EXPECT_TRUE(FormatCapacitiesSection(*twentyFour.device, text));
    EXPECT_EQ(text,
              "\r\nFormat Capacities:\r\n"
              "DT: 0x02 - NB: 4096 (0x00001000) - TDP: 2048\r\n"
              "FT: 0x10 - NB: 8192 (0x00002000) - TDP: 16\r\n"
              "FT: 0x10 - NB: 8192 (0x00002000) - TDP: 16\r\n");
}

TEST(FormatCapacities, FailureLeavesTheSectionOut) {
    MediaTestDrive drive(ParseMediaDrive("> 25\n00\n"));
    std::string text = "previous";
    EXPECT_FALSE(FormatCapacitiesSection(*drive.device, text));
    EXPECT_EQ(text, "");
    const TranscriptEntry& sent = drive.target->Transcript().back();
    EXPECT_EQ(sent.cdb[0], 0x23);
    EXPECT_EQ(sent.cdb[7], 0x01);
    EXPECT_EQ(sent.cdb[8], 0x40);
}

TEST(Toc, ThreeTrackCdGivesFourLinesEndingWithTheLeadOut) {
    MediaTestDrive drive(ParseMediaDrive(
        "> 43 format=0\n00 22 01 03\n"
        "00 10 01 00 00 00 00 00\n"
        "00 10 02 00 00 00 4E 20\n"
        "00 14 03 00 00 01 86 A0\n"
        "00 16 AA 00 00 03 0D 40\n"));
    std::string text;
    EXPECT_TRUE(TocSection(*drive.device, text));
    EXPECT_EQ(text,
              "\r\nTOC Information:\r\n"
              "-> Track 01 Lba:0, Adr:1, Control:0\r\n"
              "-> Track 02 Lba:20000, Adr:1, Control:0\r\n"
              "-> Track 03 Lba:100000, Adr:1, Control:4\r\n"
              "-> Track AA Lba:200000, Adr:1, Control:6\r\n");
    const TranscriptEntry& sent = drive.target->Transcript().back();
    EXPECT_EQ(sent.cdb[1], 0x00);
    EXPECT_EQ(sent.cdb[2], 0x00);
    EXPECT_EQ(sent.cdb[7], 0x10);
    EXPECT_EQ(sent.cdb[8], 0x00);
}

TEST(Toc, HugeDataLengthListsOnlyWhatTheBufferHolds) {
    MediaTestDrive drive(ParseMediaDrive("> 43 format=0\nFF FF 01 01 00 14 01 00 00 00 00 00\n"));
    std::string text;
    EXPECT_TRUE(TocSection(*drive.device, text));
    size_t lines = 0;
    for (size_t at = text.find("-> Track"); at != std::string::npos; at = text.find("-> Track", at + 1)) ++lines;
    EXPECT_EQ(lines, 511u);
    EXPECT_TRUE(Contains(text, "-> Track 01 Lba:0, Adr:1, Control:4\r\n-> Track 00 Lba:0, Adr:0, Control:0\r\n"));
}

TEST(Toc, DataLengthBelowTwoListsNoTrack) {
    MediaTestDrive drive(ParseMediaDrive("> 43 format=0\n00 01 01 01\n"));
    std::string text;
    EXPECT_TRUE(TocSection(*drive.device, text));
    EXPECT_EQ(text, "\r\nTOC Information:\r\n");
}

TEST(Atip, LeadInTimesAreNotZeroPadded) {
    MediaTestDrive drive(ParseMediaDrive("> 43 format=4\n00 1A 00 00 80 40 C0 00 61 1A 42 00 4F 3B 4A 00\n"));
    std::string text;
    EXPECT_TRUE(AtipSection(*drive.device, text));
    EXPECT_TRUE(Contains(text, "Disc ID: 97m26s66f\r\n")) << text;
    EXPECT_TRUE(Contains(text, "Start Time of LeadIn: 97m26s66f\r\n")) << text;
    const TranscriptEntry& sent = drive.target->Transcript().back();
    EXPECT_EQ(sent.cdb[2], 0x04);
    EXPECT_EQ(sent.cdb[8], 0x80);
}

TEST(Atip, UnknownLeadInLeavesTheManufacturerEmpty) {
    MediaTestDrive drive(ParseMediaDrive("> 43 format=4\n00 1A 00 00 80 40 C0 00 61 05 02 00 4A 00 09 00\n"));
    std::string text;
    EXPECT_TRUE(AtipSection(*drive.device, text));
    EXPECT_EQ(text,
              "\r\nATIP Information:\r\n"
              "Disc ID: 97m5s2f\r\n"
              "Manufacturer: \r\n"
              "Start Time of LeadIn: 97m5s2f\r\n"
              "Last Possible Start Time of LeadOut: 74m0s9f\r\n\r\n");
}

TEST(Atip, ManufacturerGoesByMinutesSecondsAndFrameTens) {
    EXPECT_STREQ(AtipManufacturer(97, 26, 60), "CMC Magnetics Corporation");
    EXPECT_STREQ(AtipManufacturer(97, 26, 69), "CMC Magnetics Corporation");
    EXPECT_STREQ(AtipManufacturer(97, 26, 70), "");
    EXPECT_STREQ(AtipManufacturer(97, 24, 1), "Taiyo Yuden Company Ltd.");
    EXPECT_STREQ(AtipManufacturer(97, 34, 23), "Mitsubishi Chemical Corporation");
    EXPECT_STREQ(AtipManufacturer(0, 0, 0), "");
}

std::string DvdPerformance(const char* lengthHex, const char* descriptors) {
    return Profile("11") + "> AC type=03\n" + lengthHex + " 00 00 00 00\n" + descriptors;
}

TEST(Performance, DvdDescriptorPrintsSpeedsInSinglePrecision) {
    MediaTestDrive drive(ParseMediaDrive(DvdPerformance(
        "00 00 00 14", "1A 00 00 00 00 23 05 3F 00 00 2B 48 00 00 15 A4\n")));
    ReadCurrentProfile(*drive.device);
    std::string text;
    PerformanceSection(*drive.device, text);
    EXPECT_EQ(text,
              "\r\nPerformance (Write Speed):\r\n"
              "Descriptor 0...\r\n"
              "    MRW: 0, Exact: 1, RDD: 0, WRC: 3\r\n"
              "    EndLba: 2295103 (0x0023053F)\r\n"
              "    ReadSpeed: 11080 KB/s (8.0x) - WriteSpeed: 5540 KB/s (4.0x)\r\n");
}

TEST(Performance, ZeroDataLengthGivesTheHeadingAlone) {
    MediaTestDrive drive(ParseMediaDrive(DvdPerformance("00 00 00 00", "")));
    ReadCurrentProfile(*drive.device);
    std::string text = "previous";
    PerformanceSection(*drive.device, text);
    EXPECT_EQ(text, "\r\nPerformance (Write Speed):\r\n");
}

TEST(Performance, FailureWithAKnownFamilyIsEmpty) {
    MediaTestDrive drive(ParseMediaDrive(Profile("11")));
    ReadCurrentProfile(*drive.device);
    std::string text = "previous";
    PerformanceSection(*drive.device, text);
    EXPECT_EQ(text, "");
}

TEST(Performance, UnknownFamilyLeavesTheBufferUntouched) {
    MediaTestDrive drive(ParseMediaDrive(DvdPerformance("00 00 00 14", "")));
    std::string text = "previous";
    PerformanceSection(*drive.device, text);
    EXPECT_EQ(text, "previous");
    EXPECT_TRUE(drive.target->Transcript().empty());
}

TEST(Performance, DataLengthPastTheBufferStopsAtThirtyTwoDescriptors) {
    MediaTestDrive drive(ParseMediaDrive(DvdPerformance("FF FF FF FF", "")));
    ReadCurrentProfile(*drive.device);
    std::string text;
    PerformanceSection(*drive.device, text);
    EXPECT_TRUE(Contains(text, "Descriptor 31...\r\n"));
    EXPECT_FALSE(Contains(text, "Descriptor 32...\r\n"));
    EXPECT_TRUE(Contains(text, "    ReadSpeed: 0 KB/s (0.0x) - WriteSpeed: 0 KB/s (0.0x)\r\n"));
}

// ---- disc structure ----

std::string PfiDrive(const char* firstBytes) {
    return std::string("> AD media=0 format=00\n08 02 00 00 ") + firstBytes +
           " 00 03 00 00 00 26 05 3F 00 00 00 00 00\n";
}

std::string StructureReport(const std::string& driveText, uint8_t family = FamilyDvd) {
    MediaTestDrive drive(ParseMediaDrive(driveText));
    drive.device->MediaFamily = family;
    DiscStructure record;
    std::string text;
    if (!ReadDiscStructure(*drive.device, record)) return "(failed)";
    return FormatDiscStructure(*drive.device, record, text);
}

TEST(DiscStructure, SingleLayerDvdRomPhysicalFormat) {
    EXPECT_EQ(StructureReport(PfiDrive("01 02 01 10")),
              "\r\nPhysical Format Information:\r\n"
              "Book Type: DVD-ROM\r\n"
              "Part Version: 1\r\n"
              "Disc Size: 120mm\r\n"
              "Maximum Read Rate: 10.08Mbps\r\n"
              "Number of Layers: 1\r\n"
              "Track Path: Parallel Track Path (PTP)\r\n"
              "Linear Density: 0.293 um/bit\r\n"
              "Track Density: 0.74 um/track\r\n"
              "First Physical Sector of Data Area: 196,608\r\n"
              "Last Physical Sector of Data Area: 2,491,711\r\n"
              "Last Physical Sector in Layer 0: 0\r\n");
}

TEST(DiscStructure, BookTypeSevenIsReserved) {
    EXPECT_TRUE(Contains(StructureReport(PfiDrive("71 02 01 10")), "Book Type: Reserved (0x07)\r\n"));
    EXPECT_TRUE(Contains(StructureReport(PfiDrive("E1 02 01 10")), "Book Type: DVD+R DL\r\n"));
}

TEST(DiscStructure, ReservedTrackDensityShowsTheLinearDensityValue) {
    EXPECT_TRUE(Contains(StructureReport(PfiDrive("01 02 01 13")), "Track Density: Reserved (0x01)\r\n"));
}

TEST(DiscStructure, OtherReservedValuesAndTheSecondNames) {
    std::string text = StructureReport(PfiDrive("95 1F 31 52"));
    EXPECT_TRUE(Contains(text, "Book Type: DVD+RW\r\nPart Version: 5\r\nDisc Size: 80mm\r\n"
                               "Maximum Read Rate: Not Specified\r\nNumber of Layers: 2\r\n"
                               "Track Path: Opposite Track Path (OTP)\r\nLinear Density: Reserved (0x05)\r\n"
                               "Track Density: 0.615 um/track\r\n"))
        << text;
    text = StructureReport(PfiDrive("00 23 41 82"));
    EXPECT_TRUE(Contains(text, "Disc Size: Reserved (0x02)\r\nMaximum Read Rate: Reserved (0x03)\r\n"
                               "Number of Layers: Reserved (0x02)\r\n"))
        << text;
    EXPECT_TRUE(Contains(text, "Linear Density: 0.353 um/bit\r\nTrack Density: 0.615 um/track\r\n")) << text;
}

TEST(DiscStructure, FailureLeavesTheSectionOut) {
    EXPECT_EQ(StructureReport("> AD\n! 5 24 00\n"), "(failed)");
}

std::string BdStructureDrive(const char* tail) {
    std::string text = "> AD media=1 format=00\n08 02 00 00 44 49 01 08 00 00 30 00 42 44 52 01 12 01 00 00 01 0F\n";
    for (int i = 0; i < 82; ++i) text += "00 ";
    text += "\n";
    text += tail;
    text += "\n";
    return text;
}

TEST(DiscStructure, BdDiscIdEndsWithAHyphenAndThreeDigits) {
    std::string text = StructureReport(BdStructureDrive("52 49 43 4F 48 4A 42 52 31 07 09 01"), FamilyBd);
    EXPECT_TRUE(Contains(text, "Disc ID=RICOHJ-BR1-001\r\n")) << text;
    text = StructureReport(BdStructureDrive("52 49 43 4F 48 4A 42 52 31 07 09 80"), FamilyBd);
    EXPECT_TRUE(Contains(text, "Disc ID=RICOHJ-BR1-128\r\n")) << text;
    text = StructureReport(BdStructureDrive("52 49 00 00 00 00 42 00 00 00 00 05"), FamilyBd);
    EXPECT_TRUE(Contains(text, "Disc ID=RI-B-005\r\n")) << text;
}

TEST(DiscStructure, BdAsksForMediaTypeOne) {
    MediaTestDrive drive(ParseMediaDrive("> AD\n! 5 24 00\n"));
    drive.device->MediaFamily = FamilyBd;
    DiscStructure record;
    EXPECT_FALSE(ReadDiscStructure(*drive.device, record));
    const TranscriptEntry& sent = drive.target->Transcript().back();
    EXPECT_EQ(sent.cdb[0], 0xAD);
    EXPECT_EQ(sent.cdb[1], 1);
    EXPECT_EQ(sent.cdb[7], 0);
    EXPECT_EQ(sent.cdb[8], 0x08);
    EXPECT_EQ(sent.cdb[9], 0x04);
}

// ---- the captured drives ----

class SharedDriveMedia : public ::testing::TestWithParam<const char*> {};

TEST_P(SharedDriveMedia, ReportMatchesTheTextWorkedOutFromTheCapture) {
    MediaTestDrive drive(LoadSharedDrive(GetParam()));
    ReportDrive report{drive.device.get(), 'E', 1, 0, 0, ""};
    std::string out, error;
    ASSERT_TRUE(RunReportCommand("media", report, out, error)) << error;
    EXPECT_EQ(out, WithCrLf(ReadTextFile(TestDataPath(std::string("media/") + GetParam() + ".txt"))));
}

TEST_P(SharedDriveMedia, PiecesAddUpToTheReport) {
    MediaTestDrive first(LoadSharedDrive(GetParam()));
    MediaTestDrive second(LoadSharedDrive(GetParam()));
    std::string joined;
    int pieces = 0;
    WriteMediaReport(*first.device, [&](const std::string& text) {
        joined += text;
        ++pieces;
    });
    EXPECT_EQ(joined, MediaReport(*second.device));
    EXPECT_GE(pieces, 4);
}

INSTANTIATE_TEST_SUITE_P(Captures, SharedDriveMedia,
                         ::testing::Values("cd-writer-blank-cdr", "dvd-writer-blank-dvdplusrw",
                                           "dvdram-writer-recorded-dvdrw", "bd-writer-recorded-bdr"));

}  // namespace
