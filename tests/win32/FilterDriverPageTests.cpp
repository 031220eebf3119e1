#include <gtest/gtest.h>

#include <windows.h>
#include <commctrl.h>
#include <shlwapi.h>

#include <string>
#include <vector>

#include "pages/FilterDriverPage.h"
#include "win32/res/PageTestSupport.h"

namespace {

using page_test::CommonControlsV6;
using page_test::PageHost;
using page_test::SavedValue;
using page_test::Wide;

std::wstring DriversDirectory() {
    wchar_t windows[MAX_PATH] = {};
    GetWindowsDirectoryW(windows, MAX_PATH);
    return std::wstring(windows) + L"\\system32\\drivers\\";
}

std::wstring DriverPath(const std::wstring& name) { return DriversDirectory() + name + L".sys"; }

// The same short date, blank and time without seconds that the page shows.
std::wstring LocalText(const FILETIME& utc) {
    FILETIME local;
    SYSTEMTIME time;
    FileTimeToLocalFileTime(&utc, &local);
    FileTimeToSystemTime(&local, &time);
    wchar_t date[64] = {}, clock[64] = {};
    GetDateFormatW(LOCALE_USER_DEFAULT, DATE_SHORTDATE, &time, nullptr, date, 64);
    GetTimeFormatW(LOCALE_USER_DEFAULT, TIME_NOSECONDS, &time, nullptr, clock, 64);
    return std::wstring(date) + L" " + clock;
}

FILETIME Utc(WORD year, WORD month, WORD day, WORD hour, WORD minute) {
    SYSTEMTIME time{};
    time.wYear = year;
    time.wMonth = month;
    time.wDay = day;
    time.wHour = hour;
    time.wMinute = minute;
    FILETIME file;
    SystemTimeToFileTime(&time, &file);
    return file;
}

struct Row {
    std::wstring cells[7];
    int group = -1;
};

// What the page asked of its list view. Wine's list view keeps no groups,
// so the group requests are taken as they are sent: the list view made
// while a page is being created is subclassed from a CBT hook.
struct ListRequests {
    int groupView = -1;
    struct Group {
        WPARAM index;
        UINT mask;
        int id;
        std::wstring header;
    };
    std::vector<Group> groups;
    std::vector<std::pair<std::wstring, int>> itemGroups;  // name, group id, in insertion order
    std::vector<UINT> itemMasks;
};

ListRequests requests;
WNDPROC listProcedure = nullptr;
HHOOK creationHook = nullptr;

LRESULT CALLBACK RecordingList(HWND list, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == LVM_ENABLEGROUPVIEW) requests.groupView = static_cast<int>(wParam);
    if (message == LVM_INSERTGROUP) {
        const auto* group = reinterpret_cast<const LVGROUP*>(lParam);
        requests.groups.push_back({wParam, group->mask, group->iGroupId, group->pszHeader ? group->pszHeader : L""});
    }
    if (message == LVM_INSERTITEMW) {
        const auto* item = reinterpret_cast<const LVITEMW*>(lParam);
        requests.itemGroups.emplace_back(item->pszText ? item->pszText : L"", item->iGroupId);
        requests.itemMasks.push_back(item->mask);
    }
    return CallWindowProcW(listProcedure, list, message, wParam, lParam);
}

LRESULT CALLBACK WatchCreation(int code, WPARAM wParam, LPARAM lParam) {
    if (code == HCBT_CREATEWND) {
        HWND window = reinterpret_cast<HWND>(wParam);
        wchar_t name[32] = {};
        GetClassNameW(window, name, 32);
        if (lstrcmpiW(name, WC_LISTVIEWW) == 0)
            listProcedure = reinterpret_cast<WNDPROC>(
                SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(RecordingList)));
    }
    return CallNextHookEx(creationHook, code, wParam, lParam);
}

int RequestedGroup(const std::wstring& name) {
    for (const auto& item : requests.itemGroups)
        if (item.first == name) return item.second;
    return -1;
}

class FilterPageTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(controls.Active());
        ASSERT_TRUE(upper.Ok() && misspelledUpper.Ok() && lower.Ok());
        // Every test starts from a class key without filter values.
        ASSERT_TRUE(upper.Delete() && misspelledUpper.Delete() && lower.Delete());
    }
    void TearDown() override {
        for (const std::wstring& path : placed) {
            SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
            DeleteFileW(path.c_str());
        }
    }

    // Copies a built test driver into the drivers directory as `name`.sys.
    void PlaceDriver(const char* builtFile, const std::wstring& name) {
        std::wstring target = DriverPath(name);
        ASSERT_TRUE(CopyFileW(Wide(builtFile).c_str(), target.c_str(), FALSE)) << GetLastError();
        placed.push_back(target);
    }
    void EnsureMissing(const std::wstring& name) {
        DeleteFileW(DriverPath(name).c_str());
        ASSERT_EQ(GetFileAttributesW(DriverPath(name).c_str()), INVALID_FILE_ATTRIBUTES);
    }

    HWND MakePage() {
        requests = ListRequests();
        creationHook = SetWindowsHookExW(WH_CBT, WatchCreation, nullptr, GetCurrentThreadId());
        HWND page = host.Create(105, FilterPageProcedure);
        UnhookWindowsHookEx(creationHook);
        list = page ? GetDlgItem(page, 1001) : nullptr;
        return page;
    }

    std::vector<Row> Rows() {
        std::vector<Row> rows;
        int count = static_cast<int>(SendMessageW(list, LVM_GETITEMCOUNT, 0, 0));
        for (int i = 0; i < count; ++i) {
            Row row;
            for (int column = 0; column < 7; ++column) {
                wchar_t text[512] = {};
                LVITEMW item{};
                item.iSubItem = column;
                item.pszText = text;
                item.cchTextMax = 512;
                SendMessageW(list, LVM_GETITEMTEXTW, i, reinterpret_cast<LPARAM>(&item));
                row.cells[column] = text;
            }
            // The group the row was put in; where the list view keeps groups,
            // the one it reports.
            row.group = RequestedGroup(row.cells[0]);
            LVITEMW item{};
            item.mask = LVIF_GROUPID;
            item.iItem = i;
            item.iGroupId = -7;
            if (SendMessageW(list, LVM_GETITEMW, 0, reinterpret_cast<LPARAM>(&item)) && item.iGroupId != -7 &&
                SendMessageW(list, LVM_ISGROUPVIEWENABLED, 0, 0))
                row.group = item.iGroupId;
            rows.push_back(row);
        }
        return rows;
    }

    CommonControlsV6 controls;
    SavedValue upper{HKEY_LOCAL_MACHINE, kCdromClassKey, L"UpperFilters"};
    SavedValue misspelledUpper{HKEY_LOCAL_MACHINE, kCdromClassKey, L"UppderFilters"};
    SavedValue lower{HKEY_LOCAL_MACHINE, kCdromClassKey, L"LowerFilters"};
    PageHost host;
    HWND list = nullptr;
    std::vector<std::wstring> placed;
};

