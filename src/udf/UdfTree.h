#pragma once
// The directory tree of a mounted volume and the data of its files.

#include <cstdint>
#include <string>
#include <unordered_set>
#include <vector>

#include "common/Progress.h"

#include "common/ByteReader.h"
#include "udf/UdfReader.h"

// Extents gathered for one file while its allocation descriptors are read.
struct ExtentList {
    std::vector<FileExtent> extents;
    uint32_t chainDescriptors = 0;  // Allocation Extent Descriptors read
    std::unordered_set<uint32_t> chainSectors;  // where they were, to see loops
};

// One run of physical sectors.
struct SectorRun {
    uint32_t start;
    uint32_t count;
};

// Keeps a recorded extent unless it cannot be on any disc: one that starts
// nowhere, or whose sectors would run past 2^32 (counted in 64 bits).
void AppendExtent(ExtentList& list, uint32_t sector, uint32_t length);

bool ReadDirectory(CUdfReader& reader, IcbLocation location, FileNode* dirNode);
// `fid` views the File Identifier Descriptor and the directory bytes after it.
FileNode* MakeNode(CUdfReader& reader, const ByteReader& fid);
void FollowAllocationChain(CUdfReader& reader, IcbLocation location, ExtentList& list);

std::vector<SectorRun> MapFileSectors(const FileNode* node, uint32_t first, uint32_t count);
// Reads `length` bytes of the file from `offset` (cut to the file size) as
// far as its extents map them. Every byte counted in `got` was read from the
// disc; a read that fails zero-fills the rest of the request, leaves the
// sector in reader.failedSector and gives false, as does a read past the
// medium's known end.
bool ReadFileData(CUdfReader& reader, const FileNode* node, uint64_t offset, void* dst, uint32_t length,
                  uint32_t& got);
// Copies the file to `path` in 64 KiB pieces. When a read fails, or the file
// claims more than the medium holds, nothing of it is left at `path` and
// `error` (when given) says why; a file whose extents map less than its size
// keeps what they map, as a failed copy.
bool ExtractFile(CUdfReader& reader, const FileNode* node, const char* path);
bool ExtractFile(CUdfReader& reader, const FileNode* node, const char* path, std::string* error,
                 CProgress* progress = nullptr);

FileNode* FindPath(const CUdfReader& reader, const char* path);
// The same for a path typed by a user: a backslash before "/" or before
// another backslash makes that character part of the name, so every name
// can be reached ("a\/b" is the one name "a/b").
FileNode* FindEscapedPath(const CUdfReader& reader, const std::string& path);

// A node's name as pages and listings show it: every byte below 20h (a NUL
// inside the name too) as '?', so that no name can break a line of the
// listing or hide its tail. The stored name is not changed.
std::string ShownName(const CUdfReader* reader, const FileNode* node);
int HasSubdirectory(const FileNode* node);

// 100-nanosecond intervals since 1601-01-01 UTC; `ft` is left as it was
// when the timestamp cannot be converted.
void TimestampToFileTime(const uint8_t* ts, uint64_t& ft);
