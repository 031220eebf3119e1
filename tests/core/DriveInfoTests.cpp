#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "TestPaths.h"
#include "emulation/EmulatedDevice.h"
#include "pages/DriveInfo.h"

namespace {

TEST(DriveInfo, InterfaceComesFromTheCharactersBehindThePrefix) {
    std::string name;
    EXPECT_TRUE(InterfaceFromPath("\\\\?\\ide#cdrom", name));
    EXPECT_EQ(name, "Ide");
    EXPECT_TRUE(InterfaceFromPath("\\\\?\\scsi#cdrom&ven", name));
    EXPECT_EQ(name, "Scsi");
    EXPECT_TRUE(InterfaceFromPath("\\\\?\\usbstor#cdrom", name));
    EXPECT_EQ(name, "Usb");
}

TEST(DriveInfo, UsbWithoutStorAndOtherBusesLeaveTheFieldAlone) {
    std::string name = "Ide";
    EXPECT_FALSE(InterfaceFromPath("\\\\?\\usb#vid_1234", name));
    EXPECT_FALSE(InterfaceFromPath("\\\\?\\sbp2#vexlon", name));
    EXPECT_FALSE(InterfaceFromPath("\\\\?\\IDE#cdrom", name));  // compared case-sensitively
    EXPECT_FALSE(InterfaceFromPath("\\\\?", name));
    EXPECT_FALSE(InterfaceFromPath("", name));
    EXPECT_EQ(name, "Ide");
}

TEST(DriveInfo, SerialNumberEndsAtItsFirstSpace) {
    uint8_t answer[44] = {};
    std::memcpy(answer + 12, "AB12 CD", 7);
    EXPECT_EQ(SerialFromFeature(answer), "AB12");
}

TEST(DriveInfo, SerialNumberStartingWithASpaceIsEmpty) {
    uint8_t answer[44] = {};
    std::memcpy(answer + 12, " LEADING", 8);
    EXPECT_EQ(SerialFromFeature(answer), "");
}

TEST(DriveInfo, SerialNumberOfThirtyTwoNonSpacesIsBoundedToThem) {
    uint8_t answer[44];
    std::memset(answer, 'S', sizeof answer);
    EXPECT_EQ(SerialFromFeature(answer), std::string(32, 'S'));
}

TEST(DriveInfo, RegionCodeListsTheAllowedRegions) {
    EXPECT_EQ(RegionCodeText(0xFE), "1");
    EXPECT_EQ(RegionCodeText(0xFD), "2");
    EXPECT_EQ(RegionCodeText(0xFF), "");
    EXPECT_EQ(RegionCodeText(0x00), "12345678");
    EXPECT_EQ(RegionCodeText(0x5A), "1368");
}

DriveInfo InfoOf(const std::string& text, const std::string& path = "\\\\?\\ide#x") {
    DriveFile file;
    std::string error;
    EXPECT_TRUE(ParseDriveFile(text, "inline.drive", file, error)) << error;
    CMmcTarget target(file);
    CEmulatedDevice device(target);
    return ReadDriveInfo(device, path);
}

TEST(DriveInfo, DriveAnsweringNothingShowsTheZeroedDefaults) {
    // Only an unrelated command is known: INQUIRY, GET CONFIGURATION, the mode
    // page and REPORT KEY all fail.
    DriveInfo info = InfoOf("> 25\n00 00 00 00 00 00 08 00\n");
    EXPECT_EQ(info.vendor, "");
    EXPECT_EQ(info.model, "");
    EXPECT_EQ(info.firmware, "");
    EXPECT_EQ(info.date, "");
    EXPECT_EQ(info.serialNumber, "");
    EXPECT_EQ(info.bufferSize, "0 KB");
    EXPECT_EQ(info.regionCode, "12345678");
    EXPECT_EQ(info.regionControl, "");
    EXPECT_EQ(info.userChangesLeft, "0");
    EXPECT_EQ(info.vendorChangesLeft, "0");
}

TEST(DriveInfo, RpcSchemeZeroShowsNoRegionControl) {
    DriveInfo info = InfoOf("> A4\n00 06 00 00 00 FE 00 00\n");
    EXPECT_EQ(info.regionCode, "1");
    EXPECT_EQ(info.regionControl, "");
}

TEST(DriveInfo, CapturedDvdWriter) {
    // INQUIRY bytes 8-55: "HL-DT-ST", "DVD+-RW GP60N   ", "A300", "2013/05/08 16:41    ";
    // REPORT KEY 00 06 00 00 64 FD 01 00: 64h = type 1, vendor resets 4, user changes 4;
    // mask FDh allows region 2; scheme 1 is RPC II. Mode page bytes 12-13: 03 00 = 768 KB.
    // The serial number feature (0108h) holds "K2M8AG9150 2": shown up to its space.
    DriveFile file;
    std::string error;
    ASSERT_TRUE(LoadDriveFile(SharedPath("drives/dvd-writer-blank-dvdplusrw.drive"), file, error)) << error;
    CMmcTarget target(file);
    CEmulatedDevice device(target);
    DriveInfo info = ReadDriveInfo(device, file.path);
    EXPECT_EQ(FormatDriveInfo(info),
              "Vendor: HL-DT-ST\n"
              "Model: DVD+-RW GP60N\n"
              "Firmware: A300\n"
              "Date: 2013/05/08 16:41\n"
              "Interface: Ide\n"
              "Serial Number: K2M8AG9150\n"
              "Buffer Size: 768 KB\n"
              "Region Code: 2\n"
              "Region Control: RPC II\n"
              "User Changes Left: 4\n"
              "Vendor Changes Left: 4\n");
}

TEST(DriveInfo, SerialIsAskedAsOneFeatureStartingAt0108) {
    DriveFile file;
    std::string error;
    ASSERT_TRUE(LoadDriveFile(SharedPath("drives/dvd-writer-blank-dvdplusrw.drive"), file, error)) << error;
    CMmcTarget target(file);
    CEmulatedDevice device(target);
    ReadDriveInfo(device, file.path);
    bool asked = false;
    for (const TranscriptEntry& e : target.Transcript())
        if (e.cdb[0] == 0x46 && e.cdb[1] == 2 && e.cdb[2] == 0x01 && e.cdb[3] == 0x08 && e.cdb[8] == 44)
            asked = e.transferLength == 44;
    EXPECT_TRUE(asked);
}

}  // namespace
