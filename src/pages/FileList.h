#pragma once
// What the File page's list shows for one node, and how it orders its rows,
// without any window: the Win32 page turns these into list-view texts.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

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

// Compares two rows by their indexes as the list's sort callback would.
using FileListCompare = std::function<int(uint32_t first, uint32_t second)>;

// The order, as row indexes, that the list view's own sort leaves `order`
// in: a top-down merge that splits each run at its middle and puts the
// right-hand row first only when the comparison of left with right is
// above 0. Any comparison, consistent or not, gives the same permutation as
// the control's sort, so the rows can be inserted where they will end.
std::vector<uint32_t> ListViewSortOrder(std::vector<uint32_t> order, const FileListCompare& compare);

// The final order of `count` rows given in disc order: each was once put at
// the top of the list before the list sorted itself, so the sort starts
// from the reverse of the disc's order.
std::vector<uint32_t> FileListRowOrder(uint32_t count, const FileListCompare& compare);

// Whether `order` is the one FileListRowOrder gives when `rank` is a total
// preorder (below 0, 0, above 0 as first goes before, with, after second)
// that agrees with its comparison wherever that is above 0: every row once,
// each row ranked at or before the next, and rows ranked alike in the
// reverse of the disc's order. A cheaper sort proposes, this confirms.
bool IsFileListRowOrder(const std::vector<uint32_t>& order, uint32_t count, const FileListCompare& rank);

// The key under which a name's system icon is looked up once per fill: the
// directory flag and everything from the name's last '.' (the name's
// extension or more). False when the name holds '\\', '/' or ':', which
// the shell would read as a path, so its icon is looked up on its own.
bool IconLookupKey(const std::string& name, bool isDirectory, std::string& key);

// The minute a UTC file time shows in once moved to local time: zones and
// daylight saving move times by whole minutes, so every time of one UTC
// minute shows the same date and time without seconds. False near the ends
// of the file-time range, where a move could leave it; those times are
// shown each on its own.
bool ShownMinute(uint64_t fileTime, uint64_t& minute);

// NUMBERFMT Grouping from a locale's grouping string: its digits read as one
// decimal number, stopping at the digit 0 ("3;0" -> 3, "3;2;0" -> 32); a
// string without that closing 0 gives the number times ten ("3" -> 30).
unsigned GroupingFromLocaleText(const wchar_t* grouping);
