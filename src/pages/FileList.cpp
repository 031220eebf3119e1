#include "pages/FileList.h"

#include <cstdio>
#include <cstring>

#include "udf/UdfTree.h"

FileListRow MakeFileListRow(const FileNode* node, const CUdfReader* reader) {
    FileListRow row;
    row.name = ShownName(reader, node);
    row.isDirectory = node->isDirectory != 0;
    uint32_t first = 0;
    if (row.isDirectory) {
        first = node->sector;
        row.size = node->location.length;
    } else {
        uint32_t count = node->extentCount;
        if (count != 0) first = node->extents[0].start;
        row.size = node->size;
    }
    char text[16];
    std::snprintf(text, sizeof text, "%d", static_cast<int>(first));
    row.lba = text;
    uint8_t stamp[12];
    std::memcpy(stamp, node->modified, sizeof stamp);
    uint64_t ft = 0;
    TimestampToFileTime(stamp, ft);
    row.modified = ft;
    return row;
}

int CompareFileListRows(bool firstIsDirectory, bool secondIsDirectory, int nameOrder) {
    if (firstIsDirectory != secondIsDirectory) return firstIsDirectory ? 0 : 1;
    return nameOrder;
}

unsigned GroupingFromLocaleText(const wchar_t* grouping) {
    unsigned value = 0;
    for (const wchar_t* p = grouping; *p; ++p) {
        if (*p < L'0' || *p > L'9') continue;
        if (*p == L'0') return value;
        value = value * 10 + static_cast<unsigned>(*p - L'0');
    }
    return value * 10;
}

std::string SaveNameFor(const std::string& name) {
    size_t cut = name.find_last_of("/\\");
    std::string last = cut == std::string::npos ? name : name.substr(cut + 1);
    for (char& c : last)
        if (static_cast<unsigned char>(c) < 0x20 || std::strchr(":*?\"<>|", c)) c = '_';
    if (last.empty() || last == "." || last == "..") last.assign(last.empty() ? 1 : last.size(), '_');
    return last;
}
