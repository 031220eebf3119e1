// The File page under Wine on an emulated drive holding the genisoimage
// disc: the tree and list read back from the controls, the list's order,
// the popup, extraction and export through save dialogs answered from
// another thread, and the reader's lifecycle. Names, sizes and times are
// from the disc's 7z listing; the root's directory order and first sectors
// were read by hand from the image's bytes.

#include <gtest/gtest.h>

#include <windows.h>
#include <commctrl.h>
#include <shellapi.h>

#include <atomic>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "TestPaths.h"
#include "core/UdfTestSupport.h"
#include "app/AppState.h"
#include "device/OsSeam.h"
#include "device/SptiDevice.h"
#include "emulation/EmulatedOsSeam.h"
#include "pages/FileFormat.h"
#include "pages/FilePage.h"
#include "udf/UdfReader.h"
#include "udf/UdfTree.h"
#include "win32/FilePageTestSupport.h"
#include "win32/res/PageTestSupport.h"

namespace {

using page_test::CommonControlsV6;
using page_test::PageHost;
using page_test::Pump;

const char kDiscPath[] = "\\\\?\\scsi#file-page-udf";
const char kIsoPath[] = "\\\\?\\scsi#file-page-iso";

DriveFile Inline(const std::string& path, char letter, const std::string& image, int sectors) {
    std::string text = "title: file page\nletter: ";
    text += letter;
    text += "\naddress: 1 0 0 0\npath: " + path + "\n";
    text += "image: " + SharedPath("discs/" + image) + "\n";
    text += "sectors: " + std::to_string(sectors) + "\n";
    DriveFile file;
    std::string error;
    EXPECT_TRUE(ParseDriveFile(text, "inline.drive", file, error)) << error;
    return file;
}

using file_page_test::AnswerSaveDialog;
using file_page_test::ReadAll;
using file_page_test::TempPath;
using file_page_test::WatchForMenu;

struct TreeItem {
    std::wstring text;
    int image = -1;
    int selectedImage = -1;
    int children = -1;
    LPARAM node = 0;
};

class FilePageTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(controls.Active());
        seam.SetDrives({Inline(kDiscPath, 'D', "udf102-genisoimage.iso", 3046),
                        Inline(kIsoPath, 'F', "iso9660-only.iso", 200)});
        previous = SetOs(&seam);
        saved.drive = App().CurrentDrive;
        saved.drives = App().drives;
        saved.selected = App().selectedDrive;
        saved.images = App().systemSmallImages;
        SHFILEINFOW info{};
        App().systemSmallImages = reinterpret_cast<HIMAGELIST>(SHGetFileInfoW(
            L"a.txt", FILE_ATTRIBUTE_NORMAL, &info, sizeof info,
            SHGFI_SYSICONINDEX | SHGFI_SMALLICON | SHGFI_USEFILEATTRIBUTES));
        Select('D', kDiscPath);
    }
    void TearDown() override {
        host.reset();
        App().CurrentDrive = saved.drive;
        App().drives = saved.drives;
        App().selectedDrive = saved.selected;
        App().systemSmallImages = saved.images;
        SetOs(previous);
    }
    void Select(char letter, const char* path) {
        App().CurrentDrive = OpenDevicePath(path);
        DriveEntry entry{};
        entry.letter = letter;
        entry.devicePath = path;
        App().drives = {entry};
        App().selectedDrive = 0;
    }
    HWND Open() {
        host.reset(new PageHost());
        HWND page = host->Create(104, FilePageProcedure);
        tree = GetDlgItem(page, 110);
        list = GetDlgItem(page, 111);
        return page;
    }
    HTREEITEM Next(HTREEITEM item, UINT how) {
        return reinterpret_cast<HTREEITEM>(SendMessageW(tree, TVM_GETNEXTITEM, how, reinterpret_cast<LPARAM>(item)));
    }
    TreeItem Item(HTREEITEM handle) {
        wchar_t text[260] = {};
        TVITEMW item{};
        item.mask = TVIF_TEXT | TVIF_IMAGE | TVIF_SELECTEDIMAGE | TVIF_CHILDREN | TVIF_PARAM | TVIF_HANDLE;
        item.hItem = handle;
        item.pszText = text;
        item.cchTextMax = 260;
        SendMessageW(tree, TVM_GETITEMW, 0, reinterpret_cast<LPARAM>(&item));
        return {text, item.iImage, item.iSelectedImage, item.cChildren, item.lParam};
    }
    std::vector<std::wstring> ChildTexts(HTREEITEM parent) {
        std::vector<std::wstring> out;
        for (HTREEITEM c = Next(parent, TVGN_CHILD); c; c = Next(c, TVGN_NEXT)) out.push_back(Item(c).text);
        return out;
    }
    HTREEITEM ChildNamed(HTREEITEM parent, const wchar_t* name) {
        for (HTREEITEM c = Next(parent, TVGN_CHILD); c; c = Next(c, TVGN_NEXT))
            if (Item(c).text == name) return c;
        return nullptr;
    }
    std::wstring Cell(int row, int column) {
        wchar_t text[260] = {};
        LVITEMW item{};
        item.iSubItem = column;
        item.pszText = text;
        item.cchTextMax = 260;
        SendMessageW(list, LVM_GETITEMTEXTW, row, reinterpret_cast<LPARAM>(&item));
        return text;
    }
    int Rows() { return static_cast<int>(SendMessageW(list, LVM_GETITEMCOUNT, 0, 0)); }
    std::vector<std::wstring> Names() {
        std::vector<std::wstring> out;
        for (int i = 0; i < Rows(); ++i) out.push_back(Cell(i, 0));
        return out;
    }
    int RowNamed(const wchar_t* name) {
        for (int i = 0; i < Rows(); ++i)
            if (Cell(i, 0) == name) return i;
        return -1;
    }
    LRESULT ListNotify(HWND page, UINT code, int row) {
        NMITEMACTIVATE click{};
        click.hdr.hwndFrom = list;
        click.hdr.idFrom = 111;
        click.hdr.code = code;
        click.iItem = row;
        click.ptAction = {10, 10};
        return SendMessageW(page, WM_NOTIFY, 111, reinterpret_cast<LPARAM>(&click));
    }
    void SelectTreeItem(HTREEITEM item) { SendMessageW(tree, TVM_SELECTITEM, TVGN_CARET, reinterpret_cast<LPARAM>(item)); }
    std::wstring Separator() {
        wchar_t text[8] = {};
        GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_STHOUSAND, text, 8);
        return text;
    }
    std::wstring Grouping() {
        wchar_t text[16] = {};
        GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_SGROUPING, text, 16);
        return text;
    }

    CommonControlsV6 controls;
    CEmulatedOsSeam seam;
    COsSeam* previous = nullptr;
    struct {
        HANDLE drive;
        DriveList drives;
        int32_t selected;
        HIMAGELIST images;
    } saved{};
    std::unique_ptr<PageHost> host;
    HWND tree = nullptr;
    HWND list = nullptr;
};

