// The reader against disc images written by other tools, compared with what
// 7-Zip listed and extracted from the same images.

#include <gtest/gtest.h>

#include <set>

#include "TestPaths.h"
#include "UdfTestSupport.h"
#include "udf/UdfLimits.h"

namespace {

void ExpectTreeMatchesListing(const std::string& image, const std::string& listing) {
    MountedDisc disc(SharedPath("discs/" + image));
    ASSERT_TRUE(disc.mounted);
    auto listed = ParseSevenZipListing(ReadWholeFile(SharedPath("discs/" + listing)));
    ASSERT_EQ(listed.size(), 329u);  // 313 files, 16 folders
    std::map<std::string, ListedEntry> expected;
    for (const auto& [path, entry] : listed) expected[LowBytes(path)] = entry;
    std::set<std::string> seen;
    WalkTree(disc.reader.root, [&](const FileNode* node) {
        std::string path = NodePath(node);
        EXPECT_TRUE(seen.insert(path).second) << path;
        auto it = expected.find(path);
        if (it == expected.end()) {
            ADD_FAILURE() << "not in the listing: " << path;
            return;
        }
        EXPECT_EQ(Val(node->isDirectory) != 0, it->second.folder) << path;
        if (!node->isDirectory) {
            EXPECT_EQ(Val(node->size), it->second.size) << path;
        }
        uint64_t ft = 0;
        TimestampToFileTime(node->modified, ft);
        EXPECT_EQ(FileTimeText(ft), it->second.modified) << path;
    });
    EXPECT_EQ(seen.size(), expected.size());
}

// Every file's bytes read through its extents equal what 7-Zip extracts.
void ExpectDataMatchesSevenZip(const std::string& image) {
    if (!HaveTool("7z")) GTEST_SKIP() << "7z is not installed here";
    std::string dir = TempDir("x-" + image);
    std::string command = "7z x -y -o'" + dir + "' '" + SharedPath("discs/" + image) + "' >/dev/null";
    ASSERT_EQ(std::system(command.c_str()), 0);
    MountedDisc disc(SharedPath("discs/" + image));
    ASSERT_TRUE(disc.mounted);
    std::string listing = image.substr(0, image.rfind('.')) + ".7z-slt.txt";
    std::map<std::string, std::string> utf8Path;
    for (const auto& entry : ParseSevenZipListing(ReadWholeFile(SharedPath("discs/" + listing))))
        utf8Path[LowBytes(entry.first)] = entry.first;
    int files = 0;
    WalkTree(disc.reader.root, [&](const FileNode* node) {
        if (node->isDirectory) return;
        std::string expected = ReadWholeFile(dir + "/" + utf8Path[NodePath(node)]);
        std::string data(static_cast<size_t>(node->size), '\0');
        uint32_t got = 0;
        ASSERT_TRUE(ReadFileData(disc.reader, node, 0, &data[0], static_cast<uint32_t>(Val(node->size)), got));
        EXPECT_EQ(got, Val(node->size)) << NodePath(node);
        EXPECT_TRUE(data == expected) << NodePath(node);
        ++files;
    });
    EXPECT_EQ(files, 313);
    std::system(("rm -rf '" + dir + "'").c_str());
}

}  // namespace

TEST(UdfSharedDiscs, GenisoimageTreeEqualsSevenZipListing) {
    ExpectTreeMatchesListing("udf102-genisoimage.iso", "udf102-genisoimage.7z-slt.txt");
}

TEST(UdfSharedDiscs, PycdlibTreeEqualsSevenZipListing) {
    ExpectTreeMatchesListing("udf-pycdlib.iso", "udf-pycdlib.7z-slt.txt");
}

TEST(UdfSharedDiscs, GenisoimageFileDataEqualsSevenZipExtraction) { ExpectDataMatchesSevenZip("udf102-genisoimage.iso"); }

TEST(UdfSharedDiscs, PycdlibFileDataEqualsSevenZipExtraction) { ExpectDataMatchesSevenZip("udf-pycdlib.iso"); }

TEST(UdfSharedDiscs, GenisoimageIsAnNsr02BridgeVolume) {
    MountedDisc disc(SharedPath("discs/udf102-genisoimage.iso"));
    ASSERT_TRUE(disc.mounted);
    EXPECT_EQ(Val(disc.reader.flags), kUdfFlagIso9660 | kUdfFlagNsr02);
    EXPECT_STREQ(disc.reader.VolumeName(), "GENISO_UDF102");
    EXPECT_EQ(Val(disc.reader.partitionMapCount), 1u);
    EXPECT_EQ(Val(disc.reader.partitionMaps[0].type), 1);
    EXPECT_LT(Val(disc.reader.lowestDataSector), 0xFFFFFFFFu);
}

