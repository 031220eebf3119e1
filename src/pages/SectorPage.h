#pragma once
// The Sector Viewer page and the disc dump started from the toolbar.

#include <windows.h>

#include <cstdint>

// Reads sector `lba` of the current drive and shows it in the dump edit.
void ShowSector(HWND page, uint32_t lba);

// Re-reads the disc's last sector, sets the range and shows sector 320;
// disables the number edit and its up-down when the disc offers nothing.
void RefreshSectorPage(HWND page);

// Asks where to save, then copies the sectors in front of the first file
// data of the selected drive's UDF volume. Silent when there is nothing.
void SaveDiscImage(HWND owner);
