#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "TestPaths.h"
#include "emulation/DriveFile.h"
#include "emulation/MmcTarget.h"

namespace {

namespace fs = std::filesystem;

using Bytes = std::vector<uint8_t>;

std::unique_ptr<CMmcTarget> TargetFromText(const std::string& text, const std::string& name = "t.drive") {
    DriveFile drive;
    std::string error;
    EXPECT_TRUE(ParseDriveFile(text, name, drive, error)) << error;
    return std::make_unique<CMmcTarget>(drive);
}

std::unique_ptr<CMmcTarget> SharedTarget(const std::string& file) {
    DriveFile drive;
    std::string error;
    EXPECT_TRUE(LoadDriveFile(SharedPath("drives/" + file), drive, error)) << error;
    return std::make_unique<CMmcTarget>(drive);
}

// One command and what it left in a buffer prefilled with 0xCC.
struct Outcome {
    MmcReply reply;
    Bytes buffer;
    Bytes Delivered() const { return Bytes(buffer.begin(), buffer.begin() + reply.transferred); }
    bool UntouchedFrom(size_t offset) const {
        for (size_t i = offset; i < buffer.size(); ++i)
            if (buffer[i] != 0xCC) return false;
        return true;
    }
};

Outcome Send(CMmcTarget& target, const Bytes& cdb, uint32_t transferLength, size_t bufferSize = 0,
            DataDirection direction = DataIn) {
    Outcome o;
    o.buffer.assign(bufferSize ? bufferSize : transferLength + 64, 0xCC);
    o.reply = target.Execute(cdb.data(), static_cast<uint8_t>(cdb.size()), direction,
                             transferLength || bufferSize ? o.buffer.data() : nullptr, transferLength);
    return o;
}

::testing::AssertionResult Sense(const MmcReply& r, uint8_t key, uint8_t asc, uint8_t ascq) {
    if (r.status != 2) return ::testing::AssertionFailure() << "status " << int(r.status);
    if (r.senseLength != 18) return ::testing::AssertionFailure() << "sense length " << r.senseLength;
    if (r.sense[0] != 0x70 || r.sense[7] != 10)
        return ::testing::AssertionFailure() << "not fixed-format sense: " << int(r.sense[0]) << " " << int(r.sense[7]);
    if (r.sense[2] != key || r.sense[12] != asc || r.sense[13] != ascq)
        return ::testing::AssertionFailure() << std::hex << "sense " << int(r.sense[2]) << " " << int(r.sense[12])
                                             << " " << int(r.sense[13]);
    if (r.transferred != 0) return ::testing::AssertionFailure() << "transferred " << r.transferred;
    return ::testing::AssertionSuccess();
}

Bytes FileBytes(const std::string& name, uint64_t offset, size_t count) {
    std::ifstream in(name, std::ios::binary);
    in.seekg(static_cast<std::streamoff>(offset));
    Bytes bytes(count);
    in.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(count));
    bytes.resize(static_cast<size_t>(in.gcount()));
    return bytes;
}

Bytes Read10(uint32_t lba, uint16_t count) {
    return {0x28, 0, uint8_t(lba >> 24), uint8_t(lba >> 16), uint8_t(lba >> 8), uint8_t(lba), 0,
            uint8_t(count >> 8), uint8_t(count), 0};
}

Bytes GetConfiguration(uint8_t rt, uint16_t start, uint16_t allocation) {
    return {0x46, rt, uint8_t(start >> 8), uint8_t(start), 0, 0, 0, uint8_t(allocation >> 8), uint8_t(allocation), 0};
}

const Bytes kInquiry = {0x12, 0, 0, 0, 0x60, 0};
const Bytes kStartStopOpen = {0x1B, 0, 0, 0, 0x02, 0};
const Bytes kStartStopClose = {0x1B, 0, 0, 0, 0x03, 0};

// ---- matching ----

struct FieldCase {
    const char* block;  // the block line
    Bytes matching;     // a CDB whose field has the block's value (other bits set to disturb)
    Bytes other;        // the same CDB with only the field changed
};

TEST(MmcTargetMatching, EverySelectingFieldOfEveryOpcodeSelects) {
    const FieldCase cases[] = {
        {"> 12 evpd=1", {0x12, 0xE1, 0x00, 0x00, 0xFF, 0}, {0x12, 0xE0, 0x00, 0x00, 0xFF, 0}},
        {"> 12 page=83", {0x12, 0x01, 0x83, 0x00, 0xFF, 0}, {0x12, 0x01, 0x80, 0x00, 0xFF, 0}},
        {"> 1A page=2A", {0x1A, 0, 0xAA, 0, 0xFF, 0}, {0x1A, 0, 0xAB, 0, 0xFF, 0}},
        {"> 1A pc=2", {0x1A, 0, 0xAA, 0, 0xFF, 0}, {0x1A, 0, 0x6A, 0, 0xFF, 0}},
        {"> 5A page=2A", {0x5A, 0x08, 0xEA, 0, 0, 0, 0, 0xFF, 0xFF, 0}, {0x5A, 0x08, 0xE9, 0, 0, 0, 0, 0xFF, 0xFF, 0}},
        {"> 5A pc=1", {0x5A, 0, 0x6A, 0, 0, 0, 0, 0xFF, 0xFF, 0}, {0x5A, 0, 0xAA, 0, 0, 0, 0, 0xFF, 0xFF, 0}},
        {"> A4 format=08", {0xA4, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 0xC8, 0}, {0xA4, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 0xC9, 0}},
        {"> A4 class=1", {0xA4, 0, 0, 0, 0, 0, 0, 0x01, 0xFF, 0xFF, 0x08, 0}, {0xA4, 0, 0, 0, 0, 0, 0, 0x00, 0xFF, 0xFF, 0x08, 0}},
        {"> 51 type=1", {0x51, 0xF9, 0, 0, 0, 0, 0, 0xFF, 0xFF, 0}, {0x51, 0xFA, 0, 0, 0, 0, 0, 0xFF, 0xFF, 0}},
        {"> 43 format=4", {0x43, 0, 0xF4, 0, 0, 0, 0, 0xFF, 0xFF, 0}, {0x43, 0, 0xF5, 0, 0, 0, 0, 0xFF, 0xFF, 0}},
        {"> 43 msf=1", {0x43, 0xFF, 0, 0, 0, 0, 0, 0xFF, 0xFF, 0}, {0x43, 0xFD, 0, 0, 0, 0, 0, 0xFF, 0xFF, 0}},
        {"> 43 track=AA", {0x43, 0, 0, 0, 0, 0, 0xAA, 0xFF, 0xFF, 0}, {0x43, 0, 0, 0, 0, 0, 0x01, 0xFF, 0xFF, 0}},
        {"> AC type=03", {0xAC, 0, 0, 0, 0, 0, 0, 0, 0x00, 0x10, 0x03, 0}, {0xAC, 0, 0, 0, 0, 0, 0, 0, 0x00, 0x10, 0x00, 0}},
        {"> AC datatype=10", {0xAC, 0xF0, 0, 0, 0, 0, 0, 0, 0x00, 0x10, 0x03, 0}, {0xAC, 0xE0, 0, 0, 0, 0, 0, 0, 0x00, 0x10, 0x03, 0}},
        {"> AD media=1", {0xAD, 0xF1, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 0, 0}, {0xAD, 0xF0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 0, 0}},
        {"> AD format=0E", {0xAD, 0, 0, 0, 0, 0, 0, 0x0E, 0xFF, 0xFF, 0, 0}, {0xAD, 0, 0, 0, 0, 0, 0, 0x0F, 0xFF, 0xFF, 0, 0}},
        {"> AD layer=1", {0xAD, 0, 0, 0, 0, 0, 0x01, 0, 0xFF, 0xFF, 0, 0}, {0xAD, 0, 0, 0, 0, 0, 0x00, 0, 0xFF, 0xFF, 0, 0}},
        {"> AD address=12345678", {0xAD, 0, 0x12, 0x34, 0x56, 0x78, 0, 0, 0xFF, 0xFF, 0, 0},
         {0xAD, 0, 0x12, 0x34, 0x56, 0x79, 0, 0, 0xFF, 0xFF, 0, 0}},
        {"> AD address=12345678", {0xAD, 0, 0x12, 0x34, 0x56, 0x78, 0, 0, 0xFF, 0xFF, 0, 0},
         {0xAD, 0, 0x92, 0x34, 0x56, 0x78, 0, 0, 0xFF, 0xFF, 0, 0}},
    };
    for (const FieldCase& c : cases) {
        auto target = TargetFromText(std::string(c.block) + "\nA1 B2 C3\n");
        Outcome hit = Send(*target, c.matching, 256);
        EXPECT_EQ(hit.reply.status, 0) << c.block;
        EXPECT_EQ(hit.Delivered(), (Bytes{0xA1, 0xB2, 0xC3})) << c.block;
        Outcome miss = Send(*target, c.other, 256);
        EXPECT_TRUE(Sense(miss.reply, 5, 0x24, 0x00)) << c.block;
        EXPECT_TRUE(miss.UntouchedFrom(0)) << c.block;
    }
}

