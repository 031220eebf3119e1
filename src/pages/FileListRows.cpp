#include "pages/FileListRows.h"

#include <shlwapi.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "udf/UdfTree.h"

namespace {

// The text a row is compared by: the narrow name through the ANSI code
// page, as the list stored it when rows were inserted with LVM_INSERTITEMA,
// up to 260 characters.
std::wstring RowText(const std::string& name) {
    wchar_t text[260] = {};
    MultiByteToWideChar(CP_ACP, 0, name.c_str(), -1, text, 259);
    return text;
}

// A name's sort key, case ignored (its bytes up to the closing zero).
std::string SortKey(const std::wstring& text) {
    const DWORD flags = LCMAP_SORTKEY | NORM_IGNORECASE;
    char key[1024];
    int length = LCMapStringW(LOCALE_USER_DEFAULT, flags, text.c_str(), -1, reinterpret_cast<wchar_t*>(key), sizeof key);
    if (length > 0) return std::string(key, static_cast<size_t>(length - 1));
    length = LCMapStringW(LOCALE_USER_DEFAULT, flags, text.c_str(), -1, nullptr, 0);
    if (length <= 0) return std::string();
    std::string longer(static_cast<size_t>(length), '\0');
    LCMapStringW(LOCALE_USER_DEFAULT, flags, text.c_str(), -1, reinterpret_cast<wchar_t*>(&longer[0]), length);
    longer.resize(std::strlen(longer.c_str()));
    return longer;
}

// The names' sort keys, case ignored, ranked directories first and then by
// key, rows of equal keys in the reverse of the disc's order.
std::vector<uint32_t> ProposedOrder(const std::vector<ShownRow>& rows) {
    std::vector<std::string> keys(rows.size());
    for (size_t i = 0; i < rows.size(); ++i) keys[i] = SortKey(rows[i].text);
    std::vector<uint32_t> order(rows.size());
    for (size_t i = 0; i < order.size(); ++i) order[i] = static_cast<uint32_t>(order.size() - 1 - i);
    std::stable_sort(order.begin(), order.end(), [&](uint32_t a, uint32_t b) {
        bool aDirectory = rows[a].row.isDirectory, bDirectory = rows[b].row.isDirectory;
        if (aDirectory != bDirectory) return aDirectory;
        return keys[a] < keys[b];
    });
    return order;
}

}  // namespace

std::wstring ShownText(const std::string& name) {
    int length = MultiByteToWideChar(CP_ACP, 0, name.c_str(), -1, nullptr, 0);
    if (length <= 1) return std::wstring();
    std::wstring text(static_cast<size_t>(length), L'\0');
    MultiByteToWideChar(CP_ACP, 0, name.c_str(), -1, &text[0], length);
    text.resize(static_cast<size_t>(length - 1));
    return text;
}

std::vector<ShownRow> CollectRows(const FileNode* directory, const CUdfReader* reader) {
    std::vector<ShownRow> rows;
    for (const FileNode* child = directory ? directory->firstChild : nullptr; child; child = child->nextSibling) {
        FileListRow row = MakeFileListRow(child, reader);
        std::wstring text = RowText(row.name);
        rows.push_back({child, std::move(row), std::move(text)});
    }
    return rows;
}

// Proposed by a sort on the names' sort keys, which costs a fraction of
// lstrcmpiW in every step, and kept when lstrcmpiW confirms it row by row;
// otherwise the list's own merge is run in full with lstrcmpiW.
std::vector<uint32_t> SortedOrder(const std::vector<ShownRow>& rows) {
    uint32_t count = static_cast<uint32_t>(rows.size());
    auto rank = [&rows](uint32_t a, uint32_t b) {
        bool aDirectory = rows[a].row.isDirectory, bDirectory = rows[b].row.isDirectory;
        if (aDirectory != bDirectory) return aDirectory ? -1 : 1;
        return lstrcmpiW(rows[a].text.c_str(), rows[b].text.c_str());
    };
    std::vector<uint32_t> proposed = ProposedOrder(rows);
    if (IsFileListRowOrder(proposed, count, rank)) return proposed;
    return FileListRowOrder(count, [&rows](uint32_t a, uint32_t b) {
        const ShownRow& first = rows[a];
        const ShownRow& second = rows[b];
        bool same = first.row.isDirectory == second.row.isDirectory;
        int order = same ? lstrcmpiW(first.text.c_str(), second.text.c_str()) : 0;
        return CompareFileListRows(first.row.isDirectory, second.row.isDirectory, order);
    });
}

int IconCache::Lookup(const FileListRow& row) {
    std::string key;
    if (!IconLookupKey(row.name, row.isDirectory, key)) return SystemIconIndex(row.name.c_str(), row.isDirectory);
    auto found = icons.find(key);
    if (found != icons.end()) return found->second;
    int index = SystemIconIndex(row.name.c_str(), row.isDirectory);
    icons.emplace(std::move(key), index);
    return index;
}

const std::wstring& CellTexts::ByteSize(uint64_t size) {
    auto found = byteSizes.find(size);
    if (found != byteSizes.end()) return found->second;
    wchar_t text[64] = {};
    StrFormatByteSizeW(static_cast<LONGLONG>(size), text, 64);
    return byteSizes.emplace(size, text).first->second;
}

const std::wstring& CellTexts::Grouped(uint64_t size) {
    auto found = groupedSizes.find(size);
    if (found != groupedSizes.end()) return found->second;
    return groupedSizes.emplace(size, FormatGroupedNumber(static_cast<int64_t>(size), number)).first->second;
}

const std::wstring& CellTexts::Time(uint64_t fileTime) {
    uint64_t minute = 0;
    bool shared = ShownMinute(fileTime, minute);
    auto& cache = shared ? minutes : times;
    uint64_t key = shared ? minute : fileTime;
    auto found = cache.find(key);
    if (found != cache.end()) return found->second;
    return cache.emplace(key, FormatFileTime(fileTime)).first->second;
}
