#pragma once
// DriveCapabilities condenses mode page 2Ah and the whole GET CONFIGURATION
// feature list into one packed record of bits and speeds.

#include <cstddef>
#include <cstdint>

#include "device/Device.h"

#pragma pack(push, 1)
struct DriveCapabilities {
    uint32_t pageBits;
    uint8_t loadingMechanism;
    uint32_t pageByte7Bits;  // only bits 0-5 carry meaning
    uint16_t bufferSize;     // KB
    uint16_t maxReadSpeed;   // kB/s
    uint16_t maxWriteSpeed;
    uint16_t currentReadSpeed;
    uint16_t currentWriteSpeed;
    uint32_t mediaFeatureBits;
    uint32_t driveFeatureBits;
};
#pragma pack(pop)
static_assert(sizeof(DriveCapabilities) == 27, "the record is byte-packed");

constexpr size_t kModePageBufferSize = 256;
constexpr uint16_t kModePageAllocation = 252;
constexpr size_t kFeatureBufferSize = 65535;
constexpr uint16_t kFeatureAllocation = 65530;

// Sends MODE SENSE(10), falling back to MODE SENSE(6), then GET CONFIGURATION;
// true when either MODE SENSE succeeded.
bool ReadCapabilities(CDevice& device, DriveCapabilities& caps);

// The decoders behind ReadCapabilities, usable on captured answers.
// `modeData` is the whole mode parameter list; `pageOffset` where the page starts.
void DecodeCapabilitiesPage(const uint8_t* modeData, size_t size, size_t pageOffset,
                            DriveCapabilities& caps);
// `list` is the feature list as held (header included); the walk never
// leaves those bytes whatever the lengths inside claim.
void DecodeFeatureList(const uint8_t* list, size_t size, DriveCapabilities& caps);
