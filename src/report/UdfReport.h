#pragma once
// The report tool's file-system commands: the File page's export listing
// and the extraction of one file.

#include <string>

#include "common/Progress.h"
#include "device/Device.h"
#include "udf/UdfListing.h"

// The "filesystem.txt" bytes for the disc in the drive (header lines only
// when no UDF volume mounts).
std::string FilesReport(CDevice& device);
// The same bytes handed to `sink` as they are made; false when it failed.
bool FilesReport(CDevice& device, CTextSink& sink);

// Extracts the file at `path` on the disc to `target`; false with a message.
// A "/" or "\" inside a name is given as "\/" or "\\".
bool ExtractReport(CDevice& device, const std::string& path, const std::string& target, std::string& error,
                   CProgress* progress = nullptr);
