#include "report/CountingDevice.h"

namespace {

constexpr uint8_t kRead10 = 0x28;

}  // namespace

CCountingDevice::CCountingDevice(CDevice& device) : CForwardingDevice(device) {}

bool CCountingDevice::ExecuteCommand(const ScsiCommand& command, ScsiResult* result) {
    ++commands;
    bool ok = inner.ExecuteCommand(command, result);
    // A READ(10) that succeeds delivered every block its CDB asked for.
    if (ok && command.cdb[0] == kRead10 && command.cdbLength >= 10)
        sectors += static_cast<uint32_t>(command.cdb[7] << 8 | command.cdb[8]);
    return ok;
}
