// The seam over the real Windows calls.

#include "device/OsSeam.h"

#include <uxtheme.h>

namespace {

class CWin32Seam final : public COsSeam {
public:
    HANDLE CreateFileA(LPCSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                       DWORD disposition, DWORD flags, HANDLE templateFile) override {
        return ::CreateFileA(name, access, share, security, disposition, flags, templateFile);
    }
    BOOL DeviceIoControl(HANDLE device, DWORD code, LPVOID in, DWORD inSize, LPVOID out, DWORD outSize,
                         LPDWORD returned, LPOVERLAPPED overlapped) override {
        return ::DeviceIoControl(device, code, in, inSize, out, outSize, returned, overlapped);
    }
    BOOL CloseHandle(HANDLE object) override { return ::CloseHandle(object); }
    DWORD GetLastError() override { return ::GetLastError(); }
    int MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR caption, UINT type) override {
        return ::MessageBoxW(owner, text, caption, type);
    }
    HDEVINFO SetupDiGetClassDevsW(const GUID* classGuid, PCWSTR enumerator, HWND parent,
                                  DWORD flags) override {
        return ::SetupDiGetClassDevsW(classGuid, enumerator, parent, flags);
    }
    BOOL SetupDiEnumDeviceInterfaces(HDEVINFO set, PSP_DEVINFO_DATA info, const GUID* guid, DWORD index,
                                     PSP_DEVICE_INTERFACE_DATA data) override {
        return ::SetupDiEnumDeviceInterfaces(set, info, guid, index, data);
    }
    BOOL SetupDiGetDeviceInterfaceDetailW(HDEVINFO set, PSP_DEVICE_INTERFACE_DATA data,
                                          PSP_DEVICE_INTERFACE_DETAIL_DATA_W detail, DWORD size,
                                          PDWORD required, PSP_DEVINFO_DATA info) override {
        return ::SetupDiGetDeviceInterfaceDetailW(set, data, detail, size, required, info);
    }
    BOOL SetupDiGetDeviceInterfaceDetailA(HDEVINFO set, PSP_DEVICE_INTERFACE_DATA data,
                                          PSP_DEVICE_INTERFACE_DETAIL_DATA_A detail, DWORD size,
                                          PDWORD required, PSP_DEVINFO_DATA info) override {
        return ::SetupDiGetDeviceInterfaceDetailA(set, data, detail, size, required, info);
    }
    BOOL SetupDiDestroyDeviceInfoList(HDEVINFO set) override { return ::SetupDiDestroyDeviceInfoList(set); }
    DWORD GetLogicalDrives() override { return ::GetLogicalDrives(); }
    DWORD QueryDosDeviceA(LPCSTR name, LPSTR target, DWORD size) override {
        return ::QueryDosDeviceA(name, target, size);
    }
    BOOL IsThemeActive() override { return ::IsThemeActive(); }
};

}  // namespace

COsSeam& RealOs() {
    static CWin32Seam seam;
    return seam;
}
