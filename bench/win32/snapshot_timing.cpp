// A full snapshot of the running system, timed: every collector on its own
// (best of N runs, with the elements it added), the whole BuildSnapshot, and
// the handles the processes collector opens against the processes and
// services it found. The last full snapshot is left at the given path.
//   snapshot_timing.exe OUT.xml [RUNS]

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "snapshot/CollectProcessesWin32.h"
#include "snapshot/CollectServicesWin32.h"
#include "snapshot/SnapshotWin32.h"

namespace {

double Milliseconds(LARGE_INTEGER from, LARGE_INTEGER to) {
    LARGE_INTEGER frequency;
    QueryPerformanceFrequency(&frequency);
    return 1000.0 * static_cast<double>(to.QuadPart - from.QuadPart) / static_cast<double>(frequency.QuadPart);
}

size_t Elements(const XmlNode* node) {
    size_t count = 0;
    for (XmlNode* child = XmlFirstChild(node); child; child = XmlNextSibling(child)) count += 1 + Elements(child);
    return count;
}

template <typename Work>
double Best(int runs, Work work) {
    double best = 1e300;
    for (int i = 0; i < runs; ++i) {
        LARGE_INTEGER from, to;
        QueryPerformanceCounter(&from);
        work();
        QueryPerformanceCounter(&to);
        const double ms = Milliseconds(from, to);
        if (ms < best) best = ms;
    }
    return best;
}

void TimeCollectors(int runs) {
    for (size_t i = 0; i < kSnapshotCollectorCount; ++i) {
        const SnapshotCollector& collector = kSnapshotCollectors[i];
        size_t elements = 0;
        std::string name = "(none)";
        const double ms = Best(runs, [&] {
            XmlDocument document;
            XmlInitDocument(&document);
            XmlNode* root = XmlAppendChild(XmlTopLevel(&document), XmlCreateElement(&document, "crashrpt"));
            collector.collect(root, collector.argument);
            if (XmlNode* section = XmlFirstChild(root)) {
                name = XmlName(section);
                elements = Elements(section);
            }
            XmlDestroyDocument(&document);
        });
        std::printf("collector 0x%04x %-14s %9.2f ms %7zu elements\n", static_cast<unsigned>(collector.bit),
                    name.c_str(), ms, elements);
    }
}

void CountProcessHandles() {
    SC_HANDLE manager = OpenSCManagerW(nullptr, L"ServicesActive", SC_MANAGER_ALL_ACCESS);
    if (!manager) {
        std::printf("process walk: the service manager cannot be opened\n");
        return;
    }
    XmlDocument document;
    XmlInitDocument(&document);
    XmlNode* root = XmlAppendChild(XmlTopLevel(&document), XmlCreateElement(&document, "crashrpt"));
    CWin32ProcessSource source(manager);
    BuildProcessInfo(root, source);
    const size_t processes = XmlFirstChild(root) ? Elements(XmlFirstChild(root)) : 0;
    size_t listed = 0;
    for (XmlNode* p = XmlFirstChild(XmlFirstChild(root)); p; p = XmlNextSibling(p)) ++listed;
    DWORD services = 0;
    if (ENUM_SERVICE_STATUSW* list = ReadServiceList(manager, SERVICE_WIN32, &services)) GlobalFree(list);
    std::printf("process walk: P=%zu processes, S=%lu services, %zu service handles, %zu process handles "
                "(%zu elements); one handle a service for every process would be %zu\n",
                listed, static_cast<unsigned long>(services), source.serviceHandleOpens, source.processHandleOpens,
                processes, static_cast<size_t>(services) * source.processHandleOpens);
    XmlDestroyDocument(&document);
    CloseServiceHandle(manager);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: snapshot_timing OUT.xml [RUNS]\n");
        return 2;
    }
    const int runs = argc > 2 ? std::max(1, _wtoi(argv[2])) : 3;
    TimeCollectors(runs);
    CountProcessHandles();
    bool written = false;
    const double ms = Best(runs, [&] { written = BuildSnapshot(SnapshotOptions{kSnapshotAll}, argv[1]); });
    std::printf("full snapshot: %.2f ms (best of %d)\n", ms, runs);
    return written ? 0 : 1;
}
