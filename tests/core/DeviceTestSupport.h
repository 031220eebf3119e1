#pragma once
// Shared helpers for the device-command tests: emulated drives loaded from
// drive files, a device that remembers every command it was asked to send,
// and builders for the byte lists the drives answer with.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "TestPaths.h"
#include "device/Capabilities.h"
#include "device/Device.h"
#include "emulation/DriveFile.h"
#include "emulation/EmulatedDevice.h"
#include "emulation/MmcTarget.h"

namespace devtest {

inline DriveFile LoadSharedDrive(const std::string& name) {
    DriveFile file;
    std::string error;
    EXPECT_TRUE(LoadDriveFile(SharedPath("drives/" + name), file, error)) << error;
    return file;
}

inline DriveFile ParseDrive(const std::string& text, const std::string& name = "inline.drive") {
    DriveFile file;
    std::string error;
    EXPECT_TRUE(ParseDriveFile(text, name, file, error)) << error;
    return file;
}

// The device keeps a reference to its target, so both live together here.
struct EmulatedDrive {
    explicit EmulatedDrive(DriveFile file) : target(std::move(file)), device(target) {}
    EmulatedDrive(const EmulatedDrive&) = delete;
    EmulatedDrive& operator=(const EmulatedDrive&) = delete;

    const std::vector<TranscriptEntry>& Transcript() const { return target.Transcript(); }

    CMmcTarget target;
    CEmulatedDevice device;
};

// Passes every command on to another device and keeps a copy of the request
// as the builder filled it (the transcript does not keep the timeout).
class RecordingDevice : public CDevice {
public:
    explicit RecordingDevice(CDevice& next) : inner(next) { LUN = next.LUN; }
    ~RecordingDevice() = default;

    bool Open(const char* path) override { return inner.Open(path); }
    bool OpenDriveLetter(uint32_t index) override { return inner.OpenDriveLetter(index); }
    bool Lock() override { return inner.Lock(); }
    bool ExecuteCommand(const ScsiCommand& command, ScsiResult* result) override {
        commands.push_back(command);
        results.push_back(result);
        return inner.ExecuteCommand(command, result);
    }
    bool Unlock() override { return inner.Unlock(); }
    bool Close() override { return inner.Close(); }

