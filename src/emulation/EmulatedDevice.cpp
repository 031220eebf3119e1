#include "emulation/EmulatedDevice.h"

#include <cctype>
#include <cstring>
#include <string>

namespace {

bool SameText(const std::string& a, const std::string& b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i])))
            return false;
    return true;
}

}  // namespace

CEmulatedDevice::CEmulatedDevice(CMmcTarget& mmcTarget) : target(mmcTarget) {
    LUN = target.File().address[3];
}

bool CEmulatedDevice::Open(const char* path) {
    if (!path) return false;
    const DriveFile& file = target.File();
    std::string letterPath = std::string("\\\\.\\") + file.letter + ":";
    if (!SameText(path, file.path) && !(file.letter && SameText(path, letterPath))) return false;
    opened = true;
    handle = &target;
    return true;
}

bool CEmulatedDevice::OpenDriveLetter(uint32_t index) {
    if (index >= 26) return false;
    char path[] = "\\\\.\\A:";
    path[4] = static_cast<char>('A' + index);
    return Open(path);
}

bool CEmulatedDevice::Close() {
    bool was = opened;
    opened = false;
    handle = nullptr;
    return was;
}

bool CEmulatedDevice::ExecuteCommand(const ScsiCommand& command, ScsiResult* result) {
    MmcReply reply = target.Execute(command.cdb, command.cdbLength, command.direction,
                                    static_cast<uint8_t*>(command.data), command.transferLength);
    if (reply.status == 0) return true;
    if (result) {
        result->scsiStatus = reply.status;
        result->transferredLength = reply.transferred;
        result->senseLength = reply.senseLength;
        std::memcpy(result->sense, reply.sense, reply.senseLength);
    }
    std::memcpy(lastCdb, command.cdb, sizeof lastCdb);
    std::memcpy(lastSense, reply.sense, reply.senseLength);
    return false;
}
