#pragma once
// One run of the report tool once its command line is checked: the drives
// it names are opened, the command runs, the output and the figures of
// --stats are written.

#include <cstdint>
#include <string>
#include <vector>

#include "emulation/DriveFile.h"
#include "report/ReportCommandLine.h"
#include "report/ReportCommands.h"

// What a drive command cost, for --stats.
struct DriveCost {
    uint64_t commands = 0;
    uint64_t sectors = 0;
    bool simulated = false;
    double simulatedMs = 0;
};

// "commands: N", "sectors: N" and, for an emulated drive, "simulated-ms: N" lines.
std::string FormatDriveCost(const DriveCost& cost);

// Runs a command on one opened drive, writing its output to standard output
// (or its OUT file); the exit status. Errors are printed.
int RunOnOpenDrive(const ReportOptions& options, ReportDrive& drive);

// The drive files named by --drive and --drives, in that order, each folder's
// *.drive files sorted by name; loaded with the load-order defaults. False
// with a message at the first file that cannot be loaded.
bool LoadNamedDriveFiles(const ReportOptions& options, std::vector<DriveFile>& drives, std::string& error);

// A command on the emulated drive of one drive file; the exit status.
int RunOnDriveFile(const ReportOptions& options);

// Prints "vexlon-report: message" on standard error.
void ReportError(const std::string& message);
