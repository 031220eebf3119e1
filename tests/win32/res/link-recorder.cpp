// Stands in for a web browser: appends the arguments it was started with,
// one line per start, to the file named by VEXLON_LINK_LOG.

#include <windows.h>

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int) {
    wchar_t log[MAX_PATH] = {};
    if (!GetEnvironmentVariableW(L"VEXLON_LINK_LOG", log, MAX_PATH)) return 2;
    // Everything after the program name, as the browser would parse it.
    const wchar_t* line = GetCommandLineW();
    bool quoted = false;
    for (; *line && (quoted || (*line != L' ' && *line != L'\t')); ++line)
        if (*line == L'"') quoted = !quoted;
    while (*line == L' ' || *line == L'\t') ++line;
    HANDLE file = CreateFileW(log, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return 1;
    char text[4096];
    int n = WideCharToMultiByte(CP_UTF8, 0, line, -1, text, sizeof text - 2, nullptr, nullptr);
    if (n > 0) {
        text[n - 1] = '\n';
        DWORD written;
        WriteFile(file, text, n, &written, nullptr);
    }
    CloseHandle(file);
    return 0;
}
