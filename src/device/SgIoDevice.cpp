#include "device/SgIoDevice.h"

#include <scsi/sg.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

CSgIoDevice::CSgIoDevice(CSgSeam& sgSeam) : seam(sgSeam) {}

CSgIoDevice::~CSgIoDevice() { Close(); }

std::string SgOpenErrorText(const std::string& path, int error) {
    switch (error) {
    case ENOENT:
    case ENXIO:
    case ENODEV: return "cannot open " + path + ": no such device";
    case EACCES:
    case EPERM: return "cannot open " + path + ": permission denied (add the user to the cdrom group)";
    case EBUSY: return "cannot open " + path + ": the device is busy";
    default: return "cannot open " + path + ": " + std::strerror(error);
    }
}

bool CSgIoDevice::Open(const char* path) {
    Close();
    openError.clear();
    int error = 0;
    fd = seam.Open(path ? path : "", error);
    if (fd < 0) {
        openError = SgOpenErrorText(path ? path : "", error);
        return false;
    }
    // Only SCSI devices (sr, sg) answer the version query; anything else is refused.
    int version = 0;
    if (seam.Ioctl(fd, SG_GET_VERSION_NUM, &version, error) < 0 || version < 30000) {
        openError = std::string("cannot open ") + path + ": not a SCSI (sr or sg) device";
        Close();
        return false;
    }
    handle = this;
    return true;
}

bool CSgIoDevice::Close() {
    if (fd < 0) return false;
    seam.Close(fd);
    fd = -1;
    handle = nullptr;
    return true;
}

bool CSgIoDevice::ExecuteCommand(const ScsiCommand& command, ScsiResult* result) {
    if (fd < 0) return false;
    unsigned char sense[32] = {};
    sg_io_hdr_t io{};
    io.interface_id = 'S';
    io.dxfer_direction = command.direction == DataIn    ? SG_DXFER_FROM_DEV
                         : command.direction == DataOut ? SG_DXFER_TO_DEV
                                                        : SG_DXFER_NONE;
    io.cmd_len = static_cast<unsigned char>(std::min<unsigned>(command.cdbLength, 16));
    io.mx_sb_len = sizeof sense;
    io.dxfer_len = command.direction == DataNone ? 0 : command.transferLength;
    io.dxferp = command.direction == DataNone ? nullptr : command.data;
    io.cmdp = const_cast<unsigned char*>(command.cdb);
    io.sbp = sense;
    io.timeout = command.timeout * 1000u;  // milliseconds
    int error = 0;
    bool sent = seam.Ioctl(fd, SG_IO, &io, error) == 0;
    bool ok = sent && (io.info & SG_INFO_OK_MASK) == SG_INFO_OK && io.status == 0 && io.host_status == 0 &&
              (io.driver_status & 0x0F) == 0;
    if (ok || !result) return ok;
    result->scsiStatus = io.status;
    int residual = std::max(0, std::min<int>(io.resid, static_cast<int>(io.dxfer_len)));
    result->transferredLength = sent ? io.dxfer_len - static_cast<uint32_t>(residual) : 0;
    result->senseLength = sent ? std::min<uint32_t>(io.sb_len_wr, sizeof result->sense) : 0;
    std::memcpy(result->sense, sense, result->senseLength);
    return false;
}
