#pragma once
// The disc structure section: DVD/HD DVD physical format information or
// the first BD disc information unit, read into a small record and
// formatted from it.

#include <cstdint>
#include <string>

#include "device/Device.h"

struct DiscStructure {
    uint32_t kind;  // 2 physical format information, 4 BD disc information
    uint8_t bookType;
    uint8_t partVersion;
    uint8_t discSize;
    uint8_t maximumRate;
    uint8_t numberOfLayers;
    uint8_t trackPath;
    uint8_t layerType;
    uint8_t linearDensity;
    uint8_t trackDensity;
    uint32_t firstDataSector;
    uint32_t lastDataSector;
    uint32_t lastSectorLayer0;
    uint8_t bca;
    uint8_t discInformation[128];  // kind 4: the first DI unit as it came
};

// READ DISC STRUCTURE format 00h for the device's media family; false
// (the section is left out) when the command fails.
bool ReadDiscStructure(CDevice& device, DiscStructure& record);

// Decodes an answer held in `answer` (structure header included) into `record`.
void DecodeDiscStructure(const uint8_t* answer, size_t size, bool bluRay, DiscStructure& record);

// The section's lines; returns `text`.
std::string& FormatDiscStructure(CDevice& device, const DiscStructure& record, std::string& text);
