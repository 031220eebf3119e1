// Building the tree: directories, their File Identifier Descriptors and the
// entries they point to.

#include "udf/UdfTree.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "udf/UdfEntry.h"
#include "udf/UdfLimits.h"

namespace {

constexpr uint32_t kSector = 2048;

uint64_t RoundUpToSector(uint64_t bytes) { return (bytes + kSector - 1) & ~static_cast<uint64_t>(kSector - 1); }

// Returns the characters copied, which a NUL inside the name outnumbers.
uint32_t CopyName(const ByteReader& fid, uint32_t lfi, uint32_t liu, char* name) {
    if (lfi <= 1) return 0;
    size_t id = 38 + static_cast<size_t>(liu);
    if (fid.U8(id) == 16) {
        uint32_t count = ((lfi - 2) >> 1) + 1;
        for (uint32_t i = 0; i < count; ++i) name[i] = static_cast<char>(fid.U8(id + 2 + 2 * static_cast<size_t>(i)));
        return count;
    }
    for (uint32_t i = 0; i + 1 < lfi; ++i) name[i] = static_cast<char>(fid.U8(id + 1 + i));
    return lfi - 1;
}

void SetDirectoryLocation(CUdfReader& reader, FileNode* node, const ByteReader& fe, const EntryInfo& info) {
    uint32_t at = info.adOffset;
    IcbLocation location{};
    if (info.adType == kAdEmbedded) {
        node->location = IcbLocation{3, static_cast<uint16_t>(info.adOffset), node->icbSector, info.adLength};
        node->sector = node->icbSector;
        return;
    }
    if (info.count == 0) return;
    if (info.adType == kAdShort)
        location = IcbLocation{0, 0, fe.LE32(at + 4), fe.LE32(at)};
    else if (info.adType == kAdLong)
        location = IcbLocation{1, fe.LE16(at + 8), fe.LE32(at + 4), fe.LE32(at)};
    else
        return;
    node->sector = reader.TranslateAddress(location);
    node->location = location;
}

// One allocation descriptor of a file: recorded extents are kept, chains
// followed, unrecorded and unallocated ones dropped (so holes vanish).
void TakeDescriptor(CUdfReader& reader, IcbLocation address, uint32_t length, ExtentList& list) {
    IcbLocation chain = address;
    uint32_t sector = reader.TranslateAddress(address);
    if (length < 0x40000000u)
        AppendExtent(list, sector, length);
    else if (ExtentType(length) == 3) {
        chain.length = ExtentBytes(length);
        FollowAllocationChain(reader, chain, list);
    }
}

void CollectExtents(CUdfReader& reader, FileNode* node, const ByteReader& fe, const EntryInfo& info) {
    if (info.adType != kAdShort && info.adType != kAdLong) return;
    ExtentList list;
    for (uint32_t i = 0; i < info.count; ++i) {
        if (info.adType == kAdShort) {
            uint32_t at = info.adOffset + 8 * i;
            TakeDescriptor(reader, IcbLocation{0, 0, fe.LE32(at + 4), 0}, fe.LE32(at), list);
        } else {
            uint32_t at = info.adOffset + 16 * i;
            TakeDescriptor(reader, IcbLocation{1, fe.LE16(at + 8), fe.LE32(at + 4), 0}, fe.LE32(at), list);
        }
    }
    if (list.extents.empty()) return;
    uint32_t count = static_cast<uint32_t>(list.extents.size());
    if (reader.treeExtents + count > kUdfMaxTreeExtents) return;
    reader.treeExtents += count;
    auto* table = static_cast<FileExtent*>(ReaderAllocate(reader, count * static_cast<uint32_t>(sizeof(FileExtent))));
    if (!table) return;
    std::memcpy(static_cast<void*>(table), list.extents.data(), count * sizeof(FileExtent));
    node->extentCount = count;
    node->extents = table;
    for (const FileExtent& e : list.extents)
        if (e.start < reader.lowestDataSector) reader.lowestDataSector = e.start;
}

// The sector that names a directory's data: where it starts, or the entry
// that embeds it.
uint32_t DirectoryKey(CUdfReader& reader, IcbLocation location) {
    return location.kind == 3 ? location.location : reader.TranslateAddress(location);
}

// Directory data over the whole mount: never more than the medium holds.
uint64_t DirectoryBudget(const CUdfReader& reader) {
    uint64_t budget = kUdfMaxTreeDirectoryBytes;
    if (reader.medium.known && reader.medium.sectors * kSector < budget) budget = reader.medium.sectors * kSector;
    return budget;
}

// Fills a node from its File Entry: time, and a file's size and extents or
// a directory's data location.
void ReadNodeEntry(CUdfReader& reader, FileNode* node, const uint8_t* longAd) {
    uint32_t got = reader.ReadLongAd(longAd, reader.entryBuffer);
    if (got == 0) return;
    ByteReader fe(reader.entryBuffer.data, got);
    EntryInfo info = ParseFileEntry(fe);
    if (!info.valid) return;
    for (uint32_t i = 0; i < 12; ++i) node->modified[i] = fe.U8(info.modifiedOffset + i);
    if (node->isDirectory) {
        SetDirectoryLocation(reader, node, fe, info);
    } else {
        node->size = fe.LE64(56);
        CollectExtents(reader, node, fe, info);
    }
}

// A node made from its File Identifier, before its entry is read.
FileNode* CreateNode(CUdfReader& reader, const ByteReader& fid) {
    uint32_t lfi = fid.U8(19), liu = fid.LE16(36);
    auto* node = static_cast<FileNode*>(ReaderAllocate(reader, kFileNodeRecordSize + lfi));
    if (!node) return nullptr;
    ++reader.nodeCount;
    node->isDirectory = (fid.U8(18) >> 1) & 1;
    IcbLocation icb{1, fid.LE16(28), fid.LE32(24), 0};
    node->icbSector = reader.TranslateAddress(icb);
    node->icbLength = fid.LE32(20);
    uint32_t copied = CopyName(fid, lfi, liu, NodeName(node));
    if (std::strlen(NodeName(node)) < copied) reader.namesWithNul[node] = std::string(NodeName(node), copied);
    return node;
}

// The whole tree is read in the order of the disc rather than the order of
// the tree: every entry and directory still to be read waits in a queue by
// its sector, and the walk takes the nearest one at or after where the last
// read was, going round again from the lowest when none is left ahead (as an
// elevator does). Nodes are linked in directory order when their identifiers
// are read, so the tree is the same; the drive moves forward through the
// metadata instead of seeking back and forth between a directory's data and
// its children's entries.
class CTreeWalk {
public:
    explicit CTreeWalk(CUdfReader& r) : reader(r) {}

