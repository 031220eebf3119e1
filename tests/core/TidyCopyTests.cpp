// INQUIRY ids without their padding, and the drive selector's text.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "DeviceTestSupport.h"
#include "device/Commands.h"
#include "device/TidyCopy.h"

using namespace devtest;

namespace {

// Tidies `source` into an exact-size heap destination of n + 1 bytes that
// starts out full of 'Z', and returns all n + 1 bytes.
std::vector<uint8_t> Tidy(const std::vector<uint8_t>& source) {
    std::vector<uint8_t> exactSource(source);
    exactSource.shrink_to_fit();
    std::vector<char> destination(source.size() + 1, 'Z');
    destination.shrink_to_fit();
    TidyCopy(destination.data(), exactSource.data(), exactSource.size());
    return std::vector<uint8_t>(destination.begin(), destination.end());
}

std::vector<uint8_t> Bytes(const std::string& s) { return std::vector<uint8_t>(s.begin(), s.end()); }

// `text` followed by zeros up to n + 1 bytes.
std::vector<uint8_t> Zeroed(const std::string& text, size_t n) {
    std::vector<uint8_t> v = Bytes(text);
    v.resize(n + 1, 0);
    return v;
}

std::vector<uint8_t> InquiryWith(const std::string& vendor8, const std::string& product16) {
    std::vector<uint8_t> inquiry(96, 0);
    std::memcpy(&inquiry[8], vendor8.data(), 8);
    std::memcpy(&inquiry[16], product16.data(), 16);
    return inquiry;
}

std::string Identification(const std::vector<uint8_t>& inquiry) {
    std::vector<uint8_t> exact(inquiry);
    exact.shrink_to_fit();
    std::vector<char> text(26, 'Z');
    FormatIdentification(exact.data(), text.data(), text.size());
    return std::string(text.data());
}

}  // namespace

TEST(TidyCopy, PaddedVendorAndProductGiveSingleSpacedIdentification) {
    // Vendor: two spaces, ABC, then spaces to 8 bytes; product: DVD, two
    // spaces, RW, three spaces, X, spaces to 16 bytes.
    std::vector<uint8_t> inquiry = InquiryWith("  ABC   ", "DVD  RW   X     ");
    EXPECT_EQ(Tidy(Bytes("  ABC   ")), Zeroed("ABC", 8));
    EXPECT_EQ(Tidy(Bytes("DVD  RW   X     ")), Zeroed("DVD RW X", 16));
    EXPECT_EQ(Identification(inquiry), "ABC DVD RW X");
}

TEST(TidyCopy, TenByteVendorOfTwoSpacesAbcAndFiveSpaces) {
    EXPECT_EQ(Tidy(Bytes("  ABC     ")), Zeroed("ABC", 10));
}

TEST(TidyCopy, ControlCharactersDelAndHighBitBytesAreBlanks) {
    // Leading DEL and 80h, inner run FFh 20h 01h kept as its first byte FFh,
    // inner run 7Fh kept as 7Fh, trailing A0h and 1Fh dropped.
    std::vector<uint8_t> src = {0x7F, 0x80, 'A', 0xFF, 0x20, 0x01, 'B', 0x7F, 'C', 0xA0, 0x1F};
    std::vector<uint8_t> expected = {'A', 0xFF, 'B', 0x7F, 'C'};
    expected.resize(src.size() + 1, 0);
    EXPECT_EQ(Tidy(src), expected);
}

TEST(TidyCopy, BlankBoundariesAre32And127) {
    // 20h (space) and 7Fh are blank, 21h '!' and 7Eh '~' are not.
    EXPECT_EQ(Tidy({0x20, 0x21, 0x20}), Zeroed("!", 3));
    EXPECT_EQ(Tidy({0x7F, 0x7E, 0x7F}), Zeroed("~", 3));
    for (unsigned c = 0; c < 256; ++c) {
        bool blank = c <= 32 || c >= 127;
        std::vector<uint8_t> out = Tidy({static_cast<uint8_t>(c)});
        EXPECT_EQ(out[0], blank ? 0 : c) << "byte " << c;
        EXPECT_EQ(out[1], 0) << "byte " << c;
    }
}

TEST(TidyCopy, LettersAreCopiedAsTheyAre) {
    EXPECT_EQ(Tidy(Bytes(" abc  Def ")), Zeroed("abc Def", 10));
}

TEST(TidyCopy, AllBlankSourceGivesAnEmptyZeroedDestination) {
    EXPECT_EQ(Tidy(Bytes("        ")), Zeroed("", 8));
    EXPECT_EQ(Tidy(std::vector<uint8_t>(16, 0)), Zeroed("", 16));
    EXPECT_EQ(Tidy(std::vector<uint8_t>(16, 0xFF)), Zeroed("", 16));
}

