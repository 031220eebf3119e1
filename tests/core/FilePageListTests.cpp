// What the File page's list shows and how it orders rows, without windows:
// row texts from the genisoimage disc (sizes and times from its 7z listing,
// first sectors found by searching the image for 7z's extracted bytes), hand
// made nodes for the edge cases, the comparison and the locale grouping rule,
// and the export of hand made trees.

#include <gtest/gtest.h>

#include <algorithm>
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
