#pragma once
// Writes UDF images from a description, for tests and benchmarks: revisions
// 1.02, 2.01 and 2.50 (with a Metadata Partition and its Metadata File),
// File Entries or Extended File Entries, short_ad, long_ad or embedded data,
// allocation extent descriptor chains, deleted and hidden entries, 8- and
// 16-bit names, files in several extents with holes, any number of files.
// Tags carry real checksums and CRCs so that other readers accept them.
// Header-only: the unit tests (also under Wine) and the command-line tool
// build images at run time, so no image has to be kept in the repository.

#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace udfmaster {

enum AdKind { kShort = 0, kLong = 1, kEmbedded = 3 };

// One piece of a file's data: recorded bytes, or a hole of `holeBytes`
// (recorded as "not recorded and not allocated").
struct Piece {
    std::string bytes;
    uint32_t holeBytes = 0;
};

struct Node {
    std::string name;  // UTF-8; code points above 255 force 16-bit names
    bool directory = false;
    bool force16 = false;
    bool deleted = false;
    bool hidden = false;
    std::string data;            // a file's bytes when `pieces` is empty
    std::vector<Piece> pieces;   // a file in several extents (each its own)
    int ad = -1;                 // -1: the image's default
    int efe = -1;                // -1: the image's default
    uint32_t descriptorsPerEntry = 0;  // >0: chain the rest through AEDs
    uint16_t typeAndZone = 0x1000;     // modification time: local, UTC+0
    uint16_t year = 2024;
    uint8_t month = 5, day = 17, hour = 10, minute = 20, second = 30;
    uint8_t centi = 0, hundredsMicro = 0, micro = 0;
    bool zeroIcbLength = false;  // the FID's ICB long_ad length is 0
    std::vector<Node> children;
};

struct Options {
    uint16_t revision = 0x0201;  // 0x0102, 0x0150, 0x0201, 0x0250
    bool efe = false;
    int ad = kShort;
    std::string volume = "VEXLON_TEST";
    uint32_t minSectors = 0;  // pad the image to at least this size
    bool scatter = false;     // entries and directories among the file data (without a Metadata Partition)
    uint32_t dataStart = 0;   // the first partition block file data may use
    bool dataAfterEntry = false;  // a directory's data right after its entry, before its children
};

struct Image {
    std::vector<uint8_t> bytes;
    // Where things went, for tests that patch or check them.
    std::map<std::string, uint32_t> entrySector;  // path -> physical sector of its (E)FE
    std::map<std::string, uint32_t> dataSector;   // path -> first data sector / dir data sector
    uint32_t partitionStart = 0;
    uint32_t metadataFileSector = 0;
    uint32_t fsdSector = 0;
};

