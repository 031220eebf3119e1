#pragma once
// Numbers, times and icons as the user's settings show them; used by the
// File page and free for any other page.

#include <windows.h>

#include <cstdint>
#include <string>

// Decimal digits grouped as the user's locale groups them (at most 40
// characters); the plain digits when the locale cannot format them.
std::wstring FormatGroupedNumber(int64_t value);

// The user's grouping and thousand separator, read once for many numbers.
struct NumberSettings {
    unsigned grouping = 3;
    wchar_t separator[4] = {};
};
NumberSettings ReadNumberSettings();
std::wstring FormatGroupedNumber(int64_t value, const NumberSettings& settings);

// A UTC file time as the user's short date, a blank and the time without
// seconds, in local time.
std::wstring FormatFileTime(uint64_t fileTime);

// The index in the system small image list of the icon for a name, looked
// up by its extension only (the disc is never touched); 0 when unknown.
int SystemIconIndex(const char* name, bool isDirectory);
