// The processes and ports readers against the system the tests run on.

#include <gtest/gtest.h>

#include <winsock2.h>
#include <windows.h>
#include <iphlpapi.h>

#include <string>
#include <vector>

#include "core/CollectTestSupport.h"
#include "snapshot/CollectPortsWin32.h"
#include "snapshot/CollectProcessesWin32.h"
#include "snapshot/CollectServicesWin32.h"

namespace {

std::string OwnPath() {
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    std::u16string wide(reinterpret_cast<const char16_t*>(path));
    return WideToUtf8(wide);
}

XmlNode* ProcessElement(XmlNode* section, DWORD id) {
    const std::string text = std::to_string(id);
    for (XmlNode* p = XmlFirstChild(section); p; p = XmlNextSibling(p))
        if (text == XmlGetAttribute(p, "id")) return p;
    return nullptr;
}

// What asking every service about every process, one by one, gives.
std::string ServicesOfProcessOneByOne(SC_HANDLE manager, DWORD processId) {
    DWORD count = 0;
    ENUM_SERVICE_STATUSW* list = ReadServiceList(manager, SERVICE_WIN32, &count);
    std::string text;
    for (DWORD i = 0; list && i < count; ++i) {
        SC_HANDLE service = OpenServiceW(manager, list[i].lpServiceName, SERVICE_QUERY_STATUS);
        if (!service) continue;
        SERVICE_STATUS_PROCESS status = {};
        DWORD needed = 0;
        if (QueryServiceStatusEx(service, SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status), sizeof status,
                                 &needed) &&
            status.dwProcessId == processId) {
            if (!text.empty()) text += ", ";
            text += WideToUtf8(std::u16string(reinterpret_cast<const char16_t*>(list[i].lpServiceName)));
        }
        CloseServiceHandle(service);
    }
    if (list) GlobalFree(list);
    return text;
}

}  // namespace

TEST(ProcessCollector, OurOwnProcessAppearsWithItsPathModulesAndThreads) {
    Doc d;
    CollectProcesses(d.root, 0);
    XmlNode* section = XmlFirstChild(d.root);
    ASSERT_NE(section, nullptr);
    EXPECT_STREQ(XmlName(section), "process_info");
    XmlNode* self = ProcessElement(section, GetCurrentProcessId());
    ASSERT_NE(self, nullptr);
    ASSERT_NE(XmlGetAttribute(self, "full_path"), nullptr);
    EXPECT_TRUE(lstrcmpiA(XmlGetAttribute(self, "full_path"), OwnPath().c_str()) == 0)
        << XmlGetAttribute(self, "full_path") << " vs " << OwnPath();
    EXPECT_NE(XmlGetAttribute(self, "command_line"), nullptr);
    const std::string memory = XmlGetAttribute(self, "memory_usage");
    EXPECT_EQ(memory.substr(memory.size() - 3), " KB");
    EXPECT_GT(std::stoull(memory), 0u);
    EXPECT_GE(std::stoul(XmlGetAttribute(self, "threadnum")), 1u);
    EXPECT_STREQ(XmlGetAttribute(self, "service_name"), "");
    bool ntdll = false;
    for (XmlNode* dll = XmlFirstChild(self); dll; dll = XmlNextSibling(dll)) {
        EXPECT_STREQ(XmlName(dll), "dll");
        EXPECT_FALSE(lstrcmpiA(XmlText(dll), OwnPath().c_str()) == 0) << "the program itself is no module here";
        const std::string path = XmlText(dll);
        if (path.size() >= 9 && lstrcmpiA(path.substr(path.size() - 9).c_str(), "ntdll.dll") == 0) ntdll = true;
    }
    EXPECT_TRUE(ntdll);
}

TEST(ProcessCollector, HostedServicesMatchAskingEveryServiceForEveryProcess) {
    SC_HANDLE manager = OpenSCManagerW(nullptr, L"ServicesActive", SC_MANAGER_ALL_ACCESS);
    ASSERT_NE(manager, nullptr);
    Doc d;
    CWin32ProcessSource source(manager);
    ASSERT_TRUE(BuildProcessInfo(d.root, source));
    DWORD services = 0;
    ENUM_SERVICE_STATUSW* list = ReadServiceList(manager, SERVICE_WIN32, &services);
    ASSERT_NE(list, nullptr);
    GlobalFree(list);
    size_t processes = 0, fixed = 0, hosting = 0;
    for (XmlNode* p = XmlFirstChild(XmlFirstChild(d.root)); p; p = XmlNextSibling(p)) {
        ++processes;
        const DWORD id = std::stoul(XmlGetAttribute(p, "id"));
        if (id == 0 || id == 4 || id == 8) {
            ++fixed;
            EXPECT_EQ(XmlGetAttribute(p, "service_name"), nullptr);
            EXPECT_EQ(XmlFirstChild(p), nullptr);
            continue;
        }
        ASSERT_NE(XmlGetAttribute(p, "service_name"), nullptr);
        const std::string expected = ServicesOfProcessOneByOne(manager, id);
        EXPECT_EQ(XmlGetAttribute(p, "service_name"), expected) << id;
        if (!expected.empty()) ++hosting;
    }
    // One handle a service and one a process for the whole walk.
    EXPECT_EQ(source.serviceHandleOpens, services);
    EXPECT_EQ(source.processHandleOpens, processes - fixed);
    RecordProperty("processes", static_cast<int>(processes));
    RecordProperty("services", static_cast<int>(services));
    RecordProperty("processes_hosting_services", static_cast<int>(hosting));
    CloseServiceHandle(manager);
}

