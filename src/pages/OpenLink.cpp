#include "pages/OpenLink.h"

#include <shellapi.h>

#include <string>

#include "pages/OpenLinkCommand.h"

void OpenLink(const wchar_t* url, int show) {
    if (!url) return;
    HINSTANCE shell = ShellExecuteW(nullptr, L"open", url, nullptr, nullptr, show);
    if (reinterpret_cast<INT_PTR>(shell) > 32) return;

    // Without a handler for the address itself, the browser that opens
    // web pages from disk will do.
    wchar_t fileType[260] = {};
    LONG size = sizeof fileType;
    if (RegQueryValueW(HKEY_CLASSES_ROOT, L".htm", fileType, &size) != ERROR_SUCCESS) return;
    fileType[259] = 0;
    std::wstring commandKey = std::wstring(fileType) + L"\\shell\\open\\command";
    wchar_t command[520] = {};
    size = sizeof command;
    if (RegQueryValueW(HKEY_CLASSES_ROOT, commandKey.c_str(), command, &size) != ERROR_SUCCESS) return;
    command[519] = 0;

    std::wstring line = BrowserCommandLine(command, url);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESHOWWINDOW;
    startup.wShowWindow = static_cast<WORD>(show);
    PROCESS_INFORMATION process{};
    // CreateProcessW may write into the command line, so it gets a copy it owns.
    if (CreateProcessW(nullptr, &line[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process)) {
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
    }
}
