// Hostile discs, each built by the mastering tool and then bent by hand into
// one attack.

#include <cstdio>
#include <fstream>
#include <functional>

#include "../../tools/udfmaster/UdfImageBuilder.h"
#include "HostileCorpus.h"

namespace {

using namespace udfmaster;
using Bytes = std::vector<uint8_t>;

constexpr size_t kS = 2048;

uint32_t Get32(const Bytes& b, size_t at) {
    return uint32_t(b[at]) | uint32_t(b[at + 1]) << 8 | uint32_t(b[at + 2]) << 16 | uint32_t(b[at + 3]) << 24;
}
void Put32(Bytes& b, size_t at, uint32_t v) {
    for (int i = 0; i < 4; ++i) b[at + i] = uint8_t(v >> (8 * i));
}
void Put64(Bytes& b, size_t at, uint64_t v) {
    Put32(b, at, uint32_t(v));
    Put32(b, at + 4, uint32_t(v >> 32));
}

size_t Entry(Image& i, const std::string& path) { return size_t(i.entrySector[path]) * kS; }
size_t Data(Image& i, const std::string& path) { return size_t(i.dataSector[path]) * kS; }
// Where the allocation descriptors of an entry start.
size_t AdOf(Image& i, const std::string& path) {
    size_t e = Entry(i, path);
    bool extended = (i.bytes[e] | i.bytes[e + 1] << 8) == 266;
    return e + (extended ? 216 + Get32(i.bytes, e + 208) : 176 + Get32(i.bytes, e + 168));
}
// The FID of the k-th child of a directory whose children all have
// one-character names (the parent FID and each child's take 40 bytes).
size_t ChildFid(Image& i, const std::string& dir, int k) { return Data(i, dir) + 40 * size_t(k + 1); }

// A one-character name for child k of a wide directory.
std::string OneChar(int k) {
    static const char kNames[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    return std::string(1, kNames[k % 62]);
}

Options Short() { return Options{}; }
Options Long() {
    Options o;
    o.ad = kLong;
    return o;
}

// A file of `pieces` one-sector extents.
Node Pieces(const std::string& name, int pieces, int perEntry = 0) {
    Node n;
    n.name = name;
    for (int k = 0; k < pieces; ++k) n.pieces.push_back(Piece{Pattern(kS, uint32_t(k)), 0});
    n.descriptorsPerEntry = uint32_t(perEntry);
    return n;
}

// Makes FIDs 1..count-1 of `dir` name the entry FID 0 names.
void AllNameTheFirst(Image& img, const std::string& dir, int count) {
    size_t first = ChildFid(img, dir, 0);
    for (int k = 1; k < count; ++k) std::copy(&img.bytes[first + 20], &img.bytes[first + 36], &img.bytes[first + 40 * k + 20]);
}

HostileDisc ExtentWithoutMap() {
    Image img = Build(Dir("", {File("f", Pattern(70000, 1))}), Long());
    img.bytes[AdOf(img, "f") + 8] = 7;  // partition reference 7: no such map
    return {"extent-names-no-partition-map", img.bytes, "", "f"};
}

HostileDisc ExtentPastTheEnd() {
    Image img = Build(Dir("", {File("f", Pattern(70000, 2))}), Short());
    size_t ad = AdOf(img, "f");
    Put32(img.bytes, ad + 4, uint32_t(img.bytes.size() / kS) - img.partitionStart - 10);
    return {"extent-runs-past-the-end", img.bytes, "", "f"};
}

HostileDisc ExtentFailsInTheMiddle() {
    Image img = Build(Dir("", {Pieces("f", 3)}), Short());
    size_t ad = AdOf(img, "f");
    Put32(img.bytes, ad + 8 + 4, 0x00FFFFF0u);  // the middle piece lies far beyond the disc
    return {"middle-extent-unreadable", img.bytes, "", "f"};
}

HostileDisc HugeSizeGigabyteExtents() {
    Image img = Build(Dir("", {Pieces("f", 200)}), Short());
    size_t ad = AdOf(img, "f");
    for (int k = 0; k < 200; ++k) Put32(img.bytes, ad + 8 * size_t(k), 0x3FFFF800u);
    Put64(img.bytes, Entry(img, "f") + 56, ~0ull);
    return {"size-2e64-with-gigabyte-extents", img.bytes, "", "f"};
}

// The only file extent at sector FFFFFF00h.
Image ExtentAtTheTop() {
    Image img = Build(Dir("", {File("f", "x")}), Short());
    Put32(img.bytes, AdOf(img, "f") + 4, 0xFFFFFF00u - img.partitionStart);
    return img;
}

HostileDisc CapacityLies() {
    return {"capacity-fffffffe-extent-at-ffffff00", ExtentAtTheTop().bytes, "> 25\nFF FF FF FE 00 00 08 00\n", "f"};
}

HostileDisc CapacityUnknown() {
    return {"no-capacity-extent-at-ffffff00", ExtentAtTheTop().bytes, "> 25\n! 5 24 00\n", "f"};
}

HostileDisc CapacityZero() {
    return {"capacity-zero-extent-at-ffffff00", ExtentAtTheTop().bytes, "> 25\n00 00 00 00 00 00 08 00\n", "f"};
}

HostileDisc ExtentWraps() {
    Image img = Build(Dir("", {File("f", Pattern(5000, 3))}), Short());
    size_t ad = AdOf(img, "f");
    Put32(img.bytes, ad, 0x3FFFF800u);
    Put32(img.bytes, ad + 4, 0xFFFFFFF0u - img.partitionStart);
    return {"extent-wraps-past-2e32", img.bytes, "", "f"};
}

// 127 levels, each naming the next directory twice: 2^127 paths through
// 254 entries.
HostileDisc TwiceNamedLevels() {
    Node n = File("x", "leaf");
    for (int i = 0; i < 127; ++i) n = Dir("d", {n, Dir("e")});
    Image img = Build(Dir("", {n, Dir("e")}), Short());
    std::string dir, deepest;
    for (int i = 0; i < 127; ++i) {
        // "e" becomes a second name of "d".
        AllNameTheFirst(img, dir, 2);
        dir = dir.empty() ? "d" : dir + "/d";
        deepest += "d/";
    }
    return {"directories-named-twice-127-levels", img.bytes, "", deepest + "x"};
}

// One directory of 16,000 identifiers that all name one file of 300 extents.
HostileDisc HardLinkFanOut() {
    const uint32_t count = 16000;
    Image img = Build(Dir("", {Pieces("f", 300, 100), File("p", std::string(count * 40 + 40, 'p'))}), Short());
    size_t fid = ChildFid(img, "", 0), pad = Data(img, "p");
    Bytes one(img.bytes.begin() + long(fid), img.bytes.begin() + long(fid) + 40);
    for (uint32_t k = 0; k <= count; ++k) std::copy(one.begin(), one.end(), img.bytes.begin() + long(pad + 40 * k));
    size_t rootAd = AdOf(img, "");
    Put32(img.bytes, rootAd, (count + 1) * 40);
    Put32(img.bytes, rootAd + 4, uint32_t(pad / kS) - img.partitionStart);
    return {"one-file-named-16000-times", img.bytes, "", "f"};
}

// A chain of 900 allocation extent descriptors, shared by 62 names.
HostileDisc LongSharedChain() {
    Node c;
    c.name = "c";
    for (int k = 0; k < 900; ++k) c.pieces.push_back(Piece{"", kS});
    c.pieces.push_back(Piece{Pattern(kS, 5), 0});
    c.descriptorsPerEntry = 1;
    std::vector<Node> kids{c};
    for (int k = 1; k < 62; ++k) kids.push_back(File(OneChar(k), "x"));
    Image img = Build(Dir("", kids), Short());
    AllNameTheFirst(img, "", 62);
    return {"long-chain-named-62-times", img.bytes, "", "c"};
}

HostileDisc ForgingNames() {
    Image img = Build(Dir("", {File("line\r\nforged 1 (300, 2048)", "a"), File("tab\there", "b"),
                               File("a/b", "slash"), File(std::string("nul\0tail", 8), "c"),
                               File("\\..\\..\\x", "escape")}),
                      Short());
    return {"names-that-forge-lines", img.bytes, "", "a\\/b"};
}

}  // namespace

std::vector<HostileDisc> HostileDiscs() {
    return {ExtentWithoutMap(), ExtentPastTheEnd(), ExtentFailsInTheMiddle(), HugeSizeGigabyteExtents(),
            CapacityLies(),     CapacityUnknown(),  CapacityZero(),           ExtentWraps(),
            TwiceNamedLevels(), HardLinkFanOut(),   LongSharedChain(),        ForgingNames()};
}

void WriteHostileDiscs(const std::string& dir) {
    for (const HostileDisc& disc : HostileDiscs()) {
        std::string base = dir + "/" + disc.name;
        std::ofstream(base + ".img", std::ios::binary)
            .write(reinterpret_cast<const char*>(disc.image.data()), std::streamsize(disc.image.size()));
        std::ofstream(base + ".drive") << "title: " << disc.name << "\nletter: E\nimage: " << disc.name << ".img\n"
                                       << disc.replies;
        std::ofstream(base + ".extract") << disc.extractPath;
    }
}
