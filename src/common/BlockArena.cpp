#include "common/BlockArena.h"

#include <cstdlib>
#include <cstring>

namespace {

constexpr size_t kLinkSize = 8;
constexpr size_t kMaxBlock = 67108864;  // 64 MiB

struct BlockLink {
    unsigned char* next;
};
static_assert(sizeof(BlockLink) == kLinkSize, "the block link is one 64-bit pointer");

unsigned char* NewBlock(size_t size) {
    // calloc stands for the zero-filled process-heap allocation.
    return static_cast<unsigned char*>(std::calloc(1, size));
}

unsigned char* NextOf(unsigned char* block) {
    BlockLink link;
    std::memcpy(&link, block, sizeof link);
    return link.next;
}

void SetNext(unsigned char* block, unsigned char* next) {
    BlockLink link{next};
    std::memcpy(block, &link, sizeof link);
}

}  // namespace

struct BlockArena {
    size_t blockSize;
    unsigned char* first;
    unsigned char* current;
    unsigned char* cursor;
    size_t bytesLeft;
};

size_t BlockArenaSizeFor(size_t requested) {
    if (requested == 0) return 4096;
    if (requested < 1024) return 1024;
    return requested > kMaxBlock ? kMaxBlock : requested;
}

BlockArena* CreateBlockArena(size_t requested) {
    size_t size = BlockArenaSizeFor(requested);
    // The first block and the bookkeeping share one allocation.
    unsigned char* raw = static_cast<unsigned char*>(std::calloc(1, sizeof(BlockArena) + size));
    if (!raw) return nullptr;
    BlockArena* arena = reinterpret_cast<BlockArena*>(raw);
    arena->blockSize = size;
    arena->first = raw + sizeof(BlockArena);
    arena->current = arena->first;
    arena->cursor = arena->first + kLinkSize;
    arena->bytesLeft = size - kLinkSize;
    return arena;
}

void* ArenaAllocate(BlockArena* arena, size_t n) {
    if (!arena || n >= arena->blockSize) return nullptr;
    // A fresh block holds blockSize - 8 bytes; a larger request would run
    // past it, so it fails like an oversized one instead of corrupting the heap.
    if (n > arena->blockSize - kLinkSize) return nullptr;
    if (n > arena->bytesLeft) {
        unsigned char* block = NewBlock(arena->blockSize);
        if (!block) return nullptr;
        SetNext(arena->current, block);
        arena->current = block;
        arena->cursor = block + kLinkSize;
        arena->bytesLeft = arena->blockSize - kLinkSize;
    }
    void* result = arena->cursor;
    arena->cursor += n;
    arena->bytesLeft -= n;
    return result;
}

void DestroyBlockArena(BlockArena* arena) {
    if (!arena) return;
    unsigned char* block = NextOf(arena->first);
    while (block) {
        unsigned char* next = NextOf(block);
        std::free(block);
        block = next;
    }
    std::free(arena);
}

size_t ArenaBlockSize(const BlockArena* arena) { return arena ? arena->blockSize : 0; }

size_t ArenaBlockCount(const BlockArena* arena) {
    if (!arena) return 0;
    size_t count = 1;
    for (unsigned char* b = NextOf(arena->first); b; b = NextOf(b)) ++count;
    return count;
}
