#pragma once
// What the page tests share: the product's resources as a data file, the
// common controls of version 6 while a page exists, and a parent window.

#include <windows.h>
#include <commctrl.h>

#include <string>
#include <vector>

#include "app/AppState.h"

namespace page_test {

inline std::wstring Wide(const char* text) {
    std::wstring out;
    for (; *text; ++text) out += static_cast<wchar_t>(static_cast<unsigned char>(*text));
    return out;
}

inline HMODULE ProductModule() {
    static HMODULE module = LoadLibraryExA(VEXLON_INSPECTOR_EXE, nullptr, LOAD_LIBRARY_AS_DATAFILE);
    return module;
}

// The pages are made by a program whose manifest asks for the common
// controls of version 6 (groups in list views, SysLink); so are they here.
class CommonControlsV6 {
public:
    CommonControlsV6() {
        std::wstring exe = Wide(VEXLON_INSPECTOR_EXE);
        ACTCTXW context{};
        context.cbSize = sizeof context;
        context.dwFlags = ACTCTX_FLAG_RESOURCE_NAME_VALID;
        context.lpSource = exe.c_str();
        context.lpResourceName = MAKEINTRESOURCEW(1);
        handle = CreateActCtxW(&context);
        if (handle != INVALID_HANDLE_VALUE && ActivateActCtx(handle, &cookie)) {
            active = true;
            INITCOMMONCONTROLSEX controls{sizeof controls, ICC_LISTVIEW_CLASSES | ICC_LINK_CLASS};
            InitCommonControlsEx(&controls);
        }
    }
    ~CommonControlsV6() {
        if (active) DeactivateActCtx(0, cookie);
        if (handle != INVALID_HANDLE_VALUE) ReleaseActCtx(handle);
    }
    bool Active() const { return active; }

private:
    HANDLE handle = INVALID_HANDLE_VALUE;
    ULONG_PTR cookie = 0;
    bool active = false;
};

// Makes page `id` of the product under a visible top-level window, as the
// main dialog does, with the product's strings and pictures as resources.
class PageHost {
public:
    PageHost() : previousInstance(App().instance) {}
    ~PageHost() {
        if (page) DestroyWindow(page);
        if (parent) DestroyWindow(parent);
        App().instance = previousInstance;
    }
    HWND Create(WORD id, DLGPROC procedure) {
        App().instance = ProductModule();
        if (!App().instance) return nullptr;
        HRSRC found = FindResourceW(ProductModule(), MAKEINTRESOURCEW(id), MAKEINTRESOURCEW(5));
        if (!found) return nullptr;
        auto* dialog = static_cast<const DLGTEMPLATE*>(LockResource(LoadResource(ProductModule(), found)));
        parent = CreateWindowExW(WS_EX_CONTROLPARENT, L"STATIC", L"page host", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0,
                                 0, 760, 460, nullptr, nullptr, nullptr, nullptr);
        if (!parent) return nullptr;
        page = CreateDialogIndirectParamW(GetModuleHandleW(nullptr), dialog, parent, procedure, 0);
        if (page) ShowWindow(page, SW_SHOW);
        return page;
    }
    HWND Parent() const { return parent; }

private:
    HINSTANCE previousInstance;
    HWND parent = nullptr;
    HWND page = nullptr;
};

inline void Pump() {
    MSG msg;
    while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
        TranslateMessage(&msg);
        DispatchMessageW(&msg);
    }
}

// Saves a registry value on construction and puts it back on destruction:
// the tests change the machine's own class keys.
class SavedValue {
public:
    SavedValue(HKEY rootKey, const wchar_t* path, const wchar_t* valueName) : name(valueName ? valueName : L"") {
        DWORD disposition = 0;
        if (RegCreateKeyExW(rootKey, path, 0, nullptr, 0, KEY_QUERY_VALUE | KEY_SET_VALUE, nullptr, &key,
                            &disposition) != ERROR_SUCCESS) {
            key = nullptr;
            return;
        }
        createdKey = disposition == REG_CREATED_NEW_KEY;
        if (createdKey) {
            root = rootKey;
            subKey = path;
        }
        DWORD size = 0;
        if (RegQueryValueExW(key, Name(), nullptr, &type, nullptr, &size) == ERROR_SUCCESS) {
            data.resize(size);
            existed = RegQueryValueExW(key, Name(), nullptr, &type, data.empty() ? nullptr : data.data(), &size) ==
                      ERROR_SUCCESS;
            data.resize(size);
        }
    }
    ~SavedValue() {
        if (!key) return;
        if (existed)
            RegSetValueExW(key, Name(), 0, type, data.empty() ? nullptr : data.data(), static_cast<DWORD>(data.size()));
        else
            RegDeleteValueW(key, Name());
        RegCloseKey(key);
        if (createdKey) RegDeleteKeyW(root, subKey.c_str());
    }
    bool Ok() const { return key != nullptr; }
    bool Set(DWORD valueType, const void* bytes, DWORD size) {
        return key && RegSetValueExW(key, Name(), 0, valueType, static_cast<const BYTE*>(bytes), size) == ERROR_SUCCESS;
    }
    bool SetMulti(const std::wstring& namesWithNuls) {
        std::wstring value = namesWithNuls;
        value += L'\0';
        return Set(REG_MULTI_SZ, value.data(), static_cast<DWORD>(value.size() * sizeof(wchar_t)));
    }
    bool SetString(const std::wstring& text) {
        return Set(REG_SZ, text.c_str(), static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
    }
    bool Delete() { return key && (RegDeleteValueW(key, Name()) == ERROR_SUCCESS || !Exists()); }
    bool Exists() const { return key && RegQueryValueExW(key, Name(), nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS; }

private:
    const wchar_t* Name() const { return name.empty() ? nullptr : name.c_str(); }
    HKEY key = nullptr;
    HKEY root = nullptr;
    std::wstring subKey;
    bool createdKey = false;
    std::wstring name;
    bool existed = false;
    DWORD type = 0;
    std::vector<BYTE> data;
};

}  // namespace page_test
