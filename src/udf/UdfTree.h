#pragma once
// The directory tree of a mounted volume and the data of its files.

#include <cstdint>
#include <vector>

#include "common/ByteReader.h"
#include "udf/UdfReader.h"

// Extents gathered for one file while its allocation descriptors are read.
struct ExtentList {
    std::vector<FileExtent> extents;
    uint32_t chainDescriptors = 0;  // Allocation Extent Descriptors read
    std::vector<uint32_t> chainSectors;  // where they were, to see loops
};

// One run of physical sectors.
struct SectorRun {
    uint32_t start;
    uint32_t count;
};

bool ReadDirectory(CUdfReader& reader, IcbLocation location, FileNode* dirNode);
// `fid` views the File Identifier Descriptor and the directory bytes after it.
FileNode* MakeNode(CUdfReader& reader, const ByteReader& fid);
void FollowAllocationChain(CUdfReader& reader, IcbLocation location, ExtentList& list);

std::vector<SectorRun> MapFileSectors(const FileNode* node, uint32_t first, uint32_t count);
bool ReadFileData(CUdfReader& reader, const FileNode* node, uint64_t offset, void* dst, uint32_t length,
                  uint32_t& got);
bool ExtractFile(CUdfReader& reader, const FileNode* node, const char* path);

FileNode* FindPath(const CUdfReader& reader, const char* path);
int HasSubdirectory(const FileNode* node);

// 100-nanosecond intervals since 1601-01-01 UTC; `ft` is left as it was
// when the timestamp cannot be converted.
void TimestampToFileTime(const uint8_t* ts, uint64_t& ft);
