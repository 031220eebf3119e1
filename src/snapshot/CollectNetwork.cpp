#include "snapshot/CollectNetwork.h"

#include <cstdio>

namespace {

const char* const kStatusNames[] = {"Non_operational", "Unreachable", "Disconnected",
                                    "Connecting",      "Connected",   "Operational"};

void AppendText(XmlNode* parent, const char* name, const std::string& text) {
    XmlNode* node = XmlCreateElement(XmlOwner(parent), name);
    if (!node) return;
    XmlSetText(node, text.c_str());
    XmlAppendChild(parent, node);
}

}  // namespace

const char* AdapterStatusName(uint32_t status) { return status < 6 ? kStatusNames[status] : nullptr; }

bool BuildNetcardInfo(XmlNode* root, const std::vector<AdapterAnswer>& adapters) {
    XmlNode* section = XmlCreateElement(XmlOwner(root), "netcard_info");
    if (!section) return false;
    char mac[128] = {};  // once per run, on purpose
    for (const AdapterAnswer& adapter : adapters) {
        XmlNode* card = XmlCreateElement(XmlOwner(root), "netcard");
        if (!card) continue;
        XmlSetAttribute(card, "name", adapter.name.c_str());
        XmlSetAttribute(card, "description", adapter.description.c_str());
        // The address field holds eight bytes whatever length is claimed.
        const uint32_t length = adapter.addressLength < 8 ? adapter.addressLength : 8;
        for (uint32_t i = 0; i < length; ++i) {
            mac[3 * i] = '-';
            std::snprintf(mac + 3 * i + 1, sizeof mac - (3 * i + 1), "%02X", adapter.address[i]);
        }
        XmlSetAttribute(card, "mac_address", mac + 1);
        for (const std::string& ip : adapter.addresses) AppendText(card, "ip", ip);
        for (const std::string& gateway : adapter.gateways) AppendText(card, "gateway", gateway);
        if (adapter.interfaceRead && AdapterStatusName(adapter.operStatus))
            XmlSetAttribute(card, "status", AdapterStatusName(adapter.operStatus));
        XmlAppendChild(section, card);
    }
    XmlAppendChild(root, section);
    return true;
}
