#include "device/Commands.h"

#include "common/ByteReader.h"

ScsiCommand MakeCommand(uint8_t cdbLength, DataDirection direction, void* data, uint32_t length) {
    ScsiCommand command{};
    command.cdbLength = cdbLength;
    command.direction = direction;
    command.data = data;
    command.transferLength = length;
    command.timeout = kCommandTimeout;
    return command;
}

void Inquiry(CDevice& device, uint8_t* buffer96) {
    ScsiCommand command = MakeCommand(6, DataIn, buffer96, kInquiryLength);
    command.cdb[0] = 0x12;
    command.cdb[4] = kInquiryLength;
    device.ExecuteCommand(command, nullptr);
}

bool ReadRpcState(CDevice& device, RpcState& state) {
    uint8_t answer[8] = {};
    ScsiCommand command = MakeCommand(12, DataIn, answer, sizeof answer);
    command.cdb[0] = 0xA4;
    PutBE16(&command.cdb[8], 8);
    command.cdb[10] = 0x08;
    if (!device.ExecuteCommand(command, nullptr)) return false;
    ByteReader r(answer, sizeof answer);
    state = RpcState{};
    state.dataLength = r.BE16(0);
    state.typeCode = static_cast<uint8_t>(r.U8(4) >> 6);
    state.vendorResets = static_cast<uint8_t>((r.U8(4) >> 3) & 7);
    state.userChanges = static_cast<uint8_t>(r.U8(4) & 7);
    state.regionMask = r.U8(5);
    state.rpcScheme = r.U8(6);
    return true;
}

bool GetConfiguration(CDevice& device, uint16_t startingFeature, uint8_t rt, uint8_t* buffer,
                      uint16_t length) {
    ScsiCommand command = MakeCommand(10, DataIn, buffer, length);
    command.cdb[0] = 0x46;
    command.cdb[1] = rt;
    PutBE16(&command.cdb[2], startingFeature);
    PutBE16(&command.cdb[7], length);
    return device.ExecuteCommand(command, nullptr);
}

void ReadDiscInformation(CDevice& device, uint8_t* buffer, uint16_t length) {
    ScsiCommand command = MakeCommand(10, DataIn, buffer, length);
    command.cdb[0] = 0x51;
    PutBE16(&command.cdb[7], length);
    device.ExecuteCommand(command, nullptr);
}

uint32_t ReadSectors(CDevice& device, uint32_t lba, uint16_t count, void* buffer) {
    if (!buffer) return 0;
    ScsiCommand command = MakeCommand(10, DataIn, buffer, static_cast<uint32_t>(count) * kSectorSize);
    command.cdb[0] = 0x28;
    PutBE32(&command.cdb[2], lba);
    PutBE16(&command.cdb[7], count);
    return device.ExecuteCommand(command, nullptr) ? count : 0;
}
