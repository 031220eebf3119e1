#pragma once
// The platform's side of the ports section: the IP helper's extended tables,
// looked up at run time because only the older systems export them.

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

#include "snapshot/CollectPorts.h"

// AllocateAndGetTcpExTableFromStack and its UDP twin: the table, sorted or
// not, allocated on `heap`, with flags and an address family.
using AllocateAndGetExTable = DWORD(WINAPI*)(void** table, BOOL sorted, HANDLE heap, DWORD flags, DWORD family);

// The IPv4 rows from one of the two functions, read from the process heap
// and freed there; absent when the call fails.
std::optional<std::vector<TcpEndpoint>> ReadTcpEndpoints(AllocateAndGetExTable get);
std::optional<std::vector<UdpEndpoint>> ReadUdpEndpoints(AllocateAndGetExTable get);

// The image path of a process (512 characters at most), when it can be read.
std::optional<std::u16string> LocateProcess(uint32_t processId);

// The ports collector; the argument is unused. Nothing is appended when the
// IP helper lacks either function.
void CollectPorts(XmlNode* root, int argument);
