#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <string>

#include "TestPaths.h"
#include "report/WholeReport.h"
#include "ReportToolRun.h"

#ifndef _WIN32
namespace {

namespace fs = std::filesystem;

std::string Drive(const char* name) { return ShellQuoted(SharedPath(std::string("drives/") + name)); }

TEST(ReportToolSession, UsageErrorsExitTwoWithOneLine) {
    for (const char* args : {"--drive x.drive colours", "--colour ids", "--drive x.drive ids extra",
                             "--drive x.drive extract onlyone", "--drive x.drive ids --json"}) {
        ReportToolRun r = RunReportTool(args);
        EXPECT_EQ(r.exitCode, 2) << args;
        EXPECT_TRUE(r.out.empty()) << args;
        EXPECT_EQ(r.err.rfind("usage: vexlon-report: ", 0), 0u) << r.err;
        EXPECT_EQ(r.err.find('\n'), r.err.size() - 1) << r.err;
    }
}

TEST(ReportToolSession, ADriveThatCannotBeOpenedExitsOne) {
    ReportToolRun r = RunReportTool("--drive /nonexistent/x.drive ids");
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.err, "vexlon-report: /nonexistent/x.drive: cannot open the drive file\n");
}

TEST(ReportToolSession, CommandHelpGoesToStandardOutput) {
    ReportToolRun r = RunReportTool("media --help");
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out.rfind("usage: vexlon-report [OPTIONS] media\n", 0), 0u) << r.out;
    EXPECT_TRUE(r.err.empty());
}

TEST(ReportToolSession, StatsFollowTheOutputOnStandardError) {
    ReportToolRun plain = RunReportTool("--drive " + Drive("dvd-writer-blank-dvdplusrw.drive") + " ids");
    ReportToolRun r = RunReportTool("--stats --drive " + Drive("dvd-writer-blank-dvdplusrw.drive") + " ids");
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out, plain.out);
    // ids sends one INQUIRY; the drive file's timing is the default 0.2 ms a command.
    EXPECT_EQ(r.err, "commands: 1\nsectors: 0\nsimulated-ms: 0\n");
}

TEST(ReportToolSession, StatsCountTheSectorsOfADump) {
    fs::path out = fs::temp_directory_path() / ("vexlon-stats-dump-" + std::to_string(::getpid()) + ".iso");
    ReportToolRun r = RunReportTool("--stats --drive " + Drive("bd-writer-recorded-bdr.drive") + " dump " +
                                    ShellQuoted(out.string()));
    ASSERT_EQ(r.exitCode, 0) << r.err;
    std::smatch m;
    ASSERT_TRUE(std::regex_match(r.err, m, std::regex("commands: (\\d+)\nsectors: (\\d+)\nsimulated-ms: (\\d+)\n")))
        << r.err;
    std::error_code ec;
    uint64_t dumped = fs::file_size(out, ec) / 2048;
    EXPECT_GE(std::stoull(m[2]), dumped);
    EXPECT_GT(std::stoull(m[1]), 0u);
    fs::remove(out, ec);
}

TEST(ReportToolSession, DrivesListsEachDriveFileSortedByLetter) {
    ReportToolRun r = RunReportTool("--drives " + ShellQuoted(SharedPath("drives")) + " drives");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.out.rfind("[0:1:0] HL-DT-ST DVDRAM GSA-4083N (D:)\tD:\t0:0:1:0\t\\\\?\\scsi#cdrom", 0), 0u) << r.out;
    EXPECT_NE(r.out.find("\n[1:0:0] HL-DT-ST DVD+-RW GP60N (E:)\tE:\t1:0:0:0\t\\\\?\\ide#"), std::string::npos);
    EXPECT_NE(r.out.find("\n[2:0:0] PLEXTOR CD-R PX-W4012A (F:)\tF:\t2:0:0:0\t"), std::string::npos);
    EXPECT_NE(r.out.find("\n[3:0:0] HL-DT-ST BD-RE BH16NS40 (G:)\tG:\t3:0:0:0\t"), std::string::npos);
    size_t lines = 0;
    for (char c : r.out) lines += c == '\n';
    EXPECT_EQ(lines, 4u);
}

