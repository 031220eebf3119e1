// Drives the running demo build from outside, as a UI test tool would: it
// finds the main window, reads controls back, clicks tabs and toolbar
// buttons, switches drives with the notifications a user's choice sends,
// and saves screenshots. Prints "ok"/"not ok" lines and a closing count.
//
// usage: gui_driver OUTDIR TRANSCRIPT EXPECTED_SELECTOR

#include <windows.h>
#include <commctrl.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "UiDriver.h"

using namespace ui;

namespace {

std::vector<std::string> SelectorItems(HWND selector) {
    std::vector<std::string> items;
    int count = static_cast<int>(SendMessageW(selector, CB_GETCOUNT, 0, 0));
    RemoteMemory remote(selector, sizeof(COMBOBOXEXITEMW) + 512);
    for (int i = 0; remote.Ok() && i < count; ++i) {
        COMBOBOXEXITEMW item{};
        item.mask = CBEIF_TEXT | CBEIF_IMAGE;
        item.iItem = i;
        item.pszText = reinterpret_cast<LPWSTR>(remote.At(sizeof item));
        item.cchTextMax = 256;
        remote.Write(0, &item, sizeof item);
        SendMessageW(selector, CBEM_GETITEMW, 0, reinterpret_cast<LPARAM>(remote.At(0)));
        wchar_t text[256] = {};
        remote.Read(sizeof item, text, sizeof text - sizeof(wchar_t));
        items.push_back(Narrow(text));
    }
    return items;
}

std::vector<std::string> TabTexts(HWND tabs) {
    std::vector<std::string> texts;
    int count = static_cast<int>(SendMessageW(tabs, TCM_GETITEMCOUNT, 0, 0));
    RemoteMemory remote(tabs, sizeof(TCITEMW) + 512);
    for (int i = 0; remote.Ok() && i < count; ++i) {
        TCITEMW item{};
        item.mask = TCIF_TEXT;
        item.pszText = reinterpret_cast<LPWSTR>(remote.At(sizeof item));
        item.cchTextMax = 256;
        remote.Write(0, &item, sizeof item);
        SendMessageW(tabs, TCM_GETITEMW, i, reinterpret_cast<LPARAM>(remote.At(0)));
        wchar_t text[256] = {};
        remote.Read(sizeof item, text, sizeof text - sizeof(wchar_t));
        texts.push_back(Narrow(text));
    }
    return texts;
}

struct PageFinder {
    int controlId;
    HWND found;
};

BOOL CALLBACK FindPage(HWND child, LPARAM lParam) {
    auto* finder = reinterpret_cast<PageFinder*>(lParam);
    wchar_t name[16];
    GetClassNameW(child, name, 16);
    if (lstrcmpW(name, L"#32770") == 0 && GetDlgItem(child, finder->controlId) && GetParent(child) != nullptr) {
        finder->found = child;
        return FALSE;
    }
    return TRUE;
}

struct ClassFinder {
    int controlId;
    const wchar_t* controlClass;
    HWND found;
};

BOOL CALLBACK FindPageByControlClass(HWND child, LPARAM lParam) {
    auto* finder = reinterpret_cast<ClassFinder*>(lParam);
    wchar_t name[16], control[16] = {};
    GetClassNameW(child, name, 16);
    HWND item = GetDlgItem(child, finder->controlId);
    if (item) GetClassNameW(item, control, 16);
    if (lstrcmpW(name, L"#32770") == 0 && item && lstrcmpiW(control, finder->controlClass) == 0) {
        finder->found = child;
        return FALSE;
    }
    return TRUE;
}

HWND PageWithControl(HWND dialog, int id, const wchar_t* controlClass) {
    ClassFinder finder{id, controlClass, nullptr};
    EnumChildWindows(dialog, FindPageByControlClass, reinterpret_cast<LPARAM>(&finder));
    return finder.found;
}

struct LabelScan {
    std::vector<std::pair<RECT, std::string>> groups;
    std::vector<std::string> lines;
    int undetermined;
    int hiddenShown;
};

BOOL CALLBACK ScanLabel(HWND child, LPARAM lParam) {
    auto* scan = reinterpret_cast<LabelScan*>(lParam);
    LONG style = GetWindowLongW(child, GWL_STYLE);
    if ((style & BS_TYPEMASK) != BS_OWNERDRAW) return TRUE;
    if (!(style & WS_VISIBLE)) return TRUE;
    int id = GetDlgCtrlID(child);
    if (id == 1049 || id == 1051 || id == 1074 || id == 1075) {
        scan->hiddenShown++;
        return TRUE;
    }
    RECT r;
    GetWindowRect(child, &r);
    std::string group = "?";
    for (const auto& g : scan->groups)
        if (r.top >= g.first.top && r.bottom <= g.first.bottom) group = g.second;
    LONG_PTR state = GetWindowLongPtrW(child, GWLP_USERDATA);
    if (state != 0 && state != 1) scan->undetermined++;
    scan->lines.push_back(group + "\t" + Text(child) + "\t" + (state == 1 ? "on" : "off"));
    return TRUE;
}

BOOL CALLBACK ScanGroup(HWND child, LPARAM lParam) {
    auto* scan = reinterpret_cast<LabelScan*>(lParam);
    if ((GetWindowLongW(child, GWL_STYLE) & BS_TYPEMASK) == BS_GROUPBOX) {
        RECT r;
        GetWindowRect(child, &r);
        scan->groups.emplace_back(r, Text(child));
    }
    return TRUE;
}

// The Feature page's labels as "group<TAB>caption<TAB>on|off" lines.
LabelScan FeatureStates(HWND page) {
    LabelScan scan{{}, {}, 0, 0};
    EnumChildWindows(page, ScanGroup, reinterpret_cast<LPARAM>(&scan));
    EnumChildWindows(page, ScanLabel, reinterpret_cast<LPARAM>(&scan));
    return scan;
}

std::string MediaText(HWND page) {
    HWND edit = GetDlgItem(page, 1001);
    DWORD_PTR length = 0;
    SendMessageTimeoutA(edit, WM_GETTEXTLENGTH, 0, 0, SMTO_ABORTIFHUNG, 5000, &length);
    std::string text(length + 1, '\0');
    SendMessageTimeoutA(edit, WM_GETTEXT, length + 1, reinterpret_cast<LPARAM>(&text[0]), SMTO_ABORTIFHUNG, 5000,
                        nullptr);
    text.resize(length);
    return text;
}

// A control's whole text as UTF-8.
std::string TextUtf8(HWND control) {
    DWORD_PTR length = 0;
    SendMessageTimeoutW(control, WM_GETTEXTLENGTH, 0, 0, SMTO_ABORTIFHUNG, 5000, &length);
    std::wstring wide(length + 1, L'\0');
    SendMessageTimeoutW(control, WM_GETTEXT, length + 1, reinterpret_cast<LPARAM>(&wide[0]), SMTO_ABORTIFHUNG, 5000,
                        nullptr);
    wide.resize(length);
    int n = WideCharToMultiByte(CP_UTF8, 0, wide.c_str(), static_cast<int>(wide.size()), nullptr, 0, nullptr, nullptr);
    std::string text(static_cast<size_t>(n), '\0');
    WideCharToMultiByte(CP_UTF8, 0, wide.c_str(), static_cast<int>(wide.size()), &text[0], n, nullptr, nullptr);
    return text;
}

HWND DrivePage(HWND dialog) {
    PageFinder finder{1022, nullptr};
    EnumChildWindows(dialog, FindPage, reinterpret_cast<LPARAM>(&finder));
    return finder.found;
}

std::string DriveFields(HWND page) {
    static const std::pair<const char*, int> kFields[] = {
        {"Vendor:", 1003}, {"Model:", 1006}, {"Firmware:", 1007}, {"Date:", 1008},
        {"Interface:", 1018}, {"Serial Number:", 1017}, {"Buffer Size:", 1016},
        {"Region Code:", 1019}, {"Region Control:", 1020}, {"User Changes Left:", 1021},
        {"Vendor Changes Left:", 1022},
    };
    std::string out;
    for (const auto& f : kFields) out += std::string(f.first) + " " + Text(GetDlgItem(page, f.second)) + "\n";
    return out;
}

size_t CountContaining(const std::vector<std::string>& lines, const std::string& needle, size_t from = 0) {
    size_t n = 0;
    for (size_t i = from; i < lines.size(); ++i) n += lines[i].find(needle) != std::string::npos;
    return n;
}

void SelectDrive(HWND dialog, HWND selector, int index) {
    SendMessageW(selector, CB_SETCURSEL, index, 0);
    SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(111, CBN_SELCHANGE), reinterpret_cast<LPARAM>(selector));
    Settle(dialog);
}