TEST_F(FilterPageTest, ListHasGridLinesFullRowSelectAndTwoGroups) {
    ASSERT_NE(MakePage(), nullptr);
    DWORD styles = static_cast<DWORD>(SendMessageW(list, LVM_GETEXTENDEDLISTVIEWSTYLE, 0, 0));
    EXPECT_EQ(styles & (LVS_EX_GRIDLINES | LVS_EX_FULLROWSELECT), static_cast<DWORD>(LVS_EX_GRIDLINES | LVS_EX_FULLROWSELECT));
    ASSERT_NE(listProcedure, nullptr) << "the page's list view was seen being made";
    EXPECT_EQ(requests.groupView, TRUE);
    const wchar_t* headers[] = {L"Upper Filters", L"Lower Filters"};
    ASSERT_EQ(requests.groups.size(), 2u);
    for (int group = 0; group < 2; ++group) {
        const ListRequests::Group& asked = requests.groups[group];
        EXPECT_EQ(asked.index, static_cast<WPARAM>(group));
        EXPECT_EQ(asked.id, group);
        EXPECT_EQ(asked.mask, static_cast<UINT>(LVGF_HEADER | LVGF_FOOTER | LVGF_GROUPID));
        EXPECT_EQ(asked.header, headers[group]);
    }
    // Where the list view keeps groups (not Wine's), it reports them back.
    if (SendMessageW(list, LVM_ISGROUPVIEWENABLED, 0, 0)) {
        for (int group = 0; group < 2; ++group) {
            wchar_t header[64] = {};
            LVGROUP info{};
            info.cbSize = sizeof info;
            info.mask = LVGF_HEADER | LVGF_GROUPID;
            info.pszHeader = header;
            info.cchHeader = 64;
            ASSERT_EQ(SendMessageW(list, LVM_GETGROUPINFO, group, reinterpret_cast<LPARAM>(&info)), group) << group;
            EXPECT_STREQ(header, headers[group]);
        }
    }
}

TEST_F(FilterPageTest, RowsAreInsertedAtTheTopWithTheirGroup) {
    ASSERT_TRUE(misspelledUpper.SetMulti(std::wstring(L"u1\0", 3)));
    ASSERT_TRUE(lower.SetMulti(std::wstring(L"l1\0l2\0", 6)));
    ASSERT_NE(MakePage(), nullptr);
    ASSERT_EQ(requests.itemGroups.size(), 3u);
    EXPECT_EQ(requests.itemGroups[0], std::make_pair(std::wstring(L"u1"), 0));
    EXPECT_EQ(requests.itemGroups[1], std::make_pair(std::wstring(L"l2"), 1));
    EXPECT_EQ(requests.itemGroups[2], std::make_pair(std::wstring(L"l1"), 1));
    for (UINT mask : requests.itemMasks) EXPECT_EQ(mask, static_cast<UINT>(LVIF_TEXT | LVIF_GROUPID));
}

TEST_F(FilterPageTest, SevenColumnsWithTheirTextsAndWidths) {
    ASSERT_NE(MakePage(), nullptr);
    const wchar_t* texts[] = {L"Name", L"Date Modified", L"Size", L"Version", L"Description", L"Publisher",
                              L"Image Path"};
    RECT client{};
    GetClientRect(list, &client);
    const int widths[] = {70, 120, 50, 60, 180, 150, static_cast<int>(client.right) - 400};
    HWND header = reinterpret_cast<HWND>(SendMessageW(list, LVM_GETHEADER, 0, 0));
    EXPECT_EQ(SendMessageW(header, HDM_GETITEMCOUNT, 0, 0), 7);
    for (int i = 0; i < 7; ++i) {
        wchar_t text[64] = {};
        LVCOLUMNW column{};
        column.mask = LVCF_TEXT | LVCF_WIDTH | LVCF_FMT;
        column.pszText = text;
        column.cchTextMax = 64;
        ASSERT_TRUE(SendMessageW(list, LVM_GETCOLUMNW, i, reinterpret_cast<LPARAM>(&column))) << i;
        EXPECT_STREQ(text, texts[i]);
        EXPECT_EQ(column.cx, widths[i]) << i;
        EXPECT_EQ(column.fmt & LVCFMT_JUSTIFYMASK, LVCFMT_LEFT) << i;
    }
    EXPECT_GT(widths[6], 0);
}

TEST_F(FilterPageTest, UsualUpperFiltersValueIsNeverReadOnlyUppderFiltersIs) {
    // The product has always read the upper filters under the value name
    // "UppderFilters"; the usual "UpperFilters" value stays unlisted.
    ASSERT_TRUE(upper.SetMulti(std::wstring(L"vexlon_never_listed\0", 20)));
    EXPECT_EQ(EnumerateFilters(1, [](const wchar_t*, HWND, int) {}, nullptr, 0), 0);
    ASSERT_TRUE(misspelledUpper.SetMulti(std::wstring(L"vexlon_upper\0", 13)));
    ASSERT_NE(MakePage(), nullptr);
    std::vector<Row> rows = Rows();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].cells[0], L"vexlon_upper");
    EXPECT_EQ(rows[0].group, 0);
    EXPECT_STREQ(FilterValueName(1), L"UppderFilters");
    EXPECT_STREQ(FilterValueName(2), L"LowerFilters");
}

