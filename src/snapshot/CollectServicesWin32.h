#pragma once
// The platform's side of the services and drivers sections.

#include <windows.h>

#include <optional>
#include <vector>

#include "snapshot/CollectServices.h"

// The service list of one type (SERVICE_WIN32 or SERVICE_DRIVER) in a
// zero-filled GlobalAlloc buffer, with its count; null when it cannot be read.
ENUM_SERVICE_STATUSW* ReadServiceList(SC_HANDLE manager, DWORD type, DWORD* count);

// One entry of the list with its configuration and description; the
// description is read under `servicesKey` of HKEY_LOCAL_MACHINE.
ServiceAnswer ReadService(SC_HANDLE manager, const ENUM_SERVICE_STATUSW& entry, const wchar_t* servicesKey);
// Every service or driver; nothing when the list cannot be read.
std::optional<std::vector<ServiceAnswer>> ReadServiceAnswers(SC_HANDLE manager, bool drivers);

// The collector of both sections: `drivers` 0 for services, 1 for drivers.
void CollectServices(XmlNode* root, int drivers);
