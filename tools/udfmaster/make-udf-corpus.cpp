// Seeds for fuzz_udf: volumes from the mastering tool and from disc images
// other writers made, folded as fuzz/FoldedDisc.h plays them back, and
// checked to mount with files before they are kept.
//
//   make-udf-corpus OUT_DIR [IMAGE...]   writes the seeds, one file each
//   make-udf-corpus --check DIR          mounts every file of DIR
//
// Folding keeps the recognition sequence, the anchor and the partition's
// first sectors, and moves the Main Volume Descriptor Sequence behind them
// (the anchor and the Partition Descriptor are patched and re-tagged), so
// a volume recorded anywhere folds as long as its partition is one piece.
// Our own volumes first close the gap the mastering tool leaves between
// metadata and file data, and keep only the descriptors the reader takes
// from the sequence; other writers' images keep their whole sequence and
// the first sectors of their partition.

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "../../fuzz/FoldedDisc.h"
#include "UdfImageBuilder.h"
#include "udf/UdfReader.h"
#include "udf/UdfTree.h"

namespace {

using namespace udfmaster;
using Bytes = std::vector<uint8_t>;
constexpr uint32_t kBlock = 2048;

// Another writer's image keeps this many partition sectors: its directories
// and the first file entries. The file data behind them is cut, so reading
// it runs past the folded disc's end, which the fuzzer should see as well.
constexpr uint32_t kSharedPartitionSectors = 16;
constexpr uint32_t kMaxSequence = 16;

uint32_t Le16(const uint8_t* p) { return ByteReader(p, 2).LE16(0); }
uint32_t Le32(const uint8_t* p) { return ByteReader(p, 4).LE32(0); }

// A descriptor moved to `location` carries it in its tag, with a new CRC
// and checksum (the CRC covers the length the tag already names).
void Retag(uint8_t* d, uint32_t location) {
    uint32_t crcLength = Le16(d + 10);
    if (crcLength > kBlock - 16) crcLength = kBlock - 16;
    detail::Put32(d + 12, location);
    detail::Put16(d + 8, detail::Crc(d + 16, crcLength));
    uint8_t sum = 0;
    for (int i = 0; i < 16; ++i)
        if (i != 4) sum = static_cast<uint8_t>(sum + d[i]);
    d[4] = sum;
}

struct Source {
    const Bytes& image;
    uint32_t sectors() const { return static_cast<uint32_t>(image.size() / kBlock); }
    const uint8_t* at(uint32_t s) const { return &image[static_cast<size_t>(s) * kBlock]; }
    bool Zero(uint32_t s) const {
        const uint8_t* p = at(s);
        for (uint32_t i = 0; i < kBlock; ++i)
            if (p[i]) return false;
        return true;
    }
};

// Recognition in three sectors: the ISO 9660 or BEA01 opener, the NSR
// descriptor, and TEA01; a missing opener or closer is written fresh.
bool FoldRecognition(const Source& src, Bytes& out) {
    const uint8_t* opener = nullptr;
    const uint8_t* nsr = nullptr;
    const uint8_t* closer = nullptr;
    for (uint32_t s = 16; s < 32 && s < src.sectors(); ++s) {
        const uint8_t* d = src.at(s);
        if (!opener && (!std::memcmp(d + 1, "CD001", 5) || !std::memcmp(d + 1, "BEA01", 5))) opener = d;
        if (!nsr && (!std::memcmp(d + 1, "NSR02", 5) || !std::memcmp(d + 1, "NSR03", 5))) nsr = d;
        if (!closer && !std::memcmp(d + 1, "TEA01", 5)) closer = d;
    }
    if (!nsr) return false;
    uint8_t fresh[2][kBlock] = {};
    std::memcpy(fresh[0] + 1, "BEA01", 5);
    std::memcpy(fresh[1] + 1, "TEA01", 5);
    fresh[0][6] = fresh[1][6] = 1;
    for (const uint8_t* d : {opener ? opener : fresh[0], nsr, closer ? closer : fresh[1]}) out.insert(out.end(), d, d + kBlock);
    return true;
}

// The Main Volume Descriptor Sequence up to its terminator.
std::vector<Bytes> ReadSequence(const Source& src, const uint8_t* anchor) {
    std::vector<Bytes> sequence;
    uint32_t start = Le32(anchor + 20), count = Le32(anchor + 16) / kBlock;
    for (uint32_t k = 0; k < count && k < kMaxSequence && start + k < src.sectors(); ++k) {
        const uint8_t* d = src.at(start + k);
        uint32_t tag = Le16(d);
        if (tag == 0) break;
        sequence.emplace_back(d, d + kBlock);
        if (tag == 8) break;
    }
    return sequence;
}

bool Fail(std::string& note, const char* why) {
    note = why;
    return false;
}

// Only what the reader takes from a sequence: partitions, logical volume,
// terminator. Other writers' sequences are kept whole, in their order.
void KeepReadDescriptors(std::vector<Bytes>& sequence) {
    std::vector<Bytes> kept;
    for (Bytes& d : sequence) {
        uint32_t tag = Le16(d.data());
        if (tag == 5 || tag == 6 || tag == 8) kept.push_back(std::move(d));
    }
    sequence.swap(kept);
}

bool Fold(const Bytes& image, uint32_t partitionLimit, bool wholeSequence, Bytes& out, std::string& note) {
    Source src{image};
    if (src.sectors() <= folded::kAnchor) return Fail(note, "ends before the anchor at 256");
    Bytes anchor(src.at(folded::kAnchor), src.at(folded::kAnchor) + kBlock);
    if (Le16(anchor.data()) != 2) return Fail(note, "no anchor at 256");
    if (!FoldRecognition(src, out)) return Fail(note, "no NSR02/NSR03 descriptor (not UDF)");
    std::vector<Bytes> sequence = ReadSequence(src, anchor.data());
    if (!wholeSequence) KeepReadDescriptors(sequence);
    uint32_t partitionStart = 0, partitions = 0;
    for (const Bytes& d : sequence) {
        if (Le16(d.data()) != 5) continue;
        if (partitions++ && Le32(&d[188]) != partitionStart) return Fail(note, "partitions in two places");
        partitionStart = Le32(&d[188]);
    }
    if (!partitions || partitionStart >= src.sectors()) return Fail(note, "no partition on the image");
    uint32_t keep = std::min(src.sectors() - partitionStart, partitionLimit);
    while (keep > 0 && src.Zero(partitionStart + keep - 1)) --keep;
    uint32_t sequenceAt = static_cast<uint32_t>(folded::kAnchor + 1 + keep);
    detail::Put32(&anchor[16], static_cast<uint32_t>(sequence.size()) * kBlock);
    detail::Put32(&anchor[20], sequenceAt);
    detail::Put32(&anchor[24], static_cast<uint32_t>(sequence.size()) * kBlock);
    detail::Put32(&anchor[28], sequenceAt);
    Retag(anchor.data(), folded::kAnchor);
    out.insert(out.end(), anchor.begin(), anchor.end());
    out.insert(out.end(), src.at(partitionStart), src.at(partitionStart) + static_cast<size_t>(keep) * kBlock);
    for (size_t k = 0; k < sequence.size(); ++k) {
        Bytes& d = sequence[k];
        if (Le16(d.data()) == 5) detail::Put32(&d[188], static_cast<uint32_t>(folded::kAnchor + 1));
        Retag(d.data(), sequenceAt + static_cast<uint32_t>(k));
        out.insert(out.end(), d.begin(), d.end());
    }
    while (!out.empty() && out.back() == 0) out.pop_back();
    return true;
}

// The mastering tool leaves room for metadata beyond what a small tree
// needs, so file data lies behind a long run of zero sectors. Closing that
// run (moving the data down and every recorded extent that points behind
// it) keeps the seed small without changing what it describes.
bool TaggedAt(const uint8_t* d, uint32_t location) {
    uint8_t sum = 0;
    for (int i = 0; i < 16; ++i)
        if (i != 4) sum = static_cast<uint8_t>(sum + d[i]);
    return sum == d[4] && Le32(d + 12) == location;
}

bool ShiftExtents(uint8_t* d, uint32_t first, uint32_t bytes, uint32_t step, uint32_t behind, uint32_t shift) {
    bool moved = false;
    for (uint32_t at = first; at + step <= first + bytes && at + step <= kBlock; at += step) {
        uint32_t length = Le32(d + at), block = Le32(d + at + 4);
        if ((length >> 30) != 0 || block < behind) continue;
        detail::Put32(d + at + 4, block - shift);
        moved = true;
    }
    return moved;
}

void ShiftDescriptor(uint8_t* d, uint32_t behind, uint32_t shift) {
    uint32_t tag = Le16(d), location = Le32(d + 12);
    bool moved = false;
    if (tag == 261 || tag == 266) {
        uint32_t base = tag == 261 ? 176 : 216;
        uint32_t lea = Le32(d + base - 8), lad = Le32(d + base - 4), ad = Le16(d + 34) & 7;
        if (ad <= 1 && base + lea < kBlock)
            moved = ShiftExtents(d, base + lea, lad, ad == 0 ? 8 : 16, behind, shift);
    } else if (tag == 258) {
        moved = ShiftExtents(d, 24, Le32(d + 20), 16, behind, shift);
    }
    if (moved) Retag(d, location);
}

void CloseGap(Bytes& image, uint32_t partitionStart) {
    Source src{image};
    uint32_t gap = partitionStart + 1, n = src.sectors();
    while (gap < n && !src.Zero(gap)) ++gap;
    uint32_t end = gap;
    while (end < n && src.Zero(end)) ++end;
    if (gap >= n || end >= n) return;
    for (uint32_t s = partitionStart; s < gap; ++s) {
        uint8_t* d = &image[static_cast<size_t>(s) * kBlock];
        if (TaggedAt(d, s - partitionStart) || TaggedAt(d, s - partitionStart - 2))
            ShiftDescriptor(d, end - partitionStart, end - gap);
    }
    image.erase(image.begin() + static_cast<ptrdiff_t>(gap) * kBlock, image.begin() + static_cast<ptrdiff_t>(end) * kBlock);
}

struct MountCheck {
    bool mounted = false;
    uint32_t nodes = 0, files = 0, directories = 0;
};

void Count(const FileNode* dir, MountCheck& check, int depth) {
    for (const FileNode* n = dir->firstChild; n && check.nodes < 1000000; n = n->nextSibling) {
        ++check.nodes;
        if (!n->isDirectory) {
            ++check.files;
            continue;
        }
        ++check.directories;
        if (depth < 200) Count(n, check, depth + 1);
    }
}

MountCheck Mount(const Bytes& input) {
    folded::CFoldedDevice device(input.data(), input.size());
    CUdfReader reader;
    MountCheck check;
    check.mounted = reader.MountDevice(&device) && reader.root;
    if (check.mounted) Count(reader.root, check, 0);
    return check;
}

Node Timed(const std::string& name, uint16_t typeAndZone, uint16_t year, uint8_t month, uint8_t day) {
    Node n = File(name, "t");
    n.typeAndZone = typeAndZone;
    n.year = year;
    n.month = month;
    n.day = day;
    n.centi = 12;
    n.hundredsMicro = 34;
    n.micro = 56;
    return n;
}

Node Chained(const std::string& name, uint32_t pieces, uint32_t perEntry) {
    Node n;
    n.name = name;
    for (uint32_t i = 0; i < pieces; ++i) n.pieces.push_back(Piece{i % 3 == 1 ? "" : Pattern(1 + i * 611 % 2600, i), i % 3 == 1 ? 4096u : 0u});
    n.descriptorsPerEntry = perEntry;
    return n;
}

// Folders inside their entries, one sector per level.
Node Deep(uint32_t levels) {
    Node bottom = File("bottom.txt", "bottom of the tree\n");
    bottom.ad = kEmbedded;
    for (uint32_t i = levels; i > 0; --i) {
        char name[16];
        std::snprintf(name, sizeof name, "level%02u", i);
        bottom = Dir(name, {bottom});
        bottom.ad = kEmbedded;
    }
    return bottom;
}

// Files and names of every kind the reader decodes, in a few sectors.
Node Sample() {
    Node multi;
    multi.name = "multi.bin";
    multi.pieces = {Piece{Pattern(4096, 1), 0}, Piece{"", 8192}, Piece{Pattern(2100, 2), 0}};
    Node wide = File("notes-\xCE\xB1\xCE\xB2\xCE\xB3.txt", "alpha beta gamma");
    Node forced = File("wide-ascii.txt", "sixteen bits for plain letters");
    forced.force16 = true;
    Node hidden = File("hidden.txt", "h");
    hidden.hidden = true;
    Node gone = File("deleted.txt", "d");
    gone.deleted = true;
    Node embedded = File("small.txt", "embedded bytes");
    embedded.ad = kEmbedded;
    Node noIcb = File("no-entry.txt", "x");
    noIcb.zeroIcbLength = true;
    for (Node* n : {&wide, &forced, &hidden, &gone, &noIcb}) n->ad = kEmbedded;
    return Dir("", {File("README.TXT", "hello\n"), File("empty.bin", ""), File("sector.bin", Pattern(2048, 4)),
                    File("Manual \xC3\x9C" "bersicht.txt", Pattern(3000, 5)), multi, wide, forced, hidden, gone,
                    embedded, noIcb, Dir("deep", {Dir("inner", {File("bottom.txt", "bottom")})})});
}

// Everything inside its entry: the data of a file or directory must fit in
// the entry's block, so the tree stays small.
Node Inline() {
    Node wide = File("\xCE\xB1.txt", "16-bit name");
    return Dir("", {File("one.txt", "1"), File("two.txt", Pattern(300, 2)), wide,
                    Dir("sub", {File("three.txt", "333")})});
}

Node Times() {
    return Dir("", {Timed("utc.txt", 0x1000, 2024, 2, 29), Timed("east.txt", 0x1000 | 60, 1999, 12, 31),
                    Timed("west.txt", 0x1000 | (0x1000 - 300), 2038, 1, 19),
                    Timed("unspecified.txt", 0x1000 | 0x801, 1601, 1, 1), Timed("coordinated.txt", 0x0000, 2000, 6, 15),
                    Timed("agreement.txt", 0x2000, 2010, 3, 3), Timed("bad-month.txt", 0x1000, 2024, 13, 1),
                    Timed("bad-day.txt", 0x1000, 2023, 2, 29), Timed("too-early.txt", 0x1000, 1600, 1, 1)});
}

// A directory longer than a sector: long names, data inside the entries.
Node Many(uint32_t count) {
    std::vector<Node> files;
    for (uint32_t i = 0; i < count; ++i) {
        Node file = File(std::string(200, static_cast<char>('a' + i % 26)) + std::to_string(i), Pattern(i * 37 % 300, i));
        file.ad = kEmbedded;
        files.push_back(file);
    }
    return Dir("", {Dir("many", files), File("top.txt", "top")});
}

struct Mastered {
    const char* name;
    Node root;
    Options options;
};

Options Make(uint16_t revision, bool efe, int ad, const char* volume = "VEXLON_SEED") {
    Options o;
    o.revision = revision;
    o.efe = efe;
    o.ad = ad;
    o.volume = volume;
    return o;
}

// Chains of allocation extent descriptors beside a directory recorded
// inside its entry.
Node Chains() {
    Node embeddedDir = Dir("inline", {File("a.txt", "a"), File("b.txt", "b")});
    embeddedDir.ad = kEmbedded;
    Node multi;
    multi.name = "holes.bin";
    multi.pieces = {Piece{"", 4096}, Piece{Pattern(2049, 8), 0}, Piece{"", 2048}};
    return Dir("", {Chained("chained.bin", 9, 2), embeddedDir, multi, File("tail.txt", Pattern(2047, 9))});
}

std::vector<Mastered> MasteredSeeds() {
    Node deep = Dir("", {Deep(8), Chained("chain-short.bin", 6, 1)});
    return {
        {"master-r102-fe-short", Sample(), Make(0x0102, false, kShort)},
        {"master-r150-fe-long", Inline(), Make(0x0150, false, kLong, "VEXLON \xC3\x9C")},
        {"master-r201-efe-long-chains", Chains(), Make(0x0201, true, kLong)},
        {"master-r201-embedded", Inline(), Make(0x0201, false, kEmbedded)},
        {"master-r201-times", Times(), Make(0x0201, true, kEmbedded)},
        {"master-r250-metadata-efe-short", Chains(), Make(0x0250, true, kShort, "VEXLON \xCE\xA9")},
        {"master-r250-metadata-fe-long-deep", deep, Make(0x0250, false, kLong)},
        {"master-r250-metadata-many", Many(12), Make(0x0250, true, kLong)},
    };
}

bool ReadFile(const std::string& path, Bytes& out) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    out.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return true;
}