    std::vector<ScsiCommand> commands;
    std::vector<ScsiResult*> results;

private:
    CDevice& inner;
};

// The 16 CDB bytes as a list, for readable comparisons.
inline std::vector<uint8_t> CdbOf(const uint8_t* cdb) { return std::vector<uint8_t>(cdb, cdb + 16); }

// The listed bytes followed by zeros up to 16.
inline std::vector<uint8_t> Cdb16(std::initializer_list<uint8_t> bytes) {
    std::vector<uint8_t> cdb(bytes);
    cdb.resize(16, 0);
    return cdb;
}

// Hex data lines for a drive file, 16 bytes a line.
inline std::string HexLines(const std::vector<uint8_t>& bytes) {
    std::string text;
    char hex[4];
    for (size_t i = 0; i < bytes.size(); ++i) {
        std::snprintf(hex, sizeof hex, "%02X", bytes[i]);
        text += hex;
        text += (i % 16 == 15 || i + 1 == bytes.size()) ? "\n" : " ";
    }
    return text;
}

// One feature descriptor of `size` bytes (header included): code, version and
// current byte, additional length size - 4, then zeros except the bytes set
// by index d[n] as the feature tables count them.
inline std::vector<uint8_t> Descriptor(uint16_t code, size_t size,
                                       std::initializer_list<std::pair<size_t, uint8_t>> set = {},
                                       uint8_t versionCurrent = 0x01) {
    std::vector<uint8_t> d(size, 0);
    d[0] = static_cast<uint8_t>(code >> 8);
    d[1] = static_cast<uint8_t>(code);
    d[2] = versionCurrent;
    d[3] = static_cast<uint8_t>(size - 4);
    for (const auto& byte : set) d[byte.first] = byte.second;
    return d;
}

// A feature list: 8-byte header (data length, current profile) and the
// descriptors given. The data length is the true one unless stated.
inline std::vector<uint8_t> FeatureList(const std::vector<std::vector<uint8_t>>& descriptors,
                                        uint16_t profile = 0) {
    std::vector<uint8_t> list(8, 0);
    list[6] = static_cast<uint8_t>(profile >> 8);
    list[7] = static_cast<uint8_t>(profile);
    for (const auto& d : descriptors) list.insert(list.end(), d.begin(), d.end());
    uint32_t length = static_cast<uint32_t>(list.size() - 4);
    list[0] = static_cast<uint8_t>(length >> 24);
    list[1] = static_cast<uint8_t>(length >> 16);
    list[2] = static_cast<uint8_t>(length >> 8);
    list[3] = static_cast<uint8_t>(length);
    return list;
}

inline void SetDataLength(std::vector<uint8_t>& list, uint32_t length) {
    list[0] = static_cast<uint8_t>(length >> 24);
    list[1] = static_cast<uint8_t>(length >> 16);
    list[2] = static_cast<uint8_t>(length >> 8);
    list[3] = static_cast<uint8_t>(length);
}

// Only the feature words of a list decoded on their own.
struct FeatureWords {
    uint32_t media;
    uint32_t drive;
    uint32_t pageBits;
};

// Decodes `list` from an exact-size heap copy, so a read past its end is
// caught by the address sanitizer.
inline FeatureWords DecodeFeatures(const std::vector<uint8_t>& list, uint32_t pageBitsBefore = 0) {
    std::vector<uint8_t> exact(list);
    exact.shrink_to_fit();
    DriveCapabilities caps{};
    caps.pageBits = pageBitsBefore;
    DecodeFeatureList(exact.data(), exact.size(), caps);
    return FeatureWords{caps.mediaFeatureBits, caps.driveFeatureBits, caps.pageBits};
}

inline DriveCapabilities Caps(uint32_t pageBits, uint8_t loading, uint32_t byte7, uint16_t buffer,
                              uint16_t maxRead, uint16_t maxWrite, uint16_t curRead, uint16_t curWrite,
                              uint32_t media, uint32_t drive) {
    DriveCapabilities c{};
    c.pageBits = pageBits;
    c.loadingMechanism = loading;
    c.pageByte7Bits = byte7;
    c.bufferSize = buffer;
    c.maxReadSpeed = maxRead;
    c.maxWriteSpeed = maxWrite;
    c.currentReadSpeed = curRead;
    c.currentWriteSpeed = curWrite;
    c.mediaFeatureBits = media;
    c.driveFeatureBits = drive;
    return c;
}

inline std::string Hex32(uint32_t v) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", v);
    return text;
}

// The record is byte-packed: its members are copied out before gtest binds
// references to them.
inline void ExpectCapsEqual(const DriveCapabilities& actual, const DriveCapabilities& expected) {
    EXPECT_EQ(Hex32(actual.pageBits), Hex32(expected.pageBits)) << "page bits";
    EXPECT_EQ(unsigned{actual.loadingMechanism}, unsigned{expected.loadingMechanism}) << "loading mechanism";
    EXPECT_EQ(Hex32(actual.pageByte7Bits), Hex32(expected.pageByte7Bits)) << "page byte 7 bits";
    EXPECT_EQ(unsigned{actual.bufferSize}, unsigned{expected.bufferSize}) << "buffer size";
    EXPECT_EQ(unsigned{actual.maxReadSpeed}, unsigned{expected.maxReadSpeed}) << "maximum read speed";
    EXPECT_EQ(unsigned{actual.maxWriteSpeed}, unsigned{expected.maxWriteSpeed}) << "maximum write speed";
    EXPECT_EQ(unsigned{actual.currentReadSpeed}, unsigned{expected.currentReadSpeed}) << "current read speed";
    EXPECT_EQ(unsigned{actual.currentWriteSpeed}, unsigned{expected.currentWriteSpeed}) << "current write speed";
    EXPECT_EQ(Hex32(actual.mediaFeatureBits), Hex32(expected.mediaFeatureBits)) << "media feature bits";
    EXPECT_EQ(Hex32(actual.driveFeatureBits), Hex32(expected.driveFeatureBits)) << "drive feature bits";
}

}  // namespace devtest