    void Directory(FileNode* node, uint32_t depth) {
        PendingRead p{DirectoryKey(reader, node->location), 0, depth, node, true, {}};
        Push(p);
    }

    void Run() {
        PendingRead p{};
        while (Pop(p)) {
            head = p.sector;
            if (p.directoryData) ReadData(p);
            else ReadEntry(p);
        }
    }

private:
    struct PendingRead {
        uint32_t sector;
        uint64_t order;  // reads of one sector are taken in the order they were asked for
        uint32_t depth;
        FileNode* node;
        bool directoryData;
        uint8_t longAd[16];
    };
    struct Later {
        bool operator()(const PendingRead& a, const PendingRead& b) const {
            return a.sector != b.sector ? a.sector > b.sector : a.order > b.order;
        }
    };

    void Push(PendingRead p) {
        p.order = asked++;
        std::vector<PendingRead>& heap = p.sector >= head ? ahead : behind;
        heap.push_back(p);
        std::push_heap(heap.begin(), heap.end(), Later());
    }

    bool Pop(PendingRead& p) {
        if (ahead.empty()) std::swap(ahead, behind);
        if (ahead.empty()) return false;
        std::pop_heap(ahead.begin(), ahead.end(), Later());
        p = ahead.back();
        ahead.pop_back();
        return true;
    }