void RefreshAndEject(HWND dialog, HWND selector, HWND toolbar, HWND tabs, const std::vector<std::string>& tabTexts,
                     const std::vector<std::string>& items, const std::string& transcript) {
    const size_t target = items.size() > 1 ? 1 : 0;
    char letter = items[target].size() > 3 ? items[target][items[target].size() - 3] : '?';
    std::string inquiry = std::string(1, letter) + ": 12 00 00 00 60 00";
    SelectDrive(dialog, selector, static_cast<int>(target));

    // A hidden page that exists is refreshed too: on the Media tab, the
    // Drive page still asks for INQUIRY after refresh.
    Click(tabs, RemoteRect(tabs, TCM_GETITEMRECT, 2));
    Settle(dialog);
    size_t before = ReadLines(transcript).size();
    Click(toolbar, RemoteRect(toolbar, TB_GETITEMRECT, 0));
    Settle(dialog, 800);
    std::vector<std::string> lines = ReadLines(transcript);
    Check(CountContaining(lines, inquiry, before) == 1,
          "refresh re-reads the selected drive on every created page, the hidden Drive page included");

    // Choosing the drive that is already selected does the same.
    before = lines.size();
    SelectDrive(dialog, selector, static_cast<int>(target));
    lines = ReadLines(transcript);
    Check(CountContaining(lines, inquiry, before) == 1, "selecting the same drive again refreshes the pages");
    Click(tabs, RemoteRect(tabs, TCM_GETITEMRECT, 0));
    Settle(dialog);

    before = lines.size();
    Click(toolbar, RemoteRect(toolbar, TB_GETITEMRECT, 1));
    Settle(dialog, 800);
    lines = ReadLines(transcript);
    Check(CountContaining(lines, std::string(1, letter) + ": 1B 01 00 00 02 00 dir=none", before) == 1,
          "eject sends START STOP UNIT 1B 01 00 00 02 00 with no data to the selected drive");
    Check(lines.size() == before + 1, "eject sends nothing else and refreshes no page");
    (void)tabTexts;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: gui_driver OUTDIR TRANSCRIPT EXPECTED_SELECTOR\n");
        return 2;
    }
    outDir = argv[1];
    std::string transcript = argv[2];
    std::vector<std::string> expected = ReadLines(argv[3]);

    HWND dialog = WaitForMainWindow();
    Check(dialog != nullptr, "the main window appears");
    if (!dialog) {
        std::printf("%d passed, %d failed\n", passed, failed);
        return 1;
    }
    Settle(dialog, 1000);
    HWND selector = GetDlgItem(dialog, 111);
    HWND tabs = GetDlgItem(dialog, 110);

    std::vector<std::string> tabTexts = TabTexts(tabs);
    std::string joined;
    for (const auto& t : tabTexts) joined += t + "|";
    Check(joined == "Drive|Feature|Media|File|Sector Viewer|Filter Driver|System|About|",
          "the tabs read Drive, Feature, Media, File, Sector Viewer, Filter Driver, System, About", joined);

    std::vector<std::string> items = SelectorItems(selector);
    Check(items == expected, "the selector lists the drives sorted by letter",
          [&] { std::string s; for (auto& i : items) s += "[" + i + "]"; return s; }());
    if (items.empty())
        Check(SendMessageW(selector, CB_GETCURSEL, 0, 0) == CB_ERR, "with no drive the selector stays empty");
    else
        Check(SendMessageW(selector, CB_GETCURSEL, 0, 0) == 0, "the first drive is selected at start");

    HWND toolbar = FindWindowExW(dialog, nullptr, TOOLBARCLASSNAMEW, nullptr);
    RECT place, bar;
    GetWindowRect(GetDlgItem(dialog, 1018), &place);
    GetWindowRect(toolbar, &bar);
    DWORD buttonSize = static_cast<DWORD>(SendMessageW(toolbar, TB_GETBUTTONSIZE, 0, 0));
    Check(bar.left + LOWORD(buttonSize) * 3 == place.right && bar.top + HIWORD(buttonSize) == place.bottom,
          "the toolbar's buttons end at the right and bottom edges of control 1018");
    Check(IsWindowVisible(GetDlgItem(dialog, 1018)) && Text(GetDlgItem(dialog, 1018)).empty(),
          "the placeholder stays, empty");

    if (!items.empty()) {
        // Only the Drive page exists yet: a refresh must not reach pages never shown.
        size_t before = ReadLines(transcript).size();
        Click(toolbar, RemoteRect(toolbar, TB_GETITEMRECT, 0));
        Settle(dialog, 800);
        std::vector<std::string> lines = ReadLines(transcript);
        Check(CountContaining(lines, ": 12 00 00 00 60 00", before) == 1 &&
                  CountContaining(lines, ": 46 00 00 00 00 00 00 00 2C 00", before) == 0,
              "refresh reaches the created Drive page only, not pages never shown");
    }

    HWND drivePage = DrivePage(dialog);
    Check(drivePage && IsWindowVisible(drivePage), "the Drive page is shown first");
    Screenshot(dialog, "main");

    // Create the Feature and Media pages, so that drive changes refresh them too.
    for (int tab : {1, 2, 0}) {
        Click(tabs, RemoteRect(tabs, TCM_GETITEMRECT, tab));
        Settle(dialog);
    }
    HWND featurePage = PageWithControl(dialog, 1075, L"Button");
    HWND mediaPage = PageWithControl(dialog, 1001, L"Edit");
    Check(featurePage && mediaPage, "the Feature and Media pages exist after their tabs were shown");

    for (size_t i = 0; i < items.size(); ++i) {
        std::string n = std::to_string(i);
        SelectDrive(dialog, selector, static_cast<int>(i));
        Settle(dialog, 600);
        WriteText(outDir + "\\drive-" + n + ".txt", DriveFields(drivePage));
        Screenshot(dialog, "drive-" + n);
        if (!featurePage || !mediaPage) continue;
        LabelScan scan = FeatureStates(featurePage);
        std::string lines;
        for (const auto& l : scan.lines) lines += l + "\n";
        WriteText(outDir + "\\features-" + n + ".txt", lines);
        Check(scan.lines.size() == 64 && scan.undetermined == 0 && scan.hiddenShown == 0,
              "drive " + n + ": 64 visible labels, each grey or green, the four placeholders hidden");
        WriteText(outDir + "\\media-" + n + ".txt", MediaText(mediaPage));
        Click(tabs, RemoteRect(tabs, TCM_GETITEMRECT, 1));
        Settle(dialog);
        Screenshot(dialog, "feature-" + n);
        Click(tabs, RemoteRect(tabs, TCM_GETITEMRECT, 2));
        Settle(dialog);
        Screenshot(dialog, "media-" + n);
        Click(tabs, RemoteRect(tabs, TCM_GETITEMRECT, 0));
        Settle(dialog);
    }

    // The disc pages on a drive with a UDF disc: the Sector Viewer opens at
    // sector 320 and must show what the report tool prints for it.
    if (items.size() > 1) {
        SelectDrive(dialog, selector, 1);
        Click(tabs, RemoteRect(tabs, TCM_GETITEMRECT, 4));
        Settle(dialog, 800);
        HWND sectorPage = PageWithControl(dialog, 113, L"Edit");
        Check(sectorPage != nullptr, "the Sector Viewer page exists after its tab was shown");
        if (sectorPage) WriteText(outDir + "\\sector-1.txt", TextUtf8(GetDlgItem(sectorPage, 113)));
        Screenshot(dialog, "sector-1");
        Click(tabs, RemoteRect(tabs, TCM_GETITEMRECT, 3));
        Settle(dialog, 1500);
        Screenshot(dialog, "file-1");
        Click(tabs, RemoteRect(tabs, TCM_GETITEMRECT, 0));
        Settle(dialog);
    }

    // Every tab, clicked as a user clicks it.
    for (int i = 0; i < static_cast<int>(tabTexts.size()); ++i) {
        Click(tabs, RemoteRect(tabs, TCM_GETITEMRECT, i));
        Settle(dialog);
        Check(SendMessageW(tabs, TCM_GETCURSEL, 0, 0) == i, "clicking tab " + tabTexts[i] + " selects it");
        Screenshot(dialog, "page-" + std::to_string(i));
    }
    Click(tabs, RemoteRect(tabs, TCM_GETITEMRECT, 0));
    Settle(dialog);

    if (items.empty()) {
        // No drive at all: the toolbar's commands go to an invalid handle and change nothing.
        Click(toolbar, RemoteRect(toolbar, TB_GETITEMRECT, 0));
        Click(toolbar, RemoteRect(toolbar, TB_GETITEMRECT, 1));
        Settle(dialog, 800);
        Check(IsWindow(dialog) && ReadLines(transcript).empty(),
              "with no drive, refresh and eject send nothing and the program stays up");
        Check(Text(GetDlgItem(drivePage, 1003)).empty(), "with no drive, the Drive page stays empty");
    } else {
        RefreshAndEject(dialog, selector, toolbar, tabs, tabTexts, items, transcript);
    }

    PostMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
    bool closed = false;
    for (int i = 0; i < 100 && !closed; ++i) {
        Sleep(100);
        closed = !IsWindow(dialog);
    }
    Check(closed, "Esc (IDCANCEL) closes the program");
    std::printf("%d passed, %d failed\n", passed, failed);
    return failed == 0 ? 0 : 1;
}
