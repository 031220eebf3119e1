// Behaviours of the reader and the tree that a volume's shape decides,
// each on an image built for it; expected values come from the description
// or from the bytes written.

#include <gtest/gtest.h>

#include "UdfTestSupport.h"
#include "udf/UdfLimits.h"
#include "udf/UdfListing.h"

namespace {

using namespace udfmaster;

Options Rev(uint16_t revision, int ad = kShort, bool efe = false) {
    Options o;
    o.revision = revision;
    o.ad = ad;
    o.efe = efe;
    return o;
}

std::string ReadAll(CUdfReader& reader, const FileNode* node, uint64_t offset, uint32_t length, uint32_t& got) {
    std::string data(length, '\0');
    ReadFileData(reader, node, offset, &data[0], length, got);
    return data.substr(0, got);
}

}  // namespace

TEST(UdfVolumeEdges, MetadataPartitionVolumeIsReadThroughTheMetadataFile) {
    Image image = Build(Dir("", {Dir("sub", {File("a.txt", "abc")})}), Rev(0x0250, kLong, true));
    // Move the metadata content to the end of the image and point the
    // Metadata File's one short_ad there: only a reader that goes through
    // the Metadata File finds the tree.
    std::vector<uint8_t>& b = image.bytes;
    size_t fe = size_t(image.metadataFileSector) * 2048;
    uint32_t length = ByteReader(&b[fe], 2048).LE32(216), oldBlock = ByteReader(&b[fe], 2048).LE32(220);
    uint32_t blocks = (length + 2047) / 2048;
    size_t oldAt = size_t(image.partitionStart + oldBlock) * 2048;
    uint32_t newBlock = static_cast<uint32_t>(b.size() / 2048) - image.partitionStart;
    b.resize(b.size() + size_t(blocks) * 2048 + 2048);
    std::copy(b.begin() + oldAt, b.begin() + oldAt + size_t(blocks) * 2048, b.begin() + (image.partitionStart + newBlock) * size_t(2048));
    std::fill(b.begin() + oldAt, b.begin() + oldAt + size_t(blocks) * 2048, 0);
    PokeLE32(b, fe + 220, newBlock);
    MountedDisc disc(WriteImage(b, "metadata-moved"));
    ASSERT_TRUE(disc.mounted);
    ASSERT_EQ(Val(disc.reader.partitionMapCount), 2u);
    EXPECT_EQ(Val(disc.reader.partitionMaps[1].type), 2);
    ASSERT_EQ(Val(disc.reader.partitionMaps[1].metadataExtentCount), 1);
    EXPECT_EQ(Val(disc.reader.partitionMaps[1].metadataExtents[0].block), newBlock);
    EXPECT_EQ(Val(disc.reader.defaultPartition), 1);
    EXPECT_STREQ(disc.reader.VolumeName(), "VEXLON_TEST");
    FileNode* a = FindPath(disc.reader, "sub/a.txt");
    ASSERT_NE(a, nullptr);
    uint32_t got = 0;
    EXPECT_EQ(ReadAll(disc.reader, a, 0, 3, got), "abc");
}

TEST(UdfVolumeEdges, MetadataExtentLengthKeepsTheTypeBits) {
    Image image = Build(Dir("", {File("a.txt", "abc")}), Rev(0x0250, kLong, true));
    size_t fe = size_t(image.metadataFileSector) * 2048;
    uint32_t length = ByteReader(&image.bytes[fe], 2048).LE32(216);
    PokeLE32(image.bytes, fe + 216, length | 0x40000000u);  // recorded-but-unallocated type
    MountedDisc disc(WriteImage(image, "metadata-typebits"));
    ASSERT_TRUE(disc.mounted);
    EXPECT_EQ(Val(disc.reader.partitionMaps[1].metadataExtents[0].length), ((length | 0x40000000u) + 2047u) >> 11);
    EXPECT_NE(FindPath(disc.reader, "a.txt"), nullptr);
}

