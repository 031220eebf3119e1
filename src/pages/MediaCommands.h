#pragma once
// The commands the Media report sends about the disc. Each fills the
// caller's buffer (which the caller clears) and returns the command's
// success; a drive may deliver fewer bytes than asked, and the rest of the
// buffer then keeps its zeros.

#include <cstdint>

#include "device/Device.h"

constexpr uint32_t kFormatCapacitiesSectionLength = 320;
constexpr uint32_t kFreeCapacityLength = 268;
constexpr uint32_t kTocLength = 4096;
constexpr uint32_t kAtipLength = 128;
constexpr uint32_t kPerformanceLength = 520;  // 8-byte header and 32 descriptors
constexpr uint32_t kDiscStructureLength = 2052;
constexpr uint32_t kReadCapacityLength = 8;
constexpr uint32_t kDiscInformationLength = 34;

// READ CAPACITY; its LUN goes in CDB byte 1 shifted by four.
bool ReadCapacity(CDevice& device, uint8_t* buffer8);
bool ReadFormatCapacities(CDevice& device, uint8_t* buffer, uint16_t allocation);
// READ TOC/PMA/ATIP with LBA addresses from track 0.
bool ReadTocPmaAtip(CDevice& device, uint8_t format, uint8_t* buffer, uint16_t allocation);
// GET PERFORMANCE for up to 32 write speed descriptors from LBA 0.
bool GetWritePerformance(CDevice& device, uint8_t* buffer520);
// READ DISC STRUCTURE at address 0, layer 0; `mediaType` 0 DVD, 1 BD.
bool ReadDiscStructureCommand(CDevice& device, uint8_t mediaType, uint8_t format,
                              uint8_t* buffer2052);
