#pragma once
// The head of the Media report: the Media Id line and the Disc Information
// section with its capacities, times and supported write speeds.

#include <cstdint>
#include <string>

#include "common/ByteReader.h"
#include "device/Device.h"

// The disc's media id (at most 16 characters) from the first of four READ
// DISC STRUCTURE requests that succeeds; false with "N/A" when none does.
bool ReadMediaId(CDevice& device, std::string& text);

// "MMMMMM-TTT-RRR" of a BD disc information unit `di` (byte 0 is the "DI"
// identifier): manufacturer bytes 100-105, type bytes 106-108, revision byte
// 111 as three digits, taken signed or unsigned; NUL bytes vanish.
std::string BdDiscId(const ByteReader& di, bool signedRevision);

// The last recorded sector as the report counts it (1 is added by the caller).
uint32_t GetRecordedCapacity(CDevice& device);
// The largest Number of Blocks among the format capacity descriptors, 0 on failure.
uint32_t GetFreeCapacity(CDevice& device);
// Up to `max` distinct write speeds in kB/s, in the drive's order; the count.
uint32_t GetWriteSpeeds(CDevice& device, uint32_t* speeds, uint32_t max);
// kB/s of "1x" for the device's media family.
float GetSpeedDivisor(const CDevice& device);

// What the Disc Information section shows of READ DISC INFORMATION.
struct DiscInformationState {
    uint8_t status;       // 0 Empty, 1 Incomplete, 2 Finalized, 3 Others
    uint8_t lastSession;  // 0 Empty, 1 Incomplete, 2 Damaged/Finalization, 3 Complete
    bool erasable;
    uint8_t sessions;
};
DiscInformationState DecodeDiscInformation(const ByteReader& info);
// Sends READ DISC INFORMATION (its result unreported, as the section has it).
DiscInformationState ReadDiscInformationState(CDevice& device);
// The section's wording of the two states.
const char* DiscStatusName(uint8_t status);
const char* SessionStateName(uint8_t state);

// The Disc Information section; empty when the medium is unknown. Always true.
bool FormatDiscInformation(CDevice& device, std::string& text);
