#include "device/SptiDevice.h"

#include <cstring>

#include "device/OsSeam.h"

namespace {

UCHAR DirectionFlag(DataDirection direction) {
    switch (direction) {
    case DataIn: return SCSI_IOCTL_DATA_IN;
    case DataOut: return SCSI_IOCTL_DATA_OUT;
    default: return SCSI_IOCTL_DATA_UNSPECIFIED;
    }
}

// Some port drivers cut a slow command off early; every command gets at
// least this long.
constexpr ULONG kTimeoutFloor = 65535;

bool Control(HANDLE device, DWORD code, void* in, DWORD inSize, void* out, DWORD outSize) {
    DWORD returned = 0;
    return Os().DeviceIoControl(device, code, in, inSize, out, outSize, &returned, nullptr) == TRUE;
}

}  // namespace

void ShowErrorBox(DWORD code) {
    LPWSTR text = nullptr;
    FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_FROM_SYSTEM,
                   nullptr, code, MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT), reinterpret_cast<LPWSTR>(&text),
                   256, nullptr);
    Os().MessageBoxW(nullptr, text ? text : L"", L"", MB_ICONERROR | MB_TOPMOST);
    LocalFree(text);
}

HANDLE OpenDevicePath(const char* path) {
    HANDLE h = Os().CreateFileA(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (h != INVALID_HANDLE_VALUE) return h;
    return Os().CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                            FILE_ATTRIBUTE_NORMAL, nullptr);
}

bool CSptiDevice::Attach(HANDLE device, bool exclusive) {
    handle = device;
    exclusiveAccess = exclusive;
    std::memset(&scsiAddress, 0, sizeof scsiAddress);
    Control(device, kIoctlScsiGetAddress, nullptr, 0, &scsiAddress, sizeof scsiAddress);
    LUN = scsiAddress.Lun;
    return true;
}

bool CSptiDevice::Open(const char* path) {
    HANDLE h = OpenDevicePath(path);
    if (h == INVALID_HANDLE_VALUE) return false;
    // "\\.\E:" has its colon at [5]: a volume, locked by the volume method;
    // interface paths take the exclusive-access method.
    Attach(h, path[5] != ':');
    return true;
}

bool CSptiDevice::OpenDriveLetter(uint32_t index) {
    if (index >= 26) return false;
    char path[] = "\\\\.\\A:";
    path[4] = static_cast<char>('A' + index);
    return Open(path);
}

bool CSptiDevice::Close() { return Os().CloseHandle(Handle()) == TRUE; }

bool CSptiDevice::ExecuteCommand(const ScsiCommand& command, ScsiResult* result) {
    PassThroughBlock block;
    std::memset(&block, 0, sizeof block);
    SCSI_PASS_THROUGH_DIRECT& s = block.spt;
    s.Length = sizeof(SCSI_PASS_THROUGH_DIRECT);
    s.ScsiStatus = 0;
    s.PathId = scsiAddress.PathId;
    s.TargetId = scsiAddress.TargetId;
    s.Lun = scsiAddress.Lun;
    s.CdbLength = command.cdbLength;
    s.SenseInfoLength = sizeof block.sense;
    s.DataIn = DirectionFlag(command.direction);
    s.DataTransferLength = command.transferLength;
    s.TimeOutValue = command.timeout > kTimeoutFloor ? command.timeout : kTimeoutFloor;
    s.DataBuffer = command.data;
    s.SenseInfoOffset = offsetof(PassThroughBlock, sense);
    std::memcpy(s.Cdb, command.cdb, sizeof s.Cdb);

    DWORD returned = 0;
    BOOL ok = Os().DeviceIoControl(Handle(), kIoctlScsiPassThroughDirect, &block, sizeof(SCSI_PASS_THROUGH_DIRECT),
                                   &block, sizeof block, &returned, nullptr);
    if (ok == TRUE && s.ScsiStatus == 0) return true;
    if (ok != TRUE) Os().GetLastError();

    ULONG senseLength = s.SenseInfoLength > sizeof block.sense ? sizeof block.sense : s.SenseInfoLength;
    if (result) {
        result->scsiStatus = s.ScsiStatus;
        result->transferredLength = s.DataTransferLength;
        result->senseLength = senseLength;
        std::memcpy(result->sense, block.sense, senseLength);
    }
    std::memcpy(lastCdb, command.cdb, sizeof lastCdb);
    std::memcpy(lastSense, block.sense, senseLength);
    return false;
}

bool CSptiDevice::Lock() {
    if (!exclusiveAccess) return LockVolume();
    ExclusiveLockRequest request{};
    request.access.requestType = 1;  // ExclusiveAccessLockDevice
    request.access.flags = 1;        // CDROM_LOCK_IGNORE_VOLUME
    std::memcpy(request.callerName, "Vexlon", 6);
    bool ok = Control(Handle(), kIoctlCdromExclusiveAccess, &request, sizeof request, nullptr, 0);
    if (!ok) Os().GetLastError();
    return ok;
}

bool CSptiDevice::LockVolume() {
    if (Control(Handle(), kFsctlLockVolume, nullptr, 0, nullptr, 0)) return true;
    ShowErrorBox(Os().GetLastError());
    if (!Control(Handle(), kFsctlIsVolumeMounted, nullptr, 0, nullptr, 0)) return false;
    Control(Handle(), kFsctlDismountVolume, nullptr, 0, nullptr, 0);
    return Control(Handle(), kFsctlLockVolume, nullptr, 0, nullptr, 0);
}

bool CSptiDevice::Unlock() {
    if (!exclusiveAccess) {
        // Dismounting releases the volume path; FSCTL_UNLOCK_VOLUME is not used.
        return Control(Handle(), kFsctlDismountVolume, nullptr, 0, nullptr, 0);
    }
    ExclusiveAccessRequest request{};
    request.requestType = 2;  // ExclusiveAccessUnlockDevice
    request.flags = 2;
    bool ok = Control(Handle(), kIoctlCdromExclusiveAccess, &request, sizeof request, nullptr, 0);
    if (!ok) Os().GetLastError();
    return ok;
}
