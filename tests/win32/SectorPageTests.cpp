// The Sector Viewer page under Wine, on emulated drives: its range, the
// first sector it shows, typed numbers, the up-down's steps, and the disc
// dump with its save dialog answered from another thread. Expected rows are
// taken by hand from xxd's view of udf102-genisoimage.iso.

#include <gtest/gtest.h>

#include <windows.h>
#include <commctrl.h>

#include <cstdio>
#include <fstream>
#include <algorithm>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "FilePageTestSupport.h"
#include "TestPaths.h"
#include "app/AppState.h"
#include "app/MainDialog.h"
#include "app/PageSkeleton.h"
#include "device/OsSeam.h"
#include "device/SptiDevice.h"
#include "emulation/EmulatedOsSeam.h"
#include "pages/SectorPage.h"
#include "win32/res/PageTestSupport.h"

namespace {

using page_test::CommonControlsV6;
using page_test::PageHost;
using page_test::Pump;

const char kRecorded[] = "\\\\?\\scsi#sector-recorded";
const char kBlank[] = "\\\\?\\scsi#sector-blank";
const char kPregap[] = "\\\\?\\scsi#sector-pregap";
const char kSilent[] = "\\\\?\\scsi#sector-silent";

DriveFile Inline(const std::string& path, char letter, const std::string& capacity, bool image) {
    std::string text = "title: sector page\nletter: ";
    text += letter;
    text += "\naddress: 1 0 0 0\npath: " + path + "\n";
    if (image) {
        text += "image: " + SharedPath("discs/udf102-genisoimage.iso") + "\n";
        text += "sectors: 3046\n";
    }
    if (!capacity.empty()) text += "> 25\n" + capacity + "\n";
    DriveFile file;
    std::string error;
    EXPECT_TRUE(ParseDriveFile(text, "inline.drive", file, error)) << error;
    return file;
}

std::string Row(const std::wstring& text, size_t row) {
    std::string out;
    for (size_t i = row * 78; i < row * 78 + 78 && i < text.size(); ++i) out += static_cast<char>(text[i]);
    return out;
}

const std::string kZeros = " 00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00 |................\r\n";

class SectorPageTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(controls.Active());
        seam.SetDrives({Inline(kRecorded, 'D', "00 00 0B E5 00 00 08 00", true),
                        Inline(kBlank, 'E', "00 00 00 00 00 00 08 00", false),
                        Inline(kPregap, 'F', "FF FF FF 6A 00 00 08 00", true),
                        Inline(kSilent, 'G', "", true)});
        previous = SetOs(&seam);
        previousDrive = App().CurrentDrive;
        previousFont = App().fixedFont;
        LOGFONTW font{};
        font.lfHeight = -11;
        lstrcpyW(font.lfFaceName, L"Courier");
        fixed = CreateFontIndirectW(&font);
        App().fixedFont = fixed;
    }
    void TearDown() override {
        host.reset();
        App().CurrentDrive = previousDrive;
        App().fixedFont = previousFont;
        DeleteObject(fixed);
        SetOs(previous);
    }
    HWND Open(const char* path) {
        App().CurrentDrive = OpenDevicePath(path);
        host.reset(new PageHost());
        return host->Create(106, SectorPageProcedure);
    }
    std::wstring Text(HWND page, int id) {
        HWND control = GetDlgItem(page, id);
        int n = GetWindowTextLengthW(control);
        std::wstring text(static_cast<size_t>(n) + 1, L'\0');
        GetWindowTextW(control, &text[0], n + 1);
        text.resize(static_cast<size_t>(n));
        return text;
    }
    bool Enabled(HWND page, int id) { return IsWindowEnabled(GetDlgItem(page, id)) != FALSE; }
    LRESULT Delta(HWND page, int pos, int delta) {
        NMUPDOWN step{};
        step.hdr.hwndFrom = GetDlgItem(page, 111);
        step.hdr.idFrom = 111;
        step.hdr.code = static_cast<UINT>(UDN_DELTAPOS);
        step.iPos = pos;
        step.iDelta = delta;
        return SendMessageW(page, WM_NOTIFY, 111, reinterpret_cast<LPARAM>(&step));
    }

    CommonControlsV6 controls;
    CEmulatedOsSeam seam;
    COsSeam* previous = nullptr;
    HANDLE previousDrive = INVALID_HANDLE_VALUE;
    HFONT previousFont = nullptr;
    HFONT fixed = nullptr;
    std::unique_ptr<PageHost> host;
};

