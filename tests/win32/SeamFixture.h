#pragma once
// Installs an emulated OS seam with the team's captured drives for one test.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TestPaths.h"
#include "device/OsSeam.h"
#include "emulation/EmulatedOsSeam.h"

class SeamTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::vector<DriveFile> files;
        for (const char* name : {"drives/dvd-writer-blank-dvdplusrw.drive", "drives/dvdram-writer-recorded-dvdrw.drive"}) {
            DriveFile f;
            std::string error;
            ASSERT_TRUE(LoadDriveFile(SharedPath(name), f, error)) << error;
            files.push_back(f);
        }
        seam.SetDrives(files);
        previous = SetOs(&seam);
    }
    void TearDown() override { SetOs(previous); }

    // The calls of one name, in order.
    std::vector<CEmulatedOsSeam::Call> CallsNamed(const std::string& name, DWORD code = 0) const {
        std::vector<CEmulatedOsSeam::Call> out;
        for (const auto& c : seam.calls)
            if (c.name == name && (code == 0 || c.code == code)) out.push_back(c);
        return out;
    }

    CEmulatedOsSeam seam;
    COsSeam* previous = nullptr;
    // E: is the DVD writer at 1:0:0:0, D: the DVD-RAM writer at 0:0:1:0.
    const char* dvdWriterPath =
        "\\\\?\\ide#cdromhl-dt-st_dvd+-rw_gp60n_a300#5&2f2e2c8a&0&0.0.0#{53f56308-b6bf-11d0-94f2-00a0c91efb8b}";
};
