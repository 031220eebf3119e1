#pragma once
// What the File page's list shows for one node, and how it orders its rows,
// without any window: the Win32 page turns these into list-view texts.

#include <cstdint>
#include <string>

#include "udf/UdfReader.h"
#include "udf/UdfTypes.h"

struct FileListRow {
    std::string name;
    bool isDirectory = false;
    std::string lba;       // "%d" of the first sector
    uint64_t size = 0;     // file size, or a directory's data length
    uint64_t modified = 0; // file time (UTC); 0 when the timestamp does not convert
};

// The node's fields are copied out: nodes are packed records in the arena.
// The name is the shown one (control bytes as '?'); with the reader, a name
// holding a NUL is shown whole.
FileListRow MakeFileListRow(const FileNode* node, const CUdfReader* reader = nullptr);

// The file name the Save dialog offers for a disc name: its last component
// (after any "/" or ""), with every character Windows refuses in a file
// name, and every control byte, as "_"; "", "." and ".." become "_".
std::string SaveNameFor(const std::string& name);

// Order of two list rows: a file before a directory gives 1, a directory
// before a file 0 (never -1; the sort still puts directories first because
// only a positive result moves an item); otherwise the order of the names.
int CompareFileListRows(bool firstIsDirectory, bool secondIsDirectory, int nameOrder);

// NUMBERFMT Grouping from a locale's grouping string: its digits read as one
// decimal number, stopping at the digit 0 ("3;0" -> 3, "3;2;0" -> 32); a
// string without that closing 0 gives the number times ten ("3" -> 30).
unsigned GroupingFromLocaleText(const wchar_t* grouping);
