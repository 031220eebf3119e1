#include "pages/DriveInfo.h"

#include <cstdio>
#include <cstring>

#include "device/Capabilities.h"
#include "device/Commands.h"
#include "device/TidyCopy.h"

namespace {

std::string Tidy(const uint8_t* bytes, size_t n) {
    char text[32] = {};
    TidyCopy(text, bytes, n);
    return text;
}

std::string Decimal(unsigned value) {
    char text[16];
    std::snprintf(text, sizeof text, "%u", value);
    return text;
}

}  // namespace

bool InterfaceFromPath(const std::string& devicePath, std::string& name) {
    if (devicePath.size() < 4) return false;
    const std::string rest = devicePath.substr(4);
    if (rest.compare(0, 3, "ide") == 0) name = "Ide";
    else if (rest.compare(0, 4, "scsi") == 0) name = "Scsi";
    else if (rest.compare(0, 7, "usbstor") == 0) name = "Usb";
    else return false;
    return true;
}

std::string SerialFromFeature(const uint8_t* answer44) {
    char serial[33] = {};
    std::memcpy(serial, answer44 + 12, 32);
    // The serial number ends at its first space; one starting with a space is empty.
    for (char& c : serial)
        if (c == ' ') c = 0;
    return std::string(serial, strnlen(serial, 32));
}

std::string RegionCodeText(uint8_t regionMask) {
    std::string text;
    for (int n = 1; n <= 8; ++n)
        if (!(regionMask & (1u << (n - 1)))) text += static_cast<char>('0' + n);
    return text;
}

DriveInfo ReadDriveInfo(CDevice& device, const std::string& devicePath) {
    DriveInfo info;
    uint8_t inquiry[kInquiryLength] = {};
    Inquiry(device, inquiry);
    info.vendor = Tidy(inquiry + 8, 8);
    info.model = Tidy(inquiry + 16, 16);
    info.firmware = Tidy(inquiry + 32, 4);
    info.date = Tidy(inquiry + 36, 20);
    info.hasInterface = InterfaceFromPath(devicePath, info.interfaceName);

    uint8_t serial[44] = {};
    GetConfiguration(device, 0x0108, 2, serial, sizeof serial);
    info.serialNumber = SerialFromFeature(serial);

    DriveCapabilities caps{};
    ReadCapabilities(device, caps);
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%d KB", caps.bufferSize);
    info.bufferSize = buffer;

    RpcState rpc{};
    ReadRpcState(device, rpc);
    info.regionCode = RegionCodeText(rpc.regionMask);
    info.regionControl = rpc.rpcScheme == 1 ? "RPC II" : "";
    info.userChangesLeft = Decimal(rpc.userChanges);
    info.vendorChangesLeft = Decimal(rpc.vendorResets);
    return info;
}

std::string FormatDriveInfo(const DriveInfo& info) {
    const std::pair<const char*, const std::string*> rows[] = {
        {"Vendor:", &info.vendor},
        {"Model:", &info.model},
        {"Firmware:", &info.firmware},
        {"Date:", &info.date},
        {"Interface:", &info.interfaceName},
        {"Serial Number:", &info.serialNumber},
        {"Buffer Size:", &info.bufferSize},
        {"Region Code:", &info.regionCode},
        {"Region Control:", &info.regionControl},
        {"User Changes Left:", &info.userChangesLeft},
        {"Vendor Changes Left:", &info.vendorChangesLeft},
    };
    std::string out;
    for (const auto& row : rows) {
        out += row.first;
        out += ' ';
        out += *row.second;
        out += '\n';
    }
    return out;
}