TEST(UdfVolumeEdges, VolumeDescriptorPointerBeforeTheLogicalVolumeEndsTheScan) {
    Image image = Build(Dir("", {File("a.txt", "abc")}), Rev(0x0201));
    PokeLE16(image.bytes, 33 * 2048, 3);  // the IUVD becomes a Volume Descriptor Pointer
    MountedDisc disc(WriteImage(image, "vdp-first"));
    EXPECT_FALSE(disc.mounted);
    EXPECT_EQ(Val(disc.reader.partitionMapCount), 0u);
    EXPECT_EQ(Val(disc.reader.partitionMaps), nullptr);
}

TEST(UdfVolumeEdges, ZeroSectorAfterBeaStopsRecognition) {
    Image image = Build(Dir("", {File("a.txt", "abc")}), Rev(0x0201));
    std::vector<uint8_t> b = image.bytes;
    // BEA01, zeros, NSR03: the NSR03 behind the zeros is never seen.
    std::copy(b.begin() + 17 * 2048, b.begin() + 18 * 2048, b.begin() + 18 * 2048);
    std::fill(b.begin() + 17 * 2048, b.begin() + 18 * 2048, 0);
    MountedDisc stopped(WriteImage(b, "vrs-gap"));
    EXPECT_FALSE(stopped.mounted);
    EXPECT_EQ(Val(stopped.reader.flags), 0u);
    MountedDisc plain(WriteImage(image, "vrs-plain"));
    EXPECT_TRUE(plain.mounted);
}

TEST(UdfVolumeEdges, EmbeddedRootDirectoryIsReadFromItsEntry) {
    Node root = Dir("", {File("x.txt", "x"), Dir("d")});
    root.ad = kEmbedded;
    Image image = Build(root, Rev(0x0201));
    MountedDisc disc(WriteImage(image, "embedded-root"));
    ASSERT_TRUE(disc.mounted);
    EXPECT_EQ(Val(disc.reader.rootLocation.kind), 3);
    EXPECT_EQ(Val(disc.reader.rootLocation.location), image.entrySector[""]);
    EXPECT_EQ(Val(disc.reader.rootLocation.partition), 176);
    ASSERT_NE(Val(disc.reader.root->firstChild), nullptr);
    EXPECT_STREQ(NodeName(disc.reader.root->firstChild), "x.txt");
    EXPECT_STREQ(NodeName(disc.reader.root->firstChild->nextSibling), "d");
}

TEST(UdfVolumeEdges, Nsr02VolumeWithTwoPartitionMapsIsRefused) {
    Image image = Build(Dir("", {File("a.txt", "abc")}), Rev(0x0102));
    PokeLE32(image.bytes, 35 * 2048 + 268, 2);
    MountedDisc disc(WriteImage(image, "nsr02-two-maps"));
    EXPECT_FALSE(disc.mounted);
    Image nsr03 = Build(Dir("", {File("a.txt", "abc")}), Rev(0x0201));
    PokeLE32(nsr03.bytes, 35 * 2048 + 268, 2);
    MountedDisc accepted(WriteImage(nsr03, "nsr03-two-maps"));
    EXPECT_TRUE(accepted.mounted);
}

TEST(UdfTreeEdges, DeletedEntryIsDroppedAndHiddenEntryKept) {
    Node hidden = File("hidden.txt", "h");
    hidden.hidden = true;
    Node deleted = File("deleted.txt", "d");
    deleted.deleted = true;
    MountedDisc disc(WriteImage(Build(Dir("", {deleted, hidden}), Rev(0x0201)), "deleted-hidden"));
    ASSERT_TRUE(disc.mounted);
    EXPECT_EQ(FindPath(disc.reader, "deleted.txt"), nullptr);
    ASSERT_NE(FindPath(disc.reader, "hidden.txt"), nullptr);
    EXPECT_EQ(Val(disc.reader.root->firstChild->nextSibling), nullptr);
}

