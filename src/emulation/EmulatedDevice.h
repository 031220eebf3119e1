#pragma once
// A CDevice whose drive is a CMmcTarget: what the native tests and the
// report tool send their commands to.

#include "device/Device.h"
#include "emulation/MmcTarget.h"

class CEmulatedDevice final : public CDevice {
public:
    explicit CEmulatedDevice(CMmcTarget& target);
    ~CEmulatedDevice() = default;

    bool Open(const char* path) override;
    bool OpenDriveLetter(uint32_t index) override;
    bool Lock() override { return opened; }
    bool ExecuteCommand(const ScsiCommand& command, ScsiResult* result) override;
    bool Unlock() override { return opened; }
    bool Close() override;

    CMmcTarget& Target() { return target; }

    // The CDB and sense bytes of the last command that failed.
    uint8_t lastCdb[16] = {};
    uint8_t lastSense[32] = {};

private:
    CMmcTarget& target;
    bool opened = false;
};