TEST(MmcTargetMatching, ABlockMatchesOnlyWhenAllItsFieldsDo) {
    auto target = TargetFromText("> AD media=0 format=0E\n0E\n");
    EXPECT_EQ(Send(*target, {0xAD, 0, 0, 0, 0, 0, 0, 0x0E, 0, 0xFF, 0, 0}, 64).Delivered(), Bytes{0x0E});
    EXPECT_TRUE(Sense(Send(*target, {0xAD, 0, 0, 0, 0, 0, 0, 0x0F, 0, 0xFF, 0, 0}, 64).reply, 5, 0x24, 0));
    EXPECT_TRUE(Sense(Send(*target, {0xAD, 1, 0, 0, 0, 0, 0, 0x0E, 0, 0xFF, 0, 0}, 64).reply, 5, 0x24, 0));
}

TEST(MmcTargetMatching, FieldsABlockDoesNotNameMatchAnything) {
    auto target = TargetFromText("> 43\n01\n> 25\n02\n> 23\n03\n> 46\n00 00 00 04 00 00 00 08\n");
    for (uint8_t format = 0; format < 16; ++format) {
        Outcome o = Send(*target, {0x43, 0x02, format, 0, 0, 0, 0x63, 0x00, 0x40, 0}, 64);
        EXPECT_EQ(o.Delivered(), Bytes{0x01}) << int(format);
    }
    EXPECT_EQ(Send(*target, {0x25, 0xFF, 1, 2, 3, 4, 5, 6, 7, 8}, 8).Delivered(), Bytes{0x02});
    EXPECT_EQ(Send(*target, {0x23, 0xFF, 1, 2, 3, 4, 5, 0, 0xFC, 0}, 252).Delivered(), Bytes{0x03});
}

TEST(MmcTargetMatching, FirstMatchingBlockInTheFileWins) {
    auto target = TargetFromText("> 43 format=0\nAA\n> 43\nBB\n> 43 format=0\nCC\n");
    EXPECT_EQ(Send(*target, {0x43, 0, 0x00, 0, 0, 0, 0, 0, 0xFF, 0}, 64).Delivered(), Bytes{0xAA});
    EXPECT_EQ(Send(*target, {0x43, 0, 0x02, 0, 0, 0, 0, 0, 0xFF, 0}, 64).Delivered(), Bytes{0xBB});

    auto general = TargetFromText("> 43\nBB\n> 43 format=0\nAA\n");
    EXPECT_EQ(Send(*general, {0x43, 0, 0x00, 0, 0, 0, 0, 0, 0xFF, 0}, 64).Delivered(), Bytes{0xBB});

    // A status block that comes first wins over data behind it.
    auto status = TargetFromText("> AD format=0E\n! 5 30 02\n> AD\nDD\n");
    EXPECT_TRUE(Sense(Send(*status, {0xAD, 0, 0, 0, 0, 0, 0, 0x0E, 0, 0xFF, 0, 0}, 64).reply, 5, 0x30, 0x02));
    EXPECT_EQ(Send(*status, {0xAD, 0, 0, 0, 0, 0, 0, 0x00, 0, 0xFF, 0, 0}, 64).Delivered(), Bytes{0xDD});
}

