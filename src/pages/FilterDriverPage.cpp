// The Filter Driver page. It does not depend on the selected drive, so it is
// filled once when it is made and a refresh leaves it as it is.

#include "pages/FilterDriverPage.h"

#include <commctrl.h>
#include <shlwapi.h>
#include <wchar.h>

#include "app/AppState.h"
#include "app/MainDialog.h"
#include "app/PageSkeleton.h"

const wchar_t kCdromClassKey[] =
    L"SYSTEM\\CurrentControlSet\\Control\\Class\\{4D36E965-E325-11CE-BFC1-08002BE10318}";

namespace {

constexpr int kListId = 1001;

struct Column {
    UINT text;
    int width;
};
// The last column takes what the list's client width leaves beyond 400 pixels.
constexpr Column kColumns[] = {{100, 70}, {101, 120}, {102, 50}, {103, 60}, {104, 180}, {105, 150}, {106, -1}};

// Short date, a blank, and the time without seconds, in local time.
void FormatLocalFileTime(const FILETIME& utc, wchar_t* text, int capacity) {
    text[0] = 0;
    FILETIME local;
    SYSTEMTIME time;
    if (!FileTimeToLocalFileTime(&utc, &local) || !FileTimeToSystemTime(&local, &time)) return;
    int used = GetDateFormatW(LOCALE_USER_DEFAULT, DATE_SHORTDATE, &time, nullptr, text, capacity);
    if (used <= 0 || used >= capacity) return;
    text[used - 1] = L' ';
    if (GetTimeFormatW(LOCALE_USER_DEFAULT, TIME_NOSECONDS, &time, nullptr, text + used, capacity - used) <= 0)
        text[used - 1] = 0;
}

// A version string of the first translation, or nothing: a string the
// resource does not have leaves the field empty rather than copying from
// whatever pointer the failed query left behind.
void ReadVersionString(const void* block, WORD language, WORD codePage, const wchar_t* name, wchar_t* out,
                       int capacity) {
    wchar_t query[64];
    swprintf(query, 64, L"\\StringFileInfo\\%04x%04x\\%ls", language, codePage, name);
    void* value = nullptr;
    UINT length = 0;
    if (!VerQueryValueW(block, query, &value, &length) || !value || length == 0) return;
    lstrcpynW(out, static_cast<const wchar_t*>(value), capacity);
}

void ReadVersionInfo(const wchar_t* path, DriverFile& file) {
    DWORD ignored = 0;
    DWORD size = GetFileVersionInfoSizeW(path, &ignored);
    if (size == 0) return;
    void* block = LocalAlloc(LPTR, size);
    if (!block) return;
    if (GetFileVersionInfoW(path, 0, size, block)) {
        void* value = nullptr;
        UINT length = 0;
        if (VerQueryValueW(block, L"\\", &value, &length) && value && length >= sizeof(VS_FIXEDFILEINFO)) {
            const auto* fixed = static_cast<const VS_FIXEDFILEINFO*>(value);
            swprintf(file.version, 32, L"%d.%d.%d.%d", HIWORD(fixed->dwFileVersionMS),
                     LOWORD(fixed->dwFileVersionMS), HIWORD(fixed->dwFileVersionLS), LOWORD(fixed->dwFileVersionLS));
        }
        value = nullptr;
        length = 0;
        if (VerQueryValueW(block, L"\\VarFileInfo\\Translation", &value, &length) && value && length >= 4) {
            const WORD* translation = static_cast<const WORD*>(value);
            WORD language = translation[0], codePage = translation[1];
            ReadVersionString(block, language, codePage, L"FileDescription", file.description, 256);
            ReadVersionString(block, language, codePage, L"CompanyName", file.publisher, 256);
        }
    }
    LocalFree(block);
}

void FillFilterPage(HWND page) {
    HWND list = GetDlgItem(page, kListId);
    SendMessageW(list, LVM_SETEXTENDEDLISTVIEWSTYLE, 0, LVS_EX_GRIDLINES | LVS_EX_FULLROWSELECT);
    SendMessageW(list, LVM_ENABLEGROUPVIEW, TRUE, 0);

    for (int group = 0; group < 2; ++group) {
        wchar_t header[256] = {};
        LoadStringW(App().instance, 107 + group, header, 256);
        LVGROUP info{};
        info.cbSize = sizeof info;
        info.mask = LVGF_HEADER | LVGF_FOOTER | LVGF_GROUPID;
        info.pszHeader = header;
        info.pszFooter = const_cast<wchar_t*>(L"");
        info.iGroupId = group;
        SendMessageW(list, LVM_INSERTGROUP, group, reinterpret_cast<LPARAM>(&info));
    }

    RECT client{};
    GetClientRect(list, &client);
    for (int i = 0; i < 7; ++i) {
        wchar_t text[256] = {};
        LoadStringW(App().instance, kColumns[i].text, text, 256);
        LVCOLUMNW column{};
        column.mask = LVCF_FMT | LVCF_WIDTH | LVCF_TEXT;
        column.fmt = LVCFMT_LEFT;
        column.cx = kColumns[i].width >= 0 ? kColumns[i].width : client.right - 400;
        column.pszText = text;
        SendMessageW(list, LVM_INSERTCOLUMNW, i, reinterpret_cast<LPARAM>(&column));
    }

    EnumerateFilters(1, AddFilterRow, list, 0);
    EnumerateFilters(2, AddFilterRow, list, 1);
}

}  // namespace

