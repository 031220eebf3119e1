#include <gtest/gtest.h>

#include <windows.h>
#include <ole2.h>

#include <fstream>
#include <iterator>
#include <string>

#include "snapshot/BrowserHost.h"
#include "snapshot/SnapshotWin32.h"
#include "win32/res/PageTestSupport.h"

INT_PTR CALLBACK SystemPageProcedure(HWND, UINT, WPARAM, LPARAM);

namespace {

using page_test::PageHost;

std::string ReadFile(const std::wstring& path) {
    std::ifstream in(path.c_str(), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::wstring TempDir() {
    wchar_t path[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, path);
    return path;
}

std::string ProductStylesheet() {
    HMODULE module = page_test::ProductModule();
    HRSRC found = module ? FindResourceW(module, L"SNAPSHOT.XSL", L"DAT") : nullptr;
    if (!found) return {};
    auto* bytes = static_cast<const char*>(LockResource(LoadResource(module, found)));
    return std::string(bytes, SizeofResource(module, found));
}

class WithProductInstance : public ::testing::Test {
protected:
    void SetUp() override {
        previous = App().instance;
        App().instance = page_test::ProductModule();
        ASSERT_NE(App().instance, nullptr);
    }
    void TearDown() override { App().instance = previous; }
    HINSTANCE previous = nullptr;
};

using AnsiToUtf8Test = ::testing::Test;

TEST(AnsiToUtf8Test, AsciiAndEmpty) {
    std::string out = "stale";
    AnsiToUtf8(out, "abc", 0);
    EXPECT_EQ(out, "abc");
    AnsiToUtf8(out, "", 0);
    EXPECT_EQ(out, "");
    AnsiToUtf8(out, "abcdef", 3);
    EXPECT_EQ(out, "abc");
}

TEST(AnsiToUtf8Test, CodePageBytesBecomeUtf8) {
    // 0xE4 is a-umlaut in the Western code pages; other code pages map it
    // elsewhere, so the expectation comes from the platform's own table.
    wchar_t wide[2] = {};
    MultiByteToWideChar(CP_ACP, 0, "\xE4", 1, wide, 1);
    std::string expected;
    WideToUtf8(expected, reinterpret_cast<const char16_t*>(wide), 1);
    std::string out;
    AnsiToUtf8(out, "x\xE4y", 0);
    EXPECT_EQ(out, "x" + expected + "y");
    if (GetACP() == 1252) {
        EXPECT_EQ(out, "x\xC3\xA4y");
    }
}

TEST(SnapshotCollectorTable, ListsEverySectionOnceInFileOrder) {
    const uint32_t order[] = {0x2, 0x4, 0x8, 0x10, 0x20, 0x40, 0x80, 0x100, 0x200, 0x400, 0x800, 0x1000};
    ASSERT_EQ(kSnapshotCollectorCount, 12u);
    for (size_t i = 0; i < 12; ++i) EXPECT_EQ(kSnapshotCollectors[i].bit, order[i]);
    EXPECT_EQ(kSnapshotCollectors[5].argument, 1);  // drivers
}

class BuildSnapshotTest : public WithProductInstance {};

TEST_F(BuildSnapshotTest, WritesTheXmlAndTheStylesheetBesideIt) {
    std::wstring dir = TempDir() + L"vexlon-snapshot-build\\";
    CreateDirectoryW(dir.c_str(), nullptr);
    std::wstring xml = dir + L"snapshot.xml";
    DeleteFileW(xml.c_str());
    DeleteFileW((dir + L"snapshot.xsl").c_str());
    // Only the section without a collector: the document stays the bare root.
    ASSERT_TRUE(BuildSnapshot(SnapshotOptions{kSnapshotError}, xml.c_str()));
    EXPECT_EQ(ReadFile(xml),
              "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
              "<?xml-stylesheet type=\"text/xsl\" href=\"snapshot.xsl\"?>\r\n"
              "<crashrpt></crashrpt>\r\n");
    std::string xsl = ReadFile(dir + L"snapshot.xsl");
    EXPECT_FALSE(xsl.empty());
    EXPECT_EQ(xsl, ProductStylesheet());
    EXPECT_EQ(xsl.compare(0, 3, "\xEF\xBB\xBF"), 0);
}

TEST_F(BuildSnapshotTest, TwoBuildsRewriteBothFiles) {
    std::wstring dir = TempDir() + L"vexlon-snapshot-twice\\";
    CreateDirectoryW(dir.c_str(), nullptr);
    std::wstring xml = dir + L"snapshot.xml", xsl = dir + L"snapshot.xsl";
    std::ofstream(xml.c_str(), std::ios::binary) << std::string(100000, 'x');
    std::ofstream(xsl.c_str(), std::ios::binary) << std::string(100000, 'y');
    // A section-free build, so that nothing live (free memory) differs.
    ASSERT_TRUE(BuildSnapshot(SnapshotOptions{kSnapshotError}, xml.c_str()));
    std::string firstXml = ReadFile(xml), firstXsl = ReadFile(xsl);
    ASSERT_TRUE(BuildSnapshot(SnapshotOptions{kSnapshotError}, xml.c_str()));
    EXPECT_EQ(ReadFile(xml), firstXml);
    EXPECT_EQ(ReadFile(xsl), firstXsl);
    EXPECT_LT(firstXml.size(), 1000u);
    EXPECT_EQ(firstXsl, ProductStylesheet());
}

TEST_F(BuildSnapshotTest, PathOutsideTheAnsiCodePageWritesXmlToTheLossyPathAndStylesheetToTheWidePath) {
    // U+0416 has no form in the Western code pages; it becomes '?', which
    // cannot be in a file name, so the XML is not written while the
    // stylesheet reaches the real directory.
    if (GetACP() != 1252) GTEST_SKIP() << "needs code page 1252, have " << GetACP();
    std::wstring dir = TempDir() + L"vexlon-\x0416\\";
    CreateDirectoryW(dir.c_str(), nullptr);
    std::wstring xml = dir + L"snapshot.xml";
    DeleteFileW(xml.c_str());
    DeleteFileW((dir + L"snapshot.xsl").c_str());
    EXPECT_TRUE(BuildSnapshot(SnapshotOptions{kSnapshotAll}, xml.c_str()));
    EXPECT_EQ(GetFileAttributesW(xml.c_str()), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(ReadFile(dir + L"snapshot.xsl"), ProductStylesheet());
}

TEST_F(BuildSnapshotTest, MissingStylesheetResourceWritesOnlyTheXml) {
    App().instance = GetModuleHandleW(nullptr);  // the test program has no stylesheet
    std::wstring dir = TempDir() + L"vexlon-snapshot-noxsl\\";
    CreateDirectoryW(dir.c_str(), nullptr);
    std::wstring xml = dir + L"snapshot.xml";
    DeleteFileW((dir + L"snapshot.xsl").c_str());
    EXPECT_TRUE(BuildSnapshot(SnapshotOptions{kSnapshotAll}, xml.c_str()));
    EXPECT_FALSE(ReadFile(xml).empty());
    EXPECT_EQ(GetFileAttributesW((dir + L"snapshot.xsl").c_str()), INVALID_FILE_ATTRIBUTES);
}

// Slot by slot through the storage's table.
TEST(CStorageTest, AnswersEveryQueryWithNotImplementedAndSetClassWithOk) {
    CStorage storage;
    IStorage* s = &storage;
    void* out = reinterpret_cast<void*>(1);
    EXPECT_EQ(s->QueryInterface(IID_IUnknown, &out), E_NOTIMPL);
    EXPECT_EQ(s->QueryInterface(IID_IStorage, &out), E_NOTIMPL);
    EXPECT_EQ(s->AddRef(), 1u);
    EXPECT_EQ(s->Release(), 0u);
    EXPECT_EQ(s->CreateStream(L"a", 0, 0, 0, nullptr), E_NOTIMPL);
    EXPECT_EQ(s->OpenStream(L"a", nullptr, 0, 0, nullptr), E_NOTIMPL);
    EXPECT_EQ(s->CreateStorage(L"a", 0, 0, 0, nullptr), E_NOTIMPL);
    EXPECT_EQ(s->OpenStorage(L"a", nullptr, 0, nullptr, 0, nullptr), E_NOTIMPL);
    EXPECT_EQ(s->CopyTo(0, nullptr, nullptr, nullptr), E_NOTIMPL);
    EXPECT_EQ(s->MoveElementTo(L"a", nullptr, L"b", 0), E_NOTIMPL);
    EXPECT_EQ(s->Commit(0), E_NOTIMPL);
    EXPECT_EQ(s->Revert(), E_NOTIMPL);
    EXPECT_EQ(s->EnumElements(0, nullptr, 0, nullptr), E_NOTIMPL);
    EXPECT_EQ(s->DestroyElement(L"a"), E_NOTIMPL);
    EXPECT_EQ(s->RenameElement(L"a", L"b"), E_NOTIMPL);
    EXPECT_EQ(s->SetElementTimes(L"a", nullptr, nullptr, nullptr), E_NOTIMPL);
    EXPECT_EQ(s->SetClass(CLSID_NULL), S_OK);
    EXPECT_EQ(s->SetStateBits(0, 0), E_NOTIMPL);
    EXPECT_EQ(s->Stat(nullptr, 0), E_NOTIMPL);
}

TEST(CClientSiteTest, ClientSiteSlots) {
    CClientSite site(reinterpret_cast<HWND>(0x1234));
    IOleClientSite* c = &site;
    void* out = nullptr;
    EXPECT_EQ(c->QueryInterface(IID_IUnknown, &out), S_OK);
    EXPECT_EQ(out, static_cast<void*>(c));
    EXPECT_EQ(c->QueryInterface(IID_IOleClientSite, &out), S_OK);
    EXPECT_EQ(out, static_cast<void*>(c));
    EXPECT_EQ(c->QueryInterface(IID_IOleInPlaceSite, &out), S_OK);
    EXPECT_EQ(out, static_cast<void*>(static_cast<IOleInPlaceSite*>(&site)));
    out = reinterpret_cast<void*>(1);
    EXPECT_EQ(c->QueryInterface(IID_IOleInPlaceFrame, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(c->QueryInterface(IID_IOleWindow, &out), E_NOINTERFACE);
    EXPECT_EQ(c->AddRef(), 1u);
    EXPECT_EQ(c->Release(), 0u);
    EXPECT_EQ(c->SaveObject(), E_NOTIMPL);
    EXPECT_EQ(c->GetMoniker(0, 0, nullptr), E_NOTIMPL);
    IOleContainer* container = reinterpret_cast<IOleContainer*>(1);
    EXPECT_EQ(c->GetContainer(&container), E_NOINTERFACE);
    EXPECT_EQ(container, nullptr);
    EXPECT_EQ(c->ShowObject(), S_OK);
    EXPECT_EQ(c->OnShowWindow(TRUE), E_NOTIMPL);
    EXPECT_EQ(c->RequestNewObjectLayout(), E_NOTIMPL);
}

TEST(CClientSiteTest, InPlaceFrameSlots) {
    CClientSite site(reinterpret_cast<HWND>(0x1234));
    IOleInPlaceFrame* f = &site;
    void* out = nullptr;
    EXPECT_EQ(f->QueryInterface(IID_IOleClientSite, &out), S_OK);
    EXPECT_EQ(out, static_cast<void*>(static_cast<IOleClientSite*>(&site)));
    EXPECT_EQ(f->QueryInterface(IID_IOleInPlaceFrame, &out), E_NOINTERFACE);
    EXPECT_EQ(f->AddRef(), 1u);
    EXPECT_EQ(f->Release(), 0u);
    HWND window = nullptr;
    EXPECT_EQ(f->GetWindow(&window), S_OK);
    EXPECT_EQ(window, reinterpret_cast<HWND>(0x1234));
    EXPECT_EQ(f->ContextSensitiveHelp(TRUE), E_NOTIMPL);
    RECT r{};
    EXPECT_EQ(f->GetBorder(&r), E_NOTIMPL);
    EXPECT_EQ(f->RequestBorderSpace(nullptr), E_NOTIMPL);
    EXPECT_EQ(f->SetBorderSpace(nullptr), E_NOTIMPL);
    EXPECT_EQ(f->SetActiveObject(nullptr, nullptr), S_OK);
    EXPECT_EQ(f->InsertMenus(nullptr, nullptr), E_NOTIMPL);
    EXPECT_EQ(f->SetMenu(nullptr, nullptr, nullptr), S_OK);
    EXPECT_EQ(f->RemoveMenus(nullptr), E_NOTIMPL);
    EXPECT_EQ(f->SetStatusText(L"x"), S_OK);
    EXPECT_EQ(f->EnableModeless(TRUE), S_OK);
    EXPECT_EQ(f->TranslateAccelerator(nullptr, 0), E_NOTIMPL);
}

TEST(CClientSiteTest, InPlaceSiteSlots) {
    CClientSite site(reinterpret_cast<HWND>(0x1234));
    IOleInPlaceSite* s = &site;
    void* out = nullptr;
    EXPECT_EQ(s->QueryInterface(IID_IOleInPlaceSite, &out), S_OK);
    EXPECT_EQ(out, static_cast<void*>(s));
    EXPECT_EQ(s->AddRef(), 1u);
    EXPECT_EQ(s->Release(), 0u);
    HWND window = nullptr;
    EXPECT_EQ(s->GetWindow(&window), S_OK);
    EXPECT_EQ(window, reinterpret_cast<HWND>(0x1234));
    EXPECT_EQ(s->ContextSensitiveHelp(FALSE), E_NOTIMPL);
    EXPECT_EQ(s->CanInPlaceActivate(), S_OK);
    EXPECT_EQ(s->OnInPlaceActivate(), S_OK);
    EXPECT_EQ(s->OnUIActivate(), S_OK);
    EXPECT_EQ(s->Scroll(SIZE{1, 1}), E_NOTIMPL);
    EXPECT_EQ(s->OnUIDeactivate(FALSE), S_OK);
    EXPECT_EQ(s->OnInPlaceDeactivate(), S_OK);
    EXPECT_EQ(s->DiscardUndoState(), E_NOTIMPL);
    EXPECT_EQ(s->DeactivateAndUndo(), E_NOTIMPL);
    RECT r{1, 2, 3, 4};
    EXPECT_EQ(s->OnPosRectChange(&r), S_OK);  // no browser yet: nothing to move
}

TEST(CClientSiteTest, WindowContextGivesTheFrameAndLeavesTheRectanglesAlone) {
    CClientSite site(reinterpret_cast<HWND>(0x1234));
    IOleInPlaceFrame* frame = nullptr;
    IOleInPlaceUIWindow* document = reinterpret_cast<IOleInPlaceUIWindow*>(1);
    RECT position{1, 2, 3, 4}, clip{5, 6, 7, 8};
    OLEINPLACEFRAMEINFO info{};
    info.cb = 0x77;
    info.fMDIApp = TRUE;
    info.cAccelEntries = 9;
    EXPECT_EQ(site.GetWindowContext(&frame, &document, &position, &clip, &info), S_OK);
    EXPECT_EQ(frame, static_cast<IOleInPlaceFrame*>(&site));
    EXPECT_EQ(document, nullptr);
    EXPECT_EQ(info.cb, 0x77u);
    EXPECT_FALSE(info.fMDIApp);
    EXPECT_EQ(info.hwndFrame, reinterpret_cast<HWND>(0x1234));
    EXPECT_EQ(info.haccel, nullptr);
    EXPECT_EQ(info.cAccelEntries, 0u);
    EXPECT_EQ(position.left, 1);
    EXPECT_EQ(position.bottom, 4);
    EXPECT_EQ(clip.left, 5);
    EXPECT_EQ(clip.bottom, 8);
}

TEST(BrowserHolderTest, NavigateAndCloseWithoutABrowserDoNothing) {
    IOleObject* holder = nullptr;
    EXPECT_FALSE(NavigateBrowser(&holder, L"C:\\x.xml"));
    CloseBrowser(&holder);
    EXPECT_FALSE(NavigateBrowser(nullptr, L"C:\\x.xml"));
}

class SystemPageTest : public WithProductInstance {
protected:
    void SetUp() override {
        WithProductInstance::SetUp();
        OleInitialize(nullptr);
    }
    void TearDown() override {
        OleUninitialize();
        WithProductInstance::TearDown();
    }
};

TEST_F(SystemPageTest, PageComesUpWithItsHiddenPlaceholderAndWritesTheSnapshot) {
    std::wstring xml = TempDir() + L"snapshot.xml", xsl = TempDir() + L"snapshot.xsl";
    DeleteFileW(xml.c_str());
    DeleteFileW(xsl.c_str());
    PageHost host;
    DWORD started = GetTickCount();
    HWND page = host.Create(107, SystemPageProcedure);
    ASSERT_NE(page, nullptr);
    page_test::Pump();
    EXPECT_LT(GetTickCount() - started, 20000u) << "the page must not hang without an HTML engine";
    HWND placeholder = GetDlgItem(page, 1001);
    ASSERT_NE(placeholder, nullptr);
    EXPECT_FALSE(IsWindowVisible(placeholder));
    EXPECT_EQ(GetWindowLongPtrW(page, GWLP_USERDATA), 0);
    EXPECT_EQ(ReadFile(xml).compare(0, 8, "\xEF\xBB\xBF<?xml"), 0);
    EXPECT_EQ(ReadFile(xsl), ProductStylesheet());

    // Where a browser came up, it covers exactly the placeholder.
    RECT expected{};
    GetClientRect(placeholder, &expected);
    MapWindowPoints(placeholder, page, reinterpret_cast<POINT*>(&expected), 2);
    RECT units{0, 0, 423, 222};
    MapDialogRect(page, &units);
    EXPECT_EQ(expected.right - expected.left, units.right);
    EXPECT_EQ(expected.bottom - expected.top, units.bottom);
    for (HWND child = GetWindow(page, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
        if (child == placeholder) continue;
        RECT r{};
        GetWindowRect(child, &r);
        MapWindowPoints(nullptr, page, reinterpret_cast<POINT*>(&r), 2);
        EXPECT_EQ(r.left, expected.left);
        EXPECT_EQ(r.top, expected.top);
        EXPECT_EQ(r.right, expected.right);
        EXPECT_EQ(r.bottom, expected.bottom);
    }
}

TEST_F(SystemPageTest, CloseCommandFindsNoHolderAndEndsThePage) {
    PageHost host;
    HWND page = host.Create(107, SystemPageProcedure);
    ASSERT_NE(page, nullptr);
    EXPECT_EQ(SystemPageProcedure(page, WM_USER + 100, 0, 0), 1);
    EXPECT_EQ(SystemPageProcedure(page, WM_COMMAND, 1001, 0), 1);
    EXPECT_EQ(SystemPageProcedure(page, WM_COMMAND, IDCANCEL, 0), 0);
    EXPECT_EQ(SystemPageProcedure(page, WM_CTLCOLORMSGBOX, 0, 0), 0);
    EXPECT_EQ(SystemPageProcedure(page, WM_CTLCOLOREDIT, 0, 0), 0);
}

TEST_F(SystemPageTest, CreateBrowserFailsSoftOrTakesThePlaceholderRectangle) {
    PageHost host;
    HWND page = host.Create(107, SystemPageProcedure);
    ASSERT_NE(page, nullptr);
    IOleObject* holder = nullptr;
    bool created = CreateBrowser(&holder, page, GetDlgItem(page, 1001));
    if (!created) {
        EXPECT_EQ(holder, nullptr);
        EXPECT_FALSE(NavigateBrowser(&holder, L"C:\\none.xml"));
        return;
    }
    EXPECT_NE(holder, nullptr);
    IWebBrowser2* web = nullptr;
    ASSERT_EQ(holder->QueryInterface(IID_IWebBrowser2, reinterpret_cast<void**>(&web)), S_OK);
    RECT expected{};
    GetClientRect(GetDlgItem(page, 1001), &expected);
    long width = 0, height = 0;
    web->get_Width(&width);
    web->get_Height(&height);
    EXPECT_EQ(width, expected.right - expected.left);
    EXPECT_EQ(height, expected.bottom - expected.top);
    web->Release();
    CloseBrowser(&holder);
}

}  // namespace
