#include <gtest/gtest.h>

#include <windows.h>
#include <commctrl.h>
#include <shellapi.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "pages/AboutPage.h"
#include "pages/OpenLink.h"
#include "win32/res/PageTestSupport.h"

namespace {

using page_test::CommonControlsV6;
using page_test::PageHost;
using page_test::SavedValue;
using page_test::Wide;

std::wstring Text(HWND page, int id) {
    wchar_t text[512] = {};
    GetDlgItemTextW(page, id, text, 512);
    return text;
}

// The 32-bit pixels of a bitmap, top row first.
std::vector<DWORD> Pixels(HDC dc, HBITMAP bitmap, int width, int height) {
    std::vector<DWORD> pixels(static_cast<size_t>(width) * height);
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = -height;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;
    GetDIBits(dc, bitmap, 0, height, pixels.data(), &info, DIB_RGB_COLORS);
    for (DWORD& p : pixels) p &= 0xFFFFFF;
    return pixels;
}

constexpr DWORD kBackground = 0x00C000;  // green, as 0x00RRGGBB

class AboutPageTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(controls.Active());
        LOGFONTW font{};
        font.lfHeight = -11;
        font.lfWeight = FW_BOLD;
        lstrcpyW(font.lfFaceName, L"Tahoma");
        bold = CreateFontIndirectW(&font);
        previousBold = App().boldFont;
        App().boldFont = bold;
        page = host.Create(108, AboutPageProcedure);
        ASSERT_NE(page, nullptr);
    }
    void TearDown() override {
        App().boldFont = previousBold;
        DeleteObject(bold);
    }

    // Draws icon button `id` through the page onto a green 48x48 picture.
    std::vector<DWORD> DrawButton(int id, INT_PTR* handled = nullptr) {
        HDC screen = GetDC(nullptr);
        HDC dc = CreateCompatibleDC(screen);
        HBITMAP target = CreateCompatibleBitmap(screen, 48, 48);
        HGDIOBJ previous = SelectObject(dc, target);
        RECT all = {0, 0, 48, 48};
        HBRUSH green = CreateSolidBrush(RGB(0, 0xC0, 0));
        FillRect(dc, &all, green);
        DeleteObject(green);
        DRAWITEMSTRUCT item{};
        item.CtlType = ODT_BUTTON;
        item.CtlID = id;
        item.itemAction = ODA_DRAWENTIRE;
        item.hwndItem = GetDlgItem(page, id);
        item.hDC = dc;
        item.rcItem = all;
        INT_PTR result = AboutPageProcedure(page, WM_DRAWITEM, id, reinterpret_cast<LPARAM>(&item));
        if (handled) *handled = result;
        SelectObject(dc, previous);
        std::vector<DWORD> pixels = Pixels(dc, target, 48, 48);
        DeleteObject(target);
        DeleteDC(dc);
        ReleaseDC(nullptr, screen);
        return pixels;
    }

    // Rows 0-239 of the product's picture strip.
    std::vector<DWORD> Strip() {
        HBITMAP strip = LoadBitmapW(page_test::ProductModule(), MAKEINTRESOURCEW(3));
        HDC screen = GetDC(nullptr);
        std::vector<DWORD> pixels = strip ? Pixels(screen, strip, 48, 240) : std::vector<DWORD>();
        ReleaseDC(nullptr, screen);
        if (strip) DeleteObject(strip);
        return pixels;
    }

    CommonControlsV6 controls;
    PageHost host;
    HWND page = nullptr;
    HFONT bold = nullptr;
    HFONT previousBold = nullptr;
};

TEST_F(AboutPageTest, VersionLineIsBoldAndExact) {
    EXPECT_EQ(Text(page, 1002), L"Vexlon Inspector 1.3.0.0 (05/06/2013)");
    EXPECT_STREQ(kAboutVersionLine, L"Vexlon Inspector 1.3.0.0 (05/06/2013)");
    EXPECT_EQ(reinterpret_cast<HFONT>(SendDlgItemMessageW(page, 1002, WM_GETFONT, 0, 0)), bold);
    // The other texts keep the page's font.
    EXPECT_NE(reinterpret_cast<HFONT>(SendDlgItemMessageW(page, 1003, WM_GETFONT, 0, 0)), bold);
}

