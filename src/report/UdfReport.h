#pragma once
// The report tool's file-system commands: the File page's export listing
// and the extraction of one file.

#include <string>

#include "device/Device.h"

// The "filesystem.txt" bytes for the disc in the drive (header lines only
// when no UDF volume mounts).
std::string FilesReport(CDevice& device);

// Extracts the file at `path` on the disc to `target`; false with a message.
bool ExtractReport(CDevice& device, const std::string& path, const std::string& target, std::string& error);
