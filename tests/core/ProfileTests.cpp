// The MMC profile table: names, media classification, and the current
// profile as the captured drives report it.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "DeviceTestSupport.h"
#include "device/Profiles.h"

using namespace devtest;

namespace {

struct ProfileRow {
    uint16_t profile;
    const char* name;
    uint32_t mediaType;
    uint8_t family;
    uint8_t kind;
    uint8_t dualLayer;
};

// In table order; MediaType is the row number.
const ProfileRow kRows[] = {
    {0x0008, "CD-ROM", 1, 1, 0, 0},        {0x0009, "CD-R", 2, 1, 1, 0},
    {0x000A, "CD-RW", 3, 1, 2, 0},         {0x0010, "DVD-ROM", 4, 2, 0, 0},
    {0x0011, "DVD-R", 5, 2, 1, 0},         {0x0012, "DVD-RAM", 6, 2, 3, 0},
    {0x0013, "DVD-RW RO", 7, 2, 2, 0},     {0x0014, "DVD-RW SR", 8, 2, 2, 0},
    {0x0015, "DVD-R DL", 9, 2, 1, 1},      {0x0016, "DVD-R JMP DL", 10, 2, 1, 1},
    {0x001A, "DVD+RW", 11, 2, 2, 0},       {0x001B, "DVD+R", 12, 2, 1, 0},
    {0x002A, "DVD+RW DL", 13, 2, 2, 1},    {0x002B, "DVD+R DL", 14, 2, 1, 1},
    {0x0040, "BD-ROM", 15, 4, 0, 0},       {0x0041, "BD-R SRM", 16, 4, 1, 0},
    {0x0042, "BD-R RRM", 17, 4, 1, 0},     {0x0043, "BD-RE", 18, 4, 2, 0},
    {0x0050, "HDDVD-ROM", 19, 3, 0, 0},    {0x0051, "HDDVD-R", 20, 3, 1, 0},
    {0x0052, "HDDVD-RAM", 21, 3, 3, 0},    {0x0053, "HDDVD-RW", 22, 3, 2, 0},
    {0x0058, "HDDVD-R DL", 23, 3, 1, 1},   {0x005A, "HDDVD-RW DL", 24, 3, 2, 1},
    {0x0020, "CD-ROM DD", 25, 1, 0, 0},    {0x0021, "CD-R DD", 26, 1, 1, 0},
    {0x0022, "CD-RW DD", 27, 1, 2, 0},
};

const ProfileRow* Find(uint16_t profile) {
    for (const ProfileRow& row : kRows)
        if (row.profile == profile) return &row;
    return nullptr;
}

// A device that never sends anything; ClassifyProfile only writes its fields.
struct IdleDrive : EmulatedDrive {
    IdleDrive() : EmulatedDrive(ParseDrive("> 12\n! 5 24 00\n")) {}
};

}  // namespace

TEST(Profiles, EveryRowHasItsNameAndClassification) {
    static_assert(sizeof kRows / sizeof kRows[0] == 27, "27 rows");
    IdleDrive drive;
    CDevice& device = drive.device;
    for (const ProfileRow& row : kRows) {
        device.MediaKind = 0xEE;
        device.DualLayer = 0xEE;
        EXPECT_STREQ(GetProfileName(row.profile), row.name);
        EXPECT_EQ(ClassifyProfile(device, row.profile), row.mediaType) << row.name;
        EXPECT_EQ(device.MediaType, row.mediaType) << row.name;
        EXPECT_EQ(device.MediaFamily, row.family) << row.name;
        EXPECT_EQ(device.MediaKind, row.kind) << row.name;
        EXPECT_EQ(device.DualLayer, row.dualLayer) << row.name;
    }
}

TEST(Profiles, NamesAreExactAsShown) {
    EXPECT_STREQ(GetProfileName(0x0050), "HDDVD-ROM");
    EXPECT_STREQ(GetProfileName(0x0014), "DVD-RW SR");
    EXPECT_STREQ(GetProfileName(0x0016), "DVD-R JMP DL");
    EXPECT_STREQ(GetProfileName(0x005A), "HDDVD-RW DL");
}

TEST(Profiles, DoubleDensityCdProfilesTakeTheLastThreeIndices) {
    IdleDrive drive;
    EXPECT_EQ(ClassifyProfile(drive.device, 0x0020), 25u);
    EXPECT_EQ(ClassifyProfile(drive.device, 0x0021), 26u);
    EXPECT_EQ(ClassifyProfile(drive.device, 0x0022), 27u);
    EXPECT_EQ(drive.device.MediaFamily, FamilyCd);
}

TEST(Profiles, EveryOtherProfileNumberIsUnknownWithMediaType0) {
    IdleDrive drive;
    CDevice& device = drive.device;
    int known = 0;
    for (uint32_t p = 0; p <= 0xFFFF; ++p) {
        uint16_t profile = static_cast<uint16_t>(p);
        if (Find(profile)) {
            ++known;
            continue;
        }
        device.MediaType = 5;
        device.MediaFamily = 2;
        device.MediaKind = 3;
        device.DualLayer = 1;
        ASSERT_STREQ(GetProfileName(profile), "Unknown") << std::hex << p;
        ASSERT_EQ(ClassifyProfile(device, profile), 0u) << std::hex << p;
        ASSERT_EQ(device.MediaType, 0u) << std::hex << p;
        ASSERT_EQ(device.MediaFamily, 0) << std::hex << p;
        // Kind and dual layer are not set for an unknown profile.
        ASSERT_EQ(device.MediaKind, 3) << std::hex << p;
        ASSERT_EQ(device.DualLayer, 1) << std::hex << p;
    }
    EXPECT_EQ(known, 27);
}

