#include "snapshot/CollectPorts.h"

#include <cstdio>

#include "snapshot/CollectProcesses.h"

namespace {

const char* const kTcpStates[] = {"???",          "CLOSED",     "LISTENING", "SYN_SENT", "SEN_RECEIVED",
                                  "ESTABLISHED",  "FIN_WAIT",   "FIN_WAIT2", "CLOSE_WAIT", "CLOSING",
                                  "LAST_ACK",     "TIME_WAIT",  "DELETE_TCB"};

void Address(const ByteReader& bytes, size_t offset, uint8_t (&out)[4]) {
    for (size_t i = 0; i < 4; ++i) out[i] = bytes.U8(offset + i);
}

size_t RowsHeld(const ByteReader& table, size_t rowBytes) {
    const size_t count = table.LE32(0);
    const size_t room = table.Size() > 4 ? (table.Size() - 4) / rowBytes : 0;
    return count < room ? count : room;
}

void SetAddress(XmlNode* node, const char* name, const uint8_t (&address)[4]) {
    char text[16];
    std::snprintf(text, sizeof text, "%d.%d.%d.%d", address[0], address[1], address[2], address[3]);
    XmlSetAttribute(node, name, text);
}

void SetProcess(XmlNode* node, uint32_t processId, const ProcessLocator& locate) {
    XmlSetAttribute(node, "processid", std::to_string(processId).c_str());
    if (const char* fixed = FixedProcessName(processId)) {
        XmlSetAttribute(node, "location", fixed);
    } else if (std::optional<std::u16string> path = locate ? locate(processId) : std::nullopt) {
        XmlSetAttribute(node, "location", WideToUtf8(*path).c_str());
    }
}

XmlNode* TcpElement(XmlDocument* document, const TcpEndpoint& row, const ProcessLocator& locate) {
    XmlNode* port = XmlCreateElement(document, "port");
    if (!port) return nullptr;
    SetAddress(port, "localip", row.localAddress);
    XmlSetAttribute(port, "localport", std::to_string(row.localPort).c_str());
    SetAddress(port, "remoteip", row.remoteAddress);
    const bool remoteZero = !row.remoteAddress[0] && !row.remoteAddress[1] && !row.remoteAddress[2] && !row.remoteAddress[3];
    XmlSetAttribute(port, "remoteport", remoteZero ? "0" : std::to_string(row.remotePort).c_str());
    SetProcess(port, row.processId, locate);
    XmlSetAttribute(port, "protocal", "TCP");
    if (const char* state = TcpStateName(row.state)) XmlSetAttribute(port, "status", state);
    return port;
}

XmlNode* UdpElement(XmlDocument* document, const UdpEndpoint& row, const ProcessLocator& locate) {
    // Named `network`, not `port`: the page's table lists only the TCP rows.
    XmlNode* network = XmlCreateElement(document, "network");
    if (!network) return nullptr;
    SetAddress(network, "localip", row.localAddress);
    XmlSetAttribute(network, "localport", std::to_string(row.localPort).c_str());
    SetProcess(network, row.processId, locate);
    XmlSetAttribute(network, "protocal", "UDP");
    return network;
}

}  // namespace

std::vector<TcpEndpoint> ParseTcpExTable(const ByteReader& table) {
    std::vector<TcpEndpoint> rows(RowsHeld(table, kTcpExRowBytes));
    for (size_t i = 0; i < rows.size(); ++i) {
        const size_t at = 4 + i * kTcpExRowBytes;
        rows[i].state = table.LE32(at);
        Address(table, at + 4, rows[i].localAddress);
        rows[i].localPort = table.BE16(at + 8);
        Address(table, at + 12, rows[i].remoteAddress);
        rows[i].remotePort = table.BE16(at + 16);
        rows[i].processId = table.LE32(at + 20);
    }
    return rows;
}

std::vector<UdpEndpoint> ParseUdpExTable(const ByteReader& table) {
    std::vector<UdpEndpoint> rows(RowsHeld(table, kUdpExRowBytes));
    for (size_t i = 0; i < rows.size(); ++i) {
        const size_t at = 4 + i * kUdpExRowBytes;
        Address(table, at, rows[i].localAddress);
        rows[i].localPort = table.BE16(at + 4);
        rows[i].processId = table.LE32(at + 8);
    }
    return rows;
}

const char* TcpStateName(uint32_t state) { return state < 13 ? kTcpStates[state] : nullptr; }

bool BuildPortInfo(XmlNode* root, const std::optional<std::vector<TcpEndpoint>>& tcp,
                   const std::optional<std::vector<UdpEndpoint>>& udp, const ProcessLocator& locate) {
    XmlDocument* document = XmlOwner(root);
    XmlNode* section = XmlCreateElement(document, "port_info");
    if (!section) return false;
    if (tcp)
        for (const TcpEndpoint& row : *tcp)
            if (XmlNode* port = TcpElement(document, row, locate)) XmlAppendChild(section, port);
    if (udp)
        for (const UdpEndpoint& row : *udp)
            if (XmlNode* network = UdpElement(document, row, locate)) XmlAppendChild(section, network);
    XmlAppendChild(root, section);
    return true;
}