TEST_F(FilePageTest, ColumnsComeFromTheStringTableWithTheirWidthsAndAlignments) {
    HWND page = Open();
    ASSERT_NE(page, nullptr);
    const struct {
        const wchar_t* text;
        int width;
        int format;
    } expected[] = {{L"Name", 140, LVCFMT_LEFT},
                    {L"Lba", 60, LVCFMT_RIGHT},
                    {L"Size", 80, LVCFMT_RIGHT},
                    {L"Size (Bytes)", 100, LVCFMT_RIGHT},
                    {L"Date Modified", 130, LVCFMT_RIGHT}};
    for (int i = 0; i < 5; ++i) {
        wchar_t text[64] = {};
        LVCOLUMNW column{};
        column.mask = LVCF_TEXT | LVCF_WIDTH | LVCF_FMT;
        column.pszText = text;
        column.cchTextMax = 64;
        ASSERT_TRUE(SendMessageW(list, LVM_GETCOLUMNW, i, reinterpret_cast<LPARAM>(&column))) << i;
        EXPECT_STREQ(text, expected[i].text);
        EXPECT_EQ(column.cx, expected[i].width) << i;
        EXPECT_EQ(column.fmt & LVCFMT_JUSTIFYMASK, expected[i].format) << i;
    }
    EXPECT_FALSE(SendMessageW(list, LVM_GETCOLUMNW, 5, 0) && false);
    EXPECT_TRUE(SendMessageW(list, LVM_GETEXTENDEDLISTVIEWSTYLE, 0, 0) & LVS_EX_FULLROWSELECT);
    EXPECT_EQ(reinterpret_cast<HIMAGELIST>(SendMessageW(list, LVM_GETIMAGELIST, LVSIL_SMALL, 0)),
              App().systemSmallImages);
}