std::vector<std::wstring> handedOver;

TEST_F(FilterPageTest, LowerFiltersAThenBAppearAsRowsAThenB) {
    ASSERT_TRUE(lower.SetMulti(std::wstring(L"a\0b\0", 4)));
    handedOver.clear();
    EXPECT_EQ(EnumerateFilters(2, [](const wchar_t* name, HWND, int) { handedOver.push_back(name); }, nullptr, 1), 2);
    // Names are handed over last to first and every row goes in at the top.
    ASSERT_EQ(handedOver.size(), 2u);
    EXPECT_EQ(handedOver[0], L"b");
    EXPECT_EQ(handedOver[1], L"a");

    ASSERT_NE(MakePage(), nullptr);
    std::vector<Row> rows = Rows();
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0].cells[0], L"a");
    EXPECT_EQ(rows[1].cells[0], L"b");
    EXPECT_EQ(rows[0].group, 1);
    EXPECT_EQ(rows[1].group, 1);
    EXPECT_EQ(rows[0].cells[6], DriverPath(L"a"));
    EXPECT_EQ(rows[1].cells[6], DriverPath(L"b"));
}

TEST_F(FilterPageTest, UpperRowsStayInTheirGroupAheadOfLowerOnes) {
    ASSERT_TRUE(misspelledUpper.SetMulti(std::wstring(L"u1\0u2\0", 6)));
    ASSERT_TRUE(lower.SetMulti(std::wstring(L"l1\0l2\0l3\0", 9)));
    ASSERT_NE(MakePage(), nullptr);
    std::vector<Row> rows = Rows();
    ASSERT_EQ(rows.size(), 5u);
    // The lower rows were inserted at the top after the upper ones.
    const wchar_t* names[] = {L"l1", L"l2", L"l3", L"u1", L"u2"};
    const int groups[] = {1, 1, 1, 0, 0};
    for (size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(rows[i].cells[0], names[i]) << i;
        EXPECT_EQ(rows[i].group, groups[i]) << i;
    }
}

TEST_F(FilterPageTest, DriverWithVersionResourceShowsItsFacts) {
    PlaceDriver(VEXLON_TEST_DRIVER_VERSIONED, L"vexlon_versioned");
    ASSERT_TRUE(lower.SetMulti(std::wstring(L"vexlon_versioned\0", 17)));
    ASSERT_NE(MakePage(), nullptr);
    std::vector<Row> rows = Rows();
    ASSERT_EQ(rows.size(), 1u);
    const Row& row = rows[0];
    EXPECT_EQ(row.cells[0], L"vexlon_versioned");
    EXPECT_EQ(row.cells[3], L"10.0.19041.1");
    EXPECT_EQ(row.cells[4], L"Vexlon CD-ROM Test Filter");
    EXPECT_EQ(row.cells[5], L"Vexlon Test Drivers Ltd.");
    EXPECT_EQ(row.cells[6], DriverPath(L"vexlon_versioned"));
    WIN32_FILE_ATTRIBUTE_DATA data{};
    ASSERT_TRUE(GetFileAttributesExW(DriverPath(L"vexlon_versioned").c_str(), GetFileExInfoStandard, &data));
    wchar_t size[64] = {};
    StrFormatByteSizeW((static_cast<LONGLONG>(data.nFileSizeHigh) << 32) | data.nFileSizeLow, size, 64);
    EXPECT_EQ(row.cells[2], size);
    EXPECT_NE(row.cells[2].find(L"KB"), std::wstring::npos) << "a small DLL is some kilobytes";
    EXPECT_FALSE(row.cells[1].empty());
}

