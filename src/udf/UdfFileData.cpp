// Reading and extracting a file's data through its extents.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "udf/UdfLimits.h"
#include "udf/UdfTree.h"

namespace {

constexpr uint32_t kSector = 2048;
constexpr uint32_t kExtractPiece = 0x10000;

uint64_t SectorsOf(uint64_t length) { return (length + kSector - 1) >> 11; }

// Reads one run into `out`; returns the sectors read before the first that
// fails (then `failed` is set and reader.failedSector names it). Sectors past
// the medium's known end fail without a command, and a failed run is read
// again one sector at a time so that everything before the bad sector
// counts.
uint32_t ReadRun(CUdfReader& reader, const SectorRun& run, uint8_t* out, bool& failed) {
    uint64_t readable = run.count;
    if (reader.medium.known)
        readable = reader.medium.sectors > run.start ? std::min<uint64_t>(run.count, reader.medium.sectors - run.start) : 0;
    uint32_t whole = static_cast<uint32_t>(readable);
    if (whole == run.count && whole > 1 && reader.DirectRead(run.start, whole * kSector, out) == whole * kSector)
        return whole;
    for (uint32_t i = 0; i < whole; ++i) {
        if (reader.DirectRead(run.start + i, kSector, out + static_cast<size_t>(i) * kSector) == kSector) continue;
        failed = true;
        reader.failedSector = run.start + i;
        return i;
    }
    if (whole < run.count) {
        failed = true;
        reader.failedSector = run.start + whole;
    }
    return whole;
}

// Bytes the extents map, at most `cap`.
uint64_t MappedBytes(const FileNode* node, uint64_t cap) {
    uint64_t total = 0;
    for (uint32_t i = 0; i < node->extentCount && total < cap; ++i) total += SectorsOf(node->extents[i].length) * kSector;
    return std::min(total, cap);
}

bool Fail(std::string* error, const std::string& text) {
    if (error) *error = text;
    return false;
}

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
    uint32_t n = static_cast<uint32_t>(std::min<uint64_t>(length, size));
    uint32_t head = static_cast<uint32_t>(offset & (kSector - 1));
    uint64_t sectors = (head + static_cast<uint64_t>(n) + kSector - 1) >> 11;
    std::vector<SectorRun> runs = MapFileSectors(node, static_cast<uint32_t>(offset >> 11), static_cast<uint32_t>(sectors));
    uint8_t* out = static_cast<uint8_t*>(dst);
    bool failed = false;
    if (head == 0 && n % kSector == 0) {
        for (const SectorRun& run : runs) {
            got += ReadRun(reader, run, out + got, failed) * kSector;
            if (failed) break;
        }
    } else {
        uint8_t bounce[kSector];
        bool firstSector = true;
        for (const SectorRun& run : runs) {
            for (uint32_t i = 0; i < run.count && got < n && !failed; ++i) {
                if (ReadRun(reader, SectorRun{run.start + i, 1}, bounce, failed) == 0) break;
                uint32_t from = firstSector ? head : 0;
                uint32_t take = std::min(kSector - from, n - got);
                std::memcpy(out + got, bounce + from, take);
                got += take;
                firstSector = false;
            }
            if (failed) break;
        }
    }
    // Nothing the drive did not deliver is handed out.
    if (failed && out) std::memset(out + got, 0, n - got);
    return !failed;
}

bool ExtractFile(CUdfReader& reader, const FileNode* node, const char* path) {
    return ExtractFile(reader, node, path, nullptr);
}

bool ExtractFile(CUdfReader& reader, const FileNode* node, const char* path, std::string* error, CProgress* progress) {
    if (!node || node->isDirectory || !path) return Fail(error, "not a file");
    uint64_t holds = (reader.medium.known ? reader.medium.sectors : kUdfLargestMediumSectors) * kSector;
    uint64_t size = node->size;  // copied: nodes are packed, a reference may not bind to the field
    uint64_t total = std::min(size, MappedBytes(node, size));
    if (total > holds)
        return Fail(error, "it claims " + std::to_string(total) + " bytes, more than the disc holds (" +
                               std::to_string(holds) + ")");
    FILE* file = std::fopen(path, "wb");
    if (!file) return Fail(error, std::string("cannot create ") + path);
    std::unique_ptr<uint8_t[]> piece(new uint8_t[kExtractPiece]);
    enum { Copying, Unreadable, Unmapped, WriteFailed } state = Copying;
    for (uint64_t offset = 0, remaining = size; state == Copying && remaining > 0;) {
        uint32_t chunk = static_cast<uint32_t>(std::min<uint64_t>(remaining, kExtractPiece));
        uint32_t got = 0;
        if (!ReadFileData(reader, node, offset, piece.get(), chunk, got)) state = Unreadable;
        else if (got != chunk) state = Unmapped;
        else if (std::fwrite(piece.get(), 1, chunk, file) != chunk) state = WriteFailed;
        offset += chunk;
        remaining -= chunk;
        if (progress && state == Copying) progress->Advance(SectorsOf(offset), SectorsOf(total));
    }
    if (std::fclose(file) != 0 && state == Copying) state = WriteFailed;
    switch (state) {
    case Copying: return true;
    case Unreadable:
        // A copy with a hole the user cannot see is worse than none.
        std::remove(path);
        return Fail(error, "sector " + std::to_string(reader.failedSector) + " cannot be read");
    case Unmapped:
        return Fail(error, "only " + std::to_string(MappedBytes(node, size)) + " of its " + std::to_string(size) +
                               " bytes are recorded");
    case WriteFailed: std::remove(path); return Fail(error, std::string("cannot write ") + path);
    }
    return false;
}