TEST_F(FilePageTest, VolumeItemListsTheRootAndKeepsImageTwo) {
    HWND page = Open();
    ASSERT_NE(page, nullptr);
    HTREEITEM volume = Next(nullptr, TVGN_ROOT);
    ASSERT_NE(volume, nullptr);
    EXPECT_EQ(Next(volume, TVGN_NEXT), nullptr);  // a single root item
    TreeItem top = Item(volume);
    EXPECT_EQ(top.text, L"GENISO_UDF102");
    EXPECT_EQ(top.image, 2);
    EXPECT_EQ(top.selectedImage, 2);
    EXPECT_EQ(top.children, 1);
    EXPECT_EQ(Next(nullptr, TVGN_CARET), volume);
    EXPECT_TRUE(SendMessageW(tree, TVM_GETITEMSTATE, reinterpret_cast<WPARAM>(volume), TVIS_EXPANDED) & TVIS_EXPANDED);
    HIMAGELIST images = reinterpret_cast<HIMAGELIST>(SendMessageW(tree, TVM_GETIMAGELIST, TVSIL_NORMAL, 0));
    ASSERT_NE(images, nullptr);
    EXPECT_EQ(ImageList_GetImageCount(images), 3);

    // First level: the directories in the order the disc records them.
    EXPECT_EQ(ChildTexts(volume),
              (std::vector<std::wstring>{L"AUDIO_TS", L"VIDEO_TS", L"big", L"deep", L"docs", L"many"}));
    TreeItem deep = Item(ChildNamed(volume, L"deep"));
    EXPECT_EQ(deep.image, 0);
    EXPECT_EQ(deep.selectedImage, 1);
    EXPECT_EQ(deep.children, 1);
    EXPECT_EQ(Item(ChildNamed(volume, L"docs")).children, 0);

    // The list shows the root: directories first, then files, each group in
    // name order without regard to case.
    EXPECT_EQ(Names(), (std::vector<std::wstring>{L"AUDIO_TS", L"big", L"deep", L"docs", L"many", L"VIDEO_TS",
                                                  L"empty.bin", L"one.bin", L"README.TXT", L"sector.bin",
                                                  L"sector-minus-one.bin", L"sector-plus-one.bin"}));
    int readme = RowNamed(L"README.TXT");
    ASSERT_GE(readme, 0);
    EXPECT_EQ(Cell(readme, 1), L"686");
    EXPECT_EQ(Cell(readme, 2), L"1.20 KB");
    if (Grouping() == L"3;0") {
        EXPECT_EQ(Cell(readme, 3), L"1" + Separator() + L"234");
    }

    // 2026-11-21 15:08:40 UTC in the user's short date and time.
    SYSTEMTIME utc{2026, 11, 0, 21, 15, 8, 40, 0};
    FILETIME ft{}, local{};
    SystemTimeToFileTime(&utc, &ft);
    FileTimeToLocalFileTime(&ft, &local);
    SYSTEMTIME shown{};
    FileTimeToSystemTime(&local, &shown);
    wchar_t date[64] = {}, time[64] = {};
    GetDateFormatW(LOCALE_USER_DEFAULT, DATE_SHORTDATE, &shown, nullptr, date, 64);
    GetTimeFormatW(LOCALE_USER_DEFAULT, TIME_NOSECONDS, &shown, nullptr, time, 64);
    EXPECT_EQ(Cell(readme, 4), std::wstring(date) + L" " + time);

    int one = RowNamed(L"one.bin");
    EXPECT_EQ(Cell(one, 1), L"685");
    EXPECT_EQ(Cell(one, 2), L"1 bytes");
    EXPECT_EQ(Cell(one, 3), L"1");
    int empty = RowNamed(L"empty.bin");
    EXPECT_EQ(Cell(empty, 1), L"0");
    EXPECT_EQ(Cell(empty, 3), L"0");

    // Reselecting the volume after another directory lists the root again.
    SelectTreeItem(ChildNamed(volume, L"docs"));
    EXPECT_EQ(Rows(), 2);
    SelectTreeItem(volume);
    EXPECT_EQ(Rows(), 12);
    EXPECT_EQ(Item(volume).image, 2);
    EXPECT_EQ(Item(volume).selectedImage, 2);
}

