#include "snapshot/CollectProcesses.h"

namespace {

void SetDetails(XmlNode* process, const ProcessDetails& details) {
    XmlSetAttribute(process, "full_path", WideToUtf8(details.fullPath).c_str());
    if (details.commandLine) XmlSetAttribute(process, "command_line", WideToUtf8(*details.commandLine).c_str());
    const std::string memory = std::to_string(details.workingSetSize >> 10) + " KB";
    XmlSetAttribute(process, "memory_usage", memory.c_str());
    XmlSetAttribute(process, "threadnum", std::to_string(details.threadCount).c_str());
}

// Every module but the first, which is the program itself.
void AddModules(XmlNode* process, const ProcessDetails& details) {
    XmlDocument* document = XmlOwner(process);
    const size_t count = details.modules.size() < kProcessModuleLimit ? details.modules.size() : kProcessModuleLimit;
    for (size_t i = 1; i < count; ++i) {
        if (!details.modules[i]) continue;
        XmlNode* dll = XmlCreateElement(document, "dll");
        if (!dll) continue;
        XmlSetText(dll, WideToUtf8(*details.modules[i]).c_str());
        XmlAppendChild(process, dll);
    }
}

}  // namespace

const char* FixedProcessName(uint32_t id) {
    if (id == 0) return "System Idle Process";
    if (id == 4 || id == 8) return "System";
    return nullptr;
}

std::string HostedServices(uint32_t processId, const std::vector<std::u16string>& services,
                           const std::vector<std::optional<uint32_t>>& servicePids) {
    std::string text;
    for (size_t i = 0; i < services.size() && i < servicePids.size(); ++i) {
        if (!servicePids[i] || *servicePids[i] != processId) continue;
        if (!text.empty()) text += ", ";
        text += WideToUtf8(services[i]);
    }
    return text;
}

bool BuildProcessInfo(XmlNode* root, CProcessSource& source) {
    std::vector<std::u16string> services;
    if (!source.ListServices(&services)) return false;
    std::vector<uint32_t> ids;
    if (!source.ListProcesses(&ids)) return false;
    if (ids.size() > kProcessIdLimit) ids.resize(kProcessIdLimit);
    XmlDocument* document = XmlOwner(root);
    XmlNode* section = XmlCreateElement(document, "process_info");
    if (!section) return false;
    std::vector<std::optional<uint32_t>> servicePids;
    servicePids.reserve(services.size());
    for (const std::u16string& name : services) servicePids.push_back(source.ServiceProcessId(name));
    for (uint32_t id : ids) {
        XmlNode* process = XmlCreateElement(document, "process");
        if (!process) continue;
        XmlSetAttribute(process, "id", std::to_string(id).c_str());
        if (const char* fixed = FixedProcessName(id)) {
            XmlSetAttribute(process, "full_path", fixed);
            XmlAppendChild(section, process);
            continue;
        }
        const ProcessDetails details = source.ReadProcess(id);
        if (details.opened) SetDetails(process, details);
        XmlSetAttribute(process, "service_name", HostedServices(id, services, servicePids).c_str());
        AddModules(process, details);
        XmlAppendChild(section, process);
    }
    XmlAppendChild(root, section);
    return true;
}