namespace detail {

constexpr uint32_t kBlock = 2048;
constexpr uint32_t kPartitionStart = 257;

inline void Put16(uint8_t* p, uint32_t v) { p[0] = uint8_t(v); p[1] = uint8_t(v >> 8); }
inline void Put32(uint8_t* p, uint32_t v) { Put16(p, v); Put16(p + 2, v >> 16); }
inline void Put64(uint8_t* p, uint64_t v) { Put32(p, uint32_t(v)); Put32(p + 4, uint32_t(v >> 32)); }

inline uint16_t Crc(const uint8_t* p, size_t n) {
    uint16_t crc = 0;
    for (size_t i = 0; i < n; ++i) {
        crc ^= uint16_t(p[i] << 8);
        for (int b = 0; b < 8; ++b) crc = (crc & 0x8000) ? uint16_t((crc << 1) ^ 0x1021) : uint16_t(crc << 1);
    }
    return crc;
}

inline void Tag(uint8_t* d, uint16_t id, uint16_t version, uint32_t location, size_t length) {
    Put16(d, id);
    Put16(d + 2, version);
    Put16(d + 6, 1);
    uint32_t crcLength = uint32_t(length - 16);
    Put16(d + 8, Crc(d + 16, crcLength));
    Put16(d + 10, crcLength);
    Put32(d + 12, location);
    uint8_t sum = 0;
    for (int i = 0; i < 16; ++i)
        if (i != 4) sum = uint8_t(sum + d[i]);
    d[4] = sum;
}

inline std::vector<uint32_t> CodePoints(const std::string& utf8) {
    std::vector<uint32_t> out;
    for (size_t i = 0; i < utf8.size();) {
        uint8_t c = uint8_t(utf8[i]);
        uint32_t cp = c, extra = 0;
        if (c >= 0xF0) cp = c & 7, extra = 3;
        else if (c >= 0xE0) cp = c & 15, extra = 2;
        else if (c >= 0xC0) cp = c & 31, extra = 1;
        for (uint32_t k = 1; k <= extra && i + k < utf8.size(); ++k) cp = (cp << 6) | (uint8_t(utf8[i + k]) & 63);
        out.push_back(cp);
        i += 1 + extra;
    }
    return out;
}

// OSTA compressed Unicode: ID 8 with one byte per character, or 16.
inline std::string Compressed(const std::string& utf8, bool force16) {
    std::vector<uint32_t> cps = CodePoints(utf8);
    bool wide = force16;
    for (uint32_t cp : cps) wide = wide || cp > 255;
    std::string out(1, char(wide ? 16 : 8));
    for (uint32_t cp : cps) {
        if (wide) out += char(cp >> 8);
        out += char(cp & 0xFF);
    }
    return out;
}

inline void DString(uint8_t* field, size_t n, const std::string& text) {
    std::string c = Compressed(text, false);
    if (c.size() > n - 1) c.resize(n - 1);
    std::memcpy(field, c.data(), c.size());
    field[n - 1] = uint8_t(c.size());
}

inline void Entity(uint8_t* p, const char* id, uint16_t suffix16 = 0) {
    std::memcpy(p + 1, id, std::strlen(id));
    Put16(p + 24, suffix16);
}

inline void CharSpec(uint8_t* p) { std::memcpy(p + 1, "OSTA Compressed Unicode", 23); }

inline void Timestamp(uint8_t* p, const Node& n) {
    Put16(p, n.typeAndZone);
    Put16(p + 2, n.year);
    p[4] = n.month; p[5] = n.day; p[6] = n.hour; p[7] = n.minute; p[8] = n.second;
    p[9] = n.centi; p[10] = n.hundredsMicro; p[11] = n.micro;
}

class Builder {
public:
    Builder(const Options& o) : opt(o) {
        nsr3 = o.revision >= 0x0200;
        metadata = o.revision >= 0x0250;
        tagVersion = nsr3 ? 3 : 2;
    }

    Image Build(const Node& root) {
        metaBase = metadata ? 2 : 0;
        metaReserve = EstimateMetaBlocks(root) + 16;
        dataNext = metaBase + metaReserve;
        if (dataNext < opt.dataStart) dataNext = opt.dataStart;
        fsdBlock = AllocMeta(1);
        uint32_t rootBlock = WriteNode(root, "", /*parentIcb*/ 0, true);
        FinishFileSet(rootBlock);
        uint32_t partitionBlocks = dataNext;
        uint32_t total = kPartitionStart + partitionBlocks + 1;
        if (total < opt.minSectors) total = opt.minSectors;
        if (total < 300) total = 300;
        image.bytes.assign(size_t(total) * kBlock, 0);
        for (auto& [block, bytes] : blocks) {
            size_t at = size_t(kPartitionStart + block) * kBlock;
            std::memcpy(&image.bytes[at], bytes.data(), bytes.size());
        }
        WriteVolume(total, total - 1 - kPartitionStart);
        image.partitionStart = kPartitionStart;
        image.fsdSector = kPartitionStart + MetaToPhysical(fsdBlock);
        return image;
    }

private:
    Options opt;
    bool nsr3 = false, metadata = false;
    uint16_t tagVersion = 2;
    uint32_t metaBase = 0, metaReserve = 0, metaNext = 0, dataNext = 0, fsdBlock = 0;
    uint64_t uniqueId = 16;
    uint32_t files = 0, dirs = 0;
    std::map<uint32_t, std::vector<uint8_t>> blocks;  // partition block -> bytes
    Image image;

