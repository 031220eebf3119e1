#pragma once
// The small command builders that identify a drive and read its sectors.

#include <cstdint>

#include "device/Device.h"

constexpr uint32_t kCommandTimeout = 10;
constexpr uint32_t kSectorSize = 2048;
constexpr uint32_t kInquiryLength = 96;

// Region (RPC) state as REPORT KEY format 08h returns it.
struct RpcState {
    uint16_t dataLength;
    uint16_t reserved1;
    uint8_t typeCode : 2;
    uint8_t vendorResets : 3;
    uint8_t userChanges : 3;
    uint8_t regionMask;
    uint8_t rpcScheme;
    uint8_t reserved2;
};

// A zeroed command with its CDB length, direction and buffer set.
ScsiCommand MakeCommand(uint8_t cdbLength, DataDirection direction, void* data, uint32_t length);

// INQUIRY into a 96-byte buffer; the result is deliberately not reported,
// so a failed INQUIRY leaves the caller's zeroed buffer as it was.
void Inquiry(CDevice& device, uint8_t* buffer96);

bool ReadRpcState(CDevice& device, RpcState& state);
bool GetConfiguration(CDevice& device, uint16_t startingFeature, uint8_t rt, uint8_t* buffer,
                      uint16_t length);
void ReadDiscInformation(CDevice& device, uint8_t* buffer, uint16_t length);

// READ(10) of whole 2048-byte sectors; returns count on success, else 0.
uint32_t ReadSectors(CDevice& device, uint32_t lba, uint16_t count, void* buffer);
