// What the File page's list shows and how it orders rows, without windows:
// row texts from the genisoimage disc (sizes and times from its 7z listing,
// first sectors found by searching the image for 7z's extracted bytes), hand
// made nodes for the edge cases, the comparison and the locale grouping rule,
// and the export of hand made trees.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <string>
#include <vector>

#include "TestPaths.h"
#include "UdfTestSupport.h"
#include "pages/FileList.h"
#include "udf/UdfListing.h"

namespace {

// Nodes built by hand in byte buffers, packed and unaligned as in the arena.
class HandTree {
public:
    FileNode* Add(FileNode* parent, const char* name, bool directory) {
        storage.emplace_back(kFileNodeRecordSize + std::strlen(name) + 2, '\0');
        FileNode* node = reinterpret_cast<FileNode*>(&storage.back()[1]);  // odd address on purpose
        std::memcpy(NodeName(node), name, std::strlen(name));
        node->isDirectory = directory ? 1 : 0;
        node->parent = parent ? parent : node;
        if (parent) {
            if (!parent->firstChild) {
                parent->firstChild = node;
            } else {
                FileNode* last = parent->firstChild;
                while (last->nextSibling) last = last->nextSibling;
                last->nextSibling = node;
            }
        }
        return node;
    }
    FileExtent* Extents(std::initializer_list<FileExtent> list) {
        extents.emplace_back(list);
        return extents.back().data();
    }

private:
    std::vector<std::string> storage;  // a deque would keep addresses too; reserve below
    std::vector<std::vector<FileExtent>> extents;

public:
    HandTree() {
        storage.reserve(64);
        extents.reserve(64);
    }
};

const FileNode* Child(const FileNode* dir, const char* name) {
    for (const FileNode* c = dir ? dir->firstChild : nullptr; c; c = c->nextSibling)
        if (std::strcmp(NodeName(c), name) == 0) return c;
    return nullptr;
}

}  // namespace

TEST(FilePageList, DirectoryBeforeFileGivesZeroNotMinusOne) {
    EXPECT_EQ(CompareFileListRows(true, false, -7), 0);
    EXPECT_EQ(CompareFileListRows(true, false, 7), 0);
    EXPECT_EQ(CompareFileListRows(false, true, -7), 1);
    EXPECT_EQ(CompareFileListRows(false, false, -3), -3);
    EXPECT_EQ(CompareFileListRows(true, true, 5), 5);
    EXPECT_EQ(CompareFileListRows(false, false, 0), 0);
}

TEST(FilePageList, OnlyPositiveResultsMoveSoDirectoriesStillComeFirst) {
    // An insertion sort that moves an item only past a neighbour comparing
    // above it, as a merge sort keeps equal items: directories end first.
    struct Item {
        std::string name;
        bool directory;
    };
    std::vector<Item> items = {{"b.txt", false}, {"Zeta", true}, {"a.txt", false}, {"alpha", true}, {"C.txt", false}};
    auto compare = [](const Item& x, const Item& y) {
        int order = 0;
        for (size_t i = 0;; ++i) {
            int a = i < x.name.size() ? std::tolower(static_cast<unsigned char>(x.name[i])) : 0;
            int b = i < y.name.size() ? std::tolower(static_cast<unsigned char>(y.name[i])) : 0;
            if (a != b || a == 0) {
                order = a - b;
                break;
            }
        }
        return CompareFileListRows(x.directory, y.directory, order);
    };
    for (size_t i = 1; i < items.size(); ++i)
        for (size_t j = i; j > 0 && compare(items[j - 1], items[j]) > 0; --j) std::swap(items[j - 1], items[j]);
    std::vector<std::string> names;
    for (const auto& item : items) names.push_back(item.name);
    EXPECT_EQ(names, (std::vector<std::string>{"alpha", "Zeta", "a.txt", "b.txt", "C.txt"}));
}

