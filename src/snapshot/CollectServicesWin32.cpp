#include "snapshot/CollectServicesWin32.h"

#include <string>

#include "snapshot/WideTextWin32.h"

namespace {

// Strings handed out inside a buffer of `size` bytes end inside it.
std::u16string Inside(const void* buffer, DWORD size, const wchar_t* text) {
    const auto* begin = static_cast<const unsigned char*>(buffer);
    const auto* at = reinterpret_cast<const unsigned char*>(text);
    if (!text || at < begin || at >= begin + size) return {};
    return UpToNul(text, static_cast<size_t>(begin + size - at) / sizeof(wchar_t));
}

}  // namespace

ENUM_SERVICE_STATUSW* ReadServiceList(SC_HANDLE manager, DWORD type, DWORD* count) {
    *count = 0;
    DWORD needed = 0, returned = 0, resume = 0;
    EnumServicesStatusW(manager, type, SERVICE_STATE_ALL, nullptr, 0, &needed, &returned, &resume);
    const DWORD size = needed ? needed : sizeof(ENUM_SERVICE_STATUSW);
    auto* list = static_cast<ENUM_SERVICE_STATUSW*>(GlobalAlloc(GPTR, size));
    if (!list) return nullptr;
    resume = 0;
    if (!EnumServicesStatusW(manager, type, SERVICE_STATE_ALL, list, size, &needed, &returned, &resume)) {
        GlobalFree(list);
        return nullptr;
    }
    const DWORD held = size / sizeof(ENUM_SERVICE_STATUSW);
    *count = returned < held ? returned : held;
    return list;
}

ServiceAnswer ReadService(SC_HANDLE manager, const ENUM_SERVICE_STATUSW& entry, const wchar_t* servicesKey) {
    ServiceAnswer answer;
    answer.name = UpToNul(entry.lpServiceName, 256);
    answer.displayName = UpToNul(entry.lpDisplayName, 256);
    answer.currentState = entry.ServiceStatus.dwCurrentState;
    SC_HANDLE service = OpenServiceW(manager, entry.lpServiceName, SERVICE_QUERY_CONFIG);
    if (!service) return answer;
    DWORD needed = 0;
    if (!QueryServiceConfigW(service, nullptr, 0, &needed) && GetLastError() == ERROR_INSUFFICIENT_BUFFER &&
        needed >= sizeof(QUERY_SERVICE_CONFIGW)) {
        auto* config = static_cast<QUERY_SERVICE_CONFIGW*>(GlobalAlloc(GPTR, needed));
        if (config && QueryServiceConfigW(service, config, needed, &needed)) {
            answer.configRead = true;
            answer.binaryPath = Inside(config, needed, config->lpBinaryPathName);
            answer.startName = Inside(config, needed, config->lpServiceStartName);
            answer.startType = config->dwStartType;
            HKEY key = nullptr;
            const std::wstring path = std::wstring(servicesKey) + entry.lpServiceName;
            if (RegOpenKeyW(HKEY_LOCAL_MACHINE, path.c_str(), &key) == ERROR_SUCCESS) {
                DWORD size = 0;
                RegQueryValueExW(key, L"Description", nullptr, nullptr, nullptr, &size);
                // One spare character ends a value stored without its NUL.
                auto* text = static_cast<wchar_t*>(GlobalAlloc(GPTR, size + sizeof(wchar_t)));
                DWORD got = size;
                if (text && RegQueryValueExW(key, L"Description", nullptr, nullptr, reinterpret_cast<BYTE*>(text),
                                             &got) == ERROR_SUCCESS)
                    answer.description = UpToNul(text, (got < size ? got : size) / sizeof(wchar_t));
                if (text) GlobalFree(text);
                RegCloseKey(key);
            }
        }
        if (config) GlobalFree(config);
    }
    CloseServiceHandle(service);
    return answer;
}

std::optional<std::vector<ServiceAnswer>> ReadServiceAnswers(SC_HANDLE manager, bool drivers) {
    DWORD count = 0;
    ENUM_SERVICE_STATUSW* list = ReadServiceList(manager, drivers ? SERVICE_DRIVER : SERVICE_WIN32, &count);
    if (!list) return std::nullopt;
    std::vector<ServiceAnswer> services;
    for (DWORD i = 0; i < count; ++i)
        services.push_back(ReadService(manager, list[i], L"SYSTEM\\CurrentControlSet\\Services\\"));
    GlobalFree(list);
    return services;
}

void CollectServices(XmlNode* root, int drivers) {
    SC_HANDLE manager = OpenSCManagerW(nullptr, L"ServicesActive", SC_MANAGER_ALL_ACCESS);
    if (!manager) return;
    BuildServiceInfo(root, drivers != 0, ReadServiceAnswers(manager, drivers != 0));
    CloseServiceHandle(manager);
}
