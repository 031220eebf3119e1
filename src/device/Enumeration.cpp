#include "device/Enumeration.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "device/Commands.h"
#include "device/OsSeam.h"
#include "device/SptiDevice.h"

namespace {

const GUID kCdromInterface = {0x53F56308, 0xB6BF, 0x11D0, {0x94, 0xF2, 0x00, 0xA0, 0xC9, 0x1E, 0xFB, 0x8B}};

uint32_t QueryDeviceNumber(HANDLE device) {
    DWORD number[3] = {};
    DWORD returned = 0;
    if (!Os().DeviceIoControl(device, kIoctlStorageGetDeviceNumber, nullptr, 0, number, sizeof number, &returned,
                              nullptr))
        return 0;
    return number[1];
}

bool WritesRecordableMedia(CDevice& device) {
    DriveCapabilities caps{};
    ReadCapabilities(device, caps);
    return (caps.pageBits & (1u << 10)) || (caps.mediaFeatureBits & ((1u << 19) | (1u << 28) | (1u << 29)));
}

// The interface path of member `index`, or false when the member is skipped.
bool InterfacePath(HDEVINFO set, DWORD index, SP_DEVICE_INTERFACE_DATA& data, std::string& path) {
    DWORD required = 0;
    Os().SetupDiGetDeviceInterfaceDetailW(set, &data, nullptr, 0, &required, nullptr);
    if (required == 0 || required > kMaxInterfaceDetail) return false;
    auto* detail = static_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_A*>(std::calloc(1, required));
    if (!detail) return false;
    detail->cbSize = sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_A);
    SP_DEVINFO_DATA info{};
    info.cbSize = sizeof info;
    bool ok = Os().SetupDiGetDeviceInterfaceDetailA(set, &data, detail, required, nullptr, &info) == TRUE;
    // The ANSI detail may need fewer bytes than the wide one; never read past what we own.
    if (ok) path.assign(detail->DevicePath, strnlen(detail->DevicePath, required - offsetof(SP_DEVICE_INTERFACE_DETAIL_DATA_A, DevicePath)));
    std::free(detail);
    (void)index;
    return ok;
}

}  // namespace

char FindDriveLetter(uint32_t deviceNumber) {
    char target[32];
    std::snprintf(target, sizeof target, "\\Device\\CdRom%u", deviceNumber);
    DWORD mask = Os().GetLogicalDrives();
    for (int i = 0; i < 32; ++i) {
        if (!(mask & (1u << i))) continue;
        char name[3] = {static_cast<char>('A' + i), ':', 0};
        char answer[64 + 1] = {};
        if (Os().QueryDosDeviceA(name, answer, 64) && _stricmp(answer, target) == 0)
            return static_cast<char>('A' + i);
    }
    // Deliberately a real letter: a drive without one is listed as A.
    return 'A';
}

int32_t EnumerateDrives(DriveList& list, bool capabilityFilter) {
    HDEVINFO set = Os().SetupDiGetClassDevsW(&kCdromInterface, nullptr, nullptr, DIGCF_PRESENT | DIGCF_DEVICEINTERFACE);
    if (set == INVALID_HANDLE_VALUE) return 0;
    int32_t count = 0;
    SP_DEVICE_INTERFACE_DATA data{};
    data.cbSize = sizeof data;
    for (DWORD index = 0; Os().SetupDiEnumDeviceInterfaces(set, nullptr, &kCdromInterface, index, &data); ++index) {
        std::string path;
        if (!InterfacePath(set, index, data, path)) continue;
        CSptiDevice device;
        if (!device.Open(path.c_str())) continue;
        if (capabilityFilter && !WritesRecordableMedia(device)) {
            device.Close();
            continue;
        }
        DriveEntry entry{};
        entry.letter = FindDriveLetter(QueryDeviceNumber(device.Handle()));
        entry.devicePath = path;
        uint8_t inquiry[kInquiryLength] = {};
        Inquiry(device, inquiry);
        char identification[32];
        FormatIdentification(inquiry, identification, sizeof identification);
        ReadCapabilities(device, entry.capabilities);
        const SCSI_ADDRESS& a = device.Address();
        FormatDisplayText(entry.displayText, a.PortNumber, a.TargetId, a.Lun, identification, entry.letter);
        list.push_back(entry);
        ++count;
        device.Close();
    }
    Os().SetupDiDestroyDeviceInfoList(set);
    if (count > 0) SortDriveList(list);
    return count;
}
