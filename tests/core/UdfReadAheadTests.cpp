// Read-ahead: a mount reads whole aligned 64 KiB windows, keeps a bounded
// number of them, and a bad sector inside a window costs only itself: the
// tree is the same as when each descriptor was read alone.

#include <gtest/gtest.h>

#include <cstring>
#include <set>

#include "UdfTestSupport.h"
#include "common/ByteReader.h"
#include "udf/UdfLimits.h"
#include "udf/UdfListing.h"

namespace {

using namespace udfmaster;

// Fails every READ(10) that covers one chosen sector, as a drive does.
class CBadSectorDevice : public CDevice {
public:
    CBadSectorDevice(CDevice& next, uint32_t bad) : inner(next), badSector(bad) {}
    bool Open(const char* path) override { return inner.Open(path); }
    bool OpenDriveLetter(uint32_t index) override { return inner.OpenDriveLetter(index); }
    bool Lock() override { return inner.Lock(); }
    bool Unlock() override { return inner.Unlock(); }
    bool Close() override { return inner.Close(); }
    bool ExecuteCommand(const ScsiCommand& command, ScsiResult* result) override {
        if (command.cdb[0] == 0x28) {
            uint32_t lba = ByteReader(command.cdb, 16).BE32(2), count = ByteReader(command.cdb, 16).BE16(7);
            if (badSector >= lba && badSector - lba < count) {
                ++failures;
                return false;
            }
        }
        return inner.ExecuteCommand(command, result);
    }
    uint32_t failures = 0;

private:
    CDevice& inner;
    uint32_t badSector;
};

Image MakeWide();

// 3,000 files in three folders, with the metadata past the 2,048 sectors
// that the mount's first cache holds.
const Image& Wide() {
    static const Image image = MakeWide();
    return image;
}

const std::string& WidePath() {
    static const std::string path = WriteImage(Wide(), "readahead-wide");
    return path;
}

// A file of d2 whose entry lies inside a window past the cache.
std::string EntryInsideAWindow() {
    for (int f = 2000; f < 3000; ++f) {
        std::string path = "d2/f" + std::to_string(f);
        uint32_t sector = Wide().entrySector.at(path);
        if (sector > 2048 && sector % 32 > 2 && sector % 32 < 30 && (f - 2000) % 700 != 0) return path;
    }
    return "";
}

Image MakeWide() {
    std::vector<Node> dirs;
    for (int d = 0; d < 3; ++d) {
        std::vector<Node> files;
        for (int f = 0; f < 1000; ++f) files.push_back(File("f" + std::to_string(d * 1000 + f), Pattern(size_t(f % 700), uint32_t(f))));
        dirs.push_back(Dir("d" + std::to_string(d), files));
    }
    Options o;
    o.dataAfterEntry = true;
    return Build(Dir("", dirs), o);
}

struct Mounted {
    explicit Mounted(const std::string& image, uint32_t bad = 0xFFFFFFFFu)
        : target(ImageDrive(image)), device(target), failing(device, bad) {
        mounted = reader.MountDevice(&failing);
    }
    CMmcTarget target;
    CEmulatedDevice device;
    CBadSectorDevice failing;
    CUdfReader reader;
    bool mounted = false;
};

}  // namespace

TEST(UdfReadAhead, TheMountReadsWholeAlignedWindowsPastTheCache) {
    const Image& image = Wide();
    ASSERT_GT(image.entrySector.at("d2/f2999"), 2048u);
    Mounted m(WidePath());
    ASSERT_TRUE(m.mounted);
    uint32_t past = 0;
    for (const TranscriptEntry& t : m.target.Transcript()) {
        if (t.cdb[0] != 0x28) continue;
        uint32_t lba = ByteReader(t.cdb, 16).BE32(2), count = ByteReader(t.cdb, 16).BE16(7);
        if (lba < 2048) continue;
        ++past;
        EXPECT_EQ(lba % 32, 0u) << lba;
        // Only a window cut at the medium's end is shorter.
        if (lba + 32 <= image.bytes.size() / 2048) {
            EXPECT_EQ(count, 32u) << lba;
        }
    }
    EXPECT_GT(past, 10u);
    // Far fewer commands than the 3,000 entries past the cache.
    EXPECT_LT(m.target.CommandCount(), 64u + 3u * past);
    EXPECT_LE(m.reader.readAhead.MemoryInUse(), kUdfReadAheadWindows * (64u * 1024u + 256u));
}

TEST(UdfReadAhead, ABadSectorInsideAWindowCostsOnlyItself) {
    const Image& image = Wide();
    std::string file = EntryInsideAWindow();
    ASSERT_FALSE(file.empty());
    uint32_t bad = image.entrySector.at(file);
    Mounted whole(WidePath());
    Mounted failing(WidePath(), bad);
    ASSERT_TRUE(whole.mounted);
    ASSERT_TRUE(failing.mounted);
    EXPECT_GT(failing.failing.failures, 0u);
    // The entry that cannot be read gives a node with its name only; every
    // other node is as on the sound drive.
    const FileNode* lost = FindPath(failing.reader, file.c_str());
    ASSERT_NE(lost, nullptr);
    EXPECT_EQ(Val(lost->size), 0u);
    EXPECT_EQ(Val(lost->extentCount), 0u);
    std::string sound = FormatFileSystemListing(&whole.reader), damaged = FormatFileSystemListing(&failing.reader);
    std::string name = file.substr(3);
    int local = std::stoi(name.substr(1)) % 1000;
    std::string line = name + " 1 (" + std::to_string(image.dataSector.at(file)) + ", " + std::to_string(local % 700) + ")";
    size_t at = sound.find(line);
    ASSERT_NE(at, std::string::npos);
    EXPECT_TRUE(damaged == sound.substr(0, at) + name + " 0" + sound.substr(at + line.size()));
}

TEST(UdfReadAhead, AFailedWindowIsReadSectorBySectorOnlyAsSectorsAreAsked) {
    uint32_t bad = Wide().entrySector.at(EntryInsideAWindow());
    Mounted m(WidePath(), bad);
    ASSERT_TRUE(m.mounted);
    std::set<uint32_t> single;
    uint32_t window = bad / 32 * 32, badReads = 0;
    for (const TranscriptEntry& t : m.target.Transcript()) {
        if (t.cdb[0] != 0x28) continue;
        uint32_t lba = ByteReader(t.cdb, 16).BE32(2), count = ByteReader(t.cdb, 16).BE16(7);
        if (count == 1 && lba >= window && lba < window + 32) single.insert(lba);
    }
    // The failing commands never reach the drive's transcript; the sectors
    // around the bad one were each asked for once, alone.
    for (uint32_t s : single) EXPECT_NE(s, bad);
    badReads = m.failing.failures;
    EXPECT_GE(badReads, 2u);  // the window, then the sector alone
    EXPECT_LE(badReads, 3u);
    EXPECT_FALSE(single.empty());
}
