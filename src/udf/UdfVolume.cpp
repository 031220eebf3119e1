// Volume recognition, the Main Volume Descriptor Sequence, partition maps,
// the Metadata File and the File Set Descriptor.

#include <cstring>

#include "udf/UdfEntry.h"
#include "udf/UdfLimits.h"
#include "udf/UdfReader.h"

namespace {

constexpr uint32_t kSector = 2048;
constexpr uint32_t kRecognitionSectors = 10;
constexpr uint32_t kAnchorSector = 256;
constexpr uint32_t kMapsOffset = 440;
const char kMetadataMapId[] = "*UDF Metadata Partition";

bool IdentifierIs(const uint8_t* sector, const char* id) { return std::memcmp(sector + 1, id, 5) == 0; }

}  // namespace

bool CUdfReader::RecognizeVolume() {
    bool found = false;
    uint8_t* sector = descriptorBuffer.data;
    for (uint32_t i = 0; i < kRecognitionSectors; ++i) {
        if (CachedRead(16 + i, kSector, sector) == 0) break;
        if (IdentifierIs(sector, "CD001")) flags |= kUdfFlagIso9660;
        if (IdentifierIs(sector, "NSR02")) {
            flags |= kUdfFlagNsr02;
            found = true;
        }
        if (IdentifierIs(sector, "NSR03")) {
            flags |= kUdfFlagNsr03;
            found = true;
        }
        if (sector[6] == 0) break;
    }
    return found;
}

bool CUdfReader::ReadVolumeDescriptors() {
    uint8_t* sector = descriptorBuffer.data;
    if (CachedRead(kAnchorSector, kSector, sector) == 0) return false;
    ByteReader anchor(sector, kSector);
    uint32_t count = anchor.LE32(16) >> 11;
    uint32_t start = anchor.LE32(20);
    if (count > kUdfMaxDescriptorSequence) count = kUdfMaxDescriptorSequence;
    uint8_t fsdLongAd[16] = {};
    for (uint32_t k = 0; k < count; ++k) {
        if (start + static_cast<uint64_t>(k) >= kUdfInvalidSector) return false;
        if (CachedRead(start + k, kSector, sector) == 0) return false;
        ByteReader d(sector, kSector);
        uint16_t tag = d.LE16(0);
        if (tag == 1 || tag == 4 || tag == 7) continue;
        if (tag == 5) {
            if (partitionCount < kUdfMaxPartitions)
                partitions[partitionCount++] = PartitionRecord{d.LE32(188), d.LE32(192), d.LE16(22)};
            continue;
        }
        if (tag == 6) {
            if (!ReadLogicalVolume(sector, fsdLongAd)) return false;
            continue;
        }
        break;
    }
    for (uint32_t m = 0; m < partitionMapCount; ++m)
        for (uint32_t p = 0; p < partitionCount; ++p)
            if (partitions[p].number == partitionMaps[m].number) partitionMaps[m].partition = &partitions[p];
    if (!LoadMetadataExtents()) return false;
    return ReadFileSet(fsdLongAd);
}

bool CUdfReader::ReadLogicalVolume(const uint8_t* lvd, uint8_t* fsdLongAd) {
    ByteReader d(lvd, kSector);
    std::memcpy(fsdLongAd, lvd + 248, 16);
    uint32_t count = d.LE32(268);
    if ((flags & kUdfFlagNsr02) && count == 2) return false;
    if (count > kUdfMaxPartitionMaps) count = kUdfMaxPartitionMaps;
    partitionMaps = static_cast<PartitionMapEntry*>(
        ReaderAllocate(*this, static_cast<uint32_t>(count * sizeof(PartitionMapEntry))));
    partitionMapCount = partitionMaps ? count : 0;
    uint32_t offset = kMapsOffset;
    for (uint32_t i = 0; i < partitionMapCount; ++i) {
        uint32_t type = d.U8(offset), length = d.U8(offset + 1);
        // A map must advance the walk and stay inside the descriptor.
        if (length < 2 || offset + length > kSector) break;
        PartitionMapEntry& entry = partitionMaps[i];
        entry.type = static_cast<uint8_t>(type);
        if (type == 1) entry.number = d.LE16(offset + 4);
        if (type == 2 && offset + 44 <= kSector && std::memcmp(lvd + offset + 5, kMetadataMapId, 23) == 0) {
            entry.number = d.LE16(offset + 38);
            metadataPresent = true;
            metadataFileLocation = d.LE32(offset + 40);
        }
        offset += length;
    }
    return true;
}

