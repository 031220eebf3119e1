// The hostile drive files of the corpus, each loaded and asked: the refusal
// names the file and the line, and nothing takes long or holds much.

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include "emulation/DriveFile.h"
#include "emulation/MmcTarget.h"
#include "hostile/HostileCorpus.h"

namespace {

namespace fs = std::filesystem;

// Generous, so that a sanitizer build passes too; release figures are printed.
constexpr double kLoadSeconds = 10;
constexpr size_t kHeldBytes = 48u << 20;

double Now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// The heap bytes a drive file holds: every buffer its strings and lists
// have, and a 16-byte allocation header for each.
size_t HeldBytes(const DriveFile& d) {
    auto text = [](const std::string& s) { return s.capacity() > 15 ? s.capacity() + 1 + 16 : 0; };
    size_t n = sizeof d + text(d.fileName) + text(d.title) + text(d.path) + text(d.imagePath);
    n += d.blocks.capacity() * sizeof(ReplyBlock) + 16;
    for (const ReplyBlock& b : d.blocks) {
        n += b.data.capacity() ? b.data.capacity() + 16 : 0;
        n += b.fields.capacity() ? b.fields.capacity() * sizeof b.fields[0] + 16 : 0;
        for (const auto& f : b.fields) n += text(f.first);
    }
    return n;
}

class HostileDriveFiles : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        dir = new fs::path(fs::temp_directory_path() / ("vexlon-hostile-drives-" + std::to_string(Now())));
        fs::create_directories(*dir);
        WriteHostileDriveFiles(dir->string());
    }
    static void TearDownTestSuite() {
        std::error_code ec;
        fs::remove_all(*dir, ec);
        delete dir;
        dir = nullptr;
    }

    static std::string Path(const std::string& name) { return (*dir / name).string(); }

    // Loads one file, which must be refused: the error, the time and what
    // the loader held when it stopped.
    struct Refusal {
        std::string error;
        double seconds;
        size_t held;
        size_t blocks;
    };
    static Refusal Refuse(const std::string& name) {
        DriveFile d;
        Refusal r;
        double start = Now();
        EXPECT_FALSE(LoadDriveFile(Path(name), d, r.error)) << name;
        r.seconds = Now() - start;
        r.held = HeldBytes(d);
        r.blocks = d.blocks.size();
        std::printf("  %s: refused in %.1f ms holding %.1f MB: %s\n", name.c_str(), r.seconds * 1e3, r.held / 1e6,
                    r.error.c_str());
        EXPECT_LT(r.seconds, kLoadSeconds) << name;
        EXPECT_LT(r.held, kHeldBytes) << name;
        EXPECT_LT(r.error.size(), Path(name).size() + 100) << name;
        return r;
    }

    static fs::path* dir;
};

fs::path* HostileDriveFiles::dir = nullptr;

TEST_F(HostileDriveFiles, EveryAttackIsWritten) {
    for (const char* name : {"many-tiny-blocks.drive", "over-long-line.drive", "long-hex-word.drive", "huge-file.drive",
                             "too-many-blocks-of-one-opcode.drive", "too-many-blocks.drive",
                             "reply-bytes-over-limit.drive", "repeated-fields.drive", "read-capacity-fffffffe.drive",
                             "read-capacity-zero.drive"})
        EXPECT_TRUE(fs::is_regular_file(Path(name))) << name;
    EXPECT_GT(fs::file_size(Path("huge-file.drive")), kMaxDriveFileBytes);
    EXPECT_LT(fs::file_size(Path("many-tiny-blocks.drive")), 1700000u);
}

TEST_F(HostileDriveFiles, AFileTooBigIsRefusedBeforeALineIsRead) {
    Refusal r = Refuse("huge-file.drive");
    EXPECT_EQ(r.error, Path("huge-file.drive") + ": drive file larger than 16 MiB");
    EXPECT_EQ(r.blocks, 0u);
}