TEST_F(SectorPageTest, RecordedDiscShowsSector320WithTheRangeAndTheFixedFont) {
    HWND page = Open(kRecorded);
    ASSERT_NE(page, nullptr);
    EXPECT_TRUE(Enabled(page, 110));
    EXPECT_TRUE(Enabled(page, 111));
    EXPECT_EQ(Text(page, 112), L"/ 3046");
    EXPECT_EQ(Text(page, 110), L"320");
    int low = -1, high = -1;
    SendDlgItemMessageW(page, 111, UDM_GETRANGE32, reinterpret_cast<WPARAM>(&low), reinterpret_cast<LPARAM>(&high));
    EXPECT_EQ(low, 0);
    EXPECT_EQ(high, 3045);
    EXPECT_EQ(SendDlgItemMessageW(page, 111, UDM_GETPOS32, 0, 0), 320);
    std::wstring dump = Text(page, 113);
    ASSERT_EQ(dump.size(), 9984u);
    EXPECT_EQ(Row(dump, 0), "000A0000| 05 01 02 00 22 00 00 00  CE 65 A8 00 3F 00 00 00 |....\"....e..?...\r\n");
    EXPECT_EQ(Row(dump, 2), "000A0020| 00 00 30 02 FF FF FF FF  FF FF FF FF 84 10 00 00 |..0.............\r\n");
    EXPECT_EQ(reinterpret_cast<HFONT>(SendDlgItemMessageW(page, 113, WM_GETFONT, 0, 0)), fixed);
}

TEST_F(SectorPageTest, TypedNumberAndEnterShowsThatSector) {
    HWND page = Open(kRecorded);
    ASSERT_NE(page, nullptr);
    HWND edit = GetDlgItem(page, 110);
    SetWindowTextW(edit, L"16");
    SendMessageW(edit, WM_KEYDOWN, VK_RETURN, 0);
    Pump();
    EXPECT_EQ(Row(Text(page, 113), 0), "00008000| 01 43 44 30 30 31 01 00  4C 49 4E 55 58 20 20 20 |.CD001..LINUX   \r\n");
    SetWindowTextW(edit, L"256");
    SendMessageW(edit, WM_KEYDOWN, VK_TAB, 0);
    Pump();
    EXPECT_EQ(Row(Text(page, 113), 1), "00080010| 00 80 00 00 20 00 00 00  00 80 00 00 30 00 00 00 |.... .......0...\r\n");
    // Past the last sector: no range check, the failed read shows zeros.
    SetWindowTextW(edit, L"5000");
    SendMessageW(edit, WM_KEYDOWN, VK_RETURN, 0);
    Pump();
    std::wstring dump = Text(page, 113);
    EXPECT_EQ(Row(dump, 0), "009C4000|" + kZeros);
    EXPECT_EQ(Row(dump, 127), "009C47F0|" + kZeros);
}

TEST_F(SectorPageTest, UpDownStepShowsPositionPlusDeltaUnclamped) {
    HWND page = Open(kRecorded);
    ASSERT_NE(page, nullptr);
    // No message result is set: 0 lets the control move its own position.
    EXPECT_EQ(Delta(page, 16, 1), 0);
    EXPECT_EQ(Row(Text(page, 113), 0).substr(0, 10), "00008800| ");
    Delta(page, 16, -1);
    EXPECT_EQ(Row(Text(page, 113), 0).substr(0, 10), "00007800| ");
    // One step beyond the last sector reads past the medium: zeros.
    Delta(page, 3045, 1);
    EXPECT_EQ(Row(Text(page, 113), 0), "005F3000|" + kZeros);
    // Sector 2,097,152 starts at 2^32: the offsets wrap.
    Delta(page, 2097151, 1);
    EXPECT_EQ(Row(Text(page, 113), 0), "00000000|" + kZeros);
}

