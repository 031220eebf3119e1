#include "app/DemoDrives.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace {

std::string Environment(const char* name) {
    char value[1024];
    DWORD n = GetEnvironmentVariableA(name, value, sizeof value);
    return n > 0 && n < sizeof value ? std::string(value, n) : std::string();
}

bool ResourceBytes(HINSTANCE instance, WORD id, const char*& data, DWORD& size) {
    HRSRC found = FindResourceW(instance, MAKEINTRESOURCEW(id), MAKEINTRESOURCEW(10) /* RT_RCDATA */);
    HGLOBAL loaded = found ? LoadResource(instance, found) : nullptr;
    data = loaded ? static_cast<const char*>(LockResource(loaded)) : nullptr;
    size = found ? SizeofResource(instance, found) : 0;
    return data != nullptr;
}

bool WriteFileBytes(const std::string& path, const char* data, DWORD size) {
    FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) return false;
    bool ok = std::fwrite(data, 1, size, f) == size;
    return std::fclose(f) == 0 && ok;
}

// Writes the built-in files into a fresh folder under %TEMP%; returns the
// drive files in index order.
std::vector<std::string> ExtractBuiltIn(HINSTANCE instance, std::vector<std::string>& errors) {
    std::vector<std::string> driveFiles;
    const char* index = nullptr;
    DWORD size = 0;
    if (!ResourceBytes(instance, kDemoIndexResource, index, size)) return driveFiles;
    char temp[MAX_PATH];
    GetTempPathA(MAX_PATH, temp);
    std::string root = std::string(temp) + "vexlon-demo-" + std::to_string(GetCurrentProcessId());
    CreateDirectoryA(root.c_str(), nullptr);
    CreateDirectoryA((root + "\\drives").c_str(), nullptr);
    CreateDirectoryA((root + "\\discs").c_str(), nullptr);
    std::istringstream lines(std::string(index, size));
    unsigned id = 0;
    std::string relative;
    while (lines >> id >> relative) {
        const char* data = nullptr;
        DWORD bytes = 0;
        std::string path = root + "\\" + relative;
        if (id > 0xFFFF || !ResourceBytes(instance, static_cast<WORD>(id), data, bytes) ||
            !WriteFileBytes(path, data, bytes)) {
            errors.push_back("built-in file " + relative + " could not be written to " + path);
            continue;
        }
        if (relative.size() > 6 && relative.compare(relative.size() - 6, 6, ".drive") == 0) driveFiles.push_back(path);
    }
    return driveFiles;
}

std::vector<std::string> FolderDriveFiles(const std::string& folder) {
    std::vector<std::string> files;
    WIN32_FIND_DATAA found;
    HANDLE search = FindFirstFileA((folder + "\\*.drive").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return files;
    do files.push_back(folder + "\\" + found.cFileName);
    while (FindNextFileA(search, &found));
    FindClose(search);
    std::sort(files.begin(), files.end());
    return files;
}

}  // namespace

std::vector<DriveFile> LoadDemoDrives(HINSTANCE instance, std::vector<std::string>& errors) {
    // VEXLON_DRIVES: folders separated by ';', each folder's files by name.
    std::string folders = Environment("VEXLON_DRIVES");
    std::vector<std::string> names;
    if (folders.empty()) names = ExtractBuiltIn(instance, errors);
    for (size_t start = 0; start < folders.size();) {
        size_t end = folders.find(';', start);
        if (end == std::string::npos) end = folders.size();
        if (end > start) {
            std::vector<std::string> files = FolderDriveFiles(folders.substr(start, end - start));
            names.insert(names.end(), files.begin(), files.end());
        }
        start = end + 1;
    }
    std::vector<DriveFile> drives;
    for (const std::string& name : names) {
        DriveFile file;
        std::string error;
        if (LoadDriveFile(name, file, error)) drives.push_back(std::move(file));
        else errors.push_back(error);
    }
    return drives;
}
