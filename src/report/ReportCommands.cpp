#include "report/ReportCommands.h"

#include <cstdio>

#include "device/Capabilities.h"
#include "device/Commands.h"
#include "device/TidyCopy.h"
#include "pages/DriveInfo.h"
#include "report/UdfReport.h"
#include "pages/FeatureLabels.h"
#include "pages/MediaReport.h"
#include "pages/DiscDump.h"
#include "pages/SectorView.h"
#include "report/ProgressLine.h"
#include "report/ReportCommandLine.h"
#include "report/WholeReport.h"

namespace {

void Line(std::string& out, const char* name, const char* value) {
    out += name;
    out += ": ";
    out += value;
    out += "\n";
}

void Decimal(std::string& out, const char* name, unsigned long value) {
    char text[32];
    std::snprintf(text, sizeof text, "%lu", value);
    Line(out, name, text);
}

void HexWord(std::string& out, const char* name, uint32_t value) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", value);
    Line(out, name, text);
}

}  // namespace

DriveIds ReadDriveIds(ReportDrive& drive) {
    uint8_t inquiry[kInquiryLength] = {};
    Inquiry(*drive.device, inquiry);
    char vendor[9], product[17], identification[32], display[kDisplayTextSize];
    TidyCopy(vendor, inquiry + 8, 8);
    TidyCopy(product, inquiry + 16, 16);
    FormatIdentification(inquiry, identification, sizeof identification);
    FormatDisplayText(display, drive.port, drive.target, drive.lun, identification, drive.letter);
    return {vendor, product, display};
}

std::string IdsReport(ReportDrive& drive) { return FormatDriveIds(ReadDriveIds(drive)); }

std::string FormatDriveIds(const DriveIds& ids) {
    std::string out;
    Line(out, "Vendor", ids.vendor.c_str());
    Line(out, "Product", ids.product.c_str());
    Line(out, "Selector", ids.selector.c_str());
    return out;
}

std::string CapabilitiesReport(CDevice& device) {
    DriveCapabilities caps{};
    ReadCapabilities(device, caps);
    return FormatCapabilities(caps);
}

std::string FormatCapabilities(const DriveCapabilities& caps) {
    std::string out;
    HexWord(out, "page bits", caps.pageBits);
    Decimal(out, "loading mechanism", caps.loadingMechanism);
    Decimal(out, "page byte 7 bits", caps.pageByte7Bits);
    Decimal(out, "buffer size", caps.bufferSize);
    Decimal(out, "maximum read speed", caps.maxReadSpeed);
    Decimal(out, "maximum write speed", caps.maxWriteSpeed);
    Decimal(out, "current read speed", caps.currentReadSpeed);
    Decimal(out, "current write speed", caps.currentWriteSpeed);
    HexWord(out, "media feature bits", caps.mediaFeatureBits);
    HexWord(out, "drive feature bits", caps.driveFeatureBits);
    return out;
}

bool RunReportCommand(const std::string& command, ReportDrive& drive, std::string& out,
                      std::string& error) {
    if (command == "ids") {
        out += IdsReport(drive);
        return true;
    }
    if (command == "drive") {
        out += FormatDriveInfo(ReadDriveInfo(*drive.device, drive.devicePath));
        return true;
    }
    if (command == "capabilities") {
        out += CapabilitiesReport(*drive.device);
        return true;
    }
    if (command == "features") {
        DriveCapabilities caps{};
        ReadCapabilities(*drive.device, caps);
        out += FormatFeatureStates(caps);
        return true;
    }
    if (command == "media") {
        out += MediaReport(*drive.device);
        return true;
    }
    if (command == "files") {
        out += FilesReport(*drive.device);
        return true;
    }
    if (command == "report") {
        out += WholeReport(drive, TodayText());
        return true;
    }
    error = "unknown command '" + command + "' (see --help)";
    return false;
}

bool RunReportCommand(const std::string& command, const std::vector<std::string>& arguments, ReportDrive& drive,
                      std::string& out, std::string& error) {
    if (command == "extract") {
        if (arguments.size() != 2) {
            error = "extract takes PATH OUT";
            return false;
        }
        // The progress line ends (its scope) before any error is printed.
        CProgressLine progress(CProgressLine::TerminalStderr());
        return ExtractReport(*drive.device, arguments[0], arguments[1], error, &progress);
    }
    if (command == "sector") {
        uint32_t lba = 0;
        if (arguments.size() != 1 || !ParseSectorNumber(arguments[0], lba)) {
            error = "sector takes one sector number from 0 to 4294967295";
            return false;
        }
        out += ReadSectorText(*drive.device, lba);
        return true;
    }
    if (command == "dump") {
        if (arguments.size() != 1) {
            error = "dump takes OUT";
            return false;
        }
        DumpOutcome outcome;
        {
            CProgressLine progress(CProgressLine::TerminalStderr());
            outcome = DumpDisc(*drive.device, arguments[0].c_str(), nullptr, &progress);
        }
        switch (outcome) {
        case DumpOutcome::Written: return true;
        case DumpOutcome::NoVolume: error = "no UDF volume on the disc: nothing dumped"; return false;
        case DumpOutcome::NothingToCopy: error = "no sectors lie before the first file data: nothing dumped"; return false;
        case DumpOutcome::CannotOpen: error = "cannot create " + arguments[0]; return false;
        }
        return false;
    }
    if (!arguments.empty()) {
        error = "command '" + command + "' takes no arguments";
        return false;
    }
    return RunReportCommand(command, drive, out, error);
}

const char* ReportUsage() { return ReportHelpText().c_str(); }
