#include "snapshot/SnapshotWin32.h"

#include <shlwapi.h>

#include "app/AppState.h"
#include "snapshot/CollectComputerWin32.h"
#include "snapshot/CollectNetworkWin32.h"
#include "snapshot/CollectPortsWin32.h"
#include "snapshot/CollectProcessesWin32.h"
#include "snapshot/CollectStartupWin32.h"
#include "snapshot/CollectServicesWin32.h"

// One line per section, in the order the sections appear in the file.
const SnapshotCollector kSnapshotCollectors[] = {
    {kSnapshotSystem, CollectSystem, 0},
    {kSnapshotSoftware, CollectSoftware, 0},
    {kSnapshotHardware, CollectHardware, 0},
    {kSnapshotProcesses, CollectProcesses, 0},
    {kSnapshotServices, CollectServices, 0},  // services and drivers: one collector, argument 1 for drivers
    {kSnapshotDrivers, CollectServices, 1},
    {kSnapshotStartup, CollectStartup, 0},
    {kSnapshotDisks, CollectDisks, 0},
    {kSnapshotNetwork, CollectNetwork, 0},
    {kSnapshotPorts, CollectPorts, 0},
    {kSnapshotWinsock, CollectWinsock, 0},
    {kSnapshotPlugins, CollectPlugins, 0},
};
const size_t kSnapshotCollectorCount = sizeof kSnapshotCollectors / sizeof kSnapshotCollectors[0];

void AnsiToUtf8(std::string& target, const char* text, int length) {
    target.clear();
    if (!text) return;
    if (length == 0) length = lstrlenA(text) + 1;
    auto* wide = static_cast<wchar_t*>(LocalAlloc(LMEM_ZEROINIT, (static_cast<SIZE_T>(length) + 1) * sizeof(wchar_t)));
    if (!wide) return;
    if (MultiByteToWideChar(CP_ACP, 0, text, length, wide, length + 1) > 0)
        WideToUtf8(target, reinterpret_cast<const char16_t*>(wide), 0);
    LocalFree(wide);
}

namespace {

void WriteStylesheet(const wchar_t* xmlPath) {
    wchar_t path[MAX_PATH + 16] = {};
    lstrcpynW(path, xmlPath, MAX_PATH);
    PathRemoveFileSpecW(path);
    lstrcatW(path, L"\\snapshot.xsl");
    HMODULE module = App().instance ? App().instance : GetModuleHandleW(nullptr);
    HRSRC found = FindResourceW(module, L"snapshot.xsl", L"DAT");
    if (!found) return;
    HGLOBAL loaded = LoadResource(module, found);
    const void* bytes = loaded ? LockResource(loaded) : nullptr;
    DWORD size = SizeofResource(module, found);
    if (!bytes) return;
    HANDLE file = CreateFileW(path, GENERIC_WRITE, FILE_SHARE_WRITE, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                              nullptr);
    if (file == INVALID_HANDLE_VALUE) return;
    DWORD written = 0;
    WriteFile(file, bytes, size, &written, nullptr);
    CloseHandle(file);
}

}  // namespace

bool BuildSnapshot(const SnapshotOptions& options, const wchar_t* path) {
    XmlDocument document;
    AssembleSnapshot(&document, options, kSnapshotCollectors, kSnapshotCollectorCount);
    char ansiPath[MAX_PATH] = {};
    if (WideCharToMultiByte(CP_ACP, 0, path, -1, ansiPath, MAX_PATH, nullptr, nullptr) == 0) {
        XmlDestroyDocument(&document);
        return false;
    }
    XmlSave(&document, ansiPath, nullptr);
    WriteStylesheet(path);
    XmlDestroyDocument(&document);
    return true;
}
