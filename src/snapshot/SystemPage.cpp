// The System page: a snapshot of the computer, taken once when the page is
// made, shown in the hosted web browser over the hidden placeholder.

#include <windows.h>

#include "app/MainDialog.h"
#include "app/PageSkeleton.h"
#include "snapshot/BrowserHost.h"
#include "snapshot/SnapshotWin32.h"

namespace {

constexpr int kPlaceholderId = 1001;

void ShowSnapshot(HWND page) {
    wchar_t path[MAX_PATH + 16] = {};
    GetTempPathW(MAX_PATH, path);
    lstrcatW(path, L"snapshot.xml");
    BuildSnapshot(SnapshotOptions{kSnapshotAll}, path);  // the browser shows whatever is there
    // The holder lives for the rest of the run, like the browser in it.
    auto* holder = static_cast<IOleObject**>(HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, sizeof(IOleObject*)));
    if (!holder) return;
    // Without a browser (no HTML engine) the page simply stays empty.
    if (CreateBrowser(holder, page, GetDlgItem(page, kPlaceholderId))) NavigateBrowser(holder, path);
}

}  // namespace

INT_PTR CALLBACK SystemPageProcedure(HWND page, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_CTLCOLORLISTBOX:
    case WM_CTLCOLORBTN:
    case WM_CTLCOLORDLG:
    case WM_CTLCOLORSTATIC:
        return reinterpret_cast<INT_PTR>(PageBrush());
    case WM_INITDIALOG:
        ShowSnapshot(page);
        return 1;
    case WM_COMMAND: {
        WORD command = LOWORD(wParam);
        if (command != IDOK && command != IDCANCEL) return 1;
        // Nothing puts the holder here, so this finds none and the browser
        // lives until the process ends.
        auto* holder = reinterpret_cast<IOleObject**>(GetWindowLongPtrW(page, GWLP_USERDATA));
        if (holder) CloseBrowser(holder);
        EndDialog(page, 0);
        return 0;
    }
    case WM_USER + 100:
        return 1;
    default:
        return 0;
    }
}
