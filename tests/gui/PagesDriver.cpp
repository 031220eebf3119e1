// Drives the running demo build from outside to check the Filter Driver and
// About pages: reads the filter list's rows and cells across the process
// boundary, reads the About texts and links, clicks a link and presses Enter
// on it, and saves screenshots. Prints "ok"/"not ok" lines and a count.
//
// usage: pages_driver OUTDIR LINK_LOG

#include <windows.h>
#include <commctrl.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "UiDriver.h"

using namespace ui;

namespace {

const wchar_t kClassKey[] = L"SYSTEM\\CurrentControlSet\\Control\\Class\\{4D36E965-E325-11CE-BFC1-08002BE10318}";

struct PageFinder {
    int controlId;
    const wchar_t* controlClass;
    HWND found;
};

BOOL CALLBACK FindPage(HWND child, LPARAM lParam) {
    auto* finder = reinterpret_cast<PageFinder*>(lParam);
    wchar_t name[32];
    GetClassNameW(child, name, 32);
    if (lstrcmpW(name, L"#32770") != 0) return TRUE;
    HWND control = GetDlgItem(child, finder->controlId);
    if (!control) return TRUE;
    GetClassNameW(control, name, 32);
    if (lstrcmpiW(name, finder->controlClass) != 0) return TRUE;
    finder->found = child;
    return FALSE;
}

HWND FindPageWith(HWND dialog, int id, const wchar_t* cls) {
    PageFinder finder{id, cls, nullptr};
    EnumChildWindows(dialog, FindPage, reinterpret_cast<LPARAM>(&finder));
    return finder.found;
}

struct Row {
    std::string cells[7];
    int group = -1;
};

std::vector<Row> ListRows(HWND list) {
    std::vector<Row> rows;
    int count = static_cast<int>(SendMessageW(list, LVM_GETITEMCOUNT, 0, 0));
    RemoteMemory remote(list, sizeof(LVITEMW) + 1024);
    for (int i = 0; remote.Ok() && i < count; ++i) {
        Row row;
        for (int column = 0; column < 7; ++column) {
            LVITEMW item{};
            item.iSubItem = column;
            item.pszText = reinterpret_cast<LPWSTR>(remote.At(sizeof item));
            item.cchTextMax = 500;
            remote.Write(0, &item, sizeof item);
            wchar_t text[501] = {};
            remote.Write(sizeof item, text, sizeof text);
            SendMessageW(list, LVM_GETITEMTEXTW, i, reinterpret_cast<LPARAM>(remote.At(0)));
            remote.Read(sizeof item, text, sizeof text - sizeof(wchar_t));
            row.cells[column] = Narrow(text);
        }
        // -1 stays when the list view keeps no groups (Wine's does not).
        LVITEMW item{};
        item.mask = LVIF_GROUPID;
        item.iItem = i;
        item.iGroupId = -1;
        remote.Write(0, &item, sizeof item);
        if (SendMessageW(list, LVM_ISGROUPVIEWENABLED, 0, 0) &&
            SendMessageW(list, LVM_GETITEMW, 0, reinterpret_cast<LPARAM>(remote.At(0)))) {
            remote.Read(0, &item, sizeof item);
            row.group = item.iGroupId;
        }
        rows.push_back(row);
    }
    return rows;
}

std::vector<std::string> ColumnTexts(HWND list) {
    std::vector<std::string> texts;
    RemoteMemory remote(list, sizeof(LVCOLUMNW) + 256);
    for (int i = 0; remote.Ok() && i < 16; ++i) {
        LVCOLUMNW column{};
        column.mask = LVCF_TEXT;
        column.pszText = reinterpret_cast<LPWSTR>(remote.At(sizeof column));
        column.cchTextMax = 100;
        remote.Write(0, &column, sizeof column);
        if (!SendMessageW(list, LVM_GETCOLUMNW, i, reinterpret_cast<LPARAM>(remote.At(0)))) break;
        wchar_t text[101] = {};
        remote.Read(sizeof column, text, sizeof text - sizeof(wchar_t));
        texts.push_back(Narrow(text));
    }
    return texts;
}

std::string Describe(const std::vector<Row>& rows) {
    std::string s;
    for (const Row& r : rows) {
        s += "[g" + std::to_string(r.group);
        for (const std::string& c : r.cells) s += "|" + c;
        s += "]";
    }
    return s;
}

std::string LinkUrl(HWND link, int index, bool* ok) {
    RemoteMemory remote(link, sizeof(LITEM));
    LITEM item{};
    item.mask = LIF_ITEMINDEX | LIF_URL;
    item.iLink = index;
    remote.Write(0, &item, sizeof item);
    *ok = SendMessageW(link, LM_GETITEM, 0, reinterpret_cast<LPARAM>(remote.At(0))) != 0;
    remote.Read(0, &item, sizeof item);
    return *ok ? Narrow(item.szUrl) : std::string();
}

bool PointOnLink(HWND link, POINT* on) {
    RECT client;
    GetClientRect(link, &client);
    RemoteMemory remote(link, sizeof(LHITTESTINFO));
    for (int y = 2; y < client.bottom; y += 3)
        for (int x = 2; x < client.right; x += 4) {
            LHITTESTINFO hit{};
            hit.pt = {x, y};
            remote.Write(0, &hit, sizeof hit);
            if (SendMessageW(link, LM_HITTEST, 0, reinterpret_cast<LPARAM>(remote.At(0)))) {
                *on = hit.pt;
                return true;
            }
        }
    return false;
}

std::vector<std::string> LogLines(const std::string& path, size_t atLeast) {
    std::vector<std::string> lines;
    for (int i = 0; i < 100; ++i) {
        lines.clear();
        std::ifstream in(path);
        std::string line;
        while (std::getline(in, line)) lines.push_back(line);
        if (lines.size() >= atLeast) break;
        Sleep(100);
    }
    return lines;
}

void WriteRows(const std::vector<Row>& rows) {
    FILE* f = std::fopen((outDir + "\\filter-rows.txt").c_str(), "wb");
    if (!f) return;
    for (const Row& r : rows) {
        std::fprintf(f, "group %d", r.group);
        for (const std::string& c : r.cells) std::fprintf(f, "\t%s", c.c_str());
        std::fprintf(f, "\n");
    }
    std::fclose(f);
}

void FilterDriverPage(HWND dialog, HWND tabs) {
    Click(tabs, RemoteRect(tabs, TCM_GETITEMRECT, 5));
    Settle(dialog, 800);
    HWND page = FindPageWith(dialog, 1001, L"SysListView32");
    Check(page && IsWindowVisible(page), "the Filter Driver tab shows its page");
    if (!page) return;
    HWND list = GetDlgItem(page, 1001);
    std::string columns;
    for (const std::string& c : ColumnTexts(list)) columns += c + "|";
    Check(columns == "Name|Date Modified|Size|Version|Description|Publisher|Image Path|",
          "the seven column headers", columns);

    wchar_t windows[MAX_PATH] = {};
    GetWindowsDirectoryW(windows, MAX_PATH);
    std::string drivers = Narrow(windows) + "\\system32\\drivers\\";
    std::vector<Row> rows = ListRows(list);
    WriteRows(rows);
    Check(rows.size() == 3, "three rows: one upper filter under the kept value name, two lower filters",
          Describe(rows));
    if (rows.size() != 3) return;
    // Every row went in at index 0: the lower filters, added last, come
    // first in index order; groups put the upper one on top on screen.
    const Row& v = rows[0];
    const Row& m = rows[1];
    const Row& u = rows[2];
    Check(u.cells[0] == "vexlon_gui_upper",
          "the UppderFilters value's driver is listed; the UpperFilters value is not read", Describe(rows));
    Check(v.cells[0] == "vexlon_gui_versioned" && m.cells[0] == "vexlon_gui_missing",
          "the lower filters keep their registry order");
    if (SendMessageW(list, LVM_ISGROUPVIEWENABLED, 0, 0))
        Check(u.group == 0 && v.group == 1 && m.group == 1, "upper and lower filters are in their groups",
              Describe(rows));
    else
        std::printf("# the list view here keeps no groups; group ids are checked by the page tests\n");
    Check(v.cells[3] == "10.0.19041.1" && v.cells[4] == "Vexlon CD-ROM Test Filter" &&
              v.cells[5] == "Vexlon Test Drivers Ltd." && v.cells[6] == drivers + "vexlon_gui_versioned.sys",
          "the versioned driver shows version, description, publisher and path", Describe({v}));
    Check(!v.cells[1].empty() && v.cells[2].find("KB") != std::string::npos, "the versioned driver has date and size",
          v.cells[1] + " / " + v.cells[2]);
    Check(!u.cells[1].empty() && !u.cells[2].empty() && u.cells[3].empty() && u.cells[4].empty() &&
              u.cells[5].empty() && u.cells[6] == drivers + "vexlon_gui_upper.sys",
          "a driver without version information has date and size only", Describe({u}));
    Check(m.cells[1].empty() && m.cells[2].empty() && m.cells[3].empty() && m.cells[4].empty() &&
              m.cells[5].empty() && m.cells[6] == drivers + "vexlon_gui_missing.sys",
          "a missing driver file shows its name and path only", Describe({m}));
    Screenshot(dialog, "filter-driver");

    // The registry changes, the user refreshes and picks a drive: the page stays as it was.
    HKEY key;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kClassKey, 0, KEY_SET_VALUE, &key) == ERROR_SUCCESS) {
        const wchar_t other[] = L"vexlon_gui_other\0";
        RegSetValueExW(key, L"LowerFilters", 0, REG_MULTI_SZ, reinterpret_cast<const BYTE*>(other), sizeof other);
        RegCloseKey(key);
    }
    HWND toolbar = FindWindowExW(dialog, nullptr, TOOLBARCLASSNAMEW, nullptr);
    Click(toolbar, RemoteRect(toolbar, TB_GETITEMRECT, 0));
    Settle(dialog, 800);
    HWND selector = GetDlgItem(dialog, 111);
    int drives = static_cast<int>(SendMessageW(selector, CB_GETCOUNT, 0, 0));
    if (drives > 1) {
        SendMessageW(selector, CB_SETCURSEL, 1, 0);
        SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(111, CBN_SELCHANGE), reinterpret_cast<LPARAM>(selector));
        Settle(dialog, 800);
    }
    std::vector<Row> after = ListRows(list);
    Check(Describe(after) == Describe(rows), "refresh and a drive change leave the Filter Driver page as it was",
          Describe(after));
}

