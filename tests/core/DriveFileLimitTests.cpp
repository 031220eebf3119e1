#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "emulation/DriveFile.h"

namespace {

namespace fs = std::filesystem;

std::string ParseError(const std::string& text, const std::string& name = "limit.drive") {
    DriveFile drive;
    std::string error;
    EXPECT_FALSE(ParseDriveFile(text, name, drive, error)) << "accepted a text of " << text.size() << " bytes";
    return error;
}

bool Parses(const std::string& text) {
    DriveFile drive;
    std::string error;
    bool ok = ParseDriveFile(text, "limit.drive", drive, error);
    EXPECT_TRUE(ok) << error;
    return ok;
}

std::string Hex2(unsigned v) {
    char text[4];
    std::snprintf(text, sizeof text, "%02X", v & 0xFFu);
    return text;
}

// A file of its own in the system's temporary folder, removed again.
class TempFile {
public:
    explicit TempFile(const std::string& bytes) {
        static int counter = 0;
        path = (fs::temp_directory_path() / ("vexlon-limit-" + std::to_string(++counter) + "-" +
                                             std::to_string(reinterpret_cast<uintptr_t>(this) & 0xFFFFF) + ".drive"))
                   .string();
        std::ofstream out(path, std::ios::binary);
        out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }
    ~TempFile() {
        std::error_code ec;
        fs::remove(path, ec);
    }
    std::string path;
};

bool SameBlocks(const DriveFile& a, const DriveFile& b) {
    if (a.blocks.size() != b.blocks.size()) return false;
    for (size_t i = 0; i < a.blocks.size(); ++i) {
        const ReplyBlock& x = a.blocks[i];
        const ReplyBlock& y = b.blocks[i];
        if (x.opcode != y.opcode || x.fields != y.fields || x.isStatus != y.isStatus || x.senseKey != y.senseKey ||
            x.asc != y.asc || x.ascq != y.ascq || x.data != y.data || x.line != y.line)
            return false;
    }
    return a.title == b.title && a.path == b.path;
}

// ---- line length ----

TEST(DriveFileLimits, ALineOfTheLongestAllowedLengthIsRead) {
    std::string line = "title: ";
    line += std::string(kMaxLineBytes - line.size(), 'x');
    DriveFile drive;
    std::string error;
    ASSERT_TRUE(ParseDriveFile(line + "\n> 12\n00\n", "limit.drive", drive, error)) << error;
    EXPECT_EQ(drive.title.size(), kMaxLineBytes - 7);
}

TEST(DriveFileLimits, ALongerLineIsRefusedByItsNumber) {
    std::string text = "# first\n\n> 12\n" + std::string(kMaxLineBytes + 1, '0') + "\n00\n";
    EXPECT_EQ(ParseError(text), "limit.drive:4: line longer than 128 KiB");
}

TEST(DriveFileLimits, TheCarriageReturnOfACrLfLineCountsToItsLength) {
    std::string line = "# " + std::string(kMaxLineBytes - 2, 'x');
    EXPECT_TRUE(Parses(line + "\n"));
    EXPECT_EQ(ParseError(line + "\r\n"), "limit.drive:1: line longer than 128 KiB");
}

TEST(DriveFileLimits, ALongLastLineWithoutAnEndIsRefusedToo) {
    EXPECT_EQ(ParseError("> 12\n00\n# " + std::string(kMaxLineBytes, 'x')), "limit.drive:3: line longer than 128 KiB");
}

TEST(DriveFileLimits, AnOverLongLineOnDiskIsRefusedByItsNumber) {
    TempFile file("title: x\n> 12\n" + std::string(3 * kMaxLineBytes, '0') + "\n");
    DriveFile drive;
    std::string error;
    EXPECT_FALSE(LoadDriveFile(file.path, drive, error));
    EXPECT_EQ(error, file.path + ":3: line longer than 128 KiB");
}

// ---- words of a data line ----

TEST(DriveFileLimits, ALongWordIsQuotedCut) {
    std::string e = ParseError("> 12\n00 " + std::string(5000, 'A') + "\n");
    EXPECT_EQ(e, "limit.drive:2: '" + std::string(32, 'A') + "...' is not a hex byte");
}

TEST(DriveFileLimits, ABadWordAnywhereInALineIsNamed) {
    DriveFile drive;
    std::string error;
    EXPECT_FALSE(ParseDriveFile("> 12\n01 02\n03 04 zz\n", "limit.drive", drive, error));
    EXPECT_EQ(error, "limit.drive:3: 'zz' is not a hex byte");
}

TEST(DriveFileLimits, ABlockOfExactlyTheLargestSizeIsRead) {
    std::string line;
    for (int i = 0; i < 1024; ++i) line += "7 ";
    line += "\n";
    std::string text = "> 46\n";
    for (size_t i = 0; i < kMaxBlockBytes / 1024; ++i) text += line;
    DriveFile drive;
    std::string error;
    ASSERT_TRUE(ParseDriveFile(text, "limit.drive", drive, error)) << error;
    ASSERT_EQ(drive.blocks.size(), 1u);
    EXPECT_EQ(drive.blocks[0].data.size(), kMaxBlockBytes);
    EXPECT_EQ(drive.blocks[0].data.back(), 7);
    // One byte more, on the next line.
    EXPECT_EQ(ParseError(text + "00\n"), "limit.drive:" + std::to_string(kMaxBlockBytes / 1024 + 2) +
                                             ": reply block longer than 1 MiB");
}

// ---- blocks ----

TEST(DriveFileLimits, EachOpcodeTakesUpToItsLimitOfBlocks) {
    std::string text;
    for (size_t i = 0; i < kMaxBlocksPerOpcode; ++i) text += "> 12 page=" + Hex2(static_cast<unsigned>(i)) + "\n00\n";
    text += "> 25\n00\n";
    EXPECT_TRUE(Parses(text));
    text += "> 12\n00\n";
    EXPECT_EQ(ParseError(text), "limit.drive:" + std::to_string(2 * kMaxBlocksPerOpcode + 3) + ": more than " +
                                    std::to_string(kMaxBlocksPerOpcode) + " reply blocks for opcode 12");
}

TEST(DriveFileLimits, StatusBlocksCountToTheirOpcodesLimit) {
    std::string text;
    for (size_t i = 0; i <= kMaxBlocksPerOpcode; ++i) text += "> 28\n! 5 21 00\n";
    EXPECT_EQ(ParseError(text), "limit.drive:" + std::to_string(2 * kMaxBlocksPerOpcode + 1) + ": more than " +
                                    std::to_string(kMaxBlocksPerOpcode) + " reply blocks for opcode 28");
}

TEST(DriveFileLimits, AFieldNamedTwiceIsRefused) {
    EXPECT_EQ(ParseError("> AD media=0 format=0 media=0\n00\n"), "limit.drive:1: field 'media' is named twice");
    EXPECT_EQ(ParseError("> 12 page=80 evpd=1 page=81\n00\n"), "limit.drive:1: field 'page' is named twice");
}

TEST(DriveFileLimits, ReplyBytesInAllStopAtTheirLimit) {
    // Full blocks up to the limit exactly, then one byte more.
    std::string line;
    for (int i = 0; i < 256; ++i) line += "1 ";
    line += "\n";
    std::string text;
    size_t blocks = kMaxReplyBytes / kMaxBlockBytes;
    size_t lines = 0;
    for (size_t b = 0; b < blocks; ++b) {
        text += "> " + Hex2(0x60 + static_cast<unsigned>(b)) + "\n";
        for (size_t n = 0; n < kMaxBlockBytes / 256; ++n) text += line;
        lines += 1 + kMaxBlockBytes / 256;
    }
    // A status block holds no reply bytes: still accepted after them.
    DriveFile drive;
    std::string error;
    ASSERT_TRUE(ParseDriveFile(text + "> 23\n! 2 3A 00\n", "limit.drive", drive, error)) << error;
    size_t total = 0;
    for (const ReplyBlock& b : drive.blocks) total += b.data.size();
    EXPECT_EQ(total, kMaxReplyBytes);
    EXPECT_EQ(drive.blocks.size(), blocks + 1);
    EXPECT_EQ(ParseError(text + "> 23\n00\n"),
              "limit.drive:" + std::to_string(lines + 2) + ": reply blocks hold more than 4 MiB in all");
}

// ---- reading from disk in pieces ----

TEST(DriveFileLimits, ReadingInPiecesGivesWhatTheWholeTextGives) {
    // Lines of every length around the reader's 64 KiB pieces, CR LF ends,
    // comments and a last line without an end.
    std::string text = "title: pieces\r\n";
    unsigned op = 0;
    for (size_t length = 1; text.size() < 300000; length = length * 7 % 1531 + 1) {
        text += "> " + Hex2(0x60 + op++ % 64) + "  # block\n";
        std::string line;
        for (size_t i = 0; i < length; ++i) line += Hex2(static_cast<unsigned>(i * 31 + length)) + (i % 3 ? " " : "\t");
        text += line + (length % 2 ? "\r\n" : "\n");
    }
    text += "> 12\n01 02 03";
    TempFile file(text);
    DriveFile whole, pieces;
    std::string error;
    ASSERT_TRUE(ParseDriveFile(text, file.path, whole, error)) << error;
    ASSERT_TRUE(LoadDriveFile(file.path, pieces, error)) << error;
    EXPECT_TRUE(SameBlocks(whole, pieces));
    EXPECT_GT(whole.blocks.size(), 50u);
}

TEST(DriveFileLimits, ErrorsFromDiskNameTheSameLineAsFromText) {
    std::string text;
    for (int i = 0; i < 5000; ++i) text += "> " + Hex2(0x60 + i % 64) + "\n00 01 02 03 04 05 06 07 08 09\n";
    text += "> 12\n00 0g\n";
    TempFile file(text);
    DriveFile drive;
    std::string fromText, fromDisk;
    EXPECT_FALSE(ParseDriveFile(text, file.path, drive, fromText));
    EXPECT_FALSE(LoadDriveFile(file.path, drive, fromDisk));
    EXPECT_EQ(fromText, file.path + ":10002: '0g' is not a hex byte");
    EXPECT_EQ(fromDisk, fromText);
}

TEST(DriveFileLimits, AFolderIsNotADriveFile) {
    fs::path folder = fs::temp_directory_path() / "vexlon-limit-folder.drive";
    fs::create_directories(folder);
    DriveFile drive;
    std::string error;
    EXPECT_FALSE(LoadDriveFile(folder.string(), drive, error));
    EXPECT_EQ(error.compare(0, folder.string().size() + 2, folder.string() + ": "), 0) << error;
    std::error_code ec;
    fs::remove(folder, ec);
}

}  // namespace
