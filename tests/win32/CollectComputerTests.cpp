// The computer sections with the real platform calls: registry values the
// tests write under their own key, the environment, the drives and memory
// of the machine the tests run on.

#include <gtest/gtest.h>

#include <windows.h>
#include <lm.h>

#include <fstream>
#include <iterator>
#include <string>

#include "snapshot/CollectComputerWin32.h"
#include "snapshot/SnapshotWin32.h"

namespace {

std::string Lf(std::string text) {
    // The writer ends lines with CR LF; the expectations are written with LF.
    std::string out;
    for (char c : text)
        if (c != '\r') out += c;
    return out;
}

const wchar_t kTestKey[] = L"Software\\VexlonCollectComputerTests";

class RegistryFixture : public ::testing::Test {
protected:
    void SetUp() override { RegDeleteTreeW(HKEY_CURRENT_USER, kTestKey); }
    void TearDown() override { RegDeleteTreeW(HKEY_CURRENT_USER, kTestKey); }

    static std::wstring Path(const std::wstring& sub) { return std::wstring(kTestKey) + L"\\" + sub; }
    static void SetString(const std::wstring& sub, const wchar_t* name, const std::wstring& value) {
        HKEY key = nullptr;
        ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, Path(sub).c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                                  nullptr),
                  ERROR_SUCCESS);
        ASSERT_EQ(RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                                 static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t))),
                  ERROR_SUCCESS);
        RegCloseKey(key);
    }
    static void CreateKey(const std::wstring& sub) {
        HKEY key = nullptr;
        ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, Path(sub).c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                                  nullptr),
                  ERROR_SUCCESS);
        RegCloseKey(key);
    }
};

struct Doc {
    Doc() {
        XmlInitDocument(&document);
        root = XmlAppendChild(XmlTopLevel(&document), XmlCreateElement(&document, "crashrpt"));
    }
    ~Doc() { XmlDestroyDocument(&document); }
    std::string Xml() { return Lf(XmlSaveToString(&document, nullptr)); }
    XmlDocument document;
    XmlNode* root;
};

std::string Utf8(const std::wstring& text) {
    std::string out;
    WideToUtf8(out, reinterpret_cast<const char16_t*>(text.c_str()), static_cast<int>(text.size()));
    return out;
}

using SystemCollector = RegistryFixture;
using HardwareCollector = RegistryFixture;
using SoftwareCollector = RegistryFixture;

}  // namespace

TEST_F(SystemCollector, ProductNameOverHalfTheBufferIsLeftOut) {
    // 300 characters with the NUL are 602 bytes: more than the 512 asked.
    SetString(L"NT", L"ProductName", std::wstring(300, L'P'));
    SetString(L"NT", L"CurrentVersion", L"6.1");
    SetString(L"IE", L"Version", L"11.0.9600");
    SystemAnswers a = ReadSystemAnswers(HKEY_CURRENT_USER, Path(L"NT").c_str(), Path(L"IE").c_str());
    EXPECT_FALSE(a.model.has_value());
    ASSERT_TRUE(a.version.has_value());
    EXPECT_TRUE(a.version == std::u16string(u"6.1"));
    EXPECT_FALSE(a.servicePack.has_value());
    EXPECT_EQ(a.language, static_cast<int32_t>(GetSystemDefaultLCID()));
    ASSERT_TRUE(a.ieVersion.has_value());

    Doc d;
    BuildSystemInfo(d.root, a);
    std::string expected = "<crashrpt>\n\t<system_info>\n\t\t<os version=\"6.1\" language=\"" +
                           std::to_string(GetSystemDefaultLCID()) + "\"";
    if (a.domainName) expected += " domain_name=\"" + Utf8(std::wstring(a.domainName->begin(), a.domainName->end())) + "\"";
    expected += " ie_version=\"11.0.9600\"></os>\n\t</system_info>\n</crashrpt>\n";
    EXPECT_EQ(d.Xml(), expected);
}

TEST_F(SystemCollector, ProductNameOfExactly512BytesIsKept) {
    SetString(L"NT", L"ProductName", std::wstring(255, L'W'));  // 510 + 2 bytes
    SetString(L"NT", L"CSDVersion", L"Service Pack 1");
    SystemAnswers a = ReadSystemAnswers(HKEY_CURRENT_USER, Path(L"NT").c_str(), Path(L"NoBrowser").c_str());
    ASSERT_TRUE(a.model.has_value());
    EXPECT_EQ(a.model->size(), 255u);
    EXPECT_FALSE(a.version.has_value());
    ASSERT_TRUE(a.servicePack.has_value());
    EXPECT_TRUE(*a.servicePack == u"Service Pack 1");
    EXPECT_FALSE(a.ieVersion.has_value());
}

