#pragma once
// What both GUI drivers share: checks with "ok"/"not ok" lines, reading and
// clicking controls of another process, waiting for it, and screenshots.

#include <windows.h>
#include <commctrl.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "RemoteMemory.h"

namespace ui {

inline int passed = 0, failed = 0;
inline std::string outDir;

inline void Check(bool ok, const std::string& what, const std::string& detail = std::string()) {
    (ok ? passed : failed)++;
    std::printf("%s - %s%s%s\n", ok ? "ok" : "not ok", what.c_str(), detail.empty() ? "" : ": ", detail.c_str());
    std::fflush(stdout);
}

inline std::string Narrow(const std::wstring& w) {
    std::string s;
    for (wchar_t c : w) s += c < 128 ? static_cast<char>(c) : '?';
    return s;
}

inline std::string Text(HWND window) {
    wchar_t text[512] = {};
    SendMessageTimeoutW(window, WM_GETTEXT, 512, reinterpret_cast<LPARAM>(text), SMTO_ABORTIFHUNG, 5000, nullptr);
    return Narrow(text);
}

inline void Settle(HWND dialog, int ms = 400) {
    Sleep(ms);
    DWORD_PTR r;
    SendMessageTimeoutW(dialog, WM_NULL, 0, 0, SMTO_ABORTIFHUNG, 10000, &r);
}

inline HWND WaitForMainWindow() {
    for (int i = 0; i < 600; ++i) {
        HWND w = FindWindowW(L"#32770", L"Vexlon Inspector");
        if (w && IsWindowVisible(w)) return w;
        Sleep(100);
    }
    return nullptr;
}

inline RECT RemoteRect(HWND control, UINT message, WPARAM index) {
    RECT r{};
    RemoteMemory remote(control, sizeof r);
    if (!remote.Ok()) return r;
    SendMessageW(control, message, index, reinterpret_cast<LPARAM>(remote.At(0)));
    remote.Read(0, &r, sizeof r);
    return r;
}

inline void ClickAt(HWND window, POINT p) {
    ClientToScreen(window, &p);
    SetForegroundWindow(GetAncestor(window, GA_ROOT));
    SetCursorPos(p.x, p.y);
    INPUT input[2] = {};
    input[0].type = input[1].type = INPUT_MOUSE;
    input[0].mi.dwFlags = MOUSEEVENTF_LEFTDOWN;
    input[1].mi.dwFlags = MOUSEEVENTF_LEFTUP;
    SendInput(2, input, sizeof(INPUT));
}

inline void Click(HWND window, const RECT& r) { ClickAt(window, {(r.left + r.right) / 2, (r.top + r.bottom) / 2}); }

inline void PressEnter() {
    INPUT input[2] = {};
    input[0].type = input[1].type = INPUT_KEYBOARD;
    input[0].ki.wVk = input[1].ki.wVk = VK_RETURN;
    input[1].ki.dwFlags = KEYEVENTF_KEYUP;
    SendInput(2, input, sizeof(INPUT));
}

inline void Screenshot(HWND window, const std::string& name) {
    RECT r;
    GetWindowRect(window, &r);
    int w = r.right - r.left, h = r.bottom - r.top;
    HDC screen = GetDC(nullptr);
    HDC memory = CreateCompatibleDC(screen);
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = w;
    info.bmiHeader.biHeight = h;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 24;
    void* bits = nullptr;
    HBITMAP bitmap = CreateDIBSection(screen, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    HGDIOBJ old = SelectObject(memory, bitmap);
    BitBlt(memory, 0, 0, w, h, screen, r.left, r.top, SRCCOPY);
    GdiFlush();
    DWORD rowBytes = ((w * 3) + 3) & ~3u;
    BITMAPFILEHEADER file{};
    file.bfType = 0x4D42;
    file.bfOffBits = sizeof file + sizeof info.bmiHeader;
    file.bfSize = file.bfOffBits + rowBytes * h;
    std::string path = outDir + "\\" + name + ".bmp";
    FILE* f = std::fopen(path.c_str(), "wb");
    if (f) {
        std::fwrite(&file, sizeof file, 1, f);
        std::fwrite(&info.bmiHeader, sizeof info.bmiHeader, 1, f);
        std::fwrite(bits, rowBytes, h, f);
        std::fclose(f);
    }
    SelectObject(memory, old);
    DeleteObject(bitmap);
    DeleteDC(memory);
    ReleaseDC(nullptr, screen);
}

inline std::vector<std::string> ReadLines(const std::string& path) {
    std::vector<std::string> lines;
    std::ifstream in(path);
    std::string line;
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        lines.push_back(line);
    }
    return lines;
}

inline void WriteText(const std::string& path, const std::string& text) {
    FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) return;
    std::fwrite(text.data(), 1, text.size(), f);
    std::fclose(f);
}

inline int Finish() {
    std::printf("%d passed, %d failed\n", passed, failed);
    return failed == 0 ? 0 : 1;
}

}  // namespace ui