TEST(Profiles, ClassifyClearsTypeAndFamilyBeforeLookingUp) {
    IdleDrive drive;
    CDevice& device = drive.device;
    ClassifyProfile(device, 0x005A);  // HDDVD-RW DL: 24, family 3, kind 2, dual layer
    EXPECT_EQ(device.MediaType, 24u);
    EXPECT_EQ(device.DualLayer, 1);
    EXPECT_EQ(ClassifyProfile(device, 0x0000), 0u);
    EXPECT_EQ(device.MediaType, 0u);
    EXPECT_EQ(device.MediaFamily, 0);
    EXPECT_EQ(device.MediaKind, 2);  // left from the HD DVD
    EXPECT_EQ(device.DualLayer, 1);
    // A known profile sets all four again.
    EXPECT_EQ(ClassifyProfile(device, 0x0012), 6u);
    EXPECT_EQ(device.MediaFamily, FamilyDvd);
    EXPECT_EQ(device.MediaKind, 3);
    EXPECT_EQ(device.DualLayer, 0);
}

TEST(Profiles, ClassifyDoesNotTouchTheCurrentProfile) {
    IdleDrive drive;
    drive.device.CurrentProfile = 0x1234;
    ClassifyProfile(drive.device, 0x0043);
    EXPECT_EQ(drive.device.CurrentProfile, 0x1234);
    EXPECT_EQ(drive.device.MediaType, 18u);
}

namespace {

struct CurrentCase {
    const char* file;
    uint16_t profile;  // header bytes 6-7 of the drive's feature list
    const char* name;
    uint32_t mediaType;
    uint8_t family, kind, dualLayer;
};

}  // namespace

TEST(Profiles, CapturedDrivesReportTheirCurrentProfile) {
    // Header bytes 6-7 of each drive's GET CONFIGURATION answer:
    //   DVD+RW writer 00 1A, DVD-RAM writer 00 14, CD writer 00 09, BD writer 00 41.
    const CurrentCase cases[] = {
        {"dvd-writer-blank-dvdplusrw.drive", 0x001A, "DVD+RW", 11, 2, 2, 0},
        {"dvdram-writer-recorded-dvdrw.drive", 0x0014, "DVD-RW SR", 8, 2, 2, 0},
        {"cd-writer-blank-cdr.drive", 0x0009, "CD-R", 2, 1, 1, 0},
        {"bd-writer-recorded-bdr.drive", 0x0041, "BD-R SRM", 16, 4, 1, 0},
    };
    for (const CurrentCase& c : cases) {
        EmulatedDrive drive(LoadSharedDrive(c.file));
        CDevice& device = drive.device;
        device.DualLayer = 7;
        ASSERT_TRUE(ReadCurrentProfile(device)) << c.file;
        EXPECT_EQ(device.CurrentProfile, c.profile) << c.file;
        EXPECT_STREQ(GetProfileName(device.CurrentProfile), c.name) << c.file;
        EXPECT_EQ(device.MediaType, c.mediaType) << c.file;
        EXPECT_EQ(device.MediaFamily, c.family) << c.file;
        EXPECT_EQ(device.MediaKind, c.kind) << c.file;
        EXPECT_EQ(device.DualLayer, c.dualLayer) << c.file;
        // GET CONFIGURATION, RT 0, starting feature 0, allocation 44 (2Ch).
        ASSERT_EQ(drive.Transcript().size(), 1u);
        EXPECT_EQ(CdbOf(drive.Transcript()[0].cdb),
                  Cdb16({0x46, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x2C, 0x00}));
        EXPECT_EQ(drive.Transcript()[0].cdbLength, 10);
        EXPECT_EQ(drive.Transcript()[0].transferLength, 44u);
    }
}

TEST(Profiles, ReadCurrentProfileFailsAndChangesNothingWhenGetConfigurationFails) {
    EmulatedDrive drive(ParseDrive("> 46\n! 2 3A 00\n"));
    CDevice& device = drive.device;
    device.CurrentProfile = 0x001B;
    device.MediaType = 12;
    device.MediaFamily = 2;
    device.MediaKind = 1;
    device.DualLayer = 0;
    EXPECT_FALSE(ReadCurrentProfile(device));
    EXPECT_EQ(device.CurrentProfile, 0x001B);
    EXPECT_EQ(device.MediaType, 12u);
    EXPECT_EQ(device.MediaFamily, 2);
    EXPECT_EQ(device.MediaKind, 1);
}

TEST(Profiles, DriveWithoutDiscReportsProfile0AsUnknown) {
    // Header of a drive with an empty tray: current profile 0000h.
    EmulatedDrive drive(ParseDrive("> 46\n00 00 00 04 00 00 00 00\n"));
    CDevice& device = drive.device;
    device.MediaType = 11;
    device.MediaFamily = 2;
    ASSERT_TRUE(ReadCurrentProfile(device));
    EXPECT_EQ(device.CurrentProfile, 0);
    EXPECT_STREQ(GetProfileName(device.CurrentProfile), "Unknown");
    EXPECT_EQ(device.MediaType, 0u);
    EXPECT_EQ(device.MediaFamily, 0);
}