TEST(FilePageList, LocaleGroupingReadsDigitsUpToTheClosingZero) {
    EXPECT_EQ(GroupingFromLocaleText(L"3;0"), 3u);
    EXPECT_EQ(GroupingFromLocaleText(L"3;2;0"), 32u);
    EXPECT_EQ(GroupingFromLocaleText(L"3"), 30u);
    EXPECT_EQ(GroupingFromLocaleText(L"3;2"), 320u);
    EXPECT_EQ(GroupingFromLocaleText(L"0"), 0u);
    EXPECT_EQ(GroupingFromLocaleText(L"3;0;2"), 3u);
}

TEST(FilePageList, GenisoimageRowsMatchTheSevenZipListing) {
    MountedDisc disc(SharedPath("discs/udf102-genisoimage.iso"));
    ASSERT_TRUE(disc.mounted);
    const FileNode* root = disc.reader.root;
    const FileNode* readme = Child(root, "README.TXT");
    ASSERT_NE(readme, nullptr);
    FileListRow row = MakeFileListRow(readme);
    EXPECT_EQ(row.name, "README.TXT");
    EXPECT_FALSE(row.isDirectory);
    EXPECT_EQ(row.size, 1234u);
    EXPECT_EQ(row.lba, "686");
    EXPECT_EQ(FileTimeText(row.modified), "2026-11-21 15:08:40.000000");

    const FileNode* large = Child(Child(root, "big"), "large.bin");
    ASSERT_NE(large, nullptr);
    row = MakeFileListRow(large);
    EXPECT_EQ(row.size, 3145745u);
    EXPECT_EQ(row.lba, "1358");

    const FileNode* empty = Child(root, "empty.bin");
    ASSERT_NE(empty, nullptr);
    row = MakeFileListRow(empty);
    EXPECT_EQ(row.size, 0u);
    EXPECT_EQ(row.lba, "0");  // no data, no extent

    const FileNode* big = Child(root, "big");
    ASSERT_NE(big, nullptr);
    row = MakeFileListRow(big);
    EXPECT_TRUE(row.isDirectory);
    EXPECT_EQ(row.lba, std::to_string(Val(big->sector)));
    EXPECT_EQ(row.size, Val(big->location.length));
    EXPECT_EQ(FileTimeText(row.modified), "2026-11-21 15:08:40.000000");
}

TEST(FilePageList, FileAbove4GiBKeepsItsWholeSize) {
    HandTree tree;
    FileNode* root = tree.Add(nullptr, "", true);
    FileNode* huge = tree.Add(root, "huge.iso", false);
    huge->size = 5ull * 1024 * 1024 * 1024 + 3;
    huge->extentCount = 1;
    huge->extents = tree.Extents({{1234, 0x3FFFF800u}});
    FileListRow row = MakeFileListRow(huge);
    EXPECT_EQ(row.size, 5368709123ull);
    EXPECT_EQ(row.lba, "1234");
}

TEST(FilePageList, FileWithoutExtentsShowsLbaZeroAndDirectoryItsSector) {
    HandTree tree;
    FileNode* root = tree.Add(nullptr, "", true);
    FileNode* embedded = tree.Add(root, "inline.txt", false);
    embedded->size = 40;
    FileNode* dir = tree.Add(root, "sub", true);
    dir->sector = 300;
    dir->location.length = 2048;
    EXPECT_EQ(MakeFileListRow(embedded).lba, "0");
    EXPECT_EQ(MakeFileListRow(embedded).size, 40u);
    EXPECT_EQ(MakeFileListRow(dir).lba, "300");
    EXPECT_EQ(MakeFileListRow(dir).size, 2048u);
    // Sectors above 2^31 show as the signed number "%d" makes of them.
    dir->sector = 0x80000000u;
    EXPECT_EQ(MakeFileListRow(dir).lba, "-2147483648");
}