bool WriteFile(const std::string& path, const Bytes& bytes) {
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return static_cast<bool>(out);
}

std::string BaseName(const std::string& path) {
    size_t slash = path.find_last_of('/');
    std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    size_t dot = name.find_last_of('.');
    return dot == std::string::npos ? name : name.substr(0, dot);
}

void Report(const std::string& name, size_t bytes, const MountCheck& c) {
    std::printf("%-40s %7zu bytes  %s", name.c_str(), bytes, c.mounted ? "mounts" : "does not mount");
    if (c.mounted) std::printf(", %u files, %u folders", c.files, c.directories);
    std::printf("\n");
}

// A seed is kept only when it mounts with at least one file.
bool Keep(const std::string& dir, const std::string& name, const Bytes& seed, uint32_t& kept) {
    MountCheck c = Mount(seed);
    Report(name, seed.size(), c);
    if (c.mounted && c.files == 0) std::printf("%-40s skipped: no files on the volume\n", name.c_str());
    if (!c.mounted || c.files == 0) return false;
    ++kept;
    return WriteFile(dir + "/" + name, seed);
}

int MakeCorpus(const std::string& dir, int count, char** images) {
    mkdir(dir.c_str(), 0755);
    uint32_t made = 0, kept = 0;
    for (const Mastered& m : MasteredSeeds()) {
        Bytes seed;
        std::string note;
        ++made;
        Image image = Build(m.root, m.options);
        CloseGap(image.bytes, image.partitionStart);
        if (!Fold(image.bytes, UINT32_MAX, false, seed, note)) {
            std::printf("%-40s not folded: %s\n", m.name, note.c_str());
            continue;
        }
        if (!Keep(dir, m.name, seed, kept)) return 1;  // our own volumes must mount
    }
    for (int i = 0; i < count; ++i) {
        Bytes image, seed;
        std::string note, name = "shared-" + BaseName(images[i]);
        ++made;
        if (!ReadFile(images[i], image)) {
            std::printf("%-40s cannot be read\n", name.c_str());
            continue;
        }
        if (!Fold(image, kSharedPartitionSectors, true, seed, note))
            std::printf("%-40s skipped: %s\n", name.c_str(), note.c_str());
        else
            Keep(dir, name, seed, kept);
    }
    std::printf("%u of %u volumes folded into seeds that mount with files\n", kept, made);
    return kept ? 0 : 1;
}

int CheckCorpus(const std::string& dir) {
    DIR* d = opendir(dir.c_str());
    if (!d) {
        std::fprintf(stderr, "cannot open %s\n", dir.c_str());
        return 2;
    }
    uint32_t seeds = 0, mounting = 0;
    uint64_t total = 0;
    while (dirent* e = readdir(d)) {
        if (e->d_name[0] == '.') continue;
        Bytes seed;
        if (!ReadFile(dir + "/" + e->d_name, seed)) continue;
        MountCheck c = Mount(seed);
        Report(e->d_name, seed.size(), c);
        ++seeds;
        total += seed.size();
        if (c.mounted && c.files) ++mounting;
    }
    closedir(d);
    std::printf("%u of %u seeds mount with files (%llu bytes in all)\n", mounting, seeds,
                static_cast<unsigned long long>(total));
    return mounting ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], "--check") == 0) return CheckCorpus(argv[2]);
    if (argc < 2 || argv[1][0] == '-') {
        std::fprintf(stderr, "usage: %s OUT_DIR [IMAGE...] | --check DIR\n", argv[0]);
        return 2;
    }
    return MakeCorpus(argv[1], argc - 2, argv + 2);
}
