#pragma once
// An emulated drive made from drive-file text or a loaded drive file, for
// the Feature and Media tests.

#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <sstream>
#include <string>

#include "TestPaths.h"
#include "emulation/DriveFile.h"
#include "emulation/EmulatedDevice.h"

struct MediaTestDrive {
    std::unique_ptr<CMmcTarget> target;
    std::unique_ptr<CEmulatedDevice> device;

    explicit MediaTestDrive(const DriveFile& file)
        : target(new CMmcTarget(file)), device(new CEmulatedDevice(*target)) {}

    // The CDB opcodes sent so far, in order.
    std::string Opcodes() const {
        std::string text;
        for (const TranscriptEntry& e : target->Transcript()) {
            char hex[4];
            std::snprintf(hex, sizeof hex, "%02X ", e.cdb[0]);
            text += hex;
        }
        return text;
    }
};

inline DriveFile ParseMediaDrive(const std::string& text) {
    DriveFile file;
    std::string error;
    EXPECT_TRUE(ParseDriveFile(text, "inline.drive", file, error)) << error;
    return file;
}

inline DriveFile LoadSharedDrive(const std::string& name) {
    DriveFile file;
    std::string error;
    EXPECT_TRUE(LoadDriveFile(SharedPath("drives/" + name + ".drive"), file, error)) << error;
    return file;
}

inline std::string ReadTextFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    EXPECT_TRUE(in.good()) << path;
    std::ostringstream all;
    all << in.rdbuf();
    return all.str();
}

// The golden files keep plain line ends; the report has CR LF.
inline std::string WithCrLf(const std::string& text) {
    std::string out;
    for (char c : text) {
        if (c == '\n') out += '\r';
        if (c != '\r') out += c;
    }
    return out;
}
