#include <gtest/gtest.h>

#include <scsi/sg.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "TestPaths.h"
#include "device/SgIoDevice.h"
#include "emulation/DriveFile.h"
#include "emulation/EmulatedDevice.h"
#include "emulation/MmcTarget.h"
#include "report/ReportCommands.h"

namespace {

// The kernel's side of SG_IO played by the drive emulator: each sg_io_hdr is
// checked as a driver would check it, then answered from a drive file.
class CEmulatedSgSeam final : public CSgSeam {
public:
    explicit CEmulatedSgSeam(CMmcTarget& mmc) : target(mmc) {}

    int Open(const std::string& path, int& error) override {
        opened.push_back(path);
        if (path == "/dev/sr0") return error = 0, kFd;
        if (path == "/dev/sg7") return error = EACCES, -1;
        if (path == "/dev/null") return error = 0, kNotScsiFd;
        return error = ENOENT, -1;
    }

    int Ioctl(int fd, unsigned long request, void* argument, int& error) override {
        if (fd == kNotScsiFd) return error = ENOTTY, -1;
        if (request == SG_GET_VERSION_NUM) return *static_cast<int*>(argument) = 30527, error = 0, 0;
        if (request != SG_IO) return error = ENOTTY, -1;
        sg_io_hdr_t& io = *static_cast<sg_io_hdr_t*>(argument);
        headers.push_back(io);
        if (io.interface_id != 'S' || io.cmd_len < 6 || io.cmd_len > 16 || !io.cmdp || !io.sbp || io.mx_sb_len == 0 ||
            io.iovec_count != 0 || (io.dxfer_len && !io.dxferp))
            return error = EINVAL, -1;
        DataDirection direction = io.dxfer_direction == SG_DXFER_FROM_DEV ? DataIn
                                  : io.dxfer_direction == SG_DXFER_TO_DEV ? DataOut
                                                                          : DataNone;
        MmcReply reply = target.Execute(io.cmdp, io.cmd_len, direction, static_cast<uint8_t*>(io.dxferp),
                                        io.dxfer_len);
        io.status = reply.status;
        io.masked_status = reply.status >> 1;
        io.host_status = 0;
        io.driver_status = reply.status ? 0x08 : 0;  // DRIVER_SENSE
        io.sb_len_wr = static_cast<unsigned char>(std::min<uint32_t>(reply.senseLength, io.mx_sb_len));
        std::memcpy(io.sbp, reply.sense, io.sb_len_wr);
        io.resid = static_cast<int>(io.dxfer_len - std::min(io.dxfer_len, reply.transferred));
        io.info = reply.status ? SG_INFO_CHECK : SG_INFO_OK;
        return error = 0, 0;
    }

    void Close(int fd) override { closed.push_back(fd); }

