#pragma once
// The report tool's commands, each printing what a page shows for one drive.

#include <string>
#include <vector>

#include "device/Capabilities.h"
#include "device/Device.h"

struct ReportDrive {
    CDevice* device;
    char letter;
    uint8_t port, target, lun;  // the SCSI address as the selector shows it
    std::string devicePath;     // as enumeration reports it
    uint8_t pathId = 0;         // the SCSI address's PathId, kept in captures
};

// Runs `command` on the drive, appending its text to `out`; false with a
// message in `error` for an unknown command.
bool RunReportCommand(const std::string& command, ReportDrive& drive, std::string& out,
                      std::string& error);

// The same with the command's own arguments (extract PATH OUT).
bool RunReportCommand(const std::string& command, const std::vector<std::string>& arguments, ReportDrive& drive,
                      std::string& out, std::string& error);

// The tidied INQUIRY ids and the drive selector's text.
struct DriveIds {
    std::string vendor, product, selector;
};
DriveIds ReadDriveIds(ReportDrive& drive);
// Vendor:, Product:, Selector: lines.
std::string FormatDriveIds(const DriveIds& ids);

std::string IdsReport(ReportDrive& drive);
std::string CapabilitiesReport(CDevice& device);
// The capability record as CapabilitiesReport prints it.
std::string FormatCapabilities(const DriveCapabilities& caps);

const char* ReportUsage();
