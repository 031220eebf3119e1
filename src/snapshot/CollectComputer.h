#pragma once
// The sections that describe the computer itself: the operating system, the
// processor and memory, the fixed disks and the installed software. Each
// builder turns what the platform answered into its section and appends it to
// the root as its last act; the Win32 side (CollectComputerWin32) asks the
// platform and calls these, so the XML can be checked from known answers.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "snapshot/XmlDocument.h"

// What the operating-system queries returned; an empty optional is a query
// that failed, and its attribute is then left out.
struct SystemAnswers {
    std::optional<std::u16string> model;
    std::optional<std::u16string> version;
    std::optional<std::u16string> servicePack;
    int32_t language = 0;
    std::optional<std::u16string> domainName;
    std::optional<std::u16string> ieVersion;
};

// `system_info` with its one `os`; always appended.
bool BuildSystemInfo(XmlNode* root, const SystemAnswers& answers);

struct HardwareAnswers {
    bool processorKeyOpened = false;
    std::u16string processorName;                   // the value buffer after both queries
    std::optional<std::u16string> processorCount;  // NUMBER_OF_PROCESSORS, when set
    uint64_t totalPhysical = 0;
    uint64_t availablePhysical = 0;
};

// `hardware_info` with `cpu` and `memory`; always appended.
bool BuildHardwareInfo(XmlNode* root, const HardwareAnswers& answers);

// The integer of the leading decimal digits, as the C runtime reads it.
int32_t LeadingDecimal(const std::u16string& text);
// Megabytes with one decimal; the digits are those of a single-precision
// float, which is what the figure has always been held in.
std::string FormatMegabytes(uint64_t bytes);
// Gigabytes with two decimals, computed in single precision throughout.
std::string FormatGigabytes(uint64_t bytes);

struct DiskAnswer {
    std::u16string root;  // "C:\"
    uint32_t driveType = 0;
    std::u16string label;       // volume label buffer after the query
    std::u16string fileSystem;  // file-system name buffer after the query
    bool spaceKnown = false;
    uint64_t totalBytes = 0;
    uint64_t freeBytes = 0;
};

constexpr uint32_t kDriveFixed = 3;
constexpr uint32_t kDriveRamDisk = 6;

// `disk_info` with one `partition` per fixed or RAM disk; always appended.
bool BuildDiskInfo(XmlNode* root, const std::vector<DiskAnswer>& drives);

// The uninstall key as the software builder walks it; the Win32 side maps
// these one to one onto the registry calls and a test can record answers.
class SoftwareRegistry {
public:
    virtual ~SoftwareRegistry() = default;
    // Subkey `index` into `name` (`nameChars` characters); 0, 259 at the
    // end, or another error code.
    virtual long EnumEntry(uint32_t index, char16_t* name, uint32_t nameChars) = 0;
    virtual bool OpenEntry(const char16_t* name) = 0;
    // Value of the open entry into `buffer` of *bytes bytes; *bytes comes
    // back as the platform sets it (the size it needs or wrote).
    virtual long QueryValue(const char16_t* value, void* buffer, uint32_t* bytes) = 0;
    virtual void CloseEntry() = 0;
};

constexpr uint32_t kSoftwareValueBytes = 1024;  // the 512-character value buffer

// `software_info` from the entries of an uninstall key that opened. One byte
// count is carried from query to query and never reset, so a value longer
// than the size the previous query reported fails and shows empty; the count
// is clamped to the buffer so no query writes past it.
bool BuildSoftwareInfo(XmlNode* root, SoftwareRegistry& registry);
