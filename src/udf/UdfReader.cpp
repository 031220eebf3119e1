#include "udf/UdfReader.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "device/Commands.h"
#include "udf/UdfLimits.h"
#include "udf/UdfTree.h"

namespace {

constexpr uint32_t kSector = 2048;
constexpr uint32_t kCacheCommandSectors = 32;  // 64 KiB per command

bool AllocateBuffer(GrowBuffer& buffer, uint32_t size) {
    buffer.data = static_cast<uint8_t*>(std::calloc(1, size));
    buffer.size = buffer.data ? size : 0;
    return buffer.data != nullptr;
}

void FreeBuffer(GrowBuffer& buffer) {
    std::free(buffer.data);
    buffer.data = nullptr;
    buffer.size = 0;
}

}  // namespace

CUdfReader::CUdfReader() {
    AllocateBuffer(descriptorBuffer, 4096);
    AllocateBuffer(entryBuffer, 2048);
}

CUdfReader::~CUdfReader() { Release(); }

void CUdfReader::Release() {
    DestroyBlockArena(arena);
    arena = nullptr;
    root = nullptr;
    partitionMaps = nullptr;
    partitionMapCount = 0;
    FreeBuffer(descriptorBuffer);
    FreeBuffer(entryBuffer);
    std::free(cache);
    cache = nullptr;
    cacheSize = 0;
    cacheValid = 0;
    readAhead.Clear();
    readDirectories.clear();
    namesWithNul.clear();
    // Only a device the reader opened itself is closed; a lent one stays
    // open for its owner.
    if (device && releaseDevice) {
        device->Close();
        releaseDevice(device);
    }
    device = nullptr;
    releaseDevice = nullptr;
}

bool CUdfReader::GrowTo(GrowBuffer& buffer, uint64_t bytes) {
    if (bytes <= buffer.size) return buffer.data != nullptr;
    if (bytes > kUdfMaxDirectoryBytes) return false;
    void* grown = std::realloc(buffer.data, static_cast<size_t>(bytes));
    if (!grown) return false;
    // Zero the new part so a short read never exposes old heap contents.
    std::memset(static_cast<uint8_t*>(grown) + buffer.size, 0, static_cast<size_t>(bytes - buffer.size));
    buffer.data = static_cast<uint8_t*>(grown);
    buffer.size = static_cast<uint32_t>(bytes);
    return true;
}

uint64_t CUdfReader::MemoryInUse() const {
    uint64_t blocks = arena ? ArenaBlockCount(arena) * ArenaBlockSize(arena) : 0;
    return blocks + descriptorBuffer.size + entryBuffer.size + cacheSize + readAhead.MemoryInUse();
}

void* ReaderAllocate(CUdfReader& reader, uint32_t bytes) {
    if (!reader.arena) return nullptr;
    reader.arenaBytes += bytes;
    // Counting blocks walks their chain, so only near the budget.
    if (reader.arenaBytes + kUdfArenaBlockSize >= (kUdfMaxArenaBlocks - 2ull) * kUdfArenaBlockSize &&
        ArenaBlockCount(reader.arena) >= kUdfMaxArenaBlocks)
        return nullptr;
    return ArenaAllocate(reader.arena, bytes);
}

// Sectors 0-2047 in 64 KiB commands, none past the medium's end when that
// is known: a small disc costs a small fill.
bool CUdfReader::FillCache() {
    uint64_t sectors = kUdfCacheSize / kSector;
    if (medium.known && medium.sectors < sectors) sectors = medium.sectors;
    if (sectors == 0) return true;
    cache = static_cast<uint8_t*>(std::calloc(1, static_cast<size_t>(sectors) * kSector));
    if (!cache) return false;
    cacheSize = static_cast<uint32_t>(sectors * kSector);
    for (uint32_t first = 0, i = 0; first < sectors; first += kCacheCommandSectors, ++i) {
        uint32_t count = static_cast<uint32_t>(std::min<uint64_t>(kCacheCommandSectors, sectors - first));
        if (ReadSectors(*device, first, static_cast<uint16_t>(count), cache + static_cast<size_t>(first) * kSector))
            cacheValid |= 1ull << i;
    }
    return true;
}

