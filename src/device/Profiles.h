#pragma once
// The MMC profile table: the current profile's name and the media
// classification that the report sections read from the device.

#include <cstdint>

#include "device/Device.h"

// GET CONFIGURATION (44 bytes); on success stores the current profile and
// its classification in the device.
bool ReadCurrentProfile(CDevice& device);

// Clears MediaType and MediaFamily, then sets the four media fields from the
// table; returns MediaType (0 for a profile not in the table).
uint32_t ClassifyProfile(CDevice& device, uint16_t profile);

// The profile's name, or "Unknown".
const char* GetProfileName(uint16_t profile);
