// The startup, browser plug-in and Winsock readers with the real calls, on
// folders, files and registry keys that the tests make themselves.

#include <gtest/gtest.h>

#include <windows.h>
#include <objbase.h>
#include <shlobj.h>

#include <fstream>
#include <iterator>
#include <map>
#include <string>

#include "snapshot/CollectStartupWin32.h"
#include "snapshot/SnapshotWin32.h"

namespace {

std::string Lf(std::string text) {
    // The writer ends lines with CR LF; the expectations are written with LF.
    std::string out;
    for (char c : text)
        if (c != '\r') out += c;
    return out;
}

const wchar_t kTestKey[] = L"Software\\VexlonCollectStartupTests";

std::wstring TempFolder(const wchar_t* name) {
    wchar_t dir[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, dir);
    std::wstring path = std::wstring(dir) + name;
    CreateDirectoryW(path.c_str(), nullptr);
    return path;
}

void WriteBytes(const std::wstring& path, size_t count) {
    HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    std::string bytes(count, 'x');
    DWORD written = 0;
    WriteFile(file, bytes.data(), static_cast<DWORD>(count), &written, nullptr);
    CloseHandle(file);
}

std::u16string U16(const std::wstring& text) { return std::u16string(text.begin(), text.end()); }
std::string Narrow(const std::u16string& text) {
    std::string out;
    WideToUtf8(out, text.c_str(), static_cast<int>(text.size()));
    return out;
}

class Registry : public ::testing::Test {
protected:
    void SetUp() override { RegDeleteTreeW(HKEY_CURRENT_USER, kTestKey); }
    void TearDown() override { RegDeleteTreeW(HKEY_CURRENT_USER, kTestKey); }
    static std::wstring Path(const std::wstring& sub) { return std::wstring(kTestKey) + L"\\" + sub; }
    static HKEY Create(const std::wstring& sub) {
        HKEY key = nullptr;
        RegCreateKeyExW(HKEY_CURRENT_USER, Path(sub).c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
        return key;
    }
    static void SetString(const std::wstring& sub, const wchar_t* name, const std::wstring& value) {
        HKEY key = Create(sub);
        ASSERT_NE(key, nullptr);
        RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                       static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
        RegCloseKey(key);
    }
    static void SetBinary(const std::wstring& sub, const wchar_t* name, const std::string& value) {
        HKEY key = Create(sub);
        ASSERT_NE(key, nullptr);
        RegSetValueExW(key, name, 0, REG_BINARY, reinterpret_cast<const BYTE*>(value.data()),
                       static_cast<DWORD>(value.size()));
        RegCloseKey(key);
    }
};

using RunKeyReader = Registry;
using PluginReader = Registry;
using WinsockReader = Registry;

}  // namespace

TEST(StartupFolderScan, DesktopIniIsHiddenAndTheShortcutKeepsItsRawTarget) {
    ASSERT_TRUE(SUCCEEDED(CoInitialize(nullptr)));
    const std::wstring folder = TempFolder(L"vexlon-startup-scan");
    WriteBytes(folder + L"\\desktop.ini", 10);
    IShellLinkW* link = nullptr;
    ASSERT_TRUE(SUCCEEDED(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                                           reinterpret_cast<void**>(&link))));
    link->SetPath(L"C:\\windows\\system32\\notepad.exe");
    IPersistFile* persist = nullptr;
    link->QueryInterface(IID_IPersistFile, reinterpret_cast<void**>(&persist));
    ASSERT_NE(persist, nullptr);
    ASSERT_TRUE(SUCCEEDED(persist->Save((folder + L"\\Tray.lnk").c_str(), TRUE)));
    persist->Release();
    link->Release();

    std::optional<StartupSource> source = ScanStartupFolder(folder.c_str());
    CoUninitialize();
    DeleteFileW((folder + L"\\desktop.ini").c_str());
    DeleteFileW((folder + L"\\Tray.lnk").c_str());
    RemoveDirectoryW(folder.c_str());
    ASSERT_TRUE(source.has_value());
    EXPECT_TRUE(source->name == U16(folder));
    ASSERT_EQ(source->commands.size(), 1u);
    EXPECT_TRUE(source->commands[0].text == u"Tray.lnk");
    ASSERT_TRUE(source->commands[0].path.has_value());
    EXPECT_EQ(Narrow(*source->commands[0].path), "C:\\windows\\system32\\notepad.exe");
}

TEST(StartupFolderScan, PlainFilesHaveNoPathAndAnEmptyFolderGivesNothing) {
    const std::wstring folder = TempFolder(L"vexlon-startup-plain");
    WriteBytes(folder + L"\\run.bat", 3);
    std::optional<StartupSource> source = ScanStartupFolder((folder + L"\\").c_str());
    DeleteFileW((folder + L"\\run.bat").c_str());
    ASSERT_TRUE(source.has_value());
    EXPECT_TRUE(source->name == U16(folder + L"\\"));
    ASSERT_EQ(source->commands.size(), 1u);
    EXPECT_TRUE(source->commands[0].text == u"run.bat");
    EXPECT_FALSE(source->commands[0].path.has_value());
    RemoveDirectoryW(folder.c_str());
    EXPECT_FALSE(ScanStartupFolder(folder.c_str()).has_value());
}