TEST(MmcTargetMatching, OpcodeWithoutBlocksIsAnInvalidCommandOperationCode) {
    auto target = TargetFromText("> 12\n05 80\n");
    EXPECT_TRUE(Sense(Send(*target, {0x25, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 8).reply, 5, 0x20, 0x00));
    EXPECT_TRUE(Sense(Send(*target, {0x00, 0, 0, 0, 0, 0}, 0, 0, DataNone).reply, 5, 0x20, 0x00));
    EXPECT_TRUE(Sense(Send(*target, {0xBB, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0, 0, 0}, 0, 0, DataNone).reply, 5, 0x20, 0));
    // An empty drive file knows no command at all.
    auto empty = TargetFromText("");
    EXPECT_TRUE(Sense(Send(*empty, kInquiry, 96).reply, 5, 0x20, 0x00));
}

TEST(MmcTargetMatching, KnownOpcodeWithoutAMatchingBlockIsAnInvalidFieldInCdb) {
    auto target = TargetFromText("> 12 evpd=0\n05 80\n");
    EXPECT_TRUE(Sense(Send(*target, {0x12, 0x01, 0x80, 0, 0xFF, 0}, 255).reply, 5, 0x24, 0x00));
}

TEST(MmcTargetMatching, StatusBlockEndsInCheckConditionWithItsFixedFormatSense) {
    auto target = TargetFromText("> 51\n! 3 02 01\n");
    Outcome o = Send(*target, {0x51, 0, 0, 0, 0, 0, 0, 0, 34, 0}, 34);
    ASSERT_TRUE(Sense(o.reply, 3, 0x02, 0x01));
    const uint8_t expected[18] = {0x70, 0, 3, 0, 0, 0, 0, 10, 0, 0, 0, 0, 0x02, 0x01, 0, 0, 0, 0};
    EXPECT_EQ(std::memcmp(o.reply.sense, expected, sizeof expected), 0);
    EXPECT_TRUE(o.UntouchedFrom(0));
}

TEST(MmcTargetMatching, CheckConditionBuildsFixedFormatSense) {
    MmcReply r = CheckCondition(0x1F, 0x3A, 0x02);
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.senseLength, 18u);
    EXPECT_EQ(r.sense[0], 0x70);
    EXPECT_EQ(r.sense[2], 0x0F);  // only the low nibble is the key
    EXPECT_EQ(r.sense[7], 10);
    EXPECT_EQ(r.sense[12], 0x3A);
    EXPECT_EQ(r.sense[13], 0x02);
}

// ---- transfer ----

std::string Block(const char* line, size_t size) {
    std::string text = std::string(line) + "\n";
    char hex[4];
    for (size_t i = 0; i < size; ++i) {
        std::snprintf(hex, sizeof hex, "%02X ", static_cast<unsigned>((i * 7 + 1) & 0xFF));
        text += hex;
        if (i % 16 == 15) text += "\n";
    }
    return text + "\n";
}

Bytes Pattern(size_t size) {
    Bytes b(size);
    for (size_t i = 0; i < size; ++i) b[i] = static_cast<uint8_t>((i * 7 + 1) & 0xFF);
    return b;
}

TEST(MmcTargetTransfer, AllocationLengthCutsTheAnswer) {
    auto target = TargetFromText(Block("> 12", 96));
    Outcome o = Send(*target, {0x12, 0, 0, 0x00, 0x24, 0}, 96, 128);
    EXPECT_EQ(o.reply.status, 0);
    EXPECT_EQ(o.reply.transferred, 36u);
    EXPECT_EQ(o.Delivered(), Pattern(36));
    EXPECT_TRUE(o.UntouchedFrom(36));
}

TEST(MmcTargetTransfer, TransferLengthCutsTheAnswer) {
    auto target = TargetFromText(Block("> 12", 96));
    Outcome o = Send(*target, {0x12, 0, 0, 0x00, 0x60, 0}, 20, 128);
    EXPECT_EQ(o.reply.transferred, 20u);
    EXPECT_EQ(o.Delivered(), Pattern(20));
    EXPECT_TRUE(o.UntouchedFrom(20));
}

TEST(MmcTargetTransfer, ShortBlockDeliversOnlyItsBytes) {
    auto target = TargetFromText(Block("> 12", 8));
    Outcome o = Send(*target, {0x12, 0, 0, 0x00, 0x60, 0}, 96, 128);
    EXPECT_EQ(o.reply.transferred, 8u);
    EXPECT_EQ(o.Delivered(), Pattern(8));
    EXPECT_TRUE(o.UntouchedFrom(8));
}

TEST(MmcTargetTransfer, ZeroAllocationLengthDeliversNothing) {
    auto target = TargetFromText(Block("> 12", 96));
    Outcome o = Send(*target, {0x12, 0, 0, 0, 0, 0}, 96, 128);
    EXPECT_EQ(o.reply.status, 0);
    EXPECT_EQ(o.reply.transferred, 0u);
    EXPECT_TRUE(o.UntouchedFrom(0));
}

TEST(MmcTargetTransfer, NoBufferDeliversNothing) {
    auto target = TargetFromText(Block("> 12", 96));
    MmcReply r = target->Execute(kInquiry.data(), 6, DataIn, nullptr, 96);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.transferred, 0u);
}

TEST(MmcTargetTransfer, EachOpcodeReadsItsAllocationLengthWhereItsCdbHoldsIt) {
    struct Case {
        const char* block;
        Bytes cdb;
        uint32_t expected;
    };
    const Case cases[] = {
        {"> 12", {0x12, 0, 0, 0x01, 0x00, 0}, 256},  // two bytes: 3-4
        {"> 12", {0x12, 0, 0, 0x00, 0x11, 0}, 17},
        {"> 1A", {0x1A, 0, 0x2A, 0, 0x0B, 0}, 11},   // one byte: 4
        {"> 5A", {0x5A, 0, 0x2A, 0, 0, 0, 0, 0x00, 0x0D, 0}, 13},
        {"> 5A", {0x5A, 0, 0x2A, 0, 0, 0, 0, 0x01, 0x02, 0}, 258},
        {"> 46", {0x46, 0, 0, 0, 0, 0, 0, 0x00, 0x09, 0}, 9},
        {"> 51", {0x51, 0, 0, 0, 0, 0, 0, 0x00, 0x05, 0}, 5},
        {"> 43", {0x43, 0, 0, 0, 0, 0, 0, 0x00, 0x0C, 0}, 12},
        {"> 23", {0x23, 0, 0, 0, 0, 0, 0, 0x00, 0x0E, 0}, 14},
        {"> A4", {0xA4, 0, 0, 0, 0, 0, 0, 0, 0x00, 0x06, 0x08, 0}, 6},
        {"> AD", {0xAD, 0, 0, 0, 0, 0, 0, 0, 0x00, 0x07, 0, 0}, 7},
        {"> AD", {0xAD, 0, 0, 0, 0, 0, 0, 0, 0x01, 0x00, 0, 0}, 256},
        // GET PERFORMANCE counts 16-byte descriptors behind an 8-byte header.
        {"> AC", {0xAC, 0, 0, 0, 0, 0, 0, 0, 0x00, 0x02, 0x03, 0}, 40},
        {"> AC", {0xAC, 0, 0, 0, 0, 0, 0, 0, 0x00, 0x00, 0x03, 0}, 8},
        // READ CAPACITY has no allocation length: its answer is 8 bytes.
        {"> 25", {0x25, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 8},
    };
    for (const Case& c : cases) {
        auto target = TargetFromText(Block(c.block, 400));
        Outcome o = Send(*target, c.cdb, 400, 512);
        EXPECT_EQ(o.reply.status, 0) << c.block;
        EXPECT_EQ(o.reply.transferred, c.expected) << c.block << " " << int(c.cdb[0]);
        EXPECT_EQ(o.Delivered(), Pattern(c.expected)) << c.block;
        EXPECT_TRUE(o.UntouchedFrom(c.expected)) << c.block;
    }
}

TEST(MmcTargetTransfer, CommandsOutsideTheTableAreCutByTheTransferLength) {
    auto target = TargetFromText(Block("> 4A", 24));
    Outcome o = Send(*target, {0x4A, 1, 0, 0, 0x10, 0, 0, 0xFF, 0xFF, 0}, 10, 64);
    EXPECT_EQ(o.reply.transferred, 10u);
    EXPECT_EQ(o.Delivered(), Pattern(10));
    EXPECT_TRUE(o.UntouchedFrom(10));
    Outcome all = Send(*target, {0x4A, 1, 0, 0, 0x10, 0, 0, 0xFF, 0xFF, 0}, 64, 64);
    EXPECT_EQ(all.reply.transferred, 24u);
}

TEST(MmcTargetTransfer, DataOutIsAcceptedAndItsDataIgnored) {
    auto target = TargetFromText("> 5A page=2A\n00 06 00 00 00 00 00 00 2A 02 00 00\n");
    Bytes page = {0, 0x06, 0, 0, 0, 0, 0, 0, 0x2A, 0x02, 0xFF, 0xFF};
    MmcReply r = target->Execute(Bytes{0x55, 0x10, 0, 0, 0, 0, 0, 0, 12, 0}.data(), 10, DataOut, page.data(), 12);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.transferred, 12u);
    EXPECT_EQ(page[10], 0xFF);  // the host's bytes are not written to
    // and nothing the host sent changes a later answer.
    Outcome o = Send(*target, {0x5A, 0, 0x2A, 0, 0, 0, 0, 0, 0xFC, 0}, 252);
    EXPECT_EQ(o.Delivered(), (Bytes{0, 0x06, 0, 0, 0, 0, 0, 0, 0x2A, 0x02, 0x00, 0x00}));
}

