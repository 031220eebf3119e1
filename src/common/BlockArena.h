#pragma once
// Zero-filled memory handed out from a chain of equal blocks and freed all
// at once. Trees built from disc data and XML documents live in one arena so
// that dropping them costs one walk over the blocks, not one free per node.
// Nothing is aligned: records lie packed one after another by design, so
// users copy fields in and out with memcpy-safe accessors.

#include <cstddef>

struct BlockArena;

// Makes an arena whose blocks are sized from `requested`: 0 gives 4096,
// below 1024 gives 1024, anything above 64 MiB is capped there.
BlockArena* CreateBlockArena(size_t requested);

// Returns n zeroed bytes, or null when n is not below the block size or the
// heap is exhausted.
void* ArenaAllocate(BlockArena* arena, size_t n);

// Frees every block of the arena, the arena itself included.
void DestroyBlockArena(BlockArena* arena);

// The block size that CreateBlockArena settled on.
size_t ArenaBlockSize(const BlockArena* arena);

// How many blocks the arena holds (for tests and benchmarks).
size_t ArenaBlockCount(const BlockArena* arena);

size_t BlockArenaSizeFor(size_t requested);
