#include "snapshot/CollectProcessesWin32.h"

#include <psapi.h>
#include <tlhelp32.h>

#include <vector>

#include "snapshot/CollectServicesWin32.h"
#include "snapshot/ProcessCommandLine.h"
#include "snapshot/WideTextWin32.h"

namespace {

constexpr DWORD kQueryAndRead = PROCESS_QUERY_INFORMATION | PROCESS_VM_READ;  // 0x410
constexpr DWORD kAllAccess = 0x1F0FFF;
constexpr DWORD kMainPathChars = 260;
constexpr DWORD kModulePathChars = 520;

class CRemoteMemory final : public CProcessMemory {
public:
    explicit CRemoteMemory(HANDLE target) : process(target) {}
    bool Read(uint64_t address, void* out, size_t size) override {
        SIZE_T got = 0;
        return ReadProcessMemory(process, reinterpret_cast<const void*>(static_cast<uintptr_t>(address)), out, size,
                                 &got) != FALSE;
    }

private:
    HANDLE process;
};

// The environment block's address from ntdll; the fallback stays when the
// call leaves the answer alone.
uint64_t EnvironmentBlockOf(HANDLE process) {
    using Query = LONG(WINAPI*)(HANDLE, ULONG, void*, ULONG, ULONG*);
    // Exit status, then the block's address one pointer in.
    void* basic[6] = {nullptr, reinterpret_cast<void*>(static_cast<uintptr_t>(kFallbackEnvironmentBlock))};
    static_assert(sizeof basic >= 24, "room for the basic information");
    HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
    auto query = ntdll ? reinterpret_cast<Query>(
                             reinterpret_cast<void (*)()>(GetProcAddress(ntdll, "ZwQueryInformationProcess")))
                       : nullptr;
    if (query) query(process, 0, basic, static_cast<ULONG>(sizeof basic), nullptr);
    return reinterpret_cast<uintptr_t>(basic[1]);
}

std::vector<HMODULE> Modules(HANDLE process) {
    std::vector<HMODULE> modules(kProcessModuleLimit);
    DWORD needed = 0;
    if (!EnumProcessModules(process, modules.data(), static_cast<DWORD>(modules.size() * sizeof(HMODULE)), &needed))
        return {};
    const size_t count = needed / sizeof(HMODULE);
    modules.resize(count < modules.size() ? count : modules.size());
    return modules;
}

}  // namespace

bool CWin32ProcessSource::ListServices(std::vector<std::u16string>* names) {
    DWORD count = 0;
    ENUM_SERVICE_STATUSW* list = ReadServiceList(manager, SERVICE_WIN32, &count);
    if (!list) return false;
    for (DWORD i = 0; i < count; ++i) names->push_back(UpToNul(list[i].lpServiceName, 256));
    GlobalFree(list);
    return true;
}

std::optional<uint32_t> CWin32ProcessSource::ServiceProcessId(const std::u16string& name) {
    const std::wstring wide(name.begin(), name.end());
    ++serviceHandleOpens;
    SC_HANDLE service = OpenServiceW(manager, wide.c_str(), SERVICE_QUERY_STATUS);
    if (!service) return std::nullopt;
    SERVICE_STATUS_PROCESS status = {};
    DWORD needed = 0;
    std::optional<uint32_t> id;
    if (QueryServiceStatusEx(service, SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status), sizeof status,
                             &needed))
        id = status.dwProcessId;
    CloseServiceHandle(service);
    return id;
}

bool CWin32ProcessSource::ListProcesses(std::vector<uint32_t>* ids) {
    DWORD table[kProcessIdLimit] = {};
    DWORD bytes = 0;
    if (!EnumProcesses(table, sizeof table, &bytes)) return false;
    const size_t count = bytes / sizeof(DWORD);
    ids->assign(table, table + (count < kProcessIdLimit ? count : kProcessIdLimit));
    return true;
}

ProcessDetails CWin32ProcessSource::ReadProcess(uint32_t id) {
    ProcessDetails details;
    ++processHandleOpens;
    HANDLE process = OpenProcess(kQueryAndRead, FALSE, id);
    if (!process) return details;
    PROCESS_MEMORY_COUNTERS memory = {};
    memory.cb = sizeof memory;
    GetProcessMemoryInfo(process, &memory, sizeof memory);
    std::vector<HMODULE> modules = Modules(process);
    wchar_t path[kMainPathChars] = {};
    if (!modules.empty() && GetModuleFileNameExW(process, modules[0], path, kMainPathChars)) {
        details.opened = true;
        details.fullPath = UpToNul(path, kMainPathChars);
        details.commandLine = CommandLineOf(id);
        details.workingSetSize = memory.WorkingSetSize;
        details.threadCount = ThreadCount(id);
    }
    // Listed afresh: a process may load or drop modules meanwhile.
    modules = Modules(process);
    if (modules.size() > 1) {
        details.modules.resize(modules.size());
        for (size_t i = 1; i < modules.size(); ++i) {
            wchar_t module[kModulePathChars] = {};
            if (GetModuleFileNameExW(process, modules[i], module, kModulePathChars))
                details.modules[i] = UpToNul(module, kModulePathChars);
        }
    }
    CloseHandle(process);
    return details;
}

uint32_t ThreadCount(DWORD processId) {
    HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    if (snapshot == INVALID_HANDLE_VALUE) return 0;
    uint32_t count = 0;
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof entry;
    for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry))
        if (entry.th32OwnerProcessID == processId) ++count;
    CloseHandle(snapshot);
    return count;
}

bool ImagePath(DWORD processId, wchar_t* buffer, DWORD size) {
    if (!buffer || size == 0) return false;
    buffer[0] = L'\0';
    HANDLE process = OpenProcess(kAllAccess, FALSE, processId);
    if (!process) return false;
    const DWORD got = GetModuleFileNameExW(process, nullptr, buffer, size);
    buffer[size - 1] = L'\0';
    CloseHandle(process);
    return got != 0;
}

std::optional<std::u16string> CommandLineOf(DWORD processId) {
    HANDLE process = OpenProcess(kQueryAndRead, FALSE, processId);
    if (!process) return std::nullopt;
    CRemoteMemory memory(process);
    std::optional<std::u16string> text = ReadCommandLine(memory, EnvironmentBlockOf(process), sizeof(void*));
    CloseHandle(process);
    return text;
}

void CollectProcesses(XmlNode* root, int) {
    SC_HANDLE manager = OpenSCManagerW(nullptr, L"ServicesActive", SC_MANAGER_ALL_ACCESS);
    if (!manager) return;
    CWin32ProcessSource source(manager);
    BuildProcessInfo(root, source);
    CloseServiceHandle(manager);
}
