#pragma once
// The abstract optical drive: every SCSI command of the program goes through
// ExecuteCommand of one of these. CSptiDevice talks to Windows, and
// CEmulatedDevice answers from a drive file.

#include <cstdint>

enum DataDirection : uint8_t {
    DataNone = 0,
    DataIn = 1,   // device to host
    DataOut = 2,  // host to device
};

// One command. Callers zero it first ({}), then fill what they need.
struct ScsiCommand {
    uint8_t cdb[16];
    void* data;
    uint32_t transferLength;
    uint32_t timeout;  // seconds
    DataDirection direction;
    uint8_t cdbLength;
};

// What a failed command leaves behind.
struct ScsiResult {
    uint8_t scsiStatus;
    uint32_t transferredLength;
    uint32_t senseLength;
    uint8_t sense[32];
};

class CDevice {
public:
    virtual bool Open(const char* path) = 0;
    virtual bool OpenDriveLetter(uint32_t index) = 0;
    virtual bool Lock() = 0;
    virtual bool ExecuteCommand(const ScsiCommand& command, ScsiResult* result) = 0;
    virtual bool Unlock() = 0;
    virtual bool Close() = 0;

    void* handle = nullptr;
    uint8_t LUN = 0;
    uint16_t CurrentProfile = 0;
    uint32_t MediaType = 0;
    uint8_t MediaFamily = 0;
    uint8_t MediaKind = 0;  // meaningful only after ReadCurrentProfile
    uint8_t DualLayer = 0;  // meaningful only after ReadCurrentProfile

protected:
    CDevice() = default;
    // Never deleted through the base: there is no virtual destructor, so the
    // destructor is kept out of reach of `delete base`.
    ~CDevice() = default;
    CDevice(const CDevice&) = default;
    CDevice& operator=(const CDevice&) = default;
};

enum MediaFamilyCode : uint8_t {
    FamilyUnknown = 0,
    FamilyCd = 1,
    FamilyDvd = 2,
    FamilyHdDvd = 3,
    FamilyBd = 4,
};