TEST(MmcTargetTransfer, DataOutWithAStatusBlockEndsInItsStatus) {
    auto target = TargetFromText("> 55\n! 5 26 00\n");
    Bytes page(12, 0);
    MmcReply r = target->Execute(Bytes{0x55, 0x10, 0, 0, 0, 0, 0, 0, 12, 0}.data(), 10, DataOut, page.data(), 12);
    EXPECT_TRUE(Sense(r, 5, 0x26, 0x00));
}

// ---- GET CONFIGURATION ----

// Header with current profile 001Ah; 0000 (current), 0001 (current),
// 0002 (not current), 001F (current), 002A (not current).
const char kFeatureList[] =
    "> 46\n"
    "00 00 00 2C 00 00 00 1A\n"
    "00 00 03 08 00 1A 01 00 00 1B 00 00\n"
    "00 01 03 04 00 00 00 02\n"
    "00 02 02 04 02 00 00 00\n"
    "00 1F 01 04 01 00 00 00\n"
    "00 2A 00 00\n";

const Bytes kHeader = {0x00, 0x00, 0x00, 0x2C, 0x00, 0x00, 0x00, 0x1A};
const Bytes kProfileList = {0x00, 0x00, 0x03, 0x08, 0x00, 0x1A, 0x01, 0x00, 0x00, 0x1B, 0x00, 0x00};
const Bytes kCore = {0x00, 0x01, 0x03, 0x04, 0x00, 0x00, 0x00, 0x02};
const Bytes kMorphing = {0x00, 0x02, 0x02, 0x04, 0x02, 0x00, 0x00, 0x00};
const Bytes kDvdRead = {0x00, 0x1F, 0x01, 0x04, 0x01, 0x00, 0x00, 0x00};
const Bytes kDvdPlusRw = {0x00, 0x2A, 0x00, 0x00};

Bytes Join(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const Bytes& p : parts) all.insert(all.end(), p.begin(), p.end());
    return all;
}

Bytes Header(uint32_t dataLength) {
    return {uint8_t(dataLength >> 24), uint8_t(dataLength >> 16), uint8_t(dataLength >> 8), uint8_t(dataLength),
            0x00, 0x00, 0x00, 0x1A};
}

TEST(MmcTargetConfiguration, ReturnTypeZeroFromFeatureZeroIsTheBlockAsItStands) {
    auto target = TargetFromText(kFeatureList);
    Outcome o = Send(*target, GetConfiguration(0, 0, 0xFFFF), 0xFFFF, 0x10000);
    EXPECT_EQ(o.reply.status, 0);
    EXPECT_EQ(o.Delivered(), Join({kHeader, kProfileList, kCore, kMorphing, kDvdRead, kDvdPlusRw}));
}

TEST(MmcTargetConfiguration, ReturnTypeZeroFromFeatureZeroKeepsLyingLengths) {
    // The data length claims 256 bytes, the profile list 64: both are kept.
    auto target = TargetFromText("> 46\n00 00 01 00 00 00 00 10\n00 00 03 40 00 10 01 00\n");
    Outcome o = Send(*target, GetConfiguration(0, 0, 0xFFFF), 0xFFFF, 0x10000);
    EXPECT_EQ(o.Delivered(), (Bytes{0, 0, 1, 0, 0, 0, 0, 0x10, 0, 0, 3, 0x40, 0, 0x10, 1, 0}));
    // A list too short for a header is still given as it stands.
    auto stub = TargetFromText("> 46\n00 00 00 00\n");
    EXPECT_EQ(Send(*stub, GetConfiguration(0, 0, 0xFFFF), 0xFFFF, 0x10000).Delivered(), (Bytes{0, 0, 0, 0}));
}

TEST(MmcTargetConfiguration, ReturnTypeZeroFromAStartingFeatureGivesThatFeatureOnward) {
    auto target = TargetFromText(kFeatureList);
    EXPECT_EQ(Send(*target, GetConfiguration(0, 0x0002, 0xFFFF), 0xFFFF, 0x10000).Delivered(),
              Join({Header(4 + 8 + 8 + 4), kMorphing, kDvdRead, kDvdPlusRw}));
    // A starting feature the drive does not have starts at the next one.
    EXPECT_EQ(Send(*target, GetConfiguration(0, 0x0003, 0xFFFF), 0xFFFF, 0x10000).Delivered(),
              Join({Header(4 + 8 + 4), kDvdRead, kDvdPlusRw}));
    EXPECT_EQ(Send(*target, GetConfiguration(0, 0x0100, 0xFFFF), 0xFFFF, 0x10000).Delivered(), Header(4));
}

