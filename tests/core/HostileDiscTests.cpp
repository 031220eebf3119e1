// The hostile discs: each gives its listing, dump and extraction within
// bounded time and memory, writes no more than the disc holds, never writes
// a byte the drive did not deliver, and keeps the results below.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdio>

#include "../hostile/HostileCorpus.h"
#include "UdfTestSupport.h"
#include "pages/DiscDump.h"
#include "pages/FileList.h"
#include "udf/UdfLimits.h"
#include "udf/UdfListing.h"

namespace {

// Counts what the listing would write, holding none of it.
class CCountingSink : public CTextSink {
public:
    bool Write(const char* data, size_t size) override {
        bytes += size;
        last.assign(data, size);
        return true;
    }
    uint64_t bytes = 0;
    std::string last;
};

struct Outcome {
    bool mounted = false;
    uint64_t listingBytes = 0;
    std::string listingTail;
    uint64_t memory = 0;
    uint32_t nodes = 0;
    std::string dump;
    bool extracted = false;
    std::string extractError;
    std::string extractedBytes;
    bool extractedExists = false;
    double seconds = 0;
};

DriveFile HostileDrive(const HostileDisc& disc, const std::string& image) {
    DriveFile file;
    std::string error;
    std::string text = "title: " + disc.name + "\nletter: E\nimage: " + image + "\n" + disc.replies;
    EXPECT_TRUE(ParseDriveFile(text, disc.name + ".drive", file, error)) << error;
    file.sectors = disc.image.size() / 2048;
    file.hasSectors = true;
    return file;
}

Outcome RunAll(const HostileDisc& disc) {
    std::string image = WriteImage(disc.image, "hostile-" + disc.name);
    DriveFile file = HostileDrive(disc, image);
    Outcome o;
    auto start = std::chrono::steady_clock::now();
    {
        MountedDisc m(file);
        o.mounted = m.mounted;
        CCountingSink sink;
        WriteFileSystemListing(m.mounted ? &m.reader : nullptr, sink);
        o.listingBytes = sink.bytes;
        o.listingTail = sink.last;
        o.memory = m.reader.MemoryInUse();
        o.nodes = m.reader.nodeCount;
        std::string target = TempDir("hostile") + "/" + disc.name + ".out";
        std::remove(target.c_str());
        const FileNode* node = m.mounted ? FindEscapedPath(m.reader, disc.extractPath) : nullptr;
        if (node) o.extracted = ExtractFile(m.reader, node, target.c_str(), &o.extractError);
        FILE* probe = std::fopen(target.c_str(), "rb");
        o.extractedExists = probe != nullptr;
        if (probe) std::fclose(probe);
        o.extractedBytes = ReadWholeFile(target);
        std::remove(target.c_str());
    }
    {
        CMmcTarget target(file);
        CEmulatedDevice device(target);
        std::string dump = TempDir("hostile") + "/" + disc.name + ".bin";
        std::remove(dump.c_str());
        DumpDisc(device, dump.c_str());
        o.dump = ReadWholeFile(dump);
        std::remove(dump.c_str());
    }
    o.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::remove(image.c_str());
    return o;
}

// Fresh heap under AddressSanitizer is filled with BEh: a long run of it in
// an output is memory the program never wrote.
bool HoldsHeapFill(const std::string& bytes) {
    return bytes.find(std::string(64, '\xBE')) != std::string::npos;
}

HostileDisc Named(const std::string& name) {
    for (HostileDisc& disc : HostileDiscs())
        if (disc.name == name) return disc;
    ADD_FAILURE() << "no hostile disc " << name;
    return HostileDisc{};
}

class HostileDiscCorpus : public ::testing::TestWithParam<HostileDisc> {};

}  // namespace