bool CUdfReader::LoadMetadataExtents() {
    if (!metadataPresent) return true;
    for (uint32_t i = 0; i < partitionMapCount; ++i) {
        PartitionMapEntry& entry = partitionMaps[i];
        if (entry.type != 2) continue;
        // The partition number picks the map, as recorded volumes expect.
        if (entry.number >= partitionMapCount || partitionMaps[entry.number].type != 1) return false;
        if (!entry.partition) return false;
        uint64_t sector = static_cast<uint64_t>(entry.partition->start) + metadataFileLocation;
        if (sector >= kUdfInvalidSector || CachedRead(static_cast<uint32_t>(sector), kSector, entryBuffer.data) == 0)
            return false;
        ByteReader fe(entryBuffer.data, kSector);
        EntryInfo info = ParseFileEntry(fe);
        if (info.adType != kAdShort && info.adType != kAdLong) return false;
        uint32_t step = info.adType == kAdShort ? 8 : 16;
        entry.metadataExtents = static_cast<MetadataExtent*>(
            ReaderAllocate(*this, static_cast<uint32_t>(info.count * sizeof(MetadataExtent))));
        if (!entry.metadataExtents) continue;
        entry.metadataExtentCount = static_cast<uint16_t>(info.count);
        for (uint32_t k = 0; k < info.count; ++k) {
            uint32_t at = info.adOffset + k * step;
            MetadataExtent& e = entry.metadataExtents[k];
            e.partition = info.adType == kAdShort ? entry.number : 0;
            e.block = fe.LE32(at + 4);
            e.length = static_cast<uint32_t>((static_cast<uint64_t>(fe.LE32(at)) + kSector - 1) >> 11);
        }
    }
    return true;
}

bool CUdfReader::ReadFileSet(const uint8_t* fsdLongAd) {
    defaultPartition = ByteReader(fsdLongAd, 16).LE16(8);
    uint32_t got = ReadLongAd(fsdLongAd, descriptorBuffer);
    if (got == 0) return false;
    ByteReader fsd(descriptorBuffer.data, got);
    uint8_t name[128] = {}, rootLongAd[16] = {};
    for (uint32_t i = 0; i < 128; ++i) name[i] = fsd.U8(112 + i);
    for (uint32_t i = 0; i < 16; ++i) rootLongAd[i] = fsd.U8(400 + i);
    DStringToNarrow(name, 128, volumeName);
    SetRootLocation(rootLongAd);
    return true;
}

void CUdfReader::SetRootLocation(const uint8_t* rootLongAd) {
    ByteReader ad(rootLongAd, 16);
    IcbLocation icb{1, ad.LE16(8), ad.LE32(4), 0};
    rootIcbSector = TranslateAddress(icb);
    uint32_t got = ReadLongAd(rootLongAd, descriptorBuffer);
    if (got == 0) return;
    ByteReader fe(descriptorBuffer.data, got);
    EntryInfo info = ParseFileEntry(fe);
    if (!info.valid || info.count == 0) return;
    uint32_t at = info.adOffset;
    switch (info.adType) {
    case kAdShort: rootLocation = IcbLocation{1, defaultPartition, fe.LE32(at + 4), fe.LE32(at)}; break;
    case kAdLong: rootLocation = IcbLocation{1, fe.LE16(at + 8), fe.LE32(at + 4), fe.LE32(at)}; break;
    case kAdEmbedded:
        rootLocation = IcbLocation{3, static_cast<uint16_t>(info.adOffset), rootIcbSector, info.adLength};
        break;
    default: break;
    }
}
