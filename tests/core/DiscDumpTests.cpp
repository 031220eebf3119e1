// The disc dump: how far it copies, what it copies, and when it copies
// nothing. The lowest file-data sectors are taken by hand from the images:
// sector 685 of udf102-genisoimage.iso holds one.bin's single byte F7h
// (7z x -so ... one.bin), sector 684 is a Rock Ridge continuation; sector
// 640 of udf-pycdlib.iso starts README.TXT ("This disc was mastered...").

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "DeviceTestSupport.h"
#include "TestPaths.h"
#include "common/ByteReader.h"
#include "pages/DiscDump.h"
#include "report/ReportCommands.h"

namespace {

namespace fs = std::filesystem;
using devtest::EmulatedDrive;
using devtest::LoadSharedDrive;
using devtest::ParseDrive;

std::vector<char> ReadAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<char>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::vector<char> Sectors(const std::vector<char>& bytes, uint64_t first, uint64_t count) {
    return std::vector<char>(bytes.begin() + static_cast<std::ptrdiff_t>(first * 2048),
                             bytes.begin() + static_cast<std::ptrdiff_t>((first + count) * 2048));
}

DriveFile ImageWithCapacity(const std::string& image, const std::string& capacityHex) {
    std::string text = "title: dump\nletter: E\naddress: 1 0 0 0\npath: \\\\?\\scsi#dump\n";
    text += "image: " + SharedPath("discs/" + image) + "\n";
    text += "sectors: " + std::to_string(fs::file_size(SharedPath("discs/" + image)) / 2048) + "\n";
    if (!capacityHex.empty()) text += "> 25\n" + capacityHex + "\n";
    return ParseDrive(text);
}

struct TempFile {
    TempFile() {
        path = (fs::temp_directory_path() / ("vexlon-dump-" + std::to_string(reinterpret_cast<uintptr_t>(this)) +
                                             "-" + ::testing::UnitTest::GetInstance()->current_test_info()->name() +
                                             ".bin"))
                   .string();
        fs::remove(path);
    }
    ~TempFile() { fs::remove(path); }
    std::string path;
};

// Fails every READ(10) that covers one of the chosen sectors, as a drive
// fails a command that meets a bad sector; passes everything else on.
class HoleyDevice : public CDevice {
public:
    HoleyDevice(CDevice& next, std::vector<uint32_t> bad) : inner(next), holes(std::move(bad)) {}
    ~HoleyDevice() = default;
    bool Open(const char* path) override { return inner.Open(path); }
    bool OpenDriveLetter(uint32_t index) override { return inner.OpenDriveLetter(index); }
    bool Lock() override { return inner.Lock(); }
    bool ExecuteCommand(const ScsiCommand& command, ScsiResult* result) override {
        if (command.cdb[0] == 0x28) {
            uint32_t lba = ByteReader(command.cdb, 16).BE32(2);
            uint32_t count = ByteReader(command.cdb, 16).BE16(7);
            for (uint32_t h : holes)
                if (h >= lba && h - lba < count) {
                    // Leave junk in the buffer, as a drive may, to see it is not what gets written.
                    if (command.data) std::memset(command.data, 0xEE, command.transferLength);
                    return false;
                }
        }
        return inner.ExecuteCommand(command, result);
    }
    bool Unlock() override { return inner.Unlock(); }
    bool Close() override { return inner.Close(); }

private:
    CDevice& inner;
    std::vector<uint32_t> holes;
};

TEST(DumpBound, LowestSectorAndEndOfMedium) {
    EXPECT_EQ(DumpSectorCount(685, MediumEnd{true, 3046}), 685u);
    EXPECT_EQ(DumpSectorCount(685, MediumEnd{true, 100}), 100u);
    EXPECT_EQ(DumpSectorCount(685, MediumEnd{true, 685}), 685u);
    EXPECT_EQ(DumpSectorCount(685, MediumEnd{true, 0}), 0u);
    EXPECT_EQ(DumpSectorCount(685, MediumEnd{false, 0}), 685u);
    // No file data: only the medium bounds the copy.
    EXPECT_EQ(DumpSectorCount(0xFFFFFFFFu, MediumEnd{true, 3000}), 3000u);
    EXPECT_EQ(DumpSectorCount(0xFFFFFFFFu, MediumEnd{false, 0}), 0u);
    EXPECT_EQ(DumpSectorCount(0xFFFFFFFFu, MediumEnd{true, 0x100000000ull}), 0xFFFFFFFFu);
}

TEST(DumpBound, MediumEndFromReadCapacity) {
    EmulatedDrive normal(ImageWithCapacity("udf102-genisoimage.iso", "00 00 0B E5 00 00 08 00"));
    MediumEnd end = ReadMediumEnd(normal.device);
    EXPECT_TRUE(end.known);
    EXPECT_EQ(end.sectors, 3046u);
    EmulatedDrive pregap(ImageWithCapacity("udf102-genisoimage.iso", "FF FF FF 6A 00 00 08 00"));
    end = ReadMediumEnd(pregap.device);
    EXPECT_TRUE(end.known);
    EXPECT_EQ(end.sectors, 0u);
    EmulatedDrive top(ImageWithCapacity("udf102-genisoimage.iso", "FF FF FF FF 00 00 08 00"));
    EXPECT_EQ(ReadMediumEnd(top.device).sectors, 0x100000000ull);
    EmulatedDrive silent(ImageWithCapacity("udf102-genisoimage.iso", ""));
    EXPECT_FALSE(ReadMediumEnd(silent.device).known);
}

TEST(DiscDumpTest, CopiesTheSectorsBeforeTheFirstFileData) {
    struct Case {
        const char* drive;
        const char* image;
        uint32_t lowest;
    } cases[] = {{"dvdram-writer-recorded-dvdrw.drive", "udf102-genisoimage.iso", 685},
                 {"bd-writer-recorded-bdr.drive", "udf-pycdlib.iso", 640}};
    for (const Case& c : cases) {
        EmulatedDrive drive(LoadSharedDrive(c.drive));
        TempFile out;
        uint32_t written = 0;
        ASSERT_EQ(DumpDisc(drive.device, out.path.c_str(), &written), DumpOutcome::Written) << c.drive;
        EXPECT_EQ(written, c.lowest);
        std::vector<char> image = ReadAll(SharedPath(std::string("discs/") + c.image));
        std::vector<char> dump = ReadAll(out.path);
        ASSERT_EQ(dump.size(), static_cast<size_t>(c.lowest) * 2048) << c.drive;
        EXPECT_TRUE(dump == Sectors(image, 0, c.lowest)) << c.drive;
    }
}

TEST(DiscDumpTest, StopsAtTheEndOfTheMedium) {
    EmulatedDrive drive(ImageWithCapacity("udf102-genisoimage.iso", "00 00 00 63 00 00 08 00"));
    TempFile out;
    ASSERT_EQ(DumpDisc(drive.device, out.path.c_str()), DumpOutcome::Written);
    std::vector<char> dump = ReadAll(out.path);
    ASSERT_EQ(dump.size(), 100u * 2048);
    EXPECT_TRUE(dump == Sectors(ReadAll(SharedPath("discs/udf102-genisoimage.iso")), 0, 100));
}

TEST(DiscDumpTest, VolumeWithoutFileDataCopiesTheWholeMediumOnly) {
    for (const char* image : {"udf102-mkudffs-inicb.img", "udf150-mkudffs-short.img", "udf201-mkudffs-long.img"}) {
        // 6,144,000 bytes: 3000 sectors, last LBA 2999 = BB7h.
        EmulatedDrive drive(ImageWithCapacity(image, "00 00 0B B7 00 00 08 00"));
        TempFile out;
        uint32_t written = 0;
        ASSERT_EQ(DumpDisc(drive.device, out.path.c_str(), &written), DumpOutcome::Written) << image;
        EXPECT_EQ(written, 3000u);
        EXPECT_TRUE(ReadAll(out.path) == ReadAll(SharedPath(std::string("discs/") + image))) << image;
    }
}

TEST(DiscDumpTest, VolumeWithoutFileDataOnASilentDriveCopiesNothing) {
    EmulatedDrive drive(ImageWithCapacity("udf150-mkudffs-short.img", ""));
    TempFile out;
    EXPECT_EQ(DumpDisc(drive.device, out.path.c_str()), DumpOutcome::NothingToCopy);
    EXPECT_FALSE(fs::exists(out.path));
}

TEST(DiscDumpTest, PlainIso9660CannotBeDumped) {
    EmulatedDrive drive(ImageWithCapacity("iso9660-only.iso", "00 00 09 93 00 00 08 00"));
    TempFile out;
    EXPECT_EQ(DumpDisc(drive.device, out.path.c_str()), DumpOutcome::NoVolume);
    EXPECT_FALSE(fs::exists(out.path));
}

TEST(DiscDumpTest, NoMediumCannotBeDumped) {
    EmulatedDrive drive(LoadSharedDrive("cd-writer-blank-cdr.drive"));
    TempFile out;
    EXPECT_EQ(DumpDisc(drive.device, out.path.c_str()), DumpOutcome::NoVolume);
    EXPECT_FALSE(fs::exists(out.path));
}

TEST(DiscDumpTest, AFailedReadWritesThePreviousSectorAgain) {
    EmulatedDrive drive(ImageWithCapacity("udf102-genisoimage.iso", "00 00 0B E5 00 00 08 00"));
    std::vector<char> image = ReadAll(SharedPath("discs/udf102-genisoimage.iso"));
    HoleyDevice holey(drive.device, {0, 17, 18, 300});
    TempFile out;
    // Mounting needs the sectors the holes would hide: the reader mounts
    // through the whole device, the copy through the holey one.
    ASSERT_EQ(WriteSectors(holey, 685, out.path.c_str()), DumpOutcome::Written);
    std::vector<char> dump = ReadAll(out.path);
    ASSERT_EQ(dump.size(), 685u * 2048);
    EXPECT_TRUE(Sectors(dump, 0, 1) == std::vector<char>(2048, 0));  // nothing read yet: zeros
    EXPECT_TRUE(Sectors(dump, 1, 16) == Sectors(image, 1, 16));
    EXPECT_TRUE(Sectors(dump, 17, 1) == Sectors(image, 16, 1));
    EXPECT_TRUE(Sectors(dump, 18, 1) == Sectors(image, 16, 1));
    EXPECT_TRUE(Sectors(dump, 19, 281) == Sectors(image, 19, 281));
    EXPECT_TRUE(Sectors(dump, 300, 1) == Sectors(image, 299, 1));
    EXPECT_TRUE(Sectors(dump, 301, 384) == Sectors(image, 301, 384));
}

TEST(DiscDumpTest, ATargetThatCannotBeCreatedIsReported) {
    EmulatedDrive drive(LoadSharedDrive("dvdram-writer-recorded-dvdrw.drive"));
    std::string path = (fs::temp_directory_path() / "vexlon-no-such-dir" / "x" / "disc.bin").string();
    EXPECT_EQ(DumpDisc(drive.device, path.c_str()), DumpOutcome::CannotOpen);
}

TEST(DumpReport, WritesTheFileOrSaysWhyNot) {
    EmulatedDrive drive(LoadSharedDrive("dvdram-writer-recorded-dvdrw.drive"));
    ReportDrive report{&drive.device, 'D', 0, 1, 0, ""};
    TempFile out;
    std::string text, error;
    ASSERT_TRUE(RunReportCommand("dump", {out.path}, report, text, error)) << error;
    EXPECT_TRUE(text.empty());
    EXPECT_EQ(ReadAll(out.path).size(), 685u * 2048);
    EXPECT_FALSE(RunReportCommand("dump", {}, report, text, error));

    EmulatedDrive iso(ImageWithCapacity("iso9660-only.iso", "00 00 09 93 00 00 08 00"));
    ReportDrive isoReport{&iso.device, 'E', 1, 0, 0, ""};
    TempFile none;
    EXPECT_FALSE(RunReportCommand("dump", {none.path}, isoReport, text, error));
    EXPECT_NE(error.find("no UDF volume"), std::string::npos);
    EXPECT_FALSE(fs::exists(none.path));
}

}  // namespace