TEST_F(HostileDriveFiles, AnOverLongLineIsRefusedByItsNumber) {
    EXPECT_EQ(Refuse("over-long-line.drive").error, Path("over-long-line.drive") + ":2: line longer than 128 KiB");
}

TEST_F(HostileDriveFiles, ALongWordIsNamedCut) {
    EXPECT_EQ(Refuse("long-hex-word.drive").error,
              Path("long-hex-word.drive") + ":2: '" + std::string(32, 'A') + "...' is not a hex byte");
}

TEST_F(HostileDriveFiles, RepeatedFieldsAreRefusedAtTheSecond) {
    EXPECT_EQ(Refuse("repeated-fields.drive").error, Path("repeated-fields.drive") + ":1: field 'page' is named twice");
}

TEST_F(HostileDriveFiles, TooManyBlocksOfOneOpcodeAreRefusedAtTheFirstTooMany) {
    Refusal r = Refuse("too-many-blocks-of-one-opcode.drive");
    EXPECT_EQ(r.error, Path("too-many-blocks-of-one-opcode.drive") + ":" + std::to_string(2 * kMaxBlocksPerOpcode + 1) +
                           ": more than 4096 reply blocks for opcode 12");
    EXPECT_EQ(r.blocks, kMaxBlocksPerOpcode);
}

TEST_F(HostileDriveFiles, TooManyBlocksInAllAreRefusedAtTheFirstTooMany) {
    Refusal r = Refuse("too-many-blocks.drive");
    EXPECT_EQ(r.error, Path("too-many-blocks.drive") + ":" + std::to_string(2 * kMaxReplyBlocks + 1) +
                           ": more than 262144 reply blocks");
    EXPECT_EQ(r.blocks, kMaxReplyBlocks);
}

TEST_F(HostileDriveFiles, ReplyBytesOverTheLimitAreRefusedAtTheLineThatPassesIt) {
    Refusal r = Refuse("reply-bytes-over-limit.drive");
    size_t blocks = kMaxReplyBytes / kMaxBlockBytes;
    size_t line = blocks * (1 + kMaxBlockBytes / 64) + 2;
    EXPECT_EQ(r.error, Path("reply-bytes-over-limit.drive") + ":" + std::to_string(line) +
                           ": reply blocks hold more than 4 MiB in all");
    EXPECT_EQ(r.blocks, blocks);
    EXPECT_LT(r.held, kMaxReplyBytes + (1u << 20));
}

uint8_t Send(CMmcTarget& t, const uint8_t* cdb, uint8_t length, uint8_t* data, uint32_t size, MmcReply& reply) {
    reply = t.Execute(cdb, length, DataIn, data, size);
    return reply.status;
}