const wchar_t* FilterValueName(int type) {
    if (type == 1) return L"UppderFilters";
    if (type == 2) return L"LowerFilters";
    return nullptr;
}

int EnumerateFilters(int type, FilterRowBuilder build, HWND list, int group) {
    const wchar_t* valueName = FilterValueName(type);
    if (!valueName) return 0;
    HKEY key;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kCdromClassKey, 0, KEY_QUERY_VALUE, &key) != ERROR_SUCCESS) return 0;
    DWORD size = 0;
    if (RegQueryValueExW(key, valueName, nullptr, nullptr, nullptr, &size) != ERROR_SUCCESS || size == 0) {
        RegCloseKey(key);
        return 0;
    }
    // Two spare terminators: a value stored without its closing empty
    // string still ends inside the block.
    auto* names = static_cast<wchar_t*>(LocalAlloc(LPTR, size + 2 * sizeof(wchar_t)));
    if (!names) {
        RegCloseKey(key);
        return 0;
    }
    if (RegQueryValueExW(key, valueName, nullptr, nullptr, reinterpret_cast<BYTE*>(names), &size) != ERROR_SUCCESS ||
        names[0] == 0) {
        LocalFree(names);
        RegCloseKey(key);
        return 0;
    }
    const wchar_t* end = names + size / sizeof(wchar_t);
    int count = 0;
    for (const wchar_t* p = names; p < end && *p; p += lstrlenW(p) + 1) ++count;
    auto** strings = static_cast<const wchar_t**>(LocalAlloc(LPTR, count * sizeof(wchar_t*)));
    if (strings) {
        int i = 0;
        for (const wchar_t* p = names; i < count; p += lstrlenW(p) + 1) strings[i++] = p;
        for (i = count - 1; i >= 0; --i) build(strings[i], list, group);
        LocalFree(strings);
    } else {
        count = 0;
    }
    LocalFree(names);
    RegCloseKey(key);
    return count;
}

void ReadDriverFile(const wchar_t* path, DriverFile& file) {
    ZeroMemory(&file, sizeof file);
    ExpandEnvironmentStringsW(path, file.path, 260);
    file.path[259] = 0;
    HANDLE handle = CreateFileW(file.path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle != INVALID_HANDLE_VALUE) {
        LARGE_INTEGER bytes;
        if (GetFileSizeEx(handle, &bytes)) StrFormatByteSizeW(bytes.QuadPart, file.size, 64);
        // The column is headed "Date Modified" but has always shown when the
        // file was last accessed; users compare it with what they saw before.
        FILETIME accessed;
        if (GetFileTime(handle, nullptr, &accessed, nullptr)) FormatLocalFileTime(accessed, file.date, 64);
        CloseHandle(handle);
    }
    ReadVersionInfo(file.path, file);
}

void AddFilterRow(const wchar_t* name, HWND list, int group) {
    // Every row goes in at the top; names come last to first, so the
    // rows end up in registry order.
    LVITEMW item{};
    item.mask = LVIF_TEXT | LVIF_GROUPID;
    item.iItem = 0;
    item.pszText = const_cast<wchar_t*>(name);
    item.iGroupId = group;
    int row = static_cast<int>(SendMessageW(list, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item)));

    wchar_t windows[MAX_PATH] = {};
    GetWindowsDirectoryW(windows, MAX_PATH);
    wchar_t path[2 * MAX_PATH];
    swprintf(path, 2 * MAX_PATH, L"%ls\\system32\\drivers\\%ls.sys", windows, name);

    auto* file = static_cast<DriverFile*>(HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, sizeof(DriverFile)));
    if (!file) return;
    ReadDriverFile(path, *file);
    if (row >= 0) {
        const wchar_t* cells[] = {file->date, file->size, file->version, file->description, file->publisher,
                                  file->path};
        for (int i = 0; i < 6; ++i) {
            LVITEMW sub{};
            sub.iSubItem = i + 1;
            sub.pszText = const_cast<wchar_t*>(cells[i]);
            SendMessageW(list, LVM_SETITEMTEXTW, row, reinterpret_cast<LPARAM>(&sub));
        }
    }
    HeapFree(GetProcessHeap(), 0, file);
}

INT_PTR CALLBACK FilterPageProcedure(HWND page, UINT message, WPARAM wParam, LPARAM lParam) {
    // The filter drivers do not change with the drive: acknowledge, keep the rows.
    if (message == WM_APP_REFRESH) return 1;
    INT_PTR result = 0;
    return PageSkeleton(page, message, wParam, lParam, FillFilterPage, result) ? result : 0;
}
