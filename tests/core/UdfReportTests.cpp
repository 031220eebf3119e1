// The report tool's file-system commands on the team's recorded DVD-RW.

#include <gtest/gtest.h>

#include "TestPaths.h"
#include "UdfTestSupport.h"
#include "report/ReportCommands.h"
#include "report/UdfReport.h"

namespace {

struct LoadedDrive {
    LoadedDrive(const std::string& name) : file(Load(name)), target(file), device(target) {}
    static DriveFile Load(const std::string& name) {
        DriveFile f;
        std::string error;
        EXPECT_TRUE(LoadDriveFile(name, f, error)) << error;
        return f;
    }
    DriveFile file;
    CMmcTarget target;
    CEmulatedDevice device;
};

}  // namespace

TEST(UdfReport, FilesPrintsTheExportListing) {
    LoadedDrive drive(SharedPath("drives/dvdram-writer-recorded-dvdrw.drive"));
    std::string out = FilesReport(drive.device);
    EXPECT_EQ(out.rfind("// Exported by Vexlon Insepctor 1.3.0.0\r\n//\r\n\r\n", 0), 0u);
    // README.TXT's File Entry (read by hand) has one short_ad: 1234 bytes
    // at partition block 429, partition start 257.
    EXPECT_NE(out.find("README.TXT 1 (686, 1234)\r\n"), std::string::npos);
    size_t lines = 0;
    for (size_t i = 0; i + 1 < out.size(); ++i)
        if (out[i] == '\r' && out[i + 1] == '\n') ++lines;
    EXPECT_EQ(lines, 3u + 329u);
    EXPECT_EQ(out.find("\n\n"), std::string::npos);
}

TEST(UdfReport, FilesOnADiscWithoutUdfGivesTheHeaderOnly) {
    DriveFile file = ImageDrive(SharedPath("discs/iso9660-only.iso"));
    CMmcTarget target(file);
    CEmulatedDevice device(target);
    EXPECT_EQ(FilesReport(device), "// Exported by Vexlon Insepctor 1.3.0.0\r\n//\r\n\r\n");
}

TEST(UdfReport, ExtractCopiesOneFileAndRefusesDirectories) {
    LoadedDrive drive(SharedPath("drives/dvdram-writer-recorded-dvdrw.drive"));
    ReportDrive report{&drive.device, 'D', 1, 0, 0, ""};
    std::string out, error;
    std::string target = TempDir("report") + "/vts.vob";
    ASSERT_TRUE(RunReportCommand("extract", {"VIDEO_TS/VTS_01_1.VOB", target}, report, out, error)) << error;
    EXPECT_EQ(FileSizeOf(target), 300000u);
    EXPECT_FALSE(RunReportCommand("extract", {"VIDEO_TS", target}, report, out, error));
    EXPECT_FALSE(RunReportCommand("extract", {"missing.bin", target}, report, out, error));
    EXPECT_FALSE(RunReportCommand("extract", {"only-one-argument"}, report, out, error));
}