TEST_F(FilterPageTest, DateModifiedColumnShowsTheLastAccessTime) {
    // The column is headed "Date Modified" but shows when the file was last
    // accessed, as the product always has. Access within the last hour and
    // after the write, so that reading the file does not move it.
    PlaceDriver(VEXLON_TEST_DRIVER_VERSIONED, L"vexlon_dated");
    FILETIME created = Utc(2019, 3, 4, 5, 6), written = Utc(2020, 1, 2, 10, 0);
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    ULARGE_INTEGER recent{};
    recent.LowPart = now.dwLowDateTime;
    recent.HighPart = now.dwHighDateTime;
    recent.QuadPart -= 3600ULL * 10000000ULL;
    FILETIME accessed{recent.LowPart, recent.HighPart};
    HANDLE file = CreateFileW(DriverPath(L"vexlon_dated").c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ, nullptr,
                              OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    ASSERT_TRUE(SetFileTime(file, &created, &accessed, &written));
    CloseHandle(file);

    ASSERT_TRUE(lower.SetMulti(std::wstring(L"vexlon_dated\0", 13)));
    ASSERT_NE(MakePage(), nullptr);
    std::vector<Row> rows = Rows();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].cells[1], LocalText(accessed));
    EXPECT_NE(rows[0].cells[1], LocalText(written));
    EXPECT_NE(rows[0].cells[1], LocalText(created));
}

TEST_F(FilterPageTest, DriverWithoutVersionInformationLeavesVersionDescriptionAndPublisherEmpty) {
    PlaceDriver(VEXLON_TEST_DRIVER_PLAIN, L"vexlon_plain");
    ASSERT_TRUE(lower.SetMulti(std::wstring(L"vexlon_plain\0", 13)));
    ASSERT_NE(MakePage(), nullptr);
    std::vector<Row> rows = Rows();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_FALSE(rows[0].cells[1].empty());
    EXPECT_FALSE(rows[0].cells[2].empty());
    EXPECT_EQ(rows[0].cells[3], L"");
    EXPECT_EQ(rows[0].cells[4], L"");
    EXPECT_EQ(rows[0].cells[5], L"");
    EXPECT_EQ(rows[0].cells[6], DriverPath(L"vexlon_plain"));
}

TEST_F(FilterPageTest, MissingDriverFileLeavesEverythingButNameAndPathEmpty) {
    EnsureMissing(L"vexlon_missing");
    ASSERT_TRUE(lower.SetMulti(std::wstring(L"vexlon_missing\0", 15)));
    ASSERT_NE(MakePage(), nullptr);
    std::vector<Row> rows = Rows();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].cells[0], L"vexlon_missing");
    for (int column = 1; column <= 5; ++column) EXPECT_EQ(rows[0].cells[column], L"") << column;
    EXPECT_EQ(rows[0].cells[6], DriverPath(L"vexlon_missing"));
}

TEST_F(FilterPageTest, StringMissingFromTheVersionResourceStaysEmpty) {
    // The description query fails: the field stays empty rather than being
    // copied from a pointer the failed query did not set; the publisher of
    // the first translation is still shown, the second is not read.
    PlaceDriver(VEXLON_TEST_DRIVER_NO_DESCRIPTION, L"vexlon_nodesc");
    DriverFile file;
    ReadDriverFile(DriverPath(L"vexlon_nodesc").c_str(), file);
    EXPECT_STREQ(file.version, L"6.1.7600.16385");
    EXPECT_STREQ(file.description, L"");
    EXPECT_STREQ(file.publisher, L"Vexlon Partial Ltd.");

    ASSERT_TRUE(lower.SetMulti(std::wstring(L"vexlon_nodesc\0", 14)));
    ASSERT_NE(MakePage(), nullptr);
    std::vector<Row> rows = Rows();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].cells[3], L"6.1.7600.16385");
    EXPECT_EQ(rows[0].cells[4], L"");
    EXPECT_EQ(rows[0].cells[5], L"Vexlon Partial Ltd.");
}

