#pragma once
// The platform's side of the network adapters section.

#include <windows.h>
#include <iphlpapi.h>

#include <vector>

#include "snapshot/CollectNetwork.h"

// One adapter of a list that GetAdaptersInfo filled; its strings are read
// only within their fixed fields.
AdapterAnswer ReadAdapter(const IP_ADAPTER_INFO& adapter);
// Every adapter, in list order; empty when the list cannot be sized or read.
std::vector<AdapterAnswer> ReadAdapterAnswers();

void CollectNetwork(XmlNode* root, int);