TEST_F(AboutPageTest, DescriptionHeadingAndNoticeTexts) {
    EXPECT_EQ(Text(page, 1001),
              L"Vexlon Inspector is a freeware application to report various information about your CD/DVD/BD "
              L"hardware as well as CD/DVD/BD media.");
    EXPECT_EQ(Text(page, 1006), L"Other Vexlon Products");
    EXPECT_EQ(Text(page, 1003), L"Copyright (C) 2013 Vexlon Software");
}

TEST_F(AboutPageTest, EveryLinkSentenceHoldsExactlyOneLink) {
    for (int id : {1013, 1014, 1015, 1012, 1004}) {
        HWND link = GetDlgItem(page, id);
        ASSERT_NE(link, nullptr) << id;
        LITEM item{};
        item.mask = LIF_ITEMINDEX | LIF_URL;
        item.iLink = 0;
        ASSERT_TRUE(SendMessageW(link, LM_GETITEM, 0, reinterpret_cast<LPARAM>(&item))) << id;
        EXPECT_EQ(std::wstring(item.szUrl).rfind(L"https://www.vexlon.example/", 0), 0u) << id;
        LITEM second{};
        second.mask = LIF_ITEMINDEX | LIF_URL;
        second.iLink = 1;
        EXPECT_FALSE(SendMessageW(link, LM_GETITEM, 0, reinterpret_cast<LPARAM>(&second))) << id;
    }
}

TEST_F(AboutPageTest, ButtonsOneThousandEightAndNineBothShowThePictureAtRow48) {
    // The first two products share one picture; kept as the product has it.
    EXPECT_EQ(AboutIconSourceY(1008), 48);
    EXPECT_EQ(AboutIconSourceY(1009), 48);
    EXPECT_EQ(AboutIconSourceY(1011), 0);
    EXPECT_EQ(AboutIconSourceY(1005), 96);
    EXPECT_EQ(AboutIconSourceY(1010), 144);
    EXPECT_EQ(AboutIconSourceY(1006), -1);
    EXPECT_EQ(DrawButton(1008), DrawButton(1009));
    EXPECT_NE(DrawButton(1008), DrawButton(1010));
}

TEST_F(AboutPageTest, IconButtonsDrawTheirStripPictureWithMagentaTransparent) {
    std::vector<DWORD> strip = Strip();
    ASSERT_EQ(strip.size(), 48u * 240u);
    for (int id : {1005, 1008, 1009, 1010, 1011}) {
        INT_PTR handled = 0;
        std::vector<DWORD> drawn = DrawButton(id, &handled);
        EXPECT_EQ(handled, 1) << id;
        int sourceY = AboutIconSourceY(id);
        int magenta = 0, mismatches = 0;
        for (int y = 0; y < 48; ++y)
            for (int x = 0; x < 48; ++x) {
                DWORD source = strip[static_cast<size_t>(sourceY + y) * 48 + x];
                DWORD expected = source == 0xFF00FF ? kBackground : source;
                magenta += source == 0xFF00FF;
                mismatches += drawn[static_cast<size_t>(y) * 48 + x] != expected;
            }
        EXPECT_EQ(mismatches, 0) << id;
        EXPECT_GT(magenta, 0) << id << ": the picture has a transparent background";
        EXPECT_LT(magenta, 48 * 48) << id << ": the picture is not empty";
    }
}

TEST_F(AboutPageTest, OtherOwnerDrawnControlsAreLeftAlone) {
    INT_PTR handled = -1;
    std::vector<DWORD> drawn = DrawButton(1006, &handled);
    EXPECT_EQ(handled, 0);
    for (DWORD p : drawn) ASSERT_EQ(p, kBackground);
}

TEST_F(AboutPageTest, RefreshIsAcknowledgedAndRedrawsNothing) {
    SetDlgItemTextW(page, 1002, L"changed");
    SendDlgItemMessageW(page, 1002, WM_SETFONT, 0, FALSE);
    EXPECT_EQ(AboutPageProcedure(page, WM_APP_REFRESH, 0, 0), 1);
    SendMessageW(page, WM_APP_REFRESH, 0, 0);
    EXPECT_EQ(Text(page, 1002), L"changed");
    EXPECT_NE(reinterpret_cast<HFONT>(SendDlgItemMessageW(page, 1002, WM_GETFONT, 0, 0)), bold);
}

