// vexlon-report's capture through the real pass-through device: CSptiDevice
// over the emulated OS seam, then the capture replayed by the drive emulator.

#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "TestPaths.h"
#include "device/OsSeam.h"
#include "device/SptiDevice.h"
#include "emulation/EmulatedDevice.h"
#include "emulation/EmulatedOsSeam.h"
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

std::string RunCommand(ReportDrive& drive, const std::string& command, const std::vector<std::string>& args = {}) {
    std::string out, error;
    if (!RunReportCommand(command, args, drive, out, error)) return "failed: " + error;
    return out;
}

TEST(CaptureSpti, CaptureThroughThePassThroughDeviceReplaysByteForByte) {
    fs::path dir = fs::temp_directory_path() / ("vexlon-spti-capture-" + std::to_string(GetCurrentProcessId()));
    fs::create_directories(dir);
    int captured = 0;
    for (const std::string& name : EveryTestDrive()) {
        DriveFile file;
        std::string error;
        ASSERT_TRUE(LoadDriveFile(name, file, error)) << error;
        if (!file.letter || file.noLetter) continue;  // opened by letter, as the tool opens --device
        CEmulatedOsSeam seam;
        seam.SetDrives({file});
        COsSeam* previous = SetOs(&seam);
        CSptiDevice spti;
        ASSERT_TRUE(spti.OpenDriveLetter(static_cast<uint32_t>(file.letter - 'A'))) << name;
        const SCSI_ADDRESS& a = spti.Address();
        ReportDrive real{&spti, file.letter, a.PortNumber, a.TargetId, a.Lun, file.path, a.PathId};
        fs::path capture = dir / (fs::path(name).stem().string() + ".drive");
        ASSERT_TRUE(CaptureDrive(real, {capture.string(), true, 4096, "2026-01-01"}, error)) << name << ": " << error;

        DriveFile replayFile;
        ASSERT_TRUE(LoadDriveFile(capture.string(), replayFile, error)) << error;
        CMmcTarget target(replayFile);
        CEmulatedDevice replayDevice(target);
        ReportDrive replay{&replayDevice, replayFile.letter, replayFile.address[0], replayFile.address[2],
                           replayFile.address[3], replayFile.path, replayFile.address[1]};
        for (const char* command : {"ids", "drive", "capabilities", "features", "media", "files"})
            EXPECT_EQ(RunCommand(replay, command), RunCommand(real, command)) << name << " " << command;
        fs::path dumpA = dir / "a.iso", dumpB = dir / "b.iso";
        EXPECT_EQ(RunCommand(replay, "dump", {dumpB.string()}), RunCommand(real, "dump", {dumpA.string()})) << name;
        EXPECT_EQ(ReadAll(dumpB), ReadAll(dumpA)) << name;
        spti.Close();
        SetOs(previous);
        ++captured;
    }
    EXPECT_GE(captured, 5);
    fs::remove_all(dir);
}

}  // namespace