// A piece whose 64 KiB command failed (a disc smaller than the cache ends
// inside one) is read from the drive instead of from never-filled memory.
bool CUdfReader::CacheHolds(uint32_t sector, uint32_t bytes) const {
    uint32_t last = bytes ? sector + (bytes - 1) / kSector : sector;
    for (uint32_t piece = sector / kCacheCommandSectors; piece <= last / kCacheCommandSectors; ++piece)
        if (!(cacheValid & (1ull << piece))) return false;
    return true;
}

// The part both reads share: the request is logged, served from the cache
// of sectors 0-2047 when it lies there (true), and otherwise sized in whole
// sectors (`count` 0 when no read can satisfy it).
bool CUdfReader::FromCache(uint32_t sector, uint32_t bytes, void* dst, uint64_t& count) {
    count = 0;
    if (sector == kUdfInvalidSector || !dst) return false;
    uint64_t sectors = (static_cast<uint64_t>(bytes) + kSector - 1) / kSector;
    if (requestLog) requestLog->emplace_back(sector, static_cast<uint32_t>(sectors));
    uint64_t end = static_cast<uint64_t>(sector) * kSector + bytes;
    if (cache && end < cacheSize && CacheHolds(sector, bytes)) {
        std::memcpy(dst, cache + static_cast<size_t>(sector) * kSector, bytes);
        return true;
    }
    if (sectors > 0 && device && static_cast<uint64_t>(sector) + sectors <= 0x100000000ull) count = sectors;
    return false;
}

uint32_t CUdfReader::CachedRead(uint32_t sector, uint32_t bytes, void* dst) {
    uint64_t count = 0;
    if (FromCache(sector, bytes, dst, count)) return bytes;
    if (count == 0 || !readAhead.Read(sector, static_cast<uint32_t>(count), static_cast<uint8_t*>(dst))) return 0;
    return static_cast<uint32_t>(count * kSector);
}

uint32_t CUdfReader::DirectRead(uint32_t sector, uint32_t bytes, void* dst) {
    uint64_t count = 0;
    if (FromCache(sector, bytes, dst, count)) return bytes;
    if (count == 0) return 0;
    uint8_t* out = static_cast<uint8_t*>(dst);
    // READ(10) carries a 16-bit count; longer runs go in pieces.
    for (uint64_t done = 0; done < count;) {
        uint16_t piece = static_cast<uint16_t>(count - done > 0xFFFF ? 0xFFFF : count - done);
        if (!ReadSectors(*device, static_cast<uint32_t>(sector + done), piece, out + done * kSector)) return 0;
        done += piece;
    }
    return static_cast<uint32_t>(count * kSector);
}

uint32_t CUdfReader::TranslateAddress(IcbLocation& address) {
    if (address.kind == 0) {
        address.kind = 1;
        address.partition = defaultPartition;
    }
    if (address.partition >= partitionMapCount) return kUdfInvalidSector;
    const PartitionMapEntry& map = partitionMaps[address.partition];
    if (!map.partition) return kUdfInvalidSector;
    uint64_t start = map.partition->start;
    if (map.type == 1) {
        uint64_t sector = start + address.location;
        return sector < kUdfInvalidSector ? static_cast<uint32_t>(sector) : kUdfInvalidSector;
    }
    if (map.type != 2) return kUdfInvalidSector;
    uint64_t acc = 0;
    for (uint32_t i = 0; i < map.metadataExtentCount; ++i) {
        const MetadataExtent& e = map.metadataExtents[i];
        if (acc <= address.location && address.location < acc + e.length) {
            uint64_t sector = e.block + start - acc + address.location;
            return sector < kUdfInvalidSector ? static_cast<uint32_t>(sector) : kUdfInvalidSector;
        }
        acc += e.length;
    }
    return kUdfInvalidSector;
}