TEST(FileVersionReader, SizesOfFilesOf500And2048000Bytes) {
    const std::wstring folder = TempFolder(L"vexlon-file-sizes");
    WriteBytes(folder + L"\\small.bin", 500);
    WriteBytes(folder + L"\\large.bin", 2048000);
    FileVersionAnswer small = ReadFileVersion((folder + L"\\small.bin").c_str());
    FileVersionAnswer large = ReadFileVersion((folder + L"\\large.bin").c_str());
    FileVersionAnswer missing = ReadFileVersion((folder + L"\\missing.bin").c_str());
    DeleteFileW((folder + L"\\small.bin").c_str());
    DeleteFileW((folder + L"\\large.bin").c_str());
    RemoveDirectoryW(folder.c_str());
    EXPECT_TRUE(small.opened);
    EXPECT_FALSE(small.versionRead);
    EXPECT_EQ(FormatFileSize(small.size), "500 B");
    EXPECT_EQ(FormatFileSize(large.size), "2000 KB (2048000 B)");
    EXPECT_FALSE(missing.opened);
}

TEST(FileVersionReader, DescriptionAndCompanyOfTheFirstTranslation) {
    FileVersionAnswer full = ReadFileVersion(L"" VEXLON_TEST_DRIVER_VERSIONED);
    ASSERT_TRUE(full.opened);
    ASSERT_TRUE(full.versionRead);
    EXPECT_EQ(Narrow(full.description), "Vexlon CD-ROM Test Filter");
    EXPECT_EQ(Narrow(full.company), "Vexlon Test Drivers Ltd.");
    FileVersionAnswer partial = ReadFileVersion(L"" VEXLON_TEST_DRIVER_NO_DESCRIPTION);
    ASSERT_TRUE(partial.versionRead);
    EXPECT_TRUE(partial.description.empty());
    EXPECT_EQ(Narrow(partial.company), "Vexlon Partial Ltd.");
    FileVersionAnswer plain = ReadFileVersion(L"" VEXLON_TEST_DRIVER_PLAIN);
    EXPECT_TRUE(plain.opened);
    EXPECT_FALSE(plain.versionRead);
}

TEST_F(RunKeyReader, EveryValueAndALongValueWithClearedBuffers) {
    SetString(L"Run", L"VexTray", L"\"C:\\Vex\\tray.exe\" /min");
    SetString(L"Run", L"Long", std::wstring(300, L'L'));  // 602 bytes: more than 512
    SetString(L"Run", L"Empty", L"");
    std::optional<StartupSource> source = ReadRunKey(HKEY_CURRENT_USER, L"HKCU", Path(L"Run").c_str());
    ASSERT_TRUE(source.has_value());
    EXPECT_EQ(Narrow(source->name), "HKCU\\" + Narrow(U16(Path(L"Run"))));
    ASSERT_EQ(source->commands.size(), 3u);
    // Values come in the registry's own enumeration order, which the
    // collector keeps; here each is looked up by its name.
    std::map<std::string, std::string> commands;
    for (const StartupCommand& c : source->commands) {
        ASSERT_TRUE(c.path.has_value());
        commands[Narrow(c.text)] = Narrow(*c.path);
    }
    EXPECT_EQ(commands, (std::map<std::string, std::string>{
                            {"VexTray", "\"C:\\Vex\\tray.exe\" /min"}, {"Empty", ""}, {"", ""}}));
    EXPECT_FALSE(ReadRunKey(HKEY_CURRENT_USER, L"HKCU", Path(L"NoRun").c_str()).has_value());
}

