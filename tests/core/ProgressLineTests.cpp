#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "TestPaths.h"
#include "emulation/DriveFile.h"
#include "emulation/EmulatedDevice.h"
#include "emulation/MmcTarget.h"
#include "report/DriveCapture.h"
#include "report/ProgressLine.h"

namespace {

namespace fs = std::filesystem;

TEST(ProgressLine, TextShowsSectorsRateAndTimeLeft) {
    EXPECT_EQ(ProgressText(0, 4096, 0), "0 of 4,096 sectors");
    // 1,024 sectors (2 MiB) in 1 s: 2.1 MB/s, the other 3,072 take 3 s.
    EXPECT_EQ(ProgressText(1024, 4096, 1.0), "1,024 of 4,096 sectors  2.1 MB/s  0:03 left");
    EXPECT_EQ(ProgressText(4096, 4096, 2.0), "4,096 of 4,096 sectors  4.2 MB/s  0:00 left");
}

std::string Drawn(void (*use)(CProgressLine&)) {
    FILE* f = std::tmpfile();
    {
        CProgressLine line(f);
        use(line);
    }
    std::rewind(f);
    std::string text;
    char chunk[256];
    size_t n;
    while ((n = std::fread(chunk, 1, sizeof chunk, f)) > 0) text.append(chunk, n);
    std::fclose(f);
    return text;
}

TEST(ProgressLine, RedrawsInPlaceAndEndsWithANewline) {
    std::string text = Drawn([](CProgressLine& line) {
        for (uint64_t i = 1; i <= 1000; ++i) line.Advance(i, 1000);
    });
    ASSERT_FALSE(text.empty());
    EXPECT_EQ(text.front(), '\r');
    EXPECT_EQ(text.back(), '\n');
    // The first and the last state are drawn; the ones between are thinned out.
    EXPECT_NE(text.find("1 of 1,000 sectors"), std::string::npos) << text;
    EXPECT_NE(text.find("1,000 of 1,000 sectors"), std::string::npos) << text;
    EXPECT_LT(std::count(text.begin(), text.end(), '\r'), 10);
}

TEST(ProgressLine, SilentWithoutATerminal) {
    CProgressLine line(nullptr);
    line.Advance(1, 2);  // nothing to write to, nothing written
    SUCCEED();
}

struct Recorder : CProgress {
    void Advance(uint64_t done, uint64_t total) override { calls.push_back({done, total}); }
    std::vector<std::pair<uint64_t, uint64_t>> calls;
};

TEST(ProgressLine, CaptureReportsTheImageSectors) {
    DriveFile file;
    std::string error;
    ASSERT_TRUE(LoadDriveFile(SharedPath("drives/bd-writer-recorded-bdr.drive"), file, error)) << error;
    CMmcTarget target(file);
    CEmulatedDevice device(target);
    ReportDrive drive{&device, 'G', 3, 0, 0, file.path, 0};
    fs::path dir = fs::temp_directory_path() / ("vexlon-progress-" + std::to_string(std::rand()));
    fs::create_directories(dir);
    Recorder progress;
    CaptureRequest request{(dir / "bd.drive").string(), true, 100, "2026-01-01", &progress};
    ASSERT_TRUE(CaptureDrive(drive, request, error)) << error;
    ASSERT_EQ(progress.calls.size(), 4u);  // 32 + 32 + 32 + 4 sectors
    EXPECT_EQ(progress.calls[0], (std::pair<uint64_t, uint64_t>{32, 100}));
    EXPECT_EQ(progress.calls.back(), (std::pair<uint64_t, uint64_t>{100, 100}));
    fs::remove_all(dir);
}

}  // namespace
