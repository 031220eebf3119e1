#pragma once
// The Filter Driver page: the upper and lower filter drivers of the CD-ROM
// device class and the facts of their driver files.

#include <windows.h>

// What the page shows of one driver file; empty fields were not available.
struct DriverFile {
    wchar_t date[64];
    wchar_t size[64];
    wchar_t version[32];
    wchar_t description[256];
    wchar_t publisher[256];
    wchar_t path[260];
};

// The class key whose filter values are listed.
extern const wchar_t kCdromClassKey[];

// Type 1 reads the value "UppderFilters" (so spelled, as the product always
// has; the usual UpperFilters value is not read), type 2 "LowerFilters".
const wchar_t* FilterValueName(int type);

using FilterRowBuilder = void (*)(const wchar_t* name, HWND list, int group);

// Calls `build` for every name of the filter value of `type`, last to first,
// and returns how many there were; 0 for any other type or a missing value.
int EnumerateFilters(int type, FilterRowBuilder build, HWND list, int group);

// Fills `file` (all fields emptied first) from the driver file at `path`.
void ReadDriverFile(const wchar_t* path, DriverFile& file);

// Inserts the row of filter `name` at the top of `list` in `group`.
void AddFilterRow(const wchar_t* name, HWND list, int group);

INT_PTR CALLBACK FilterPageProcedure(HWND page, UINT message, WPARAM wParam, LPARAM lParam);