    uint32_t MetaRef() const { return metadata ? 1 : 0; }
    uint32_t MetaToPhysical(uint32_t b) const { return metaBase + b; }

    uint32_t EstimateMetaBlocks(const Node& n) const {
        uint32_t count = 1 + 8;  // entry and chain blocks
        if (n.descriptorsPerEntry) count += uint32_t(n.pieces.size() / n.descriptorsPerEntry + 1);
        if (n.directory) {
            size_t bytes = 40;
            for (const Node& c : n.children) bytes += 38 + 2 * c.name.size() + 8 + 4;
            count += uint32_t(bytes / kBlock + 1);
            for (const Node& c : n.children) count += EstimateMetaBlocks(c);
        }
        return count;
    }

    uint32_t AllocMeta(uint32_t n) {
        if (opt.scatter && !metadata) return AllocData(n * kBlock);
        uint32_t b = metaNext;
        metaNext += n;
        if (metaNext > metaReserve) metaReserve = metaNext;  // estimates are generous
        return b;
    }
    uint32_t AllocData(uint32_t bytes) {
        uint32_t b = dataNext;
        dataNext += (bytes + kBlock - 1) / kBlock;
        return b;
    }
    std::vector<uint8_t>& MetaBlock(uint32_t b) {
        auto& v = blocks[MetaToPhysical(b)];
        v.resize(kBlock);
        return v;
    }

    bool UseEfe(const Node& n) const { return n.efe >= 0 ? n.efe != 0 : opt.efe; }
    int AdOf(const Node& n) const { return n.ad >= 0 ? n.ad : opt.ad; }

    struct Ad {
        uint32_t length;  // with type bits
        uint32_t block;
        uint16_t partition;
    };

    // Writes the node's data and entry; returns the entry's metadata block.
    uint32_t WriteNode(const Node& n, const std::string& path, uint32_t parentIcb, bool isRoot) {
        uint32_t icb = AllocMeta(1);
        if (isRoot) parentIcb = icb;
        std::string content;
        std::vector<Ad> ads;
        int ad = AdOf(n);
        uint64_t infoLength = 0;
        if (n.directory) {
            ++dirs;
            bool early = opt.dataAfterEntry && ad != kEmbedded;
            uint32_t reserved = early ? AllocMeta(uint32_t((DirectorySize(n) + kBlock - 1) / kBlock)) : 0;
            content = DirectoryBytes(n, path, icb, parentIcb);
            infoLength = content.size();
            if (ad != kEmbedded) {
                uint32_t b = early ? reserved : AllocMeta(uint32_t((content.size() + kBlock - 1) / kBlock));
                PatchFidLocations(content, b);
                for (size_t off = 0; off < content.size(); off += kBlock) {
                    auto& blk = MetaBlock(b + uint32_t(off / kBlock));
                    std::memcpy(blk.data(), content.data() + off, std::min<size_t>(kBlock, content.size() - off));
                }
                ads.push_back(Ad{uint32_t(content.size()), b, uint16_t(MetaRef())});
                image.dataSector[path] = kPartitionStart + MetaToPhysical(b);
            } else {
                PatchFidLocations(content, icb);
                image.dataSector[path] = kPartitionStart + MetaToPhysical(icb);
            }
        } else {
            ++files;
            std::vector<Piece> pieces = n.pieces;
            if (pieces.empty() && !n.data.empty()) pieces.push_back(Piece{n.data, 0});
            for (const Piece& p : pieces) infoLength += p.bytes.size() + p.holeBytes;
            if (ad == kEmbedded) {
                for (const Piece& p : pieces) content += p.bytes;
            } else {
                for (const Piece& p : pieces) {
                    if (p.holeBytes) {
                        ads.push_back(Ad{0x80000000u | p.holeBytes, 0, 0});
                        continue;
                    }
                    uint32_t b = AllocData(uint32_t(p.bytes.size()));
                    for (size_t off = 0; off < p.bytes.size(); off += kBlock) {
                        auto& blk = blocks[b + uint32_t(off / kBlock)];
                        blk.assign(p.bytes.begin() + off, p.bytes.begin() + off + std::min<size_t>(kBlock, p.bytes.size() - off));
                    }
                    if (!image.dataSector.count(path)) image.dataSector[path] = kPartitionStart + b;
                    ads.push_back(Ad{uint32_t(p.bytes.size()), b, 0});
                }
            }
        }
        WriteEntry(n, icb, infoLength, ad, content, ads);
        image.entrySector[path] = kPartitionStart + MetaToPhysical(icb);
        return icb;
    }

