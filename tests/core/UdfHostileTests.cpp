// Hostile volumes: each mounts with what can be read, or fails, within a
// bounded time, memory and number of commands, and a full walk of whatever
// tree it has (reading every file) stays inside its buffers.

#include <gtest/gtest.h>

#include <chrono>
#include <functional>

#include "UdfTestSupport.h"
#include "udf/UdfLimits.h"
#include "udf/UdfListing.h"

namespace {

using namespace udfmaster;
using Bytes = std::vector<uint8_t>;

constexpr size_t kS = 2048;

struct Hazard {
    const char* name;
    uint16_t revision;
    std::function<Node()> tree;
    std::function<void(Image&)> mutate;
};

Node Small() { return Dir("", {Dir("a", {File("f", Pattern(5000, 1))}), File("g", Pattern(3000, 2))}); }

Node WithChain() {
    Node c;
    c.name = "c";
    for (int i = 0; i < 6; ++i) c.pieces.push_back(Piece{Pattern(2048, i), 0});
    c.descriptorsPerEntry = 2;
    return Dir("", {c});
}

Node Nested(int depth) {
    Node n = File("leaf", "x");
    for (int i = 0; i < depth; ++i) n = Dir("d", {n});
    return Dir("", {n});
}

size_t Entry(Image& i, const std::string& path) { return size_t(i.entrySector[path]) * kS; }
size_t Data(Image& i, const std::string& path) { return size_t(i.dataSector[path]) * kS; }
// The FID of the k-th child (0-based) of a directory whose children have
// one-character names: the parent FID and each child's take 40 bytes.
size_t ChildFid(Image& i, const std::string& dir, int k) { return Data(i, dir) + 40 * size_t(k + 1); }
size_t AdOf(Image& i, const std::string& path) {
    ByteReader fe(&i.bytes[Entry(i, path)], kS);
    return Entry(i, path) + (fe.LE16(0) == 266 ? 216 + fe.LE32(208) : 176 + fe.LE32(168));
}

// One directory whose FIDs all lead to the next directory: `width` to the
// power of `levels` paths through a handful of sectors.
void MakeSharedLevels(Image& img, int width) {
    // Root (embedded off) has children "a" and "g"; make every root FID
    // point at "a" and "a"'s file FID point back at "a"'s own entry would be
    // a loop; here every FID of "a" points at the entry of "a" itself.
    size_t fid = ChildFid(img, "a", 0);
    uint32_t aBlock = ByteReader(&img.bytes[ChildFid(img, "", 0)], 40).LE32(24);
    (void)width;
    img.bytes[fid + 18] = 2;  // directory
    PokeLE32(img.bytes, fid + 24, aBlock);
}

std::vector<Hazard> Hazards() {
    std::vector<Hazard> h;
    auto add = [&](const char* name, uint16_t rev, std::function<Node()> tree, std::function<void(Image&)> m) {
        h.push_back(Hazard{name, rev, tree, m});
    };
    add("ThreePartitionDescriptors", 0x0201, Small, [](Image& i) {
        // USD and TD become further Partition Descriptors.
        for (size_t s : {36u, 37u}) {
            std::copy(i.bytes.begin() + 34 * kS, i.bytes.begin() + 35 * kS, i.bytes.begin() + s * kS);
            PokeLE16(i.bytes, s * kS + 22, uint16_t(s));
        }
        std::copy(i.bytes.begin() + 35 * kS, i.bytes.begin() + 36 * kS, i.bytes.begin() + 38 * kS);
        Bytes lvd(i.bytes.begin() + 35 * kS, i.bytes.begin() + 36 * kS);
        std::copy(i.bytes.begin() + 34 * kS, i.bytes.begin() + 35 * kS, i.bytes.begin() + 35 * kS);
        PokeLE16(i.bytes, 35 * kS + 22, 9);
        std::copy(lvd.begin(), lvd.end(), i.bytes.begin() + 38 * kS);
        PokeLE16(i.bytes, 39 * kS, 8);
    });
    add("FidPartitionReferenceOutOfRange", 0x0201, Small, [](Image& i) { PokeLE16(i.bytes, ChildFid(i, "", 0) + 28, 7); });
    add("FileSetPartitionOutOfRange", 0x0201, Small, [](Image& i) { PokeLE16(i.bytes, 35 * kS + 256, 9); });
    add("MapLengthPastDescriptor", 0x0201, Small, [](Image& i) { i.bytes[35 * kS + 441] = 255; });
    add("MapLengthZero", 0x0201, Small, [](Image& i) { i.bytes[35 * kS + 441] = 0; });
    add("MapCountHuge", 0x0201, Small, [](Image& i) { PokeLE32(i.bytes, 35 * kS + 268, 0xFFFFFFFFu); });
    add("MetadataMapCountHuge", 0x0250, Small, [](Image& i) { PokeLE32(i.bytes, 35 * kS + 268, 0x7FFFFFFFu); });
    add("EntryLeaHuge", 0x0201, Small, [](Image& i) { PokeLE32(i.bytes, Entry(i, "g") + 168, 0xFFFFFFF0u); });
    add("EntryLadHuge", 0x0201, Small, [](Image& i) { PokeLE32(i.bytes, Entry(i, "g") + 172, 0xFFFFFFF8u); });
    add("EntryLeaPlusLadWraps", 0x0201, Small, [](Image& i) {
        PokeLE32(i.bytes, Entry(i, "a") + 168, 0x80000000u);
        PokeLE32(i.bytes, Entry(i, "a") + 172, 0x80000010u);
    });
    add("EmbeddedRootLadHuge", 0x0201,
        [] { Node r = Small(); r.ad = kEmbedded; return r; },
        [](Image& i) { PokeLE32(i.bytes, Entry(i, "") + 172, 0xFFFFFFFFu); });
    add("FidImplementationUseHuge", 0x0201, Small, [](Image& i) { PokeLE16(i.bytes, ChildFid(i, "", 0) + 36, 0xFFFF); });
    add("FidIdentifierPastDirectory", 0x0201, Small, [](Image& i) { i.bytes[ChildFid(i, "", 1) + 19] = 255; });
    add("DirectoryDataAllOnes", 0x0201, Small, [](Image& i) {
        std::fill(i.bytes.begin() + Data(i, "a"), i.bytes.begin() + Data(i, "a") + kS, 0xFF);
    });
    add("MetadataExtentsCoverNothing", 0x0250, Small,
        [](Image& i) { PokeLE32(i.bytes, size_t(i.metadataFileSector) * kS + 216, 0); });
    add("MetadataFileEmbedded", 0x0250, Small,
        [](Image& i) { PokeLE16(i.bytes, size_t(i.metadataFileSector) * kS + 34, 3); });
    add("MetadataPartitionNumberNotAType1Map", 0x0250, Small,
        [](Image& i) { PokeLE16(i.bytes, 35 * kS + 440 + 6 + 38, 1); });
    add("MetadataFileBeyondTheDisc", 0x0250, Small,
        [](Image& i) { PokeLE32(i.bytes, 35 * kS + 440 + 6 + 40, 0x7FFFFFF0u); });
    add("BlockOutsideEveryMetadataExtent", 0x0250, Small, [](Image& i) { PokeLE32(i.bytes, 35 * kS + 252, 0x100000u); });
    add("MetadataFidOutsideExtents", 0x0250, Small, [](Image& i) { PokeLE32(i.bytes, ChildFid(i, "", 1) + 24, 0xFFFFFF00u); });
    add("DirectoryContainsItself", 0x0201, Small, [](Image& i) {
        uint32_t aBlock = ByteReader(&i.bytes[ChildFid(i, "", 0)], 40).LE32(24);
        i.bytes[ChildFid(i, "a", 0) + 18] = 2;
        PokeLE32(i.bytes, ChildFid(i, "a", 0) + 24, aBlock);
    });
    add("DirectoryContainsItsGrandparent", 0x0201, [] { return Nested(3); }, [](Image& i) {
        uint32_t rootBlock = ByteReader(&i.bytes[35 * kS + 248], 16).LE32(4);
        (void)rootBlock;
        // d/d/leaf: the leaf becomes a directory whose entry is the root's.
        size_t fid = ChildFid(i, "d/d", 0);
        ByteReader fsd(&i.bytes[i.fsdSector * kS], kS);
        i.bytes[fid + 18] = 2;
        PokeLE32(i.bytes, fid + 24, fsd.LE32(404));
    });
    add("DirectoryDataIsItsParentsData", 0x0201, [] { return Nested(3); }, [](Image& i) {
        // The entry of d/d names the data of d.
        size_t ad = AdOf(i, "d/d");
        PokeLE32(i.bytes, ad + 4, i.dataSector["d"] - i.partitionStart);
    });
    add("ChainPointsAtItself", 0x0201, WithChain, [](Image& i) {
        ByteReader link(&i.bytes[AdOf(i, "c") + 16], 8);
        uint32_t aed = link.LE32(4);
        size_t at = size_t(i.partitionStart + aed) * kS + 24 + 32;  // the AED's own link
        PokeLE32(i.bytes, at + 4, aed);
    });
    add("ChainLoopsBetweenTwoBlocks", 0x0201, WithChain, [](Image& i) {
        ByteReader link(&i.bytes[AdOf(i, "c") + 16], 8);
        uint32_t first = link.LE32(4);
        size_t second = size_t(i.partitionStart) * kS + size_t(ByteReader(&i.bytes[(i.partitionStart + first) * kS + 24 + 32], 16).LE32(4)) * kS;
        PokeLE32(i.bytes, second + 24 + 32 + 4, first);
        PokeLE32(i.bytes, second + 24 + 32, 0xC0000800u);
        PokeLE32(i.bytes, second + 20, 48);
    });
    add("ChainLengthHuge", 0x0201, WithChain, [](Image& i) { PokeLE32(i.bytes, AdOf(i, "c") + 16, 0xFFFFFFFFu); });
    add("ChainDescriptorCountHuge", 0x0201, WithChain, [](Image& i) {
        uint32_t aed = ByteReader(&i.bytes[AdOf(i, "c") + 16], 8).LE32(4);
        PokeLE32(i.bytes, size_t(i.partitionStart + aed) * kS + 20, 0xFFFFFFF0u);
    });
    add("DirectoryLengthHuge", 0x0201, Small, [](Image& i) { PokeLE32(i.bytes, AdOf(i, "a"), 0x3FFFFFFFu); });
    add("IcbLengthHuge", 0x0201, Small, [](Image& i) { PokeLE32(i.bytes, ChildFid(i, "", 1) + 20, 0xFFFFFFFFu); });
    add("AbsurdDepth", 0x0201, [] { return Nested(300); }, [](Image&) {});
    add("FileSizeAbsurd", 0x0201, Small, [](Image& i) { PokeLE32(i.bytes, Entry(i, "g") + 60, 0x7FFFFFFFu); });
    add("ExtentLengthHugeNearEnd", 0x0201, Small, [](Image& i) {
        size_t ad = AdOf(i, "g");
        PokeLE32(i.bytes, ad, 0x3FFFFFFFu);
        PokeLE32(i.bytes, ad + 4, 0xFFFFFF00u);
    });
    add("DescriptorSequenceHuge", 0x0201, Small, [](Image& i) {
        PokeLE32(i.bytes, 256 * kS + 16, 0xFFFFFFFFu);
        for (size_t s = 38; s < 60; ++s) PokeLE16(i.bytes, s * kS, 1);
    });
    add("AnchorPointsPastTheDisc", 0x0201, Small, [](Image& i) { PokeLE32(i.bytes, 256 * kS + 20, 0xFFFFFFF0u); });
    add("FileSetLengthZero", 0x0201, Small, [](Image& i) { PokeLE32(i.bytes, 35 * kS + 248, 0); });
    add("RootIcbNowhere", 0x0201, Small, [](Image& i) { PokeLE32(i.bytes, i.fsdSector * kS + 404, 0xFFFFFFF0u); });
    add("SharedDirectoryFanOut", 0x0201,
        [] {
            std::vector<Node> kids;
            for (int k = 0; k < 60; ++k) kids.push_back(Dir(std::string(1, char('A' + k % 26)), {File("f", "x")}));
            return Dir("", kids);
        },
        [](Image& i) {
            // Every root FID points at the root's own first child "A", and
            // A's FID leads back to A: the loop check stops the descent.
            size_t first = ChildFid(i, "", 0);
            uint32_t aBlock = ByteReader(&i.bytes[first], 40).LE32(24);
            for (int k = 1; k < 60; ++k) PokeLE32(i.bytes, first + 40 * k + 24, aBlock);
            MakeSharedLevels(i, 60);
        });
    add("GarbagePartition", 0x0201, Small, [](Image& i) {
        std::string junk = Pattern(16 * kS, 99);
        std::copy(junk.begin(), junk.end(), i.bytes.begin() + (i.partitionStart + 1) * kS);
    });
    return h;
}

class UdfHostile : public ::testing::TestWithParam<Hazard> {};

}  // namespace

