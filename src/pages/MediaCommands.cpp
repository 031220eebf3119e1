#include "pages/MediaCommands.h"

#include "common/ByteReader.h"
#include "device/Commands.h"

bool ReadCapacity(CDevice& device, uint8_t* buffer8) {
    ScsiCommand command = MakeCommand(10, DataIn, buffer8, kReadCapacityLength);
    command.cdb[0] = 0x25;
    command.cdb[1] = static_cast<uint8_t>(device.LUN << 4);
    return device.ExecuteCommand(command, nullptr);
}

bool ReadFormatCapacities(CDevice& device, uint8_t* buffer, uint16_t allocation) {
    ScsiCommand command = MakeCommand(10, DataIn, buffer, allocation);
    command.cdb[0] = 0x23;
    PutBE16(&command.cdb[7], allocation);
    return device.ExecuteCommand(command, nullptr);
}

bool ReadTocPmaAtip(CDevice& device, uint8_t format, uint8_t* buffer, uint16_t allocation) {
    ScsiCommand command = MakeCommand(10, DataIn, buffer, allocation);
    command.cdb[0] = 0x43;
    command.cdb[2] = format;
    PutBE16(&command.cdb[7], allocation);
    return device.ExecuteCommand(command, nullptr);
}

bool GetWritePerformance(CDevice& device, uint8_t* buffer520) {
    ScsiCommand command = MakeCommand(12, DataIn, buffer520, kPerformanceLength);
    command.cdb[0] = 0xAC;
    PutBE16(&command.cdb[8], 32);
    command.cdb[10] = 0x03;
    return device.ExecuteCommand(command, nullptr);
}

bool ReadDiscStructureCommand(CDevice& device, uint8_t mediaType, uint8_t format,
                              uint8_t* buffer2052) {
    ScsiCommand command = MakeCommand(12, DataIn, buffer2052, kDiscStructureLength);
    command.cdb[0] = 0xAD;
    command.cdb[1] = mediaType;
    command.cdb[7] = format;
    PutBE16(&command.cdb[8], static_cast<uint16_t>(kDiscStructureLength));
    return device.ExecuteCommand(command, nullptr);
}