TEST(UdfSharedDiscs, Iso9660OnlySetsItsFlagAndDoesNotMount) {
    MountedDisc disc(SharedPath("discs/iso9660-only.iso"));
    EXPECT_FALSE(disc.mounted);
    EXPECT_EQ(Val(disc.reader.flags), kUdfFlagIso9660);
}

TEST(UdfSharedDiscs, MkudffsEmbeddedRootIsReadFromItsEntry) {
    // Root File Entry at sector 259 (partition 257 + block 2), ICB flags 3,
    // L_EA 0, L_AD 40: the directory data starts at byte 176 of that sector.
    MountedDisc disc(SharedPath("discs/udf102-mkudffs-inicb.img"));
    ASSERT_TRUE(disc.mounted);
    EXPECT_STREQ(disc.reader.VolumeName(), "MK_UDF102");
    EXPECT_EQ(Val(disc.reader.rootLocation.kind), 3);
    EXPECT_EQ(Val(disc.reader.rootLocation.partition), 176);
    EXPECT_EQ(Val(disc.reader.rootLocation.location), 259u);
    EXPECT_EQ(Val(disc.reader.rootLocation.length), 40u);
    EXPECT_EQ(Val(disc.reader.root->firstChild), nullptr);
    EXPECT_EQ(Val(disc.reader.lowestDataSector), 0xFFFFFFFFu);
}

TEST(UdfSharedDiscs, MkudffsShortAdRootUsesTheDefaultPartition) {
    MountedDisc disc(SharedPath("discs/udf150-mkudffs-short.img"));
    ASSERT_TRUE(disc.mounted);
    EXPECT_STREQ(disc.reader.VolumeName(), "MK_UDF150");
    EXPECT_EQ(Val(disc.reader.flags) & kUdfFlagNsr02, kUdfFlagNsr02);
    EXPECT_EQ(Val(disc.reader.rootLocation.kind), 1);
    EXPECT_EQ(Val(disc.reader.rootLocation.location), 3u);
    EXPECT_EQ(Val(disc.reader.rootLocation.length), 40u);
    EXPECT_EQ(Val(disc.reader.root->firstChild), nullptr);
}

TEST(UdfSharedDiscs, MkudffsExtendedEntryLongAdRoot) {
    MountedDisc disc(SharedPath("discs/udf201-mkudffs-long.img"));
    ASSERT_TRUE(disc.mounted);
    EXPECT_STREQ(disc.reader.VolumeName(), "MK_UDF201");
    EXPECT_EQ(Val(disc.reader.flags) & kUdfFlagNsr03, kUdfFlagNsr03);
    EXPECT_EQ(Val(disc.reader.rootLocation.kind), 1);
    EXPECT_EQ(Val(disc.reader.rootLocation.partition), 0);
    // FSD at sector 258 names the root ICB at block 4 (sector 261, an
    // Extended File Entry) whose long_ad gives 40 bytes at block 5.
    EXPECT_EQ(Val(disc.reader.rootLocation.location), 5u);
    EXPECT_EQ(Val(disc.reader.rootLocation.length), 40u);
    EXPECT_EQ(Val(disc.reader.root->sector), 257u + 5u);
}

TEST(UdfSharedDiscs, SharedDriveFilesMountTheirDiscs) {
    for (const char* name : {"drives/bd-writer-recorded-bdr.drive", "drives/dvdram-writer-recorded-dvdrw.drive"}) {
        DriveFile file;
        std::string error;
        ASSERT_TRUE(LoadDriveFile(SharedPath(name), file, error)) << error;
        MountedDisc disc(file);
        ASSERT_TRUE(disc.mounted) << name;
        FileNode* big = FindPath(disc.reader, "big/large.bin");
        ASSERT_NE(big, nullptr);
        EXPECT_EQ(Val(big->size), 3145745u);
        // The 4 MiB cache is filled in 64 KiB commands, 64 of them.
        int cacheCommands = 0;
        for (const TranscriptEntry& t : disc.target.Transcript())
            if (t.cdb[0] == 0x28 && t.transferLength == 65536) ++cacheCommands;
        EXPECT_EQ(cacheCommands, 64) << name;
    }
}