TEST(UdfTreeEdges, EmbeddedFileHasSizeAndTimeButNoExtentsAndDoesNotExtract) {
    Node small = File("small.txt", "twelve bytes");
    small.ad = kEmbedded;
    small.year = 2021;
    MountedDisc disc(WriteImage(Build(Dir("", {small}), Rev(0x0201)), "embedded-file"));
    ASSERT_TRUE(disc.mounted);
    FileNode* node = FindPath(disc.reader, "small.txt");
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(Val(node->size), 12u);
    EXPECT_EQ(Val(node->extentCount), 0u);
    EXPECT_EQ(ByteReader(node->modified, 12).LE16(2), 2021);
    std::string out = TempDir("extract") + "/small.txt";
    std::remove(out.c_str());
    EXPECT_FALSE(ExtractFile(disc.reader, node, out.c_str()));
    EXPECT_EQ(FileSizeOf(out), 0u);
    EXPECT_EQ(ReadWholeFile(out), "");
    std::string listing = FormatFileSystemListing(&disc.reader);
    EXPECT_NE(listing.find("\xA9\xB8\xA9\xA4small.txt 0\r\n"), std::string::npos);
}

TEST(UdfTreeEdges, UnrecordedMiddleExtentIsLostAndTheRestMovesUp) {
    Node sparse;
    sparse.name = "sparse.bin";
    std::string a = Pattern(2048, 1), c = Pattern(2048, 3);
    sparse.pieces = {Piece{a, 0}, Piece{"", 4096}, Piece{c, 0}};
    MountedDisc disc(WriteImage(Build(Dir("", {sparse}), Rev(0x0201)), "sparse"));
    ASSERT_TRUE(disc.mounted);
    FileNode* node = FindPath(disc.reader, "sparse.bin");
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(Val(node->size), 8192u);
    ASSERT_EQ(Val(node->extentCount), 2u);
    uint32_t got = 0;
    EXPECT_TRUE(ReadAll(disc.reader, node, 0, 4096, got) == a + c);
    std::string out = TempDir("extract") + "/sparse.bin";
    EXPECT_FALSE(ExtractFile(disc.reader, node, out.c_str()));  // 8192 bytes wanted, 4096 mapped
}

TEST(UdfTreeEdges, ZeroIcbLengthGivesSizeZeroAndNoTime) {
    Node f = File("zero.bin", Pattern(5000, 9));
    f.zeroIcbLength = true;
    MountedDisc disc(WriteImage(Build(Dir("", {f}), Rev(0x0201)), "zero-icb"));
    ASSERT_TRUE(disc.mounted);
    FileNode* node = FindPath(disc.reader, "zero.bin");
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(Val(node->icbLength), 0u);
    EXPECT_EQ(Val(node->size), 0u);
    EXPECT_EQ(Val(node->extentCount), 0u);
    EXPECT_FALSE(ByteReader(node->modified, 12).AnyNonZero(0, 12));
}

TEST(UdfTreeEdges, VolumeWithoutFileExtentsKeepsLowestDataSectorAtAllOnes) {
    Node small = File("small.txt", "x");
    small.ad = kEmbedded;
    MountedDisc disc(WriteImage(Build(Dir("", {Dir("a", {Dir("b")}), small}), Rev(0x0201)), "no-extents"));
    ASSERT_TRUE(disc.mounted);
    EXPECT_EQ(Val(disc.reader.lowestDataSector), 0xFFFFFFFFu);
    MountedDisc withData(WriteImage(Build(Dir("", {File("f", "data")}), Rev(0x0201)), "one-extent"));
    Image image = Build(Dir("", {File("f", "data")}), Rev(0x0201));
    EXPECT_EQ(Val(withData.reader.lowestDataSector), image.dataSector["f"]);
}

