// Hostile answers for the processes and ports sections: the input is both an
// extended TCP or UDP table (rows after a count that may lie) and the memory
// of a process whose environment block and parameters point anywhere. The
// rows must never outnumber what the bytes hold, every row must turn into a
// well-formed element, and the command line must stay inside its buffer.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "snapshot/CollectPorts.h"
#include "snapshot/ProcessCommandLine.h"
#include "snapshot/XmlDocument.h"

namespace {

// The input is the address space: an address reads the input from
// (address mod size) on, and a read that runs past the end fails.
class CInputMemory final : public CProcessMemory {
public:
    CInputMemory(const uint8_t* bytes, size_t size) : bytes(bytes), size(size) {}
    bool Read(uint64_t address, void* out, size_t length) override {
        if (size == 0 || length > 1 << 17) std::abort();  // at most twice the longest length
        const size_t at = static_cast<size_t>(address % size);
        if (length > size - at) return false;
        std::memcpy(out, bytes + at, length);
        return true;
    }

private:
    const uint8_t* bytes;
    size_t size;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const ByteReader table(data + 1, size - 1);
    const auto tcp = ParseTcpExTable(table);
    const auto udp = ParseUdpExTable(table);
    if (tcp.size() * kTcpExRowBytes > table.Size() || udp.size() * kUdpExRowBytes > table.Size()) std::abort();
    XmlDocument document;
    XmlInitDocument(&document);
    XmlNode* root = XmlAppendChild(XmlTopLevel(&document), XmlCreateElement(&document, "crashrpt"));
    BuildPortInfo(root, tcp, udp, [](uint32_t id) -> std::optional<std::u16string> {
        if (id % 3 == 0) return std::nullopt;
        return std::u16string(id % 300, static_cast<char16_t>(id));
    });
    const std::string xml = XmlSaveToString(&document, nullptr);
    if (xml.find("</port_info>") == std::string::npos && !(tcp.empty() && udp.empty())) std::abort();
    XmlDestroyDocument(&document);

    CInputMemory memory(data, size);
    const uint64_t block = data[0] * 0x01010101ull;
    const std::optional<std::u16string> line = ReadCommandLine(memory, block, data[0] & 1 ? 8 : 4);
    if (line && line->size() > 0xFFFF) std::abort();
    return 0;
}
