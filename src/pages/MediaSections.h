#pragma once
// The report sections that follow Disc Information: format capacities,
// TOC, ATIP and write performance. Each writer clears `text` (the one
// report buffer the page reuses for every section), sends its command and
// writes its lines there; the bool says whether the page appends it.

#include <cstdint>
#include <string>
#include <vector>

#include "common/ByteReader.h"
#include "device/Device.h"

// The answers behind the sections, decoded once for the report's text and
// for the report tool's structured output.
struct FormatCapacity {
    uint8_t type;  // DT of the current/maximum descriptor, FT of the others
    uint32_t blocks;
    uint32_t parameter;
};
struct FormatCapacityList {
    bool listed = false;  // false: the current/maximum descriptor alone
    FormatCapacity current{};
    std::vector<FormatCapacity> descriptors;
};
struct TocEntry {
    uint8_t track;
    int32_t lba;
    uint8_t adr, control;
};
struct AtipTimes {
    uint8_t leadIn[3];   // minutes, seconds, frames
    uint8_t leadOut[3];
};
struct PerformanceDescriptor {
    uint8_t flags;  // bit 0 MRW, 1 Exact, 2 RDD, 3-4 WRC
    uint32_t endLba, readSpeed, writeSpeed;
};

FormatCapacityList DecodeFormatCapacities(const ByteReader& answer);
std::vector<TocEntry> DecodeToc(const ByteReader& answer);
AtipTimes DecodeAtip(const ByteReader& answer);
std::vector<PerformanceDescriptor> DecodePerformance(const ByteReader& answer);

// Each sends the section's command; false when it fails.
bool ReadFormatCapacityList(CDevice& device, FormatCapacityList& list);
bool ReadTocEntries(CDevice& device, std::vector<TocEntry>& entries);
bool ReadAtipTimes(CDevice& device, AtipTimes& times);
bool ReadPerformanceDescriptors(CDevice& device, std::vector<PerformanceDescriptor>& descriptors);

bool FormatCapacitiesSection(CDevice& device, std::string& text);
bool TocSection(CDevice& device, std::string& text);
bool AtipSection(CDevice& device, std::string& text);

// Always appended by the page. With an unknown media family it returns
// without touching `text`, so the page repeats the section written last:
// the report has always ended that way and it is kept.
void PerformanceSection(CDevice& device, std::string& text);

// The disc manufacturer a CD-R/RW lead-in start time identifies, or "" when
// the time is not one we know. The minutes, seconds and the tens of the
// frame name the manufacturer; the last frame digit is the dye type.
const char* AtipManufacturer(uint8_t minutes, uint8_t seconds, uint8_t frames);