    std::string Fid(uint8_t characteristics, const std::string& id, uint32_t icbBlock, uint32_t icbLength) const {
        size_t length = (38 + id.size() + 3) & ~size_t(3);
        std::string f(length, '\0');
        uint8_t* d = reinterpret_cast<uint8_t*>(&f[0]);
        Put16(d, 257);  // tag, finished when its location is known
        Put16(d + 16, 1);
        d[18] = characteristics;
        d[19] = uint8_t(id.size());
        Put32(d + 20, icbLength);
        Put32(d + 24, icbBlock);
        Put16(d + 28, uint16_t(MetaRef()));
        std::memcpy(d + 38, id.data(), id.size());
        return f;
    }

    size_t DirectorySize(const Node& n) const {
        size_t bytes = 40;
        for (const Node& c : n.children) bytes += (38 + Compressed(c.name, c.force16).size() + 3) & ~size_t(3);
        return bytes;
    }

    std::string DirectoryBytes(const Node& n, const std::string& path, uint32_t icb, uint32_t parentIcb) {
        std::string out = Fid(0x0A, "", parentIcb, kBlock);
        for (const Node& c : n.children) {
            std::string childPath = path.empty() ? c.name : path + "/" + c.name;
            uint32_t childIcb = WriteNode(c, childPath, icb, false);
            uint8_t ch = uint8_t((c.directory ? 2 : 0) | (c.deleted ? 4 : 0) | (c.hidden ? 1 : 0));
            out += Fid(ch, Compressed(c.name, c.force16), childIcb, c.zeroIcbLength ? 0 : kBlock);
        }
        return out;
    }

    // Tags of FIDs carry the block they are recorded in.
    void PatchFidLocations(std::string& content, uint32_t firstBlock) const {
        for (size_t off = 0; off < content.size();) {
            uint8_t* d = reinterpret_cast<uint8_t*>(&content[off]);
            size_t length = (38 + d[19] + (d[36] | (d[37] << 8)) + 3) & ~size_t(3);
            Tag(d, 257, tagVersion, firstBlock + uint32_t(off / kBlock), length);
            off += length;
        }
    }

    void PutAd(uint8_t* p, int kind, const Ad& a) const {
        Put32(p, a.length);
        Put32(p + 4, a.block);
        if (kind == kLong) Put16(p + 8, a.partition);
    }

