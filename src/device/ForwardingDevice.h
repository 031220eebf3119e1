#pragma once
// A CDevice in front of another: every operation goes to the inner device.
// Devices that watch or keep what passes (counting, recording) derive from
// it and override ExecuteCommand only.

#include "device/Device.h"

class CForwardingDevice : public CDevice {
public:
    explicit CForwardingDevice(CDevice& next) : inner(next) {
        handle = next.handle;
        LUN = next.LUN;
    }

    bool Open(const char* path) override { return inner.Open(path); }
    bool OpenDriveLetter(uint32_t index) override { return inner.OpenDriveLetter(index); }
    bool Lock() override { return inner.Lock(); }
    bool ExecuteCommand(const ScsiCommand& command, ScsiResult* result) override {
        return inner.ExecuteCommand(command, result);
    }
    bool Unlock() override { return inner.Unlock(); }
    bool Close() override { return inner.Close(); }

protected:
    CDevice& inner;
};
