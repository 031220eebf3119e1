#include "snapshot/CollectComputerWin32.h"

#include <lm.h>

#include "snapshot/WideTextWin32.h"

std::optional<std::u16string> QueryRegistryString(HKEY key, const wchar_t* name, DWORD byteCount) {
    // 1024 bytes of value and one spare character: a value stored without
    // its NUL still ends inside the buffer.
    wchar_t buffer[512 + 1] = {};
    DWORD bytes = byteCount < 1024 ? byteCount : 1024;
    if (RegQueryValueExW(key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(buffer), &bytes) != ERROR_SUCCESS)
        return std::nullopt;
    return UpToNul(buffer, (bytes < 1024 ? bytes : 1024) / sizeof(wchar_t));
}

std::optional<std::u16string> ReadJoinedName() {
    LPWSTR name = nullptr;
    NETSETUP_JOIN_STATUS status = NetSetupUnknownStatus;
    NET_API_STATUS result = NetGetJoinInformation(nullptr, &name, &status);
    if (result != NERR_Success && !name) NetGetJoinInformation(nullptr, &name, &status);
    if (!name) return std::nullopt;
    std::u16string text = UpToNul(name, 4096);
    NetApiBufferFree(name);
    return text;
}

SystemAnswers ReadSystemAnswers(HKEY root, const wchar_t* versionKey, const wchar_t* browserKey) {
    SystemAnswers answers;
    HKEY key = nullptr;
    if (RegOpenKeyW(root, versionKey, &key) == ERROR_SUCCESS) {
        // The product name has always been asked with half the buffer.
        answers.model = QueryRegistryString(key, L"ProductName", 512);
        answers.version = QueryRegistryString(key, L"CurrentVersion", 1024);
        answers.servicePack = QueryRegistryString(key, L"CSDVersion", 1024);
        RegCloseKey(key);
    }
    answers.language = static_cast<int32_t>(GetSystemDefaultLCID());
    answers.domainName = ReadJoinedName();
    if (RegOpenKeyW(root, browserKey, &key) == ERROR_SUCCESS) {
        answers.ieVersion = QueryRegistryString(key, L"Version", 1024);
        RegCloseKey(key);
    }
    return answers;
}

HardwareAnswers ReadHardwareAnswers(HKEY root, const wchar_t* processorKey) {
    HardwareAnswers answers;
    HKEY key = nullptr;
    if (RegOpenKeyExW(root, processorKey, 0, KEY_READ, &key) == ERROR_SUCCESS) {
        answers.processorKeyOpened = true;
        std::optional<std::u16string> name = QueryRegistryString(key, L"ProcessorNameString", 256);
        if (!name) name = QueryRegistryString(key, L"Identifier", 256);
        if (name) answers.processorName = *name;
        RegCloseKey(key);
    }
    DWORD needed = GetEnvironmentVariableW(L"NUMBER_OF_PROCESSORS", nullptr, 0);
    if (needed > 0 && needed < 65536) {
        std::wstring value(needed, L'\0');
        DWORD got = GetEnvironmentVariableW(L"NUMBER_OF_PROCESSORS", &value[0], needed);
        if (got < needed) answers.processorCount = UpToNul(value.c_str(), got);
    }
    MEMORYSTATUSEX memory = {};
    memory.dwLength = sizeof memory;
    if (GlobalMemoryStatusEx(&memory)) {
        answers.totalPhysical = memory.ullTotalPhys;
        answers.availablePhysical = memory.ullAvailPhys;
    }
    return answers;
}

std::vector<DiskAnswer> ReadDiskAnswers() {
    std::vector<DiskAnswer> drives;
    wchar_t list[100 + 2] = {};
    DWORD length = GetLogicalDriveStringsW(100, list);
    // A list that did not fit was not written; the walk stays in the buffer.
    if (length == 0 || length > 100) return drives;
    // Start empty; afterwards only the first character is cleared per drive.
    wchar_t label[512 + 1] = {};
    wchar_t fileSystem[512 + 1] = {};
    for (const wchar_t* root = list; root < list + 100 && *root; root += lstrlenW(root) + 1) {
        DiskAnswer drive;
        drive.root = UpToNul(root, static_cast<size_t>(list + 100 - root));
        drive.driveType = GetDriveTypeW(root);
        if (drive.driveType == DRIVE_FIXED || drive.driveType == DRIVE_RAMDISK) {
            GetVolumeInformationW(root, label, 512, nullptr, nullptr, nullptr, fileSystem, 512);
            drive.label = UpToNul(label, 512);
            drive.fileSystem = UpToNul(fileSystem, 512);
            ULARGE_INTEGER available, total, free;
            if (GetDiskFreeSpaceExW(root, &available, &total, &free)) {
                drive.spaceKnown = true;
                drive.totalBytes = total.QuadPart;
                drive.freeBytes = free.QuadPart;
            }
            label[0] = 0;
            fileSystem[0] = 0;
        }
        drives.push_back(drive);
    }
    return drives;
}

long RegistrySoftware::EnumEntry(uint32_t index, char16_t* name, uint32_t nameChars) {
    return RegEnumKeyW(key, index, reinterpret_cast<wchar_t*>(name), nameChars);
}

bool RegistrySoftware::OpenEntry(const char16_t* name) {
    entry = nullptr;
    return RegOpenKeyExW(key, AsWide(name), 0, KEY_READ, &entry) == ERROR_SUCCESS;
}

long RegistrySoftware::QueryValue(const char16_t* value, void* buffer, uint32_t* bytes) {
    DWORD count = *bytes;
    long result = RegQueryValueExW(entry, AsWide(value), nullptr, nullptr, static_cast<BYTE*>(buffer), &count);
    *bytes = count;
    return result;
}

void RegistrySoftware::CloseEntry() {
    if (entry) RegCloseKey(entry);
    entry = nullptr;
}

bool CollectSoftwareFrom(XmlNode* root, HKEY registryRoot, const wchar_t* subkey) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(registryRoot, subkey, 0, KEY_READ, &key) != ERROR_SUCCESS) return false;
    RegistrySoftware registry(key);
    bool appended = BuildSoftwareInfo(root, registry);
    RegCloseKey(key);
    return appended;
}

void CollectSystem(XmlNode* root, int) {
    BuildSystemInfo(root, ReadSystemAnswers(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion",
                                            L"SOFTWARE\\Microsoft\\Internet Explorer"));
}

void CollectSoftware(XmlNode* root, int) {
    CollectSoftwareFrom(root, HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall");
}

void CollectHardware(XmlNode* root, int) {
    BuildHardwareInfo(root, ReadHardwareAnswers(HKEY_LOCAL_MACHINE, L"HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0"));
}

void CollectDisks(XmlNode* root, int) { BuildDiskInfo(root, ReadDiskAnswers()); }
