#pragma once
// The open TCP and UDP endpoints with the process that owns each, from the
// extended tables of the IP helper.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "common/ByteReader.h"
#include "snapshot/XmlDocument.h"

// One row of each table: a count, then rows of these many bytes.
constexpr size_t kTcpExRowBytes = 24;  // state, local address, local port, remote address, remote port, process
constexpr size_t kUdpExRowBytes = 12;  // local address, local port, process

struct TcpEndpoint {
    uint32_t state = 0;
    uint8_t localAddress[4] = {};  // in memory order, as the table holds it
    uint16_t localPort = 0;        // already turned from network order
    uint8_t remoteAddress[4] = {};
    uint16_t remotePort = 0;
    uint32_t processId = 0;
};

struct UdpEndpoint {
    uint8_t localAddress[4] = {};
    uint16_t localPort = 0;
    uint32_t processId = 0;
};

// The rows of a table; a count larger than the held bytes allow yields only
// the rows that are wholly held.
std::vector<TcpEndpoint> ParseTcpExTable(const ByteReader& table);
std::vector<UdpEndpoint> ParseUdpExTable(const ByteReader& table);

// The names of the TCP states 0 to 12, spelled as they always were here
// ("SEN_RECEIVED", "FIN_WAIT"); null from 13 on.
const char* TcpStateName(uint32_t state);

// The image path of a process, when it can be found.
using ProcessLocator = std::function<std::optional<std::u16string>(uint32_t processId)>;

// `port_info`: a `port` per TCP row, then a `network` per UDP row; a table
// that could not be read adds nothing. Always appended.
bool BuildPortInfo(XmlNode* root, const std::optional<std::vector<TcpEndpoint>>& tcp,
                   const std::optional<std::vector<UdpEndpoint>>& udp, const ProcessLocator& locate);
