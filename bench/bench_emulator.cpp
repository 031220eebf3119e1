// The drive emulator under load: the capability read of every shared drive,
// and the plain dispatch of the three commands the pages send most. Besides
// wall time each reports commands per second and the simulated drive time
// one iteration costs by the drive file's timing.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "device/Capabilities.h"
#include "emulation/DriveFile.h"
#include "emulation/EmulatedDevice.h"
#include "emulation/MmcTarget.h"

namespace {

const char* const kDrives[] = {
    "dvd-writer-blank-dvdplusrw.drive",
    "dvdram-writer-recorded-dvdrw.drive",
    "cd-writer-blank-cdr.drive",
    "bd-writer-recorded-bdr.drive",
};

std::unique_ptr<CMmcTarget> LoadTarget(const std::string& file, std::string& error) {
    DriveFile drive;
    if (!LoadDriveFile(std::string(VEXLON_SHARED_DIR) + "/drives/" + file, drive, error)) return nullptr;
    std::vector<DriveFile> one;
    one.push_back(std::move(drive));
    ApplyLoadOrderDefaults(one);
    return std::make_unique<CMmcTarget>(std::move(one[0]));
}

void ReportCounters(benchmark::State& state, const CMmcTarget& target, uint64_t commandsBefore) {
    double commands = static_cast<double>(target.CommandCount() - commandsBefore);
    state.counters["commands/s"] = benchmark::Counter(commands, benchmark::Counter::kIsRate);
    state.counters["commands/iter"] = benchmark::Counter(commands, benchmark::Counter::kAvgIterations);
    state.counters["sim_ms/iter"] = benchmark::Counter(target.ClockMs(), benchmark::Counter::kAvgIterations);
}

void BM_ReadCapabilities(benchmark::State& state, const char* file) {
    std::string error;
    std::unique_ptr<CMmcTarget> target = LoadTarget(file, error);
    if (!target) {
        state.SkipWithError(error.c_str());
        return;
    }
    CEmulatedDevice device(*target);
    uint64_t before = target->CommandCount();
    for (auto _ : state) {
        DriveCapabilities caps;
        benchmark::DoNotOptimize(ReadCapabilities(device, caps));
        benchmark::DoNotOptimize(caps);
        target->ClearTranscript();  // keeps memory flat over millions of runs
    }
    ReportCounters(state, *target, before);
}

ScsiCommand Command(uint8_t cdbLength, void* data, uint32_t length) {
    ScsiCommand c{};
    c.cdbLength = cdbLength;
    c.direction = DataIn;
    c.data = data;
    c.transferLength = length;
    c.timeout = 10;
    return c;
}

void BM_EmulatorDispatch(benchmark::State& state) {
    std::string error;
    std::unique_ptr<CMmcTarget> target = LoadTarget("dvdram-writer-recorded-dvdrw.drive", error);
    if (!target) {
        state.SkipWithError(error.c_str());
        return;
    }
    CEmulatedDevice device(*target);
    constexpr uint16_t kReadSectors = 32;
    std::vector<uint8_t> inquiry(96), features(65530), sectors(kReadSectors * 2048u);

    ScsiCommand inquiryCommand = Command(6, inquiry.data(), 96);
    inquiryCommand.cdb[0] = 0x12;
    inquiryCommand.cdb[4] = 96;
    ScsiCommand configuration = Command(10, features.data(), 65530);
    configuration.cdb[0] = 0x46;
    configuration.cdb[7] = 0xFF;
    configuration.cdb[8] = 0xFA;
    ScsiCommand read = Command(10, sectors.data(), kReadSectors * 2048u);
    read.cdb[0] = 0x28;
    read.cdb[8] = kReadSectors;

    // Reads walk the disc front to back, as a dump does, and start over at the end.
    uint32_t lastStart = static_cast<uint32_t>(target->File().sectors) - kReadSectors;
    uint32_t lba = 0;
    uint64_t before = target->CommandCount();
    bool ok = true;
    for (auto _ : state) {
        read.cdb[2] = static_cast<uint8_t>(lba >> 24);
        read.cdb[3] = static_cast<uint8_t>(lba >> 16);
        read.cdb[4] = static_cast<uint8_t>(lba >> 8);
        read.cdb[5] = static_cast<uint8_t>(lba);
        ok &= device.ExecuteCommand(inquiryCommand, nullptr);
        ok &= device.ExecuteCommand(configuration, nullptr);
        ok &= device.ExecuteCommand(read, nullptr);
        benchmark::DoNotOptimize(sectors.data());
        lba = lba + kReadSectors > lastStart ? 0 : lba + kReadSectors;
        target->ClearTranscript();
    }
    if (!ok) state.SkipWithError("a command failed");
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * (96 + 244 + kReadSectors * 2048));
    ReportCounters(state, *target, before);
}

}  // namespace

int main(int argc, char** argv) {
    for (const char* file : kDrives) {
        std::string name = std::string("BM_ReadCapabilities/") + std::string(file).substr(0, std::string(file).find('.'));
        benchmark::RegisterBenchmark(name.c_str(), BM_ReadCapabilities, file);
    }
    benchmark::RegisterBenchmark("BM_EmulatorDispatch", BM_EmulatorDispatch);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
