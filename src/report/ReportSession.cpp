#include "report/ReportSession.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>

#include "emulation/EmulatedDevice.h"
#include "emulation/MmcTarget.h"
#include "report/CountingDevice.h"
#include "report/DriveCapture.h"
#include "report/ProgressLine.h"
#include "report/UdfReport.h"
#include "report/WholeReport.h"
#include "report/ReportJson.h"
#include "report/ReportDrives.h"

namespace {

namespace fs = std::filesystem;

bool WriteStdout(const std::string& out) {
    if (!out.empty() && std::fwrite(out.data(), 1, out.size(), stdout) != out.size()) return false;
    return std::fflush(stdout) == 0;
}

// Written whole or not at all: a failed write leaves no half file behind.
bool WriteWholeFile(const std::string& path, const std::string& bytes, std::string& error) {
    FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) {
        error = "cannot create " + path;
        return false;
    }
    bool ok = bytes.empty() || std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
    ok = std::fclose(f) == 0 && ok;
    if (!ok) {
        std::remove(path.c_str());
        error = "cannot write " + path;
    }
    return ok;
}

std::vector<std::string> FolderDriveFiles(const std::string& folder, std::string& error) {
    std::vector<std::string> files;
    std::error_code ec;
    fs::directory_iterator it(fs::u8path(folder), ec), end;
    if (ec) {
        error = folder + ": " + ec.message();
        return files;
    }
    // A folder of drive files is small; a bound keeps a huge one from running away.
    constexpr size_t kMaxFolderEntries = 100000;
    for (size_t seen = 0; it != end && seen < kMaxFolderEntries; it.increment(ec), ++seen) {
        if (ec) break;
        const fs::path& p = it->path();
        if (p.extension() == ".drive" && it->is_regular_file(ec)) files.push_back(p.u8string());
    }
    std::sort(files.begin(), files.end());
    return files;
}

int RunDrives(const ReportOptions& options) {
    std::vector<DriveFile> drives;
    std::string error;
    if (!LoadNamedDriveFiles(options, drives, error)) {
        ReportError(error);
        return kExitDriveFailed;
    }
    std::vector<ListedDrive> listed;
    DriveCost cost;
    cost.simulated = true;
    for (const DriveFile& d : drives) listed.push_back(ListEmulatedDrive(d, cost));
    SortListedDrives(listed);
    std::string out = options.json ? JsonText(DrivesJson(listed)) : FormatDriveList(listed);
    int status = WriteStdout(out) ? kExitOk : kExitDriveFailed;
    if (options.stats) std::fputs(FormatDriveCost(cost).c_str(), stderr);
    return status;
}

// The progress line ends before any error is printed.
bool CaptureWithProgress(const ReportOptions& options, ReportDrive& drive, std::string& error) {
    CProgressLine progress(CProgressLine::TerminalStderr());
    CaptureRequest request{options.operands[0], options.hasSectors, options.sectors, TodayText(), &progress};
    return CaptureDrive(drive, request, error);
}

}  // namespace

void ReportError(const std::string& message) {
    std::fprintf(stderr, "vexlon-report: %s\n", message.c_str());
}

std::string FormatDriveCost(const DriveCost& cost) {
    std::string out = "commands: " + std::to_string(cost.commands) + "\n";
    out += "sectors: " + std::to_string(cost.sectors) + "\n";
    if (cost.simulated) out += "simulated-ms: " + std::to_string(std::llround(cost.simulatedMs)) + "\n";
    return out;
}

int RunOnOpenDrive(const ReportOptions& options, ReportDrive& drive) {
    std::string out, error;
    if (options.command == "capture") {
        if (CaptureWithProgress(options, drive, error)) return kExitOk;
        ReportError(error);
        return kExitDriveFailed;
    }
    if (options.command == "files" && !options.json && options.operands.empty()) {
        // Streamed as it is made: a listing is never held whole.
        CFileSink sink(stdout);
        bool written = FilesReport(*drive.device, sink);
        return std::fflush(stdout) == 0 && written ? kExitOk : kExitDriveFailed;
    }
    bool toFile = options.command == "report" && options.operands.size() == 1;
    std::vector<std::string> operands = toFile ? std::vector<std::string>{} : options.operands;
    bool ran = options.json ? RunJsonCommand(options.command, drive, out, error)
                            : RunReportCommand(options.command, operands, drive, out, error);
    if (!ran) {
        ReportError(error);
        return kExitDriveFailed;
    }
    if (toFile) {
        if (WriteWholeFile(options.operands[0], out, error)) return kExitOk;
        ReportError(error);
        return kExitDriveFailed;
    }
    return WriteStdout(out) ? kExitOk : kExitDriveFailed;
}

bool LoadNamedDriveFiles(const ReportOptions& options, std::vector<DriveFile>& drives, std::string& error) {
    std::vector<std::string> names = options.driveFiles;
    for (const std::string& folder : options.driveFolders) {
        std::vector<std::string> files = FolderDriveFiles(folder, error);
        if (!error.empty()) return false;
        names.insert(names.end(), files.begin(), files.end());
    }
    for (const std::string& name : names) {
        DriveFile file;
        if (!LoadDriveFile(name, file, error)) return false;
        drives.push_back(std::move(file));
    }
    ApplyLoadOrderDefaults(drives);
    return true;
}

int RunOnDriveFile(const ReportOptions& options) {
    if (options.command == "drives") return RunDrives(options);
    std::vector<DriveFile> one;
    std::string error;
    if (!LoadNamedDriveFiles(options, one, error)) {
        ReportError(error);
        return kExitDriveFailed;
    }
    CMmcTarget target(one[0]);
    CEmulatedDevice emulated(target);
    CCountingDevice device(emulated);
    const DriveFile& file = one[0];
    ReportDrive drive{&device, file.letter ? file.letter : 'A', file.address[0], file.address[2],
                      file.address[3], file.path, file.address[1]};
    int status = RunOnOpenDrive(options, drive);
    if (options.stats) {
        DriveCost cost{device.Commands(), device.Sectors(), true, target.ClockMs()};
        std::fputs(FormatDriveCost(cost).c_str(), stderr);
    }
    return status;
}