TEST(MmcTargetConfiguration, ReturnTypeOneGivesCurrentFeaturesOnly) {
    auto target = TargetFromText(kFeatureList);
    EXPECT_EQ(Send(*target, GetConfiguration(1, 0, 0xFFFF), 0xFFFF, 0x10000).Delivered(),
              Join({Header(4 + 12 + 8 + 8), kProfileList, kCore, kDvdRead}));
    EXPECT_EQ(Send(*target, GetConfiguration(1, 0x0002, 0xFFFF), 0xFFFF, 0x10000).Delivered(),
              Join({Header(4 + 8), kDvdRead}));
}

TEST(MmcTargetConfiguration, ReturnTypeTwoGivesTheOneDescriptorOrTheHeaderAlone) {
    auto target = TargetFromText(kFeatureList);
    EXPECT_EQ(Send(*target, GetConfiguration(2, 0x001F, 0xFFFF), 0xFFFF, 0x10000).Delivered(),
              Join({Header(4 + 8), kDvdRead}));
    // Currency does not matter for one named feature.
    EXPECT_EQ(Send(*target, GetConfiguration(2, 0x002A, 0xFFFF), 0xFFFF, 0x10000).Delivered(),
              Join({Header(4 + 4), kDvdPlusRw}));
    EXPECT_EQ(Send(*target, GetConfiguration(2, 0x0000, 0xFFFF), 0xFFFF, 0x10000).Delivered(),
              Join({Header(4 + 12), kProfileList}));
    EXPECT_EQ(Send(*target, GetConfiguration(2, 0x0003, 0xFFFF), 0xFFFF, 0x10000).Delivered(), Header(4));
}

TEST(MmcTargetConfiguration, AllocationLengthCutsAFilteredAnswerButNotItsDataLength) {
    auto target = TargetFromText(kFeatureList);
    Outcome o = Send(*target, GetConfiguration(1, 0, 8), 0xFFFF, 256);
    EXPECT_EQ(o.Delivered(), Header(4 + 12 + 8 + 8));
    EXPECT_TRUE(o.UntouchedFrom(8));
    Outcome t = Send(*target, GetConfiguration(1, 0, 0xFFFF), 10, 256);
    EXPECT_EQ(t.reply.transferred, 10u);
    EXPECT_TRUE(t.UntouchedFrom(10));
}

TEST(MmcTargetConfiguration, FilteredAnswerOfALyingListStaysWithinTheBlock) {
    // 001Fh claims 255 more bytes than the block holds; the data length claims 256.
    auto target = TargetFromText("> 46\n00 00 01 00 00 00 00 10\n00 1F 01 FF 01 02\n");
    Outcome o = Send(*target, GetConfiguration(1, 0, 0xFFFF), 0xFFFF, 0x10000);
    EXPECT_EQ(o.Delivered(), (Bytes{0, 0, 0, 10, 0, 0, 0, 0x10, 0x00, 0x1F, 0x01, 0xFF, 0x01, 0x02}));
    Outcome two = Send(*target, GetConfiguration(2, 0x1F, 0xFFFF), 0xFFFF, 0x10000);
    EXPECT_EQ(two.reply.transferred, 14u);
}

TEST(MmcTargetConfiguration, SharedDvdRamListAsItStandsAndFiltered) {
    auto target = SharedTarget("dvdram-writer-recorded-dvdrw.drive");
    Outcome whole = Send(*target, GetConfiguration(0, 0, 0xFFFF), 0xFFFF, 0x10000);
    ASSERT_EQ(whole.reply.transferred, 244u);  // 4 + data length F0h
    EXPECT_EQ(Bytes(whole.buffer.begin(), whole.buffer.begin() + 8), (Bytes{0, 0, 0, 0xF0, 0, 0, 0, 0x14}));
    // RT 2 for DVD-R/-RW Write (002Fh): its one descriptor, as written in the file.
    Outcome one = Send(*target, GetConfiguration(2, 0x002F, 0xFFFF), 0xFFFF, 0x10000);
    EXPECT_EQ(one.Delivered(), (Bytes{0, 0, 0, 12, 0, 0, 0, 0x14, 0x00, 0x2F, 0x04, 0x04, 0x46, 0, 0, 0}));
    // RT 1 from 0106h: the serial number (0108h), DVD CSS, Real Time Streaming
    // and DVD CPRM, all current, in the order the file lists them; 0100h and
    // 0105h lie below the start.
    Outcome cur = Send(*target, GetConfiguration(1, 0x0106, 0xFFFF), 0xFFFF, 0x10000);
    EXPECT_EQ(cur.Delivered(),
              (Bytes{0, 0, 0, 44, 0, 0, 0, 0x14,
                     0x01, 0x08, 0x03, 0x0C, 0x4B, 0x31, 0x43, 0x35, 0x47, 0x31, 0x32, 0x33, 0x34, 0x35, 0x20, 0x20,
                     0x01, 0x06, 0x01, 0x04, 0, 0, 0, 0x01,
                     0x01, 0x07, 0x01, 0x04, 0x03, 0, 0, 0,
                     0x01, 0x0B, 0x01, 0x04, 0, 0, 0, 0x01}));
}

// ---- READ(10) ----

TEST(MmcTargetRead, SectorsComeFromTheImage) {
    auto target = SharedTarget("dvdram-writer-recorded-dvdrw.drive");
    std::string image = SharedPath("discs/udf102-genisoimage.iso");
    Outcome o = Send(*target, Read10(16, 1), 2048, 2048 + 64);
    ASSERT_EQ(o.reply.status, 0);
    ASSERT_EQ(o.reply.transferred, 2048u);
    Bytes expected = FileBytes(image, 16 * 2048, 2048);
    ASSERT_EQ(expected.size(), 2048u);
    // The first volume descriptor: type 0 or 1, then a standard identifier.
    EXPECT_LE(o.buffer[0], 1);
    std::string id(o.buffer.begin() + 1, o.buffer.begin() + 6);
    EXPECT_TRUE(id == "CD001" || id == "BEA01") << id;
    EXPECT_EQ(o.Delivered(), expected);
    EXPECT_TRUE(o.UntouchedFrom(2048));

    Outcome four = Send(*target, Read10(16, 4), 4 * 2048);
    EXPECT_EQ(four.Delivered(), FileBytes(image, 16 * 2048, 4 * 2048));
}

