#pragma once
// What the Drive page shows for one drive, worked out from the drive's
// answers; the page and the report tool both print this.

#include <string>

#include "device/Device.h"

struct DriveInfo {
    std::string vendor, model, firmware, date;
    bool hasInterface = false;  // false: the field keeps its previous text
    std::string interfaceName;
    std::string serialNumber;
    std::string bufferSize;
    std::string regionCode, regionControl, userChangesLeft, vendorChangesLeft;
};

DriveInfo ReadDriveInfo(CDevice& device, const std::string& devicePath);

// "Ide", "Scsi" or "Usb" from the characters behind the "\\?\" prefix.
bool InterfaceFromPath(const std::string& devicePath, std::string& name);

// The serial number from a Drive Serial Number feature answer (44 bytes).
std::string SerialFromFeature(const uint8_t* answer44);

// Regions allowed by the mask (a clear bit allows), as "1".."12345678".
std::string RegionCodeText(uint8_t regionMask);

// The eleven fields as "Label value" lines, labels as the page shows them.
std::string FormatDriveInfo(const DriveInfo& info);