    void WriteEntry(const Node& n, uint32_t icb, uint64_t infoLength, int ad, const std::string& embedded,
                    std::vector<Ad> ads) {
        bool efe = UseEfe(n);
        uint32_t base = efe ? 216 : 176;
        std::string adBytes;
        if (ad == kEmbedded) {
            adBytes = embedded;
        } else {
            uint32_t keep = n.descriptorsPerEntry && ads.size() > n.descriptorsPerEntry ? n.descriptorsPerEntry : uint32_t(ads.size());
            adBytes = DescriptorBytes(ad, ads, 0, keep);
            if (keep < ads.size()) adBytes += ChainRest(n, ad, ads, keep);
        }
        auto& blk = MetaBlock(icb);
        uint8_t* d = blk.data();
        std::fill(blk.begin(), blk.end(), 0);
        d[16 + 4] = 4;  // strategy 4
        Put16(d + 16 + 8, 1);
        d[27] = n.directory ? 4 : 5;
        Put16(d + 34, uint16_t(ad));
        Put32(d + 36, 0xFFFFFFFFu);
        Put32(d + 40, 0xFFFFFFFFu);
        Put32(d + 44, 0x14A5);
        Put16(d + 48, n.directory ? 2 : 1);
        Put64(d + 56, infoLength);
        uint32_t recorded = 0;
        for (const Ad& a : ads)
            if ((a.length >> 30) == 0) recorded += (a.length + kBlock - 1) / kBlock;
        if (efe) {
            Put64(d + 64, infoLength);
            Put64(d + 72, recorded);
            Timestamp(d + 80, n);
            Timestamp(d + 92, n);
            Timestamp(d + 104, n);
            Timestamp(d + 116, n);
            Put32(d + 128, 1);
            Entity(d + 168, "*Vexlon udfmaster");
            Put64(d + 200, n.directory && icb == 0 ? 0 : uniqueId++);
        } else {
            Put64(d + 64, recorded);
            Timestamp(d + 72, n);
            Timestamp(d + 84, n);
            Timestamp(d + 96, n);
            Put32(d + 108, 1);
            Entity(d + 128, "*Vexlon udfmaster");
            Put64(d + 160, uniqueId++);
        }
        Put32(d + (efe ? 212 : 172), uint32_t(adBytes.size()));
        std::memcpy(d + base, adBytes.data(), std::min<size_t>(adBytes.size(), kBlock - base));
        Tag(d, efe ? 266 : 261, tagVersion, icb, base + adBytes.size());
    }

    std::string DescriptorBytes(int ad, const std::vector<Ad>& ads, size_t from, size_t to) const {
        uint32_t size = ad == kLong ? 16 : 8;
        std::string out((to - from) * size, '\0');
        for (size_t i = from; i < to; ++i) PutAd(reinterpret_cast<uint8_t*>(&out[(i - from) * size]), ad, ads[i]);
        return out;
    }

    // The descriptors after the first `keep` go into a chain of Allocation
    // Extent Descriptors, `descriptorsPerEntry` per block. Chains are always
    // written with long_ad, the form readers take them in.
    std::string ChainRest(const Node& n, int ad, const std::vector<Ad>& ads, size_t keep) {
        std::vector<uint32_t> aedBlocks;
        size_t per = n.descriptorsPerEntry;
        for (size_t i = keep; i < ads.size(); i += per) aedBlocks.push_back(AllocMeta(1));
        for (size_t k = 0; k < aedBlocks.size(); ++k) {
            size_t from = keep + k * per, to = std::min(ads.size(), from + per);
            std::string body = DescriptorBytes(kLong, ads, from, to);
            if (k + 1 < aedBlocks.size()) {
                std::string next(16, '\0');
                PutAd(reinterpret_cast<uint8_t*>(&next[0]), kLong, Ad{0xC0000000u | kBlock, aedBlocks[k + 1], uint16_t(MetaRef())});
                body += next;
            }
            auto& blk = MetaBlock(aedBlocks[k]);
            uint8_t* d = blk.data();
            Put32(d + 20, uint32_t(body.size()));
            std::memcpy(d + 24, body.data(), body.size());
            Tag(d, 258, tagVersion, aedBlocks[k], 24 + body.size());
        }
        std::string link(ad == kLong ? 16 : 8, '\0');
        PutAd(reinterpret_cast<uint8_t*>(&link[0]), ad, Ad{0xC0000000u | kBlock, aedBlocks[0], uint16_t(MetaRef())});
        return link;
    }

