// The About page. Nothing on it depends on the drive, so a refresh is
// acknowledged and nothing is redrawn.

#include "pages/AboutPage.h"

#include <commctrl.h>

#include "app/AppState.h"
#include "app/MainDialog.h"
#include "app/PageSkeleton.h"
#include "pages/OpenLink.h"

const wchar_t kAboutVersionLine[] = L"Vexlon Inspector 1.3.0.0 (05/06/2013)";

namespace {

constexpr int kVersionLine = 1002;
constexpr int kIconSize = 48;
constexpr COLORREF kTransparent = RGB(255, 0, 255);

// Loaded once and kept for the life of the process.
HBITMAP iconStrip = nullptr;

void FillAboutPage(HWND page) {
    SendDlgItemMessageW(page, kVersionLine, WM_SETFONT, reinterpret_cast<WPARAM>(App().boldFont), TRUE);
    if (!iconStrip) iconStrip = LoadBitmapW(App().instance, MAKEINTRESOURCEW(3));
    SetDlgItemTextW(page, kVersionLine, kAboutVersionLine);
}

bool DrawIcon(const DRAWITEMSTRUCT& item) {
    int sourceY = AboutIconSourceY(static_cast<int>(item.CtlID));
    if (sourceY < 0) return false;
    HDC memory = CreateCompatibleDC(item.hDC);
    if (!memory) return true;
    // Without the strip the button simply shows nothing.
    HGDIOBJ previous = iconStrip ? SelectObject(memory, iconStrip) : nullptr;
    if (iconStrip)
        TransparentBlt(item.hDC, 0, 0, kIconSize, kIconSize, memory, 0, sourceY, kIconSize, kIconSize, kTransparent);
    if (previous) SelectObject(memory, previous);
    DeleteDC(memory);
    return true;
}

bool IsLinkControl(UINT_PTR id) { return id == 1004 || (id >= 1012 && id <= 1015); }

}  // namespace

int AboutIconSourceY(int controlId) {
    switch (controlId) {
    case 1011: return 0;
    // The second product is the portable edition of the first and has
    // always shown the same picture.
    case 1008: return 48;
    case 1009: return 48;
    case 1005: return 96;
    case 1010: return 144;
    default: return -1;
    }
}

INT_PTR CALLBACK AboutPageProcedure(HWND page, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_APP_REFRESH:
        return 1;
    case WM_DRAWITEM:
        return DrawIcon(*reinterpret_cast<const DRAWITEMSTRUCT*>(lParam)) ? 1 : 0;
    case WM_NOTIFY: {
        const auto* header = reinterpret_cast<const NMHDR*>(lParam);
        // Enter on a focused link opens it just like a click.
        if (IsLinkControl(header->idFrom) && (header->code == NM_CLICK || header->code == NM_RETURN))
            OpenLink(reinterpret_cast<const NMLINK*>(lParam)->item.szUrl, SW_SHOWNORMAL);
        return 1;
    }
    default: {
        INT_PTR result = 0;
        return PageSkeleton(page, message, wParam, lParam, FillAboutPage, result) ? result : 0;
    }
    }
}
