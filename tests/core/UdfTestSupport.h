#pragma once
// Mounting disc images through the drive emulator, and reading the
// listings that independent tools printed for them.

#include <sys/stat.h>
#ifndef _WIN32
#include <unistd.h>
#endif

#include <cstdio>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "emulation/DriveFile.h"
#include "emulation/EmulatedDevice.h"
#include "emulation/MmcTarget.h"
#include "udf/UdfReader.h"
#include "udf/UdfTree.h"

// Packed records' fields are copied out before a reference can bind to them.
template <typename T>
T Val(T value) {
    return value;
}

inline uint64_t FileSizeOf(const std::string& path) {
    struct stat st {};
    return stat(path.c_str(), &st) == 0 ? static_cast<uint64_t>(st.st_size) : 0;
}

inline DriveFile ImageDrive(const std::string& image, uint64_t sectors = 0) {
    DriveFile file;
    file.fileName = image;
    file.imagePath = image;
    file.hasSectors = true;
    file.sectors = sectors ? sectors : FileSizeOf(image) / 2048;
    file.letter = 'E';
    return file;
}

// A reader mounted on an emulated drive.
struct MountedDisc {
    explicit MountedDisc(const DriveFile& file) : target(file), device(target) {
        mounted = reader.MountDevice(&device);
    }
    explicit MountedDisc(const std::string& image) : MountedDisc(ImageDrive(image)) {}
    CMmcTarget target;
    CEmulatedDevice device;
    CUdfReader reader;
    bool mounted = false;
};

inline std::string NodePath(const FileNode* node) {
    std::string path = NodeName(node);
    for (const FileNode* p = node->parent; p && p->parent != p; p = p->parent)
        path = std::string(NodeName(p)) + "/" + path;
    return path;
}

template <typename F>
void WalkTree(const FileNode* dir, F&& visit, int depth = 0) {
    for (const FileNode* c = dir->firstChild; c; c = c->nextSibling) {
        visit(c);
        if (c->isDirectory && depth < 200) WalkTree(c, visit, depth + 1);
    }
}

inline std::string ReadWholeFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

inline void WriteWholeFile(const std::string& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

// UTF-8 text with every code point cut to its low byte, as a narrow name
// made from 16-bit characters is.
inline std::string LowBytes(const std::string& utf8) {
    std::string out;
    for (size_t i = 0; i < utf8.size();) {
        unsigned char c = static_cast<unsigned char>(utf8[i]);
        uint32_t cp = c, extra = 0;
        if (c >= 0xF0) cp = c & 7, extra = 3;
        else if (c >= 0xE0) cp = c & 15, extra = 2;
        else if (c >= 0xC0) cp = c & 31, extra = 1;
        for (uint32_t k = 1; k <= extra && i + k < utf8.size(); ++k)
            cp = (cp << 6) | (static_cast<unsigned char>(utf8[i + k]) & 63);
        out += static_cast<char>(cp & 0xFF);
        i += 1 + extra;
    }
    return out;
}

struct ListedEntry {
    bool folder = false;
    uint64_t size = 0;
    std::string modified;
};

// Entries of a `7z l -slt` listing by path (UTF-8 as 7-Zip printed them).
inline std::map<std::string, ListedEntry> ParseSevenZipListing(const std::string& text) {
    std::map<std::string, ListedEntry> entries;
    std::istringstream in(text);
    std::string line, path;
    bool inEntries = false;
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.rfind("----------", 0) == 0) inEntries = true;
        if (!inEntries) continue;
        if (line.rfind("Path = ", 0) == 0) path = line.substr(7), entries[path];
        else if (path.empty()) continue;
        else if (line.rfind("Folder = ", 0) == 0) entries[path].folder = line.substr(9) == "+";
        else if (line.rfind("Size = ", 0) == 0) entries[path].size = std::strtoull(line.c_str() + 7, nullptr, 10);
        else if (line.rfind("Modified = ", 0) == 0) entries[path].modified = line.substr(11);
    }
    return entries;
}

// A file time as 7-Zip prints it: "YYYY-MM-DD HH:MM:SS.ffffff" (UTC).
inline std::string FileTimeText(uint64_t ft) {
    uint64_t seconds = ft / 10000000, micro = (ft % 10000000) / 10;
    uint64_t days = seconds / 86400, rest = seconds % 86400;
    int year = 1601;
    auto leap = [](int y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; };
    while (days >= static_cast<uint64_t>(leap(year) ? 366 : 365)) days -= leap(year) ? 366 : 365, ++year;
    static const int lengths[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    int month = 0;
    while (true) {
        uint64_t n = lengths[month] + (month == 1 && leap(year) ? 1 : 0);
        if (days < n) break;
        days -= n;
        ++month;
    }
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.%06d", year, month + 1, static_cast<int>(days) + 1,
                  static_cast<int>(rest / 3600), static_cast<int>(rest / 60 % 60), static_cast<int>(rest % 60),
                  static_cast<int>(micro));
    return text;
}

inline bool HaveTool(const char* name) {
#ifdef _WIN32
    (void)name;
    return false;
#else
    std::string command = std::string("command -v ") + name + " >/dev/null 2>&1";
    return std::system(command.c_str()) == 0;
#endif
}

inline std::string TempDir(const std::string& name) {
#ifdef _WIN32
    const char* base = std::getenv("TEMP");
    std::string dir = std::string(base ? base : ".") + "\\vexlon-" + name;
    std::string command = "mkdir \"" + dir + "\" 2>nul";
#else
    std::string dir = "/tmp/vexlon-udf-" + std::to_string(static_cast<long>(getpid())) + "-" + name;
    std::string command = "mkdir -p '" + dir + "'";
#endif
    if (std::system(command.c_str())) {}
    return dir;
}

#include "../../tools/udfmaster/UdfImageBuilder.h"

// Writes a built image to a temporary file and returns its path.
inline std::string WriteImage(const udfmaster::Image& image, const std::string& name) {
    std::string path = TempDir("img") + "/" + name + ".img";
    WriteWholeFile(path, std::string(image.bytes.begin(), image.bytes.end()));
    return path;
}

inline std::string WriteImage(const std::vector<uint8_t>& bytes, const std::string& name) {
    std::string path = TempDir("img") + "/" + name + ".img";
    WriteWholeFile(path, std::string(bytes.begin(), bytes.end()));
    return path;
}

inline void PokeLE32(std::vector<uint8_t>& b, size_t at, uint32_t v) {
    for (int i = 0; i < 4; ++i) b[at + i] = static_cast<uint8_t>(v >> (8 * i));
}
inline void PokeLE16(std::vector<uint8_t>& b, size_t at, uint16_t v) {
    b[at] = static_cast<uint8_t>(v);
    b[at + 1] = static_cast<uint8_t>(v >> 8);
}
