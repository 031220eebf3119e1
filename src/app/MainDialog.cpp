#include "app/MainDialog.h"

#include <commctrl.h>
#include <ole2.h>
#include <shlobj.h>

#include "app/AppState.h"
#include "app/PageSkeleton.h"
#include "device/Commands.h"
#include "device/Enumeration.h"
#include "device/SptiDevice.h"
#include "pages/SectorPage.h"

namespace {

constexpr int kSelectorId = 111;
constexpr int kTabsId = 110;
constexpr int kToolbarPlaceId = 1018;
constexpr int kRefreshCommand = 2000;
constexpr int kEjectCommand = 2001;
constexpr int kSaveImageCommand = 2002;

struct PageDefinition {
    WORD templateId;
    DLGPROC procedure;
};

// Template 106 comes before 105 on purpose: Sector Viewer is the fifth tab.
const PageDefinition kPages[kPageCount] = {
    {101, DrivePageProcedure},  {102, FeaturePageProcedure}, {103, MediaPageProcedure},
    {104, FilePageProcedure},   {106, SectorPageProcedure},  {105, FilterPageProcedure},
    {107, SystemPageProcedure}, {108, AboutPageProcedure},
};

void CreateFonts(HWND dialog) {
    AppState& app = App();
    LOGFONTW font{};
    HFONT dialogFont = reinterpret_cast<HFONT>(SendMessageW(dialog, WM_GETFONT, 0, 0));
    GetObjectW(dialogFont, sizeof font, &font);
    font.lfWeight = 700;
    app.boldFont = CreateFontIndirectW(&font);

    LOGFONTW fixed{};
    HDC dc = GetDC(dialog);
    fixed.lfHeight = -MulDiv(8, GetDeviceCaps(dc, LOGPIXELSY), 72);
    ReleaseDC(dialog, dc);
    fixed.lfWeight = 400;
    fixed.lfCharSet = DEFAULT_CHARSET;
    lstrcpyW(fixed.lfFaceName, L"Courier");
    app.fixedFont = CreateFontIndirectW(&fixed);
    if (!app.fixedFont) app.fixedFont = static_cast<HFONT>(GetStockObject(SYSTEM_FIXED_FONT));
}

void CreateToolbar(HWND dialog) {
    HWND place = GetDlgItem(dialog, kToolbarPlaceId);
    RECT r;
    GetWindowRect(place, &r);
    HWND bar = CreateWindowExW(0, TOOLBARCLASSNAMEW, nullptr, WS_CHILD | TBSTYLE_LIST | TBSTYLE_FLAT | CCS_NODIVIDER,
                               0, 0, r.right - r.left, r.bottom - r.top, dialog, nullptr, App().instance, nullptr);
    SendMessageW(bar, TB_SETBITMAPSIZE, 0, MAKELPARAM(16, 16));
    SendMessageW(bar, TB_BUTTONSTRUCTSIZE, sizeof(TBBUTTON), 0);
    SendMessageW(bar, TB_SETIMAGELIST, 0, reinterpret_cast<LPARAM>(App().toolImages));
    TBBUTTON buttons[3] = {};
    const int commands[3] = {kRefreshCommand, kEjectCommand, kSaveImageCommand};
    for (int i = 0; i < 3; ++i) {
        buttons[i].iBitmap = 8 + i;
        buttons[i].idCommand = commands[i];
        buttons[i].fsState = TBSTATE_ENABLED;
        buttons[i].iString = -1;
    }
    SendMessageW(bar, TB_ADDBUTTONSW, 3, reinterpret_cast<LPARAM>(buttons));
    SendMessageW(bar, TB_AUTOSIZE, 0, 0);
    DWORD size = static_cast<DWORD>(SendMessageW(bar, TB_GETBUTTONSIZE, 0, 0));
    // Right-aligned on the placeholder: its right and bottom edges are the toolbar's.
    POINT at = {r.right - LOWORD(size) * 3, r.bottom - HIWORD(size)};
    ScreenToClient(dialog, &at);
    SetWindowPos(bar, nullptr, at.x, at.y, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
    ShowWindow(bar, SW_SHOW);
}

void ShowPage(HWND dialog, int index) {
    PageTable& pages = App().pages;
    PageRow& row = pages.rows[index];
    if (!row.window)
        row.window = CreateDialogIndirectParamW(App().instance, row.dialogTemplate, dialog, row.procedure, 0);
    SendDlgItemMessageW(dialog, kTabsId, TCM_SETCURSEL, index, 0);
    const RECT& r = pages.pageRect;
    MoveWindow(row.window, r.left, r.top, r.right - r.left, r.bottom - r.top, FALSE);
    ShowWindow(row.window, SW_SHOW);
    pages.onView = index;
}

void InsertTabs(HWND dialog) {
    HWND tabs = GetDlgItem(dialog, kTabsId);
    for (int i = 0; i < kPageCount; ++i) {
        TCITEMW item{};
        item.mask = TCIF_TEXT | TCIF_IMAGE;
        item.pszText = const_cast<LPWSTR>(TemplateCaption(App().pages.rows[i].dialogTemplate));
        item.iImage = i;
        SendMessageW(tabs, TCM_INSERTITEMW, i, reinterpret_cast<LPARAM>(&item));
    }
    RECT r;
    GetClientRect(tabs, &r);
    InflateRect(&r, -5, -5);
    MapWindowPoints(tabs, dialog, reinterpret_cast<POINT*>(&r), 2);
    SendMessageW(tabs, TCM_ADJUSTRECT, FALSE, reinterpret_cast<LPARAM>(&r));
    App().pages.pageRect = r;
}

void FillSelector(HWND dialog) {
    AppState& app = App();
    HWND selector = GetDlgItem(dialog, kSelectorId);
    SendMessageW(selector, CBEM_SETIMAGELIST, 0, reinterpret_cast<LPARAM>(app.toolImages));
    EnumerateDrives(app.drives, false);
    for (DriveEntry& entry : app.drives) {
        COMBOBOXEXITEMA item{};
        item.mask = CBEIF_TEXT | CBEIF_IMAGE | CBEIF_SELECTEDIMAGE;
        item.iItem = -1;
        item.pszText = entry.displayText;
        SendMessageA(selector, CBEM_INSERTITEMA, 0, reinterpret_cast<LPARAM>(&item));
    }
    app.selectedDrive = 0;
    // With no drive at all there is no path to open: the shared handle stays invalid.
    const DriveEntry* first = SelectedDrive();
    app.CurrentDrive = first ? OpenDevicePath(first->devicePath.c_str()) : INVALID_HANDLE_VALUE;
    SendMessageW(selector, CB_SETCURSEL, 0, 0);
}

BOOL InitDialog(HWND dialog) {
    AppState& app = App();
    HICON icon = LoadIconW(app.instance, MAKEINTRESOURCEW(1));
    SendMessageW(dialog, WM_SETICON, ICON_BIG, reinterpret_cast<LPARAM>(icon));
    SendMessageW(dialog, WM_SETICON, ICON_SMALL, reinterpret_cast<LPARAM>(icon));
    CreateFonts(dialog);
    Shell_GetImageLists(nullptr, &app.systemSmallImages);
    app.toolImages = ImageList_LoadImageW(app.instance, MAKEINTRESOURCEW(2), 16, 11, CLR_NONE, IMAGE_BITMAP,
                                          LR_CREATEDIBSECTION);
    SendDlgItemMessageW(dialog, kTabsId, TCM_SETIMAGELIST, 0, reinterpret_cast<LPARAM>(app.toolImages));
    CreateToolbar(dialog);
    for (int i = 0; i < kPageCount; ++i)
        app.pages.rows[i] = PageRow{LoadPageTemplate(kPages[i].templateId), kPages[i].procedure, nullptr};
    InsertTabs(dialog);
    FillSelector(dialog);
    ShowPage(dialog, 0);
    return TRUE;
}

void ChangeDrive(HWND dialog) {
    AppState& app = App();
    int index = static_cast<int>(SendDlgItemMessageW(dialog, kSelectorId, CB_GETCURSEL, 0, 0));
    app.selectedDrive = index;
    const DriveEntry* entry = SelectedDrive();
    // The previous handle is left open, as the pages may still hold it.
    app.CurrentDrive = entry ? OpenDevicePath(entry->devicePath.c_str()) : INVALID_HANDLE_VALUE;
    for (const PageRow& row : app.pages.rows)
        if (row.window) PostMessageW(row.window, WM_APP_REFRESH, 0, 0);
}

void Eject() {
    CSptiDevice device;
    device.Attach(App().CurrentDrive, true);
    ScsiCommand command = MakeCommand(6, DataNone, nullptr, 0);
    command.cdb[0] = 0x1B;
    command.cdb[1] = static_cast<uint8_t>((device.LUN << 5) | 1);  // Immed
    command.cdb[4] = 0x02;                                          // LoEj, Start clear
    device.ExecuteCommand(command, nullptr);
}

BOOL OnCommand(HWND dialog, WPARAM wParam) {
    int id = LOWORD(wParam);
    if (id == kSelectorId) {
        if (HIWORD(wParam) == CBN_SELCHANGE) ChangeDrive(dialog);
        return TRUE;
    }
    switch (id) {
    case kRefreshCommand: ChangeDrive(dialog); break;
    case kEjectCommand: Eject(); break;
    case kSaveImageCommand: SaveDiscImage(dialog); break;
    case IDCANCEL: EndDialog(dialog, 0); break;
    default: break;
    }
    return TRUE;
}

}  // namespace

INT_PTR CALLBACK MainDialogProcedure(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_INITDIALOG: return InitDialog(dialog);
    case WM_COMMAND: return OnCommand(dialog, wParam);
    case WM_NOTIFY:
        if (reinterpret_cast<NMHDR*>(lParam)->code == static_cast<UINT>(TCN_SELCHANGE)) {
            PageTable& pages = App().pages;
            int index = static_cast<int>(SendDlgItemMessageW(dialog, kTabsId, TCM_GETCURSEL, 0, 0));
            if (index >= 0 && index < kPageCount) {
                ShowWindow(pages.rows[pages.onView].window, SW_HIDE);
                ShowPage(dialog, index);
            }
        }
        return TRUE;
    default: return FALSE;
    }
}

int RunApplication(HINSTANCE instance) {
    OleInitialize(nullptr);
    App().instance = instance;
    INITCOMMONCONTROLSEX controls{sizeof controls, ICC_WIN95_CLASSES | ICC_USEREX_CLASSES | ICC_TAB_CLASSES |
                                                       ICC_LINK_CLASS | ICC_UPDOWN_CLASS};
    InitCommonControlsEx(&controls);
    DialogBoxParamW(instance, MAKEINTRESOURCEW(100), nullptr, MainDialogProcedure, 0);
    OleUninitialize();
    return 0;
}
