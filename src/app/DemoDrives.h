#pragma once
// The demo build's drives: the built-in set carried as resources, or the
// drive files of the folders named by VEXLON_DRIVES (separated by ';').

#include <windows.h>

#include <string>
#include <vector>

#include "emulation/DriveFile.h"

// Loads the demo drives; problems are appended to `errors`, one per file.
std::vector<DriveFile> LoadDemoDrives(HINSTANCE instance, std::vector<std::string>& errors);

// Resource ids: 499 is the index ("id relative/path" lines); the files follow it.
constexpr WORD kDemoIndexResource = 499;
