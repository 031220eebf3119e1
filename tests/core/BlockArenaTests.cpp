#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "common/BlockArena.h"

namespace {

struct ArenaHolder {
    explicit ArenaHolder(size_t size) : arena(CreateBlockArena(size)) {}
    ~ArenaHolder() { DestroyBlockArena(arena); }
    BlockArena* arena;
};

TEST(BlockArena, SizeRules) {
    EXPECT_EQ(BlockArenaSizeFor(0), 4096u);
    EXPECT_EQ(BlockArenaSizeFor(1), 1024u);
    EXPECT_EQ(BlockArenaSizeFor(1023), 1024u);
    EXPECT_EQ(BlockArenaSizeFor(1024), 1024u);
    EXPECT_EQ(BlockArenaSizeFor(5000), 5000u);
    EXPECT_EQ(BlockArenaSizeFor(67108864), 67108864u);
    EXPECT_EQ(BlockArenaSizeFor(67108865), 67108864u);
    EXPECT_EQ(BlockArenaSizeFor(SIZE_MAX), 67108864u);
    ArenaHolder a(0);
    EXPECT_EQ(ArenaBlockSize(a.arena), 4096u);
}

TEST(BlockArena, RequestNotBelowBlockSizeFails) {
    ArenaHolder a(1024);
    EXPECT_EQ(ArenaAllocate(a.arena, 1024), nullptr);
    EXPECT_EQ(ArenaAllocate(a.arena, 5000), nullptr);
    EXPECT_EQ(ArenaBlockCount(a.arena), 1u);
}

TEST(BlockArena, RequestLargerThanAFreshBlockFailsInsteadOfOverrunning) {
    // A block holds its size less the 8-byte link.
    ArenaHolder a(1024);
    EXPECT_EQ(ArenaAllocate(a.arena, 1017), nullptr);
    EXPECT_NE(ArenaAllocate(a.arena, 1016), nullptr);
}

TEST(BlockArena, AllocationsArePackedWithoutAlignment) {
    ArenaHolder a(1024);
    auto* first = static_cast<unsigned char*>(ArenaAllocate(a.arena, 3));
    auto* second = static_cast<unsigned char*>(ArenaAllocate(a.arena, 5));
    auto* third = static_cast<unsigned char*>(ArenaAllocate(a.arena, 1));
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(second, first + 3);
    EXPECT_EQ(third, second + 5);
}

TEST(BlockArena, MemoryIsZeroFilled) {
    ArenaHolder a(1024);
    for (int i = 0; i < 50; ++i) {
        auto* p = static_cast<unsigned char*>(ArenaAllocate(a.arena, 100));
        ASSERT_NE(p, nullptr);
        for (int j = 0; j < 100; ++j) ASSERT_EQ(p[j], 0);
        std::memset(p, 0xAB, 100);
    }
}

TEST(BlockArena, NewBlockWhenRequestExceedsBytesLeft) {
    ArenaHolder a(1024);
    // 1016 usable bytes: 1000 fit, the next 17 do not.
    auto* p = static_cast<unsigned char*>(ArenaAllocate(a.arena, 1000));
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(ArenaBlockCount(a.arena), 1u);
    auto* q = static_cast<unsigned char*>(ArenaAllocate(a.arena, 16));
    EXPECT_EQ(q, p + 1000);
    EXPECT_EQ(ArenaBlockCount(a.arena), 1u);
    auto* r = static_cast<unsigned char*>(ArenaAllocate(a.arena, 1));
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(ArenaBlockCount(a.arena), 2u);
    EXPECT_NE(r, q + 16);
}

TEST(BlockArena, ZeroByteRequestReturnsTheCursor) {
    ArenaHolder a(1024);
    void* p = ArenaAllocate(a.arena, 0);
    void* q = ArenaAllocate(a.arena, 4);
    EXPECT_EQ(p, q);
}

TEST(BlockArena, ManyBlocksAreFreedAtOnce) {
    ArenaHolder a(1024);
    for (int i = 0; i < 10000; ++i) ASSERT_NE(ArenaAllocate(a.arena, 500), nullptr);
    EXPECT_EQ(ArenaBlockCount(a.arena), 5000u);
    // The holder's destructor frees them; the sanitizer build checks for leaks.
}

TEST(BlockArena, NullArenaIsHarmless) {
    EXPECT_EQ(ArenaAllocate(nullptr, 1), nullptr);
    DestroyBlockArena(nullptr);
}

}  // namespace
