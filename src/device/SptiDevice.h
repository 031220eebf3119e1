#pragma once
// The drive behind Windows' SCSI pass-through interface.

#include <windows.h>
#include <winioctl.h>
#include <ntddscsi.h>

#include "device/Device.h"

// The Win32 error text in a topmost error box with an empty caption.
void ShowErrorBox(DWORD code);

// CreateFileA for read and write, then once more read-only.
HANDLE OpenDevicePath(const char* path);

constexpr DWORD kIoctlScsiPassThroughDirect = 0x4D014;
constexpr DWORD kIoctlScsiGetAddress = 0x41018;
constexpr DWORD kIoctlStorageGetDeviceNumber = 0x2D1080;
constexpr DWORD kIoctlCdromExclusiveAccess = 0x2C05C;
constexpr DWORD kFsctlLockVolume = 0x90018;
constexpr DWORD kFsctlIsVolumeMounted = 0x90028;
constexpr DWORD kFsctlDismountVolume = 0x90020;

// The pass-through request: the structure and the sense bytes right after it.
struct PassThroughBlock {
    SCSI_PASS_THROUGH_DIRECT spt;
    UCHAR sense[32];
};
static_assert(sizeof(SCSI_PASS_THROUGH_DIRECT) == 56, "the 64-bit layout");
static_assert(sizeof(PassThroughBlock) == 88, "one 88-byte request block");

// CDROM_EXCLUSIVE_ACCESS and CDROM_EXCLUSIVE_LOCK, laid out here because
// not every SDK ships them.
struct ExclusiveAccessRequest {
    DWORD requestType;
    DWORD flags;
};
struct ExclusiveLockRequest {
    ExclusiveAccessRequest access;
    UCHAR callerName[64];
};
static_assert(sizeof(ExclusiveLockRequest) == 72, "CDROM_EXCLUSIVE_LOCK is 72 bytes");

class CSptiDevice final : public CDevice {
public:
    CSptiDevice() = default;
    ~CSptiDevice() = default;  // an attached handle belongs to its opener

    bool Open(const char* path) override;
    bool OpenDriveLetter(uint32_t index) override;
    bool Lock() override;
    bool ExecuteCommand(const ScsiCommand& command, ScsiResult* result) override;
    bool Unlock() override;
    bool Close() override;

    bool Attach(HANDLE device, bool exclusive);
    const SCSI_ADDRESS& Address() const { return scsiAddress; }
    HANDLE Handle() const { return static_cast<HANDLE>(handle); }

    uint8_t lastCdb[16] = {};
    uint8_t lastSense[32] = {};
    bool exclusiveAccess = false;

private:
    bool LockVolume();
    SCSI_ADDRESS scsiAddress = {};
};
