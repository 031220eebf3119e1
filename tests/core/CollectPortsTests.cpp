// The ports section from recorded extended TCP and UDP tables.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CollectTestSupport.h"
#include "snapshot/CollectPorts.h"

namespace {

void PutLE32(std::vector<uint8_t>& bytes, size_t at, uint32_t value) {
    for (size_t i = 0; i < 4; ++i) bytes[at + i] = static_cast<uint8_t>(value >> (8 * i));
}

// A table as the platform lays it out: a count, then rows of 32-bit fields;
// addresses and ports are given as the bytes they hold in memory.
struct TableBuilder {
    explicit TableBuilder(size_t bytesPerRow) : rowBytes(bytesPerRow), bytes(4, 0) {}
    TableBuilder& Row(std::vector<uint32_t> fields) {
        const size_t at = bytes.size();
        bytes.resize(at + rowBytes, 0);
        for (size_t i = 0; i < fields.size(); ++i) PutLE32(bytes, at + 4 * i, fields[i]);
        PutLE32(bytes, 0, static_cast<uint32_t>((bytes.size() - 4) / rowBytes));
        return *this;
    }
    size_t rowBytes;
    std::vector<uint8_t> bytes;
};

// The 32-bit field whose memory bytes are a, b, c, d.
uint32_t Bytes(uint8_t a, uint8_t b, uint8_t c = 0, uint8_t d = 0) {
    return a | (b << 8) | (c << 16) | (static_cast<uint32_t>(d) << 24);
}

std::optional<std::u16string> Locate(uint32_t id) {
    if (id == 1234) return u"C:\\Program Files\\App\\app.exe";
    return std::nullopt;
}

}  // namespace

TEST(PortSection, TcpRowsInOrderWithEveryAttribute) {
    TableBuilder tcp(kTcpExRowBytes);
    // ESTABLISHED 192.168.1.20:49733 -> 93.184.216.34:443, process 1234.
    tcp.Row({5, Bytes(192, 168, 1, 20), Bytes(0xC2, 0x45), Bytes(93, 184, 216, 34), Bytes(0x01, 0xBB), 1234});
    Doc d;
    EXPECT_TRUE(BuildPortInfo(d.root, ParseTcpExTable(ByteReader(tcp.bytes.data(), tcp.bytes.size())),
                              std::vector<UdpEndpoint>{}, Locate));
    EXPECT_EQ(d.Xml(), "<crashrpt>\n\t<port_info>\n"
                       "\t\t<port localip=\"192.168.1.20\" localport=\"49733\" remoteip=\"93.184.216.34\" "
                       "remoteport=\"443\" processid=\"1234\" location=\"C:\\Program Files\\App\\app.exe\" "
                       "protocal=\"TCP\" status=\"ESTABLISHED\"></port>\n"
                       "\t</port_info>\n</crashrpt>\n");
}

TEST(PortSection, AListeningEndpointHasRemotePortZeroAndRemoteAddressZero) {
    TableBuilder tcp(kTcpExRowBytes);
    // The remote port field of a listening row holds whatever was there.
    tcp.Row({2, Bytes(0, 0, 0, 0), Bytes(0x00, 0x87), 0, Bytes(0x40, 0x13), 4});
    Doc d;
    BuildPortInfo(d.root, ParseTcpExTable(ByteReader(tcp.bytes.data(), tcp.bytes.size())), std::nullopt, Locate);
    EXPECT_EQ(d.Xml(), "<crashrpt>\n\t<port_info>\n"
                       "\t\t<port localip=\"0.0.0.0\" localport=\"135\" remoteip=\"0.0.0.0\" remoteport=\"0\" "
                       "processid=\"4\" location=\"System\" protocal=\"TCP\" status=\"LISTENING\"></port>\n"
                       "\t</port_info>\n</crashrpt>\n");
}

TEST(PortSection, UdpEndpointsAreNetworkElementsAfterEveryPortWithoutStatusOrRemote) {
    TableBuilder tcp(kTcpExRowBytes), udp(kUdpExRowBytes);
    tcp.Row({2, Bytes(127, 0, 0, 1), Bytes(0x1F, 0x90), 0, 0, 0});
    udp.Row({Bytes(0, 0, 0, 0), Bytes(0x14, 0xE9), 1234});
    udp.Row({Bytes(10, 0, 0, 5), Bytes(0x00, 0x89), 77});
    Doc d;
    BuildPortInfo(d.root, ParseTcpExTable(ByteReader(tcp.bytes.data(), tcp.bytes.size())),
                  ParseUdpExTable(ByteReader(udp.bytes.data(), udp.bytes.size())), Locate);
    EXPECT_EQ(d.Xml(), "<crashrpt>\n\t<port_info>\n"
                       "\t\t<port localip=\"127.0.0.1\" localport=\"8080\" remoteip=\"0.0.0.0\" remoteport=\"0\" "
                       "processid=\"0\" location=\"System Idle Process\" protocal=\"TCP\" status=\"LISTENING\"></port>\n"
                       "\t\t<network localip=\"0.0.0.0\" localport=\"5353\" processid=\"1234\" "
                       "location=\"C:\\Program Files\\App\\app.exe\" protocal=\"UDP\"></network>\n"
                       "\t\t<network localip=\"10.0.0.5\" localport=\"137\" processid=\"77\" protocal=\"UDP\"></network>\n"
                       "\t</port_info>\n</crashrpt>\n");
}

