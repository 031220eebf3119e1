#pragma once
// What loads itself into the system: programs started at log-on, browser
// helper objects and Winsock providers. The builders here turn the answers
// of the Win32 readers (CollectStartupWin32) into their sections.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "snapshot/XmlDocument.h"

// One `command` of a startup source: a Run value (name and data) or a file
// of a Startup folder (its name, and the target of a resolved shortcut).
struct StartupCommand {
    std::u16string text;
    std::optional<std::u16string> path;
};

// One `startup`: a Startup folder or a Run key, named as it was read.
struct StartupSource {
    std::u16string name;
    std::vector<StartupCommand> commands;
};

// `startup_info` with the sources in the order given; always appended.
bool BuildStartupInfo(XmlNode* root, const std::vector<StartupSource>& sources);

enum class StartupEntry { Skip, Shortcut, Plain };
// How a folder scan treats a directory entry: "." and ".." and *.ini files
// (desktop.ini) are skipped, *.lnk files are shortcuts, the rest plain.
StartupEntry ClassifyStartupEntry(const std::u16string& fileName);

// What the file-version reader learnt about one file.
struct FileVersionAnswer {
    bool opened = false;
    bool versionRead = false;  // a translation was found: description and company follow
    std::u16string description;
    std::u16string company;
    uint64_t size = 0;
};

// "N KB (M B)" from one kilobyte on, "M B" below.
std::string FormatFileSize(uint64_t bytes);
// Adds `description`, `published` and `size` as far as they were read.
void ApplyFileVersion(XmlNode* element, const FileVersionAnswer& version);

struct PluginAnswer {
    std::u16string className;  // the class's name, or "N/A"
    bool serverRead = false;
    std::u16string serverPath;
    FileVersionAnswer version;
};

// `ieplugin_info` with one `ieplugin` per helper object whose class opened.
bool BuildPluginInfo(XmlNode* root, const std::vector<PluginAnswer>& plugins);

struct WinsockAnswer {
    std::u16string protocolName;
    bool catalogRead = false;
    std::u16string location;  // the catalog's path as stored, unexpanded
    FileVersionAnswer version;  // of the expanded path
};

// `winsock_info` with one `winsock` per protocol, in the order listed.
bool BuildWinsockInfo(XmlNode* root, const std::vector<WinsockAnswer>& protocols);