TEST_F(SystemCollector, JoinedNameIsWhatTheNetworkApiReports) {
    LPWSTR name = nullptr;
    NETSETUP_JOIN_STATUS status;
    NetGetJoinInformation(nullptr, &name, &status);
    std::optional<std::u16string> read = ReadJoinedName();
    EXPECT_EQ(read.has_value(), name != nullptr);
    if (name && read) {
        EXPECT_EQ(Utf8(name), Utf8(std::wstring(read->begin(), read->end())));
    }
    if (name) NetApiBufferFree(name);
}

TEST_F(HardwareCollector, IdentifierStandsInForAMissingProcessorName) {
    SetString(L"CPU", L"Identifier", L"Intel64 Family 6 Model 58 Stepping 9");
    HardwareAnswers a = ReadHardwareAnswers(HKEY_CURRENT_USER, Path(L"CPU").c_str());
    EXPECT_TRUE(a.processorKeyOpened);
    EXPECT_TRUE(a.processorName == u"Intel64 Family 6 Model 58 Stepping 9");
    SetString(L"CPU", L"ProcessorNameString", L"Vexlon Test CPU @ 1.00GHz");
    a = ReadHardwareAnswers(HKEY_CURRENT_USER, Path(L"CPU").c_str());
    EXPECT_TRUE(a.processorName == u"Vexlon Test CPU @ 1.00GHz");
}

TEST_F(HardwareCollector, MissingKeyGivesNoTextAndNoValuesEmptyText) {
    HardwareAnswers a = ReadHardwareAnswers(HKEY_CURRENT_USER, Path(L"Absent").c_str());
    EXPECT_FALSE(a.processorKeyOpened);
    CreateKey(L"Empty");
    a = ReadHardwareAnswers(HKEY_CURRENT_USER, Path(L"Empty").c_str());
    EXPECT_TRUE(a.processorKeyOpened);
    EXPECT_TRUE(a.processorName.empty());
    Doc d;
    BuildHardwareInfo(d.root, a);
    EXPECT_STREQ(XmlText(XmlFirstChild(XmlFirstChild(d.root))), "");
}

TEST_F(HardwareCollector, ProcessorCountFromTheEnvironmentAndRealMemory) {
    wchar_t saved[64] = {};
    DWORD had = GetEnvironmentVariableW(L"NUMBER_OF_PROCESSORS", saved, 64);
    SetEnvironmentVariableW(L"NUMBER_OF_PROCESSORS", L"3");
    HardwareAnswers a = ReadHardwareAnswers(HKEY_CURRENT_USER, Path(L"Absent").c_str());
    SetEnvironmentVariableW(L"NUMBER_OF_PROCESSORS", nullptr);
    HardwareAnswers none = ReadHardwareAnswers(HKEY_CURRENT_USER, Path(L"Absent").c_str());
    SetEnvironmentVariableW(L"NUMBER_OF_PROCESSORS", had ? saved : nullptr);
    ASSERT_TRUE(a.processorCount.has_value());
    EXPECT_TRUE(*a.processorCount == u"3");
    EXPECT_FALSE(none.processorCount.has_value());

    MEMORYSTATUSEX memory = {};
    memory.dwLength = sizeof memory;
    ASSERT_TRUE(GlobalMemoryStatusEx(&memory));
    EXPECT_EQ(a.totalPhysical, memory.ullTotalPhys);
    Doc d;
    BuildHardwareInfo(d.root, a);
    XmlNode* memoryNode = XmlNextSibling(XmlFirstChild(XmlFirstChild(d.root)));
    EXPECT_EQ(std::string(XmlGetAttribute(memoryNode, "size")), FormatMegabytes(memory.ullTotalPhys));
    EXPECT_STREQ(XmlGetAttribute(XmlFirstChild(XmlFirstChild(d.root)), "number"), "3");
}