TEST_P(UdfHostile, MountsOrFailsWithinBounds) {
    const Hazard& hazard = GetParam();
    Image image = Build(hazard.tree(), [&] {
        Options o;
        o.revision = hazard.revision;
        o.efe = hazard.revision >= 0x0250;
        o.ad = hazard.revision >= 0x0250 ? kLong : kShort;
        return o;
    }());
    hazard.mutate(image);
    std::string path = WriteImage(image, std::string("hostile-") + hazard.name);
    auto start = std::chrono::steady_clock::now();
    MountedDisc disc(path);
    uint64_t files = 0, bytes = 0;
    if (disc.mounted && disc.reader.root) {
        WalkTree(disc.reader.root, [&](const FileNode* node) {
            ++files;
            if (node->isDirectory) return;
            std::vector<uint8_t> buffer(65536);
            uint32_t got = 0;
            ReadFileData(disc.reader, node, 0, buffer.data(), 65536, got);
            ReadFileData(disc.reader, node, 1, buffer.data(), 65535, got);
            bytes += got;
        });
        FormatFileSystemListing(&disc.reader);
    }
    double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    EXPECT_LT(seconds, 2.0);
    EXPECT_LE(disc.reader.MemoryInUse(), 64ull << 20);
    EXPECT_LE(disc.target.CommandCount(), 300000u);
    EXPECT_LE(Val(disc.reader.nodeCount), kUdfMaxTreeNodes);
    RecordProperty("mounted", disc.mounted ? 1 : 0);
    RecordProperty("nodes", static_cast<int>(disc.reader.nodeCount));
    std::remove(path.c_str());
}