// A stand-in browser registered for ".htm" and for https addresses records
// every address it is started with.
class LinkTest : public AboutPageTest {
protected:
    void SetUp() override {
        AboutPageTest::SetUp();
        wchar_t temp[MAX_PATH];
        GetTempPathW(MAX_PATH, temp);
        log = std::wstring(temp) + L"vexlon-link-log.txt";
        DeleteFileW(log.c_str());
        SetEnvironmentVariableW(L"VEXLON_LINK_LOG", log.c_str());
        recorder = L"\"" + Wide(VEXLON_LINK_RECORDER) + L"\"";
        ASSERT_TRUE(htm.Ok());
    }
    void TearDown() override {
        RegDeleteTreeW(HKEY_CLASSES_ROOT, L"VexlonTest.LinkRecorder");
        DeleteFileW(log.c_str());
        SetEnvironmentVariableW(L"VEXLON_LINK_LOG", nullptr);
        AboutPageTest::TearDown();
    }
    bool RegisterHtmCommand(const std::wstring& command) {
        HKEY key;
        if (RegCreateKeyExW(HKEY_CLASSES_ROOT, L"VexlonTest.LinkRecorder\\shell\\open\\command", 0, nullptr, 0,
                            KEY_SET_VALUE, nullptr, &key, nullptr) != ERROR_SUCCESS)
            return false;
        bool ok = RegSetValueExW(key, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(command.c_str()),
                                 static_cast<DWORD>((command.size() + 1) * sizeof(wchar_t))) == ERROR_SUCCESS;
        RegCloseKey(key);
        return ok && htm.SetString(L"VexlonTest.LinkRecorder");
    }
    // The lines the recorder wrote, waiting up to ten seconds for `count`.
    std::vector<std::string> Recorded(size_t count) {
        std::vector<std::string> lines;
        for (int i = 0; i < 100; ++i) {
            lines.clear();
            std::ifstream in(log.c_str());
            std::string line;
            while (std::getline(in, line)) lines.push_back(line);
            if (lines.size() >= count) break;
            Sleep(100);
        }
        return lines;
    }
    bool SetLinkUrl(int id, const wchar_t* url) {
        LITEM item{};
        item.mask = LIF_ITEMINDEX | LIF_URL;
        item.iLink = 0;
        lstrcpynW(item.szUrl, url, L_MAX_URL_LENGTH);
        return SendDlgItemMessageW(page, id, LM_SETITEM, 0, reinterpret_cast<LPARAM>(&item)) != 0;
    }

    SavedValue htm{HKEY_CLASSES_ROOT, L".htm", nullptr};
    std::wstring log;
    std::wstring recorder;
};

// An address no handler is registered for: the shell cannot open it, so the
// ".htm" browser is started directly.
const wchar_t kUnhandled[] = L"vexlon-nohandler:disccopy";

TEST_F(LinkTest, ShellFailureStartsTheHtmBrowserWithTheQuotedAddress) {
    ASSERT_TRUE(RegisterHtmCommand(recorder + L" \"%1\""));
    ASSERT_LE(reinterpret_cast<INT_PTR>(ShellExecuteW(nullptr, L"open", kUnhandled, nullptr, nullptr, SW_HIDE)), 32);
    OpenLink(kUnhandled, SW_SHOWNORMAL);
    std::vector<std::string> lines = Recorded(1);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0], "\"vexlon-nohandler:disccopy\"");
}

TEST_F(LinkTest, HtmBrowserWithoutPlaceholderGetsTheAddressAppended) {
    ASSERT_TRUE(RegisterHtmCommand(recorder + L" -first"));
    OpenLink(kUnhandled, SW_SHOWNORMAL);
    std::vector<std::string> lines = Recorded(1);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0], "-first \"vexlon-nohandler:disccopy\"");
}

TEST_F(LinkTest, NoHtmBrowserMeansNothingHappens) {
    ASSERT_TRUE(htm.Delete());
    OpenLink(kUnhandled, SW_SHOWNORMAL);
    Sleep(500);
    EXPECT_TRUE(Recorded(0).empty());
}

