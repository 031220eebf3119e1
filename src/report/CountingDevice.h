#pragma once
// A CDevice in front of another that counts what a command line cost the
// drive: commands sent and sectors delivered by READ(10).

#include <cstdint>

#include "device/Device.h"

class CCountingDevice final : public CDevice {
public:
    explicit CCountingDevice(CDevice& inner);
    ~CCountingDevice() = default;

    bool Open(const char* path) override { return inner.Open(path); }
    bool OpenDriveLetter(uint32_t index) override { return inner.OpenDriveLetter(index); }
    bool Lock() override { return inner.Lock(); }
    bool ExecuteCommand(const ScsiCommand& command, ScsiResult* result) override;
    bool Unlock() override { return inner.Unlock(); }
    bool Close() override { return inner.Close(); }

    uint64_t Commands() const { return commands; }
    uint64_t Sectors() const { return sectors; }

private:
    CDevice& inner;
    uint64_t commands = 0;
    uint64_t sectors = 0;
};
