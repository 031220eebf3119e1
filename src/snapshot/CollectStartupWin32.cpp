#include "snapshot/CollectStartupWin32.h"

#include <lm.h>
#include <objbase.h>
#include <sddl.h>
#include <shlobj.h>
#include <winsock2.h>
#include <ws2spi.h>

#include "snapshot/WideTextWin32.h"

namespace {

// A walk that goes on past errors still ends.
constexpr DWORD kMaxIndex = 1u << 20;

// A version string as VerQueryValueW hands it out, kept inside the block.
std::u16string VersionString(const unsigned char* block, DWORD blockSize, const wchar_t* query) {
    void* value = nullptr;
    UINT length = 0;
    if (!VerQueryValueW(block, query, &value, &length) || !value) return {};
    const auto* begin = static_cast<const unsigned char*>(value);
    if (begin < block || begin >= block + blockSize) return {};
    const size_t room = (block + blockSize - begin) / sizeof(wchar_t);
    return UpToNul(static_cast<const wchar_t*>(value), length < room ? length : room);
}

const wchar_t kRunKey[] = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Run";

}  // namespace

FileVersionAnswer ReadFileVersion(const wchar_t* path) {
    FileVersionAnswer answer;
    HANDLE file = CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                              nullptr);
    if (file == INVALID_HANDLE_VALUE) return answer;
    answer.opened = true;
    DWORD ignored = 0;
    const DWORD size = GetFileVersionInfoSizeW(path, &ignored);
    auto* block = size ? static_cast<unsigned char*>(GlobalAlloc(GPTR, size)) : nullptr;
    if (block && GetFileVersionInfoW(path, 0, size, block)) {
        const WORD* translation = nullptr;
        UINT length = 0;
        if (VerQueryValueW(block, L"\\VarFileInfo\\Translation", reinterpret_cast<void**>(const_cast<WORD**>(&translation)),
                           &length) &&
            translation && length > 3) {
            answer.versionRead = true;
            wchar_t query[128];
            wsprintfW(query, L"\\StringFileInfo\\%04x%04x\\FileDescription", translation[0], translation[1]);
            answer.description = VersionString(block, size, query);
            wsprintfW(query, L"\\StringFileInfo\\%04x%04x\\CompanyName", translation[0], translation[1]);
            answer.company = VersionString(block, size, query);
        }
    }
    if (block) GlobalFree(block);
    LARGE_INTEGER bytes = {};
    if (GetFileSizeEx(file, &bytes)) answer.size = static_cast<uint64_t>(bytes.QuadPart);
    CloseHandle(file);
    return answer;
}

std::optional<StartupSource> ScanStartupFolder(const wchar_t* folder) {
    std::wstring base = folder;
    if (base.empty() || base.back() != L'\\') base += L'\\';
    IShellLinkW* link = nullptr;
    IPersistFile* persist = nullptr;
    if (SUCCEEDED(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                                   reinterpret_cast<void**>(&link))))
        link->QueryInterface(IID_IPersistFile, reinterpret_cast<void**>(&persist));
    std::optional<StartupSource> source;
    WIN32_FIND_DATAW found = {};
    HANDLE search = FindFirstFileW((base + L"*.*").c_str(), &found);
    if (search != INVALID_HANDLE_VALUE) {
        source = StartupSource{};
        source->name = AsU16(folder);
        do {
            const std::u16string name = UpToNul(found.cFileName, MAX_PATH);
            const StartupEntry kind = ClassifyStartupEntry(name);
            if (kind == StartupEntry::Skip) continue;
            StartupCommand command;
            command.text = name;
            if (kind == StartupEntry::Shortcut && link && persist) {
                wchar_t target[MAX_PATH + 1] = {};
                if (SUCCEEDED(persist->Load((base + found.cFileName).c_str(), 0)) &&
                    SUCCEEDED(link->Resolve(nullptr, 0)) &&
                    SUCCEEDED(link->GetPath(target, MAX_PATH, nullptr, SLGP_RAWPATH)))
                    command.path = UpToNul(target, MAX_PATH);
            }
            source->commands.push_back(command);
        } while (FindNextFileW(search, &found));
        FindClose(search);
    }
    if (persist) persist->Release();
    if (link) link->Release();
    return source;
}

std::optional<StartupSource> ReadRunKey(HKEY root, const wchar_t* label, const wchar_t* subkey) {
    HKEY key = nullptr;
    if (RegOpenKeyW(root, subkey, &key) != ERROR_SUCCESS) return std::nullopt;
    StartupSource source;
    source.name = AsU16((std::wstring(label) + L"\\" + subkey).c_str());
    for (DWORD index = 0; index < kMaxIndex; ++index) {
        // 1024 characters of name and 512 bytes of data, each with a spare
        // character so that what was read is always terminated.
        wchar_t name[1024 + 1] = {};
        wchar_t data[256 + 1] = {};
        DWORD nameCount = 1024;
        DWORD dataBytes = 512;
        const LONG result =
            RegEnumValueW(key, index, name, &nameCount, nullptr, nullptr, reinterpret_cast<BYTE*>(data), &dataBytes);
        if (result == ERROR_NO_MORE_ITEMS) break;
        StartupCommand command;
        if (result == ERROR_SUCCESS) {
            command.text = UpToNul(name, nameCount < 1024 ? nameCount : 1024);
            command.path = UpToNul(data, (dataBytes < 512 ? dataBytes : 512) / sizeof(wchar_t));
        } else {
            // A value too long for the buffers is listed with them cleared.
            command.path = std::u16string();
        }
        source.commands.push_back(command);
    }
    RegCloseKey(key);
    return source;
}

