#include "emulation/EmulatedOsSeam.h"

#include <cstddef>
#include <cstdio>
#include <cstring>

#include "device/SptiDevice.h"

namespace {

const GUID kCdromInterface = {0x53F56308, 0xB6BF, 0x11D0, {0x94, 0xF2, 0x00, 0xA0, 0xC9, 0x1E, 0xFB, 0x8B}};
const HDEVINFO kDeviceSet = reinterpret_cast<HDEVINFO>(static_cast<uintptr_t>(0x7E5E0000));
constexpr uintptr_t kHandleBase = 0x5E000;
constexpr size_t kMaxCalls = 100000;

bool SameText(const char* a, const std::string& b) { return _stricmp(a, b.c_str()) == 0; }

std::string LetterPath(char letter) { return std::string("\\\\.\\") + letter + ":"; }

}  // namespace

CEmulatedOsSeam::~CEmulatedOsSeam() {
    if (transcript) std::fclose(transcript);
}

bool CEmulatedOsSeam::OpenTranscript(const char* path) {
    if (transcript) std::fclose(transcript);
    transcript = std::fopen(path, "a");
    return transcript != nullptr;
}

void CEmulatedOsSeam::SetDrives(std::vector<DriveFile> files) {
    ApplyLoadOrderDefaults(files);
    drives.clear();
    handles.clear();
    for (DriveFile& f : files) drives.push_back(std::make_unique<CMmcTarget>(std::move(f)));
}

BOOL CEmulatedOsSeam::Fail(DWORD error) {
    lastError = error;
    return FALSE;
}

void CEmulatedOsSeam::Record(const char* name, DWORD code, const void* in, DWORD inSize, DWORD outSize,
                             BOOL result) {
    if (calls.size() >= kMaxCalls) return;
    Call call{name, code, {}, inSize, outSize, result};
    if (in && inSize) call.in.assign(static_cast<const BYTE*>(in), static_cast<const BYTE*>(in) + inSize);
    calls.push_back(std::move(call));
}

CEmulatedOsSeam::OpenHandle* CEmulatedOsSeam::Find(HANDLE h) {
    uintptr_t v = reinterpret_cast<uintptr_t>(h);
    if (v < kHandleBase || (v - kHandleBase) % 4 != 0) return nullptr;
    size_t index = (v - kHandleBase) / 4;
    if (index >= handles.size() || !handles[index].inUse) return nullptr;
    return &handles[index];
}

HANDLE CEmulatedOsSeam::CreateFileA(LPCSTR name, DWORD access, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD,
                                    HANDLE) {
    HANDLE result = INVALID_HANDLE_VALUE;
    for (size_t i = 0; name && i < drives.size(); ++i) {
        const DriveFile& f = drives[i]->File();
        bool byLetter = f.letter && SameText(name, LetterPath(f.letter));
        if (!byLetter && !SameText(name, f.path)) continue;
        bool writable = (access & GENERIC_WRITE) != 0;
        if (writable && denyReadWrite) {
            Fail(ERROR_ACCESS_DENIED);
            break;
        }
        handles.push_back(OpenHandle{i, writable, byLetter, true});
        result = reinterpret_cast<HANDLE>(kHandleBase + 4 * (handles.size() - 1));
        break;
    }
    if (result == INVALID_HANDLE_VALUE && lastError != ERROR_ACCESS_DENIED) Fail(ERROR_FILE_NOT_FOUND);
    Record("CreateFileA", access, name, name ? static_cast<DWORD>(std::strlen(name)) : 0, 0,
           result != INVALID_HANDLE_VALUE);
    if (result != INVALID_HANDLE_VALUE) lastError = 0;
    return result;
}

BOOL CEmulatedOsSeam::CloseHandle(HANDLE object) {
    OpenHandle* h = Find(object);
    BOOL ok = h ? TRUE : Fail(ERROR_INVALID_HANDLE);
    if (h) h->inUse = false;
    Record("CloseHandle", 0, nullptr, 0, 0, ok);
    return ok;
}

BOOL CEmulatedOsSeam::DeviceIoControl(HANDLE device, DWORD code, LPVOID in, DWORD inSize, LPVOID out,
                                      DWORD outSize, LPDWORD returned, LPOVERLAPPED) {
    if (returned) *returned = 0;
    // Recorded before the call: input and output may be the same buffer.
    bool recorded = calls.size() < kMaxCalls;
    Record("DeviceIoControl", code, in, inSize, outSize, FALSE);
    OpenHandle* h = Find(device);
    BOOL ok = h ? Ioctl(*h, code, in, inSize, out, outSize, returned) : Fail(ERROR_INVALID_HANDLE);
    if (recorded) calls.back().result = ok;
    return ok;
}