TEST(MmcTargetRead, LastSectorReadsAndTheOneBehindIsOutOfRange) {
    auto target = SharedTarget("dvdram-writer-recorded-dvdrw.drive");
    std::string image = SharedPath("discs/udf102-genisoimage.iso");
    uint32_t sectors = static_cast<uint32_t>(target->File().sectors);
    ASSERT_GT(sectors, 16u);
    Outcome last = Send(*target, Read10(sectors - 1, 1), 2048);
    EXPECT_EQ(last.reply.status, 0);
    EXPECT_EQ(last.Delivered(), FileBytes(image, uint64_t(sectors - 1) * 2048, 2048));

    Outcome past = Send(*target, Read10(sectors, 1), 2048);
    EXPECT_TRUE(Sense(past.reply, 5, 0x21, 0x00));
    EXPECT_TRUE(past.UntouchedFrom(0));
    EXPECT_TRUE(Sense(Send(*target, Read10(sectors - 1, 2), 4096).reply, 5, 0x21, 0x00));
    EXPECT_TRUE(Sense(Send(*target, Read10(0xFFFFFFFFu, 0xFFFF), 2048).reply, 5, 0x21, 0x00));
}

TEST(MmcTargetRead, SectorsPastTheImageEndReadAsZeros) {
    auto target = SharedTarget("bd-writer-recorded-bdr.drive");
    std::string image = SharedPath("discs/udf-pycdlib.iso");
    std::ifstream in(image, std::ios::binary | std::ios::ate);
    uint32_t imageSectors = static_cast<uint32_t>(static_cast<uint64_t>(in.tellg()) / 2048);
    ASSERT_GT(imageSectors, 1u);

    Outcome straddle = Send(*target, Read10(imageSectors - 1, 2), 4096);
    ASSERT_EQ(straddle.reply.status, 0);
    Bytes expected = FileBytes(image, uint64_t(imageSectors - 1) * 2048, 2048);
    expected.resize(4096, 0);
    EXPECT_EQ(straddle.Delivered(), expected);

    Outcome far = Send(*target, Read10(12219391, 1), 2048);
    ASSERT_EQ(far.reply.status, 0);
    EXPECT_EQ(far.Delivered(), Bytes(2048, 0));
    EXPECT_TRUE(Sense(Send(*target, Read10(12219392, 1), 2048).reply, 5, 0x21, 0x00));
}

TEST(MmcTargetRead, ImageEndingInsideASectorIsPaddedWithZeros) {
    fs::path dir = fs::temp_directory_path() / ("vexlon-mmc-" + std::to_string(reinterpret_cast<uintptr_t>(&dir) & 0xFFFFF));
    fs::create_directories(dir);
    {
        std::ofstream out(dir / "odd.img", std::ios::binary);
        for (int i = 0; i < 5000; ++i) out.put(static_cast<char>(i % 251 + 1));
    }
    {
        std::ofstream out(dir / "odd.drive", std::ios::binary);
        out << "image: odd.img\nsectors: 3\n";
    }
    DriveFile drive;
    std::string error;
    ASSERT_TRUE(LoadDriveFile((dir / "odd.drive").string(), drive, error)) << error;
    CMmcTarget target(drive);
    Outcome o = Send(target, Read10(1, 2), 4096);
    ASSERT_EQ(o.reply.status, 0);
    for (size_t i = 0; i < 4096; ++i) {
        uint8_t want = 2048 + i < 5000 ? static_cast<uint8_t>((2048 + i) % 251 + 1) : 0;
        ASSERT_EQ(o.buffer[i], want) << i;
    }
    std::error_code ec;
    fs::remove_all(dir, ec);
}

TEST(MmcTargetRead, TransferLengthShorterThanTheSectorsCutsTheRead) {
    auto target = SharedTarget("dvdram-writer-recorded-dvdrw.drive");
    Outcome o = Send(*target, Read10(16, 2), 2048, 4096);
    EXPECT_EQ(o.reply.status, 0);
    EXPECT_EQ(o.reply.transferred, 2048u);
    EXPECT_EQ(o.Delivered(), FileBytes(SharedPath("discs/udf102-genisoimage.iso"), 16 * 2048, 2048));
    EXPECT_TRUE(o.UntouchedFrom(2048));
}

TEST(MmcTargetRead, ReadOfNoSectorsSucceedsWithoutData) {
    auto target = TargetFromText("sectors: 10\n");
    Outcome o = Send(*target, Read10(3, 0), 2048);
    EXPECT_EQ(o.reply.status, 0);
    EXPECT_EQ(o.reply.transferred, 0u);
    EXPECT_TRUE(o.UntouchedFrom(0));
}

TEST(MmcTargetRead, SectorsWithoutAnImageReadAsZeros) {
    auto target = TargetFromText("sectors: 10\n");
    Outcome o = Send(*target, Read10(9, 1), 2048);
    EXPECT_EQ(o.reply.status, 0);
    EXPECT_EQ(o.Delivered(), Bytes(2048, 0));
}

TEST(MmcTargetRead, NoImageAndNoSectorsMeansNoMedium) {
    auto target = TargetFromText("> 12\n05\n");
    Outcome o = Send(*target, Read10(0, 1), 2048);
    EXPECT_TRUE(Sense(o.reply, 2, 0x3A, 0x00));
    EXPECT_TRUE(o.UntouchedFrom(0));
}

TEST(MmcTargetRead, ZeroSectorsMeansEveryReadIsOutOfRange) {
    auto target = SharedTarget("cd-writer-blank-cdr.drive");
    EXPECT_TRUE(Sense(Send(*target, Read10(0, 1), 2048).reply, 5, 0x21, 0x00));
}

TEST(MmcTargetRead, StatusBlockMakesEveryReadFail) {
    auto target = TargetFromText("sectors: 10\n> 28\n! 3 11 00\n");
    EXPECT_TRUE(Sense(Send(*target, Read10(0, 1), 2048).reply, 3, 0x11, 0x00));
}

// ---- the tray ----

TEST(MmcTargetTray, StartStopUnitIsAcceptedWithoutABlock) {
    auto target = TargetFromText("> 12\n05\n");
    Outcome o = Send(*target, {0x1B, 0x01, 0, 0, 0x00, 0}, 0, 0, DataNone);
    EXPECT_EQ(o.reply.status, 0);
    EXPECT_FALSE(target->TrayOpen());
}

