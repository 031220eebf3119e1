// Allocation Extent Descriptor chains: the continuation of a file's
// allocation descriptors in further blocks.

#include <algorithm>
#include <utility>

#include "udf/UdfEntry.h"
#include "udf/UdfLimits.h"
#include "udf/UdfTree.h"

namespace {

struct ChainFrame {
    std::vector<uint8_t> data;
    uint32_t count;
    uint32_t next;
};

// Every continuation counts against the mount, whether it is followed or
// not: a loop or a shared chain costs as much as a new one.
bool CountContinuation(CUdfReader& reader) {
    if (reader.chainReads >= kUdfMaxMountChainDescriptors) return false;
    ++reader.chainReads;
    return true;
}

// Reads one descriptor block; false when it cannot or must not be read.
bool LoadFrame(CUdfReader& reader, IcbLocation location, ExtentList& list, ChainFrame& frame) {
    if (list.chainDescriptors >= kUdfMaxChainDescriptors) return false;
    IcbLocation where = location;
    if (location.kind != 3 && !list.chainSectors.insert(reader.TranslateAddress(where)).second) return false;
    ++list.chainDescriptors;
    if (location.length > kUdfMaxEntryBytes) location.length = kUdfMaxEntryBytes;
    frame.data.assign((location.length + 2047u) & ~2047u, 0);
    if (frame.data.empty()) return false;
    uint32_t got = reader.ReadLocation(location, frame.data.data());
    if (got == 0) return false;
    ByteReader aed(frame.data.data(), std::min<size_t>(got, frame.data.size()));
    uint64_t lad = aed.LE32(20);
    uint64_t room = aed.Size() > 24 ? aed.Size() - 24 : 0;
    frame.count = static_cast<uint32_t>(std::min(lad, room) >> 4);
    frame.next = 0;
    return true;
}

}  // namespace

// Every descriptor of the chain is read as a long_ad, whatever the file
// entry used: the location has been turned into an explicit-partition one
// by the time it is read. A nested chain is walked where it stands, before
// the descriptors after it, without recursion.
void FollowAllocationChain(CUdfReader& reader, IcbLocation location, ExtentList& list) {
    std::vector<ChainFrame> stack(1);
    if (!CountContinuation(reader) || !LoadFrame(reader, location, list, stack.back())) return;
    while (!stack.empty()) {
        ChainFrame& top = stack.back();
        if (top.next >= top.count) {
            stack.pop_back();
            continue;
        }
        ByteReader ad(top.data.data() + 24 + 16 * static_cast<size_t>(top.next), 16);
        ++top.next;
        uint32_t length = ad.LE32(0);
        IcbLocation address{1, ad.LE16(8), ad.LE32(4), 0};
        IcbLocation chain = address;
        uint32_t sector = reader.TranslateAddress(address);
        if (length < 0x40000000u) {
            AppendExtent(list, sector, length);
        } else if (ExtentType(length) == 3 && CountContinuation(reader) && stack.size() < kUdfMaxChainDepth) {
            chain.length = ExtentBytes(length);
            ChainFrame frame;
            if (LoadFrame(reader, chain, list, frame)) stack.push_back(std::move(frame));
        }
    }
}
