// The processes section over a recorded machine of P processes and S
// services: wall time of the walk and, as counters, the service handles and
// the process handles it opens. Each service's process is looked up once
// for the whole walk, so the service handles stay at S whatever P is.

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "snapshot/CollectProcesses.h"
#include "snapshot/XmlDocument.h"

namespace {

class CCountingMachine final : public CProcessSource {
public:
    CCountingMachine(uint32_t processCount, uint32_t serviceCount) {
        for (uint32_t p = 0; p < processCount; ++p) ids.push_back(16 + 4 * p);
        for (uint32_t s = 0; s < serviceCount; ++s) {
            const std::string name = "Service" + std::to_string(s);
            services.emplace_back(name.begin(), name.end());
            // Services crowd into the first few hosts, as svchost groups do.
            servicePids.push_back(16 + 4 * (s % 8));
        }
        details.opened = true;
        details.fullPath = u"C:\\Windows\\System32\\svchost.exe";
        details.commandLine = u"";
        details.workingSetSize = 12345678;
        details.threadCount = 9;
        for (int m = 0; m < 40; ++m) details.modules.push_back(u"C:\\Windows\\System32\\module.dll");
    }
    bool ListServices(std::vector<std::u16string>* names) override {
        *names = services;
        return true;
    }
    std::optional<uint32_t> ServiceProcessId(const std::u16string& name) override {
        ++serviceHandles;
        const size_t index = std::stoul(std::string(name.begin() + 7, name.end()));
        return servicePids[index];
    }
    bool ListProcesses(std::vector<uint32_t>* list) override {
        *list = ids;
        return true;
    }
    ProcessDetails ReadProcess(uint32_t) override {
        ++processHandles;
        return details;
    }

    size_t serviceHandles = 0;
    size_t processHandles = 0;

private:
    std::vector<uint32_t> ids;
    std::vector<std::u16string> services;
    std::vector<uint32_t> servicePids;
    ProcessDetails details;
};

void ProcessWalk(benchmark::State& state) {
    const auto processes = static_cast<uint32_t>(state.range(0));
    const auto services = static_cast<uint32_t>(state.range(1));
    size_t serviceHandles = 0, processHandles = 0;
    for (auto _ : state) {
        CCountingMachine machine(processes, services);
        XmlDocument document;
        XmlInitDocument(&document);
        XmlNode* root = XmlAppendChild(XmlTopLevel(&document), XmlCreateElement(&document, "crashrpt"));
        benchmark::DoNotOptimize(BuildProcessInfo(root, machine));
        XmlDestroyDocument(&document);
        serviceHandles = machine.serviceHandles;
        processHandles = machine.processHandles;
    }
    state.counters["service_handles"] = static_cast<double>(serviceHandles);
    state.counters["process_handles"] = static_cast<double>(processHandles);
    state.counters["handles"] = static_cast<double>(serviceHandles + processHandles);
}

}  // namespace

BENCHMARK(ProcessWalk)->ArgsProduct({{64, 256, 1024}, {32, 300}})->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
