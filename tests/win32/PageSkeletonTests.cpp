#include <gtest/gtest.h>

#include <windows.h>
#include <commctrl.h>
#include <uxtheme.h>

#include <string>

#include "app/AppState.h"
#include "app/PageSkeleton.h"

namespace {

HMODULE ProductModule() {
    static HMODULE module = LoadLibraryExA(VEXLON_INSPECTOR_EXE, nullptr, LOAD_LIBRARY_AS_DATAFILE);
    return module;
}

struct InstanceScope {
    explicit InstanceScope(HINSTANCE instance) : previous(App().instance) { App().instance = instance; }
    ~InstanceScope() { App().instance = previous; }
    HINSTANCE previous;
};

TEST(PageSkeleton, LabelColoursByState) {
    EXPECT_EQ(LabelColour(0), static_cast<COLORREF>(0x888888));
    EXPECT_EQ(LabelColour(1), static_cast<COLORREF>(0x009900));
    EXPECT_EQ(LabelColour(2), static_cast<COLORREF>(0x00FFFF));
    EXPECT_EQ(LabelColour(7), static_cast<COLORREF>(0x00FFFF));  // any other state is yellow
    EXPECT_EQ(LabelColour(-1), static_cast<COLORREF>(0x00FFFF));
}

TEST(PageSkeleton, EveryPageTemplateCarriesItsCaptionThirtyBytesIn) {
    ASSERT_NE(ProductModule(), nullptr);
    const wchar_t* captions[] = {L"Drive", L"Feature", L"Media", L"File", L"Filter Driver", L"Sector Viewer",
                                 L"System", L"About"};
    for (WORD id = 101; id <= 108; ++id) {
        HRSRC found = FindResourceW(ProductModule(), MAKEINTRESOURCEW(id), MAKEINTRESOURCEW(5));
        ASSERT_NE(found, nullptr) << id;
        auto* dialog = static_cast<const DLGTEMPLATE*>(LockResource(LoadResource(ProductModule(), found)));
        EXPECT_STREQ(TemplateCaption(dialog), captions[id - 101]) << id;
    }
}

TEST(PageSkeleton, SmallIconListHasThreeIcons) {
    ASSERT_NE(ProductModule(), nullptr);
    InstanceScope scope(ProductModule());
    HIMAGELIST list = SmallIconImageList();
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(ImageList_GetImageCount(list), 3);
    ImageList_Destroy(list);
}

TEST(PageSkeleton, MissingOpenFolderIconGivesNoListAtAll) {
    InstanceScope scope(GetModuleHandleW(nullptr));  // this binary has icons 4 and 6 only
    EXPECT_EQ(SmallIconImageList(), nullptr);
}

class WindowTest : public ::testing::Test {
protected:
    void SetUp() override {
        parent = CreateWindowExW(0, L"STATIC", L"", WS_OVERLAPPEDWINDOW, 0, 0, 300, 200, nullptr, nullptr,
                                 nullptr, nullptr);
        ASSERT_NE(parent, nullptr);
    }
    void TearDown() override { DestroyWindow(parent); }
    HWND Child(const wchar_t* cls, DWORD style, const wchar_t* text = L"") {
        return CreateWindowExW(0, cls, text, WS_CHILD | WS_VISIBLE | style, 0, 0, 200, 20, parent, nullptr, nullptr,
                               nullptr);
    }
    bool PostedShowSector() {
        MSG msg;
        bool found = false;
        while (PeekMessageW(&msg, parent, 0, 0, PM_REMOVE)) found |= msg.message == WM_APP_SHOW_SECTOR;
        return found;
    }
    HWND parent = nullptr;
};

TEST_F(WindowTest, ResetLabelsSetsEveryButtonToTwoAndNothingElse) {
    HWND button = Child(L"BUTTON", BS_OWNERDRAW);
    HWND group = Child(L"Button", BS_GROUPBOX);
    HWND edit = Child(L"EDIT", 0);
    SetWindowLongPtrW(button, GWLP_USERDATA, 1);
    SetWindowLongPtrW(edit, GWLP_USERDATA, 5);
    ResetLabels(parent);
    EXPECT_EQ(GetWindowLongPtrW(button, GWLP_USERDATA), 2);
    EXPECT_EQ(GetWindowLongPtrW(group, GWLP_USERDATA), 2);
    EXPECT_EQ(GetWindowLongPtrW(edit, GWLP_USERDATA), 5);
}

TEST_F(WindowTest, TabAndEnterInTheNumberEditAskForTheSectorInstead) {
    HWND edit = Child(L"EDIT", ES_MULTILINE | ES_WANTRETURN, L"12");
    HWND other = Child(L"EDIT", 0);
    SubclassKeyForwardingEdit(edit);
    SetFocus(edit);
    PostedShowSector();
    EXPECT_EQ(SendMessageW(edit, WM_KEYDOWN, VK_TAB, 0), 0);
    EXPECT_TRUE(PostedShowSector());
    EXPECT_EQ(SendMessageW(edit, WM_KEYDOWN, VK_RETURN, 0), 0);
    EXPECT_TRUE(PostedShowSector());
    SendMessageW(edit, WM_CHAR, VK_TAB, 0);
    SendMessageW(edit, WM_CHAR, VK_RETURN, 0);
    wchar_t text[16] = {};
    GetWindowTextW(edit, text, 16);
    EXPECT_STREQ(text, L"12");  // neither key became a character
    EXPECT_EQ(GetFocus(), edit);  // Tab did not move the focus
    (void)other;
}

TEST_F(WindowTest, DisabledNumberEditLetsTheKeysThrough) {
    HWND edit = Child(L"EDIT", ES_MULTILINE | ES_WANTRETURN, L"7");
    SubclassKeyForwardingEdit(edit);
    EnableWindow(edit, FALSE);
    PostedShowSector();
    SendMessageW(edit, WM_KEYDOWN, VK_RETURN, 0);
    EXPECT_FALSE(PostedShowSector());
}

TEST_F(WindowTest, PageColoursFollowTheTheme) {
    INT_PTR result = -1;
    HBRUSH expected = IsThemeActive() ? GetSysColorBrush(COLOR_BTNHIGHLIGHT) : nullptr;
    for (UINT message : {WM_CTLCOLORLISTBOX, WM_CTLCOLORBTN, WM_CTLCOLORDLG, WM_CTLCOLORSTATIC}) {
        EXPECT_TRUE(PageSkeleton(parent, message, 0, 0, nullptr, result));
        EXPECT_EQ(reinterpret_cast<HBRUSH>(result), expected);
    }
    // Edits keep their own colours.
    EXPECT_FALSE(PageSkeleton(parent, WM_CTLCOLOREDIT, 0, 0, nullptr, result));
    EXPECT_FALSE(PageSkeleton(parent, WM_CTLCOLORSCROLLBAR, 0, 0, nullptr, result));
}

int fills = 0;
void CountFill(HWND) { ++fills; }

TEST_F(WindowTest, InitAndRefreshBothFillThePage) {
    INT_PTR result = 0;
    fills = 0;
    EXPECT_TRUE(PageSkeleton(parent, WM_INITDIALOG, 0, 0, CountFill, result));
    EXPECT_EQ(result, 1);
    EXPECT_TRUE(PageSkeleton(parent, WM_APP_REFRESH, 0, 0, CountFill, result));
    EXPECT_EQ(fills, 2);
    EXPECT_EQ(WM_APP_REFRESH, 0x0464u);
}

// Renders a label into a bitmap and returns its pixels.
std::string Render(HWND button) {
    constexpr int kWidth = 900;  // 48 bold W fit with room to spare
    HDC screen = GetDC(nullptr);
    HDC dc = CreateCompatibleDC(screen);
    HBITMAP bitmap = CreateCompatibleBitmap(screen, kWidth, 20);
    ReleaseDC(nullptr, screen);
    HGDIOBJ old = SelectObject(dc, bitmap);
    RECT all = {0, 0, kWidth, 20};
    FillRect(dc, &all, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
    DRAWITEMSTRUCT item{};
    item.hwndItem = button;
    item.hDC = dc;
    item.rcItem = all;
    DrawLabel(item);
    std::string pixels;
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < kWidth; ++x) {
            COLORREF c = GetPixel(dc, x, y);
            pixels.append(reinterpret_cast<const char*>(&c), sizeof c);
        }
    SelectObject(dc, old);
    DeleteObject(bitmap);
    DeleteDC(dc);
    return pixels;
}

TEST_F(WindowTest, LabelTextLongerThanFortyEightCharactersIsCutAtFortyEight) {
    App().boldFont = static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT));
    EXPECT_EQ(kLabelCharacters, 48);
    std::wstring longText(60, L'W');
    HWND full = Child(L"BUTTON", BS_OWNERDRAW, longText.c_str());
    HWND oneOver = Child(L"BUTTON", BS_OWNERDRAW, longText.substr(0, 49).c_str());
    HWND cut = Child(L"BUTTON", BS_OWNERDRAW, longText.substr(0, 48).c_str());
    HWND shorter = Child(L"BUTTON", BS_OWNERDRAW, longText.substr(0, 47).c_str());
    for (HWND label : {full, oneOver, cut, shorter}) SetWindowLongPtrW(label, GWLP_USERDATA, 1);
    EXPECT_EQ(Render(full), Render(cut));
    EXPECT_EQ(Render(oneOver), Render(cut));
    // The 48th character is drawn: one fewer looks different.
    EXPECT_NE(Render(full), Render(shorter));
}

TEST_F(WindowTest, LabelStateSevenIsDrawnLikeStateTwo) {
    App().boldFont = static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT));
    HWND seven = Child(L"BUTTON", BS_OWNERDRAW, L"DVD-R");
    HWND two = Child(L"BUTTON", BS_OWNERDRAW, L"DVD-R");
    HWND one = Child(L"BUTTON", BS_OWNERDRAW, L"DVD-R");
    SetWindowLongPtrW(seven, GWLP_USERDATA, 7);
    SetWindowLongPtrW(two, GWLP_USERDATA, 2);
    SetWindowLongPtrW(one, GWLP_USERDATA, 1);
    EXPECT_EQ(Render(seven), Render(two));
    EXPECT_NE(Render(seven), Render(one));
}

}  // namespace