TEST(MmcTargetTray, LoEjWithStartClearOpensAndWithStartSetCloses) {
    auto target = SharedTarget("dvdram-writer-recorded-dvdrw.drive");
    EXPECT_FALSE(target->TrayOpen());
    EXPECT_EQ(Send(*target, kStartStopOpen, 0, 0, DataNone).reply.status, 0);
    EXPECT_TRUE(target->TrayOpen());
    // Spinning up or down without LoEj leaves the tray where it is.
    Send(*target, {0x1B, 0, 0, 0, 0x01, 0}, 0, 0, DataNone);
    EXPECT_TRUE(target->TrayOpen());
    EXPECT_EQ(Send(*target, kStartStopClose, 0, 0, DataNone).reply.status, 0);
    EXPECT_FALSE(target->TrayOpen());
    Send(*target, {0x1B, 0, 0, 0, 0x00, 0}, 0, 0, DataNone);
    EXPECT_FALSE(target->TrayOpen());
}

TEST(MmcTargetTray, OpenTrayMakesEveryMediumCommandEndInMediumNotPresentTrayOpen) {
    auto target = SharedTarget("dvdram-writer-recorded-dvdrw.drive");
    Send(*target, kStartStopOpen, 0, 0, DataNone);
    const Bytes medium[] = {
        Read10(16, 1),
        {0x25, 0, 0, 0, 0, 0, 0, 0, 0, 0},
        {0x23, 0, 0, 0, 0, 0, 0, 0, 0xFC, 0},
        {0x43, 0, 0, 0, 0, 0, 0, 0x03, 0x24, 0},
        {0x51, 0, 0, 0, 0, 0, 0, 0, 0x22, 0},
        {0xAC, 0, 0, 0, 0, 0, 0, 0, 0, 0x10, 0x03, 0},
        {0xAD, 0, 0, 0, 0, 0, 0, 0, 0x08, 0x04, 0, 0},
    };
    for (const Bytes& cdb : medium) {
        Outcome o = Send(*target, cdb, 4096);
        EXPECT_TRUE(Sense(o.reply, 2, 0x3A, 0x02)) << std::hex << int(cdb[0]);
        EXPECT_TRUE(o.UntouchedFrom(0));
    }
    // The drive itself still answers.
    Outcome inquiry = Send(*target, kInquiry, 96);
    EXPECT_EQ(inquiry.reply.status, 0);
    EXPECT_EQ(inquiry.reply.transferred, 96u);
    EXPECT_EQ(Send(*target, {0x5A, 0, 0x2A, 0, 0, 0, 0, 0, 0xFC, 0}, 252).reply.transferred, 48u);
    EXPECT_EQ(Send(*target, {0xA4, 0, 0, 0, 0, 0, 0, 0, 0, 8, 0x08, 0}, 8).Delivered(),
              (Bytes{0x00, 0x06, 0x00, 0x00, 0x63, 0xFE, 0x01, 0x00}));
}

TEST(MmcTargetTray, OpenTrayReportsProfileZeroAndClosingBringsTheProfileBack) {
    auto target = SharedTarget("dvdram-writer-recorded-dvdrw.drive");
    Outcome before = Send(*target, GetConfiguration(0, 0, 0xFFFF), 0xFFFF, 0x10000);
    Send(*target, kStartStopOpen, 0, 0, DataNone);
    Outcome open = Send(*target, GetConfiguration(0, 0, 0xFFFF), 0xFFFF, 0x10000);
    ASSERT_EQ(open.reply.status, 0);
    ASSERT_EQ(open.reply.transferred, before.reply.transferred);
    EXPECT_EQ(open.buffer[6], 0);
    EXPECT_EQ(open.buffer[7], 0);
    Bytes rest(open.buffer.begin() + 8, open.buffer.begin() + open.reply.transferred);
    EXPECT_EQ(rest, Bytes(before.buffer.begin() + 8, before.buffer.begin() + before.reply.transferred));
    Outcome filtered = Send(*target, GetConfiguration(1, 0, 0xFFFF), 0xFFFF, 0x10000);
    EXPECT_EQ(filtered.buffer[6], 0);
    EXPECT_EQ(filtered.buffer[7], 0);

    Send(*target, kStartStopClose, 0, 0, DataNone);
    Outcome closed = Send(*target, GetConfiguration(0, 0, 0xFFFF), 0xFFFF, 0x10000);
    EXPECT_EQ(closed.buffer[6], 0x00);
    EXPECT_EQ(closed.buffer[7], 0x14);
    EXPECT_EQ(Send(*target, Read10(16, 1), 2048).reply.status, 0);
}

TEST(MmcTargetTray, ClosedTrayWithoutAMediumStillHasNoMedium) {
    auto target = TargetFromText("> 12\n05\n");
    Send(*target, kStartStopOpen, 0, 0, DataNone);
    EXPECT_TRUE(Sense(Send(*target, Read10(0, 1), 2048).reply, 2, 0x3A, 0x02));
    Send(*target, kStartStopClose, 0, 0, DataNone);
    EXPECT_TRUE(Sense(Send(*target, Read10(0, 1), 2048).reply, 2, 0x3A, 0x00));
}

TEST(MmcTargetTray, StartStopStatusBlockRefusesAndLeavesTheTray) {
    auto target = TargetFromText("> 1B\n! 5 53 02\n");
    EXPECT_TRUE(Sense(Send(*target, kStartStopOpen, 0, 0, DataNone).reply, 5, 0x53, 0x02));
    EXPECT_FALSE(target->TrayOpen());
}

// ---- transcript ----