TEST_F(FilePageTest, DirectoryContentsMatchTheSevenZipListing) {
    HWND page = Open();
    ASSERT_NE(page, nullptr);
    HTREEITEM volume = Next(nullptr, TVGN_ROOT);
    SelectTreeItem(ChildNamed(volume, L"VIDEO_TS"));
    EXPECT_EQ(Names(), (std::vector<std::wstring>{L"VIDEO_TS.IFO", L"VTS_01_1.VOB"}));
    EXPECT_EQ(Cell(0, 3), L"12" + Separator() + L"288");
    EXPECT_EQ(Cell(0, 2), L"12.0 KB");
    EXPECT_EQ(Cell(1, 3), L"300" + Separator() + L"000");
    EXPECT_EQ(Cell(1, 2), L"292 KB");

    SelectTreeItem(ChildNamed(volume, L"big"));
    EXPECT_EQ(Names(), (std::vector<std::wstring>{L"large.bin"}));
    EXPECT_EQ(Cell(0, 1), L"1358");
    EXPECT_EQ(Cell(0, 3), L"3" + Separator() + L"145" + Separator() + L"745");
    EXPECT_EQ(Cell(0, 2), L"3.00 MB");

    SelectTreeItem(ChildNamed(volume, L"docs"));
    // Names of 8-bit and 16-bit characters keep their low bytes, shown in
    // the ANSI code page.
    std::vector<std::wstring> docs = Names();
    ASSERT_EQ(docs.size(), 2u);
    EXPECT_EQ(Cell(RowNamed(docs[0].c_str()), 3), L"5" + Separator() + L"000");
    EXPECT_EQ(Cell(RowNamed(docs[1].c_str()), 3), L"700");

    SelectTreeItem(ChildNamed(volume, L"many"));
    ASSERT_EQ(Rows(), 300);
    EXPECT_EQ(Cell(0, 0), L"file000.dat");
    EXPECT_EQ(Cell(1, 0), L"file001.dat");
    EXPECT_EQ(Cell(1, 3), L"37");
    EXPECT_EQ(Cell(299, 0), L"file299.dat");
    EXPECT_EQ(Cell(299, 3), L"1" + Separator() + L"063");  // 299 * 37 mod 5000
}

TEST_F(FilePageTest, ExpansionFillsDeeperLevelsWithoutImages) {
    HWND page = Open();
    ASSERT_NE(page, nullptr);
    HTREEITEM volume = Next(nullptr, TVGN_ROOT);
    HTREEITEM deep = ChildNamed(volume, L"deep");
    EXPECT_EQ(Next(deep, TVGN_CHILD), nullptr);  // nothing until first expanded
    SendMessageW(tree, TVM_EXPAND, TVE_EXPAND, reinterpret_cast<LPARAM>(deep));
    EXPECT_EQ(ChildTexts(deep), (std::vector<std::wstring>{L"level01"}));
    TreeItem level = Item(Next(deep, TVGN_CHILD));
    EXPECT_EQ(level.image, 0);
    EXPECT_EQ(level.selectedImage, 0);
    EXPECT_EQ(level.children, 1);
    // Collapsing and expanding again does not add the children twice.
    SendMessageW(tree, TVM_EXPAND, TVE_COLLAPSE, reinterpret_cast<LPARAM>(deep));
    SendMessageW(tree, TVM_EXPAND, TVE_EXPAND, reinterpret_cast<LPARAM>(deep));
    EXPECT_EQ(ChildTexts(deep).size(), 1u);
    // Down to the bottom: level10 holds the only file.
    HTREEITEM item = Next(deep, TVGN_CHILD);
    for (int i = 2; i <= 10; ++i) {
        SendMessageW(tree, TVM_EXPAND, TVE_EXPAND, reinterpret_cast<LPARAM>(item));
        item = Next(item, TVGN_CHILD);
        ASSERT_NE(item, nullptr) << i;
    }
    EXPECT_EQ(Item(item).text, L"level10");
    EXPECT_EQ(Item(item).children, 0);
    SelectTreeItem(item);
    EXPECT_EQ(Names(), (std::vector<std::wstring>{L"bottom.txt"}));
    EXPECT_EQ(Cell(0, 3), L"100");
}

