#pragma once
// A CDevice in front of another that counts what a command line cost the
// drive: commands sent and sectors delivered by READ(10).

#include <cstdint>

#include "device/ForwardingDevice.h"

class CCountingDevice final : public CForwardingDevice {
public:
    explicit CCountingDevice(CDevice& inner);
    ~CCountingDevice() = default;

    bool ExecuteCommand(const ScsiCommand& command, ScsiResult* result) override;

    uint64_t Commands() const { return commands; }
    uint64_t Sectors() const { return sectors; }

private:
    uint64_t commands = 0;
    uint64_t sectors = 0;
};