TEST_F(FilterPageTest, PathWithEnvironmentVariablesIsExpanded) {
    DriverFile file;
    SetEnvironmentVariableW(L"VEXLON_DRIVER_DIR", L"C:\\vexlon-drivers");
    ReadDriverFile(L"%VEXLON_DRIVER_DIR%\\x.sys", file);
    EXPECT_STREQ(file.path, L"C:\\vexlon-drivers\\x.sys");
    EXPECT_STREQ(file.size, L"");
    SetEnvironmentVariableW(L"VEXLON_DRIVER_DIR", nullptr);
}

TEST_F(FilterPageTest, RefreshAndDriveChangesLeaveThePageAsItWas) {
    PlaceDriver(VEXLON_TEST_DRIVER_VERSIONED, L"vexlon_versioned");
    ASSERT_TRUE(lower.SetMulti(std::wstring(L"vexlon_versioned\0a\0", 19)));
    HWND page = MakePage();
    ASSERT_NE(page, nullptr);
    std::vector<Row> before = Rows();
    ASSERT_EQ(before.size(), 2u);
    // Even with the registry changed in between, a refresh keeps the rows.
    ASSERT_TRUE(lower.SetMulti(std::wstring(L"c\0", 2)));
    ASSERT_TRUE(misspelledUpper.SetMulti(std::wstring(L"d\0", 2)));
    EXPECT_EQ(FilterPageProcedure(page, WM_APP_REFRESH, 0, 0), 1);
    SendMessageW(page, WM_APP_REFRESH, 0, 0);
    PostMessageW(page, WM_APP_REFRESH, 0, 0);
    page_test::Pump();
    std::vector<Row> after = Rows();
    ASSERT_EQ(after.size(), before.size());
    for (size_t i = 0; i < after.size(); ++i)
        for (int column = 0; column < 7; ++column) EXPECT_EQ(after[i].cells[column], before[i].cells[column]);
    HWND header = reinterpret_cast<HWND>(SendMessageW(list, LVM_GETHEADER, 0, 0));
    EXPECT_EQ(SendMessageW(header, HDM_GETITEMCOUNT, 0, 0), 7);
}

TEST_F(FilterPageTest, NoFilterValuesListNothing) {
    ASSERT_NE(MakePage(), nullptr);
    EXPECT_TRUE(Rows().empty());
    auto never = [](const wchar_t*, HWND, int) { ADD_FAILURE() << "no row expected"; };
    EXPECT_EQ(EnumerateFilters(1, never, nullptr, 0), 0);
    EXPECT_EQ(EnumerateFilters(2, never, nullptr, 1), 0);
}

TEST_F(FilterPageTest, TypesOtherThanUpperAndLowerYieldNothing) {
    ASSERT_TRUE(misspelledUpper.SetMulti(std::wstring(L"x\0", 2)));
    ASSERT_TRUE(lower.SetMulti(std::wstring(L"y\0", 2)));
    auto never = [](const wchar_t*, HWND, int) { ADD_FAILURE() << "no row expected"; };
    EXPECT_EQ(EnumerateFilters(0, never, nullptr, 0), 0);
    EXPECT_EQ(EnumerateFilters(3, never, nullptr, 0), 0);
    EXPECT_EQ(EnumerateFilters(-1, never, nullptr, 0), 0);
}

TEST_F(FilterPageTest, EmptyFirstNameListsNothing) {
    ASSERT_TRUE(lower.SetMulti(std::wstring(L"\0b\0", 3)));
    ASSERT_NE(MakePage(), nullptr);
    EXPECT_TRUE(Rows().empty());
}

TEST_F(FilterPageTest, ValueWithoutClosingTerminatorStillListsEveryName) {
    // Written by a careless installer: "a", nul, "bc" and no final nul.
    const wchar_t data[] = {L'a', 0, L'b', L'c'};
    ASSERT_TRUE(lower.Set(REG_MULTI_SZ, data, sizeof data));
    ASSERT_NE(MakePage(), nullptr);
    std::vector<Row> rows = Rows();
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0].cells[0], L"a");
    EXPECT_EQ(rows[1].cells[0], L"bc");
}

}  // namespace