TEST_F(FilePageTest, DoubleClickOpensADirectoryAndIgnoresFiles) {
    HWND page = Open();
    ASSERT_NE(page, nullptr);
    HTREEITEM volume = Next(nullptr, TVGN_ROOT);
    ListNotify(page, static_cast<UINT>(NM_DBLCLK), RowNamed(L"README.TXT"));
    EXPECT_EQ(Next(nullptr, TVGN_CARET), volume);
    ListNotify(page, static_cast<UINT>(NM_DBLCLK), -1);
    EXPECT_EQ(Next(nullptr, TVGN_CARET), volume);

    ListNotify(page, static_cast<UINT>(NM_DBLCLK), RowNamed(L"deep"));
    HTREEITEM selected = Next(nullptr, TVGN_CARET);
    EXPECT_EQ(Item(selected).text, L"deep");
    EXPECT_TRUE(SendMessageW(tree, TVM_GETITEMSTATE, reinterpret_cast<WPARAM>(selected), TVIS_EXPANDED) &
                TVIS_EXPANDED);
    EXPECT_EQ(Names(), (std::vector<std::wstring>{L"level01"}));
    ListNotify(page, static_cast<UINT>(NM_DBLCLK), 0);
    EXPECT_EQ(Item(Next(nullptr, TVGN_CARET)).text, L"level01");
    EXPECT_EQ(Names(), (std::vector<std::wstring>{L"level02"}));
}

TEST_F(FilePageTest, RightClickShowsTheMenuForFilesOnly) {
    HWND page = Open();
    ASSERT_NE(page, nullptr);
    std::atomic<bool> seen{false};
    std::thread watch(WatchForMenu, &seen, 40);
    ListNotify(page, static_cast<UINT>(NM_RCLICK), RowNamed(L"docs"));
    watch.join();
    EXPECT_FALSE(seen);

    std::thread watchFile(WatchForMenu, &seen, 200);
    ListNotify(page, static_cast<UINT>(NM_RCLICK), RowNamed(L"README.TXT"));
    watchFile.join();
    EXPECT_TRUE(seen);
}

TEST_F(FilePageTest, ExtractCopiesTheRightClickedFileExactly) {
    HWND page = Open();
    ASSERT_NE(page, nullptr);
    std::string target = TempPath("vexlon-file-page-readme.txt");
    DeleteFileA(target.c_str());

    // Before any right-click there is nothing to extract: no dialog.
    std::string offered;
    SendMessageW(page, WM_COMMAND, 200, 0);

    std::atomic<bool> seen{false};
    std::thread watch(WatchForMenu, &seen, 200);
    ListNotify(page, static_cast<UINT>(NM_RCLICK), RowNamed(L"README.TXT"));
    watch.join();
    ASSERT_TRUE(seen);
    // A right-click on a directory keeps the file as the target.
    ListNotify(page, static_cast<UINT>(NM_RCLICK), RowNamed(L"big"));

    std::thread answer(AnswerSaveDialog, target, &offered);
    SendMessageW(page, WM_COMMAND, 200, 0);
    answer.join();
    EXPECT_EQ(offered, "README.TXT");
    std::string image = ReadAll(SharedPath("discs/udf102-genisoimage.iso"));
    ASSERT_GE(image.size(), 686u * 2048 + 1234);
    EXPECT_EQ(ReadAll(target), image.substr(686u * 2048, 1234));
    DeleteFileA(target.c_str());

    // Cancel writes nothing.
    std::thread cancel(AnswerSaveDialog, std::string(), nullptr);
    SendMessageW(page, WM_COMMAND, 200, 0);
    cancel.join();
    EXPECT_EQ(GetFileAttributesA(target.c_str()), INVALID_FILE_ATTRIBUTES);
}