BOOL CEmulatedOsSeam::Ioctl(OpenHandle& h, DWORD code, LPVOID in, DWORD inSize, LPVOID out, DWORD outSize,
                            LPDWORD returned) {
    const DriveFile& f = drives[h.drive]->File();
    switch (code) {
    case kIoctlScsiPassThroughDirect: return PassThrough(h, in, inSize, out, outSize, returned);
    case kIoctlScsiGetAddress: {
        if (failGetAddress) return Fail(ERROR_NOT_SUPPORTED);
        if (!out || outSize < sizeof(SCSI_ADDRESS)) return Fail(ERROR_INSUFFICIENT_BUFFER);
        SCSI_ADDRESS a{sizeof(SCSI_ADDRESS), f.address[0], f.address[1], f.address[2], f.address[3]};
        std::memcpy(out, &a, sizeof a);
        if (returned) *returned = sizeof a;
        return TRUE;
    }
    case kIoctlStorageGetDeviceNumber: {
        if (!out || outSize < 12) return Fail(ERROR_INSUFFICIENT_BUFFER);
        DWORD number[3] = {FILE_DEVICE_CD_ROM, f.deviceNumber, 0xFFFFFFFFu};
        std::memcpy(out, number, sizeof number);
        if (returned) *returned = sizeof number;
        return TRUE;
    }
    case kIoctlCdromExclusiveAccess:
        if (!in || (inSize != sizeof(ExclusiveLockRequest) && inSize != sizeof(ExclusiveAccessRequest)))
            return Fail(ERROR_INVALID_PARAMETER);
        return TRUE;
    case kFsctlLockVolume:
        if (!h.volume || lockVolumeFails) return Fail(ERROR_ACCESS_DENIED);
        return TRUE;
    case kFsctlIsVolumeMounted:
        if (!h.volume || !volumeMounted) return Fail(ERROR_NOT_READY);
        return TRUE;
    case kFsctlDismountVolume:
        if (!h.volume) return Fail(ERROR_INVALID_FUNCTION);
        return TRUE;
    default: return Fail(ERROR_INVALID_FUNCTION);
    }
}

BOOL CEmulatedOsSeam::PassThrough(OpenHandle& h, LPVOID in, DWORD inSize, LPVOID out, DWORD outSize,
                                  LPDWORD returned) {
    if (!in || !out || inSize < sizeof(SCSI_PASS_THROUGH_DIRECT) || outSize < sizeof(SCSI_PASS_THROUGH_DIRECT))
        return Fail(ERROR_INVALID_PARAMETER);
    SCSI_PASS_THROUGH_DIRECT spt;
    std::memcpy(&spt, in, sizeof spt);
    if (spt.Length != sizeof spt || spt.CdbLength == 0 || spt.CdbLength > 16 || spt.DataIn > 2)
        return Fail(ERROR_INVALID_PARAMETER);
    DataDirection direction = spt.DataIn == SCSI_IOCTL_DATA_IN    ? DataIn
                              : spt.DataIn == SCSI_IOCTL_DATA_OUT ? DataOut
                                                                  : DataNone;
    // A handle opened for reading only may send what reads; writes need write access.
    if (!h.writable && direction == DataOut) return Fail(ERROR_ACCESS_DENIED);
    MmcReply reply = drives[h.drive]->Execute(spt.Cdb, spt.CdbLength, direction,
                                             static_cast<uint8_t*>(spt.DataBuffer),
                                             spt.DataBuffer ? spt.DataTransferLength : 0);
    if (transcript) {
        char letter = drives[h.drive]->File().letter;
        std::fprintf(transcript, "%c:", letter ? letter : '?');
        for (UCHAR i = 0; i < spt.CdbLength; ++i) std::fprintf(transcript, " %02X", spt.Cdb[i]);
        static const char* const kDirections[] = {"out", "in", "none"};
        std::fprintf(transcript, " dir=%s len=%lu status=%u sense=%X/%02X/%02X\n", kDirections[spt.DataIn],
                     static_cast<unsigned long>(spt.DataTransferLength), reply.status, reply.sense[2],
                     reply.sense[12], reply.sense[13]);
        std::fflush(transcript);
    }
    spt.ScsiStatus = reply.status;
    spt.DataTransferLength = reply.transferred;
    ULONG senseRoom = spt.SenseInfoLength;
    if (spt.SenseInfoOffset >= outSize) senseRoom = 0;
    else if (senseRoom > outSize - spt.SenseInfoOffset) senseRoom = outSize - spt.SenseInfoOffset;
    ULONG senseLength = reply.senseLength < senseRoom ? reply.senseLength : senseRoom;
    if (senseLength) std::memcpy(static_cast<BYTE*>(out) + spt.SenseInfoOffset, reply.sense, senseLength);
    spt.SenseInfoLength = static_cast<UCHAR>(senseLength);
    std::memcpy(out, &spt, sizeof spt);
    if (returned) *returned = sizeof spt + senseLength;
    return TRUE;
}

int CEmulatedOsSeam::MessageBoxW(HWND, LPCWSTR text, LPCWSTR caption, UINT type) {
    ++messageBoxes;
    lastMessageText = text ? text : L"";
    lastMessageCaption = caption ? caption : L"";
    lastMessageType = type;
    Record("MessageBoxW", type, nullptr, 0, 0, TRUE);
    return IDOK;
}

