#pragma once
// The state every page shares: the drives, the selected one and its open
// handle, the fonts and image lists, and the table of pages.

#include <windows.h>
#include <commctrl.h>

#include "device/DriveEntry.h"

constexpr UINT WM_APP_REFRESH = WM_USER + 100;
constexpr int kPageCount = 8;

struct PageRow {
    const DLGTEMPLATE* dialogTemplate;
    DLGPROC procedure;
    HWND window;
};

struct PageTable {
    PageRow rows[kPageCount];
    int onView;
    RECT pageRect;
};

struct AppState {
    HINSTANCE instance = nullptr;
    DriveList drives;
    int32_t selectedDrive = 0;
    HANDLE CurrentDrive = INVALID_HANDLE_VALUE;
    HFONT boldFont = nullptr;
    HFONT fixedFont = nullptr;
    HIMAGELIST systemSmallImages = nullptr;
    HIMAGELIST toolImages = nullptr;
    PageTable pages = {};
};

AppState& App();

// The selected drive's entry, or null when there is no drive at all.
const DriveEntry* SelectedDrive();