TEST_F(FilePageTest, ExportWritesTheListingWithCrLf) {
    HWND page = Open();
    ASSERT_NE(page, nullptr);
    std::string target = TempPath("vexlon-file-page-export.txt");
    DeleteFileA(target.c_str());
    std::string offered;
    std::thread answer(AnswerSaveDialog, target, &offered);
    SendMessageW(page, WM_COMMAND, 112, 0);
    answer.join();
    EXPECT_EQ(offered, "filesystem.txt");
    std::string text = ReadAll(target);
    const std::string tee = "\xA9\xC0\xA9\xA4", corner = "\xA9\xB8\xA9\xA4", bar = "\xA9\xA6 ";
    EXPECT_EQ(text.rfind("// Exported by Vexlon Insepctor 1.3.0.0\r\n//\r\n\r\n" + tee + "AUDIO_TS\r\n", 0), 0u);
    EXPECT_NE(text.find(tee + "README.TXT 1 (686, 1234)\r\n"), std::string::npos);
    EXPECT_NE(text.find(bar + "  " + corner + "large.bin 1 (1358, 3145745)\r\n"), std::string::npos);
    EXPECT_NE(text.find(tee + "empty.bin 0\r\n"), std::string::npos);
    EXPECT_NE(text.find(corner + "sector.bin 1 (687, 2048)\r\n"), std::string::npos);
    EXPECT_EQ(text.find("\r\r"), std::string::npos);
    DeleteFileA(target.c_str());
}

TEST_F(FilePageTest, LargeAndExtentlessFilesShowTheirSizeAndLbaZero) {
    HWND page = Open();
    ASSERT_NE(page, nullptr);
    CUdfReader* reader = FilePageReader();
    ASSERT_NE(reader, nullptr);
    // The disc has no file above 4 GiB: give one node such a size, and take
    // another's extents away, as an embedded file would have none.
    FileNode* large = FindPath(*reader, "big/large.bin");
    ASSERT_NE(large, nullptr);
    large->size = 5368709123ull;
    FileNode* readme = FindPath(*reader, "README.TXT");
    ASSERT_NE(readme, nullptr);
    readme->extentCount = 0;

    HTREEITEM volume = Next(nullptr, TVGN_ROOT);
    SelectTreeItem(ChildNamed(volume, L"big"));
    ASSERT_EQ(Rows(), 1);
    std::wstring sep = Separator();
    if (Grouping() == L"3;0") {
        EXPECT_EQ(Cell(0, 3), L"5" + sep + L"368" + sep + L"709" + sep + L"123");
    }
    EXPECT_EQ(Cell(0, 2), L"5.00 GB");
    SelectTreeItem(volume);
    EXPECT_EQ(Cell(RowNamed(L"README.TXT"), 1), L"0");

    std::string target = TempPath("vexlon-file-page-extentless.txt");
    std::thread answer(AnswerSaveDialog, target, nullptr);
    SendMessageW(page, WM_COMMAND, 112, 0);
    answer.join();
    std::string text = ReadAll(target);
    EXPECT_NE(text.find("\xA9\xC0\xA9\xA4README.TXT 0\r\n"), std::string::npos);
    DeleteFileA(target.c_str());
}