void AboutPage(HWND dialog, HWND tabs, const std::string& linkLog) {
    Click(tabs, RemoteRect(tabs, TCM_GETITEMRECT, 7));
    Settle(dialog, 800);
    HWND page = FindPageWith(dialog, 1013, L"SysLink");
    Check(page && IsWindowVisible(page), "the About tab shows its page");
    if (!page) return;
    Check(Text(GetDlgItem(page, 1002)) == "Vexlon Inspector 1.3.0.0 (05/06/2013)", "the version line",
          Text(GetDlgItem(page, 1002)));
    Check(Text(GetDlgItem(page, 1001)).rfind("Vexlon Inspector is a freeware application", 0) == 0,
          "the description", Text(GetDlgItem(page, 1001)));
    Check(Text(GetDlgItem(page, 1006)) == "Other Vexlon Products", "the products heading");
    Check(!Text(GetDlgItem(page, 1003)).empty(), "the notice line", Text(GetDlgItem(page, 1003)));
    for (int id : {1013, 1014, 1015, 1012, 1004}) {
        bool first = false, second = false;
        std::string url = LinkUrl(GetDlgItem(page, id), 0, &first);
        LinkUrl(GetDlgItem(page, id), 1, &second);
        Check(first && !second && url.rfind("https://www.vexlon.example/", 0) == 0,
              "link " + std::to_string(id) + " holds exactly one link", url);
    }
    Screenshot(dialog, "about");

    HWND link = GetDlgItem(page, 1013);
    POINT on;
    bool found = PointOnLink(link, &on);
    Check(found, "a point on the DiscCopy link");
    if (!found) return;
    ClickAt(link, on);
    std::vector<std::string> lines = LogLines(linkLog, 1);
    Check(lines.size() == 1 && lines[0].find("https://www.vexlon.example/disccopy/") != std::string::npos,
          "clicking the DiscCopy link starts the browser with its address", lines.empty() ? "" : lines[0]);
    Settle(dialog);
    // The click left the focus on that link: Enter opens it again.
    PressEnter();
    lines = LogLines(linkLog, 2);
    Check(lines.size() == 2 && lines[1].find("https://www.vexlon.example/disccopy/") != std::string::npos,
          "Enter on the focused link opens it like a click", lines.size() > 1 ? lines[1] : "");
    Settle(dialog);
    Check(IsWindowVisible(page), "the About page is still shown after Enter");
    Screenshot(dialog, "about-after-links");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: pages_driver OUTDIR LINK_LOG\n");
        return 2;
    }
    outDir = argv[1];
    HWND dialog = WaitForMainWindow();
    Check(dialog != nullptr, "the main window appears");
    if (!dialog) {
        std::printf("%d passed, %d failed\n", passed, failed);
        return 1;
    }
    Settle(dialog, 1000);
    HWND tabs = GetDlgItem(dialog, 110);
    FilterDriverPage(dialog, tabs);
    AboutPage(dialog, tabs, argv[2]);

    PostMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
    for (int i = 0; i < 100 && IsWindow(dialog); ++i) Sleep(100);
    std::printf("%d passed, %d failed\n", passed, failed);
    return failed == 0 ? 0 : 1;
}
