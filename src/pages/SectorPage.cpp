// The Sector Viewer page: one 2048-byte sector as a hex dump, stepped with
// an up-down control or typed in.

#include "pages/SectorPage.h"

#include <commctrl.h>

#include <string>

#include "app/AppState.h"
#include "app/MainDialog.h"
#include "app/PageSkeleton.h"
#include "device/SptiDevice.h"
#include "pages/SectorView.h"

namespace {

constexpr int kNumberEdit = 110;
constexpr int kUpDown = 111;
constexpr int kCountText = 112;
constexpr int kDumpEdit = 113;

void EnableInput(HWND page, BOOL enable) {
    EnableWindow(GetDlgItem(page, kNumberEdit), enable);
    EnableWindow(GetDlgItem(page, kUpDown), enable);
}

}  // namespace

void ShowSector(HWND page, uint32_t lba) {
    CSptiDevice device;
    device.Attach(App().CurrentDrive, true);
    std::string text = ReadSectorText(device, lba);
    SetDlgItemTextW(page, kDumpEdit, L"");
    // The text is plain ASCII: widening byte by byte is exact.
    std::wstring wide(text.begin(), text.end());
    SetDlgItemTextW(page, kDumpEdit, wide.c_str());
}

void RefreshSectorPage(HWND page) {
    CSptiDevice device;
    device.Attach(App().CurrentDrive, true);
    SectorRange range = ReadSectorRange(device);
    if (!range.enabled) {
        // The count and the dump keep what the previous disc showed.
        EnableInput(page, FALSE);
        return;
    }
    EnableInput(page, TRUE);
    SetDlgItemTextA(page, kCountText, range.countText.c_str());
    SendDlgItemMessageW(page, kUpDown, UDM_SETRANGE32, 0, static_cast<LPARAM>(static_cast<int32_t>(range.last)));
    SendDlgItemMessageW(page, kUpDown, UDM_SETPOS32, 0, kFirstShownSector);
    ShowSector(page, kFirstShownSector);
}

INT_PTR CALLBACK SectorPageProcedure(HWND page, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_INITDIALOG:
        SendDlgItemMessageW(page, kDumpEdit, WM_SETFONT, reinterpret_cast<WPARAM>(App().fixedFont), FALSE);
        SubclassKeyForwardingEdit(GetDlgItem(page, kNumberEdit));
        RefreshSectorPage(page);
        return TRUE;
    case WM_APP_REFRESH:
        RefreshSectorPage(page);
        return TRUE;
    case WM_APP_SHOW_SECTOR:
        // No range check: a number past the end shows that sector's zeros.
        ShowSector(page, GetDlgItemInt(page, kNumberEdit, nullptr, FALSE));
        return TRUE;
    case WM_NOTIFY: {
        const NMHDR* header = reinterpret_cast<const NMHDR*>(lParam);
        if (header->code == static_cast<UINT>(UDN_DELTAPOS) && header->idFrom == kUpDown) {
            const NMUPDOWN* step = reinterpret_cast<const NMUPDOWN*>(lParam);
            // Unclamped: the control keeps its own position within range,
            // while the sector shown may lie one step beyond it.
            ShowSector(page, static_cast<uint32_t>(step->iPos) + static_cast<uint32_t>(step->iDelta));
            return TRUE;
        }
        return FALSE;
    }
    default: {
        INT_PTR result = 0;
        return PageSkeleton(page, message, wParam, lParam, nullptr, result) ? result : 0;
    }
    }
}