TEST_F(FilePageTest, RefreshReleasesTheOldReaderBeforeMountingAndNoVolumeEmptiesThePage) {
    HWND page = Open();
    ASSERT_NE(page, nullptr);
    ASSERT_NE(FilePageReader(), nullptr);
    HIMAGELIST firstImages = reinterpret_cast<HIMAGELIST>(SendMessageW(tree, TVM_GETIMAGELIST, TVSIL_NORMAL, 0));
    size_t before = seam.calls.size();
    SendMessageW(page, WM_APP_REFRESH, 0, 0);
    ASSERT_NE(FilePageReader(), nullptr);
    // The old reader's own handle is closed before the letter is opened again.
    size_t closeAt = 0, openAt = 0;
    for (size_t i = before; i < seam.calls.size(); ++i) {
        const auto& call = seam.calls[i];
        if (call.name == "CloseHandle" && !closeAt) closeAt = i + 1;
        if (call.name == "CreateFileA" && !openAt &&
            std::string(call.in.begin(), call.in.end()).find("\\\\.\\D:") != std::string::npos)
            openAt = i + 1;
    }
    EXPECT_NE(closeAt, 0u);
    EXPECT_NE(openAt, 0u);
    EXPECT_LT(closeAt, openAt);
    HIMAGELIST secondImages = reinterpret_cast<HIMAGELIST>(SendMessageW(tree, TVM_GETIMAGELIST, TVSIL_NORMAL, 0));
    EXPECT_NE(secondImages, nullptr);
    EXPECT_NE(secondImages, firstImages);
    EXPECT_EQ(Rows(), 12);

    // A disc without UDF: empty tree and list, and the export has the header only.
    Select('F', kIsoPath);
    SendMessageW(page, WM_APP_REFRESH, 0, 0);
    EXPECT_EQ(FilePageReader(), nullptr);
    EXPECT_EQ(Next(nullptr, TVGN_ROOT), nullptr);
    EXPECT_EQ(Rows(), 0);
    std::string target = TempPath("vexlon-file-page-empty.txt");
    std::thread answer(AnswerSaveDialog, target, nullptr);
    SendMessageW(page, WM_COMMAND, 112, 0);
    answer.join();
    EXPECT_EQ(ReadAll(target), "// Exported by Vexlon Insepctor 1.3.0.0\r\n//\r\n\r\n");
    DeleteFileA(target.c_str());
    // Extract has no target any more: nothing happens.
    SendMessageW(page, WM_COMMAND, 200, 0);
}

