#pragma once
// The report sections that follow Disc Information: format capacities,
// TOC, ATIP and write performance. Each writer clears `text` (the one
// report buffer the page reuses for every section), sends its command and
// writes its lines there; the bool says whether the page appends it.

#include <cstdint>
#include <string>

#include "device/Device.h"

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
