#pragma once
// The whole Media report, section by section, as the Media page shows it.

#include <functional>
#include <string>

#include "device/Device.h"

using MediaAppend = std::function<void(const std::string& text)>;

// Reads the current profile and every section of the disc in `device`,
// handing each piece of text to `append` in the page's order. Pieces may be
// empty.
void WriteMediaReport(CDevice& device, const MediaAppend& append);

// The report's whole text: every line ends with CR LF.
std::string MediaReport(CDevice& device);
