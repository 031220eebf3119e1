// Every output a disc gives the user (the export listing, the File page's
// rows, each extracted file and the disc dump) is pinned by a digest in
// tests/data/golden/udf-outputs.txt, so that a change to how the reader gets
// its sectors cannot change one byte of what the user gets.
//
// VEXLON_WRITE_GOLDEN=FILE writes the digests this build gives to FILE
// instead of comparing; the file in the tree is only ever replaced by hand.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "../hostile/HostileCorpus.h"
#include "TestPaths.h"
#include "UdfTestSupport.h"
#include "pages/DiscDump.h"
#include "pages/FileList.h"
#include "udf/UdfListing.h"

namespace {

using namespace udfmaster;

uint64_t Fnv1a(const std::string& bytes) {
    uint64_t h = 0xcbf29ce484222325ull;
    for (unsigned char c : bytes) h = (h ^ c) * 0x100000001b3ull;
    return h;
}

std::string DigestLine(const std::string& disc, const std::string& what, const std::string& bytes) {
    char text[64];
    std::snprintf(text, sizeof text, "%zu %016llx", bytes.size(), static_cast<unsigned long long>(Fnv1a(bytes)));
    return disc + " | " + what + " | " + text + "\n";
}

std::string RowText(const FileNode* node) {
    FileListRow row = MakeFileListRow(node);
    return row.name + "\t" + (row.isDirectory ? "d" : "f") + "\t" + row.lba + "\t" + std::to_string(row.size) +
           "\t" + std::to_string(row.modified) + "\n";
}

// The digests of everything one disc gives, in tree order.
std::string DiscOutputs(const std::string& disc, const DriveFile& file) {
    std::string out;
    MountedDisc m(file);
    out += DigestLine(disc, "mounted", m.mounted ? "yes" : "no");
    out += DigestLine(disc, "listing", FormatFileSystemListing(m.mounted ? &m.reader : nullptr));
    if (m.mounted && m.reader.root) {
        std::string rows, rest;
        std::string dir = TempDir("golden");
        int files = 0;
        WalkTree(m.reader.root, [&](const FileNode* node) {
            rows += RowText(node);
            if (node->isDirectory) return;
            std::string target = dir + "/extracted.bin";
            std::remove(target.c_str());
            bool ok = ExtractFile(m.reader, node, target.c_str());
            std::string line = DigestLine(disc, "extract " + NodePath(node) + (ok ? "" : " (failed)"), ReadWholeFile(target));
            // A line each for the first files; the rest of a huge tree in one digest.
            if (++files <= 200) out += line;
            else rest += line;
            std::remove(target.c_str());
        });
        if (!rest.empty()) out += DigestLine(disc, "extract the files after the first 200", rest);
        out += DigestLine(disc, "rows", rows);
    }
    CMmcTarget target(file);
    CEmulatedDevice device(target);
    std::string dump = TempDir("golden") + "/dump.bin";
    std::remove(dump.c_str());
    uint32_t sectors = 0;
    DumpOutcome outcome = DumpDisc(device, dump.c_str(), &sectors);
    out += DigestLine(disc, "dump outcome " + std::to_string(static_cast<int>(outcome)), ReadWholeFile(dump));
    std::remove(dump.c_str());
    return out;
}

Options Rev(uint16_t revision, int ad = kShort, bool efe = false) {
    Options o;
    o.revision = revision;
    o.ad = ad;
    o.efe = efe;
    return o;
}

Node Sample() {
    Node multi;
    multi.name = "multi.bin";
    multi.pieces = {Piece{Pattern(4096, 1), 0}, Piece{"", 8192}, Piece{Pattern(6144, 2), 0}, Piece{Pattern(100, 3), 0}};
    Node chained;
    chained.name = "chained.bin";
    for (int i = 0; i < 9; ++i) chained.pieces.push_back(Piece{Pattern(2048 + 17 * i, 40 + i), 0});
    chained.descriptorsPerEntry = 2;
    Node embedded = File("small.txt", "embedded bytes");
    embedded.ad = kEmbedded;
    Node wide = File("wide-\xCE\xB1\xCE\xB2.txt", "alpha beta");
    std::vector<Node> many;
    for (int i = 0; i < 60; ++i) many.push_back(File("f" + std::to_string(i) + ".dat", Pattern(i * 97, i)));
    Node deep = File("bottom.txt", "bottom");
    for (int i = 0; i < 12; ++i) deep = Dir("level" + std::to_string(i), {deep});
    return Dir("", {File("README.TXT", "hello\n"), File("empty.bin", ""), File("big.bin", Pattern(300000, 7)), multi,
                    chained, embedded, wide, Dir("many", many), deep});
}

std::vector<std::pair<std::string, DriveFile>> Discs() {
    std::vector<std::pair<std::string, DriveFile>> discs;
    for (const char* name : {"udf-pycdlib.iso", "udf102-genisoimage.iso", "udf102-mkudffs-inicb.img",
                             "udf150-mkudffs-short.img", "udf201-mkudffs-long.img", "iso9660-only.iso"})
        discs.emplace_back(name, ImageDrive(SharedPath(std::string("discs/") + name)));
    struct Mastered {
        const char* name;
        Options options;
    };
    for (const Mastered& m : {Mastered{"mastered-102-short", Rev(0x0102)}, Mastered{"mastered-201-long-efe", Rev(0x0201, kLong, true)},
                              Mastered{"mastered-150-short-efe", Rev(0x0150, kShort, true)},
                              Mastered{"mastered-250-metadata", Rev(0x0250, kLong, true)}}) {
        std::string path = WriteImage(Build(Sample(), m.options), std::string("golden-") + m.name);
        discs.emplace_back(m.name, ImageDrive(path));
    }
    // The hostile corpus too: what the bounds leave of each must not move.
    for (const HostileDisc& disc : HostileDiscs()) {
        DriveFile file;
        std::string error, image = WriteImage(disc.image, "golden-" + disc.name);
        std::string text = "title: " + disc.name + "\nletter: E\nimage: " + image + "\n" + disc.replies;
        EXPECT_TRUE(ParseDriveFile(text, disc.name + ".drive", file, error)) << error;
        file.sectors = disc.image.size() / 2048;
        file.hasSectors = true;
        discs.emplace_back("hostile " + disc.name, file);
    }
    return discs;
}

}  // namespace

TEST(UdfGolden, EveryOutputOfEveryDiscIsUnchanged) {
    std::string actual;
    for (const auto& [name, file] : Discs()) actual += DiscOutputs(name, file);
    if (const char* write = std::getenv("VEXLON_WRITE_GOLDEN")) {
        WriteWholeFile(write, actual);
        GTEST_SKIP() << "digests written to " << write;
    }
    std::string expected = ReadWholeFile(TestDataPath("golden/udf-outputs.txt"));
    ASSERT_FALSE(expected.empty()) << "no golden digests in tests/data/golden";
    auto lines = [](const std::string& text) {
        std::vector<std::string> out;
        std::istringstream in(text);
        for (std::string line; std::getline(in, line);) out.push_back(line);
        return out;
    };
    std::vector<std::string> want = lines(expected), got = lines(actual);
    EXPECT_EQ(got.size(), want.size());
    for (size_t i = 0; i < want.size() && i < got.size(); ++i) EXPECT_EQ(got[i], want[i]) << "line " << i + 1;
}
