// One drive file loaded the way vexlon-report loads it, then asked the
// commands a report sends: load time (wall and processor), heap bytes held by
// the loaded target, the heap's peak during the load, and the cost of one
// command of each kind. Built and run by tools/drive-file-figures.sh.
//
//   drive-file-figures FILE [copy]
//
// "copy" hands the file on by copies (loader, vector, target), as the report
// tool once did, to show what the copies cost.

#include <chrono>
#include <ctime>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "emulation/DriveFile.h"
#include "emulation/MmcTarget.h"

namespace {

size_t liveBytes = 0, peakBytes = 0;

void* Take(size_t size) {
    // A header in front of each block remembers its size for the release.
    auto* block = static_cast<size_t*>(std::malloc(size + 16));
    if (!block) throw std::bad_alloc();
    *block = size;
    liveBytes += size;
    if (liveBytes > peakBytes) peakBytes = liveBytes;
    return reinterpret_cast<char*>(block) + 16;
}

void Give(void* p) {
    if (!p) return;
    auto* block = reinterpret_cast<size_t*>(static_cast<char*>(p) - 16);
    liveBytes -= *block;
    std::free(block);
}

double Seconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

struct Probe {
    const char* name;
    uint8_t cdb[12];
    uint32_t length;
};

}  // namespace

void* operator new(size_t size) { return Take(size); }
void* operator new[](size_t size) { return Take(size); }
void operator delete(void* p) noexcept { Give(p); }
void operator delete[](void* p) noexcept { Give(p); }
void operator delete(void* p, size_t) noexcept { Give(p); }
void operator delete[](void* p, size_t) noexcept { Give(p); }

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: drive-file-figures FILE [copy]\n");
        return 2;
    }
    bool copy = argc > 2 && std::strcmp(argv[2], "copy") == 0;
    size_t before = liveBytes;
    peakBytes = liveBytes;
    double start = Seconds();
    std::clock_t cpuStart = std::clock();
    DriveFile file;
    std::string error;
    if (!LoadDriveFile(argv[1], file, error)) {
        std::printf("refused: %s\n", error.substr(0, 200).c_str());
        std::printf("time %.1f ms, heap peak %.1f MB\n", (Seconds() - start) * 1e3, (peakBytes - before) / 1e6);
        return 1;
    }
    std::vector<DriveFile> one;
    if (copy) one.push_back(file);
    else one.push_back(std::move(file));
    ApplyLoadOrderDefaults(one);
    CMmcTarget* target = copy ? new CMmcTarget(one[0]) : new CMmcTarget(std::move(one[0]));
    double loaded = Seconds();
    double cpu = static_cast<double>(std::clock() - cpuStart) / CLOCKS_PER_SEC;
    std::printf("%s%s: %zu blocks, loaded in %.1f ms (%.1f ms processor), heap held %.1f MB, peak %.1f MB\n",
                argv[1], copy ? " (by copies)" : "", target->File().blocks.size(), (loaded - start) * 1e3, cpu * 1e3,
                (liveBytes - before) / 1e6, (peakBytes - before) / 1e6);

    const Probe probes[] = {
        {"INQUIRY", {0x12, 0, 0, 0, 0x60, 0}, 96},
        {"READ CAPACITY", {0x25, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 8},
        {"READ(10) 1 sector", {0x28, 0, 0, 0, 0, 1, 0, 0, 1, 0}, 2048},
        {"MODE SENSE(10) 2A", {0x5A, 0, 0x2A, 0, 0, 0, 0, 0, 0xFC, 0}, 252},
    };
    std::vector<uint8_t> buffer(65536);
    const int kRounds = 1000;
    for (const Probe& p : probes) {
        double t = Seconds();
        MmcReply reply;
        for (int i = 0; i < kRounds; ++i) {
            reply = target->Execute(p.cdb, p.cdb[0] < 0x20 ? 6 : 10, DataIn, buffer.data(), p.length);
            target->ClearTranscript();
        }
        std::printf("  %-18s %8.2f us per command (status %u, %u bytes)\n", p.name, (Seconds() - t) * 1e6 / kRounds,
                    reply.status, reply.transferred);
    }
    delete target;
    return 0;
}