TEST_F(PluginReader, ClassNamesServersAndTheShrinkingFirstQuery) {
    const std::wstring longName(300, L'C');  // 602 bytes with the NUL
    Create(L"BHO\\{1-no-class}");
    Create(L"BHO\\{2-long}");
    Create(L"BHO\\{3-long}");
    Create(L"BHO\\{4-plain}");
    SetString(L"CLSID\\{2-long}", nullptr, longName);
    SetString(L"CLSID\\{2-long}\\InprocServer32", nullptr, L"" VEXLON_TEST_DRIVER_VERSIONED);
    SetString(L"CLSID\\{3-long}", nullptr, longName);
    SetString(L"CLSID\\{4-plain}", nullptr, L"Plain Helper");
    SetString(L"CLSID\\{4-plain}\\InprocServer32", nullptr, L"C:\\vexlon-no-such-dir\\helper.dll");
    std::optional<std::vector<PluginAnswer>> plugins =
        ReadPluginAnswers(HKEY_CURRENT_USER, Path(L"BHO").c_str(), HKEY_CURRENT_USER, Path(L"CLSID\\").c_str());
    ASSERT_TRUE(plugins.has_value());
    ASSERT_EQ(plugins->size(), 3u);  // the class that does not open is left out
    XmlDocument document;
    XmlInitDocument(&document);
    XmlNode* root = XmlAppendChild(XmlTopLevel(&document), XmlCreateElement(&document, "crashrpt"));
    BuildPluginInfo(root, *plugins);
    const FileVersionAnswer dll = ReadFileVersion(L"" VEXLON_TEST_DRIVER_VERSIONED);
    std::string server;
    AnsiToUtf8(server, VEXLON_TEST_DRIVER_VERSIONED, 0);
    EXPECT_EQ(Lf(XmlSaveToString(&document, nullptr)),
              "<crashrpt>\n\t<ieplugin_info>\n"
              "\t\t<ieplugin description=\"Vexlon CD-ROM Test Filter\" published=\"Vexlon Test Drivers Ltd.\" size=\"" +
                  FormatFileSize(dll.size) + "\" location=\"" + server + "\">" + std::string(300, 'C') +
                  "</ieplugin>\n"
                  "\t\t<ieplugin location=\"N/A\">N/A</ieplugin>\n"
                  "\t\t<ieplugin location=\"C:\\vexlon-no-such-dir\\helper.dll\">Plain Helper</ieplugin>\n"
                  "\t</ieplugin_info>\n</crashrpt>\n");
    XmlDestroyDocument(&document);
    EXPECT_FALSE(ReadPluginAnswers(HKEY_CURRENT_USER, Path(L"NoBHO").c_str(), HKEY_CURRENT_USER,
                                   Path(L"CLSID\\").c_str())
                     .has_value());
}

TEST_F(WinsockReader, CatalogPathStaysUnexpandedAndVersionComesFromTheExpandedFile) {
    const std::string packed = std::string("%SystemRoot%\\system32\\kernel32.dll") + '\0' + "trailing item bytes";
    SetBinary(L"Catalog\\000000000001", L"PackedCatalogItem", packed);
    std::optional<std::vector<WinsockAnswer>> protocols =
        ReadWinsockAnswers(HKEY_CURRENT_USER, Path(L"Catalog").c_str());
    ASSERT_TRUE(protocols.has_value());
    ASSERT_FALSE(protocols->empty()) << "the platform lists no Winsock protocols";
    const WinsockAnswer& first = (*protocols)[0];
    EXPECT_FALSE(first.protocolName.empty());
    ASSERT_TRUE(first.catalogRead);
    EXPECT_EQ(Narrow(first.location), "%SystemRoot%\\system32\\kernel32.dll");
    wchar_t expanded[MAX_PATH] = {};
    ExpandEnvironmentStringsW(L"%SystemRoot%\\system32\\kernel32.dll", expanded, MAX_PATH);
    const FileVersionAnswer direct = ReadFileVersion(expanded);
    ASSERT_TRUE(direct.opened);
    EXPECT_TRUE(first.version.opened);
    EXPECT_EQ(first.version.size, direct.size);
    for (size_t i = 1; i < protocols->size(); ++i) EXPECT_FALSE((*protocols)[i].catalogRead);
}

TEST(FullSnapshot, EverySectionInTableOrder) {
    wchar_t dir[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, dir);
    const std::wstring path = std::wstring(dir) + L"vexlon-collect-full.xml";
    ASSERT_TRUE(BuildSnapshot(SnapshotOptions{kSnapshotAll}, path.c_str()));
    std::ifstream in(path.c_str(), std::ios::binary);
    const std::string xml((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    in.close();
    DeleteFileW(path.c_str());
    ASSERT_EQ(xml.compare(0, 3, "\xEF\xBB\xBF"), 0);
    // The ports section needs both table functions of the IP helper.
    HMODULE iphlpapi = LoadLibraryW(L"iphlpapi.dll");
    const bool ports = iphlpapi && GetProcAddress(iphlpapi, "AllocateAndGetTcpExTableFromStack") &&
                       GetProcAddress(iphlpapi, "AllocateAndGetUdpExTableFromStack");
    if (iphlpapi) FreeLibrary(iphlpapi);
    size_t last = 0;
    for (const char* section : {"system_info", "software_info", "hardware_info", "process_info", "service_info",
                                "driver_info", "startup_info", "disk_info", "netcard_info", "port_info",
                                "winsock_info", "ieplugin_info"}) {
        const std::string name = section;
        const std::string open = "\r\n\t<" + name + ">";
        const size_t at = xml.find(open);
        if (name == "port_info" && !ports) {
            EXPECT_EQ(at, std::string::npos);
            continue;
        }
        if ((name == "winsock_info" || name == "ieplugin_info") && at == std::string::npos)
            continue;  // left out when the platform has no list or key
        ASSERT_NE(at, std::string::npos) << section;
        EXPECT_GT(at, last) << section;
        last = at;
        EXPECT_NE(xml.find("</" + name + ">\r\n", at), std::string::npos) << section;
    }
    EXPECT_NE(xml.find("\t\t<process id=\"" + std::to_string(GetCurrentProcessId()) + "\" full_path=\""),
              std::string::npos);
    EXPECT_NE(xml.find("\t\t<item displayname=\""), std::string::npos);
    EXPECT_EQ(xml.substr(xml.size() - 13), "</crashrpt>\r\n");
}
