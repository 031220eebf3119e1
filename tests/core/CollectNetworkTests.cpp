// The network adapters section from recorded adapter lists.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "snapshot/CollectNetwork.h"
#include "CollectTestSupport.h"
#include "snapshot/XmlDocument.h"

namespace {

AdapterAnswer Adapter(const char* name, std::vector<uint8_t> mac) {
    AdapterAnswer a;
    a.name = name;
    a.description = "Realtek PCIe GBE Family Controller";
    a.addressLength = static_cast<uint32_t>(mac.size());
    for (size_t i = 0; i < mac.size() && i < 8; ++i) a.address[i] = mac[i];
    a.addresses = {"0.0.0.0"};
    a.gateways = {"0.0.0.0"};
    return a;
}

}  // namespace

TEST(NetcardSection, TwoAddressesComeBeforeTheGatewayAndStatusIsNamed) {
    Doc d;
    AdapterAnswer a = Adapter("{8E3A5B1C}", {0x00, 0x1A, 0x2B, 0x3C, 0x4D, 0x5E});
    a.addresses = {"192.168.1.20", "10.0.0.7"};
    a.gateways = {"192.168.1.1"};
    a.interfaceRead = true;
    a.operStatus = 5;
    EXPECT_TRUE(BuildNetcardInfo(d.root, {a}));
    EXPECT_EQ(d.Xml(), "<crashrpt>\n\t<netcard_info>\n"
                       "\t\t<netcard name=\"{8E3A5B1C}\" description=\"Realtek PCIe GBE Family Controller\" "
                       "mac_address=\"00-1A-2B-3C-4D-5E\" status=\"Operational\">\n"
                       "\t\t\t<ip>192.168.1.20</ip>\n"
                       "\t\t\t<ip>10.0.0.7</ip>\n"
                       "\t\t\t<gateway>192.168.1.1</gateway>\n"
                       "\t\t</netcard>\n"
                       "\t</netcard_info>\n</crashrpt>\n");
}

TEST(NetcardSection, StatusNamesAndUnknownStatesLeaveStatusOut) {
    const char* names[] = {"Non_operational", "Unreachable", "Disconnected", "Connecting", "Connected", "Operational"};
    for (uint32_t s = 0; s < 6; ++s) EXPECT_STREQ(AdapterStatusName(s), names[s]);
    EXPECT_EQ(AdapterStatusName(6), nullptr);
    Doc d;
    AdapterAnswer unknown = Adapter("a", {1});
    unknown.interfaceRead = true;
    unknown.operStatus = 6;
    AdapterAnswer unread = Adapter("b", {2});
    unread.operStatus = 4;  // no row was read: the number means nothing
    BuildNetcardInfo(d.root, {unknown, unread});
    XmlNode* first = XmlFirstChild(XmlFirstChild(d.root));
    EXPECT_EQ(XmlGetAttribute(first, "status"), nullptr);
    EXPECT_EQ(XmlGetAttribute(XmlNextSibling(first), "status"), nullptr);
    EXPECT_STREQ(XmlGetAttribute(XmlNextSibling(first), "mac_address"), "02");
}

TEST(NetcardSection, AdapterWithoutAddressRepeatsThePreviousMac) {
    Doc d;
    AdapterAnswer first = Adapter("first", {0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF});
    AdapterAnswer loopback = Adapter("loopback", {});
    AdapterAnswer shorter = Adapter("short", {0x01, 0x02});
    BuildNetcardInfo(d.root, {first, loopback, shorter});
    XmlNode* card = XmlFirstChild(XmlFirstChild(d.root));
    EXPECT_STREQ(XmlGetAttribute(card, "mac_address"), "AA-BB-CC-DD-EE-FF");
    card = XmlNextSibling(card);
    EXPECT_STREQ(XmlGetAttribute(card, "mac_address"), "AA-BB-CC-DD-EE-FF");
    // The formatter ends the text after the last byte it writes.
    card = XmlNextSibling(card);
    EXPECT_STREQ(XmlGetAttribute(card, "mac_address"), "01-02");
}

TEST(NetcardSection, FirstAdapterWithoutAddressHasAnEmptyMac) {
    Doc d;
    BuildNetcardInfo(d.root, {Adapter("lo", {})});
    EXPECT_EQ(d.Xml(), "<crashrpt>\n\t<netcard_info>\n"
                       "\t\t<netcard name=\"lo\" description=\"Realtek PCIe GBE Family Controller\" mac_address=\"\">\n"
                       "\t\t\t<ip>0.0.0.0</ip>\n"
                       "\t\t\t<gateway>0.0.0.0</gateway>\n"
                       "\t\t</netcard>\n"
                       "\t</netcard_info>\n</crashrpt>\n");
}

TEST(NetcardSection, ClaimedAddressLengthBeyondTheFieldStopsAtEightBytes) {
    Doc d;
    AdapterAnswer a = Adapter("x", {1, 2, 3, 4, 5, 6, 7, 8});
    a.addressLength = 0xFFFFFFFFu;
    BuildNetcardInfo(d.root, {a});
    EXPECT_STREQ(XmlGetAttribute(XmlFirstChild(XmlFirstChild(d.root)), "mac_address"), "01-02-03-04-05-06-07-08");
}

TEST(NetcardSection, NoAdaptersStillWritesTheSection) {
    Doc d;
    EXPECT_TRUE(BuildNetcardInfo(d.root, {}));
    EXPECT_EQ(d.Xml(), "<crashrpt>\n\t<netcard_info></netcard_info>\n</crashrpt>\n");
}
