// Mounting UDF volumes of 1,000, 10,000 and 100,000 files from the emulator,
// under a DVD and a BD drive's timing: wall time, commands sent, sectors
// read and simulated drive time per mount, with the wall time of `7z l` on
// the same image as a counter for comparison.

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string>

#include "BenchImages.h"
#include "emulation/EmulatedDevice.h"
#include "emulation/MmcTarget.h"
#include "udf/UdfReader.h"

namespace {

std::string ImageOf(int files) {
    udfmaster::Options options;
    options.revision = 0x0250;
    options.efe = true;
    options.ad = udfmaster::kLong;
    return BenchImage(files, options, "udf");
}

double SevenZipListMs(const std::string& image) {
    auto start = std::chrono::steady_clock::now();
    if (std::system(("7z l '" + image + "' >/dev/null 2>&1").c_str()) != 0) return -1;
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

void Mount(benchmark::State& state, double commandMs, double seekMs, double rateKBps) {
    int files = static_cast<int>(state.range(0));
    std::string image = ImageOf(files);
    DriveFile drive;
    drive.imagePath = image;
    drive.hasSectors = true;
    std::ifstream in(image, std::ios::binary | std::ios::ate);
    drive.sectors = static_cast<uint64_t>(in.tellg()) / 2048;
    drive.timing = DriveTiming{commandMs, seekMs, rateKBps};
    uint64_t commands = 0, sectors = 0, nodes = 0;
    double simMs = 0;
    for (auto _ : state) {
        CMmcTarget target(drive);
        CEmulatedDevice device(target);
        CUdfReader reader;
        if (!reader.MountDevice(&device)) state.SkipWithError("mount failed");
        commands += target.CommandCount();
        for (const TranscriptEntry& t : target.Transcript())
            if (t.cdb[0] == 0x28) sectors += (uint32_t(t.cdb[7]) << 8) | t.cdb[8];
        simMs += target.ClockMs();
        nodes = reader.nodeCount;
    }
    state.counters["commands"] = benchmark::Counter(double(commands), benchmark::Counter::kAvgIterations);
    state.counters["sectors"] = benchmark::Counter(double(sectors), benchmark::Counter::kAvgIterations);
    state.counters["sim_ms"] = benchmark::Counter(simMs, benchmark::Counter::kAvgIterations);
    state.counters["nodes"] = double(nodes);
    state.counters["7z_l_ms"] = SevenZipListMs(image);
}

// A DVD drive (0.5 ms per command, 90 ms seeks, 11,080 kB/s) and a BD drive
// (0.5 ms, 150 ms, 26,970 kB/s), as the team's recorded drives are timed.
void MountDvd(benchmark::State& state) { Mount(state, 0.5, 90, 11080); }
void MountBd(benchmark::State& state) { Mount(state, 0.5, 150, 26970); }

}  // namespace

BENCHMARK(MountDvd)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(MountBd)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
