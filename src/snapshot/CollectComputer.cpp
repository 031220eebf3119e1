#include "snapshot/CollectComputer.h"

#include <cstdio>
#include <cstring>

namespace {

void SetIfRead(XmlNode* node, const char* name, const std::optional<std::u16string>& value) {
    if (value) XmlSetAttribute(node, name, WideToUtf8(*value).c_str());
}

XmlNode* Append(XmlNode* parent, const char* name) {
    XmlNode* node = XmlCreateElement(XmlOwner(parent), name);
    return node ? XmlAppendChild(parent, node) : nullptr;
}

// A walk that keeps going past errors still ends: no real uninstall key has
// this many entries.
constexpr uint32_t kMaxSoftwareIndex = 1u << 20;
constexpr long kNoMoreItems = 259;

}  // namespace

bool BuildSystemInfo(XmlNode* root, const SystemAnswers& answers) {
    XmlDocument* document = XmlOwner(root);
    XmlNode* section = XmlCreateElement(document, "system_info");
    XmlNode* os = XmlCreateElement(document, "os");
    if (!section || !os) return false;
    SetIfRead(os, "model", answers.model);
    SetIfRead(os, "version", answers.version);
    SetIfRead(os, "service_pack", answers.servicePack);
    XmlSetAttributeInt(os, "language", answers.language);
    SetIfRead(os, "domain_name", answers.domainName);
    SetIfRead(os, "ie_version", answers.ieVersion);
    XmlAppendChild(section, os);
    XmlAppendChild(root, section);
    return true;
}

int32_t LeadingDecimal(const std::u16string& text) {
    size_t i = 0;
    while (i < text.size() && (text[i] == u' ' || (text[i] >= u'\t' && text[i] <= u'\r'))) ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == u'+' || text[i] == u'-')) negative = text[i++] == u'-';
    int64_t value = 0;
    for (; i < text.size() && text[i] >= u'0' && text[i] <= u'9'; ++i) {
        value = value * 10 + (text[i] - u'0');
        if (value > INT32_MAX) value = INT32_MAX;  // a silly count stays a count
    }
    return static_cast<int32_t>(negative ? -value : value);
}

std::string FormatMegabytes(uint64_t bytes) {
    double megabytes = static_cast<double>(bytes);
    megabytes *= 1.0 / 1024;
    megabytes *= 1.0 / 1024;
    const float held = static_cast<float>(megabytes);
    char text[128];
    std::snprintf(text, sizeof text, "%0.1f MB", static_cast<double>(held));
    return text;
}

std::string FormatGigabytes(uint64_t bytes) {
    float gigabytes = static_cast<float>(bytes);
    const float step = 1.0f / 1024;
    gigabytes *= step;
    gigabytes *= step;
    gigabytes *= step;
    char text[256];
    std::snprintf(text, sizeof text, "%0.2f GB", static_cast<double>(gigabytes));
    return text;
}

bool BuildHardwareInfo(XmlNode* root, const HardwareAnswers& answers) {
    XmlDocument* document = XmlOwner(root);
    XmlNode* section = XmlCreateElement(document, "hardware_info");
    XmlNode* cpu = XmlCreateElement(document, "cpu");
    if (!section || !cpu) return false;
    if (answers.processorKeyOpened) XmlSetText(cpu, WideToUtf8(answers.processorName).c_str());
    if (answers.processorCount) XmlSetAttributeInt(cpu, "number", LeadingDecimal(*answers.processorCount));
    XmlAppendChild(section, cpu);
    XmlNode* memory = Append(section, "memory");
    if (memory) {
        XmlSetAttribute(memory, "size", FormatMegabytes(answers.totalPhysical).c_str());
        XmlSetAttribute(memory, "available", FormatMegabytes(answers.availablePhysical).c_str());
    }
    XmlAppendChild(root, section);
    return true;
}

bool BuildDiskInfo(XmlNode* root, const std::vector<DiskAnswer>& drives) {
    XmlNode* section = XmlCreateElement(XmlOwner(root), "disk_info");
    if (!section) return false;
    for (const DiskAnswer& drive : drives) {
        // Removable, network, optical and unknown drives are not disks here.
        if (drive.driveType != kDriveFixed && drive.driveType != kDriveRamDisk) continue;
        XmlNode* partition = XmlCreateElement(XmlOwner(root), "partition");
        if (!partition) continue;
        XmlSetAttribute(partition, "name", WideToUtf8(drive.label).c_str());
        XmlSetAttribute(partition, "filesystem", WideToUtf8(drive.fileSystem).c_str());
        if (drive.spaceKnown) {
            XmlSetAttribute(partition, "size", FormatGigabytes(drive.totalBytes).c_str());
            XmlSetAttribute(partition, "available", FormatGigabytes(drive.freeBytes).c_str());
        }
        XmlSetText(partition, WideToUtf8(drive.root).c_str());
        XmlAppendChild(section, partition);
    }
    XmlAppendChild(root, section);
    return true;
}

bool BuildSoftwareInfo(XmlNode* root, SoftwareRegistry& registry) {
    XmlDocument* document = XmlOwner(root);
    XmlNode* section = XmlCreateElement(document, "software_info");
    if (!section) return false;
    // One count for every query of every entry, set once.
    uint32_t carried = kSoftwareValueBytes;
    const char16_t* const names[] = {u"DisplayName", u"DisplayVersion", u"InstallLocation"};
    const char* const attributes[] = {"description", "version", "location"};
    for (uint32_t index = 0; index < kMaxSoftwareIndex; ++index) {
        char16_t key[513] = {};
        const long status = registry.EnumEntry(index, key, 512);
        if (status == kNoMoreItems) break;
        if (status != 0) continue;
        key[512] = 0;
        if (!registry.OpenEntry(key)) continue;
        XmlNode* software = XmlCreateElement(document, "software");
        for (int i = 0; i < 3; ++i) {
            // One spare character keeps a value without its NUL terminated.
            char16_t value[kSoftwareValueBytes / 2 + 1] = {};
            if (carried > kSoftwareValueBytes) carried = kSoftwareValueBytes;
            uint32_t asked = carried;
            const long result = registry.QueryValue(names[i], value, &carried);
            std::u16string text;
            if (result == 0) text = UpToNul(value, (carried < asked ? carried : asked) / 2);
            if (software) XmlSetAttribute(software, attributes[i], WideToUtf8(text).c_str());
        }
        if (software) {
            XmlSetText(software, WideToUtf8(UpToNul(key, 512)).c_str());
            XmlAppendChild(section, software);
        }
        registry.CloseEntry();
    }
    XmlAppendChild(root, section);
    return true;
}