    void ReadEntry(const PendingRead& p) {
        ReadNodeEntry(reader, p.node, p.longAd);
        // A directory's data is read only above the depth bound.
        if (p.node->isDirectory && p.depth < kUdfMaxDirectoryDepth) Directory(p.node, p.depth);
    }

    void ReadData(const PendingRead& p) {
        IcbLocation location = p.node->location;
        uint64_t length = location.length < kUdfMaxDirectoryBytes ? location.length : kUdfMaxDirectoryBytes;
        if (reader.directoryBytesRead + length > DirectoryBudget(reader)) return;
        // A directory whose data was read already (an ancestor, or one named
        // from elsewhere too) is not walked again: on a well-formed disc every
        // directory has data of its own.
        if (length > 0 && !reader.readDirectories.insert(p.sector).second) return;
        reader.directoryBytesRead += length;
        if (!reader.GrowTo(reader.descriptorBuffer, RoundUpToSector(length))) return;
        location.length = static_cast<uint32_t>(length);
        uint32_t got = reader.ReadLocation(location, reader.descriptorBuffer.data);
        if (got == 0) return;
        ByteReader bytes(reader.descriptorBuffer.data, got < length ? got : length);
        FileNode* last = nullptr;
        for (size_t offset = 0; offset < bytes.Size();) {
            uint32_t characteristics = bytes.U8(offset + 18), lfi = bytes.U8(offset + 19);
            uint32_t liu = bytes.LE16(offset + 36);
            size_t step = (38 + static_cast<size_t>(liu) + lfi + 3) & ~static_cast<size_t>(3);
            if (lfi != 0 && !(characteristics & 4)) {
                ByteReader fid = bytes.Sub(offset, bytes.Size() - offset);
                FileNode* node = reader.nodeCount < kUdfMaxTreeNodes ? CreateNode(reader, fid) : nullptr;
                if (!node) break;
                node->parent = p.node;
                if (!p.node->firstChild) p.node->firstChild = node;
                if (last) last->nextSibling = node;
                last = node;
                if (node->icbLength != 0) {
                    PendingRead entry{node->icbSector, 0, p.depth + 1, node, false, {}};
                    for (uint32_t i = 0; i < 16; ++i) entry.longAd[i] = fid.U8(20 + i);
                    Push(entry);
                }
            }
            offset += step;
        }
    }

    CUdfReader& reader;
    std::vector<PendingRead> ahead, behind;
    uint32_t head = 0;
    uint64_t asked = 0;
};

}  // namespace

bool ReadDirectory(CUdfReader& reader, IcbLocation location, FileNode* dirNode) {
    uint32_t depth = 0;
    for (const FileNode* p = dirNode; p && p->parent != p && depth < kUdfMaxDirectoryDepth; p = p->parent) ++depth;
    dirNode->location = location;
    CTreeWalk walk(reader);
    walk.Directory(dirNode, depth);
    walk.Run();
    return true;
}

FileNode* MakeNode(CUdfReader& reader, const ByteReader& fid) {
    FileNode* node = CreateNode(reader, fid);
    if (!node || node->icbLength == 0) return node;
    uint8_t longAd[16];
    for (uint32_t i = 0; i < 16; ++i) longAd[i] = fid.U8(20 + i);
    ReadNodeEntry(reader, node, longAd);
    return node;
}

void AppendExtent(ExtentList& list, uint32_t sector, uint32_t length) {
    uint64_t end = static_cast<uint64_t>(sector) + ((static_cast<uint64_t>(length) + kSector - 1) / kSector);
    if (end > 0x100000000ull) return;
    if (list.extents.size() < kUdfMaxFileExtents) list.extents.push_back(FileExtent{sector, length});
}

std::string ShownName(const CUdfReader* reader, const FileNode* node) {
    if (!node) return std::string();
    std::string name = NodeName(node);
    if (reader) {
        auto whole = reader->namesWithNul.find(node);
        if (whole != reader->namesWithNul.end()) name = whole->second;
    }
    for (char& c : name)
        if (static_cast<unsigned char>(c) < 0x20) c = '?';
    return name;
}