TEST(TidyCopy, FullWidthIdWithoutBlanksIsCopiedWhole) {
    EXPECT_EQ(Tidy(Bytes("HL-DT-ST")), Zeroed("HL-DT-ST", 8));
    EXPECT_EQ(Tidy(Bytes("DVDRAM GSA-4083N")), Zeroed("DVDRAM GSA-4083N", 16));
}

TEST(TidyCopy, CapturedDrivesIdentifyThemselves) {
    struct Case { const char* file; const char* identification; };
    // Vendor bytes 8-15 and product bytes 16-31 of each INQUIRY answer:
    //   48 4C 2D 44 54 2D 53 54 "HL-DT-ST" / "DVD+-RW GP60N   "
    //   48 4C 2D 44 54 2D 53 54 "HL-DT-ST" / "DVDRAM GSA-4083N"
    //   50 4C 45 58 54 4F 52 20 "PLEXTOR " / "CD-R   PX-W4012A"
    //   48 4C 2D 44 54 2D 53 54 "HL-DT-ST" / "BD-RE  BH16NS40 "
    const Case cases[] = {
        {"dvd-writer-blank-dvdplusrw.drive", "HL-DT-ST DVD+-RW GP60N"},
        {"dvdram-writer-recorded-dvdrw.drive", "HL-DT-ST DVDRAM GSA-4083N"},
        {"cd-writer-blank-cdr.drive", "PLEXTOR CD-R PX-W4012A"},
        {"bd-writer-recorded-bdr.drive", "HL-DT-ST BD-RE BH16NS40"},
    };
    for (const Case& c : cases) {
        EmulatedDrive drive(LoadSharedDrive(c.file));
        std::vector<uint8_t> inquiry(kInquiryLength, 0);
        Inquiry(drive.device, inquiry.data());
        EXPECT_EQ(Identification(inquiry), c.identification) << c.file;
    }
}

TEST(DisplayText, PortTargetLunIdentificationAndLetter) {
    std::vector<char> text(kDisplayTextSize, 'Z');
    FormatDisplayText(text.data(), 1, 0, 0, "VENDOR MODEL", 'E');
    EXPECT_STREQ(text.data(), "[1:0:0] VENDOR MODEL (E:)");
}

TEST(DisplayText, DriveOnPath2ShowsOnlyPortTargetAndLun) {
    // Address 1 2 0 0 (port, path, target, LUN): the path id is not shown.
    EmulatedDrive drive(ParseDrive(
        "address: 1 2 0 0\nletter: E\n"
        "> 12\n"
        "05 80 05 32 5B 00 00 00 56 45 4E 44 4F 52 20 20\n"  // "VENDOR  "
        "4D 4F 44 45 4C 20 20 20 20 20 20 20 20 20 20 20\n"  // "MODEL" and spaces
        "31 2E 30 30\n"));
    const DriveFile& file = drive.target.File();
    std::vector<uint8_t> inquiry(kInquiryLength, 0);
    Inquiry(drive.device, inquiry.data());
    std::vector<char> text(kDisplayTextSize, 'Z');
    FormatDisplayText(text.data(), file.address[0], file.address[2], file.address[3],
                      Identification(inquiry).c_str(), file.letter);
    EXPECT_STREQ(text.data(), "[1:0:0] VENDOR MODEL (E:)");
}

TEST(DisplayText, LargestAddressAndLongestIdsFit) {
    // "[255:255:255] " (14) + 8 + 1 + 16 + " (Z:)" (5) = 44 characters.
    std::vector<char> text(kDisplayTextSize, 'Q');
    text.shrink_to_fit();
    FormatDisplayText(text.data(), 255, 255, 255, "ABCDEFGH 0123456789ABCDEF", 'Z');
    EXPECT_STREQ(text.data(), "[255:255:255] ABCDEFGH 0123456789ABCDEF (Z:)");
}

TEST(DisplayText, OverlongIdentificationIsCutAt64CharactersAndTerminated) {
    // An exact 65-byte heap buffer: writing past it would be caught by the
    // address sanitizer.
    std::string identification(200, 'x');
    std::vector<char> text(kDisplayTextSize, 'Q');
    text.shrink_to_fit();
    ASSERT_EQ(text.size(), 65u);
    FormatDisplayText(text.data(), 1, 0, 0, identification.c_str(), 'E');
    EXPECT_EQ(text[64], '\0');
    std::string shown(text.data());
    EXPECT_EQ(shown.size(), 64u);
    EXPECT_EQ(shown, "[1:0:0] " + std::string(56, 'x'));
}