TEST(UdfTreeEdges, ShortAdFileChainIsReadAsLongAd) {
    Node chained;
    chained.name = "chained.bin";
    std::string all;
    for (int i = 0; i < 9; ++i) {
        chained.pieces.push_back(Piece{Pattern(2048, 10 + i), 0});
        all += chained.pieces.back().bytes;
    }
    chained.descriptorsPerEntry = 2;
    for (int ad : {kShort, kLong}) {
        MountedDisc disc(WriteImage(Build(Dir("", {chained}), Rev(0x0201, ad)), "chain" + std::to_string(ad)));
        ASSERT_TRUE(disc.mounted);
        FileNode* node = FindPath(disc.reader, "chained.bin");
        ASSERT_NE(node, nullptr);
        EXPECT_EQ(Val(node->extentCount), 9u);
        uint32_t got = 0;
        EXPECT_TRUE(ReadAll(disc.reader, node, 0, 9 * 2048, got) == all);
    }
}

TEST(UdfTreeEdges, SixteenBitNamesKeepTheLowByte) {
    Node wide = File("\xCE\xB1" "b", "w");  // U+03B1 'b'
    Node forced = File("plain", "p");
    forced.force16 = true;
    MountedDisc disc(WriteImage(Build(Dir("", {wide, forced}), Rev(0x0201)), "names16"));
    ASSERT_TRUE(disc.mounted);
    EXPECT_STREQ(NodeName(disc.reader.root->firstChild), "\xB1" "b");
    EXPECT_STREQ(NodeName(disc.reader.root->firstChild->nextSibling), "plain");
}

TEST(UdfTreeEdges, ReadIsClampedToTheSizeNotToWhatFollowsTheOffset) {
    std::string data = Pattern(1000, 4);
    MountedDisc disc(WriteImage(Build(Dir("", {File("f", data)}), Rev(0x0201)), "clamp"));
    ASSERT_TRUE(disc.mounted);
    FileNode* node = FindPath(disc.reader, "f");
    uint32_t got = 0;
    std::string tail = ReadAll(disc.reader, node, 990, 100, got);
    EXPECT_EQ(got, 100u);  // 10 bytes of the file, then the sector's slack
    EXPECT_EQ(tail.substr(0, 10), data.substr(990));
    EXPECT_EQ(tail.substr(10), std::string(90, '\0'));
}

TEST(UdfTreeEdges, FindPathIsCaseSensitiveAndTakesEitherSeparator) {
    MountedDisc disc(WriteImage(Build(Dir("", {Dir("Dir", {File("File.txt", "x")})}), Rev(0x0201)), "paths"));
    ASSERT_TRUE(disc.mounted);
    EXPECT_EQ(FindPath(disc.reader, nullptr), disc.reader.root);
    EXPECT_NE(FindPath(disc.reader, "Dir/File.txt"), nullptr);
    EXPECT_NE(FindPath(disc.reader, "\\\\Dir\\\\File.txt"), nullptr);
    EXPECT_NE(FindPath(disc.reader, "/Dir/"), nullptr);
    EXPECT_EQ(FindPath(disc.reader, "dir/file.txt"), nullptr);
    EXPECT_EQ(HasSubdirectory(disc.reader.root), 1);
    EXPECT_EQ(HasSubdirectory(FindPath(disc.reader, "Dir")), 0);
    EXPECT_EQ(HasSubdirectory(nullptr), 0);
}

TEST(UdfTimestamps, TypeTwoAndZoneOutOfRangeLeaveTheOutput) {
    uint8_t ts[12] = {0, 0x20, 0xE8, 0x07, 1, 1, 0, 0, 0, 0, 0, 0};  // type 2
    uint64_t ft = 1234;
    TimestampToFileTime(ts, ft);
    EXPECT_EQ(ft, 1234u);
    ts[0] = 0xD0;  // zone 2000 (7D0h), type 1
    ts[1] = 0x17;
    TimestampToFileTime(ts, ft);
    EXPECT_EQ(ft, 1234u);
}