TEST(FilePageList, UnconvertibleTimeShowsFileTimeZero) {
    HandTree tree;
    FileNode* root = tree.Add(nullptr, "", true);
    FileNode* file = tree.Add(root, "odd.bin", false);
    // Type 2 in the top four bits of Type And Time Zone: not converted.
    const uint8_t stamp[12] = {0x00, 0x20, 0xEA, 0x07, 11, 21, 15, 8, 40, 0, 0, 0};
    std::memcpy(file->modified, stamp, 12);
    EXPECT_EQ(MakeFileListRow(file).modified, 0u);
    // Zone 2000 minutes is out of range: also not converted.
    const uint8_t zoned[12] = {0xD0, 0x17, 0xEA, 0x07, 11, 21, 15, 8, 40, 0, 0, 0};
    std::memcpy(file->modified, zoned, 12);
    EXPECT_EQ(MakeFileListRow(file).modified, 0u);
    // Type 1, zone 0, 2026-11-21 15:08:40 converts.
    const uint8_t good[12] = {0x00, 0x10, 0xEA, 0x07, 11, 21, 15, 8, 40, 0, 0, 0};
    std::memcpy(file->modified, good, 12);
    EXPECT_EQ(FileTimeText(MakeFileListRow(file).modified), "2026-11-21 15:08:40.000000");
}

TEST(FilePageExport, FileWithoutExtentsIsItsNameAndZero) {
    HandTree tree;
    FileNode* root = tree.Add(nullptr, "", true);
    tree.Add(root, "inline.txt", false);
    FileNode* data = tree.Add(root, "data.bin", false);
    data->extentCount = 2;
    data->extents = tree.Extents({{700, 4096}, {900, 10}});
    CUdfReader reader;
    reader.root = root;
    std::string out = FormatFileSystemListing(&reader);
    reader.root = nullptr;
    EXPECT_EQ(out,
              "// Exported by Vexlon Insepctor 1.3.0.0\r\n//\r\n\r\n"
              "\xA9\xC0\xA9\xA4inline.txt 0\r\n"
              "\xA9\xB8\xA9\xA4" "data.bin 2 (700, 4096) (900, 10)\r\n");
}

TEST(FilePageExport, LastTopLevelDirectoryGivesItsChildrenTwoBlanks) {
    HandTree tree;
    FileNode* root = tree.Add(nullptr, "", true);
    FileNode* first = tree.Add(root, "first", true);
    tree.Add(first, "a.txt", false);
    FileNode* last = tree.Add(root, "last", true);
    tree.Add(last, "b.txt", false);
    FileNode* inner = tree.Add(last, "inner", true);
    tree.Add(inner, "c.txt", false);
    CUdfReader reader;
    reader.root = root;
    std::string out = FormatFileSystemListing(&reader);
    reader.root = nullptr;
    const std::string tee = "\xA9\xC0\xA9\xA4", corner = "\xA9\xB8\xA9\xA4", bar = "\xA9\xA6 ";
    EXPECT_EQ(out, "// Exported by Vexlon Insepctor 1.3.0.0\r\n//\r\n\r\n" +
                       tee + "first\r\n" +
                       bar + "  " + corner + "a.txt 0\r\n" +
                       corner + "last\r\n" +
                       "    " + tee + "b.txt 0\r\n" +
                       "    " + corner + "inner\r\n" +
                       "        " + corner + "c.txt 0\r\n");
}

TEST(FilePageExport, NoVolumeWritesOnlyTheHeader) {
    EXPECT_EQ(FormatFileSystemListing(nullptr), "// Exported by Vexlon Insepctor 1.3.0.0\r\n//\r\n\r\n");
    CUdfReader unmounted;
    EXPECT_EQ(FormatFileSystemListing(&unmounted), "// Exported by Vexlon Insepctor 1.3.0.0\r\n//\r\n\r\n");
}

namespace {

// The list control's sort as it runs on its own item array: merge halves in
// place, moving the right-hand head in front of the left-hand run whenever
// the comparison says the left head is above it.
void InPlaceMerge(std::vector<uint32_t>& items, int l, int r, const FileListCompare& compare) {
    if (l >= r) return;
    int m = (l + r) / 2;
    InPlaceMerge(items, l, m, compare);
    InPlaceMerge(items, m + 1, r, compare);
    while (l <= m && m < r) {
        if (compare(items[l], items[m + 1]) > 0) {
            uint32_t moved = items[m + 1];
            std::memmove(&items[l + 1], &items[l], static_cast<size_t>(m - l + 1) * sizeof(uint32_t));
            items[l] = moved;
            ++m;
        }
        ++l;
    }
}

// Rows put at the top one by one, then sorted in place.
std::vector<uint32_t> InsertAtTopThenSort(uint32_t count, const FileListCompare& compare) {
    std::vector<uint32_t> items;
    for (uint32_t i = 0; i < count; ++i) items.insert(items.begin(), i);
    InPlaceMerge(items, 0, static_cast<int>(items.size()) - 1, compare);
    return items;
}

struct Row {
    std::string name;
    bool directory;
};

int CaseBlindOrder(const std::string& x, const std::string& y) {
    for (size_t i = 0;; ++i) {
        int a = i < x.size() ? std::tolower(static_cast<unsigned char>(x[i])) : 0;
        int b = i < y.size() ? std::tolower(static_cast<unsigned char>(y[i])) : 0;
        if (a != b || a == 0) return a < b ? -1 : (a > b ? 1 : 0);
    }
}

}  // namespace

