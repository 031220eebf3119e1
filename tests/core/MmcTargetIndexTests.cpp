#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "TestPaths.h"
#include "emulation/DriveFile.h"
#include "emulation/MmcTarget.h"

namespace {

using Bytes = std::vector<uint8_t>;

std::unique_ptr<CMmcTarget> Target(const std::string& text, const std::string& name) {
    DriveFile drive;
    std::string error;
    EXPECT_TRUE(ParseDriveFile(text, name, drive, error)) << error;
    return std::make_unique<CMmcTarget>(std::move(drive));
}

std::string ReadText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

std::string Hex2(unsigned v) {
    char text[4];
    std::snprintf(text, sizeof text, "%02X", v & 0xFFu);
    return text;
}

// Every reply block of `text` with blocks of other opcodes in front of and
// between them: of opcodes the file has no block for, and of the file's own
// opcodes where no CDB can reach them (a field value a CDB cannot carry is
// refused, so they are placed after the file's own blocks of that opcode).
std::string Flooded(const std::string& text, const std::vector<uint8_t>& foreign) {
    std::string flood;
    for (int round = 0; round < 40; ++round)
        for (uint8_t op : foreign) flood += "> " + Hex2(op) + "\n" + Hex2(round) + " EE\n";
    std::istringstream lines(text);
    std::string out, line;
    bool headerDone = false;
    while (std::getline(lines, line)) {
        if (!line.empty() && line[0] == '>') {
            out += flood;  // before every block, and so between all of them
            headerDone = true;
        }
        out += line + "\n";
    }
    if (!headerDone) out += flood;
    return out + flood;
}

struct Probe {
    Bytes cdb;
    uint32_t length;
    DataDirection direction;
};

// CDBs of every opcode the program sends, with field values that some block
// of the shared files selects and some that none does, plus random ones.
std::vector<Probe> Probes(uint64_t sectors) {
    std::vector<Probe> probes = {
        {{0x12, 0, 0, 0, 0x60, 0}, 96, DataIn},
        {{0x12, 1, 0x80, 0, 0xFF, 0}, 255, DataIn},
        {{0x12, 1, 0x83, 0, 0xFF, 0}, 255, DataIn},
        {{0x5A, 0, 0x2A, 0, 0, 0, 0, 0xFF, 0xFC, 0}, 65532, DataIn},
        {{0x5A, 0, 0x3F, 0, 0, 0, 0, 0xFF, 0xFC, 0}, 65532, DataIn},
        {{0x1A, 0, 0x2A, 0, 0xFC, 0}, 252, DataIn},
        {{0x46, 0, 0, 0, 0, 0, 0, 0xFF, 0xFA, 0}, 65530, DataIn},
        {{0x46, 1, 0, 0, 0, 0, 0, 0xFF, 0xFA, 0}, 65530, DataIn},
        {{0x46, 2, 0, 0x1F, 0, 0, 0, 0xFF, 0xFA, 0}, 65530, DataIn},
        {{0x25, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 8, DataIn},
        {{0x51, 0, 0, 0, 0, 0, 0, 0x08, 0, 0}, 2048, DataIn},
        {{0x43, 0, 0, 0, 0, 0, 1, 0x08, 0, 0}, 2048, DataIn},
        {{0x43, 2, 1, 0, 0, 0, 0, 0x08, 0, 0}, 2048, DataIn},
        {{0x23, 0, 0, 0, 0, 0, 0, 0x08, 0, 0}, 2048, DataIn},
        {{0xAC, 0, 0, 0, 0, 0, 0, 0, 0x00, 0x10, 0, 0}, 264, DataIn},
        {{0xAC, 0, 0, 0, 0, 0, 0, 0, 0x00, 0x10, 3, 0}, 264, DataIn},
        {{0xAD, 0, 0, 0, 0, 0, 0, 0x00, 0x08, 0x04, 0, 0}, 2052, DataIn},
        {{0xAD, 0, 0, 0, 0, 0, 0, 0x11, 0x08, 0x04, 0, 0}, 2052, DataIn},
        {{0xA4, 0, 0, 0, 0, 0, 0, 0, 0, 8, 0x08, 0}, 8, DataIn},
        {{0xBB, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0, 0, 0}, 0, DataNone},
        {{0x55, 0x10, 0, 0, 0, 0, 0, 0, 12, 0}, 12, DataOut},
    };
    uint32_t last = sectors ? static_cast<uint32_t>(sectors - 1) : 0;
    for (uint32_t lba : {0u, 16u, last, last + 1}) {
        Bytes read = {0x28, 0, static_cast<uint8_t>(lba >> 24), static_cast<uint8_t>(lba >> 16),
                      static_cast<uint8_t>(lba >> 8), static_cast<uint8_t>(lba), 0, 0, 1, 0};
        probes.push_back({read, 2048, DataIn});
    }
    // Random CDBs of the matched opcodes: every selecting field takes values.
    uint32_t state = 99;
    const uint8_t opcodes[] = {0x12, 0x1A, 0x5A, 0xA4, 0x51, 0x43, 0xAC, 0xAD, 0x46, 0x25, 0x23};
    for (int i = 0; i < 3000; ++i) {
        Bytes cdb(12);
        for (uint8_t& b : cdb) {
            state = state * 1103515245u + 12345u;
            b = static_cast<uint8_t>(state >> 16);
        }
        cdb[0] = opcodes[i % sizeof opcodes];
        // Small field values, so that blocks are hit as well as missed.
        for (size_t k = 1; k < cdb.size(); ++k)
            if ((state >> (k + 3)) & 1) cdb[k] &= 0x03;
        probes.push_back({cdb, 4096, DataIn});
    }
    // The tray: out, a medium command, back in.
    probes.push_back({{0x1B, 0, 0, 0, 0x02, 0}, 0, DataNone});
    probes.push_back({{0x25, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 8, DataIn});
    probes.push_back({{0x46, 0, 0, 0, 0, 0, 0, 0, 8, 0}, 8, DataIn});
    probes.push_back({{0x1B, 0, 0, 0, 0x03, 0}, 0, DataNone});
    return probes;
}

// What a command left: status, sense, the count delivered and the buffer.
struct Answer {
    Bytes bytes;
    std::string Text() const {
        std::string s;
        for (size_t i = 0; i < bytes.size() && i < 48; ++i) s += Hex2(bytes[i]);
        return s;
    }
};

Answer Ask(CMmcTarget& target, const Probe& p) {
    Bytes buffer(p.length + 16, 0xCC);
    MmcReply r = target.Execute(p.cdb.data(), static_cast<uint8_t>(p.cdb.size()), p.direction,
                                p.length ? buffer.data() : nullptr, p.length);
    Answer a;
    a.bytes.resize(12 + sizeof r.sense + buffer.size());
    a.bytes[0] = r.status;
    std::memcpy(&a.bytes[4], &r.transferred, 4);
    std::memcpy(&a.bytes[8], &r.senseLength, 4);
    std::memcpy(&a.bytes[12], r.sense, sizeof r.sense);
    std::memcpy(&a.bytes[12 + sizeof r.sense], buffer.data(), buffer.size());
    return a;
}

void ExpectSameAnswers(const std::string& driveFile, const std::vector<uint8_t>& foreign) {
    std::string path = SharedPath("drives/" + driveFile);
    std::string text = ReadText(path);
    std::unique_ptr<CMmcTarget> plain = Target(text, path);
    std::unique_ptr<CMmcTarget> flooded = Target(Flooded(text, foreign), path);
    ASSERT_GT(flooded->File().blocks.size(), plain->File().blocks.size() + 1000);
    size_t differing = 0;
    for (const Probe& p : Probes(plain->File().sectors)) {
        Answer a = Ask(*plain, p), b = Ask(*flooded, p);
        if (a.bytes != b.bytes && ++differing <= 3)
            ADD_FAILURE() << "CDB " << Hex2(p.cdb[0]) << ": " << a.Text() << " vs " << b.Text();
    }
    EXPECT_EQ(differing, 0u) << driveFile;
    EXPECT_EQ(plain->ClockMs(), flooded->ClockMs());
}

const std::vector<uint8_t> kForeign = {0x00, 0x03, 0x4A, 0x52, 0x5C, 0x8C, 0xA3, 0xB9, 0xBE, 0xC0, 0xD8, 0xE5, 0xFF};

TEST(MmcTargetIndex, BlocksOfOtherOpcodesChangeNoAnswer) {
    for (const char* file : {"dvdram-writer-recorded-dvdrw.drive", "dvd-writer-blank-dvdplusrw.drive",
                             "cd-writer-blank-cdr.drive", "bd-writer-recorded-bdr.drive"})
        ExpectSameAnswers(file, kForeign);
}

TEST(MmcTargetIndex, FirstMatchingBlockInTheFileStillWinsAcrossOtherOpcodes) {
    // Blocks of one opcode interleaved with others: file order among them decides.
    std::string text =
        "> 5A page=2A\n01\n> 12\n10\n> 5A\n02\n> 46\n20\n> 5A page=2A pc=0\n03\n"
        "> 12 evpd=1\n11\n> 5A pc=1\n04\n> 12\n12\n> 5A page=3F\n! 5 24 00\n";
    std::unique_ptr<CMmcTarget> t = Target(text, "order.drive");
    auto first = [&](const Bytes& cdb) {
        uint8_t byte = 0xCC;
        MmcReply r = t->Execute(cdb.data(), static_cast<uint8_t>(cdb.size()), DataIn, &byte, 1);
        return r.status ? -1 : byte;
    };
    EXPECT_EQ(first({0x5A, 0, 0x2A, 0, 0, 0, 0, 0, 0xFC, 0}), 0x01);  // first of three that match
    EXPECT_EQ(first({0x5A, 0, 0x3F, 0, 0, 0, 0, 0, 0xFC, 0}), 0x02);  // the field-less block comes first
    EXPECT_EQ(first({0x5A, 0, 0x41, 0, 0, 0, 0, 0, 0xFC, 0}), 0x02);
    EXPECT_EQ(first({0x12, 0, 0, 0, 0x60, 0}), 0x10);
    EXPECT_EQ(first({0x12, 1, 0x80, 0, 0x60, 0}), 0x10);
    EXPECT_EQ(first({0x46, 0, 0, 0, 0, 0, 0, 0, 8, 0}), 0x20);
    EXPECT_EQ(first({0x25, 0, 0, 0, 0, 0, 0, 0, 0, 0}), -1);
}

TEST(MmcTargetIndex, ACommandLooksOnlyAtTheBlocksOfItsOpcode) {
    std::string text = "sectors: 8\n";
    for (int i = 0; i < 3000; ++i) text += "> " + Hex2(0xC0 + i % 60) + "\n00\n";
    text += "> 12 evpd=1 page=80\n01\n> 12 evpd=1 page=83\n02\n> 12\n03\n> 25\n00 00 00 07 00 00 08 00\n";
    std::unique_ptr<CMmcTarget> t = Target(text, "count.drive");
    uint8_t buffer[2048];
    auto examined = [&](const Bytes& cdb) {
        uint64_t before = t->BlocksExamined();
        t->Execute(cdb.data(), static_cast<uint8_t>(cdb.size()), DataIn, buffer, sizeof buffer);
        return t->BlocksExamined() - before;
    };
    EXPECT_EQ(examined({0x28, 0, 0, 0, 0, 3, 0, 0, 1, 0}), 0u);
    EXPECT_EQ(examined({0x25, 0, 0, 0, 0, 0, 0, 0, 0, 0}), 1u);
    EXPECT_EQ(examined({0x12, 0, 0, 0, 0x60, 0}), 3u);
    EXPECT_EQ(examined({0x12, 1, 0x83, 0, 0x60, 0}), 2u);
    EXPECT_EQ(examined({0x12, 1, 0x81, 0, 0x60, 0}), 3u);  // the field-less third
    EXPECT_EQ(examined({0xC5, 0, 0, 0, 0, 0}), 1u);       // 50 blocks, the first matches
    EXPECT_EQ(examined({0xAD, 0, 0, 0, 0, 0, 0, 0, 0, 8, 0, 0}), 0u);
}

}  // namespace