TEST_F(SectorPageTest, ReplyOfZeroShowsSlashZeroAndStaysEnabled) {
    HWND page = Open(kBlank);
    ASSERT_NE(page, nullptr);
    EXPECT_TRUE(Enabled(page, 110));
    EXPECT_TRUE(Enabled(page, 111));
    EXPECT_EQ(Text(page, 112), L"/ 0");
    EXPECT_EQ(Row(Text(page, 113), 0), "000A0000|" + kZeros);  // no medium to read: zeros
}

TEST_F(SectorPageTest, PregapAndSilentDrivesDisableTheInputAndKeepTheText) {
    for (const char* path : {kPregap, kSilent}) {
        HWND page = Open(kRecorded);
        ASSERT_NE(page, nullptr);
        ASSERT_EQ(Text(page, 112), L"/ 3046");
        App().CurrentDrive = OpenDevicePath(path);
        SendMessageW(page, WM_APP_REFRESH, 0, 0);
        EXPECT_FALSE(Enabled(page, 110)) << path;
        EXPECT_FALSE(Enabled(page, 111)) << path;
        EXPECT_EQ(Text(page, 112), L"/ 3046") << path;
        EXPECT_EQ(Row(Text(page, 113), 0).substr(0, 10), "000A0000| ") << path;
        // A disabled edit lets Enter through: nothing new is shown.
        SendDlgItemMessageW(page, 110, WM_KEYDOWN, VK_RETURN, 0);
        Pump();
        EXPECT_EQ(Row(Text(page, 113), 0).substr(0, 10), "000A0000| ") << path;
    }
    HWND fresh = Open(kPregap);
    ASSERT_NE(fresh, nullptr);
    EXPECT_FALSE(Enabled(fresh, 110));
    EXPECT_EQ(Text(fresh, 112), L"");
}

using file_page_test::AnswerSaveDialog;

std::string TempPath(const char* name) {
    char folder[MAX_PATH] = {};
    GetTempPathA(MAX_PATH, folder);
    return std::string(folder) + name;
}

std::vector<char> ReadAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<char>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

TEST_F(SectorPageTest, SaveImageWritesTheSectorsBeforeTheFirstFileData) {
    App().CurrentDrive = OpenDevicePath(kRecorded);
    DriveList previousDrives = App().drives;
    int32_t previousSelected = App().selectedDrive;
    DriveEntry entry{};
    entry.letter = 'D';
    entry.devicePath = kRecorded;
    App().drives = {entry};
    App().selectedDrive = 0;
    HWND owner = CreateWindowExW(0, L"STATIC", L"owner", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 300, 200, nullptr,
                                 nullptr, nullptr, nullptr);
    std::string target = TempPath("vexlon-sector-page-disc.bin");
    DeleteFileA(target.c_str());
    std::string offered;
    std::thread answer(AnswerSaveDialog, target, &offered);
    SaveDiscImage(owner);
    answer.join();
    EXPECT_EQ(offered, "disc.bin");
    std::vector<char> dump = ReadAll(target);
    std::vector<char> image = ReadAll(SharedPath("discs/udf102-genisoimage.iso"));
    ASSERT_EQ(dump.size(), 685u * 2048);  // sector 685 holds one.bin, the first file data
    EXPECT_TRUE(std::equal(dump.begin(), dump.end(), image.begin()));
    DeleteFileA(target.c_str());

    // Cancel writes nothing.
    std::thread cancel(AnswerSaveDialog, std::string(), nullptr);
    SaveDiscImage(owner);
    cancel.join();
    EXPECT_EQ(GetFileAttributesA(target.c_str()), INVALID_FILE_ATTRIBUTES);
    DestroyWindow(owner);
    App().drives = previousDrives;
    App().selectedDrive = previousSelected;
}

}  // namespace