TEST(FilePageListOrder, MatchesTheInPlaceSortEvenForAnInconsistentComparison) {
    // Answers drawn at random per pair: no order at all, so only the very
    // same merge steps give the same permutation.
    uint32_t seed = 12345;
    auto next = [&seed] { return seed = seed * 1103515245u + 12345u; };
    for (uint32_t count = 0; count < 160; count += (count < 20 ? 1 : 13)) {
        std::vector<int> answers(static_cast<size_t>(count) * count);
        for (int& a : answers) a = static_cast<int>((next() >> 16) % 3) - 1;
        FileListCompare compare = [&](uint32_t a, uint32_t b) { return answers[a * count + b]; };
        EXPECT_EQ(FileListRowOrder(count, compare), InsertAtTopThenSort(count, compare)) << count;
    }
}

TEST(FilePageListOrder, DirectoriesFirstAndEqualNamesInReverseDiscOrder) {
    std::vector<Row> rows;
    const char* names[] = {"b.txt", "Zeta", "A.TXT", "alpha", "a.txt", "zeta", "c", "B.txt", "Alpha", "x.bin"};
    for (int round = 0; round < 30; ++round)
        for (int i = 0; i < 10; ++i) rows.push_back({names[(i * 7 + round) % 10], ((i + round) % 3) == 0});
    FileListCompare compare = [&](uint32_t a, uint32_t b) {
        bool same = rows[a].directory == rows[b].directory;
        return CompareFileListRows(rows[a].directory, rows[b].directory,
                                   same ? CaseBlindOrder(rows[a].name, rows[b].name) : 0);
    };
    uint32_t count = static_cast<uint32_t>(rows.size());
    std::vector<uint32_t> order = FileListRowOrder(count, compare);
    ASSERT_EQ(order, InsertAtTopThenSort(count, compare));
    size_t firstFile = 0;
    while (firstFile < order.size() && rows[order[firstFile]].directory) ++firstFile;
    for (size_t i = firstFile; i < order.size(); ++i) EXPECT_FALSE(rows[order[i]].directory) << i;
    for (size_t i = 1; i < order.size(); ++i) {
        const Row& a = rows[order[i - 1]];
        const Row& b = rows[order[i]];
        if (a.directory != b.directory) continue;
        int by = CaseBlindOrder(a.name, b.name);
        EXPECT_LE(by, 0) << i;
        if (by == 0) {
            EXPECT_GT(order[i - 1], order[i]) << "equal names keep the reverse disc order at " << i;
        }
    }
}

TEST(FilePageListOrder, AllRowsComeOutOnce) {
    FileListCompare never = [](uint32_t, uint32_t) { return 0; };
    std::vector<uint32_t> order = FileListRowOrder(1000, never);
    ASSERT_EQ(order.size(), 1000u);
    for (uint32_t i = 0; i < 1000; ++i) EXPECT_EQ(order[i], 999 - i);
    EXPECT_TRUE(FileListRowOrder(0, never).empty());
}