    static constexpr int kFd = 5, kNotScsiFd = 6;
    CMmcTarget& target;
    std::vector<std::string> opened;
    std::vector<int> closed;
    std::vector<sg_io_hdr_t> headers;
};

struct Drive {
    explicit Drive(const std::string& name) {
        std::string error;
        EXPECT_TRUE(LoadDriveFile(SharedPath("drives/" + name), file, error)) << error;
        std::vector<DriveFile> one{file};
        ApplyLoadOrderDefaults(one);
        file = one[0];
    }
    DriveFile file;
};

std::string RunOn(CDevice& device, const std::string& command) {
    ReportDrive drive{&device, 'E', 1, 0, 0, "/dev/sr0"};
    std::string out, error;
    EXPECT_TRUE(RunReportCommand(command, {}, drive, out, error)) << error;
    return out;
}

TEST(SgIoDevice, EveryPageReadsAsThroughTheEmulatedDevice) {
    for (const char* name : {"bd-writer-recorded-bdr.drive", "cd-writer-blank-cdr.drive",
                             "dvd-writer-blank-dvdplusrw.drive", "dvdram-writer-recorded-dvdrw.drive"}) {
        Drive d(name);
        CMmcTarget viaSg(d.file), direct(d.file);
        CEmulatedSgSeam seam(viaSg);
        CSgIoDevice sg(seam);
        ASSERT_TRUE(sg.Open("/dev/sr0")) << sg.OpenError();
        CEmulatedDevice emulated(direct);
        for (const char* command : {"ids", "drive", "capabilities", "features", "media", "files"})
            EXPECT_EQ(RunOn(sg, command), RunOn(emulated, command)) << name << " " << command;
        EXPECT_EQ(viaSg.CommandCount(), direct.CommandCount()) << name;
        EXPECT_TRUE(sg.Close());
        EXPECT_EQ(seam.closed, std::vector<int>{CEmulatedSgSeam::kFd});
    }
}

TEST(SgIoDevice, TheHeaderIsBuiltExactly) {
    Drive d("bd-writer-recorded-bdr.drive");
    CMmcTarget target(d.file);
    CEmulatedSgSeam seam(target);
    CSgIoDevice sg(seam);
    ASSERT_TRUE(sg.Open("/dev/sr0"));
    uint8_t buffer[2048 * 2] = {};
    ScsiCommand read{};
    read.cdb[0] = 0x28;
    read.cdb[5] = 16;
    read.cdb[8] = 2;
    read.cdbLength = 10;
    read.data = buffer;
    read.transferLength = sizeof buffer;
    read.direction = DataIn;
    read.timeout = 10;
    ASSERT_TRUE(sg.ExecuteCommand(read, nullptr));
    ASSERT_EQ(seam.headers.size(), 1u);
    const sg_io_hdr_t& io = seam.headers[0];
    EXPECT_EQ(io.interface_id, 'S');
    EXPECT_EQ(io.dxfer_direction, SG_DXFER_FROM_DEV);
    EXPECT_EQ(io.cmd_len, 10);
    EXPECT_EQ(std::memcmp(io.cmdp, read.cdb, 10), 0);
    EXPECT_EQ(io.dxferp, static_cast<void*>(buffer));
    EXPECT_EQ(io.dxfer_len, sizeof buffer);
    EXPECT_EQ(io.mx_sb_len, 32);
    EXPECT_NE(io.sbp, nullptr);
    EXPECT_EQ(io.timeout, 10000u);
    EXPECT_EQ(io.iovec_count, 0);
    // The two sectors arrive as the disc image holds them.
    std::ifstream image(SharedPath("discs/udf-pycdlib.iso"), std::ios::binary);
    std::vector<char> expected(sizeof buffer);
    image.seekg(16 * 2048);
    image.read(expected.data(), static_cast<std::streamsize>(expected.size()));
    EXPECT_EQ(std::memcmp(buffer, expected.data(), sizeof buffer), 0);

    ScsiCommand none{};
    none.cdb[0] = 0x1B;
    none.cdbLength = 6;
    none.direction = DataNone;
    none.timeout = 10;
    sg.ExecuteCommand(none, nullptr);
    EXPECT_EQ(seam.headers.back().dxfer_direction, SG_DXFER_NONE);
    EXPECT_EQ(seam.headers.back().dxfer_len, 0u);
    EXPECT_EQ(seam.headers.back().dxferp, nullptr);
}

TEST(SgIoDevice, AFailedCommandReportsSenseAndTheResidualCount) {
    Drive d("bd-writer-recorded-bdr.drive");
    CMmcTarget target(d.file);
    CEmulatedSgSeam seam(target);
    CSgIoDevice sg(seam);
    ASSERT_TRUE(sg.Open("/dev/sr0"));
    uint8_t buffer[2048] = {};
    ScsiCommand read{};
    read.cdb[0] = 0x28;
    std::memset(read.cdb + 2, 0xFF, 4);  // far past the medium
    read.cdb[8] = 1;
    read.cdbLength = 10;
    read.data = buffer;
    read.transferLength = sizeof buffer;
    read.direction = DataIn;
    ScsiResult result{};
    EXPECT_FALSE(sg.ExecuteCommand(read, &result));
    EXPECT_EQ(result.scsiStatus, 2);
    EXPECT_EQ(result.transferredLength, 0u);
    ASSERT_GE(result.senseLength, 14u);
    EXPECT_EQ(result.sense[2] & 0x0F, 5);
    EXPECT_EQ(result.sense[12], 0x21);
}

TEST(SgIoDevice, OpenErrorsNameTheReason) {
    Drive d("bd-writer-recorded-bdr.drive");
    CMmcTarget target(d.file);
    CEmulatedSgSeam seam(target);
    CSgIoDevice sg(seam);
    EXPECT_FALSE(sg.Open("/dev/sr9"));
    EXPECT_EQ(sg.OpenError(), "cannot open /dev/sr9: no such device");
    EXPECT_FALSE(sg.Open("/dev/sg7"));
    EXPECT_EQ(sg.OpenError(), "cannot open /dev/sg7: permission denied (add the user to the cdrom group)");
    EXPECT_FALSE(sg.Open("/dev/null"));
    EXPECT_EQ(sg.OpenError(), "cannot open /dev/null: not a SCSI (sr or sg) device");
    EXPECT_EQ(seam.closed, std::vector<int>{CEmulatedSgSeam::kNotScsiFd});
    ScsiCommand any{};
    EXPECT_FALSE(sg.ExecuteCommand(any, nullptr));
}

}  // namespace
