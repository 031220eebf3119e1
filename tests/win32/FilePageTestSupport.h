#pragma once
// What the File page tests share (and the Sector page's Save Image test):
// temporary paths, whole-file reads, and a second thread that answers the
// save dialog or closes the popup menu.

#include <windows.h>

#include <atomic>
#include <fstream>
#include <iterator>
#include <string>

namespace file_page_test {

inline std::string TempPath(const char* name) {
    char folder[MAX_PATH] = {};
    GetTempPathA(MAX_PATH, folder);
    return std::string(folder) + name;
}

inline std::string ReadAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Answers the next save dialog with `path`, or cancels it when empty. It
// waits until the dialog shows its offered name, so that the dialog's own
// start-up cannot overwrite the answer, and checks the answer took.
inline void AnswerSaveDialog(std::string path, std::string* offered) {
    for (int i = 0; i < 600; ++i) {
        Sleep(25);
        HWND dialog = FindWindowA("#32770", nullptr);
        if (!dialog || !IsWindowVisible(dialog)) continue;
        HWND name = GetDlgItem(dialog, 0x47C);
        if (!name) name = GetDlgItem(dialog, 0x480);
        if (!name) continue;
        char text[MAX_PATH] = {};
        GetWindowTextA(name, text, MAX_PATH);
        if (!text[0]) continue;
        if (offered) *offered = text;
        if (path.empty()) {
            PostMessageA(dialog, WM_COMMAND, IDCANCEL, 0);
            return;
        }
        Sleep(200);
        for (int tries = 0; tries < 20; ++tries) {
            SetWindowTextA(name, path.c_str());
            GetWindowTextA(name, text, MAX_PATH);
            if (path == text) break;
            Sleep(50);
        }
        PostMessageA(dialog, WM_COMMAND, IDOK, 0);
        return;
    }
}

// Watches for a popup menu for a while and closes it with Escape.
inline void WatchForMenu(std::atomic<bool>* seen, int rounds) {
    for (int i = 0; i < rounds; ++i) {
        Sleep(20);
        HWND menu = FindWindowA("#32768", nullptr);
        if (menu && IsWindowVisible(menu)) {
            *seen = true;
            PostMessageA(menu, WM_KEYDOWN, VK_ESCAPE, 0);
            return;
        }
    }
}

}  // namespace file_page_test