TEST_F(HostileDriveFiles, TwoHundredThousandTinyBlocksLoadAndAnswerFast) {
    double start = Now();
    DriveFile d;
    std::string error;
    ASSERT_TRUE(LoadDriveFile(Path("many-tiny-blocks.drive"), d, error)) << error;
    size_t held = HeldBytes(d);
    CMmcTarget target(std::move(d));
    double loaded = Now();
    ASSERT_EQ(target.File().blocks.size(), 200002u);

    const uint8_t inquiry[6] = {0x12, 0, 0, 0, 0x60, 0};
    const uint8_t capacity[10] = {0x25};
    const uint8_t read[10] = {0x28, 0, 0, 0, 0, 9, 0, 0, 1, 0};
    const uint8_t vendor[6] = {0xC7};
    const uint8_t modeSense[10] = {0x5A, 0, 0x2A, 0, 0, 0, 0, 0, 0xFC, 0};
    uint8_t buffer[2048];
    MmcReply r;
    uint64_t examinedBefore = target.BlocksExamined();
    for (int i = 0; i < 200; ++i) {
        ASSERT_EQ(Send(target, inquiry, 6, buffer, 96, r), 0);
        ASSERT_EQ(r.transferred, 16u);
        ASSERT_EQ(Send(target, capacity, 10, buffer, 8, r), 0);
        ASSERT_EQ(buffer[3], 0x3F);
        ASSERT_EQ(Send(target, read, 10, buffer, 2048, r), 0);
        ASSERT_EQ(r.transferred, 2048u);
        ASSERT_EQ(Send(target, vendor, 6, buffer, 16, r), 0);
        ASSERT_EQ(Send(target, modeSense, 10, buffer, 252, r), 2);
        ASSERT_EQ(r.sense[12], 0x20);
    }
    double answered = Now();
    // Each command looked at its own opcode's first block at most.
    EXPECT_EQ(target.BlocksExamined() - examinedBefore, 600u);
    std::printf("  many-tiny-blocks.drive: 200,002 blocks loaded in %.1f ms holding %.1f MB; "
                "1,000 commands in %.2f ms (%.2f us each)\n",
                (loaded - start) * 1e3, held / 1e6, (answered - loaded) * 1e3, (answered - loaded) * 1e3);
    EXPECT_LT(loaded - start, kLoadSeconds);
    EXPECT_LT(held, kHeldBytes);
    EXPECT_LT(answered - loaded, 1.0);
}

TEST_F(HostileDriveFiles, ACapacityOfFFFFFFFEhIsAnsweredAndReadsStayInsideTheMedium) {
    DriveFile d;
    std::string error;
    ASSERT_TRUE(LoadDriveFile(Path("read-capacity-fffffffe.drive"), d, error)) << error;
    CMmcTarget target(std::move(d));
    uint8_t buffer[2048];
    MmcReply r;
    const uint8_t capacity[10] = {0x25};
    ASSERT_EQ(Send(target, capacity, 10, buffer, 8, r), 0);
    uint32_t lastLba = static_cast<uint32_t>(buffer[0]) << 24 | static_cast<uint32_t>(buffer[1]) << 16 |
                       static_cast<uint32_t>(buffer[2]) << 8 | buffer[3];
    EXPECT_EQ(lastLba, 0xFFFFFFFEu);
    const uint8_t lastInside[10] = {0x28, 0, 0, 0, 0, 63, 0, 0, 1, 0};
    EXPECT_EQ(Send(target, lastInside, 10, buffer, 2048, r), 0);
    const uint8_t claimed[10] = {0x28, 0, 0xFF, 0xFF, 0xFF, 0xFE, 0, 0, 1, 0};
    ASSERT_EQ(Send(target, claimed, 10, buffer, 2048, r), 2);
    EXPECT_EQ(r.sense[2], 5);
    EXPECT_EQ(r.sense[12], 0x21);
    const uint8_t wide[10] = {0x28, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 0};
    ASSERT_EQ(Send(target, wide, 10, buffer, 2048, r), 2);
    EXPECT_EQ(r.sense[12], 0x21);
}

TEST_F(HostileDriveFiles, ACapacityOfZeroIsAnsweredAsItStands) {
    DriveFile d;
    std::string error;
    ASSERT_TRUE(LoadDriveFile(Path("read-capacity-zero.drive"), d, error)) << error;
    CMmcTarget target(std::move(d));
    uint8_t buffer[2048];
    MmcReply r;
    const uint8_t capacity[10] = {0x25};
    ASSERT_EQ(Send(target, capacity, 10, buffer, 8, r), 0);
    EXPECT_EQ(r.transferred, 8u);
    EXPECT_EQ(buffer[0] | buffer[1] | buffer[2] | buffer[3], 0);
    const uint8_t first[10] = {0x28, 0, 0, 0, 0, 0, 0, 0, 1, 0};
    EXPECT_EQ(Send(target, first, 10, buffer, 2048, r), 0);
    EXPECT_EQ(r.transferred, 2048u);
}

}  // namespace
