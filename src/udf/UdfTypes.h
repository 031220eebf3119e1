#pragma once
// The records of the disc file-system reader. They live packed in the
// reader's arena (nothing there is aligned), so every record has byte
// alignment and its fields are read and written through member access only.

#include <cstdint>

#pragma pack(push, 1)

// Where a piece of data lies: kind 0 = block in the default partition,
// 1 = block with an explicit partition reference, 3 = data embedded in a
// file entry (partition = byte offset inside the entry's sector, location =
// that physical sector).
struct IcbLocation {
    uint16_t kind;
    uint16_t partition;
    uint32_t location;
    uint32_t length;
};

struct PartitionRecord {
    uint32_t start;
    uint32_t length;
    uint16_t number;
};

struct MetadataExtent {
    uint16_t partition;
    uint32_t block;
    uint32_t length;  // sectors
};

struct PartitionMapEntry {
    uint8_t type;  // 1, 2, or 0 when not filled
    uint16_t number;
    PartitionRecord* partition;
    uint16_t metadataExtentCount;
    MetadataExtent* metadataExtents;
};

struct FileExtent {
    uint32_t start;   // physical sector
    uint32_t length;  // bytes
};

struct FileNode {
    FileNode* firstChild;
    FileNode* nextSibling;
    FileNode* parent;
    uint32_t isDirectory;
    uint32_t icbSector;
    uint32_t icbLength;
    uint8_t modified[12];
    // file
    uint64_t size;
    uint32_t extentCount;
    FileExtent* extents;
    // directory
    IcbLocation location;
    uint32_t sector;
};

#pragma pack(pop)

static_assert(sizeof(IcbLocation) == 12, "an IcbLocation is 12 bytes");
static_assert(sizeof(FileExtent) == 8, "a FileExtent is two 32-bit numbers");

// A node record takes this many bytes in the arena; its name follows. The
// file and directory fields are both kept (not overlaid) so that a node read
// as the wrong kind still holds zeros, never another kind's numbers.
constexpr uint32_t kFileNodeRecordSize = sizeof(FileNode);

inline char* NodeName(FileNode* node) {
    return reinterpret_cast<char*>(node) + kFileNodeRecordSize;
}
inline const char* NodeName(const FileNode* node) {
    return reinterpret_cast<const char*>(node) + kFileNodeRecordSize;
}
