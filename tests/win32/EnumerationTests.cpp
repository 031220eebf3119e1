#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TestPaths.h"
#include "device/Enumeration.h"
#include "device/OsSeam.h"
#include "emulation/EmulatedOsSeam.h"

namespace {

class EnumerationTest : public ::testing::Test {
protected:
    void TearDown() override { SetOs(previous); }

    void Use(const std::vector<std::string>& paths) {
        std::vector<DriveFile> files;
        for (const std::string& p : paths) {
            DriveFile f;
            std::string error;
            ASSERT_TRUE(LoadDriveFile(p, f, error)) << error;
            files.push_back(f);
        }
        seam.SetDrives(files);
        previous = SetOs(&seam);
    }

    CEmulatedOsSeam seam;
    COsSeam* previous = nullptr;
};

const std::string kDvdWriterE = SharedPath("drives/dvd-writer-blank-dvdplusrw.drive");
const std::string kDvdRamD = SharedPath("drives/dvdram-writer-recorded-dvdrw.drive");
const std::string kCdWriterF = SharedPath("drives/cd-writer-blank-cdr.drive");
const std::string kNoLetter = TestDataPath("gui/usb-no-letter.drive");
const std::string kHugePath = TestDataPath("gui/huge-path.drive");
const std::string kPathId = TestDataPath("gui/path-id.drive");

TEST_F(EnumerationTest, DrivesFoundAsEThenDAreListedDFirst) {
    Use({kDvdWriterE, kDvdRamD});
    DriveList list;
    EXPECT_EQ(EnumerateDrives(list, false), 2);
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[0].letter, 'D');
    EXPECT_EQ(list[1].letter, 'E');
    EXPECT_STREQ(list[0].displayText, "[0:1:0] HL-DT-ST DVDRAM GSA-4083N (D:)");
    EXPECT_STREQ(list[1].displayText, "[1:0:0] HL-DT-ST DVD+-RW GP60N (E:)");
    EXPECT_EQ(list[1].devicePath, seam.Drive(0).File().path);
}

TEST_F(EnumerationTest, DriveWithoutLetterIsShownAsAAndSortsFirst) {
    Use({kDvdWriterE, kNoLetter});
    DriveList list;
    EXPECT_EQ(EnumerateDrives(list, false), 2);
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[0].letter, 'A');
    EXPECT_STREQ(list[0].displayText, "[4:0:0] ABC DVD RW X (A:)");
}

TEST_F(EnumerationTest, InterfaceDetailAbove1024BytesIsNeverListed) {
    Use({kHugePath, kDvdWriterE});
    DriveList list;
    EXPECT_EQ(EnumerateDrives(list, false), 1);
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(list[0].letter, 'E');
    // The oversized drive was never even opened.
    for (const auto& call : seam.calls)
        if (call.name == "CreateFileA") {
            EXPECT_LT(call.in.size(), 1000u);
        }
}

TEST_F(EnumerationTest, PathIdIsNeverShown) {
    Use({kPathId});
    DriveList list;
    EnumerateDrives(list, false);
    ASSERT_EQ(list.size(), 1u);
    EXPECT_STREQ(list[0].displayText, "[1:0:0] VEXLON PATH ID TEST (H:)");
}

TEST_F(EnumerationTest, EntryCarriesCapabilities) {
    Use({kDvdWriterE});
    DriveList list;
    EnumerateDrives(list, false);
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(list[0].capabilities.bufferSize, 768);
}

TEST_F(EnumerationTest, CapabilityFilterKeepsOnlyRecordableWriters) {
    // The CD writer writes neither DVD-R, DVD+R nor BD; the DVD writer does.
    Use({kCdWriterF, kDvdWriterE});
    DriveList list;
    EXPECT_EQ(EnumerateDrives(list, true), 1);
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(list[0].letter, 'E');
}

TEST_F(EnumerationTest, FailedClassQueryYieldsAnEmptyList) {
    Use({kDvdWriterE});
    seam.failClassQuery = true;
    DriveList list;
    EXPECT_EQ(EnumerateDrives(list, false), 0);
    EXPECT_TRUE(list.empty());
}

TEST_F(EnumerationTest, EveryOpenedDeviceIsClosed) {
    Use({kDvdWriterE, kDvdRamD, kCdWriterF});
    DriveList list;
    EnumerateDrives(list, false);
    int opens = 0, closes = 0;
    for (const auto& call : seam.calls) {
        opens += call.name == "CreateFileA" && call.result;
        closes += call.name == "CloseHandle" && call.result;
    }
    EXPECT_EQ(opens, 3);
    EXPECT_EQ(closes, 3);
}

TEST_F(EnumerationTest, FindDriveLetterMatchesTheDosDeviceIgnoringCase) {
    Use({kDvdWriterE, kDvdRamD});
    EXPECT_EQ(FindDriveLetter(0), 'E');  // device-number 0
    EXPECT_EQ(FindDriveLetter(1), 'D');
    EXPECT_EQ(FindDriveLetter(7), 'A');  // deliberately A, not a failure value
}

TEST_F(EnumerationTest, AppendsToAnExistingListAndSortsTheWhole) {
    Use({kDvdWriterE});
    DriveList list(1);
    list[0].letter = 'Z';
    EXPECT_EQ(EnumerateDrives(list, false), 1);
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[0].letter, 'E');
    EXPECT_EQ(list[1].letter, 'Z');
}

}  // namespace
