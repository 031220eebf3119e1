// The pages' colours with a visual style and without one, told to the pages
// through the emulated seam whatever the machine itself has (Wine usually has
// none), and read back from what the pages really painted.

#include <gtest/gtest.h>

#include <windows.h>

#include <map>
#include <memory>
#include <vector>

#include "app/AppState.h"
#include "app/MainDialog.h"
#include "app/PageSkeleton.h"
#include "device/SptiDevice.h"
#include "win32/SeamFixture.h"
#include "win32/res/PageTestSupport.h"

namespace {

using page_test::CommonControlsV6;
using page_test::PageHost;
using page_test::Pump;

// A system colour as the pixels of a 32-bit picture hold it: 0x00RRGGBB.
DWORD Pixel(COLORREF colour) { return (GetRValue(colour) << 16) | (GetGValue(colour) << 8) | GetBValue(colour); }
DWORD SystemPixel(int index) { return Pixel(GetSysColor(index)); }

// What a window shows, painted afresh and read from its own device context.
class Picture {
public:
    explicit Picture(HWND window) {
        RedrawWindow(window, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN | RDW_UPDATENOW);
        Pump();
        RECT client{};
        GetClientRect(window, &client);
        width = client.right;
        height = client.bottom;
        if (width <= 0 || height <= 0) return;
        BITMAPINFO info{};
        info.bmiHeader.biSize = sizeof info.bmiHeader;
        info.bmiHeader.biWidth = width;
        info.bmiHeader.biHeight = -height;  // top row first
        info.bmiHeader.biPlanes = 1;
        info.bmiHeader.biBitCount = 32;
        info.bmiHeader.biCompression = BI_RGB;
        HDC source = GetDC(window);
        HDC copy = CreateCompatibleDC(source);
        void* bits = nullptr;
        HBITMAP bitmap = CreateDIBSection(copy, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
        if (bitmap && bits) {
            HGDIOBJ old = SelectObject(copy, bitmap);
            BitBlt(copy, 0, 0, width, height, source, 0, 0, SRCCOPY);
            GdiFlush();
            const DWORD* p = static_cast<const DWORD*>(bits);
            pixels.assign(p, p + static_cast<size_t>(width) * height);
            for (DWORD& pixel : pixels) pixel &= 0xFFFFFF;
            SelectObject(copy, old);
        }
        if (bitmap) DeleteObject(bitmap);
        DeleteDC(copy);
        ReleaseDC(window, source);
    }
    bool Empty() const { return pixels.empty(); }
    DWORD At(int x, int y) const { return pixels[static_cast<size_t>(y) * width + x]; }
    // How often each colour occurs inside `r` (clipped to the picture).
    std::map<DWORD, int> Colours(RECT r) const {
        std::map<DWORD, int> count;
        for (int y = r.top < 0 ? 0 : r.top; y < r.bottom && y < height; ++y)
            for (int x = r.left < 0 ? 0 : r.left; x < r.right && x < width; ++x) ++count[At(x, y)];
        return count;
    }
    DWORD MostOf(RECT r) const {
        DWORD best = 0xFFFFFFFF;
        int most = 0;
        for (const auto& c : Colours(r))
            if (c.second > most) best = c.first, most = c.second;
        return best;
    }

private:
    int width = 0, height = 0;
    std::vector<DWORD> pixels;
};

// A control's client area in the page's client coordinates.
RECT ClientIn(HWND page, HWND control) {
    RECT r{};
    GetClientRect(control, &r);
    MapWindowPoints(control, page, reinterpret_cast<POINT*>(&r), 2);
    return r;
}

// A rectangle of dialog units in pixels of `page`.
RECT Units(HWND page, int left, int top, int right, int bottom) {
    RECT r = {left, top, right, bottom};
    MapDialogRect(page, &r);
    return r;
}

bool IsDark(DWORD pixel) { return (pixel >> 16 & 0xFF) < 0x60 && (pixel >> 8 & 0xFF) < 0x60 && (pixel & 0xFF) < 0x60; }

bool HasDarkPixel(const std::map<DWORD, int>& colours) {
    for (const auto& c : colours)
        if (IsDark(c.first)) return true;
    return false;
}

class PageThemeTest : public SeamTest {
protected:
    void SetUp() override {
        SeamTest::SetUp();
        ASSERT_TRUE(controls.Active());
        // The two states could not be told apart on a machine where they paint alike.
        ASSERT_NE(SystemPixel(COLOR_BTNHIGHLIGHT), SystemPixel(COLOR_BTNFACE));
        previousDrive = App().CurrentDrive;
        previousBold = App().boldFont;
        LOGFONTW font{};
        font.lfHeight = -11;
        font.lfWeight = FW_BOLD;
        lstrcpyW(font.lfFaceName, L"Tahoma");
        bold = CreateFontIndirectW(&font);
        App().boldFont = bold;
    }
    void TearDown() override {
        host.reset();
        if (App().CurrentDrive != INVALID_HANDLE_VALUE && App().CurrentDrive != previousDrive)
            Os().CloseHandle(App().CurrentDrive);
        App().CurrentDrive = previousDrive;
        App().boldFont = previousBold;
        DeleteObject(bold);
        SeamTest::TearDown();
    }
    HWND Open(WORD id, DLGPROC procedure) {
        host.reset(new PageHost());
        HWND page = host->Create(id, procedure);
        if (page) SetWindowPos(host->Parent(), HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
        Pump();
        return page;
    }
    // The page colour of each state: the themed tab body, or the dialog default.
    static DWORD Background(bool themed) { return SystemPixel(themed ? COLOR_BTNHIGHLIGHT : COLOR_BTNFACE); }

    CommonControlsV6 controls;
    std::unique_ptr<PageHost> host;
    HANDLE previousDrive = INVALID_HANDLE_VALUE;
    HFONT previousBold = nullptr;
    HFONT bold = nullptr;
};

TEST_F(PageThemeTest, ColourMessagesOfEveryKindOfPageFollowTheSeam) {
    for (bool themed : {false, true}) {
        seam.themeActive = themed;
        HBRUSH expected = themed ? GetSysColorBrush(COLOR_BTNHIGHLIGHT) : nullptr;
        EXPECT_EQ(PageBrush(), expected) << themed;
        for (UINT message : {WM_CTLCOLORLISTBOX, WM_CTLCOLORBTN, WM_CTLCOLORDLG, WM_CTLCOLORSTATIC}) {
            INT_PTR result = -1;
            EXPECT_TRUE(PageSkeleton(nullptr, message, 0, 0, nullptr, result)) << message;
            EXPECT_EQ(reinterpret_cast<HBRUSH>(result), expected) << message << " themed " << themed;
            // The System page has its own procedure and answers alike.
            EXPECT_EQ(reinterpret_cast<HBRUSH>(SystemPageProcedure(nullptr, message, 0, 0)), expected) << message;
        }
        for (UINT message : {WM_CTLCOLOREDIT, WM_CTLCOLORMSGBOX, WM_CTLCOLORSCROLLBAR}) {
            INT_PTR result = -1;
            EXPECT_FALSE(PageSkeleton(nullptr, message, 0, 0, nullptr, result)) << message;
            EXPECT_EQ(SystemPageProcedure(nullptr, message, 0, 0), 0) << message;
        }
    }
    EXPECT_GT(seam.themeQueries, 0);
}

TEST_F(PageThemeTest, DrivePageBackgroundStaticsAndEditsInBothStates) {
    HWND page = Open(101, DrivePageProcedure);
    ASSERT_NE(page, nullptr);
    HWND label = GetDlgItem(page, 1086);  // "Date:"
    HWND readOnly = GetDlgItem(page, 1008);
    ASSERT_NE(label, nullptr);
    ASSERT_NE(readOnly, nullptr);
    ASSERT_TRUE(GetWindowLongW(readOnly, GWL_STYLE) & ES_READONLY);
    SetWindowTextW(readOnly, L"");
    // A writable edit on the page, as the Sector Viewer's number field is.
    RECT free = Units(page, 10, 196, 120, 208);
    HWND writable = CreateWindowExW(0, L"EDIT", L"", WS_CHILD | WS_VISIBLE | WS_BORDER, free.left, free.top,
                                    free.right - free.left, free.bottom - free.top, page, nullptr, nullptr, nullptr);
    ASSERT_NE(writable, nullptr);
    RECT between = Units(page, 200, 113, 260, 117);  // between the two group boxes
    RECT below = Units(page, 200, 192, 420, 220);    // under the last group box

    for (bool themed : {false, true, false}) {
        seam.themeActive = themed;
        Picture picture(page);
        ASSERT_FALSE(picture.Empty());
        const char* state = themed ? "themed" : "plain";
        EXPECT_EQ(picture.MostOf(between), Background(themed)) << state;
        EXPECT_EQ(picture.MostOf(below), Background(themed)) << state;
        RECT text = ClientIn(page, label);
        EXPECT_EQ(picture.MostOf(text), Background(themed)) << state;
        EXPECT_TRUE(HasDarkPixel(picture.Colours(text))) << state << ": the label text is drawn in the text colour";
        // A read-only edit asks as a static does, so it takes the page colour too.
        RECT inside = ClientIn(page, readOnly);
        InflateRect(&inside, -1, -1);
        EXPECT_EQ(picture.MostOf(inside), Background(themed)) << state;
        // An edit that can be typed into keeps the window colour in both states.
        RECT typed = ClientIn(page, writable);
        InflateRect(&typed, -1, -1);
        EXPECT_EQ(picture.MostOf(typed), SystemPixel(COLOR_WINDOW)) << state;
    }
}

TEST_F(PageThemeTest, FeatureLabelsKeepTheirThreeColoursOnBothBackgrounds) {
    App().CurrentDrive = OpenDevicePath(dvdWriterPath);
    ASSERT_NE(App().CurrentDrive, INVALID_HANDLE_VALUE);
    HWND page = Open(102, FeaturePageProcedure);
    ASSERT_NE(page, nullptr);
    HWND green = GetDlgItem(page, 1001);  // "CD-R" read: the DVD writer reads CD-R
    HWND grey = GetDlgItem(page, 1018);   // "HD DVD-RW" read: never lit
    HWND yellow = GetDlgItem(page, 1019);
    ASSERT_EQ(GetWindowLongPtrW(green, GWLP_USERDATA), 1);
    ASSERT_EQ(GetWindowLongPtrW(grey, GWLP_USERDATA), 0);
    // As every label is before the drive has answered.
    SetWindowLongPtrW(yellow, GWLP_USERDATA, 2);
    RECT between = Units(page, 200, 67, 260, 71);  // between the read and write groups

    for (bool themed : {false, true}) {
        seam.themeActive = themed;
        Picture picture(page);
        ASSERT_FALSE(picture.Empty());
        const char* state = themed ? "themed" : "plain";
        EXPECT_EQ(picture.MostOf(between), Background(themed)) << state;
        const struct {
            HWND label;
            COLORREF colour;
        } labels[] = {{green, RGB(0x00, 0x99, 0x00)}, {grey, RGB(0x88, 0x88, 0x88)}, {yellow, RGB(0xFF, 0xFF, 0x00)}};
        for (const auto& l : labels) {
            RECT r = ClientIn(page, l.label);
            std::map<DWORD, int> colours = picture.Colours(r);
            // Drawn over the button's own background, which is the page colour.
            EXPECT_EQ(picture.MostOf(r), Background(themed)) << state;
            EXPECT_GT(colours[Pixel(l.colour)], 0) << state << ": no pixel of " << std::hex << Pixel(l.colour);
            for (const auto& other : labels)
                if (other.label != l.label) EXPECT_EQ(colours.count(Pixel(other.colour)), 0u) << state;
        }
    }
}

}  // namespace
