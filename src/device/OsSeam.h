#pragma once
// Every operating-system call of the device layer, and the theme question of
// the pages, goes through one COsSeam.
// The product uses the real Windows calls; the demo build and the Windows
// tests install the emulated seam, which answers the same calls and IOCTLs
// from emulated drives, so the real request-block and enumeration code runs
// unchanged against them.

#include <windows.h>
#include <setupapi.h>

class COsSeam {
public:
    virtual HANDLE CreateFileA(LPCSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                               DWORD disposition, DWORD flags, HANDLE templateFile) = 0;
    virtual BOOL DeviceIoControl(HANDLE device, DWORD code, LPVOID in, DWORD inSize, LPVOID out,
                                 DWORD outSize, LPDWORD returned, LPOVERLAPPED overlapped) = 0;
    virtual BOOL CloseHandle(HANDLE object) = 0;
    virtual DWORD GetLastError() = 0;
    virtual int MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR caption, UINT type) = 0;

    virtual HDEVINFO SetupDiGetClassDevsW(const GUID* classGuid, PCWSTR enumerator, HWND parent,
                                          DWORD flags) = 0;
    virtual BOOL SetupDiEnumDeviceInterfaces(HDEVINFO set, PSP_DEVINFO_DATA info, const GUID* guid,
                                             DWORD index, PSP_DEVICE_INTERFACE_DATA data) = 0;
    virtual BOOL SetupDiGetDeviceInterfaceDetailW(HDEVINFO set, PSP_DEVICE_INTERFACE_DATA data,
                                                  PSP_DEVICE_INTERFACE_DETAIL_DATA_W detail, DWORD size,
                                                  PDWORD required, PSP_DEVINFO_DATA info) = 0;
    virtual BOOL SetupDiGetDeviceInterfaceDetailA(HDEVINFO set, PSP_DEVICE_INTERFACE_DATA data,
                                                  PSP_DEVICE_INTERFACE_DETAIL_DATA_A detail, DWORD size,
                                                  PDWORD required, PSP_DEVINFO_DATA info) = 0;
    virtual BOOL SetupDiDestroyDeviceInfoList(HDEVINFO set) = 0;
    virtual DWORD GetLogicalDrives() = 0;
    virtual DWORD QueryDosDeviceA(LPCSTR name, LPSTR target, DWORD size) = 0;
    // Whether a visual style is in force; the pages choose their colours by it.
    virtual BOOL IsThemeActive() = 0;

protected:
    ~COsSeam() = default;
};

// The seam in force: the real Windows one unless another was installed.
COsSeam& Os();
// Installs `seam` (null: back to the real one); returns the previous one.
COsSeam* SetOs(COsSeam* seam);
COsSeam& RealOs();
