// vexlon-report: the console companion of Vexlon Inspector.

#include <cstdio>
#include <string>

#include "report/ReportCommandLine.h"
#include "report/ReportSession.h"

#ifdef VEXLON_REAL_DEVICES
#include <fcntl.h>
#include <io.h>

#include "device/Enumeration.h"
#include "device/SptiDevice.h"
#include "report/CountingDevice.h"
#include "report/ReportDrives.h"
#include "report/ReportJson.h"
#endif

#ifdef VEXLON_SG_DEVICES
#include "device/SgIoDevice.h"
#include "report/CountingDevice.h"
#endif

namespace {

#ifdef VEXLON_SG_DEVICES
int RunOnSgDevice(const ReportOptions& options) {
    CSgIoDevice sg(LinuxSgSeam());
    if (!sg.Open(options.device.c_str())) {
        ReportError(sg.OpenError());
        return kExitDriveFailed;
    }
    CCountingDevice device(sg);
    // Linux names drives by path: the selector's letter and the SCSI address stay unknown.
    ReportDrive drive{&device, '?', 0, 0, 0, options.device, 0};
    int status = RunOnOpenDrive(options, drive);
    sg.Close();
    if (options.stats) std::fputs(FormatDriveCost({device.Commands(), device.Sectors(), false, 0}).c_str(), stderr);
    return status;
}
#endif

#ifdef VEXLON_REAL_DEVICES
bool ParseLetter(const std::string& name, char& letter) {
    if (name.size() < 1 || name.size() > 2 || (name.size() == 2 && name[1] != ':')) return false;
    letter = static_cast<char>(name[0] & ~0x20);
    return letter >= 'A' && letter <= 'Z';
}

int RunOnDevice(const ReportOptions& options) {
    char letter = 0;
    if (!ParseLetter(options.device, letter)) {
        std::fprintf(stderr, "usage: vexlon-report: --device takes a drive letter such as E:, not '%s'\n",
                     options.device.c_str());
        return kExitUsage;
    }
    CSptiDevice spti;
    if (!spti.OpenDriveLetter(static_cast<uint32_t>(letter - 'A'))) {
        ReportError("cannot open drive " + std::string(1, letter) + ": as an optical drive");
        return kExitDriveFailed;
    }
    CCountingDevice device(spti);
    const SCSI_ADDRESS& a = spti.Address();
    // A volume path has no interface part: the Interface line stays empty.
    ReportDrive drive{&device, letter, a.PortNumber, a.TargetId, a.Lun, std::string("\\\\.\\") + letter + ":",
                      a.PathId};
    int status = RunOnOpenDrive(options, drive);
    spti.Close();
    if (options.stats) std::fputs(FormatDriveCost({device.Commands(), device.Sectors(), false, 0}).c_str(), stderr);
    return status;
}

int ListRealDrives(const ReportOptions& options) {
    DriveList list;
    EnumerateDrives(list, false);
    std::vector<ListedDrive> listed;
    for (const DriveEntry& e : list) {
        ListedDrive d;
        d.selector = e.displayText;
        d.letter = e.letter;
        d.devicePath = e.devicePath;
        CSptiDevice spti;
        if (spti.OpenDriveLetter(static_cast<uint32_t>(e.letter - 'A'))) {
            const SCSI_ADDRESS& a = spti.Address();
            d.address[0] = a.PortNumber, d.address[1] = a.PathId, d.address[2] = a.TargetId, d.address[3] = a.Lun;
            spti.Close();
        }
        listed.push_back(d);
    }
    std::string out = options.json ? JsonText(DrivesJson(listed)) : FormatDriveList(listed);
    std::fwrite(out.data(), 1, out.size(), stdout);
    return std::fflush(stdout) == 0 ? kExitOk : kExitDriveFailed;
}
#endif

}  // namespace

int main(int argc, char** argv) {
#ifdef VEXLON_REAL_DEVICES
    _setmode(_fileno(stdout), _O_BINARY);
#endif
    if (argc <= 1) {
        std::fputs(ReportHelpText().c_str(), stderr);
        return kExitUsage;
    }
    ReportOptions options;
    std::string text;
    switch (ParseReportCommandLine(argc, argv, options, text)) {
    case CommandLineOutcome::Help:
        std::fputs(text.c_str(), stdout);
        return std::fflush(stdout) == 0 ? kExitOk : kExitDriveFailed;
    case CommandLineOutcome::UsageError:
        std::fprintf(stderr, "usage: vexlon-report: %s (see vexlon-report --help)\n", text.c_str());
        return kExitUsage;
    case CommandLineOutcome::Run: break;
    }
#ifdef VEXLON_REAL_DEVICES
    if (!options.device.empty()) return RunOnDevice(options);
    if (options.command == "drives" && options.driveFiles.empty() && options.driveFolders.empty())
        return ListRealDrives(options);
#elif defined(VEXLON_SG_DEVICES)
    if (!options.device.empty()) return RunOnSgDevice(options);
    if (options.command == "drives" && options.driveFiles.empty() && options.driveFolders.empty()) {
        ReportError("drives lists the machine's drives on Windows only; on Linux name them: --device /dev/sr0");
        return kExitUsage;
    }
#else
    if (!options.device.empty()) {
        std::fputs("usage: vexlon-report: --device needs a Windows or Linux build; use --drive FILE.drive\n", stderr);
        return kExitUsage;
    }
#endif
    return RunOnDriveFile(options);
}