TEST(UdfTimestamps, ConvertsZonesAndSubSecondFields) {
    // 1601-01-02 00:00:00 UTC is 86400 s after the epoch.
    uint8_t ts[12] = {0x00, 0x00, 0x41, 0x06, 1, 2, 0, 0, 0, 0, 0, 0};
    uint64_t ft = 0;
    TimestampToFileTime(ts, ft);
    EXPECT_EQ(ft, 864000000000ull);
    // Local time at UTC+60 minutes, 12 cs, 3 hundreds of us, 4 us.
    uint8_t local[12] = {0x3C, 0x10, 0x41, 0x06, 1, 2, 1, 0, 0, 12, 3, 4};
    TimestampToFileTime(local, ft);
    EXPECT_EQ(ft, 864000000000ull + ((12 * 100 + 3) * 100 + 4) * 10ull);
    // Unspecified zone (-2047) is not converted.
    uint8_t unspecified[12] = {0x01, 0x18, 0x41, 0x06, 1, 2, 0, 0, 0, 0, 0, 0};
    TimestampToFileTime(unspecified, ft);
    EXPECT_EQ(ft, 864000000000ull);
    // 1900 is not a leap year: February 29 is refused.
    uint8_t feb29[12] = {0x00, 0x00, 0x6C, 0x07, 2, 29, 0, 0, 0, 0, 0, 0};
    ft = 7;
    TimestampToFileTime(feb29, ft);
    EXPECT_EQ(ft, 7u);
}

TEST(UdfDStrings, SixteenBitAndEightBitAndEmpty) {
    uint8_t field[8] = {16, 0, 'A', 0x03, 0xB1, 0, 0, 5};
    char out[8] = {};
    DStringToNarrow(field, 8, out);
    EXPECT_STREQ(out, "A\xB1");
    uint8_t eight[8] = {8, 'x', 'y', 0, 0, 0, 0, 3};
    char out8[8] = {};
    DStringToNarrow(eight, 8, out8);
    EXPECT_STREQ(out8, "xy");
    uint8_t empty[8] = {8, 'x', 0, 0, 0, 0, 0, 0};
    char none[8] = {};
    DStringToNarrow(empty, 8, none);
    EXPECT_STREQ(none, "");
}

TEST(UdfListing, ExportListsTheTreeWithLineDrawingPrefixesAndCrLf) {
    Node tree = Dir("", {Dir("a", {File("x", "1")}), Dir("b", {Dir("c", {File("y", "")})})});
    Image image = Build(tree, Rev(0x0201));
    MountedDisc disc(WriteImage(image, "listing"));
    ASSERT_TRUE(disc.mounted);
    std::string x = std::to_string(image.dataSector["a/x"]);
    std::string expected =
        "// Exported by Vexlon Insepctor 1.3.0.0\r\n//\r\n\r\n"
        "\xA9\xC0\xA9\xA4" "a\r\n"
        "\xA9\xA6   \xA9\xB8\xA9\xA4x 1 (" + x + ", 1)\r\n"
        "\xA9\xB8\xA9\xA4" "b\r\n"
        "    \xA9\xB8\xA9\xA4" "c\r\n"
        "        \xA9\xB8\xA9\xA4y 0\r\n";
    EXPECT_EQ(FormatFileSystemListing(&disc.reader), expected);
    EXPECT_EQ(FormatFileSystemListing(nullptr), "// Exported by Vexlon Insepctor 1.3.0.0\r\n//\r\n\r\n");
}

TEST(UdfCache, FirstSectorsComeFromTheCacheAndTheLastCachedSectorFromTheDrive) {
    Image image = Build(Dir("", {File("f", "x")}), Rev(0x0201));
    image.bytes.resize(3000 * 2048);
    MountedDisc disc(WriteImage(image, "cache"));
    ASSERT_TRUE(disc.mounted);
    size_t before = disc.target.Transcript().size();
    uint8_t sector[2048];
    EXPECT_EQ(disc.reader.CachedRead(2046, 2048, sector), 2048u);
    EXPECT_EQ(disc.target.Transcript().size(), before);
    // 2047 * 2048 + 2048 is not below the cache size: the drive is asked.
    EXPECT_EQ(disc.reader.CachedRead(2047, 2048, sector), 2048u);
    EXPECT_EQ(disc.target.Transcript().size(), before + 1);
}
