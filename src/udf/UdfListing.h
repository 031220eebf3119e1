#pragma once
// The text listing of a volume's tree that the File page exports
// ("filesystem.txt"), as the bytes the file holds: written in text mode, so
// every line ends in CR LF.

#include <string>

#include "udf/UdfReader.h"

// With no reader or no tree, only the header lines.
std::string FormatFileSystemListing(const CUdfReader* reader);

// What text mode makes of "\n" when it writes the file.
std::string ToTextModeBytes(const std::string& text);
