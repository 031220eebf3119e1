#pragma once
// The processes section: every running process with its path, command line,
// memory, threads, the services it hosts and its modules. The platform is
// reached only through CProcessSource, so that the section can be built from
// recorded answers and the number of handles the walk opens can be counted.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "snapshot/XmlDocument.h"

// The platform's lists are read into fixed tables: this many process ids,
// this many modules a process.
constexpr size_t kProcessIdLimit = 1024;
constexpr size_t kProcessModuleLimit = 1024;

// What opening one process gave.
struct ProcessDetails {
    // The process opened and the path of its main module came back; the path,
    // command line, memory and thread count are written only then.
    bool opened = false;
    std::u16string fullPath;
    std::optional<std::u16string> commandLine;  // absent when no buffer came back
    uint64_t workingSetSize = 0;                // bytes
    uint32_t threadCount = 0;
    // Every module in the platform's order, the program itself first; a path
    // that could not be read is absent. Empty when the modules could not be listed.
    std::vector<std::optional<std::u16string>> modules;
};

class CProcessSource {
public:
    virtual ~CProcessSource() = default;
    // The names of the Win32 services, in the manager's order; false when the
    // list cannot be read.
    virtual bool ListServices(std::vector<std::u16string>* names) = 0;
    // The id of the process a service runs in: one open, one status query and
    // one close of the service's handle. Absent when the service cannot be
    // opened or queried.
    virtual std::optional<uint32_t> ServiceProcessId(const std::u16string& name) = 0;
    // The running processes' ids in the platform's order; false when they
    // cannot be listed.
    virtual bool ListProcesses(std::vector<uint32_t>* ids) = 0;
    virtual ProcessDetails ReadProcess(uint32_t id) = 0;
};

// "System Idle Process" for id 0 and "System" for 4 and 8 (the kernel's id on
// current and on the oldest systems): processes with no image to open. Null
// for every other id.
const char* FixedProcessName(uint32_t id);

// The services hosted by `processId` joined with ", " in the order of the
// service list; `servicePids` holds one looked-up id (or none) per service.
std::string HostedServices(uint32_t processId, const std::vector<std::u16string>& services,
                           const std::vector<std::optional<uint32_t>>& servicePids);

// Appends `process_info` to `root` and returns true, or appends nothing and
// returns false when the service list or the process list cannot be read.
// Each service's process id is looked up once for the whole walk, so the
// walk opens one handle a service and one a process rather than one a
// service for every process; the `service_name` texts are the same.
bool BuildProcessInfo(XmlNode* root, CProcessSource& source);