std::vector<std::wstring> AdministratorSids() {
    std::vector<std::wstring> sids;
    LOCALGROUP_MEMBERS_INFO_0* members = nullptr;
    DWORD read = 0, total = 0;
    const NET_API_STATUS status = NetLocalGroupGetMembers(nullptr, L"Administrators", 0,
                                                          reinterpret_cast<BYTE**>(&members), 8192, &read, &total,
                                                          nullptr);
    if (status != NERR_Success && status != ERROR_MORE_DATA) {
        if (members) NetApiBufferFree(members);
        return sids;
    }
    for (DWORD i = 0; members && i < read; ++i) {
        wchar_t account[256] = {}, domain[256] = {};
        DWORD accountCount = 256, domainCount = 256;
        SID_NAME_USE use;
        LookupAccountSidW(nullptr, members[i].lgrmi0_sid, account, &accountCount, domain, &domainCount, &use);
        LPWSTR text = nullptr;
        if (ConvertSidToStringSidW(members[i].lgrmi0_sid, &text) && text) {
            sids.push_back(text);
            LocalFree(text);
        }
    }
    if (members) NetApiBufferFree(members);
    return sids;
}

std::optional<std::wstring> ProfileStartupFolder(HKEY users, const std::wstring& sid) {
    const std::wstring path = sid + L"\\Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders";
    HKEY key = nullptr;
    if (RegOpenKeyW(users, path.c_str(), &key) != ERROR_SUCCESS) return std::nullopt;
    wchar_t folder[MAX_PATH + 1] = {};
    DWORD bytes = 261;  // what this query has always been given
    const LONG result = RegQueryValueExW(key, L"Startup", nullptr, nullptr, reinterpret_cast<BYTE*>(folder), &bytes);
    RegCloseKey(key);
    if (result != ERROR_SUCCESS) return std::nullopt;
    return std::wstring(folder);
}

std::vector<StartupSource> ReadStartupSources() {
    std::vector<StartupSource> sources;
    const HRESULT com = CoInitialize(nullptr);
    const std::vector<std::wstring> sids = AdministratorSids();
    for (const std::wstring& sid : sids)
        if (std::optional<std::wstring> folder = ProfileStartupFolder(HKEY_USERS, sid))
            if (std::optional<StartupSource> source = ScanStartupFolder(folder->c_str())) sources.push_back(*source);
    for (int csidl : {CSIDL_STARTUP, CSIDL_COMMON_STARTUP}) {
        wchar_t folder[MAX_PATH + 1] = {};
        if (SUCCEEDED(SHGetFolderPathW(nullptr, csidl, nullptr, 0, folder)))
            if (std::optional<StartupSource> source = ScanStartupFolder(folder)) sources.push_back(*source);
    }
    CoFreeUnusedLibraries();
    if (SUCCEEDED(com)) CoUninitialize();
    for (const std::wstring& sid : sids)
        if (std::optional<StartupSource> source = ReadRunKey(HKEY_USERS, L"HKU", (sid + L"\\" + kRunKey).c_str()))
            sources.push_back(*source);
    if (std::optional<StartupSource> source = ReadRunKey(HKEY_LOCAL_MACHINE, L"HKLM", kRunKey))
        sources.push_back(*source);
    if (std::optional<StartupSource> source = ReadRunKey(HKEY_CURRENT_USER, L"HKCU", kRunKey))
        sources.push_back(*source);
    return sources;
}

