#include <gtest/gtest.h>

#include <cstring>

#include "SeamFixture.h"
#include "common/ByteReader.h"
#include "device/Capabilities.h"
#include "device/Commands.h"
#include "device/SptiDevice.h"
#include "emulation/EmulatedDevice.h"

namespace {

class SptiDeviceTest : public SeamTest {
protected:
    // The pass-through block as it was handed to DeviceIoControl, last first.
    SCSI_PASS_THROUGH_DIRECT LastBlock(DWORD* inSize = nullptr, DWORD* outSize = nullptr) {
        auto calls = CallsNamed("DeviceIoControl", kIoctlScsiPassThroughDirect);
        SCSI_PASS_THROUGH_DIRECT spt{};
        EXPECT_FALSE(calls.empty());
        if (calls.empty()) return spt;
        EXPECT_GE(calls.back().in.size(), sizeof spt);
        std::memcpy(&spt, calls.back().in.data(), sizeof spt);
        if (inSize) *inSize = calls.back().inSize;
        if (outSize) *outSize = calls.back().outSize;
        return spt;
    }

    ScsiCommand InquiryCommand(uint8_t* buffer) {
        ScsiCommand c = MakeCommand(6, DataIn, buffer, 96);
        c.cdb[0] = 0x12;
        c.cdb[4] = 96;
        return c;
    }
};

TEST_F(SptiDeviceTest, OpenDriveLetterBeyondZFailsWithoutTouchingTheSystem) {
    CSptiDevice device;
    EXPECT_FALSE(device.OpenDriveLetter(26));
    EXPECT_FALSE(device.OpenDriveLetter(1000));
    EXPECT_TRUE(seam.calls.empty());
}

TEST_F(SptiDeviceTest, OpenDriveLetterOpensTheVolumePathAndUsesTheVolumeLock) {
    CSptiDevice device;
    ASSERT_TRUE(device.OpenDriveLetter('E' - 'A'));
    auto opens = CallsNamed("CreateFileA");
    ASSERT_EQ(opens.size(), 1u);
    EXPECT_EQ(std::string(opens[0].in.begin(), opens[0].in.end()), "\\\\.\\E:");
    EXPECT_EQ(opens[0].code, static_cast<DWORD>(GENERIC_READ | GENERIC_WRITE));
    EXPECT_FALSE(device.exclusiveAccess);
    EXPECT_TRUE(device.Close());
}

TEST_F(SptiDeviceTest, InterfacePathUsesExclusiveAccess) {
    CSptiDevice device;
    ASSERT_TRUE(device.Open(dvdWriterPath));
    EXPECT_TRUE(device.exclusiveAccess);
    EXPECT_EQ(device.Address().PortNumber, 1);
    device.Close();
}

TEST_F(SptiDeviceTest, UnknownPathFailsAfterTwoTries) {
    CSptiDevice device;
    EXPECT_FALSE(device.Open("\\\\.\\Q:"));
    auto opens = CallsNamed("CreateFileA");
    ASSERT_EQ(opens.size(), 2u);
    EXPECT_EQ(opens[1].code, static_cast<DWORD>(GENERIC_READ));
}

TEST_F(SptiDeviceTest, AttachReadsTheScsiAddressAndLun) {
    CSptiDevice device;
    ASSERT_TRUE(device.OpenDriveLetter('D' - 'A'));
    EXPECT_EQ(device.Address().PortNumber, 0);
    EXPECT_EQ(device.Address().TargetId, 1);
    EXPECT_EQ(device.LUN, 0);
    CSptiDevice second;
    EXPECT_TRUE(second.Attach(device.Handle(), true));
    EXPECT_TRUE(second.exclusiveAccess);
    EXPECT_EQ(second.Address().TargetId, 1);
    device.Close();
}

TEST_F(SptiDeviceTest, FailedAddressQueryLeavesZeros) {
    seam.failGetAddress = true;
    CSptiDevice device;
    ASSERT_TRUE(device.OpenDriveLetter('D' - 'A'));
    EXPECT_EQ(device.Address().TargetId, 0);
    EXPECT_EQ(device.Address().PortNumber, 0);
    EXPECT_EQ(device.LUN, 0);
    device.Close();
}

TEST_F(SptiDeviceTest, RequestBlockLayout) {
    CSptiDevice device;
    ASSERT_TRUE(device.OpenDriveLetter('D' - 'A'));
    uint8_t buffer[96] = {};
    ScsiCommand c = InquiryCommand(buffer);
    ASSERT_TRUE(device.ExecuteCommand(c, nullptr));
    DWORD inSize = 0, outSize = 0;
    SCSI_PASS_THROUGH_DIRECT spt = LastBlock(&inSize, &outSize);
    EXPECT_EQ(inSize, 56u);
    EXPECT_EQ(outSize, 88u);
    EXPECT_EQ(spt.Length, 56);
    EXPECT_EQ(spt.ScsiStatus, 0);
    EXPECT_EQ(spt.PathId, 0);
    EXPECT_EQ(spt.TargetId, 1);
    EXPECT_EQ(spt.Lun, 0);
    EXPECT_EQ(spt.CdbLength, 6);
    EXPECT_EQ(spt.SenseInfoLength, 32);
    EXPECT_EQ(spt.DataIn, SCSI_IOCTL_DATA_IN);
    EXPECT_EQ(spt.DataTransferLength, 96u);
    EXPECT_EQ(spt.DataBuffer, static_cast<void*>(buffer));
    EXPECT_EQ(spt.SenseInfoOffset, 56u);
    EXPECT_EQ(spt.Cdb[0], 0x12);
    EXPECT_EQ(spt.Cdb[4], 96);
    // The drive's answer lands directly in the caller's buffer.
    EXPECT_EQ(std::memcmp(buffer + 8, "HL-DT-ST", 8), 0);
    device.Close();
}

TEST_F(SptiDeviceTest, TimeoutHasAFloorOf65535Seconds) {
    CSptiDevice device;
    ASSERT_TRUE(device.OpenDriveLetter('E' - 'A'));
    uint8_t buffer[96] = {};
    ScsiCommand c = InquiryCommand(buffer);
    c.timeout = 10;
    device.ExecuteCommand(c, nullptr);
    EXPECT_EQ(LastBlock().TimeOutValue, 65535u);
    c.timeout = 70000;
    device.ExecuteCommand(c, nullptr);
    EXPECT_EQ(LastBlock().TimeOutValue, 70000u);
    c.timeout = 0;
    device.ExecuteCommand(c, nullptr);
    EXPECT_EQ(LastBlock().TimeOutValue, 65535u);
    device.Close();
}

TEST_F(SptiDeviceTest, DirectionMapping) {
    CSptiDevice device;
    ASSERT_TRUE(device.OpenDriveLetter('E' - 'A'));
    ScsiCommand c = MakeCommand(6, DataNone, nullptr, 0);
    c.cdb[0] = 0x1B;  // START STOP UNIT with nothing set: no data
    device.ExecuteCommand(c, nullptr);
    EXPECT_EQ(LastBlock().DataIn, SCSI_IOCTL_DATA_UNSPECIFIED);
    EXPECT_EQ(SCSI_IOCTL_DATA_UNSPECIFIED, 2);
    uint8_t page[16] = {};
    c = MakeCommand(10, DataOut, page, sizeof page);
    c.cdb[0] = 0x55;  // MODE SELECT(10)
    device.ExecuteCommand(c, nullptr);
    EXPECT_EQ(LastBlock().DataIn, SCSI_IOCTL_DATA_OUT);
    EXPECT_EQ(SCSI_IOCTL_DATA_OUT, 0);
    device.Close();
}

TEST_F(SptiDeviceTest, SuccessLeavesLastErrorAndResultUntouched) {
    CSptiDevice device;
    ASSERT_TRUE(device.OpenDriveLetter('E' - 'A'));
    // A failing command first: READ DISC STRUCTURE format FFh has no answer.
    uint8_t buffer[2052] = {};
    ScsiCommand bad = MakeCommand(12, DataIn, buffer, sizeof buffer);
    bad.cdb[0] = 0xAD;
    bad.cdb[7] = 0xFF;
    PutBE16(&bad.cdb[8], sizeof buffer);
    ScsiResult result;
    std::memset(&result, 0xCC, sizeof result);
    EXPECT_FALSE(device.ExecuteCommand(bad, &result));
    EXPECT_EQ(result.scsiStatus, 2);
    EXPECT_EQ(result.senseLength, 18u);
    EXPECT_EQ(result.sense[0], 0x70);
    EXPECT_EQ(result.sense[2], 5);
    EXPECT_EQ(result.sense[12], 0x24);
    EXPECT_EQ(std::memcmp(device.lastCdb, bad.cdb, 16), 0);
    EXPECT_EQ(device.lastSense[2], 5);
    EXPECT_EQ(device.lastSense[12], 0x24);

    uint8_t keptCdb[16], keptSense[32];
    std::memcpy(keptCdb, device.lastCdb, 16);
    std::memcpy(keptSense, device.lastSense, 32);
    uint8_t inquiry[96] = {};
    ScsiCommand good = InquiryCommand(inquiry);
    std::memset(&result, 0xCC, sizeof result);
    EXPECT_TRUE(device.ExecuteCommand(good, &result));
    EXPECT_EQ(std::memcmp(device.lastCdb, keptCdb, 16), 0);
    EXPECT_EQ(std::memcmp(device.lastSense, keptSense, 32), 0);
    ScsiResult untouched;
    std::memset(&untouched, 0xCC, sizeof untouched);
    EXPECT_EQ(std::memcmp(&result, &untouched, sizeof result), 0);
    device.Close();
}

TEST_F(SptiDeviceTest, UnknownOpcodeFailsWithInvalidCommandSense) {
    CSptiDevice device;
    ASSERT_TRUE(device.OpenDriveLetter('E' - 'A'));
    ScsiCommand c = MakeCommand(10, DataIn, nullptr, 0);
    c.cdb[0] = 0xBB;
    ScsiResult result{};
    EXPECT_FALSE(device.ExecuteCommand(c, &result));
    EXPECT_EQ(result.sense[2], 5);
    EXPECT_EQ(result.sense[12], 0x20);
    device.Close();
}

TEST_F(SptiDeviceTest, ReadOnlyOpenStillReads) {
    seam.denyReadWrite = true;
    CSptiDevice device;
    ASSERT_TRUE(device.Open(dvdWriterPath));
    auto opens = CallsNamed("CreateFileA");
    ASSERT_EQ(opens.size(), 2u);
    EXPECT_EQ(opens[0].code, static_cast<DWORD>(GENERIC_READ | GENERIC_WRITE));
    EXPECT_EQ(opens[1].code, static_cast<DWORD>(GENERIC_READ));
    uint8_t inquiry[96] = {};
    EXPECT_TRUE(device.ExecuteCommand(InquiryCommand(inquiry), nullptr));
    EXPECT_EQ(std::memcmp(inquiry + 16, "DVD+-RW GP60N", 13), 0);
    device.Close();
}

TEST_F(SptiDeviceTest, OpenDevicePathSecondTryIsReadShareRead) {
    seam.denyReadWrite = true;
    HANDLE h = OpenDevicePath(dvdWriterPath);
    ASSERT_NE(h, INVALID_HANDLE_VALUE);
    auto opens = CallsNamed("CreateFileA");
    ASSERT_EQ(opens.size(), 2u);
    Os().CloseHandle(h);
}

TEST_F(SptiDeviceTest, VolumeLockNotMountedFailsAfterOneErrorBoxWithoutDismount) {
    seam.lockVolumeFails = true;
    seam.volumeMounted = false;
    CSptiDevice device;
    ASSERT_TRUE(device.OpenDriveLetter('E' - 'A'));
    seam.calls.clear();
    EXPECT_FALSE(device.Lock());
    EXPECT_EQ(seam.messageBoxes, 1);
    EXPECT_EQ(seam.lastMessageCaption, L"");
    EXPECT_EQ(seam.lastMessageType, static_cast<UINT>(MB_ICONERROR | MB_TOPMOST));
    EXPECT_FALSE(seam.lastMessageText.empty());
    EXPECT_EQ(CallsNamed("DeviceIoControl", kFsctlLockVolume).size(), 1u);
    EXPECT_EQ(CallsNamed("DeviceIoControl", kFsctlIsVolumeMounted).size(), 1u);
    EXPECT_TRUE(CallsNamed("DeviceIoControl", kFsctlDismountVolume).empty());
    device.Close();
}

TEST_F(SptiDeviceTest, VolumeLockRetriesOnceAfterDismount) {
    seam.lockVolumeFails = true;
    CSptiDevice device;
    ASSERT_TRUE(device.OpenDriveLetter('E' - 'A'));
    seam.calls.clear();
    EXPECT_FALSE(device.Lock());
    EXPECT_EQ(seam.messageBoxes, 1);
    EXPECT_EQ(CallsNamed("DeviceIoControl", kFsctlLockVolume).size(), 2u);
    EXPECT_EQ(CallsNamed("DeviceIoControl", kFsctlDismountVolume).size(), 1u);
    device.Close();
}

TEST_F(SptiDeviceTest, VolumeLockAndUnlockByDismount) {
    CSptiDevice device;
    ASSERT_TRUE(device.OpenDriveLetter('E' - 'A'));
    seam.calls.clear();
    EXPECT_TRUE(device.Lock());
    EXPECT_EQ(seam.messageBoxes, 0);
    EXPECT_TRUE(device.Unlock());
    ASSERT_EQ(seam.calls.size(), 2u);
    EXPECT_EQ(seam.calls[0].code, kFsctlLockVolume);
    EXPECT_EQ(seam.calls[1].code, kFsctlDismountVolume);
    device.Close();
}

TEST_F(SptiDeviceTest, ExclusiveLockAndUnlockRequests) {
    CSptiDevice device;
    ASSERT_TRUE(device.Open(dvdWriterPath));
    seam.calls.clear();
    EXPECT_TRUE(device.Lock());
    EXPECT_TRUE(device.Unlock());
    ASSERT_EQ(seam.calls.size(), 2u);
    const auto& lock = seam.calls[0];
    EXPECT_EQ(lock.code, kIoctlCdromExclusiveAccess);
    ASSERT_EQ(lock.inSize, 72u);
    EXPECT_EQ(lock.outSize, 0u);
    DWORD head[2];
    std::memcpy(head, lock.in.data(), 8);
    EXPECT_EQ(head[0], 1u);
    EXPECT_EQ(head[1], 1u);
    char name[64];
    std::memcpy(name, lock.in.data() + 8, 64);
    EXPECT_STREQ(name, "Vexlon");
    for (int i = 6; i < 64; ++i) EXPECT_EQ(name[i], 0);
    const auto& unlock = seam.calls[1];
    ASSERT_EQ(unlock.inSize, 8u);
    std::memcpy(head, unlock.in.data(), 8);
    EXPECT_EQ(head[0], 2u);
    EXPECT_EQ(head[1], 2u);
    device.Close();
}

TEST_F(SptiDeviceTest, CloseClosesTheHandleOnce) {
    CSptiDevice device;
    ASSERT_TRUE(device.OpenDriveLetter('E' - 'A'));
    EXPECT_TRUE(device.Close());
    EXPECT_FALSE(device.Close());
}

TEST_F(SptiDeviceTest, CapabilitiesThroughPassThroughMatchTheEmulatedDevice) {
    CSptiDevice device;
    ASSERT_TRUE(device.Open(dvdWriterPath));
    DriveCapabilities viaSpti{}, direct{};
    EXPECT_TRUE(ReadCapabilities(device, viaSpti));
    CMmcTarget target(seam.Drive(0).File());
    CEmulatedDevice emulated(target);
    EXPECT_TRUE(ReadCapabilities(emulated, direct));
    EXPECT_EQ(std::memcmp(&viaSpti, &direct, sizeof direct), 0);
    EXPECT_NE(viaSpti.mediaFeatureBits, 0u);
    device.Close();
}

}  // namespace
