#include "pages/FileFormat.h"

#include <shellapi.h>

#include <cwchar>

#include "pages/FileList.h"

NumberSettings ReadNumberSettings() {
    NumberSettings settings;
    wchar_t grouping[16] = {};
    settings.grouping = GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_SGROUPING, grouping, 16)
                            ? GroupingFromLocaleText(grouping)
                            : 3;
    GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_STHOUSAND, settings.separator, 4);
    return settings;
}

std::wstring FormatGroupedNumber(int64_t value, const NumberSettings& settings) {
    wchar_t digits[40];
    std::swprintf(digits, 40, L"%lld", static_cast<long long>(value));

    // No fraction is ever shown, so the decimal separator only has to be a
    // valid one: the thousand separator serves for both.
    wchar_t separator[4] = {};
    std::wmemcpy(separator, settings.separator, 4);
    NUMBERFMTW format{};
    format.NumDigits = 0;
    format.LeadingZero = 0;
    format.Grouping = settings.grouping;
    format.lpDecimalSep = separator;
    format.lpThousandSep = separator;
    format.NegativeOrder = 0;

    wchar_t out[40];
    // Some systems format zero without LeadingZero as nothing at all.
    if (!GetNumberFormatW(LOCALE_USER_DEFAULT, 0, digits, &format, out, 40) || out[0] == L'\0') return digits;
    return out;
}

std::wstring FormatGroupedNumber(int64_t value) { return FormatGroupedNumber(value, ReadNumberSettings()); }

std::wstring FormatFileTime(uint64_t fileTime) {
    FILETIME utc;
    utc.dwLowDateTime = static_cast<DWORD>(fileTime);
    utc.dwHighDateTime = static_cast<DWORD>(fileTime >> 32);
    FILETIME local{};
    SYSTEMTIME time{};
    FileTimeToLocalFileTime(&utc, &local);
    FileTimeToSystemTime(&local, &time);
    wchar_t text[128] = {};
    int n = GetDateFormatW(LOCALE_USER_DEFAULT, DATE_SHORTDATE, &time, nullptr, text, 128);
    if (n <= 0) n = 1;  // nothing written: the blank goes first
    text[n - 1] = L' ';
    GetTimeFormatW(LOCALE_USER_DEFAULT, TIME_NOSECONDS, &time, nullptr, text + n, 128 - n);
    text[127] = L'\0';
    return text;
}

int SystemIconIndex(const char* name, bool isDirectory) {
    SHFILEINFOA info{};
    DWORD attributes = isDirectory ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_NORMAL;
    if (!SHGetFileInfoA(name, attributes, &info, sizeof info, SHGFI_ICON | SHGFI_SMALLICON | SHGFI_USEFILEATTRIBUTES))
        return 0;
    if (info.hIcon) DestroyIcon(info.hIcon);
    return info.iIcon;
}