TEST(FilePageIconKey, SameTailAndFlagShareAKeyPathsDoNot) {
    std::string a, b;
    ASSERT_TRUE(IconLookupKey("report.txt", false, a));
    ASSERT_TRUE(IconLookupKey("other.name.txt", false, b));
    EXPECT_EQ(a, b);
    ASSERT_TRUE(IconLookupKey("report.txt", true, b));
    EXPECT_NE(a, b);
    ASSERT_TRUE(IconLookupKey("report.TXT", false, b));
    EXPECT_NE(a, b);  // case kept: a finer key never merges two lookups
    ASSERT_TRUE(IconLookupKey("README", false, a));
    ASSERT_TRUE(IconLookupKey("Makefile", false, b));
    EXPECT_EQ(a, b);
    ASSERT_TRUE(IconLookupKey("a.b c", false, a));
    ASSERT_TRUE(IconLookupKey("a.b", false, b));
    EXPECT_NE(a, b);
    EXPECT_FALSE(IconLookupKey("dir\\x.txt", false, a));
    EXPECT_FALSE(IconLookupKey("dir/x.txt", false, a));
    EXPECT_FALSE(IconLookupKey("c:x.txt", false, a));
    EXPECT_FALSE(IconLookupKey("::{20D04FE0}", true, a));
}

TEST(FilePageTimeKey, OneKeyPerUtcMinuteAndNoneNearTheEnds) {
    const uint64_t minute = 600000000u;
    const uint64_t may2024 = 133603020000000000u;  // 2024-05-17 10:20:00 UTC, a whole minute
    uint64_t a = 0, b = 0;
    ASSERT_TRUE(ShownMinute(may2024, a));
    ASSERT_TRUE(ShownMinute(may2024 + minute - 1, b));
    EXPECT_EQ(a, b);
    ASSERT_TRUE(ShownMinute(may2024 + minute, b));
    EXPECT_EQ(b, a + 1);
    ASSERT_TRUE(ShownMinute(may2024 - 1, b));
    EXPECT_EQ(b, a - 1);
    EXPECT_FALSE(ShownMinute(0, a));
    EXPECT_FALSE(ShownMinute(uint64_t{1} << 63, a));
    EXPECT_FALSE(ShownMinute(~uint64_t{0}, a));
}

TEST(FilePageListOrder, ConfirmsOnlyTheOrderTheSortGives) {
    std::vector<Row> rows;
    const char* names[] = {"b.txt", "Zeta", "A.TXT", "alpha", "a.txt", "zeta", "c", "B.txt", "Alpha", "x.bin"};
    for (int i = 0; i < 60; ++i) rows.push_back({names[(i * 7) % 10], (i % 4) == 0});
    FileListCompare compare = [&](uint32_t a, uint32_t b) {
        bool same = rows[a].directory == rows[b].directory;
        return CompareFileListRows(rows[a].directory, rows[b].directory,
                                   same ? CaseBlindOrder(rows[a].name, rows[b].name) : 0);
    };
    FileListCompare rank = [&](uint32_t a, uint32_t b) {
        if (rows[a].directory != rows[b].directory) return rows[a].directory ? -1 : 1;
        return CaseBlindOrder(rows[a].name, rows[b].name);
    };
    uint32_t count = static_cast<uint32_t>(rows.size());
    std::vector<uint32_t> order = FileListRowOrder(count, compare);
    EXPECT_TRUE(IsFileListRowOrder(order, count, rank));
    // Two rows of equal names swapped, a row missing, a row twice, a row
    // out of range, a file before a directory: each refused.
    for (size_t i = 1; i < order.size(); ++i) {
        if (rank(order[i - 1], order[i]) != 0) continue;
        std::vector<uint32_t> swapped = order;
        std::swap(swapped[i - 1], swapped[i]);
        EXPECT_FALSE(IsFileListRowOrder(swapped, count, rank)) << i;
        break;
    }
    std::vector<uint32_t> shorter(order.begin(), order.end() - 1);
    EXPECT_FALSE(IsFileListRowOrder(shorter, count, rank));
    std::vector<uint32_t> twice = order;
    twice.back() = twice.front();
    EXPECT_FALSE(IsFileListRowOrder(twice, count, rank));
    std::vector<uint32_t> outside = order;
    outside.back() = count;
    EXPECT_FALSE(IsFileListRowOrder(outside, count, rank));
    std::vector<uint32_t> reversed(order.rbegin(), order.rend());
    EXPECT_FALSE(IsFileListRowOrder(reversed, count, rank));
}