TEST(ReportToolSession, DrivesNamesAFolderThatCannotBeRead) {
    ReportToolRun r = RunReportTool("--drives /nonexistent-folder drives");
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.err.rfind("vexlon-report: /nonexistent-folder: ", 0), 0u) << r.err;
}

TEST(ReportToolSession, ReportHoldsEveryPageUnderItsHeading) {
    std::string drive = Drive("bd-writer-recorded-bdr.drive");
    ReportToolRun r = RunReportTool("--drive " + drive + " report");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.out.rfind("Vexlon Inspector 1.3.0.0 report, " + TodayText() + "\r\n", 0), 0u) << r.out.substr(0, 80);
    std::string pages[][2] = {{"Drive", "drive"}, {"Feature", "features"}, {"Media", "media"}};
    for (auto& page : pages) {
        std::string body = WithCrLf(RunReportTool("--drive " + drive + " " + page[1]).out);
        EXPECT_NE(r.out.find("\r\n== " + page[0] + " ==\r\n" + body), std::string::npos) << page[0];
    }
    std::string files = RunReportTool("--drive " + drive + " files").out;
    EXPECT_NE(r.out.find("\r\n== Files ==\r\n" + files), std::string::npos);
}

TEST(ReportToolSession, ReportLeavesOutFilesWithoutAVolume) {
    ReportToolRun r = RunReportTool("--drive " + Drive("cd-writer-blank-cdr.drive") + " report");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_NE(r.out.find("\r\n== Media ==\r\n"), std::string::npos);
    EXPECT_EQ(r.out.find("== Files =="), std::string::npos);
}

TEST(ReportToolSession, ReportToAFileAndToAPathThatCannotBeWritten) {
    std::string drive = Drive("dvd-writer-blank-dvdplusrw.drive");
    fs::path out = fs::temp_directory_path() / ("vexlon-report-" + std::to_string(::getpid()) + ".txt");
    ReportToolRun r = RunReportTool("--drive " + drive + " report " + ShellQuoted(out.string()));
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_TRUE(r.out.empty());
    EXPECT_EQ(ReadWholeFile(out), RunReportTool("--drive " + drive + " report").out);
    std::error_code ec;
    fs::remove(out, ec);
    ReportToolRun bad = RunReportTool("--drive " + drive + " report /nonexistent-dir/r.txt");
    EXPECT_EQ(bad.exitCode, 1);
    EXPECT_EQ(bad.err, "vexlon-report: cannot create /nonexistent-dir/r.txt\n");
}

}  // namespace
#endif

#ifndef _WIN32
namespace {

TEST(ReportToolCapture, CaptureFromTheCommandLineReplaysAndRefusesAnUnwritablePath) {
    namespace fs = std::filesystem;
    std::string drive = ShellQuoted(SharedPath("drives/dvdram-writer-recorded-dvdrw.drive"));
    fs::path dir = fs::temp_directory_path() / ("vexlon-tool-capture-" + std::to_string(::getpid()));
    fs::create_directories(dir);
    std::string capture = (dir / "my-drive.drive").string();
    ReportToolRun r = RunReportTool("--stats --drive " + drive + " capture --sectors 3100 " + ShellQuoted(capture));
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_TRUE(r.out.empty());
    // Not a terminal: no progress line, only the figures.
    EXPECT_EQ(r.err.rfind("commands: ", 0), 0u) << r.err;
    EXPECT_TRUE(fs::exists(dir / "my-drive.iso"));
    for (const char* command : {"ids", "drive", "capabilities", "features", "media", "files", "report"}) {
        std::string original = RunReportTool("--drive " + drive + " " + command).out;
        EXPECT_EQ(RunReportTool("--drive " + ShellQuoted(capture) + " " + command).out, original) << command;
    }
    ReportToolRun bad = RunReportTool("--drive " + drive + " capture /nonexistent-dir/x.drive");
    EXPECT_EQ(bad.exitCode, 1);
    EXPECT_EQ(bad.err, "vexlon-report: cannot create /nonexistent-dir/x.drive\n");
    fs::remove_all(dir);
}

}  // namespace
#endif