INSTANTIATE_TEST_SUITE_P(Corpus, UdfHostile, ::testing::ValuesIn(Hazards()),
                         [](const ::testing::TestParamInfo<Hazard>& p) { return std::string(p.param.name); });

// Specific results some hazards must give.
TEST(UdfHostileResults, LoopsAndLimitsGiveTheReadableTree) {
    Image image = Build(Small(), Options{});
    uint32_t aBlock = ByteReader(&image.bytes[ChildFid(image, "", 0)], 40).LE32(24);
    image.bytes[ChildFid(image, "a", 0) + 18] = 2;
    PokeLE32(image.bytes, ChildFid(image, "a", 0) + 24, aBlock);
    MountedDisc disc(WriteImage(image, "self-loop"));
    ASSERT_TRUE(disc.mounted);
    FileNode* inner = FindPath(disc.reader, "a/f");
    ASSERT_NE(inner, nullptr);
    EXPECT_TRUE(Val(inner->isDirectory));
    EXPECT_EQ(Val(inner->firstChild), nullptr);  // its data is its parent's: not read again
    MountedDisc deep(WriteImage(Build(Nested(300), Options{}), "deep"));
    ASSERT_TRUE(deep.mounted);
    int depth = 0;
    for (FileNode* n = deep.reader.root->firstChild; n; n = n->firstChild) ++depth;
    EXPECT_EQ(depth, int(kUdfMaxDirectoryDepth));
}

TEST(UdfHostileResults, ChainLoopIsCutAtTheRepeatedBlock) {
    Image image = Build(WithChain(), Options{});
    uint32_t aed = ByteReader(&image.bytes[AdOf(image, "c") + 16], 8).LE32(4);
    PokeLE32(image.bytes, size_t(image.partitionStart + aed) * kS + 24 + 32 + 4, aed);
    MountedDisc disc(WriteImage(image, "chain-self"));
    ASSERT_TRUE(disc.mounted);
    FileNode* c = FindPath(disc.reader, "c");
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(Val(c->extentCount), 4u);  // two in the entry, two in the one AED read
}