HDEVINFO CEmulatedOsSeam::SetupDiGetClassDevsW(const GUID* classGuid, PCWSTR, HWND, DWORD flags) {
    Record("SetupDiGetClassDevsW", flags, nullptr, 0, 0, !failClassQuery);
    if (failClassQuery || !classGuid || std::memcmp(classGuid, &kCdromInterface, sizeof(GUID)) != 0) {
        Fail(ERROR_INVALID_PARAMETER);
        return INVALID_HANDLE_VALUE;
    }
    return kDeviceSet;
}

BOOL CEmulatedOsSeam::SetupDiEnumDeviceInterfaces(HDEVINFO set, PSP_DEVINFO_DATA, const GUID* guid, DWORD index,
                                                  PSP_DEVICE_INTERFACE_DATA data) {
    if (set != kDeviceSet || !guid || !data || data->cbSize != sizeof(SP_DEVICE_INTERFACE_DATA))
        return Fail(ERROR_INVALID_PARAMETER);
    if (index >= drives.size()) return Fail(ERROR_NO_MORE_ITEMS);
    data->InterfaceClassGuid = kCdromInterface;
    data->Flags = SPINT_ACTIVE;
    data->Reserved = static_cast<ULONG_PTR>(index) + 1;
    return TRUE;
}

BOOL CEmulatedOsSeam::SetupDiGetDeviceInterfaceDetailW(HDEVINFO set, PSP_DEVICE_INTERFACE_DATA data,
                                                       PSP_DEVICE_INTERFACE_DETAIL_DATA_W detail, DWORD size,
                                                       PDWORD required, PSP_DEVINFO_DATA) {
    if (set != kDeviceSet || !data || data->Reserved == 0 || data->Reserved > drives.size())
        return Fail(ERROR_INVALID_PARAMETER);
    const std::string& path = drives[data->Reserved - 1]->File().path;
    DWORD need = static_cast<DWORD>(offsetof(SP_DEVICE_INTERFACE_DETAIL_DATA_W, DevicePath) +
                                    (path.size() + 1) * sizeof(WCHAR));
    if (required) *required = need;
    if (!detail || size < need) return Fail(ERROR_INSUFFICIENT_BUFFER);
    for (size_t i = 0; i <= path.size(); ++i) detail->DevicePath[i] = static_cast<unsigned char>(path.c_str()[i]);
    return TRUE;
}

BOOL CEmulatedOsSeam::SetupDiGetDeviceInterfaceDetailA(HDEVINFO set, PSP_DEVICE_INTERFACE_DATA data,
                                                       PSP_DEVICE_INTERFACE_DETAIL_DATA_A detail, DWORD size,
                                                       PDWORD required, PSP_DEVINFO_DATA info) {
    if (set != kDeviceSet || !data || data->Reserved == 0 || data->Reserved > drives.size())
        return Fail(ERROR_INVALID_PARAMETER);
    const std::string& path = drives[data->Reserved - 1]->File().path;
    DWORD need = static_cast<DWORD>(offsetof(SP_DEVICE_INTERFACE_DETAIL_DATA_A, DevicePath) + path.size() + 1);
    if (required) *required = need;
    if (!detail || size < need) return Fail(ERROR_INSUFFICIENT_BUFFER);
    if (detail->cbSize != sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_A)) return Fail(ERROR_INVALID_USER_BUFFER);
    if (info && info->cbSize != sizeof(SP_DEVINFO_DATA)) return Fail(ERROR_INVALID_USER_BUFFER);
    std::memcpy(detail->DevicePath, path.c_str(), path.size() + 1);
    if (info) info->DevInst = static_cast<DWORD>(data->Reserved);
    return TRUE;
}

BOOL CEmulatedOsSeam::SetupDiDestroyDeviceInfoList(HDEVINFO set) {
    return set == kDeviceSet ? TRUE : Fail(ERROR_INVALID_HANDLE);
}

DWORD CEmulatedOsSeam::GetLogicalDrives() {
    DWORD mask = 1u << 2;  // C:, a fixed disk, so that not every letter is optical
    for (const auto& d : drives)
        if (d->File().letter >= 'A' && d->File().letter <= 'Z') mask |= 1u << (d->File().letter - 'A');
    return mask;
}

DWORD CEmulatedOsSeam::QueryDosDeviceA(LPCSTR name, LPSTR target, DWORD size) {
    if (!name || !target || std::strlen(name) != 2 || name[1] != ':') return Fail(ERROR_FILE_NOT_FOUND);
    char letter = static_cast<char>(name[0] & ~0x20);
    std::string device;
    if (letter == 'C') device = "\\Device\\HarddiskVolume1";
    for (const auto& d : drives)
        if (d->File().letter == letter) device = "\\Device\\CdRom" + std::to_string(d->File().deviceNumber);
    if (device.empty()) return Fail(ERROR_FILE_NOT_FOUND);
    if (device.size() + 2 > size) return Fail(ERROR_INSUFFICIENT_BUFFER);
    std::memcpy(target, device.c_str(), device.size() + 1);
    target[device.size() + 1] = 0;
    return static_cast<DWORD>(device.size() + 2);
}

BOOL CEmulatedOsSeam::IsThemeActive() {
    ++themeQueries;
    return themeActive ? (*themeActive ? TRUE : FALSE) : RealOs().IsThemeActive();
}