uint32_t CUdfReader::ReadMetadataLocation(const PartitionMapEntry& map, IcbLocation location, uint8_t* dst) {
    uint64_t wanted = (static_cast<uint64_t>(location.length) + kSector - 1) / kSector;
    uint64_t current = location.location, acc = 0, placed = 0;
    uint32_t got = 0;
    for (uint32_t i = 0; i < map.metadataExtentCount && wanted > 0; ++i) {
        const MetadataExtent& e = map.metadataExtents[i];
        uint64_t end = acc + e.length;
        if (acc <= current && current < end) {
            uint64_t n = end - current < wanted ? end - current : wanted;
            uint64_t sector = e.block + static_cast<uint64_t>(map.partition->start) + (current - acc);
            if (sector < kUdfInvalidSector)
                got += CachedRead(static_cast<uint32_t>(sector), static_cast<uint32_t>(n * kSector),
                                  dst + placed * kSector);
            placed += n;
            current += n;
            wanted -= n;
        }
        acc = end;
    }
    return got;
}

uint32_t CUdfReader::ReadLocation(IcbLocation& location, void* dst) {
    if (location.kind == 0) {
        location.kind = 1;
        location.partition = defaultPartition;
    }
    if (location.kind == 3) {
        uint8_t sector[kSector];
        if (location.partition >= kSector || CachedRead(location.location, kSector, sector) == 0) return 0;
        uint32_t n = location.length;
        if (n > kSector - location.partition) n = kSector - location.partition;
        std::memcpy(dst, sector + location.partition, n);
        return n;
    }
    if (location.partition >= partitionMapCount) return 0;
    const PartitionMapEntry& map = partitionMaps[location.partition];
    if (!map.partition) return 0;
    if (map.type == 1) {
        uint64_t sector = static_cast<uint64_t>(map.partition->start) + location.location;
        if (sector >= kUdfInvalidSector) return 0;
        return CachedRead(static_cast<uint32_t>(sector), location.length, dst);
    }
    if (map.type == 2) return ReadMetadataLocation(map, location, static_cast<uint8_t*>(dst));
    return 0;
}

uint32_t CUdfReader::ReadLongAd(const uint8_t* longAd, GrowBuffer& into) {
    ByteReader ad(longAd, 16);
    uint32_t length = ad.LE32(0);
    if (length > kUdfMaxEntryBytes) length = kUdfMaxEntryBytes;
    if (!GrowTo(into, (static_cast<uint64_t>(length) + kSector - 1) & ~static_cast<uint64_t>(kSector - 1)))
        return 0;
    IcbLocation location{1, ad.LE16(8), ad.LE32(4), length};
    uint32_t got = ReadLocation(location, into.data);
    return got > into.size ? into.size : got;
}

bool CUdfReader::MountDevice(CDevice* drive, void (*release)(CDevice*)) {
    device = drive;
    releaseDevice = release;
    if (!device || !descriptorBuffer.data || !entryBuffer.data) return false;
    medium = ReadMediumEnd(*device);
    readAhead.Attach(device, medium);
    arena = CreateBlockArena(kUdfArenaBlockSize);
    if (!arena || !FillCache()) return false;
    if (!RecognizeVolume()) return false;
    if (!ReadVolumeDescriptors()) return false;
    root = static_cast<FileNode*>(ReaderAllocate(*this, kFileNodeRecordSize + 1));
    if (!root) return false;
    root->parent = root;
    root->isDirectory = 1;
    root->location = rootLocation;
    root->icbSector = rootIcbSector;
    IcbLocation start = rootLocation;
    root->sector = start.kind == 3 ? start.location : TranslateAddress(start);
    return ReadDirectory(*this, rootLocation, root);
}

void DStringToNarrow(const uint8_t* field, uint32_t n, char* dst) {
    if (!field || n < 2) return;
    uint32_t length = field[n - 1];
    if (length == 0) return;
    if (length > n - 1) length = n - 1;  // the length byte cannot describe itself
    ByteReader bytes(field, n - 1);
    if (field[0] == 16) {
        int count = ((static_cast<int>(length) - 2) >> 1) + 1;
        for (int i = 0; i < count; ++i) dst[i] = static_cast<char>(bytes.U8(2 + 2 * static_cast<size_t>(i)));
    } else if (field[0] == 8) {
        for (uint32_t i = 1; i < length; ++i) dst[i - 1] = static_cast<char>(field[i]);
    }
}