std::optional<std::vector<PluginAnswer>> ReadPluginAnswers(HKEY objectRoot, const wchar_t* objectKey,
                                                           HKEY classRoot, const wchar_t* classPrefix) {
    HKEY objects = nullptr;
    if (RegOpenKeyExW(objectRoot, objectKey, 0, KEY_READ, &objects) != ERROR_SUCCESS) return std::nullopt;
    std::vector<PluginAnswer> plugins;
    // The class name is asked with 1024 bytes the first time, 512 after.
    LONG classBytes = 1024;
    for (DWORD index = 0; index < kMaxIndex; ++index) {
        wchar_t buffer[512 + 1] = {};  // the subkey's name, then the class's name
        const LONG listed = RegEnumKeyW(objects, index, buffer, 512);
        if (listed == ERROR_NO_MORE_ITEMS) break;
        if (listed != ERROR_SUCCESS) continue;
        HKEY cls = nullptr;
        if (RegOpenKeyExW(classRoot, (std::wstring(classPrefix) + buffer).c_str(), 0, KEY_READ, &cls) !=
            ERROR_SUCCESS)
            continue;
        PluginAnswer plugin;
        LONG bytes = classBytes;
        if (RegQueryValueW(cls, nullptr, buffer, &bytes) == ERROR_SUCCESS)
            plugin.className = UpToNul(buffer, static_cast<size_t>(bytes < 1024 ? bytes : 1024) / sizeof(wchar_t));
        else
            plugin.className = u"N/A";
        classBytes = 512;
        wchar_t server[256 + 1] = {};
        LONG serverBytes = 512;
        if (RegQueryValueW(cls, L"InprocServer32", server, &serverBytes) == ERROR_SUCCESS) {
            plugin.serverRead = true;
            plugin.serverPath = UpToNul(server, static_cast<size_t>(serverBytes < 512 ? serverBytes : 512) / sizeof(wchar_t));
            server[plugin.serverPath.size()] = 0;
            plugin.version = ReadFileVersion(server);
        }
        RegCloseKey(cls);
        plugins.push_back(plugin);
    }
    RegCloseKey(objects);
    return plugins;
}

std::optional<std::vector<WinsockAnswer>> ReadWinsockAnswers(HKEY catalogRoot, const wchar_t* catalogKey) {
    DWORD length = 0;
    INT error = 0;
    if (WSCEnumProtocols(nullptr, nullptr, &length, &error) == SOCKET_ERROR && error != WSAENOBUFS)
        return std::nullopt;
    auto* list = static_cast<WSAPROTOCOL_INFOW*>(GlobalAlloc(GPTR, length ? length : 1));
    if (!list) return std::nullopt;
    const int count = WSCEnumProtocols(nullptr, list, &length, &error);
    if (count == SOCKET_ERROR) {
        GlobalFree(list);
        return std::nullopt;
    }
    std::vector<WinsockAnswer> protocols;
    const DWORD held = length / sizeof(WSAPROTOCOL_INFOW);
    for (DWORD i = 0; i < static_cast<DWORD>(count) && i < held; ++i) {
        WinsockAnswer protocol;
        protocol.protocolName = UpToNul(list[i].szProtocol, WSAPROTOCOL_LEN + 1);
        wchar_t number[16];
        wsprintfW(number, L"%012d", static_cast<int>(i + 1));
        HKEY entry = nullptr;
        if (RegOpenKeyExW(catalogRoot, (std::wstring(catalogKey) + L"\\" + number).c_str(), 0, KEY_READ, &entry) ==
            ERROR_SUCCESS) {
            DWORD size = 0;
            if (RegQueryValueExW(entry, L"PackedCatalogItem", nullptr, nullptr, nullptr, &size) == ERROR_SUCCESS) {
                auto* item = static_cast<char*>(GlobalAlloc(GPTR, size + 1));
                DWORD got = size;
                if (item && RegQueryValueExW(entry, L"PackedCatalogItem", nullptr, nullptr,
                                             reinterpret_cast<BYTE*>(item), &got) == ERROR_SUCCESS) {
                    // The item starts with the provider's path in the code page.
                    const int ansi = lstrlenA(item) < static_cast<int>(got) ? lstrlenA(item) : static_cast<int>(got);
                    wchar_t path[MAX_PATH + 1] = {};
                    if (ansi > 0 && MultiByteToWideChar(CP_ACP, 0, item, ansi, path, MAX_PATH) == 0) path[0] = 0;
                    protocol.catalogRead = true;
                    protocol.location = UpToNul(path, MAX_PATH);
                    wchar_t expanded[MAX_PATH + 1] = {};
                    const DWORD needed = ExpandEnvironmentStringsW(path, expanded, MAX_PATH);
                    if (needed == 0 || needed > MAX_PATH) expanded[0] = 0;
                    protocol.version = ReadFileVersion(expanded);
                }
                if (item) GlobalFree(item);
            }
            RegCloseKey(entry);
        }
        protocols.push_back(protocol);
    }
    GlobalFree(list);
    return protocols;
}

void CollectStartup(XmlNode* root, int) { BuildStartupInfo(root, ReadStartupSources()); }

void CollectWinsock(XmlNode* root, int) {
    std::optional<std::vector<WinsockAnswer>> protocols = ReadWinsockAnswers(
        HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Services\\WinSock2\\Parameters\\Protocol_Catalog9\\Catalog_Entries");
    if (protocols) BuildWinsockInfo(root, *protocols);
}

void CollectPlugins(XmlNode* root, int) {
    std::optional<std::vector<PluginAnswer>> plugins =
        ReadPluginAnswers(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Browser Helper Objects",
                          HKEY_CLASSES_ROOT, L"CLSID\\");
    if (plugins) BuildPluginInfo(root, *plugins);
}