TEST_F(LinkTest, TheShellIsAskedFirst) {
    // A scheme with a handler of its own: the shell starts that handler and
    // the ".htm" browser is not started as well.
    ASSERT_TRUE(RegisterHtmCommand(recorder + L" -fallback \"%1\""));
    HKEY key;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CLASSES_ROOT, L"vexlon-handled\\shell\\open\\command", 0, nullptr, 0, KEY_SET_VALUE,
                              nullptr, &key, nullptr),
              ERROR_SUCCESS);
    std::wstring command = recorder + L" -shell \"%1\"";
    RegSetValueExW(key, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(command.c_str()),
                   static_cast<DWORD>((command.size() + 1) * sizeof(wchar_t)));
    RegCloseKey(key);
    ASSERT_EQ(RegCreateKeyExW(HKEY_CLASSES_ROOT, L"vexlon-handled", 0, nullptr, 0, KEY_SET_VALUE, nullptr, &key,
                              nullptr),
              ERROR_SUCCESS);
    RegSetValueExW(key, L"URL Protocol", 0, REG_SZ, reinterpret_cast<const BYTE*>(L""), sizeof(wchar_t));
    RegCloseKey(key);
    OpenLink(L"vexlon-handled:audiograb", SW_SHOWNORMAL);
    std::vector<std::string> lines = Recorded(1);
    Sleep(500);
    lines = Recorded(1);
    RegDeleteTreeW(HKEY_CLASSES_ROOT, L"vexlon-handled");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0], "-shell \"vexlon-handled:audiograb\"");
}

TEST_F(LinkTest, ClickOnALinkOpensIt) {
    ASSERT_TRUE(RegisterHtmCommand(recorder + L" \"%1\""));
    ASSERT_TRUE(SetLinkUrl(1013, kUnhandled));
    HWND link = GetDlgItem(page, 1013);
    // Find a point on the link, then press and release the mouse there.
    RECT client;
    GetClientRect(link, &client);
    POINT on = {-1, -1};
    for (int y = 1; y < client.bottom && on.x < 0; y += 2)
        for (int x = 1; x < client.right; x += 3) {
            LHITTESTINFO hit{};
            hit.pt = {x, y};
            if (SendMessageW(link, LM_HITTEST, 0, reinterpret_cast<LPARAM>(&hit))) {
                on = hit.pt;
                break;
            }
        }
    ASSERT_GE(on.x, 0) << "no point of 1013 is on its link";
    SendMessageW(link, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(on.x, on.y));
    SendMessageW(link, WM_LBUTTONUP, 0, MAKELPARAM(on.x, on.y));
    std::vector<std::string> lines = Recorded(1);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0], "\"vexlon-nohandler:disccopy\"");
}

TEST_F(LinkTest, EnterOnAFocusedLinkOpensItLikeAClick) {
    ASSERT_TRUE(RegisterHtmCommand(recorder + L" \"%1\""));
    ASSERT_TRUE(SetLinkUrl(1004, kUnhandled));
    HWND link = GetDlgItem(page, 1004);
    SetForegroundWindow(host.Parent());
    SetFocus(link);
    ASSERT_EQ(GetFocus(), link);
    // The key goes through the dialog manager as in the program's own loop.
    PostMessageW(link, WM_KEYDOWN, VK_RETURN, 0x001C0001);
    PostMessageW(link, WM_KEYUP, VK_RETURN, 0xC01C0001);
    MSG msg;
    while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
        if (IsDialogMessageW(page, &msg)) continue;
        TranslateMessage(&msg);
        DispatchMessageW(&msg);
    }
    std::vector<std::string> lines = Recorded(1);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0], "\"vexlon-nohandler:disccopy\"");
    EXPECT_TRUE(IsWindowVisible(page)) << "Enter did not close the page";
}

TEST_F(LinkTest, OtherNotificationsOpenNothing) {
    ASSERT_TRUE(RegisterHtmCommand(recorder + L" \"%1\""));
    NMLINK notice{};
    notice.hdr.hwndFrom = GetDlgItem(page, 1013);
    notice.hdr.idFrom = 1013;
    notice.hdr.code = NM_SETFOCUS;
    lstrcpyW(notice.item.szUrl, kUnhandled);
    EXPECT_EQ(AboutPageProcedure(page, WM_NOTIFY, 1013, reinterpret_cast<LPARAM>(&notice)), 1);
    // A click reported by a control that is not one of the links.
    notice.hdr.code = NM_CLICK;
    notice.hdr.idFrom = 1003;
    EXPECT_EQ(AboutPageProcedure(page, WM_NOTIFY, 1003, reinterpret_cast<LPARAM>(&notice)), 1);
    Sleep(500);
    EXPECT_TRUE(Recorded(0).empty());
}

}  // namespace
