#include <gtest/gtest.h>

#include <cstdint>
#include <iterator>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#ifndef _WIN32
#include <sys/wait.h>
#include <unistd.h>
#endif

#include "TestPaths.h"
#include "emulation/DriveFile.h"
#include "emulation/EmulatedDevice.h"
#include "emulation/MmcTarget.h"
#include "report/ReportCommands.h"

namespace {

namespace fs = std::filesystem;

struct SharedCase {
    const char* file;
    const char* ids;
    const char* capabilities;
};

// Worked out by hand from the drive files: INQUIRY bytes 8-31 tidied, the
// address's port, target and LUN, the letter; mode page 2Ah and the feature
// list decoded against the capability tables.
const SharedCase kShared[] = {
    {"dvd-writer-blank-dvdplusrw.drive",
     "Vendor: HL-DT-ST\n"
     "Product: DVD+-RW GP60N\n"
     "Selector: [1:0:0] HL-DT-ST DVD+-RW GP60N (E:)\n",
     "page bits: 0x97FFDFFF\n"
     "loading mechanism: 1\n"
     "page byte 7 bits: 0\n"
     "buffer size: 768\n"
     "maximum read speed: 8467\n"
     "maximum write speed: 7056\n"
     "current read speed: 8467\n"
     "current write speed: 7056\n"
     "media feature bits: 0x403F003F\n"
     "drive feature bits: 0x00000162\n"},
    {"dvdram-writer-recorded-dvdrw.drive",
     "Vendor: HL-DT-ST\n"
     "Product: DVDRAM GSA-4083N\n"
     "Selector: [0:1:0] HL-DT-ST DVDRAM GSA-4083N (D:)\n",
     "page bits: 0x97FFDBFF\n"
     "loading mechanism: 1\n"
     "page byte 7 bits: 0\n"
     "buffer size: 2048\n"
     "maximum read speed: 5540\n"
     "maximum write speed: 2770\n"
     "current read speed: 5540\n"
     "current write speed: 2770\n"
     "media feature bits: 0x002E002A\n"
     "drive feature bits: 0x00000162\n"},
    {"cd-writer-blank-cdr.drive",
     "Vendor: PLEXTOR\n"
     "Product: CD-R PX-W4012A\n"
     "Selector: [2:0:0] PLEXTOR CD-R PX-W4012A (F:)\n",
     "page bits: 0x9FFFD38F\n"
     "loading mechanism: 1\n"
     "page byte 7 bits: 0\n"
     "buffer size: 2048\n"
     "maximum read speed: 7056\n"
     "maximum write speed: 7056\n"
     "current read speed: 7056\n"
     "current write speed: 7056\n"
     "media feature bits: 0x00000000\n"
     "drive feature bits: 0x00000002\n"},
    {"bd-writer-recorded-bdr.drive",
     "Vendor: HL-DT-ST\n"
     "Product: BD-RE BH16NS40\n"
     "Selector: [3:0:0] HL-DT-ST BD-RE BH16NS40 (G:)\n",
     "page bits: 0x97FFDFFF\n"
     "loading mechanism: 1\n"
     "page byte 7 bits: 0\n"
     "buffer size: 4096\n"
     "maximum read speed: 8467\n"
     "maximum write speed: 7056\n"
     "current read speed: 8467\n"
     "current write speed: 7056\n"
     "media feature bits: 0xF03FE03F\n"
     "drive feature bits: 0x00000362\n"},
};

struct LoadedDrive {
    explicit LoadedDrive(const std::string& file) {
        std::string error;
        EXPECT_TRUE(LoadDriveFile(SharedPath("drives/" + file), drive, error)) << error;
        std::vector<DriveFile> one{drive};
        ApplyLoadOrderDefaults(one);
        drive = one[0];
        target = std::make_unique<CMmcTarget>(drive);
        device = std::make_unique<CEmulatedDevice>(*target);
        report.device = device.get();
        report.letter = drive.letter;
        report.port = drive.address[0];
        report.target = drive.address[2];
        report.lun = drive.address[3];
    }
    DriveFile drive;
    std::unique_ptr<CMmcTarget> target;
    std::unique_ptr<CEmulatedDevice> device;
    ReportDrive report{};
};

TEST(ReportCommands, IdsOfEverySharedDrive) {
    for (const SharedCase& c : kShared) {
        LoadedDrive d(c.file);
        EXPECT_EQ(IdsReport(d.report), c.ids) << c.file;
    }
}

TEST(ReportCommands, CapabilitiesOfEverySharedDrive) {
    for (const SharedCase& c : kShared) {
        LoadedDrive d(c.file);
        EXPECT_EQ(CapabilitiesReport(*d.device), c.capabilities) << c.file;
    }
}

TEST(ReportCommands, UnknownCommandIsRefusedWithAMessage) {
    LoadedDrive d(kShared[0].file);
    std::string out, error;
    EXPECT_FALSE(RunReportCommand("colours", d.report, out, error));
    EXPECT_TRUE(out.empty());
    EXPECT_NE(error.find("colours"), std::string::npos) << error;
}

TEST(ReportCommands, UsageNamesTheCommands) {
    std::string usage = ReportUsage();
    EXPECT_NE(usage.find("--drive FILE.drive COMMAND"), std::string::npos);
    EXPECT_NE(usage.find("  ids "), std::string::npos);
    EXPECT_NE(usage.find("  capabilities "), std::string::npos);
}

#ifndef _WIN32
// The built tool, run as a user runs it. Under Wine a unix path cannot be
// started through popen, so these run natively only.

struct ToolRun {
    int exitCode = -1;
    std::string out;
    std::string err;
};

std::string Quoted(const std::string& s) {
    std::string q = "'";
    for (char c : s) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return q + "'";
}

ToolRun RunTool(const std::string& arguments) {
    static int counter = 0;
    fs::path errFile = fs::temp_directory_path() /
                       ("vexlon-report-stderr-" + std::to_string(::getpid()) + "-" + std::to_string(++counter));
    std::string command = Quoted(VEXLON_REPORT_EXE) + " " + arguments + " 2>" + Quoted(errFile.string());
    ToolRun run;
    FILE* pipe = ::popen(command.c_str(), "r");
    if (!pipe) return run;
    char chunk[4096];
    size_t n;
    while ((n = std::fread(chunk, 1, sizeof chunk, pipe)) > 0) run.out.append(chunk, n);
    int status = ::pclose(pipe);
    if (WIFEXITED(status)) run.exitCode = WEXITSTATUS(status);
    std::ifstream err(errFile, std::ios::binary);
    run.err.assign(std::istreambuf_iterator<char>(err), std::istreambuf_iterator<char>());
    std::error_code ec;
    fs::remove(errFile, ec);
    return run;
}

TEST(ReportTool, HelpGoesToStandardOutputAndSucceeds) {
    ToolRun r = RunTool("--help");
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out.rfind("usage: vexlon-report --drive FILE.drive COMMAND\n", 0), 0u) << r.out;
    EXPECT_NE(r.out.find("  ids "), std::string::npos);
    EXPECT_NE(r.out.find("  capabilities "), std::string::npos);
    EXPECT_TRUE(r.err.empty()) << r.err;
}

