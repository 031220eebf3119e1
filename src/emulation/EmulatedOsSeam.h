#pragma once
// The OS seam of the demo build and the Windows tests: opens, IOCTLs and
// Setup API enumeration answered from emulated drives. Pass-through blocks
// are interpreted byte for byte, so CSptiDevice runs unchanged against it.

#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "device/OsSeam.h"
#include "emulation/MmcTarget.h"

class CEmulatedOsSeam final : public COsSeam {
public:
    struct Call {
        std::string name;
        DWORD code;              // IOCTL code, or 0
        std::vector<BYTE> in;    // the input bytes as they were sent
        DWORD inSize, outSize;
        BOOL result;
    };

    CEmulatedOsSeam() = default;
    ~CEmulatedOsSeam();

    // Appends one line per pass-through command to `path`, so that a test
    // outside the process can see what the program sent.
    bool OpenTranscript(const char* path);

    // Takes the drives in enumeration order; load-order defaults applied.
    void SetDrives(std::vector<DriveFile> files);
    size_t DriveCount() const { return drives.size(); }
    CMmcTarget& Drive(size_t index) { return *drives[index]; }

    // Knobs the tests turn to reach the paths a real system takes.
    bool denyReadWrite = false;   // opens for writing are refused: read-only handles
    bool failGetAddress = false;
    bool lockVolumeFails = false;
    bool volumeMounted = true;
    bool failClassQuery = false;
    // The visual style the pages are told of; unset, the real system's answer.
    std::optional<bool> themeActive;
    int themeQueries = 0;          // counted, not logged: every paint asks

    std::vector<Call> calls;      // every call made, the first 100000
    int messageBoxes = 0;
    std::wstring lastMessageText, lastMessageCaption;
    UINT lastMessageType = 0;

    HANDLE CreateFileA(LPCSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                       DWORD disposition, DWORD flags, HANDLE templateFile) override;
    BOOL DeviceIoControl(HANDLE device, DWORD code, LPVOID in, DWORD inSize, LPVOID out, DWORD outSize,
                         LPDWORD returned, LPOVERLAPPED overlapped) override;
    BOOL CloseHandle(HANDLE object) override;
    DWORD GetLastError() override { return lastError; }
    int MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR caption, UINT type) override;
    HDEVINFO SetupDiGetClassDevsW(const GUID* classGuid, PCWSTR enumerator, HWND parent, DWORD flags) override;
    BOOL SetupDiEnumDeviceInterfaces(HDEVINFO set, PSP_DEVINFO_DATA info, const GUID* guid, DWORD index,
                                     PSP_DEVICE_INTERFACE_DATA data) override;
    BOOL SetupDiGetDeviceInterfaceDetailW(HDEVINFO set, PSP_DEVICE_INTERFACE_DATA data,
                                          PSP_DEVICE_INTERFACE_DETAIL_DATA_W detail, DWORD size,
                                          PDWORD required, PSP_DEVINFO_DATA info) override;
    BOOL SetupDiGetDeviceInterfaceDetailA(HDEVINFO set, PSP_DEVICE_INTERFACE_DATA data,
                                          PSP_DEVICE_INTERFACE_DETAIL_DATA_A detail, DWORD size,
                                          PDWORD required, PSP_DEVINFO_DATA info) override;
    BOOL SetupDiDestroyDeviceInfoList(HDEVINFO set) override;
    DWORD GetLogicalDrives() override;
    DWORD QueryDosDeviceA(LPCSTR name, LPSTR target, DWORD size) override;
    BOOL IsThemeActive() override;

private:
    struct OpenHandle {
        size_t drive;
        bool writable;
        bool volume;  // opened by drive letter
        bool inUse;
    };

    OpenHandle* Find(HANDLE h);
    BOOL Fail(DWORD error);
    void Record(const char* name, DWORD code, const void* in, DWORD inSize, DWORD outSize, BOOL result);
    BOOL PassThrough(OpenHandle& h, LPVOID in, DWORD inSize, LPVOID out, DWORD outSize, LPDWORD returned);
    BOOL Ioctl(OpenHandle& h, DWORD code, LPVOID in, DWORD inSize, LPVOID out, DWORD outSize, LPDWORD returned);

    std::vector<std::unique_ptr<CMmcTarget>> drives;
    std::vector<OpenHandle> handles;
    DWORD lastError = 0;
    FILE* transcript = nullptr;
};
