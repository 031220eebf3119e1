#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "TestPaths.h"
#include "emulation/DriveFile.h"

namespace {

namespace fs = std::filesystem;

const char kCdromGuid[] = "#{53f56308-b6bf-11d0-94f2-00a0c91efb8b}";

// A standard INQUIRY answer with the given 8-byte vendor and 16-byte product.
std::string InquiryBlock(const std::string& vendor8, const std::string& product16) {
    std::string bytes = "> 12\n05 80 05 32 5B 00 00 00\n";
    char hex[4];
    for (char c : vendor8 + product16) {
        std::snprintf(hex, sizeof hex, "%02X ", static_cast<unsigned char>(c));
        bytes += hex;
    }
    return bytes + "\n31 2E 30 30\n";
}

DriveFile MustParse(const std::string& text, const std::string& name = "test.drive") {
    DriveFile drive;
    std::string error;
    EXPECT_TRUE(ParseDriveFile(text, name, drive, error)) << error;
    return drive;
}

// The error text for a drive file that must be refused.
std::string ParseError(const std::string& text, const std::string& name = "bad.drive") {
    DriveFile drive;
    std::string error;
    EXPECT_FALSE(ParseDriveFile(text, name, drive, error)) << "accepted:\n" << text;
    return error;
}

bool StartsWith(const std::string& s, const std::string& prefix) {
    return s.compare(0, prefix.size(), prefix) == 0;
}

bool Contains(const std::string& s, const std::string& part) { return s.find(part) != std::string::npos; }

// A folder of its own below the system's temporary folder, removed again.
class TempDir {
public:
    TempDir() {
        static int counter = 0;
        fs::path base = fs::temp_directory_path();
        for (;;) {
            path = base / ("vexlon-drivefile-" + std::to_string(++counter) + "-" +
                           std::to_string(reinterpret_cast<uintptr_t>(this) & 0xFFFFF));
            if (fs::create_directory(path)) break;
        }
    }
    ~TempDir() {
        std::error_code ec;
        fs::remove_all(path, ec);
    }
    std::string Write(const std::string& name, const std::string& bytes) const {
        fs::path file = path / name;
        fs::create_directories(file.parent_path());
        std::ofstream out(file, std::ios::binary);
        out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        return file.string();
    }
    fs::path path;
};

uint64_t FileSize(const std::string& name) {
    std::ifstream in(name, std::ios::binary | std::ios::ate);
    return static_cast<uint64_t>(in.tellg());
}

// ---- header lines ----

TEST(DriveFileHeader, EveryHeaderLineIsRead) {
    DriveFile d = MustParse(
        "title: DVD writer, DVD+R with a UDF 1.02 volume\n"
        "letter: G\n"
        "address: 3 1 2 4\n"
        "device-number: 7\n"
        "path: \\\\?\\scsi#cdrom&ven_x#4&1&0&000000#{53f56308-b6bf-11d0-94f2-00a0c91efb8b}\n"
        "image: discs/a.iso\n"
        "sectors: 1234\n"
        "timing: command=0.5 seek=90 rate=11080\n"
        "> 25\n00 00 04 D1 00 00 08 00\n",
        "/data/drives/x.drive");
    EXPECT_EQ(d.title, "DVD writer, DVD+R with a UDF 1.02 volume");
    EXPECT_EQ(d.letter, 'G');
    EXPECT_EQ(d.address[0], 3);
    EXPECT_EQ(d.address[1], 1);
    EXPECT_EQ(d.address[2], 2);
    EXPECT_EQ(d.address[3], 4);
    EXPECT_TRUE(d.hasDeviceNumber);
    EXPECT_EQ(d.deviceNumber, 7u);
    EXPECT_EQ(d.path, "\\\\?\\scsi#cdrom&ven_x#4&1&0&000000#{53f56308-b6bf-11d0-94f2-00a0c91efb8b}");
    EXPECT_EQ(d.imagePath, "/data/drives/discs/a.iso");
    EXPECT_TRUE(d.hasSectors);
    EXPECT_EQ(d.sectors, 1234u);
    EXPECT_DOUBLE_EQ(d.timing.commandMs, 0.5);
    EXPECT_DOUBLE_EQ(d.timing.seekMs, 90);
    EXPECT_DOUBLE_EQ(d.timing.rateKBps, 11080);
    ASSERT_EQ(d.blocks.size(), 1u);
    EXPECT_EQ(d.blocks[0].opcode, 0x25);
}

TEST(DriveFileHeader, EveryHeaderIsOptionalAndHasItsDefault) {
    DriveFile d = MustParse("> 25\n00 00 00 00 00 00 08 00\n", "/data/drives/plain-drive.drive");
    EXPECT_EQ(d.title, "plain-drive.drive");
    EXPECT_EQ(d.letter, 0);  // settled by the load order
    EXPECT_EQ(d.address[0], 1);
    EXPECT_EQ(d.address[1], 0);
    EXPECT_EQ(d.address[2], 0);
    EXPECT_EQ(d.address[3], 0);
    EXPECT_FALSE(d.hasDeviceNumber);
    EXPECT_TRUE(d.path.empty());
    EXPECT_TRUE(d.imagePath.empty());
    EXPECT_FALSE(d.hasSectors);
    EXPECT_FALSE(d.HasMedium());
    EXPECT_DOUBLE_EQ(d.timing.commandMs, 0.2);
    EXPECT_DOUBLE_EQ(d.timing.seekMs, 0);
    EXPECT_DOUBLE_EQ(d.timing.rateKBps, 0);
}

TEST(DriveFileHeader, TitleDefaultsToTheFileNameWithoutItsFolder) {
    EXPECT_EQ(MustParse("", "C:\\drives\\win.drive").title, "win.drive");
    EXPECT_EQ(MustParse("", "bare.drive").title, "bare.drive");
}

TEST(DriveFileHeader, TitleKeepsItsTextAsWritten) {
    DriveFile d = MustParse("title:   Brenner  Übersicht: A/B  \n");
    EXPECT_EQ(d.title, "Brenner  Übersicht: A/B");
}

TEST(DriveFileHeader, AnEmptyFileIsADriveWithoutAnswers) {
    DriveFile d = MustParse("", "empty.drive");
    EXPECT_TRUE(d.blocks.empty());
    EXPECT_EQ(d.title, "empty.drive");
}

TEST(DriveFileHeader, LetterIsOneOfAToZ) {
    EXPECT_EQ(MustParse("letter: A\n").letter, 'A');
    EXPECT_EQ(MustParse("letter: Z\n").letter, 'Z');
    EXPECT_TRUE(Contains(ParseError("letter: 5\n"), "letter"));
    EXPECT_TRUE(Contains(ParseError("letter: DE\n"), "letter"));
    EXPECT_TRUE(Contains(ParseError("letter:\n"), "letter"));
}

TEST(DriveFileHeader, AddressNeedsFourNumbersUpTo255) {
    DriveFile d = MustParse("address: 0 255 9 1\n");
    EXPECT_EQ(d.address[0], 0);
    EXPECT_EQ(d.address[1], 255);
    EXPECT_EQ(d.address[2], 9);
    EXPECT_EQ(d.address[3], 1);
    EXPECT_EQ(ParseError("address: 1 0 0\n").rfind("bad.drive:1: ", 0), 0u);
    EXPECT_TRUE(Contains(ParseError("address: 1 0 0 0 0\n"), "address"));
    EXPECT_TRUE(Contains(ParseError("address: 1 0 0 256\n"), "address"));
    EXPECT_TRUE(Contains(ParseError("address: 1 0 x 0\n"), "address"));
    EXPECT_TRUE(Contains(ParseError("address: -1 0 0 0\n"), "address"));
}

TEST(DriveFileHeader, DeviceNumberIsADecimalNumber) {
    DriveFile d = MustParse("device-number: 4294967295\n");
    EXPECT_TRUE(d.hasDeviceNumber);
    EXPECT_EQ(d.deviceNumber, 4294967295u);
    EXPECT_TRUE(Contains(ParseError("device-number: 4294967296\n"), "device-number"));
    EXPECT_TRUE(Contains(ParseError("device-number: 0x10\n"), "device-number"));
    EXPECT_TRUE(Contains(ParseError("device-number:\n"), "device-number"));
}

TEST(DriveFileHeader, SectorsIsADecimalCountOfAtMostTwoToThe32) {
    EXPECT_EQ(MustParse("sectors: 0\n").sectors, 0u);
    EXPECT_TRUE(MustParse("sectors: 0\n").HasMedium());
    EXPECT_EQ(MustParse("sectors: 4294967296\n").sectors, 4294967296u);
    EXPECT_TRUE(Contains(ParseError("sectors: 4294967297\n"), "sectors"));
    EXPECT_TRUE(Contains(ParseError("sectors: 12k\n"), "sectors"));
    EXPECT_TRUE(Contains(ParseError("sectors: 99999999999999999999999\n"), "sectors"));
}

TEST(DriveFileHeader, TimingMayNameSomeCostsAndKeepsTheOthersDefault) {
    DriveFile d = MustParse("timing: seek=12.5\n");
    EXPECT_DOUBLE_EQ(d.timing.commandMs, 0.2);
    EXPECT_DOUBLE_EQ(d.timing.seekMs, 12.5);
    EXPECT_DOUBLE_EQ(d.timing.rateKBps, 0);
    DriveFile r = MustParse("timing: rate=4495.5 command=0\n");
    EXPECT_DOUBLE_EQ(r.timing.commandMs, 0);
    EXPECT_DOUBLE_EQ(r.timing.rateKBps, 4495.5);
}

TEST(DriveFileHeader, MalformedTimingIsRefused) {
    EXPECT_TRUE(Contains(ParseError("timing: speed=3\n"), "speed"));
    EXPECT_TRUE(Contains(ParseError("timing: command\n"), "timing"));
    EXPECT_TRUE(Contains(ParseError("timing: command=-1\n"), "timing"));
    EXPECT_TRUE(Contains(ParseError("timing: command=fast\n"), "timing"));
    EXPECT_TRUE(Contains(ParseError("timing: rate=nan\n"), "timing"));
    EXPECT_TRUE(Contains(ParseError("timing: seek=inf\n"), "timing"));
}

TEST(DriveFileHeader, ImageIsRelativeToTheDriveFilesFolder) {
    EXPECT_EQ(MustParse("image: ../discs/a.iso\n", "/data/drives/x.drive").imagePath,
              "/data/drives/../discs/a.iso");
    EXPECT_EQ(MustParse("image: a.iso\n", "x.drive").imagePath, "a.iso");
    EXPECT_EQ(MustParse("image: b.iso\n", "C:\\drives\\x.drive").imagePath, "C:\\drives\\b.iso");
    // A path that is already absolute is taken as it stands.
    EXPECT_EQ(MustParse("image: /srv/discs/a.iso\n", "/data/drives/x.drive").imagePath, "/srv/discs/a.iso");
    EXPECT_EQ(MustParse("image: D:\\discs\\a.iso\n", "/data/drives/x.drive").imagePath, "D:\\discs\\a.iso");
    EXPECT_TRUE(MustParse("image: a.iso\n").HasMedium());
    EXPECT_TRUE(Contains(ParseError("image:\n"), "image"));
}

// ---- the load order ----

TEST(DriveFileLoadOrder, LettersFromDDeviceNumbersByIndex) {
    std::vector<DriveFile> drives{MustParse(""), MustParse(""), MustParse("")};
    ApplyLoadOrderDefaults(drives);
    EXPECT_EQ(drives[0].letter, 'D');
    EXPECT_EQ(drives[1].letter, 'E');
    EXPECT_EQ(drives[2].letter, 'F');
    for (uint32_t i = 0; i < 3; ++i) {
        EXPECT_TRUE(drives[i].hasDeviceNumber);
        EXPECT_EQ(drives[i].deviceNumber, i);
    }
}

TEST(DriveFileLoadOrder, GivenValuesStayAndLettersAreNeverShared) {
    std::vector<DriveFile> drives{MustParse(""), MustParse("letter: E\ndevice-number: 9\n"), MustParse(""),
                                  MustParse("path: \\\\?\\usbstor#cdrom#1#{x}\n")};
    ApplyLoadOrderDefaults(drives);
    EXPECT_EQ(drives[1].letter, 'E');
    EXPECT_EQ(drives[1].deviceNumber, 9u);
    EXPECT_EQ(drives[0].letter, 'D');
    EXPECT_EQ(drives[2].deviceNumber, 2u);
    EXPECT_EQ(drives[3].path, "\\\\?\\usbstor#cdrom#1#{x}");
    for (size_t i = 0; i < drives.size(); ++i)
        for (size_t j = i + 1; j < drives.size(); ++j) EXPECT_NE(drives[i].letter, drives[j].letter);
}

TEST(DriveFileLoadOrder, DefaultPathIsAnIdeCdromPathMadeFromTheInquiryIds) {
    std::vector<DriveFile> drives{MustParse(InquiryBlock("HL-DT-ST", "DVD+-RW GP60N   ")),
                                  MustParse(InquiryBlock("HL-DT-ST", "DVD+-RW GP60N   "))};
    ApplyLoadOrderDefaults(drives);
    const std::string& p = drives[0].path;
    // The Drive page reads the bus from the characters behind "\\?\".
    EXPECT_TRUE(StartsWith(p, "\\\\?\\ide#cdrom")) << p;
    EXPECT_TRUE(Contains(p, "hl-dt-st")) << p;
    EXPECT_TRUE(Contains(p, "dvd+-rw")) << p;
    EXPECT_TRUE(Contains(p, "gp60n")) << p;
    EXPECT_FALSE(Contains(p, " ")) << p;
    ASSERT_GT(p.size(), sizeof kCdromGuid);
    EXPECT_EQ(p.substr(p.size() - (sizeof kCdromGuid - 1)), kCdromGuid);
    // Two drives of one model are still two devices.
    EXPECT_NE(drives[0].path, drives[1].path);
}

TEST(DriveFileLoadOrder, DefaultPathIsTakenFromTheAnswerToAPlainInquiry) {
    // The vital product data page must not lend its bytes to the ids.
    std::string vpd = "> 12 evpd=1 page=80\n00 80 00 20 " + std::string(28 * 3, ' ');
    for (int i = 0; i < 28; ++i) vpd += "5A ";
    vpd += "\n";
    std::vector<DriveFile> drives{MustParse(vpd + InquiryBlock("PLEXTOR ", "CD-R   PX-W4012A"))};
    ApplyLoadOrderDefaults(drives);
    EXPECT_TRUE(StartsWith(drives[0].path, "\\\\?\\ide#cdromplextor")) << drives[0].path;
    EXPECT_TRUE(Contains(drives[0].path, "px-w4012a")) << drives[0].path;
    EXPECT_FALSE(Contains(drives[0].path, "zzzz")) << drives[0].path;

    // A block that names the fields of a plain INQUIRY is one too.
    std::string named = InquiryBlock("TSSTcorp", "CDDVDW SH-224DB ");
    named.replace(0, 4, "> 12 evpd=0 page=00");
    std::vector<DriveFile> more{MustParse(named)};
    ApplyLoadOrderDefaults(more);
    EXPECT_TRUE(StartsWith(more[0].path, "\\\\?\\ide#cdromtsstcorp")) << more[0].path;
    EXPECT_TRUE(Contains(more[0].path, "sh-224db")) << more[0].path;
}

TEST(DriveFileLoadOrder, DefaultPathWithoutInquiryStillLooksLikeAnIdePath) {
    std::vector<DriveFile> drives{MustParse("> 25\n00 00 00 00 00 00 08 00\n")};
    ApplyLoadOrderDefaults(drives);
    EXPECT_TRUE(StartsWith(drives[0].path, "\\\\?\\ide#cdrom")) << drives[0].path;
}

// ---- comments, blank lines, data ----

TEST(DriveFileSyntax, CommentsRunFromAHashAtLineStartOrAfterWhiteSpace) {
    DriveFile d = MustParse(
        "# a whole-line comment\n"
        "   # an indented one\n"
        "title: Drive #2 of the rack\n"
        "letter: E\t# after a tab\n"
        "path: \\\\?\\ide#cdromvendor_model#5&0&0&0#{53f56308-b6bf-11d0-94f2-00a0c91efb8b} # the id\n"
        "> 12 page=00 # standard inquiry\n"
        "05 80 # the first two\n"
        "#00 01 02 a commented-out line\n"
        "05 32\t#\tand two more\n");
    EXPECT_EQ(d.title, "Drive");
    EXPECT_EQ(d.letter, 'E');
    // Inside a word '#' is part of the word: device paths are full of them.
    EXPECT_EQ(d.path, "\\\\?\\ide#cdromvendor_model#5&0&0&0#{53f56308-b6bf-11d0-94f2-00a0c91efb8b}");
    ASSERT_EQ(d.blocks.size(), 1u);
    ASSERT_EQ(d.blocks[0].fields.size(), 1u);
    EXPECT_EQ(d.blocks[0].data, (std::vector<uint8_t>{0x05, 0x80, 0x05, 0x32}));
}

TEST(DriveFileSyntax, AHashInsideADataWordIsNotAComment) {
    std::string e = ParseError("> 12\n00 01#02\n");
    EXPECT_TRUE(StartsWith(e, "bad.drive:2: ")) << e;
    EXPECT_TRUE(Contains(e, "01#02")) << e;
}

TEST(DriveFileSyntax, BlankLinesAndCrLfLineEndsAreIgnored) {
    DriveFile d = MustParse("\r\ntitle: crlf\r\n\r\n   \r\n> 25\r\n00 00 00 01\r\n\r\n00 00 08 00\r\n");
    EXPECT_EQ(d.title, "crlf");
    ASSERT_EQ(d.blocks.size(), 1u);
    EXPECT_EQ(d.blocks[0].data, (std::vector<uint8_t>{0, 0, 0, 1, 0, 0, 8, 0}));
}

TEST(DriveFileSyntax, HexBytesInAnyCaseOverAsManyLinesAsNeeded) {
    DriveFile d = MustParse("> 5a page=2a pc=0\nab Cd eF\n  0a\t0B  \n\nfF\n");
    ASSERT_EQ(d.blocks.size(), 1u);
    EXPECT_EQ(d.blocks[0].opcode, 0x5A);
    ASSERT_EQ(d.blocks[0].fields.size(), 2u);
    EXPECT_EQ(d.blocks[0].fields[0].first, "page");
    EXPECT_EQ(d.blocks[0].fields[0].second, 0x2Au);
    EXPECT_EQ(d.blocks[0].fields[1].first, "pc");
    EXPECT_EQ(d.blocks[0].fields[1].second, 0u);
    EXPECT_EQ(d.blocks[0].data, (std::vector<uint8_t>{0xAB, 0xCD, 0xEF, 0x0A, 0x0B, 0xFF}));
}

TEST(DriveFileSyntax, BlocksKeepFileOrderAndTheirLines) {
    DriveFile d = MustParse(
        "title: t\n"
        "\n"
        "> 43 format=0\n"
        "00 02 01 01\n"
        "> 43\n"
        "! 5 24 00\n"
        "> AD media=1 format=0 layer=0 address=FFFFFFFF\n"
        "01\n");
    ASSERT_EQ(d.blocks.size(), 3u);
    EXPECT_EQ(d.blocks[0].line, 3);
    EXPECT_EQ(d.blocks[1].line, 5);
    EXPECT_EQ(d.blocks[2].line, 7);
    EXPECT_TRUE(d.blocks[0].fields.size() == 1 && d.blocks[0].fields[0].first == "format");
    EXPECT_TRUE(d.blocks[1].fields.empty());
    EXPECT_TRUE(d.blocks[1].isStatus);
    EXPECT_TRUE(d.blocks[1].data.empty());
    EXPECT_EQ(d.blocks[1].senseKey, 5);
    EXPECT_EQ(d.blocks[1].asc, 0x24);
    EXPECT_EQ(d.blocks[1].ascq, 0);
    ASSERT_EQ(d.blocks[2].fields.size(), 4u);
    EXPECT_EQ(d.blocks[2].fields[3].first, "address");
    EXPECT_EQ(d.blocks[2].fields[3].second, 0xFFFFFFFFu);
}

TEST(DriveFileSyntax, StatusLineIsHexWithAOneDigitSenseKey) {
    DriveFile d = MustParse("> 51\n!   f  FF a\n");
    ASSERT_EQ(d.blocks.size(), 1u);
    EXPECT_TRUE(d.blocks[0].isStatus);
    EXPECT_EQ(d.blocks[0].senseKey, 0xF);
    EXPECT_EQ(d.blocks[0].asc, 0xFF);
    EXPECT_EQ(d.blocks[0].ascq, 0x0A);
}

TEST(DriveFileSyntax, EveryOpcodeAcceptsExactlyItsOwnSelectingFields) {
    struct Case {
        const char* opcode;
        const char* field;
        const char* largest;
        const char* tooLarge;
    };
    const Case cases[] = {
        {"12", "evpd", "1", "2"},     {"12", "page", "FF", "100"},     {"1A", "page", "3F", "40"},
        {"1A", "pc", "3", "4"},       {"5A", "page", "3F", "40"},      {"5A", "pc", "3", "4"},
        {"A4", "format", "3F", "40"}, {"A4", "class", "FF", "100"},    {"51", "type", "7", "8"},
        {"43", "format", "F", "10"},  {"43", "msf", "1", "2"},         {"43", "track", "FF", "100"},
        {"AC", "type", "FF", "100"},  {"AC", "datatype", "1F", "20"},  {"AD", "media", "F", "10"},
        {"AD", "format", "FF", "100"}, {"AD", "layer", "FF", "100"},   {"AD", "address", "FFFFFFFF", "100000000"},
    };
    for (const Case& c : cases) {
        std::string good = std::string("> ") + c.opcode + " " + c.field + "=" + c.largest + "\n00\n";
        DriveFile d = MustParse(good);
        ASSERT_EQ(d.blocks.size(), 1u) << good;
        ASSERT_EQ(d.blocks[0].fields.size(), 1u) << good;
        EXPECT_EQ(d.blocks[0].fields[0].first, c.field);

        std::string big = std::string("title: x\n> ") + c.opcode + " " + c.field + "=" + c.tooLarge + "\n00\n";
        std::string e = ParseError(big);
        EXPECT_TRUE(StartsWith(e, "bad.drive:2: ")) << e;
        EXPECT_TRUE(Contains(e, c.field)) << e;
    }
    // Fields of one opcode mean nothing to another, and some opcodes select on nothing.
    const char* foreign[] = {"> 12 format=0", "> 5A evpd=0", "> 46 rt=1", "> 46 page=0", "> 25 type=0",
                             "> 23 format=0", "> 51 format=0", "> AC media=0", "> AD track=0", "> 43 page=0",
                             "> A4 type=0", "> 00 page=0"};
    for (const char* line : foreign) {
        std::string e = ParseError(std::string(line) + "\n00\n");
        EXPECT_TRUE(StartsWith(e, "bad.drive:1: ")) << e;
        std::string name = std::string(line).substr(std::string(line).rfind(' ') + 1);
        name = name.substr(0, name.find('='));
        EXPECT_TRUE(Contains(e, "'" + name + "'")) << e;
    }
}

TEST(DriveFileSyntax, OpcodesWithoutARowInTheTableTakeBlocksWithoutFields) {
    DriveFile d = MustParse("> 00\n! 2 3A 00\n> 4a\n00 02\n");
    ASSERT_EQ(d.blocks.size(), 2u);
    EXPECT_EQ(d.blocks[0].opcode, 0x00);
    EXPECT_EQ(d.blocks[1].opcode, 0x4A);
}

// ---- malformed files: "file:line: what", never a crash ----

TEST(DriveFileErrors, BadHexByte) {
    std::string e = ParseError("title: x\n> 12\n00 0G 01\n");
    EXPECT_EQ(e, "bad.drive:3: '0G' is not a hex byte");
    EXPECT_TRUE(Contains(ParseError("> 12\n100\n"), "'100'"));
    EXPECT_TRUE(Contains(ParseError("> 12\n0x1F\n"), "'0x1F'"));
}

TEST(DriveFileErrors, UnknownHeader) {
    std::string e = ParseError("title: x\ncolour: red\n");
    EXPECT_TRUE(StartsWith(e, "bad.drive:2: ")) << e;
    EXPECT_TRUE(Contains(e, "unknown header 'colour'")) << e;
}

TEST(DriveFileErrors, HeaderLineWithoutAColon) {
    std::string e = ParseError("title x\n");
    EXPECT_TRUE(StartsWith(e, "bad.drive:1: ")) << e;
    EXPECT_TRUE(Contains(e, "name: value")) << e;
}

TEST(DriveFileErrors, UnknownFieldForTheOpcode) {
    std::string e = ParseError("> 12 evpd=0\n00\n> 43 layer=0\n00\n");
    EXPECT_TRUE(StartsWith(e, "bad.drive:3: ")) << e;
    EXPECT_TRUE(Contains(e, "43")) << e;
    EXPECT_TRUE(Contains(e, "'layer'")) << e;
}

TEST(DriveFileErrors, FieldWithoutAValue) {
    EXPECT_TRUE(Contains(ParseError("> 12 evpd\n00\n"), "'evpd'"));
    EXPECT_TRUE(Contains(ParseError("> 12 evpd=\n00\n"), "evpd"));
    EXPECT_TRUE(Contains(ParseError("> 12 page=zz\n00\n"), "page"));
}

TEST(DriveFileErrors, MalformedOpcode) {
    const char* lines[] = {">", "> 1", "> 123", "> GG", ">> 12", "> 0x12"};
    for (const char* line : lines) {
        std::string e = ParseError(std::string("title: x\n") + line + "\n00\n");
        EXPECT_TRUE(StartsWith(e, "bad.drive:2: ")) << line << " -> " << e;
        EXPECT_TRUE(Contains(e, "OPCODE")) << e;
    }
}

TEST(DriveFileErrors, StatusLineMalformed) {
    const char* lines[] = {"! 5 24", "! 5 24 00 00", "! 10 24 00", "! 5 124 00", "! 5 24 100", "! x y z", "!"};
    for (const char* line : lines) {
        std::string e = ParseError(std::string("> 12\n") + line + "\n");
        EXPECT_TRUE(StartsWith(e, "bad.drive:2: ")) << line << " -> " << e;
        EXPECT_TRUE(Contains(e, "! SK ASC ASCQ")) << e;
    }
}

TEST(DriveFileErrors, DataAndStatusInOneBlock) {
    const char* texts[] = {"> 12\n00 01\n! 5 24 00\n", "> 12\n! 5 24 00\n00 01\n", "> 12\n! 5 24 00\n! 5 24 00\n"};
    for (const char* text : texts) {
        std::string e = ParseError(text);
        EXPECT_TRUE(StartsWith(e, "bad.drive:3: ")) << e;
        EXPECT_TRUE(Contains(e, "either data or one status line")) << e;
    }
}

TEST(DriveFileErrors, EmptyBlockIsNamedByItsOwnLine) {
    std::string e = ParseError("> 25\n00\n\n> 12 evpd=1\n# nothing here\n> 5A\n00\n");
    EXPECT_TRUE(StartsWith(e, "bad.drive:4: ")) << e;
    EXPECT_TRUE(Contains(e, "12")) << e;
    EXPECT_TRUE(Contains(e, "neither data nor status")) << e;
    // Also when it is the last block of the file.
    std::string last = ParseError("> 25\n00\n> 23\n\n");
    EXPECT_TRUE(StartsWith(last, "bad.drive:3: ")) << last;
}

TEST(DriveFileErrors, DataBeforeAnyBlock) {
    std::string e = ParseError("title: x\n00 01 02 03\n> 12\n00\n");
    EXPECT_TRUE(StartsWith(e, "bad.drive:2: ")) << e;
    EXPECT_TRUE(Contains(e, "reply block")) << e;
    EXPECT_TRUE(Contains(e, "data")) << e;
    std::string status = ParseError("! 5 24 00\n");
    EXPECT_TRUE(StartsWith(status, "bad.drive:1: ")) << status;
    EXPECT_TRUE(Contains(status, "reply block")) << status;
}

TEST(DriveFileErrors, HeaderAfterBlocks) {
    std::string e = ParseError("> 12\n00 01\ntitle: too late\n");
    EXPECT_TRUE(StartsWith(e, "bad.drive:3: ")) << e;
    EXPECT_TRUE(Contains(e, "header")) << e;
    EXPECT_TRUE(Contains(e, "title")) << e;
    std::string image = ParseError("> 12\n00 01\n\nimage:disc.iso\n");
    EXPECT_TRUE(StartsWith(image, "bad.drive:4: ")) << image;
    EXPECT_TRUE(Contains(image, "image")) << image;
}

TEST(DriveFileErrors, ReadTenTakesItsDataFromTheImage) {
    std::string e = ParseError("> 28\n00 01\n");
    EXPECT_TRUE(StartsWith(e, "bad.drive:2: ")) << e;
    EXPECT_TRUE(Contains(e, "image")) << e;
    // A status can still make every read fail, as a damaged disc does.
    DriveFile d = MustParse("> 28\n! 3 11 00\n");
    ASSERT_EQ(d.blocks.size(), 1u);
    EXPECT_TRUE(d.blocks[0].isStatus);
}

TEST(DriveFileErrors, StartStopUnitCarriesNoData) {
    std::string e = ParseError("> 1B\n00\n");
    EXPECT_TRUE(StartsWith(e, "bad.drive:2: ")) << e;
    // A status block is how a drive that refuses to eject is written down.
    DriveFile d = MustParse("> 1B\n! 5 53 02\n");
    ASSERT_EQ(d.blocks.size(), 1u);
    EXPECT_EQ(d.blocks[0].opcode, 0x1B);
}

TEST(DriveFileErrors, FirstProblemIsTheOneReported) {
    std::string e = ParseError("title: x\nbogus: 1\n> 12\nzz\n");
    EXPECT_TRUE(StartsWith(e, "bad.drive:2: ")) << e;
}

TEST(DriveFileErrors, MissingFileIsNamed) {
    TempDir dir;
    std::string name = (dir.path / "no-such.drive").string();
    DriveFile d;
    std::string error;
    EXPECT_FALSE(LoadDriveFile(name, d, error));
    EXPECT_TRUE(StartsWith(error, name + ": ")) << error;
    EXPECT_TRUE(Contains(error, "cannot open")) << error;
}

TEST(DriveFileErrors, MissingImageIsNamed) {
    TempDir dir;
    std::string name = dir.Write("d.drive", "image: gone.iso\n> 25\n00\n");
    DriveFile d;
    std::string error;
    EXPECT_FALSE(LoadDriveFile(name, d, error));
    EXPECT_TRUE(StartsWith(error, name + ": ")) << error;
    EXPECT_TRUE(Contains(error, "gone.iso")) << error;
}

TEST(DriveFileErrors, ImageThatIsAFolderIsRefused) {
    TempDir dir;
    fs::create_directory(dir.path / "folder.iso");
    std::string name = dir.Write("d.drive", "image: folder.iso\n");
    DriveFile d;
    std::string error;
    EXPECT_FALSE(LoadDriveFile(name, d, error));
    EXPECT_TRUE(Contains(error, "folder.iso")) << error;
}

TEST(DriveFileErrors, ParseErrorsFromDiskNameTheFile) {
    TempDir dir;
    std::string name = dir.Write("broken.drive", "title: x\n> 12\n00\n! 5 24 00\n");
    DriveFile d;
    std::string error;
    EXPECT_FALSE(LoadDriveFile(name, d, error));
    EXPECT_TRUE(StartsWith(error, name + ":4: ")) << error;
}

TEST(DriveFileErrors, OversizedFileIsRefusedWithoutReadingItAll) {
    std::string huge(kMaxDriveFileBytes + 1, '#');
    std::string e = ParseError(huge, "huge.drive");
    EXPECT_TRUE(StartsWith(e, "huge.drive: ")) << e.substr(0, 80);

    TempDir dir;
    std::string name = dir.Write("huge.drive", huge);
    DriveFile d;
    std::string error;
    EXPECT_FALSE(LoadDriveFile(name, d, error));
    EXPECT_TRUE(StartsWith(error, name + ": ")) << error;
}

TEST(DriveFileErrors, OversizedBlockIsRefused) {
    std::string text = "> 12\n";
    std::string line;
    for (int i = 0; i < 1024; ++i) line += "00 ";
    line += "\n";
    for (size_t i = 0; i <= kMaxBlockBytes / 1024; ++i) text += line;
    std::string e = ParseError(text);
    EXPECT_TRUE(StartsWith(e, "bad.drive:" + std::to_string(kMaxBlockBytes / 1024 + 2) + ": ")) << e;
}

TEST(DriveFileErrors, GarbageNeverCrashesAndAlwaysNamesTheFile) {
    // Fixed seed: the same inputs on every run.
    uint32_t state = 12345;
    auto next = [&state]() {
        state = state * 1103515245u + 12345u;
        return static_cast<uint8_t>(state >> 16);
    };
    const std::string alphabet = "0123456789abcdefABCDEF:>!#= \t\r\n\n\n-.xz\x7f\xc3\xa9";
    for (int round = 0; round < 2000; ++round) {
        std::string text;
        size_t length = next() % 200;
        for (size_t i = 0; i < length; ++i) {
            uint8_t r = next();
            text += (r & 0x80) ? static_cast<char>(next()) : alphabet[r % alphabet.size()];
        }
        DriveFile d;
        std::string error;
        if (!ParseDriveFile(text, "g.drive", d, error)) {
            EXPECT_TRUE(StartsWith(error, "g.drive:")) << error;
        } else {
            for (const ReplyBlock& b : d.blocks) EXPECT_TRUE(b.isStatus || !b.data.empty());
        }
    }
}

// ---- loading from disk ----

TEST(DriveFileLoad, SectorsComeFromTheImageSizeInWholeSectors) {
    TempDir dir;
    dir.Write("discs/small.img", std::string(5000, 'x'));
    std::string name = dir.Write("drives/d.drive", "image: ../discs/small.img\n");
    DriveFile d;
    std::string error;
    ASSERT_TRUE(LoadDriveFile(name, d, error)) << error;
    EXPECT_TRUE(d.hasSectors);
    EXPECT_EQ(d.sectors, 2u);
    EXPECT_TRUE(fs::equivalent(d.imagePath, dir.path / "discs" / "small.img"));
}

TEST(DriveFileLoad, GivenSectorsOutweighTheImageSize) {
    TempDir dir;
    dir.Write("small.img", std::string(5000, 'x'));
    std::string name = dir.Write("d.drive", "image: small.img\nsectors: 10\n");
    DriveFile d;
    std::string error;
    ASSERT_TRUE(LoadDriveFile(name, d, error)) << error;
    EXPECT_EQ(d.sectors, 10u);
}

TEST(DriveFileLoad, SharedDrivesLoadWithTheirHeaders) {
    struct Expect {
        const char* file;
        char letter;
        uint8_t address[4];
        uint32_t deviceNumber;
        size_t blocks;
    };
    const Expect expects[] = {
        {"dvd-writer-blank-dvdplusrw.drive", 'E', {1, 0, 0, 0}, 0, 12},
        {"dvdram-writer-recorded-dvdrw.drive", 'D', {0, 0, 1, 0}, 1, 13},
        {"cd-writer-blank-cdr.drive", 'F', {2, 0, 0, 0}, 2, 11},
        {"bd-writer-recorded-bdr.drive", 'G', {3, 0, 0, 0}, 3, 12},
    };
    for (const Expect& x : expects) {
        DriveFile d;
        std::string error;
        ASSERT_TRUE(LoadDriveFile(SharedPath(std::string("drives/") + x.file), d, error)) << error;
        EXPECT_EQ(d.letter, x.letter) << x.file;
        for (int i = 0; i < 4; ++i) EXPECT_EQ(d.address[i], x.address[i]) << x.file;
        EXPECT_EQ(d.deviceNumber, x.deviceNumber) << x.file;
        EXPECT_EQ(d.blocks.size(), x.blocks) << x.file;
        EXPECT_TRUE(StartsWith(d.path, "\\\\?\\")) << d.path;
    }
}

TEST(DriveFileLoad, SharedDvdWriterKeepsItsDevicePathWithItsHashes) {
    DriveFile d;
    std::string error;
    ASSERT_TRUE(LoadDriveFile(SharedPath("drives/dvd-writer-blank-dvdplusrw.drive"), d, error)) << error;
    EXPECT_EQ(d.path,
              "\\\\?\\ide#cdromhl-dt-st_dvd+-rw_gp60n_a300#5&2f2e2c8a&0&0.0.0#"
              "{53f56308-b6bf-11d0-94f2-00a0c91efb8b}");
    EXPECT_EQ(d.title, "DVD writer with a blank DVD+RW");
    EXPECT_FALSE(d.HasMedium());
    EXPECT_DOUBLE_EQ(d.timing.commandMs, 0.2);
}

TEST(DriveFileLoad, SharedDvdRamWriterReadsItsImageBesideTheDrives) {
    DriveFile d;
    std::string error;
    ASSERT_TRUE(LoadDriveFile(SharedPath("drives/dvdram-writer-recorded-dvdrw.drive"), d, error)) << error;
    EXPECT_TRUE(fs::equivalent(d.imagePath, SharedPath("discs/udf102-genisoimage.iso")));
    uint64_t size = FileSize(SharedPath("discs/udf102-genisoimage.iso"));
    ASSERT_GT(size, 0u);
    EXPECT_EQ(d.sectors, size / 2048);
    EXPECT_DOUBLE_EQ(d.timing.commandMs, 0.5);
    EXPECT_DOUBLE_EQ(d.timing.seekMs, 90);
    EXPECT_DOUBLE_EQ(d.timing.rateKBps, 11080);
}

TEST(DriveFileLoad, SharedBdWriterHasMoreSectorsThanItsImage) {
    DriveFile d;
    std::string error;
    ASSERT_TRUE(LoadDriveFile(SharedPath("drives/bd-writer-recorded-bdr.drive"), d, error)) << error;
    EXPECT_EQ(d.sectors, 12219392u);
    EXPECT_LT(FileSize(d.imagePath) / 2048, d.sectors);
}

TEST(DriveFileLoad, SharedCdWriterHasAMediumOfNoSectors) {
    DriveFile d;
    std::string error;
    ASSERT_TRUE(LoadDriveFile(SharedPath("drives/cd-writer-blank-cdr.drive"), d, error)) << error;
    EXPECT_TRUE(d.HasMedium());
    EXPECT_EQ(d.sectors, 0u);
    EXPECT_TRUE(d.imagePath.empty());
}

}  // namespace
