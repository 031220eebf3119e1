#pragma once
// The platform's side of the startup, browser plug-in and Winsock sections.
// Every reader takes the keys it reads as parameters, so that a test can
// point it at keys of its own; the collectors pass the system's keys.

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

#include "snapshot/CollectStartup.h"

FileVersionAnswer ReadFileVersion(const wchar_t* path);

// One Startup folder; nothing when the folder has no entries at all.
std::optional<StartupSource> ScanStartupFolder(const wchar_t* folder);
// One Run key, named "label\subkey"; nothing when the key does not open.
std::optional<StartupSource> ReadRunKey(HKEY root, const wchar_t* label, const wchar_t* subkey);
// The string SIDs of the members of the local Administrators group.
std::vector<std::wstring> AdministratorSids();
// The Startup folder that the profile of `sid` names, read as it always was
// (261 bytes, so a long path is not read).
std::optional<std::wstring> ProfileStartupFolder(HKEY users, const std::wstring& sid);
// Every source in the collector's order.
std::vector<StartupSource> ReadStartupSources();

// Nothing when the helper-object key does not open.
std::optional<std::vector<PluginAnswer>> ReadPluginAnswers(HKEY objectRoot, const wchar_t* objectKey,
                                                           HKEY classRoot, const wchar_t* classPrefix);
// Nothing when the protocol list cannot be read. Catalog entry n is read
// for the n-th protocol, by position alone.
std::optional<std::vector<WinsockAnswer>> ReadWinsockAnswers(HKEY catalogRoot, const wchar_t* catalogKey);

void CollectStartup(XmlNode* root, int);
void CollectWinsock(XmlNode* root, int);
void CollectPlugins(XmlNode* root, int);
