#pragma once
// The File page's rows for one directory, in the order the list shows them,
// with the icon and text lookups they share: Win32 glue over FileList.

#include <windows.h>

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "pages/FileFormat.h"
#include "pages/FileList.h"
#include "udf/UdfReader.h"

// The whole name as the list shows it: the narrow name through the ANSI code page.
std::wstring ShownText(const std::string& name);

struct ShownRow {
    const FileNode* node;
    FileListRow row;
    std::wstring text;  // what the sort compares
};

// Every child of the directory, in the disc's order.
std::vector<ShownRow> CollectRows(const FileNode* directory, const CUdfReader* reader);

// The rows' order when each was put at the top of the list and the list
// then sorted itself with lstrcmpiW on the names, directories first (a file
// before a directory compares 1, a directory before a file 0).
std::vector<uint32_t> SortedOrder(const std::vector<ShownRow>& rows);

// The shell's answer for a name looked up without touching the disc depends
// only on its extension and attributes, so each is asked for once a fill.
class IconCache {
public:
    int Lookup(const FileListRow& row);

private:
    std::unordered_map<std::string, int> icons;
};

// Size and time texts, made once per value a fill: every locale call behind
// them reads the user's settings again, which costs far more than the row.
class CellTexts {
public:
    const std::wstring& ByteSize(uint64_t size);
    const std::wstring& Grouped(uint64_t size);
    // Times that show the same minute share one text.
    const std::wstring& Time(uint64_t fileTime);

private:
    NumberSettings number = ReadNumberSettings();
    std::unordered_map<uint64_t, std::wstring> byteSizes, groupedSizes, minutes, times;
};
