// The Media page: one read-only edit control holding the report on the
// disc in the drive, appended section by section as each command answers.

#include <windows.h>

#include "app/AppState.h"
#include "app/MainDialog.h"
#include "app/PageSkeleton.h"
#include "device/SptiDevice.h"
#include "pages/MediaReport.h"

namespace {

constexpr int kReportEdit = 1001;

void AppendToEdit(HWND edit, const std::string& text) {
    if (text.empty()) return;
    int length = GetWindowTextLengthA(edit);
    SendMessageA(edit, EM_SETSEL, static_cast<WPARAM>(length), static_cast<LPARAM>(length));
    SendMessageA(edit, EM_REPLACESEL, 0, reinterpret_cast<LPARAM>(text.c_str()));
}

void FillMediaPage(HWND page) {
    CSptiDevice device;
    device.Attach(App().CurrentDrive, true);
    HWND edit = GetDlgItem(page, kReportEdit);
    SetWindowTextW(edit, L"");
    // A drive may list far more than the edit control's default 32K
    // characters (a lying TOC length lists hundreds of tracks).
    SendMessageW(edit, EM_SETLIMITTEXT, 0, 0);
    WriteMediaReport(device, [edit](const std::string& text) { AppendToEdit(edit, text); });
}

}  // namespace

INT_PTR CALLBACK MediaPageProcedure(HWND page, UINT message, WPARAM wParam, LPARAM lParam) {
    INT_PTR result = 0;
    return PageSkeleton(page, message, wParam, lParam, FillMediaPage, result) ? result : 0;
}
