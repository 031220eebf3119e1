#pragma once
// Bounds on what a disc may make the reader do. A disc is untrusted input:
// every count, length and walk it describes is capped here so that a
// damaged or hostile volume mounts with what can be read, or fails, without
// crashing, hanging, recursing without end or exhausting memory. Each value
// is far beyond anything a sane volume needs.

#include <cstdint>

// The arena's block size; also the largest single record (an extent table
// must be smaller than one block).
constexpr uint32_t kUdfArenaBlockSize = 0x100000;

// Arena blocks a mount may fill: 32 MiB hold well over 200,000 nodes with
// their names and extents; more is a disc trying to exhaust memory.
constexpr uint32_t kUdfMaxArenaBlocks = 32;

// Nodes in one tree. Every node stands for a File Identifier Descriptor of
// at least 40 bytes in directory data that is read only once, so the disc's
// own size bounds them first (kUdfFidBytes); this caps the largest discs.
constexpr uint32_t kUdfMaxTreeNodes = 400000;

// The smallest File Identifier Descriptor that makes a node: 38 bytes and a
// one-character name, padded to four.
constexpr uint32_t kUdfFidBytes = 40;

// Extents held over the whole tree. A file entry named by many identifiers
// (a hard link) is one entry on the disc but its extents are held for each
// name; a well-formed disc cannot describe more extents than its metadata
// holds descriptors for, 8 MiB of extent records is far beyond that.
constexpr uint32_t kUdfMaxTreeExtents = 1u << 20;

// The export listing: a volume of the largest tree, names of 64 characters
// ten levels deep and ten extents a file, lists in about 45 MiB; a listing
// that would grow past this is a disc describing its few sectors over and
// over, and is cut with a last line that says so.
constexpr uint64_t kUdfMaxListingBytes = 64ull << 20;

// When the drive does not say where the medium ends: the largest optical
// medium made (a four-layer BDXL, 128 GB) holds this many sectors. Bounds the
// disc dump and any one extraction.
constexpr uint32_t kUdfLargestMediumSectors = 62500864;

// Directory nesting. Windows paths end long before this; deeper trees are
// cut here so the recursion of the directory walk stays shallow.
constexpr uint32_t kUdfMaxDirectoryDepth = 128;

// The data of one directory: 16 MiB hold over 250,000 identifiers. A larger
// length is read only up to this, as the growable buffer would follow it.
constexpr uint32_t kUdfMaxDirectoryBytes = 16u << 20;

// Directory data read over a whole mount, all directories together. When
// the medium's end is known, no more than the medium holds either: on a
// well-formed disc directories never share sectors, and each directory's
// data is read once.
constexpr uint64_t kUdfMaxTreeDirectoryBytes = 256ull << 20;

// A File Entry or Allocation Extent Descriptor is one logical block; a
// longer ICB length describes bytes that are not part of it.
constexpr uint32_t kUdfMaxEntryBytes = 2048;

// Allocation extent descriptors followed for one file, and how deep their
// chain may nest (each level holds one 2 KiB buffer).
constexpr uint32_t kUdfMaxChainDescriptors = 4096;
constexpr uint32_t kUdfMaxChainDepth = 256;

// Allocation extent continuations met over a whole mount, followed or not:
// many files may share one long chain, which no per-file check sees.
constexpr uint32_t kUdfMaxMountChainDescriptors = 65536;

// Extents of one file: the table must fit in one arena block (8 bytes each).
constexpr uint32_t kUdfMaxFileExtents = 65536;

// Partition maps taken from the Logical Volume Descriptor; volumes carry
// one to three.
constexpr uint32_t kUdfMaxPartitionMaps = 16;

// Partition Descriptors kept; the reader's own table has two, extras are
// ignored rather than written past it.
constexpr uint32_t kUdfMaxPartitions = 2;

// Volume Descriptor Sequence length in sectors (the standard asks for at
// least 16; a long run of readable junk would otherwise cost a command each).
constexpr uint32_t kUdfMaxDescriptorSequence = 256;

// A physical sector number that no read can satisfy: what an address that
// leads nowhere translates to.
constexpr uint32_t kUdfInvalidSector = 0xFFFFFFFFu;

// Read-ahead windows (64 KiB each) kept by one mount: 4 MiB besides the
// cache of sectors 0-2047. A mount reads its metadata mostly in order, so a
// few windows catch nearly every repeated read; more would only hold memory.
constexpr uint32_t kUdfReadAheadWindows = 64;
