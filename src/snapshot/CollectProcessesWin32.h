#pragma once
// The platform's side of the processes section.

#include <windows.h>

#include <cstddef>
#include <optional>
#include <string>

#include "snapshot/CollectProcesses.h"

// The processes and services of the running system. It counts the handles
// it asks for, opened or refused, so that a benchmark can show how the walk
// grows.
class CWin32ProcessSource final : public CProcessSource {
public:
    explicit CWin32ProcessSource(SC_HANDLE serviceManager) : manager(serviceManager) {}
    bool ListServices(std::vector<std::u16string>* names) override;
    std::optional<uint32_t> ServiceProcessId(const std::u16string& name) override;
    bool ListProcesses(std::vector<uint32_t>* ids) override;
    ProcessDetails ReadProcess(uint32_t id) override;

    size_t serviceHandleOpens = 0;
    size_t processHandleOpens = 0;

private:
    SC_HANDLE manager;
};

// The threads of `processId` in a system-wide thread snapshot; 0 when no
// snapshot can be taken.
uint32_t ThreadCount(DWORD processId);
// The path of the main module of `processId` into `buffer` of `size`
// characters, through a handle with every access right; false when none.
bool ImagePath(DWORD processId, wchar_t* buffer, DWORD size);
// The command line of `processId`; absent when the process cannot be opened
// or its environment block read.
std::optional<std::u16string> CommandLineOf(DWORD processId);

// The processes collector; the argument is unused.
void CollectProcesses(XmlNode* root, int argument);