    void FinishFileSet(uint32_t rootBlock) {
        auto& blk = MetaBlock(fsdBlock);
        uint8_t* d = blk.data();
        Node t;
        Timestamp(d + 16, t);
        Put16(d + 28, 3);
        Put16(d + 30, 3);
        Put32(d + 32, 1);
        Put32(d + 36, 1);
        CharSpec(d + 48);
        DString(d + 112, 128, opt.volume);
        CharSpec(d + 240);
        DString(d + 304, 32, opt.volume);
        Put32(d + 400, kBlock);
        Put32(d + 404, rootBlock);
        Put16(d + 408, uint16_t(MetaRef()));
        Entity(d + 416, "*OSTA UDF Compliant", opt.revision);
        Tag(d, 256, tagVersion, fsdBlock, 512);
    }

    uint8_t* Sector(uint32_t s) { return &image.bytes[size_t(s) * kBlock]; }

    void WriteVolume(uint32_t total, uint32_t partitionLength) {
        const char* vrs[3] = {"BEA01", nsr3 ? "NSR03" : "NSR02", "TEA01"};
        for (int i = 0; i < 3; ++i) {
            uint8_t* d = Sector(16 + i);
            std::memcpy(d + 1, vrs[i], 5);
            d[6] = 1;
        }
        WriteSequence(32, partitionLength, total);
        WriteSequence(48, partitionLength, total);
        WriteIntegrity(64, partitionLength);
        for (uint32_t s : {256u, total - 1}) {
            uint8_t* d = Sector(s);
            Put32(d + 16, 16 * kBlock);
            Put32(d + 20, 32);
            Put32(d + 24, 16 * kBlock);
            Put32(d + 28, 48);
            Tag(d, 2, tagVersion, s, 512);
        }
        if (metadata) WriteMetadataFiles(partitionLength);
    }

    void WriteSequence(uint32_t at, uint32_t partitionLength, uint32_t total) {
        Node t;
        uint8_t* d = Sector(at);  // Primary Volume Descriptor
        Put32(d + 16, 1);
        DString(d + 24, 32, opt.volume);
        Put16(d + 56, 1); Put16(d + 58, 1); Put16(d + 60, 2); Put16(d + 62, 2);
        Put32(d + 64, 1); Put32(d + 68, 1);
        DString(d + 72, 128, "0123456789ABCDEFvexlon");
        CharSpec(d + 200); CharSpec(d + 264);
        Timestamp(d + 376, t);
        Entity(d + 388, "*Vexlon udfmaster");
        Tag(d, 1, tagVersion, at, 512);
        d = Sector(at + 1);  // Implementation Use: LV Info
        Put32(d + 16, 2);
        Entity(d + 20, "*UDF LV Info", opt.revision);
        CharSpec(d + 52);
        DString(d + 116, 128, opt.volume);
        Entity(d + 352, "*Vexlon udfmaster");
        Tag(d, 4, tagVersion, at + 1, 512);
        d = Sector(at + 2);  // Partition Descriptor
        Put32(d + 16, 3);
        Put16(d + 20, 1);
        Put16(d + 22, 0);
        Entity(d + 24, nsr3 ? "+NSR03" : "+NSR02");
        Put32(d + 184, 1);
        Put32(d + 188, kPartitionStart);
        Put32(d + 192, partitionLength);
        Entity(d + 196, "*Vexlon udfmaster");
        Tag(d, 5, tagVersion, at + 2, 512);
        d = Sector(at + 3);  // Logical Volume Descriptor
        Put32(d + 16, 4);
        CharSpec(d + 20);
        DString(d + 84, 128, opt.volume);
        Put32(d + 212, kBlock);
        Entity(d + 216, "*OSTA UDF Compliant", opt.revision);
        Put32(d + 248, kBlock);
        Put32(d + 252, fsdBlock);
        Put16(d + 256, uint16_t(MetaRef()));
        uint32_t mapBytes = metadata ? 6 + 64 : 6;
        Put32(d + 264, mapBytes);
        Put32(d + 268, metadata ? 2 : 1);
        Entity(d + 272, "*Vexlon udfmaster");
        Put32(d + 432, 2 * kBlock);
        Put32(d + 436, 64);
        uint8_t* m = d + 440;
        m[0] = 1; m[1] = 6; Put16(m + 2, 1); Put16(m + 4, 0);
        if (metadata) {
            m += 6;
            m[0] = 2; m[1] = 64;
            Entity(m + 4, "*UDF Metadata Partition", opt.revision);
            Put16(m + 36, 1);
            Put16(m + 38, 0);
            Put32(m + 40, 0);
            Put32(m + 44, 1);
            Put32(m + 48, 0xFFFFFFFFu);
            Put32(m + 52, 32);
            Put16(m + 56, 1);
        }
        Tag(d, 6, tagVersion, at + 3, 440 + mapBytes);
        d = Sector(at + 4);  // Unallocated Space Descriptor
        Put32(d + 16, 5);
        Tag(d, 7, tagVersion, at + 4, 24);
        Tag(Sector(at + 5), 8, tagVersion, at + 5, 512);
        (void)total;
    }

