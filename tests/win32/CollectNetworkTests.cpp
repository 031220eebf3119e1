// The network adapters section with the real calls: one adapter record made
// by the test (fixed fields filled to the brim, a chained address list) and
// the adapter list of the machine the tests run on.

#include <gtest/gtest.h>

#include <windows.h>
#include <iphlpapi.h>

#include <cstring>
#include <string>

#include "snapshot/CollectNetworkWin32.h"

namespace {

std::string Lf(std::string text) {
    // The writer ends lines with CR LF; the expectations are written with LF.
    std::string out;
    for (char c : text)
        if (c != '\r') out += c;
    return out;
}

}  // namespace

TEST(NetcardCollector, AdapterRecordFieldsAreReadWithinTheirSize) {
    IP_ADAPTER_INFO adapter = {};
    std::memset(adapter.AdapterName, 'N', sizeof adapter.AdapterName);  // no terminator
    std::strcpy(adapter.Description, "Test Adapter");
    adapter.AddressLength = 6;
    const BYTE mac[6] = {0x00, 0x1A, 0x2B, 0x3C, 0x4D, 0x5E};
    std::memcpy(adapter.Address, mac, 6);
    IP_ADDR_STRING second = {};
    std::strcpy(second.IpAddress.String, "10.0.0.7");
    std::strcpy(adapter.IpAddressList.IpAddress.String, "192.168.1.20");
    adapter.IpAddressList.Next = &second;
    std::memset(adapter.GatewayList.IpAddress.String, '9', sizeof adapter.GatewayList.IpAddress.String);
    adapter.Index = 0x7FFFFFF0;  // no such interface: no status

    AdapterAnswer a = ReadAdapter(adapter);
    EXPECT_EQ(a.name, std::string(sizeof adapter.AdapterName, 'N'));
    EXPECT_EQ(a.description, "Test Adapter");
    EXPECT_EQ(a.addresses, (std::vector<std::string>{"192.168.1.20", "10.0.0.7"}));
    EXPECT_EQ(a.gateways, (std::vector<std::string>{std::string(16, '9')}));
    EXPECT_FALSE(a.interfaceRead);

    XmlDocument document;
    XmlInitDocument(&document);
    XmlNode* root = XmlAppendChild(XmlTopLevel(&document), XmlCreateElement(&document, "crashrpt"));
    BuildNetcardInfo(root, {a});
    EXPECT_EQ(Lf(XmlSaveToString(&document, nullptr)),
              "<crashrpt>\n\t<netcard_info>\n\t\t<netcard name=\"" + std::string(sizeof adapter.AdapterName, 'N') +
                  "\" description=\"Test Adapter\" mac_address=\"00-1A-2B-3C-4D-5E\">\n"
                  "\t\t\t<ip>192.168.1.20</ip>\n\t\t\t<ip>10.0.0.7</ip>\n\t\t\t<gateway>9999999999999999</gateway>\n"
                  "\t\t</netcard>\n\t</netcard_info>\n</crashrpt>\n");
    XmlDestroyDocument(&document);
}

TEST(NetcardCollector, RealAdapterListMatchesTheSection) {
    std::vector<AdapterAnswer> adapters = ReadAdapterAnswers();
    ULONG size = 0;
    DWORD sized = GetAdaptersInfo(nullptr, &size);
    if (sized != ERROR_BUFFER_OVERFLOW) {
        EXPECT_TRUE(adapters.empty());
    }
    XmlDocument document;
    XmlInitDocument(&document);
    XmlNode* root = XmlAppendChild(XmlTopLevel(&document), XmlCreateElement(&document, "crashrpt"));
    EXPECT_TRUE(BuildNetcardInfo(root, adapters));
    size_t cards = 0;
    for (XmlNode* card = XmlFirstChild(XmlFirstChild(root)); card; card = XmlNextSibling(card)) {
        ++cards;
        EXPECT_NE(XmlGetAttribute(card, "mac_address"), nullptr);
        ASSERT_NE(XmlFirstChild(card), nullptr);
        EXPECT_STREQ(XmlName(XmlFirstChild(card)), "ip");
    }
    EXPECT_EQ(cards, adapters.size());
    XmlDestroyDocument(&document);
}
