#include "pages/FileList.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <utility>

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

namespace {

// Sorts order[first..last] (both included) through `spare`, a buffer as
// long as `order`. Depth is at most log2 of the row count.
void MergeRun(std::vector<uint32_t>& order, std::vector<uint32_t>& spare, size_t first, size_t last,
              const FileListCompare& compare) {
    if (first >= last) return;
    size_t middle = first + (last - first) / 2;
    MergeRun(order, spare, first, middle, compare);
    MergeRun(order, spare, middle + 1, last, compare);
    size_t left = first, right = middle + 1, out = first;
    while (left <= middle && right <= last)
        spare[out++] = compare(order[left], order[right]) > 0 ? order[right++] : order[left++];
    while (left <= middle) spare[out++] = order[left++];
    while (right <= last) spare[out++] = order[right++];
    std::copy(spare.begin() + static_cast<std::ptrdiff_t>(first), spare.begin() + static_cast<std::ptrdiff_t>(last) + 1,
              order.begin() + static_cast<std::ptrdiff_t>(first));
}

}  // namespace

std::vector<uint32_t> ListViewSortOrder(std::vector<uint32_t> order, const FileListCompare& compare) {
    if (order.size() < 2) return order;
    std::vector<uint32_t> spare(order.size());
    MergeRun(order, spare, 0, order.size() - 1, compare);
    return order;
}

std::vector<uint32_t> FileListRowOrder(uint32_t count, const FileListCompare& compare) {
    std::vector<uint32_t> order(count);
    for (uint32_t i = 0; i < count; ++i) order[i] = count - 1 - i;
    return ListViewSortOrder(std::move(order), compare);
}

bool IsFileListRowOrder(const std::vector<uint32_t>& order, uint32_t count, const FileListCompare& rank) {
    if (order.size() != count) return false;
    std::vector<bool> seen(count);
    for (uint32_t row : order) {
        if (row >= count || seen[row]) return false;
        seen[row] = true;
    }
    for (size_t i = 1; i < order.size(); ++i) {
        int by = rank(order[i - 1], order[i]);
        if (by > 0 || (by == 0 && order[i - 1] < order[i])) return false;
    }
    return true;
}

bool IconLookupKey(const std::string& name, bool isDirectory, std::string& key) {
    if (name.find_first_of("\\/:") != std::string::npos) return false;
    size_t dot = name.rfind('.');
    key.assign(1, isDirectory ? 'D' : 'F');
    if (dot != std::string::npos) key.append(name, dot, std::string::npos);
    return true;
}

bool ShownMinute(uint64_t fileTime, uint64_t& minute) {
    // 2^52 is the year 1615, 2^62 far past the last year a time converts to.
    if (fileTime < (uint64_t{1} << 52) || fileTime >= (uint64_t{1} << 62)) return false;
    minute = fileTime / 600000000u;
    return true;
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
