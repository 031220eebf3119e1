#include "snapshot/CollectServices.h"

namespace {

const char* const kStartTypes[] = {"BOOT_START", "SYSTEM_START", "AUTO_START", "DEMAND_START", "DISABLED"};
const char* const kStates[] = {"N/A",     "STOPPED",          "START_PENDING", "STOP_PENDING",
                               "RUNNING", "CONTINUE_PENDING", "PAUSE_PENDING", "PAUSED"};

}  // namespace

const char* ServiceStartTypeName(uint32_t startType) { return startType < 5 ? kStartTypes[startType] : "N/A"; }

const char* ServiceStateName(uint32_t state) { return state < 8 ? kStates[state] : "N/A"; }

bool BuildServiceInfo(XmlNode* root, bool drivers, const std::optional<std::vector<ServiceAnswer>>& services) {
    XmlDocument* document = XmlOwner(root);
    XmlNode* section = XmlCreateElement(document, drivers ? "driver_info" : "service_info");
    if (!section) return false;
    if (services) {
        for (const ServiceAnswer& service : *services) {
            XmlNode* item = XmlCreateElement(document, "item");
            if (!item) continue;
            XmlSetAttribute(item, "displayname", WideToUtf8(service.displayName).c_str());
            XmlSetAttribute(item, "start_status", ServiceStateName(service.currentState));
            if (service.configRead) {
                XmlSetAttribute(item, "command_line", WideToUtf8(service.binaryPath).c_str());
                if (!drivers) XmlSetAttribute(item, "account", WideToUtf8(service.startName).c_str());
                XmlSetAttribute(item, "start_type", ServiceStartTypeName(service.startType));
                if (service.description) XmlSetAttribute(item, "description", WideToUtf8(*service.description).c_str());
            }
            XmlSetText(item, WideToUtf8(service.name).c_str());
            XmlAppendChild(section, item);
        }
    }
    XmlAppendChild(root, section);
    return true;
}
