#include "snapshot/CollectPortsWin32.h"

#include "snapshot/CollectProcessesWin32.h"
#include "snapshot/WideTextWin32.h"

namespace {

constexpr DWORD kInternet = 2;  // AF_INET
constexpr DWORD kLocationChars = 512;

// The table's bytes as the heap holds them, so that no row is read past it.
ByteReader HeapBytes(HANDLE heap, const void* table) {
    const SIZE_T size = HeapSize(heap, 0, table);
    return ByteReader(table, size == static_cast<SIZE_T>(-1) ? 0 : size);
}

template <typename Row>
std::optional<std::vector<Row>> ReadTable(AllocateAndGetExTable get, std::vector<Row> (*parse)(const ByteReader&)) {
    HANDLE heap = GetProcessHeap();
    void* table = nullptr;
    if (!get || get(&table, TRUE, heap, 0, kInternet) != NO_ERROR) return std::nullopt;
    if (!table) return std::vector<Row>{};
    std::vector<Row> rows = parse(HeapBytes(heap, table));
    HeapFree(heap, 0, table);
    return rows;
}

template <typename Function>
Function Export(HMODULE library, const char* name) {
    return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(GetProcAddress(library, name)));
}

}  // namespace

std::optional<std::vector<TcpEndpoint>> ReadTcpEndpoints(AllocateAndGetExTable get) {
    return ReadTable<TcpEndpoint>(get, ParseTcpExTable);
}

std::optional<std::vector<UdpEndpoint>> ReadUdpEndpoints(AllocateAndGetExTable get) {
    return ReadTable<UdpEndpoint>(get, ParseUdpExTable);
}

std::optional<std::u16string> LocateProcess(uint32_t processId) {
    wchar_t path[kLocationChars] = {};
    if (!ImagePath(processId, path, kLocationChars)) return std::nullopt;
    return UpToNul(path, kLocationChars);
}

void CollectPorts(XmlNode* root, int) {
    HMODULE library = LoadLibraryW(L"iphlpapi.dll");
    if (!library) return;
    auto tcp = Export<AllocateAndGetExTable>(library, "AllocateAndGetTcpExTableFromStack");
    auto udp = Export<AllocateAndGetExTable>(library, "AllocateAndGetUdpExTableFromStack");
    if (tcp && udp) BuildPortInfo(root, ReadTcpEndpoints(tcp), ReadUdpEndpoints(udp), LocateProcess);
    FreeLibrary(library);
}
