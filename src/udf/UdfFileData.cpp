// Reading and extracting a file's data through its extents.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "udf/UdfTree.h"

namespace {

constexpr uint32_t kSector = 2048;
constexpr uint32_t kExtractPiece = 0x10000;

uint64_t SectorsOf(uint32_t length) { return (static_cast<uint64_t>(length) + kSector - 1) >> 11; }

}  // namespace

std::vector<SectorRun> MapFileSectors(const FileNode* node, uint32_t first, uint32_t count) {
    std::vector<SectorRun> runs;
    uint64_t acc = 0, end = static_cast<uint64_t>(first) + count, wanted = count;
    for (uint32_t i = 0; i < node->extentCount && wanted > 0 && acc < end; ++i) {
        const FileExtent& e = node->extents[i];
        uint64_t n = SectorsOf(e.length);
        uint64_t s = std::max<uint64_t>(acc, first), stop = std::min(acc + n, end);
        if (s < stop) {
            runs.push_back(SectorRun{static_cast<uint32_t>(e.start + (s - acc)), static_cast<uint32_t>(stop - s)});
            wanted -= stop - s;
        }
        acc += n;
    }
    return runs;
}

bool ReadFileData(CUdfReader& reader, const FileNode* node, uint64_t offset, void* dst, uint32_t length,
                  uint32_t& got) {
    got = 0;
    if (!node || node->isDirectory) return false;
    // Clamped to the size, not to what lies after the offset.
    uint64_t size = node->size;
    uint64_t n = std::min<uint64_t>(length, size);
    uint32_t head = static_cast<uint32_t>(offset & (kSector - 1));
    uint64_t sectors = (head + n + kSector - 1) >> 11;
    std::vector<SectorRun> runs = MapFileSectors(node, static_cast<uint32_t>(offset >> 11), static_cast<uint32_t>(sectors));
    uint8_t* out = static_cast<uint8_t*>(dst);
    if (head == 0 && n % kSector == 0) {
        for (const SectorRun& run : runs) {
            uint32_t bytes = run.count * kSector;
            reader.CachedRead(run.start, bytes, out + got);
            got += bytes;
        }
        return true;
    }
    uint8_t bounce[kSector];
    bool firstSector = true;
    for (const SectorRun& run : runs) {
        for (uint32_t i = 0; i < run.count && got < n; ++i) {
            std::memset(bounce, 0, sizeof bounce);
            reader.CachedRead(run.start + i, kSector, bounce);
            uint32_t from = firstSector ? head : 0;
            uint32_t take = static_cast<uint32_t>(std::min<uint64_t>(kSector - from, n - got));
            std::memcpy(out + got, bounce + from, take);
            got += take;
            firstSector = false;
        }
    }
    return true;
}

bool ExtractFile(CUdfReader& reader, const FileNode* node, const char* path) {
    if (!node || node->isDirectory || !path) return false;
    FILE* file = std::fopen(path, "wb");
    if (!file) return false;
    uint8_t* piece = static_cast<uint8_t*>(std::malloc(kExtractPiece));
    bool ok = piece != nullptr;
    for (uint64_t offset = 0, remaining = node->size; ok && remaining > 0;) {
        uint32_t chunk = static_cast<uint32_t>(std::min<uint64_t>(remaining, kExtractPiece));
        uint32_t got = 0;
        ReadFileData(reader, node, offset, piece, chunk, got);
        if (got != chunk) {
            ok = false;
            break;
        }
        std::fwrite(piece, 1, chunk, file);
        offset += chunk;
        remaining -= chunk;
    }
    std::free(piece);
    std::fclose(file);
    return ok;
}