TEST(ReportTool, IdsOfEachSharedDrive) {
    for (const SharedCase& c : kShared) {
        ToolRun r = RunTool("--drive " + Quoted(SharedPath(std::string("drives/") + c.file)) + " ids");
        EXPECT_EQ(r.exitCode, 0) << c.file << ": " << r.err;
        EXPECT_EQ(r.out, c.ids) << c.file;
        EXPECT_TRUE(r.err.empty()) << r.err;
    }
}

TEST(ReportTool, CapabilitiesOfEachSharedDrive) {
    for (const SharedCase& c : kShared) {
        ToolRun r = RunTool("--drive " + Quoted(SharedPath(std::string("drives/") + c.file)) + " capabilities");
        EXPECT_EQ(r.exitCode, 0) << c.file << ": " << r.err;
        EXPECT_EQ(r.out, c.capabilities) << c.file;
    }
}

TEST(ReportTool, MissingDriveFileFailsNamingIt) {
    std::string name = (fs::temp_directory_path() / "vexlon-no-such-drive.drive").string();
    ToolRun r = RunTool("--drive " + Quoted(name) + " ids");
    EXPECT_NE(r.exitCode, 0);
    EXPECT_TRUE(r.out.empty()) << r.out;
    EXPECT_EQ(r.err.rfind("vexlon-report: " + name + ": ", 0), 0u) << r.err;
}

TEST(ReportTool, MalformedDriveFileFailsWithFileAndLine) {
    fs::path name = fs::temp_directory_path() / ("vexlon-bad-" + std::to_string(::getpid()) + ".drive");
    {
        std::ofstream out(name, std::ios::binary);
        out << "title: broken\n> 12\n05 80 XY\n";
    }
    ToolRun r = RunTool("--drive " + Quoted(name.string()) + " ids");
    EXPECT_NE(r.exitCode, 0);
    EXPECT_TRUE(r.out.empty()) << r.out;
    EXPECT_NE(r.err.find(name.string() + ":3: 'XY' is not a hex byte"), std::string::npos) << r.err;
    std::error_code ec;
    fs::remove(name, ec);
}

TEST(ReportTool, UnknownCommandFails) {
    ToolRun r = RunTool("--drive " + Quoted(SharedPath("drives/cd-writer-blank-cdr.drive")) + " colours");
    EXPECT_NE(r.exitCode, 0);
    EXPECT_TRUE(r.out.empty()) << r.out;
    EXPECT_NE(r.err.find("colours"), std::string::npos) << r.err;
}

TEST(ReportTool, UnknownOptionFails) {
    ToolRun r = RunTool("--disc " + Quoted(SharedPath("drives/cd-writer-blank-cdr.drive")) + " ids");
    EXPECT_NE(r.exitCode, 0);
    EXPECT_TRUE(r.out.empty()) << r.out;
    EXPECT_NE(r.err.find("--disc"), std::string::npos) << r.err;
}

TEST(ReportTool, WrongNumberOfArgumentsPrintsUsageToStandardError) {
    for (const char* args : {"", "--drive", "--drive x.drive", "--drive x.drive ids extra"}) {
        ToolRun r = RunTool(args);
        EXPECT_NE(r.exitCode, 0) << args;
        EXPECT_TRUE(r.out.empty()) << args;
        EXPECT_EQ(r.err.rfind("usage: vexlon-report", 0), 0u) << args << ": " << r.err;
    }
}
#endif

}  // namespace
