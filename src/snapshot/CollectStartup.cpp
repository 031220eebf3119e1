#include "snapshot/CollectStartup.h"

#include <cstdio>

namespace {

char16_t Lower(char16_t c) { return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c - u'A' + u'a') : c; }

bool SameIgnoringCase(const std::u16string& a, const char16_t* b) {
    size_t i = 0;
    for (; i < a.size() && b[i]; ++i)
        if (Lower(a[i]) != Lower(b[i])) return false;
    return i == a.size() && !b[i];
}

}  // namespace

bool BuildStartupInfo(XmlNode* root, const std::vector<StartupSource>& sources) {
    XmlDocument* document = XmlOwner(root);
    XmlNode* section = XmlCreateElement(document, "startup_info");
    if (!section) return false;
    for (const StartupSource& source : sources) {
        XmlNode* startup = XmlCreateElement(document, "startup");
        if (!startup) continue;
        XmlSetAttribute(startup, "name", WideToUtf8(source.name).c_str());
        for (const StartupCommand& command : source.commands) {
            XmlNode* node = XmlCreateElement(document, "command");
            if (!node) continue;
            if (command.path) XmlSetAttribute(node, "path", WideToUtf8(*command.path).c_str());
            XmlSetText(node, WideToUtf8(command.text).c_str());
            XmlAppendChild(startup, node);
        }
        XmlAppendChild(section, startup);
    }
    XmlAppendChild(root, section);
    return true;
}

StartupEntry ClassifyStartupEntry(const std::u16string& fileName) {
    if (fileName == u"." || fileName == u"..") return StartupEntry::Skip;
    const size_t dot = fileName.rfind(u'.');
    if (dot == std::u16string::npos) return StartupEntry::Plain;
    const std::u16string extension = fileName.substr(dot);
    if (SameIgnoringCase(extension, u".ini")) return StartupEntry::Skip;
    if (SameIgnoringCase(extension, u".lnk")) return StartupEntry::Shortcut;
    return StartupEntry::Plain;
}

std::string FormatFileSize(uint64_t bytes) {
    // Printed as 32-bit numbers, as the size has always been shown.
    const int32_t kilobytes = static_cast<int32_t>(static_cast<uint32_t>(bytes / 1024));
    const int32_t low = static_cast<int32_t>(static_cast<uint32_t>(bytes));
    char text[128];
    if (kilobytes != 0)
        std::snprintf(text, sizeof text, "%d KB (%d B)", kilobytes, low);
    else
        std::snprintf(text, sizeof text, "%d B", low);
    return text;
}

void ApplyFileVersion(XmlNode* element, const FileVersionAnswer& version) {
    if (!version.opened) return;
    if (version.versionRead) {
        XmlSetAttribute(element, "description", WideToUtf8(version.description).c_str());
        XmlSetAttribute(element, "published", WideToUtf8(version.company).c_str());
    }
    XmlSetAttribute(element, "size", FormatFileSize(version.size).c_str());
}

bool BuildPluginInfo(XmlNode* root, const std::vector<PluginAnswer>& plugins) {
    XmlDocument* document = XmlOwner(root);
    XmlNode* section = XmlCreateElement(document, "ieplugin_info");
    if (!section) return false;
    for (const PluginAnswer& plugin : plugins) {
        XmlNode* node = XmlCreateElement(document, "ieplugin");
        if (!node) continue;
        if (plugin.serverRead) ApplyFileVersion(node, plugin.version);
        XmlSetAttribute(node, "location", plugin.serverRead ? WideToUtf8(plugin.serverPath).c_str() : "N/A");
        XmlSetText(node, WideToUtf8(plugin.className).c_str());
        XmlAppendChild(section, node);
    }
    XmlAppendChild(root, section);
    return true;
}

bool BuildWinsockInfo(XmlNode* root, const std::vector<WinsockAnswer>& protocols) {
    XmlDocument* document = XmlOwner(root);
    XmlNode* section = XmlCreateElement(document, "winsock_info");
    if (!section) return false;
    for (const WinsockAnswer& protocol : protocols) {
        XmlNode* node = XmlCreateElement(document, "winsock");
        if (!node) continue;
        XmlSetText(node, WideToUtf8(protocol.protocolName).c_str());
        if (protocol.catalogRead) {
            XmlSetAttribute(node, "location", WideToUtf8(protocol.location).c_str());
            ApplyFileVersion(node, protocol.version);
        }
        XmlAppendChild(section, node);
    }
    XmlAppendChild(root, section);
    return true;
}
