#pragma once
// A pass-through CDevice over the Linux SG_IO interface (/dev/sr0, /dev/sg*):
// every command one sg_io_hdr, every OS call through a CSgSeam.

#include <cstdint>
#include <string>

#include "device/Device.h"
#include "device/SgSeam.h"

class CSgIoDevice final : public CDevice {
public:
    explicit CSgIoDevice(CSgSeam& seam);
    ~CSgIoDevice();

    // Opens `path`; false with OpenError() naming the reason.
    bool Open(const char* path) override;
    bool OpenDriveLetter(uint32_t index) override { return false; }  // letters are Windows's
    bool Lock() override { return fd >= 0; }
    bool ExecuteCommand(const ScsiCommand& command, ScsiResult* result) override;
    bool Unlock() override { return fd >= 0; }
    bool Close() override;

    const std::string& OpenError() const { return openError; }

private:
    CSgSeam& seam;
    int fd = -1;
    std::string openError;
};

// Why open failed, as the user can act on it.
std::string SgOpenErrorText(const std::string& path, int error);