TEST(ProcessCollector, ThreadCountFollowsOurThreads) {
    const uint32_t before = ThreadCount(GetCurrentProcessId());
    EXPECT_GE(before, 1u);
    HANDLE stop = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    HANDLE thread = CreateThread(
        nullptr, 0, [](void* event) -> DWORD { return WaitForSingleObject(static_cast<HANDLE>(event), INFINITE); },
        stop, 0, nullptr);
    ASSERT_NE(thread, nullptr);
    EXPECT_EQ(ThreadCount(GetCurrentProcessId()), before + 1);
    SetEvent(stop);
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
    CloseHandle(stop);
    EXPECT_EQ(ThreadCount(0xFFFFFFF0u), 0u);
}

TEST(ProcessCollector, ImagePathAndCommandLineOfOurselvesAndOfNobody) {
    wchar_t path[512] = {};
    ASSERT_TRUE(ImagePath(GetCurrentProcessId(), path, 512));
    std::u16string wide(reinterpret_cast<const char16_t*>(path));
    EXPECT_TRUE(lstrcmpiA(WideToUtf8(wide).c_str(), OwnPath().c_str()) == 0);
    EXPECT_FALSE(ImagePath(0xFFFFFFF0u, path, 512));
    EXPECT_EQ(path[0], L'\0');
    // Our environment block can be read; what the 32-bit offsets find in a
    // 64-bit process is no command line, so only its presence is certain.
    EXPECT_TRUE(CommandLineOf(GetCurrentProcessId()).has_value());
    EXPECT_FALSE(CommandLineOf(0xFFFFFFF0u).has_value());
}

TEST(PortCollector, TheSectionIsThereExactlyWhenBothTableFunctionsAre) {
    HMODULE library = LoadLibraryW(L"iphlpapi.dll");
    ASSERT_NE(library, nullptr);
    const bool both = GetProcAddress(library, "AllocateAndGetTcpExTableFromStack") &&
                      GetProcAddress(library, "AllocateAndGetUdpExTableFromStack");
    Doc d;
    CollectPorts(d.root, 0);
    XmlNode* section = XmlFirstChild(d.root);
    EXPECT_EQ(section != nullptr, both);
    if (section) {
        EXPECT_STREQ(XmlName(section), "port_info");
    }
    RecordProperty("port_info", both ? "present" : "absent: the IP helper lacks a table function");
    FreeLibrary(library);
}

TEST(PortCollector, OurListeningSocketIsInTheTcpTable) {
    HMODULE library = LoadLibraryW(L"iphlpapi.dll");
    ASSERT_NE(library, nullptr);
    auto get = reinterpret_cast<AllocateAndGetExTable>(
        reinterpret_cast<void (*)()>(GetProcAddress(library, "AllocateAndGetTcpExTableFromStack")));
    if (!get) {
        FreeLibrary(library);
        GTEST_SKIP() << "this system has no AllocateAndGetTcpExTableFromStack";
    }
    WSADATA wsa;
    ASSERT_EQ(WSAStartup(MAKEWORD(2, 2), &wsa), 0);
    SOCKET listener = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    ASSERT_NE(listener, INVALID_SOCKET);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(listen(listener, 1), 0);
    int length = sizeof address;
    getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length);
    const uint16_t port = ntohs(address.sin_port);
    std::optional<std::vector<TcpEndpoint>> rows = ReadTcpEndpoints(get);
    // The owner the system names through its current interface, to compare:
    // Wine names none (0) through either, Windows our own id through both.
    DWORD owner = 0xFFFFFFFFu;
    std::vector<uint8_t> table(1 << 16);
    ULONG size = static_cast<ULONG>(table.size());
    if (GetExtendedTcpTable(table.data(), &size, FALSE, AF_INET, TCP_TABLE_OWNER_PID_ALL, 0) == NO_ERROR) {
        const auto* current = reinterpret_cast<const MIB_TCPTABLE_OWNER_PID*>(table.data());
        for (DWORD i = 0; i < current->dwNumEntries; ++i)
            if (ntohs(static_cast<u_short>(current->table[i].dwLocalPort)) == port) owner = current->table[i].dwOwningPid;
    }
    closesocket(listener);
    WSACleanup();
    FreeLibrary(library);
    ASSERT_TRUE(rows.has_value());
    bool found = false;
    for (const TcpEndpoint& row : *rows) {
        if (row.localPort != port) continue;
        found = true;
        EXPECT_EQ(row.localAddress[0], 127);
        EXPECT_EQ(row.localAddress[3], 1);
        EXPECT_EQ(row.state, 2u);  // listening
        EXPECT_STREQ(TcpStateName(row.state), "LISTENING");
        EXPECT_EQ(row.processId, owner);
    }
    EXPECT_TRUE(found) << "port " << port << " among " << rows->size() << " rows";
}