TEST_P(HostileDiscCorpus, StaysWithinItsBounds) {
    const HostileDisc& disc = GetParam();
    Outcome o = RunAll(disc);
    // Generous for sanitizer builds; the release check holds each to 2 s.
    EXPECT_LT(o.seconds, 20.0);
    EXPECT_LE(o.memory, 64ull << 20);
    EXPECT_LE(o.listingBytes, kUdfMaxListingBytes);
    EXPECT_LE(o.dump.size(), disc.image.size());
    EXPECT_LE(o.extractedBytes.size(), disc.image.size());
    EXPECT_FALSE(HoldsHeapFill(o.dump));
    EXPECT_FALSE(HoldsHeapFill(o.extractedBytes));
    RecordProperty("seconds", std::to_string(o.seconds));
    RecordProperty("nodes", static_cast<int>(o.nodes));
}

INSTANTIATE_TEST_SUITE_P(Corpus, HostileDiscCorpus, ::testing::ValuesIn(HostileDiscs()),
                         [](const ::testing::TestParamInfo<HostileDisc>& p) {
                             std::string name;
                             for (char c : p.param.name) name += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
                             return name;
                         });

TEST(HostileDiscResults, AnUnreadableExtentRemovesTheCopyAndNamesTheSector) {
    Outcome o = RunAll(Named("extent-runs-past-the-end"));
    ASSERT_TRUE(o.mounted);
    EXPECT_FALSE(o.extracted);
    EXPECT_FALSE(o.extractedExists);
    EXPECT_NE(o.extractError.find("sector "), std::string::npos) << o.extractError;
    EXPECT_NE(o.extractError.find("cannot be read"), std::string::npos) << o.extractError;
}

TEST(HostileDiscResults, AReadThatFailsMidwayCountsOnlyWhatWasReadAndZeroesTheRest) {
    HostileDisc disc = Named("middle-extent-unreadable");
    std::string image = WriteImage(disc.image, "hostile-middle");
    MountedDisc m(HostileDrive(disc, image));
    ASSERT_TRUE(m.mounted);
    const FileNode* node = FindPath(m.reader, "f");
    ASSERT_NE(node, nullptr);
    std::string buffer(3 * 2048, '\xBE');
    uint32_t got = 12345;
    EXPECT_FALSE(ReadFileData(m.reader, node, 0, &buffer[0], 3 * 2048, got));
    EXPECT_EQ(got, 2048u);
    EXPECT_TRUE(buffer.substr(0, 2048) == udfmaster::Pattern(2048, 0));
    EXPECT_TRUE(buffer.substr(2048) == std::string(2 * 2048, '\0'));
    EXPECT_EQ(m.reader.failedSector, 0x00FFFFF0u + 257u);  // the partition starts at 257
    // The same on the unaligned path.
    std::fill(buffer.begin(), buffer.end(), '\xBE');
    EXPECT_FALSE(ReadFileData(m.reader, node, 1, &buffer[0], 3 * 2048 - 1, got));
    EXPECT_EQ(got, 2047u);
    EXPECT_TRUE(buffer.substr(2047, 2 * 2048) == std::string(2 * 2048, '\0'));
}

TEST(HostileDiscResults, AFileClaimingMoreThanTheDiscHoldsIsNotCopied) {
    Outcome o = RunAll(Named("size-2e64-with-gigabyte-extents"));
    ASSERT_TRUE(o.mounted);
    EXPECT_FALSE(o.extracted);
    EXPECT_FALSE(o.extractedExists);
    EXPECT_NE(o.extractError.find("more than the disc holds"), std::string::npos) << o.extractError;
}

TEST(HostileDiscResults, AnExtentWithoutAPartitionMapMapsNothing) {
    Outcome o = RunAll(Named("extent-names-no-partition-map"));
    ASSERT_TRUE(o.mounted);
    EXPECT_FALSE(o.extracted);
    EXPECT_TRUE(o.extractedBytes.empty());
}

TEST(HostileDiscResults, AnExtentThatWrapsPast2e32IsDropped) {
    HostileDisc disc = Named("extent-wraps-past-2e32");
    MountedDisc m(HostileDrive(disc, WriteImage(disc.image, "hostile-wrap")));
    ASSERT_TRUE(m.mounted);
    const FileNode* node = FindPath(m.reader, "f");
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(Val(node->extentCount), 0u);
}

