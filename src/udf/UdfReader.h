#pragma once
// CUdfReader mounts the UDF file system of a disc from raw 2048-byte
// sectors and holds the whole directory tree with every file's extents.
// The volume and partition layer is here; the tree and file data are in
// UdfTree.h.

#include <cstdint>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "common/BlockArena.h"
#include "device/Device.h"
#include "pages/MediumEnd.h"
#include "udf/UdfReadAhead.h"
#include "udf/UdfTypes.h"

constexpr uint32_t kUdfFlagIso9660 = 1u << 0;
constexpr uint32_t kUdfFlagNsr02 = 1u << 1;
constexpr uint32_t kUdfFlagNsr03 = 1u << 2;

constexpr uint32_t kUdfCacheSize = 0x400000;  // sectors 0-2047

// A heap buffer that grows to exactly what is asked for and never shrinks.
struct GrowBuffer {
    uint32_t size;
    uint8_t* data;
};

class CUdfReader {
public:
    CUdfReader();
    ~CUdfReader();
    CUdfReader(const CUdfReader&) = delete;
    CUdfReader& operator=(const CUdfReader&) = delete;

    // Opens the drive letter ('A'..'Z') with the pass-through device and
    // mounts it. Only in the Windows build.
    bool Mount(char letter);
    // Mounts the disc in an already opened device. With `release` set the
    // reader owns the device and hands it to `release` in Release.
    bool MountDevice(CDevice* drive, void (*release)(CDevice*) = nullptr);
    void Release();

    const char* VolumeName() const { return volumeName; }
    uint32_t TranslateAddress(IcbLocation& address);
    // Whole sectors: from the cache of sectors 0-2047, else through the
    // read-ahead windows. The metadata of a mount is read this way.
    uint32_t CachedRead(uint32_t sector, uint32_t bytes, void* dst);
    // Whole sectors: from the cache, else straight from the drive in as few
    // commands as READ(10) allows. File data is read this way.
    uint32_t DirectRead(uint32_t sector, uint32_t bytes, void* dst);
    // A kind 0 location is rewritten in place to kind 1 in the default partition.
    uint32_t ReadLocation(IcbLocation& location, void* dst);
    uint32_t ReadLongAd(const uint8_t* longAd, GrowBuffer& into);
    bool GrowTo(GrowBuffer& buffer, uint64_t bytes);

    // Bytes held by the mount (arena blocks, buffers, cache), for the tests
    // that bound what a hostile disc can make it allocate.
    uint64_t MemoryInUse() const;

    uint32_t flags = 0;
    uint32_t lowestDataSector = 0xFFFFFFFFu;
    CDevice* device = nullptr;
    FileNode* root = nullptr;
    BlockArena* arena = nullptr;
    GrowBuffer descriptorBuffer{};
    GrowBuffer entryBuffer{};
    uint8_t* cache = nullptr;
    uint32_t cacheSize = 0;
    uint64_t cacheValid = 0;  // one bit per 64 KiB piece that was read
    char volumeName[128] = {};
    PartitionRecord partitions[2] = {};
    PartitionMapEntry* partitionMaps = nullptr;
    uint32_t partitionMapCount = 0;
    uint16_t defaultPartition = 0;
    IcbLocation rootLocation{};

    // Bookkeeping of the bounds in UdfLimits.h.
    uint32_t partitionCount = 0;
    uint32_t metadataFileLocation = 0;
    bool metadataPresent = false;
    uint32_t nodeCount = 0;
    uint64_t directoryBytesRead = 0;
    uint64_t arenaBytes = 0;
    uint32_t chainReads = 0;  // continuations met, followed or not
    uint64_t treeExtents = 0;
    uint32_t rootIcbSector = 0;
    // Directory data already read (by first sector): each is read once, so
    // a directory named from many places is not walked again.
    std::unordered_set<uint32_t> readDirectories;
    // Names that hold a NUL byte: the node keeps the C string (cut there),
    // the whole name is kept here for showing it.
    std::unordered_map<const FileNode*, std::string> namesWithNul;

    CReadAhead readAhead;
    // When set, every sector range the mount and the file reads ask for, as
    // (first sector, count): what the benchmarks measure the drive's floor by.
    std::vector<std::pair<uint32_t, uint32_t>>* requestLog = nullptr;
    // From READ CAPACITY at mount: bounds the cache fill and file data reads.
    MediumEnd medium{false, 0};
    // The sector of the last failed read of file data.
    uint32_t failedSector = 0xFFFFFFFFu;

private:
    bool FillCache();
    bool CacheHolds(uint32_t sector, uint32_t bytes) const;
    bool FromCache(uint32_t sector, uint32_t bytes, void* dst, uint64_t& count);
    bool RecognizeVolume();
    bool ReadVolumeDescriptors();
    bool ReadLogicalVolume(const uint8_t* lvd, uint8_t* fsdLongAd);
    bool LoadMetadataExtents();
    bool ReadFileSet(const uint8_t* fsdLongAd);
    void SetRootLocation(const uint8_t* rootLongAd);
    uint32_t ReadMetadataLocation(const PartitionMapEntry& map, IcbLocation location, uint8_t* dst);

    void (*releaseDevice)(CDevice*) = nullptr;
};

// Copies a dstring of `n` bytes as narrow characters into dst (n bytes,
// zero-filled by the caller); 16-bit characters keep their low byte.
void DStringToNarrow(const uint8_t* field, uint32_t n, char* dst);

// Zero-filled memory from the reader's arena within the mount's budget.
void* ReaderAllocate(CUdfReader& reader, uint32_t bytes);
