// Mounts an in-memory disc image, walks the whole tree, reads every file and
// formats the export listing. Inputs are small, so the disc is folded: input
// sectors 0-2 are the recognition sectors 16-18, input sector 3 is the anchor
// at 256 and the rest follow it from 257 on; every other sector reads as
// zeros. A mutated anchor then reaches any structure within the input.

#include <cstdint>
#include <cstring>
#include <vector>

#include "udf/UdfListing.h"
#include "udf/UdfReader.h"
#include "udf/UdfTree.h"

namespace {

// A drive that answers READ(10) from memory and nothing else.
class CMemoryDevice : public CDevice {
public:
    CMemoryDevice(const uint8_t* data, size_t size) : bytes(data), held(size) {}
    bool Open(const char*) override { return true; }
    bool OpenDriveLetter(uint32_t) override { return true; }
    bool Lock() override { return true; }
    bool Unlock() override { return true; }
    bool Close() override { return true; }
    bool ExecuteCommand(const ScsiCommand& c, ScsiResult*) override {
        if (c.cdb[0] != 0x28 || !c.data) return false;
        uint64_t lba = (uint64_t(c.cdb[2]) << 24) | (c.cdb[3] << 16) | (c.cdb[4] << 8) | c.cdb[5];
        uint64_t count = (c.cdb[7] << 8) | c.cdb[8];
        if (lba + count > kSectors) return false;
        uint8_t* out = static_cast<uint8_t*>(c.data);
        uint64_t n = count * 2048 < c.transferLength ? count * 2048 : c.transferLength;
        for (uint64_t i = 0; i < n; ++i) {
            uint64_t at = InputSector(lba + i / 2048) * 2048 + i % 2048;
            out[i] = at < held ? bytes[at] : 0;
        }
        return true;
    }

private:
    static uint64_t InputSector(uint64_t sector) {
        if (sector >= 16 && sector <= 18) return sector - 16;
        if (sector >= 256) return sector - 253;
        return UINT64_MAX / 4096;  // nothing there
    }
    static constexpr uint64_t kSectors = 1u << 20;  // a 2 GiB disc
    const uint8_t* bytes;
    size_t held;
};

void Walk(CUdfReader& reader, const FileNode* dir, std::vector<uint8_t>& buffer, int depth) {
    for (const FileNode* n = dir->firstChild; n; n = n->nextSibling) {
        if (n->isDirectory) {
            if (depth < 200) Walk(reader, n, buffer, depth + 1);
            continue;
        }
        uint32_t got = 0;
        ReadFileData(reader, n, 0, buffer.data(), static_cast<uint32_t>(buffer.size()), got);
        ReadFileData(reader, n, 3, buffer.data(), 5000, got);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    CMemoryDevice device(data, size);
    CUdfReader reader;
    if (reader.MountDevice(&device) && reader.root) {
        std::vector<uint8_t> buffer(65536);
        Walk(reader, reader.root, buffer, 0);
        FormatFileSystemListing(&reader);
        FindPath(reader, "a/b");
    }
    return 0;
}