TEST(PortSection, StateNamesKeepTheirOldSpellingsAndThirteenOnHasNoStatus) {
    const char* names[] = {"???",         "CLOSED",   "LISTENING", "SYN_SENT",   "SEN_RECEIVED",
                           "ESTABLISHED", "FIN_WAIT", "FIN_WAIT2", "CLOSE_WAIT", "CLOSING",
                           "LAST_ACK",    "TIME_WAIT", "DELETE_TCB"};
    for (uint32_t s = 0; s < 13; ++s) EXPECT_STREQ(TcpStateName(s), names[s]) << s;
    EXPECT_EQ(TcpStateName(13), nullptr);
    EXPECT_EQ(TcpStateName(0xFFFFFFFFu), nullptr);
    TableBuilder tcp(kTcpExRowBytes);
    tcp.Row({13, Bytes(1, 2, 3, 4), Bytes(0, 1), Bytes(5, 6, 7, 8), Bytes(0, 2), 8});
    tcp.Row({4, Bytes(1, 2, 3, 4), Bytes(0, 1), Bytes(5, 6, 7, 8), Bytes(0, 2), 8});
    Doc d;
    BuildPortInfo(d.root, ParseTcpExTable(ByteReader(tcp.bytes.data(), tcp.bytes.size())), std::nullopt, Locate);
    EXPECT_EQ(d.Xml(), "<crashrpt>\n\t<port_info>\n"
                       "\t\t<port localip=\"1.2.3.4\" localport=\"1\" remoteip=\"5.6.7.8\" remoteport=\"2\" "
                       "processid=\"8\" location=\"System\" protocal=\"TCP\"></port>\n"
                       "\t\t<port localip=\"1.2.3.4\" localport=\"1\" remoteip=\"5.6.7.8\" remoteport=\"2\" "
                       "processid=\"8\" location=\"System\" protocal=\"TCP\" status=\"SEN_RECEIVED\"></port>\n"
                       "\t</port_info>\n</crashrpt>\n");
}

TEST(PortSection, TheFixedProcessesAreNeverLookedUp) {
    TableBuilder udp(kUdpExRowBytes);
    udp.Row({0, 0, 0}).Row({0, 0, 4}).Row({0, 0, 8}).Row({0, 0, 9});
    std::vector<uint32_t> asked;
    Doc d;
    BuildPortInfo(d.root, std::nullopt, ParseUdpExTable(ByteReader(udp.bytes.data(), udp.bytes.size())),
                  [&](uint32_t id) -> std::optional<std::u16string> {
                      asked.push_back(id);
                      return std::nullopt;
                  });
    EXPECT_EQ(asked, std::vector<uint32_t>{9});
}

TEST(PortSection, NeitherTableGivesAnEmptySection) {
    Doc d;
    EXPECT_TRUE(BuildPortInfo(d.root, std::nullopt, std::nullopt, Locate));
    EXPECT_EQ(d.Xml(), "<crashrpt>\n\t<port_info></port_info>\n</crashrpt>\n");
}

TEST(PortTables, ACountBeyondTheHeldBytesYieldsOnlyTheWholeRows) {
    TableBuilder tcp(kTcpExRowBytes);
    tcp.Row({5, 1, 2, 3, 4, 5}).Row({5, 1, 2, 3, 4, 6});
    PutLE32(tcp.bytes, 0, 0xFFFFFFFFu);
    tcp.bytes.resize(tcp.bytes.size() - 1);  // the second row is cut short
    EXPECT_EQ(ParseTcpExTable(ByteReader(tcp.bytes.data(), tcp.bytes.size())).size(), 1u);
    TableBuilder udp(kUdpExRowBytes);
    udp.Row({1, 2, 3});
    PutLE32(udp.bytes, 0, 1000000);
    EXPECT_EQ(ParseUdpExTable(ByteReader(udp.bytes.data(), udp.bytes.size())).size(), 1u);
    EXPECT_TRUE(ParseTcpExTable(ByteReader()).empty());
    EXPECT_TRUE(ParseUdpExTable(ByteReader(udp.bytes.data(), 3)).empty());
    PutLE32(udp.bytes, 0, 0);
    EXPECT_TRUE(ParseUdpExTable(ByteReader(udp.bytes.data(), udp.bytes.size())).empty());
}