    void WriteIntegrity(uint32_t at, uint32_t partitionLength) {
        uint32_t maps = metadata ? 2 : 1;
        uint8_t* d = Sector(at);
        Node t;
        Timestamp(d + 16, t);
        Put32(d + 28, 1);  // closed
        Put64(d + 40, uniqueId);
        Put32(d + 72, maps);
        Put32(d + 76, 46);
        for (uint32_t i = 0; i < maps; ++i) {
            Put32(d + 80 + 4 * i, 0);
            Put32(d + 80 + 4 * maps + 4 * i, i == 0 ? partitionLength : metaReserve);
        }
        uint8_t* iu = d + 80 + 8 * maps;
        Entity(iu, "*Vexlon udfmaster");
        Put32(iu + 32, files);
        Put32(iu + 36, dirs);
        Put16(iu + 40, opt.revision);
        Put16(iu + 42, opt.revision);
        Put16(iu + 44, opt.revision);
        Tag(d, 9, tagVersion, at, 80 + 8 * maps + 46);
        Tag(Sector(at + 1), 8, tagVersion, at + 1, 512);
    }

    // The Metadata File and its mirror: one extent over the metadata blocks.
    void WriteMetadataFiles(uint32_t partitionLength) {
        (void)partitionLength;
        for (uint32_t which = 0; which < 2; ++which) {
            uint8_t* d = Sector(kPartitionStart + which);
            d[20] = 4;
            Put16(d + 24, 1);
            d[27] = which ? 251 : 250;
            Put16(d + 34, kShort);
            Put32(d + 36, 0xFFFFFFFFu);
            Put32(d + 40, 0xFFFFFFFFu);
            Put16(d + 48, 1);
            Put64(d + 56, uint64_t(metaReserve) * kBlock);
            Put64(d + 64, uint64_t(metaReserve) * kBlock);
            Put64(d + 72, metaReserve);
            Put32(d + 128, 1);
            Entity(d + 168, "*Vexlon udfmaster");
            Put32(d + 212, 8);
            Put32(d + 216, metaReserve * kBlock);
            Put32(d + 220, metaBase);
            Tag(d, 266, tagVersion, which, 216 + 8);
        }
        image.metadataFileSector = kPartitionStart;
    }
};

}  // namespace detail

inline Image Build(const Node& root, const Options& options) {
    detail::Builder b(options);
    return b.Build(root);
}

inline Node Dir(const std::string& name, std::vector<Node> children = {}) {
    Node n;
    n.name = name;
    n.directory = true;
    n.children = std::move(children);
    return n;
}

inline Node File(const std::string& name, const std::string& data) {
    Node n;
    n.name = name;
    n.data = data;
    return n;
}

// Deterministic bytes for test files.
inline std::string Pattern(size_t size, uint32_t seed) {
    std::string s(size, '\0');
    uint32_t x = seed * 2654435761u + 1;
    for (size_t i = 0; i < size; ++i) {
        x = x * 1103515245u + 12345u;
        s[i] = char(x >> 16);
    }
    return s;
}

}  // namespace udfmaster