TEST(DiskCollector, EveryDriveOfTheListWithItsTypeAndCIsAFixedDisk) {
    std::vector<DiskAnswer> drives = ReadDiskAnswers();
    ASSERT_FALSE(drives.empty());
    bool sawC = false;
    for (const DiskAnswer& drive : drives) {
        std::wstring root(drive.root.begin(), drive.root.end());
        EXPECT_EQ(drive.driveType, GetDriveTypeW(root.c_str()));
        if (drive.driveType != DRIVE_FIXED && drive.driveType != DRIVE_RAMDISK) {
            EXPECT_TRUE(drive.label.empty() && drive.fileSystem.empty() && !drive.spaceKnown);
        }
        if (root == L"C:\\") {
            sawC = true;
            EXPECT_EQ(drive.driveType, static_cast<uint32_t>(DRIVE_FIXED));
            EXPECT_TRUE(drive.spaceKnown);
            EXPECT_GT(drive.totalBytes, 0u);
            EXPECT_FALSE(drive.fileSystem.empty());
        }
    }
    EXPECT_TRUE(sawC);
    Doc d;
    BuildDiskInfo(d.root, drives);
    XmlNode* first = XmlFirstChild(XmlFirstChild(d.root));
    ASSERT_NE(first, nullptr);
    EXPECT_STREQ(XmlName(first), "partition");
}

TEST_F(SoftwareCollector, TestKeyEntriesInRegistryOrderWithTheCarriedCount) {
    SetString(L"Uninstall\\A-first", L"DisplayName", L"Alpha");
    SetString(L"Uninstall\\A-first", L"DisplayVersion", L"2.5.1");
    SetString(L"Uninstall\\A-first", L"InstallLocation", L"C:\\");
    // Longer than the 8 bytes the previous query reported: shown empty.
    SetString(L"Uninstall\\B-second", L"DisplayName", L"Bravo Longer Name");
    SetString(L"Uninstall\\B-second", L"DisplayVersion", L"3");
    CreateKey(L"Uninstall\\C-third");
    Doc d;
    EXPECT_TRUE(CollectSoftwareFrom(d.root, HKEY_CURRENT_USER, Path(L"Uninstall").c_str()));
    EXPECT_EQ(d.Xml(), "<crashrpt>\n\t<software_info>\n"
                       "\t\t<software description=\"Alpha\" version=\"2.5.1\" location=\"C:\\\">A-first</software>\n"
                       "\t\t<software description=\"\" version=\"3\" location=\"\">B-second</software>\n"
                       "\t\t<software description=\"\" version=\"\" location=\"\">C-third</software>\n"
                       "\t</software_info>\n</crashrpt>\n");
}

TEST_F(SoftwareCollector, KeyThatDoesNotOpenLeavesTheSectionOut) {
    Doc d;
    EXPECT_FALSE(CollectSoftwareFrom(d.root, HKEY_CURRENT_USER, Path(L"Nothing").c_str()));
    EXPECT_EQ(XmlFirstChild(d.root), nullptr);
}

TEST(ComputerSnapshot, TheFourSectionsInTableOrderUnderTheRealSystem) {
    wchar_t dir[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, dir);
    std::wstring path = std::wstring(dir) + L"vexlon-collect-computer.xml";
    SnapshotOptions options{kSnapshotSystem | kSnapshotSoftware | kSnapshotHardware | kSnapshotDisks};
    ASSERT_TRUE(BuildSnapshot(options, path.c_str()));
    std::ifstream in(path.c_str(), std::ios::binary);
    std::string xml((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    in.close();
    DeleteFileW(path.c_str());
    size_t system = xml.find("\r\n\t<system_info>\r\n\t\t<os ");
    size_t software = xml.find("\r\n\t<software_info>");
    size_t hardware = xml.find("\r\n\t<hardware_info>\r\n\t\t<cpu");
    size_t disk = xml.find("\r\n\t<disk_info>\r\n\t\t<partition name=\"");
    ASSERT_NE(system, std::string::npos);
    ASSERT_NE(software, std::string::npos);
    ASSERT_NE(hardware, std::string::npos);
    ASSERT_NE(disk, std::string::npos);
    EXPECT_LT(system, software);
    EXPECT_LT(software, hardware);
    EXPECT_LT(hardware, disk);
    EXPECT_NE(xml.find(" language=\"" + std::to_string(GetSystemDefaultLCID()) + "\""), std::string::npos);
    EXPECT_NE(xml.find("<memory size=\""), std::string::npos);
    EXPECT_EQ(xml.find("<process_info>"), std::string::npos);
}
