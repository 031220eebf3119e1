#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "TestPaths.h"
#include "emulation/DriveFile.h"
#include "emulation/EmulatedDevice.h"
#include "emulation/MmcTarget.h"
#include "report/DriveCapture.h"
#include "report/ReportCommands.h"

namespace {

namespace fs = std::filesystem;

std::vector<std::string> EveryTestDrive() {
    std::vector<std::string> files;
    for (const fs::path& root : {fs::path(SharedPath("drives")), fs::path(TestDataPath(""))})
        for (const auto& e : fs::recursive_directory_iterator(root))
            if (e.path().extension() == ".drive") files.push_back(e.path().string());
    std::sort(files.begin(), files.end());
    return files;
}

std::string ReadAll(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

struct Emulated {
    explicit Emulated(const std::string& file) {
        std::string error;
        ok = LoadDriveFile(file, drive, error);
        EXPECT_TRUE(ok) << error;
        std::vector<DriveFile> one{drive};
        ApplyLoadOrderDefaults(one);
        drive = one[0];
        target = std::make_unique<CMmcTarget>(drive);
        device = std::make_unique<CEmulatedDevice>(*target);
        report = {device.get(), drive.letter ? drive.letter : 'A', drive.address[0], drive.address[2],
                  drive.address[3], drive.path, drive.address[1]};
    }
    std::string Run(const std::string& command, const std::vector<std::string>& args = {}) {
        std::string out, error;
        if (!RunReportCommand(command, args, report, out, error)) return "failed: " + error;
        return out;
    }
    bool ok = false;
    DriveFile drive;
    std::unique_ptr<CMmcTarget> target;
    std::unique_ptr<CEmulatedDevice> device;
    ReportDrive report{};
};

fs::path TempDir(const std::string& name) {
    fs::path dir = fs::temp_directory_path() / ("vexlon-capture-" + name + "-" + std::to_string(std::rand()));
    fs::create_directories(dir);
    return dir;
}

// The volume area of every test disc lies well inside this many sectors.
constexpr uint32_t kImageSectors = 4096;

TEST(DriveCapture, ReplayGivesEveryPageByteForByte) {
    fs::path dir = TempDir("replay");
    for (const std::string& file : EveryTestDrive()) {
        Emulated original(file);
        fs::path capture = dir / (fs::path(file).stem().string() + ".drive");
        std::string error;
        ASSERT_TRUE(CaptureDrive(original.report, {capture.string(), true, kImageSectors, "2026-01-01"}, error))
            << file << ": " << error;
        Emulated replay(capture.string());
        ASSERT_TRUE(replay.ok) << ReadAll(capture);
        for (const char* command : {"ids", "drive", "capabilities", "features", "media", "files"})
            EXPECT_EQ(replay.Run(command), original.Run(command)) << file << " " << command;
        for (uint32_t lba : {0u, 16u, 256u, 257u})
            EXPECT_EQ(replay.Run("sector", {std::to_string(lba)}), original.Run("sector", {std::to_string(lba)}))
                << file << " sector " << lba;
        fs::path dumpA = dir / "a.iso", dumpB = dir / "b.iso";
        EXPECT_EQ(replay.Run("dump", {dumpB.string()}), original.Run("dump", {dumpA.string()})) << file;
        EXPECT_EQ(ReadAll(dumpB), ReadAll(dumpA)) << file;
        fs::remove(dumpA);
        fs::remove(dumpB);
    }
    fs::remove_all(dir);
}

TEST(DriveCapture, HeaderComesFromTheDrive) {
    fs::path dir = TempDir("header");
    Emulated original(SharedPath("drives/bd-writer-recorded-bdr.drive"));
    fs::path capture = dir / "bd.drive";
    std::string error;
    ASSERT_TRUE(CaptureDrive(original.report, {capture.string(), true, 64, "2026-01-01"}, error)) << error;
    std::string text = ReadAll(capture);
    EXPECT_EQ(text.rfind("# Captured by vexlon-report 1.3.0.0 on 2026-01-01\n"
                         "title: HL-DT-ST BD-RE BH16NS40\n"
                         "letter: G\n"
                         "address: 3 0 0 0\n"
                         "path: \\\\?\\scsi#cdrom&ven_hl-dt-st&prod_bd-re_bh16ns40#4&3c4d5e6f&0&000000#"
                         "{53f56308-b6bf-11d0-94f2-00a0c91efb8b}\n"
                         "image: bd.iso\n"
                         "sectors: 12219392\n",
                         0),
              0u)
        << text.substr(0, 400);
    EXPECT_EQ(fs::file_size(dir / "bd.iso"), 64u * 2048u);
    // The image holds the disc's first sectors as the drive read them.
    std::string original0 = ReadAll(SharedPath("discs/udf-pycdlib.iso")).substr(0, 64 * 2048);
    EXPECT_EQ(ReadAll(dir / "bd.iso"), original0);
    fs::remove_all(dir);
}

TEST(DriveCapture, FailedAnswersAreKeptWithTheirSense) {
    fs::path dir = TempDir("sense");
    Emulated original(SharedPath("drives/cd-writer-blank-cdr.drive"));
    fs::path capture = dir / "cd.drive";
    std::string error;
    ASSERT_TRUE(CaptureDrive(original.report, {capture.string(), false, 0, "2026-01-01"}, error)) << error;
    std::string text = ReadAll(capture);
    // A blank CD-R has no disc structure: READ DISC STRUCTURE fails and the replay fails it alike.
    EXPECT_NE(text.find("\n> AD media=0 format=0 layer=0 address=0\n! 5 "), std::string::npos) << text;
    EXPECT_EQ(text.find("image:"), std::string::npos);
    EXPECT_FALSE(fs::exists(dir / "cd.iso"));
    fs::remove_all(dir);
}

TEST(DriveCapture, AFileThatCannotBeWrittenLeavesNothingBehind) {
    fs::path dir = TempDir("unwritable");
    Emulated original(SharedPath("drives/bd-writer-recorded-bdr.drive"));
    fs::path capture = dir / "missing-folder" / "bd.drive";
    std::string error;
    EXPECT_FALSE(CaptureDrive(original.report, {capture.string(), true, 16, "2026-01-01"}, error));
    EXPECT_EQ(error, "cannot create " + capture.string());
    EXPECT_TRUE(fs::is_empty(dir));
    fs::remove_all(dir);
}

}  // namespace
