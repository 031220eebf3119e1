// What the drive side costs, against the drive's own floor. For mounts (the
// whole tree is built at mount) of 1,000 / 10,000 / 100,000 files with the
// metadata contiguous, scattered among the file data, and in a 2.50 Metadata
// Partition, and for the disc dump of a BD layout whose first file data lies
// 64 MiB in, under a DVD and a BD drive's timing: commands sent, sectors read,
// simulated drive time, wall time, the bytes the reader holds, and the floor:
// the sectors the work needs read at the drive's rate, one seek per
// discontiguity and one command per 64 KiB of each contiguous run.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "BenchImages.h"
#include "emulation/EmulatedDevice.h"
#include "emulation/MmcTarget.h"
#include "pages/DiscDump.h"
#include "udf/UdfReader.h"

namespace {

// Contiguous: every directory's data right after its entry, then its
// children; post-order: a directory's data after all of its subtree (the
// worst order for a reader, which learns of the children only at the end).
enum Layout { kContiguous = 0, kScattered = 1, kMetadataPartition = 2, kDumpLayout = 3, kPostOrder = 4 };

struct Timing {
    const char* name;
    double commandMs, seekMs, rateKBps;
};
// As the team's recorded drives are timed.
const Timing kDvd{"dvd", 0.5, 90, 11080};
const Timing kBd{"bd", 0.5, 150, 26970};

std::string ImageOf(int files, Layout layout) {
    udfmaster::Options options;
    options.revision = layout == kMetadataPartition || layout == kDumpLayout ? 0x0250 : 0x0201;
    options.efe = options.revision >= 0x0250;
    options.ad = udfmaster::kLong;
    options.scatter = layout == kScattered;
    options.dataAfterEntry = layout != kPostOrder;
    if (layout == kDumpLayout) options.dataStart = 32768 - 257;  // file data from 64 MiB on
    return BenchImage(files, options, "reads-" + std::to_string(int(layout)));
}

DriveFile DriveOf(const std::string& image, const Timing& timing) {
    DriveFile drive;
    drive.imagePath = image;
    drive.hasSectors = true;
    std::ifstream in(image, std::ios::binary | std::ios::ate);
    drive.sectors = static_cast<uint64_t>(in.tellg()) / 2048;
    drive.timing = DriveTiming{timing.commandMs, timing.seekMs, timing.rateKBps};
    return drive;
}

double SevenZipListMs(const std::string& image) {
    auto start = std::chrono::steady_clock::now();
    if (std::system(("7z l '" + image + "' >/dev/null 2>&1").c_str()) != 0) return -1;
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

struct Floor {
    double commands = 0, ms = 0, sectors = 0;
};

// The floor of reading these sector ranges: distinct sectors at the rate,
// one seek per gap between runs, one command per 64 KiB of each run.
Floor FloorOf(std::vector<std::pair<uint32_t, uint32_t>> ranges, const Timing& timing) {
    std::sort(ranges.begin(), ranges.end());
    std::vector<std::pair<uint64_t, uint64_t>> runs;  // [first, end)
    for (const auto& r : ranges) {
        uint64_t first = r.first, end = uint64_t(r.first) + r.second;
        if (!runs.empty() && first <= runs.back().second) runs.back().second = std::max(runs.back().second, end);
        else runs.emplace_back(first, end);
    }
    Floor f;
    for (const auto& run : runs) {
        uint64_t n = run.second - run.first;
        f.sectors += double(n);
        f.commands += double((n + 31) / 32);
    }
    double seeks = runs.empty() ? 0 : double(runs.size() - 1);
    f.ms = f.sectors * 2.048 / timing.rateKBps * 1000.0 + seeks * timing.seekMs + f.commands * timing.commandMs;
    return f;
}

uint64_t SectorsRead(const CMmcTarget& target) {
    uint64_t sectors = 0;
    for (const TranscriptEntry& t : target.Transcript())
        if (t.cdb[0] == 0x28) sectors += (uint32_t(t.cdb[7]) << 8) | t.cdb[8];
    return sectors;
}

void Report(benchmark::State& state, uint64_t commands, uint64_t sectors, double simMs, const Floor& floor) {
    state.counters["commands"] = double(commands);
    state.counters["sectors"] = double(sectors);
    state.counters["sim_ms"] = simMs;
    state.counters["floor_commands"] = floor.commands;
    state.counters["floor_ms"] = floor.ms;
    state.counters["x_commands"] = floor.commands > 0 ? double(commands) / floor.commands : 0;
    state.counters["x_sim"] = floor.ms > 0 ? simMs / floor.ms : 0;
}

void Mount(benchmark::State& state, Layout layout, const Timing& timing) {
    std::string image = ImageOf(static_cast<int>(state.range(0)), layout);
    DriveFile drive = DriveOf(image, timing);
    uint64_t commands = 0, sectors = 0, held = 0, windows = 0;
    double simMs = 0;
    std::vector<std::pair<uint32_t, uint32_t>> asked;
    for (auto _ : state) {
        CMmcTarget target(drive);
        CEmulatedDevice device(target);
        CUdfReader reader;
        asked.clear();
        reader.requestLog = &asked;
        if (!reader.MountDevice(&device)) state.SkipWithError("mount failed");
        commands = target.CommandCount();
        sectors = SectorsRead(target);
        simMs = target.ClockMs();
        held = reader.MemoryInUse();
        windows = reader.readAhead.MemoryInUse() + reader.cacheSize;
    }
    // The cache of sectors 0-2047 is filled whatever the mount needs.
    asked.emplace_back(0, uint32_t(std::min<uint64_t>(2048, drive.sectors)));
    Report(state, commands, sectors, simMs, FloorOf(asked, timing));
    state.counters["reader_bytes"] = double(held);
    state.counters["cache_bytes"] = double(windows);
    state.counters["7z_l_ms"] = SevenZipListMs(image);
}

void Dump(benchmark::State& state, const Timing& timing) {
    std::string image = ImageOf(1000, kDumpLayout);
    DriveFile drive = DriveOf(image, timing);
    uint64_t commands = 0, sectors = 0;
    uint32_t written = 0;
    double simMs = 0;
    uint64_t mountCommands = 0;
    for (auto _ : state) {
        CMmcTarget target(drive);
        CEmulatedDevice device(target);
        CUdfReader reader;
        if (!reader.MountDevice(&device)) state.SkipWithError("mount failed");
        mountCommands = target.CommandCount();
        double mountMs = target.ClockMs();
        uint64_t mountSectors = SectorsRead(target);
        uint32_t count = DumpSectorCount(reader.lowestDataSector, reader.medium);
        WriteSectors(device, count, "/tmp/vexlon-bench-dump.bin", &written);
        commands = target.CommandCount() - mountCommands;
        sectors = SectorsRead(target) - mountSectors;
        simMs = target.ClockMs() - mountMs;
    }
    std::remove("/tmp/vexlon-bench-dump.bin");
    Report(state, commands, sectors, simMs, FloorOf({{0, written}}, timing));
    state.counters["dump_sectors"] = double(written);
}

void MountContiguousDvd(benchmark::State& s) { Mount(s, kContiguous, kDvd); }
void MountContiguousBd(benchmark::State& s) { Mount(s, kContiguous, kBd); }
void MountPostOrderDvd(benchmark::State& s) { Mount(s, kPostOrder, kDvd); }
void MountPostOrderBd(benchmark::State& s) { Mount(s, kPostOrder, kBd); }
void MountScatteredDvd(benchmark::State& s) { Mount(s, kScattered, kDvd); }
void MountScatteredBd(benchmark::State& s) { Mount(s, kScattered, kBd); }
void MountMetadataPartitionDvd(benchmark::State& s) { Mount(s, kMetadataPartition, kDvd); }
void MountMetadataPartitionBd(benchmark::State& s) { Mount(s, kMetadataPartition, kBd); }
void DumpBd(benchmark::State& s) { Dump(s, kBd); }
void DumpDvd(benchmark::State& s) { Dump(s, kDvd); }

}  // namespace

#define VEXLON_MOUNT_SIZES ->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)->Iterations(1)
BENCHMARK(MountContiguousDvd) VEXLON_MOUNT_SIZES;
BENCHMARK(MountContiguousBd) VEXLON_MOUNT_SIZES;
BENCHMARK(MountPostOrderDvd) VEXLON_MOUNT_SIZES;
BENCHMARK(MountPostOrderBd) VEXLON_MOUNT_SIZES;
BENCHMARK(MountScatteredDvd) VEXLON_MOUNT_SIZES;
BENCHMARK(MountScatteredBd) VEXLON_MOUNT_SIZES;
BENCHMARK(MountMetadataPartitionDvd) VEXLON_MOUNT_SIZES;
BENCHMARK(MountMetadataPartitionBd) VEXLON_MOUNT_SIZES;
BENCHMARK(DumpBd)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(DumpDvd)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK_MAIN();
