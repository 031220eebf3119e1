#include "app/PageSkeleton.h"

#include <commctrl.h>

#include "app/AppState.h"
#include "device/OsSeam.h"

namespace {

WNDPROC previousEditProcedure = nullptr;

BOOL CALLBACK ResetOne(HWND child, LPARAM) {
    wchar_t name[10];
    if (GetClassNameW(child, name, 10) < 1) return TRUE;
    if (lstrcmpiW(name, L"Button") == 0) SetWindowLongPtrW(child, GWLP_USERDATA, 2);
    return TRUE;
}

LRESULT CALLBACK KeyForwardingEdit(HWND edit, UINT message, WPARAM wParam, LPARAM lParam) {
    bool enterOrTab = wParam == VK_RETURN || wParam == VK_TAB;
    if (message == WM_KEYDOWN && enterOrTab && IsWindowEnabled(edit)) {
        PostMessageW(GetParent(edit), WM_APP_SHOW_SECTOR, 0, 0);
        return 0;
    }
    if (message == WM_CHAR && enterOrTab) return 0;
    return CallWindowProcW(previousEditProcedure, edit, message, wParam, lParam);
}

}  // namespace

const DLGTEMPLATE* LoadPageTemplate(WORD id) {
    HRSRC found = FindResourceW(nullptr, MAKEINTRESOURCEW(id), MAKEINTRESOURCEW(5) /* RT_DIALOG */);
    if (!found) return nullptr;
    HGLOBAL loaded = LoadResource(App().instance, found);
    return loaded ? static_cast<const DLGTEMPLATE*>(LockResource(loaded)) : nullptr;
}

const wchar_t* TemplateCaption(const DLGTEMPLATE* dialogTemplate) {
    if (!dialogTemplate) return L"";
    return reinterpret_cast<const wchar_t*>(reinterpret_cast<const BYTE*>(dialogTemplate) + 30);
}

HBRUSH PageBrush() { return Os().IsThemeActive() ? GetSysColorBrush(COLOR_BTNHIGHLIGHT) : nullptr; }

bool PageSkeleton(HWND page, UINT message, WPARAM wParam, LPARAM, PageFill fill, INT_PTR& result) {
    switch (message) {
    case WM_CTLCOLORLISTBOX:
    case WM_CTLCOLORBTN:
    case WM_CTLCOLORDLG:
    case WM_CTLCOLORSTATIC:
        result = reinterpret_cast<INT_PTR>(PageBrush());
        return true;
    case WM_INITDIALOG:
    case WM_APP_REFRESH:
        if (fill) fill(page);
        result = 1;
        return true;
    case WM_COMMAND:
        if (LOWORD(wParam) == IDOK || LOWORD(wParam) == IDCANCEL) EndDialog(page, 0);
        result = 1;
        return true;
    default:
        return false;
    }
}

void ResetLabels(HWND page) { EnumChildWindows(page, ResetOne, 0); }

COLORREF LabelColour(LONG_PTR state) {
    if (state == 0) return 0x888888;
    if (state == 1) return 0x009900;
    return 0x00FFFF;
}

void DrawLabel(const DRAWITEMSTRUCT& item) {
    LONG_PTR state = GetWindowLongPtrW(item.hwndItem, GWLP_USERDATA);
    SelectObject(item.hDC, App().boldFont);
    SetTextColor(item.hDC, LabelColour(state));
    // 48 characters and the terminator: a longer caption is cut at 48.
    wchar_t text[kLabelCharacters + 1];
    GetWindowTextW(item.hwndItem, text, kLabelCharacters + 1);
    RECT rect = item.rcItem;
    DrawTextW(item.hDC, text, -1, &rect, DT_SINGLELINE);
}

HIMAGELIST SmallIconImageList() {
    int cx = GetSystemMetrics(SM_CXSMICON), cy = GetSystemMetrics(SM_CYSMICON);
    HIMAGELIST list = ImageList_Create(cx, cy, ILC_COLOR32, 3, 1);
    if (!list) return nullptr;
    for (WORD id : {4, 5, 6}) {
        HICON icon = static_cast<HICON>(LoadImageW(App().instance, MAKEINTRESOURCEW(id), IMAGE_ICON, cx, cy, 0));
        if (!icon) {
            ImageList_Destroy(list);
            return nullptr;
        }
        ImageList_ReplaceIcon(list, -1, icon);
        DestroyIcon(icon);
    }
    return list;
}

void SubclassKeyForwardingEdit(HWND edit) {
    previousEditProcedure = reinterpret_cast<WNDPROC>(
        SetWindowLongPtrW(edit, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(KeyForwardingEdit)));
}