TEST(MmcTargetTranscript, RecordsCdbDirectionLengthAndStatus) {
    auto target = TargetFromText("> 12\n05 80 05 32\n");
    Bytes buffer(96, 0);
    target->Execute(kInquiry.data(), 6, DataIn, buffer.data(), 96);
    Bytes unknown = {0xBE, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
    target->Execute(unknown.data(), 12, DataIn, buffer.data(), 50);
    Bytes select = {0x55, 0x10, 0, 0, 0, 0, 0, 0, 12, 0};
    target->Execute(select.data(), 10, DataOut, buffer.data(), 12);
    target->Execute(kStartStopOpen.data(), 6, DataNone, nullptr, 0);

    const auto& t = target->Transcript();
    ASSERT_EQ(t.size(), 4u);
    EXPECT_EQ(target->CommandCount(), 4u);

    EXPECT_EQ(std::memcmp(t[0].cdb, kInquiry.data(), 6), 0);
    for (int i = 6; i < 16; ++i) EXPECT_EQ(t[0].cdb[i], 0);
    EXPECT_EQ(t[0].cdbLength, 6);
    EXPECT_EQ(t[0].direction, DataIn);
    EXPECT_EQ(t[0].transferLength, 96u);
    EXPECT_EQ(t[0].status, 0);
    EXPECT_EQ(t[0].transferred, 4u);

    EXPECT_EQ(std::memcmp(t[1].cdb, unknown.data(), 12), 0);
    EXPECT_EQ(t[1].cdbLength, 12);
    EXPECT_EQ(t[1].transferLength, 50u);
    EXPECT_EQ(t[1].status, 2);
    EXPECT_EQ(t[1].transferred, 0u);
    EXPECT_EQ(t[1].senseKey, 5);
    EXPECT_EQ(t[1].asc, 0x20);
    EXPECT_EQ(t[1].ascq, 0);

    EXPECT_EQ(t[2].direction, DataOut);
    EXPECT_EQ(t[2].status, 0);
    EXPECT_EQ(t[2].transferred, 12u);

    EXPECT_EQ(t[3].direction, DataNone);
    EXPECT_EQ(t[3].cdb[4], 0x02);
    EXPECT_EQ(t[3].status, 0);
}

TEST(MmcTargetTranscript, ClearingKeepsTheCommandCount) {
    auto target = TargetFromText("> 12\n05\n");
    Bytes buffer(96);
    for (int i = 0; i < 3; ++i) target->Execute(kInquiry.data(), 6, DataIn, buffer.data(), 96);
    target->ClearTranscript();
    EXPECT_TRUE(target->Transcript().empty());
    target->Execute(kInquiry.data(), 6, DataIn, buffer.data(), 96);
    EXPECT_EQ(target->Transcript().size(), 1u);
    EXPECT_EQ(target->CommandCount(), 4u);
}

TEST(MmcTargetTranscript, OverlongCdbIsRecordedAsSixteenBytes) {
    auto target = TargetFromText("> 12\n05\n");
    Bytes cdb(20, 0);
    cdb[0] = 0x12;
    cdb[4] = 0x60;
    cdb[15] = 0x77;
    cdb[16] = 0x99;
    Bytes buffer(96);
    MmcReply r = target->Execute(cdb.data(), 20, DataIn, buffer.data(), 96);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(target->Transcript()[0].cdb[15], 0x77);
}

// ---- the simulated clock ----

TEST(MmcTargetClock, EachCommandCostsTheDefaultFifthOfAMillisecond) {
    auto target = TargetFromText("> 12\n05\n> 51\n! 2 3A 00\n");
    EXPECT_DOUBLE_EQ(target->ClockMs(), 0);
    Bytes buffer(96);
    target->Execute(kInquiry.data(), 6, DataIn, buffer.data(), 96);
    EXPECT_NEAR(target->ClockMs(), 0.2, 1e-9);
    target->Execute(Bytes{0x51, 0, 0, 0, 0, 0, 0, 0, 34, 0}.data(), 10, DataIn, buffer.data(), 34);
    target->Execute(Bytes{0x00, 0, 0, 0, 0, 0}.data(), 6, DataNone, nullptr, 0);
    EXPECT_NEAR(target->ClockMs(), 0.6, 1e-9);
}

TEST(MmcTargetClock, FreeTransfersAndSeeksByDefault) {
    auto target = TargetFromText("sectors: 1000\n");
    Bytes buffer(32 * 2048);
    target->Execute(Read10(500, 32).data(), 10, DataIn, buffer.data(), 32 * 2048);
    target->Execute(Read10(10, 32).data(), 10, DataIn, buffer.data(), 32 * 2048);
    EXPECT_NEAR(target->ClockMs(), 0.4, 1e-9);
}

TEST(MmcTargetClock, SeekOnNonSequentialReadsAndTransferAtTheRate) {
    auto target = TargetFromText("sectors: 1000\ntiming: command=1 seek=10 rate=1000\n");
    Bytes buffer(4 * 2048);
    auto read = [&](uint32_t lba, uint16_t count) {
        double before = target->ClockMs();
        target->Execute(Read10(lba, count).data(), 10, DataIn, buffer.data(), count * 2048u);
        return target->ClockMs() - before;
    };
    // Where the head stands is unknown at first, so the first read seeks.
    EXPECT_NEAR(read(5, 1), 1 + 10 + 2.048, 1e-9);
    EXPECT_NEAR(read(6, 2), 1 + 4.096, 1e-9);   // goes on where the last read ended
    EXPECT_NEAR(read(8, 1), 1 + 2.048, 1e-9);
    EXPECT_NEAR(read(8, 1), 1 + 10 + 2.048, 1e-9);  // the same sector again is a jump back
    EXPECT_NEAR(read(700, 1), 1 + 10 + 2.048, 1e-9);
    // A read that fails costs the command only.
    EXPECT_NEAR(read(1000, 1), 1, 1e-9);
}

TEST(MmcTargetClock, TransferTimeCountsTheBytesDelivered) {
    auto target = TargetFromText("timing: command=1 rate=1000\n" + Block("> 12", 96));
    Bytes buffer(96);
    target->Execute(kInquiry.data(), 6, DataIn, buffer.data(), 96);
    EXPECT_NEAR(target->ClockMs(), 1 + 0.096, 1e-9);
    target->Execute(Bytes{0x12, 0, 0, 0, 36, 0}.data(), 6, DataIn, buffer.data(), 96);
    EXPECT_NEAR(target->ClockMs(), 1 + 0.096 + 1 + 0.036, 1e-9);
}

TEST(MmcTargetClock, TranscriptEntriesAddUpToTheClock) {
    auto target = SharedTarget("dvdram-writer-recorded-dvdrw.drive");
    Bytes buffer(8 * 2048);
    target->Execute(kInquiry.data(), 6, DataIn, buffer.data(), 96);
    target->Execute(Read10(16, 4).data(), 10, DataIn, buffer.data(), 4 * 2048);
    target->Execute(Read10(20, 4).data(), 10, DataIn, buffer.data(), 4 * 2048);
    target->Execute(Read10(0, 1).data(), 10, DataIn, buffer.data(), 2048);
    const auto& t = target->Transcript();
    ASSERT_EQ(t.size(), 4u);
    double at = 0;
    for (const TranscriptEntry& e : t) {
        EXPECT_NEAR(e.startMs, at, 1e-9);
        at += e.durationMs;
    }
    EXPECT_NEAR(target->ClockMs(), at, 1e-9);
    // command=0.5 seek=90 rate=11080 kB/s, worked out by hand.
    EXPECT_NEAR(t[0].durationMs, 0.5 + 96 / 11080.0, 1e-9);
    EXPECT_NEAR(t[1].durationMs, 0.5 + 90 + 8192 / 11080.0, 1e-9);
    EXPECT_NEAR(t[2].durationMs, 0.5 + 8192 / 11080.0, 1e-9);
    EXPECT_NEAR(t[3].durationMs, 0.5 + 90 + 2048 / 11080.0, 1e-9);
}

}  // namespace