// A volume of our own mastering tool with what the genisoimage disc lacks:
// several directories on the second level in unsorted disc order, a file
// whose data is embedded in its entry, a deleted and a hidden entry, and a
// file above 4 GiB made of holes.
TEST_F(FilePageTest, MasteredVolumeSortsDeeperLevelsAndShowsEmbeddedAndHugeFiles) {
    using namespace udfmaster;
    Node zeta = Dir("zeta", {Dir("beta"), Dir("Alpha", {Dir("inner")}), Dir("gamma"), File("x.txt", "x")});
    Node small = File("small.txt", "embedded bytes");
    small.ad = kEmbedded;
    Node gone = File("gone.txt", "d");
    gone.deleted = true;
    Node hidden = File("hidden.txt", "h");
    hidden.hidden = true;
    Node huge;
    huge.name = "huge.bin";
    huge.pieces = {Piece{"abc", 0}};
    // 3 + 5 x (2^30 - 2048) = 5,368,698,883 bytes.
    for (int i = 0; i < 5; ++i) huge.pieces.push_back(Piece{"", 0x3FFFF800u});
    Options options;
    options.revision = 0x0201;
    options.volume = "FILE_PAGE";
    Image image = Build(Dir("", {zeta, Dir("alpha"), small, gone, hidden, huge}), options);
    std::string path = WriteImage(image, "file-page-mastered");
    DriveFile mastered;
    std::string text = std::string("title: mastered\nletter: H\naddress: 1 0 0 0\npath: \\\\?\\scsi#file-page-mastered\n") +
                       "image: " + path + "\nsectors: " + std::to_string(image.bytes.size() / 2048) + "\n";
    std::string error;
    ASSERT_TRUE(ParseDriveFile(text, "mastered.drive", mastered, error)) << error;
    seam.SetDrives({mastered});
    Select('H', "\\\\?\\scsi#file-page-mastered");

    HWND page = Open();
    ASSERT_NE(page, nullptr);
    HTREEITEM volume = Next(nullptr, TVGN_ROOT);
    ASSERT_NE(volume, nullptr);
    EXPECT_EQ(Item(volume).text, L"FILE_PAGE");
    EXPECT_EQ(ChildTexts(volume), (std::vector<std::wstring>{L"zeta", L"alpha"}));
    HTREEITEM z = ChildNamed(volume, L"zeta");
    SendMessageW(tree, TVM_EXPAND, TVE_EXPAND, reinterpret_cast<LPARAM>(z));
    EXPECT_EQ(ChildTexts(z), (std::vector<std::wstring>{L"Alpha", L"beta", L"gamma"}));
    EXPECT_EQ(Item(ChildNamed(z, L"Alpha")).children, 1);
    EXPECT_EQ(Item(ChildNamed(z, L"beta")).children, 0);
    EXPECT_EQ(Item(ChildNamed(z, L"beta")).image, 0);

    EXPECT_EQ(Names(), (std::vector<std::wstring>{L"alpha", L"zeta", L"hidden.txt", L"huge.bin", L"small.txt"}));
    int embedded = RowNamed(L"small.txt");
    EXPECT_EQ(Cell(embedded, 1), L"0");
    EXPECT_EQ(Cell(embedded, 3), L"14");
    int big = RowNamed(L"huge.bin");
    std::wstring sep = Separator();
    if (Grouping() == L"3;0") {
        EXPECT_EQ(Cell(big, 3), L"5" + sep + L"368" + sep + L"698" + sep + L"883");
    }
    EXPECT_NE(Cell(big, 2).find(L"GB"), std::wstring::npos) << Cell(big, 2);

    SelectTreeItem(z);
    EXPECT_EQ(Names(), (std::vector<std::wstring>{L"Alpha", L"beta", L"gamma", L"x.txt"}));

    std::string target = TempPath("vexlon-file-page-mastered.txt");
    std::thread answer(AnswerSaveDialog, target, nullptr);
    SendMessageW(page, WM_COMMAND, 112, 0);
    answer.join();
    std::string listing = ReadAll(target);
    const std::string tee = "\xA9\xC0\xA9\xA4", corner = "\xA9\xB8\xA9\xA4", bar = "\xA9\xA6 ";
    // zeta's children follow the disc's order in the export, not the tree's.
    EXPECT_NE(listing.find(tee + "zeta\r\n" + bar + "  " + tee + "beta\r\n" + bar + "  " + tee + "Alpha\r\n" + bar +
                           "  " + bar + "  " + corner + "inner\r\n"),
              std::string::npos);
    EXPECT_NE(listing.find(tee + "small.txt 0\r\n"), std::string::npos);
    EXPECT_EQ(listing.find("gone.txt"), std::string::npos);
    DeleteFileA(target.c_str());
}

TEST(FileFormat, GroupedNumberFollowsTheLocale) {
    wchar_t grouping[16] = {};
    GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_SGROUPING, grouping, 16);
    wchar_t sep[8] = {};
    GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_STHOUSAND, sep, 8);
    std::wstring s = sep;
    EXPECT_EQ(FormatGroupedNumber(0), L"0");
    EXPECT_EQ(FormatGroupedNumber(999), L"999");
    if (std::wstring(grouping) == L"3;0") {
        EXPECT_EQ(FormatGroupedNumber(1234), L"1" + s + L"234");
        EXPECT_EQ(FormatGroupedNumber(INT64_MAX), L"9" + s + L"223" + s + L"372" + s + L"036" + s + L"854" + s + L"775" +
                                                      s + L"807");
        EXPECT_EQ(FormatGroupedNumber(-1234567), L"(1" + s + L"234" + s + L"567)");  // negative order 0
    }
}

TEST(FileFormat, SystemIconIndexNeverTouchesTheDisc) {
    SHFILEINFOA info{};
    SHGetFileInfoA("x.txt", FILE_ATTRIBUTE_NORMAL, &info, sizeof info,
                   SHGFI_SYSICONINDEX | SHGFI_SMALLICON | SHGFI_USEFILEATTRIBUTES);
    EXPECT_EQ(SystemIconIndex("no-such-folder\\x.txt", false), SystemIconIndex("x.txt", false));
    EXPECT_EQ(SystemIconIndex("x.txt", false), info.iIcon);
    EXPECT_GE(SystemIconIndex("folder", true), 0);
}

}  // namespace
