// Building and saving a snapshot document the size of a busy machine's:
// N processes with 50 modules each (2,000 x 50 is the large case), plus
// services, drivers and software rows. The strings arrive as UTF-16 and go
// through WideToUtf8 the way the collectors hand them over. Reports wall
// time, the bytes of the saved file, the elements and the arena blocks.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "common/BlockArena.h"
#include "snapshot/SnapshotAssembly.h"
#include "snapshot/XmlDocument.h"

namespace {

constexpr int kModulesPerProcess = 50;

std::u16string Wide(const std::string& ascii) { return std::u16string(ascii.begin(), ascii.end()); }

XmlNode* Add(XmlNode* parent, const char* name, const std::u16string& text, std::string& scratch) {
    XmlNode* node = XmlCreateElement(XmlOwner(parent), name);
    if (!text.empty()) {
        WideToUtf8(scratch, text.c_str(), 0);
        XmlSetText(node, scratch.c_str());
    }
    return XmlAppendChild(parent, node);
}

void SetWide(XmlNode* node, const char* name, const std::u16string& value, std::string& scratch) {
    WideToUtf8(scratch, value.c_str(), 0);
    XmlSetAttribute(node, name, scratch.c_str());
}

// The inputs of one snapshot, made once so the benchmark times the model.
struct Machine {
    std::vector<std::u16string> processPaths, commandLines, modules, serviceNames, softwareNames;
};

const Machine& MachineOf(int processes) {
    static Machine machine;
    if (static_cast<int>(machine.processPaths.size()) >= processes) return machine;
    machine = Machine();
    for (int p = 0; p < processes; ++p) {
        machine.processPaths.push_back(Wide("C:\\Program Files\\Vendor " + std::to_string(p % 97) + "\\Product\\app" +
                                            std::to_string(p) + ".exe"));
        machine.commandLines.push_back(Wide("\"C:\\Program Files\\Vendor\\app" + std::to_string(p) +
                                            ".exe\" --type=renderer --lang=en-US <&> /id:" + std::to_string(p)));
    }
    for (int m = 0; m < 400; ++m)
        machine.modules.push_back(u"C:\\Windows\\System32\\" + Wide("module" + std::to_string(m)) +
                                  u"\u00e4\u5206.dll");
    for (int s = 0; s < 300; ++s) machine.serviceNames.push_back(Wide("Service" + std::to_string(s)));
    for (int s = 0; s < 500; ++s) machine.softwareNames.push_back(Wide("Software package " + std::to_string(s)));
    return machine;
}

int processCount = 0;
size_t elements = 0;

void Processes(XmlNode* root, int) {
    const Machine& machine = MachineOf(processCount);
    std::string scratch;
    XmlNode* section = XmlCreateElement(XmlOwner(root), "process_info");
    for (int p = 0; p < processCount; ++p) {
        XmlNode* process = Add(section, "process", u"", scratch);
        XmlSetAttributeInt(process, "id", 4 * p + 8);
        SetWide(process, "full_path", machine.processPaths[static_cast<size_t>(p)], scratch);
        SetWide(process, "command_line", machine.commandLines[static_cast<size_t>(p)], scratch);
        XmlSetAttribute(process, "memory_usage", (std::to_string(1024 + p * 13) + " KB").c_str());
        XmlSetAttributeInt(process, "threadnum", 1 + p % 64);
        XmlSetAttribute(process, "service_name", p % 10 == 0 ? "Dhcp, EventLog, lmhosts" : "");
        ++elements;
        for (int m = 0; m < kModulesPerProcess; ++m) {
            Add(process, "dll", machine.modules[static_cast<size_t>((p + m * 7) % 400)], scratch);
            ++elements;
        }
    }
    XmlAppendChild(root, section);
}

void Services(XmlNode* root, int drivers) {
    const Machine& machine = MachineOf(processCount);
    std::string scratch;
    XmlNode* section = XmlCreateElement(XmlOwner(root), drivers ? "driver_info" : "service_info");
    for (const std::u16string& name : machine.serviceNames) {
        XmlNode* item = Add(section, "item", name, scratch);
        SetWide(item, "displayname", name + u" display name", scratch);
        XmlSetAttribute(item, "start_status", "Running");
        XmlSetAttribute(item, "command_line", "C:\\Windows\\system32\\svchost.exe -k netsvcs -p");
        if (!drivers) XmlSetAttribute(item, "account", "LocalSystem");
        XmlSetAttribute(item, "start_type", "Auto");
        XmlSetAttribute(item, "description", "@%SystemRoot%\\system32\\dhcpcore.dll,-100");
        ++elements;
    }
    XmlAppendChild(root, section);
}

void Software(XmlNode* root, int) {
    const Machine& machine = MachineOf(processCount);
    std::string scratch;
    XmlNode* section = XmlCreateElement(XmlOwner(root), "software_info");
    for (const std::u16string& name : machine.softwareNames) {
        XmlNode* item = Add(section, "software", u"{4A03706F-666A-4037-7777-5F2748764D10}", scratch);
        SetWide(item, "description", name, scratch);
        XmlSetAttribute(item, "version", "10.0.19041.1");
        XmlSetAttribute(item, "location", "C:\\Program Files\\Vendor\\");
        ++elements;
    }
    XmlAppendChild(root, section);
}

const SnapshotCollector kCollectors[] = {
    {kSnapshotSoftware, Software, 0},
    {kSnapshotProcesses, Processes, 0},
    {kSnapshotServices, Services, 0},
    {kSnapshotDrivers, Services, 1},
};

void Build(XmlDocument* doc, int processes) {
    processCount = processes;
    elements = 1;
    AssembleSnapshot(doc, SnapshotOptions{kSnapshotAll}, kCollectors, sizeof kCollectors / sizeof kCollectors[0]);
}

std::string TempPath() {
    const char* dir = std::getenv("TMPDIR");
    return std::string(dir && *dir ? dir : "/tmp") + "/vexlon-bench-xml.xml";
}

long FileSize(const std::string& path) {
    std::ifstream in(path, std::ios::binary | std::ios::ate);
    return in ? static_cast<long>(in.tellg()) : -1;
}

void Report(benchmark::State& state, XmlDocument* doc, long bytes) {
    state.counters["elements"] = static_cast<double>(elements);
    state.counters["arena_blocks"] = static_cast<double>(ArenaBlockCount(doc->arena));
    state.counters["file_bytes"] = static_cast<double>(bytes);
}

// Building the tree alone.
void BM_BuildSnapshot(benchmark::State& state) {
    MachineOf(static_cast<int>(state.range(0)));
    XmlDocument doc;
    long bytes = 0;
    for (auto _ : state) {
        Build(&doc, static_cast<int>(state.range(0)));
        state.PauseTiming();
        if (bytes == 0) bytes = static_cast<long>(XmlSaveToString(&doc, nullptr).size());
        Report(state, &doc, bytes);
        XmlDestroyDocument(&doc);
        state.ResumeTiming();
    }
}

// Writing a built tree to the file.
void BM_SaveSnapshot(benchmark::State& state) {
    XmlDocument doc;
    Build(&doc, static_cast<int>(state.range(0)));
    std::string path = TempPath();
    for (auto _ : state) XmlSave(&doc, path.c_str(), nullptr);
    long bytes = FileSize(path);
    if (bytes <= 0) state.SkipWithError("the snapshot file was not written");
    Report(state, &doc, bytes);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * bytes);
    std::remove(path.c_str());
    XmlDestroyDocument(&doc);
}

// What the System page pays: build, save, free.
void BM_BuildSaveFree(benchmark::State& state) {
    std::string path = TempPath();
    MachineOf(static_cast<int>(state.range(0)));
    long bytes = 0;
    size_t blocks = 0;
    for (auto _ : state) {
        XmlDocument doc;
        Build(&doc, static_cast<int>(state.range(0)));
        XmlSave(&doc, path.c_str(), nullptr);
        blocks = ArenaBlockCount(doc.arena);
        XmlDestroyDocument(&doc);
    }
    bytes = FileSize(path);
    if (bytes <= 0) state.SkipWithError("the snapshot file was not written");
    state.counters["elements"] = static_cast<double>(elements);
    state.counters["arena_blocks"] = static_cast<double>(blocks);
    state.counters["file_bytes"] = static_cast<double>(bytes);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * bytes);
    std::remove(path.c_str());
}

}  // namespace

BENCHMARK(BM_BuildSnapshot)->Arg(200)->Arg(2000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SaveSnapshot)->Arg(200)->Arg(2000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BuildSaveFree)->Arg(200)->Arg(2000)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