TEST(HostileDiscResults, ALyingCapacityDumpsNoMoreThanTheDiscHolds) {
    for (const char* name : {"capacity-fffffffe-extent-at-ffffff00", "no-capacity-extent-at-ffffff00",
                             "capacity-zero-extent-at-ffffff00"}) {
        HostileDisc disc = Named(name);
        Outcome o = RunAll(disc);
        ASSERT_TRUE(o.mounted) << name;
        // Every readable sector, then the dump stops at the unreadable rest.
        EXPECT_EQ(o.dump.size(), disc.image.size()) << name;
        EXPECT_TRUE(o.dump == std::string(disc.image.begin(), disc.image.end())) << name;
    }
}

TEST(HostileDiscResults, DirectoriesNamedTwiceAreWalkedOnce) {
    Outcome o = RunAll(Named("directories-named-twice-127-levels"));
    ASSERT_TRUE(o.mounted);
    EXPECT_LE(o.nodes, 260u);
    EXPECT_LT(o.listingBytes, 200000u);
}

TEST(HostileDiscResults, ManyNamesOfOneFileStayWithinTheBudgets) {
    Outcome o = RunAll(Named("one-file-named-16000-times"));
    ASSERT_TRUE(o.mounted);
    EXPECT_EQ(o.nodes, 16001u);
    EXPECT_LE(o.memory, 48ull << 20);
}

TEST(HostileDiscResults, ForgedNamesShowTheirControlBytesAsQuestionMarks) {
    HostileDisc disc = Named("names-that-forge-lines");
    MountedDisc m(HostileDrive(disc, WriteImage(disc.image, "hostile-names")));
    ASSERT_TRUE(m.mounted);
    std::string listing = FormatFileSystemListing(&m.reader);
    size_t lines = 0;
    for (size_t at = listing.find("\r\n"); at != std::string::npos; at = listing.find("\r\n", at + 2)) ++lines;
    EXPECT_EQ(lines, 3u + 5u);  // two header lines and a blank one, then one line per name
    EXPECT_EQ(listing.find('\n'), listing.find("\r\n") + 1);
    EXPECT_NE(listing.find("line??forged 1 (300, 2048) 1 ("), std::string::npos);
    EXPECT_NE(listing.find("tab?here"), std::string::npos);
    EXPECT_NE(listing.find("nul?tail"), std::string::npos);
    std::vector<std::string> rows;
    WalkTree(m.reader.root, [&](const FileNode* node) { rows.push_back(MakeFileListRow(node, &m.reader).name); });
    EXPECT_NE(std::find(rows.begin(), rows.end(), "nul?tail"), rows.end());
    EXPECT_NE(std::find(rows.begin(), rows.end(), "line??forged 1 (300, 2048)"), rows.end());
    // The stored names stay as the disc has them.
    const FileNode* slash = FindEscapedPath(m.reader, "a\\/b");
    ASSERT_NE(slash, nullptr);
    EXPECT_STREQ(NodeName(slash), "a/b");
    EXPECT_EQ(FindPath(m.reader, "a/b"), nullptr);
    EXPECT_NE(FindEscapedPath(m.reader, "\\\\..\\\\..\\\\x"), nullptr);
}

TEST(SaveName, OffersOnlyTheLastComponentInFileNameCharacters) {
    EXPECT_EQ(SaveNameFor("\\..\\..\\x"), "x");
    EXPECT_EQ(SaveNameFor("a/b"), "b");
    EXPECT_EQ(SaveNameFor("report.txt"), "report.txt");
    EXPECT_EQ(SaveNameFor("what?<now>:*\"|.txt"), "what__now_____.txt");
    EXPECT_EQ(SaveNameFor("tab\there"), "tab_here");
    EXPECT_EQ(SaveNameFor("dir/"), "_");
    EXPECT_EQ(SaveNameFor(".."), "__");
}
