#include "snapshot/CollectNetworkWin32.h"

#include <string>

#include "snapshot/SnapshotWin32.h"

namespace {

// A string of a fixed-size field, which the platform need not terminate.
std::string Field(const char* text, size_t size) {
    size_t n = 0;
    while (n < size && text[n]) ++n;
    return std::string(text, n);
}

// The platform links address lists in its own buffer; a cycle would be a
// broken answer, and no adapter carries this many addresses.
constexpr int kMaxAddresses = 4096;

std::vector<std::string> Addresses(const IP_ADDR_STRING& first) {
    std::vector<std::string> out;
    int n = 0;
    for (const IP_ADDR_STRING* entry = &first; entry && n < kMaxAddresses; entry = entry->Next, ++n)
        out.push_back(Field(entry->IpAddress.String, sizeof entry->IpAddress.String));
    return out;
}

}  // namespace

AdapterAnswer ReadAdapter(const IP_ADAPTER_INFO& adapter) {
    AdapterAnswer answer;
    AnsiToUtf8(answer.name, Field(adapter.AdapterName, sizeof adapter.AdapterName).c_str(), 0);
    AnsiToUtf8(answer.description, Field(adapter.Description, sizeof adapter.Description).c_str(), 0);
    answer.addressLength = adapter.AddressLength;
    for (size_t i = 0; i < sizeof answer.address && i < sizeof adapter.Address; ++i)
        answer.address[i] = adapter.Address[i];
    answer.addresses = Addresses(adapter.IpAddressList);
    answer.gateways = Addresses(adapter.GatewayList);
    MIB_IFROW row = {};
    row.dwIndex = adapter.Index;
    if (GetIfEntry(&row) == NO_ERROR) {
        answer.interfaceRead = true;
        answer.operStatus = row.dwOperStatus;
    }
    return answer;
}

std::vector<AdapterAnswer> ReadAdapterAnswers() {
    std::vector<AdapterAnswer> adapters;
    ULONG size = 0;
    if (GetAdaptersInfo(nullptr, &size) != ERROR_BUFFER_OVERFLOW || size == 0) return adapters;
    auto* list = static_cast<IP_ADAPTER_INFO*>(GlobalAlloc(GPTR, size));
    if (!list) return adapters;
    if (GetAdaptersInfo(list, &size) == NO_ERROR) {
        int n = 0;
        for (const IP_ADAPTER_INFO* adapter = list; adapter && n < kMaxAddresses; adapter = adapter->Next, ++n)
            adapters.push_back(ReadAdapter(*adapter));
    }
    GlobalFree(list);
    return adapters;
}

void CollectNetwork(XmlNode* root, int) { BuildNetcardInfo(root, ReadAdapterAnswers()); }
