// vexlon-report: the console companion of Vexlon Inspector.

#include <cstdio>
#include <cstring>
#include <string>

#include "emulation/DriveFile.h"
#include "emulation/EmulatedDevice.h"
#include "report/ReportCommands.h"

#ifdef VEXLON_REAL_DEVICES
#include <fcntl.h>
#include <io.h>

#include "device/SptiDevice.h"
#endif

namespace {

int Fail(const std::string& message) {
    std::fprintf(stderr, "vexlon-report: %s\n", message.c_str());
    return 2;
}

int Emit(bool ok, const std::string& out, const std::string& error) {
    if (!ok) return Fail(error);
    std::fwrite(out.data(), 1, out.size(), stdout);
    return std::fflush(stdout) == 0 ? 0 : 1;
}

int RunOnDriveFile(const std::string& fileName, const std::string& command, const std::vector<std::string>& args) {
    DriveFile file;
    std::string error;
    if (!LoadDriveFile(fileName, file, error)) return Fail(error);
    std::vector<DriveFile> one; one.push_back(std::move(file));
    ApplyLoadOrderDefaults(one);
    CMmcTarget target(one[0]);
    CEmulatedDevice device(target);
    ReportDrive drive{&device, one[0].letter ? one[0].letter : 'A', one[0].address[0],
                      one[0].address[2], one[0].address[3], one[0].path};
    std::string out;
    bool ok = RunReportCommand(command, args, drive, out, error);
    return Emit(ok, out, error);
}

#ifdef VEXLON_REAL_DEVICES
int RunOnDevice(const std::string& name, const std::string& command, const std::vector<std::string>& args) {
    if (name.size() < 1 || name.size() > 2 || (name.size() == 2 && name[1] != ':'))
        return Fail("--device takes a drive letter such as E:");
    char letter = static_cast<char>(name[0] & ~0x20);
    if (letter < 'A' || letter > 'Z') return Fail("--device takes a drive letter such as E:");
    CSptiDevice device;
    if (!device.OpenDriveLetter(static_cast<uint32_t>(letter - 'A')))
        return Fail("cannot open drive " + std::string(1, letter) + ":");
    const SCSI_ADDRESS& a = device.Address();
    // A volume path has no interface part: the Interface line stays empty.
    ReportDrive drive{&device, letter, a.PortNumber, a.TargetId, a.Lun, std::string("\\\\.\\") + letter + ":"};
    std::string out, error;
    bool ok = RunReportCommand(command, args, drive, out, error);
    device.Close();
    return Emit(ok, out, error);
}
#endif

}  // namespace

int main(int argc, char** argv) {
#ifdef VEXLON_REAL_DEVICES
    _setmode(_fileno(stdout), _O_BINARY);
#endif
    if (argc == 2 && (!std::strcmp(argv[1], "--help") || !std::strcmp(argv[1], "-h"))) {
        std::fputs(ReportUsage(), stdout);
        return 0;
    }
    // extract carries its two operands after the command.
    bool extract = argc == 6 && !std::strcmp(argv[3], "extract");
    // sector N and dump OUT carry one.
    bool oneOperand = argc == 5 && (!std::strcmp(argv[3], "sector") || !std::strcmp(argv[3], "dump"));
    if (argc != 4 && !extract && !oneOperand) {
        std::fputs(ReportUsage(), stderr);
        return 2;
    }
    std::string option = argv[1], source = argv[2], command = argv[3];
    std::vector<std::string> args(argv + 4, argv + argc);
    if (option == "--drive") return RunOnDriveFile(source, command, args);
#ifdef VEXLON_REAL_DEVICES
    if (option == "--device") return RunOnDevice(source, command, args);
#endif
    return Fail("unknown option '" + option + "' (see --help)");
}
