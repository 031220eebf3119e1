// Mounts a folded disc (see FoldedDisc.h), walks the whole tree, reads file
// data through the aligned and the unaligned paths, extracts one small
// file, converts every timestamp, looks nodes up by their paths and formats
// the export listing.
// The seeds in fuzz/corpus/fuzz_udf are folded volumes that mount.

#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "FoldedDisc.h"
#include "udf/UdfListing.h"
#include "udf/UdfReader.h"
#include "udf/UdfTree.h"

namespace {

// The harness's own work per input stays small; only the reader's own
// bounds decide how much a hostile tree costs to mount and list.
constexpr uint32_t kFilesRead = 256;
constexpr uint32_t kPathsLooked = 16;
constexpr uint32_t kAlignedRead = 0x10000;
constexpr uint64_t kExtractedBytes = 0x40000;

struct WalkState {
    CUdfReader& reader;
    std::vector<uint8_t> buffer;
    uint32_t filesRead = 0;
    uint32_t pathsLooked = 0;
    bool extracted = false;
    uint64_t checksum = 0;  // keeps the reads from being optimised away
};

// One scratch file per process for extractions, removed at exit.
const char* ScratchPath() {
    static std::string path;
    if (path.empty()) {
        const char* dir = std::getenv("TMPDIR");
        path = std::string(dir && *dir ? dir : "/tmp") + "/fuzz_udf-extract-" + std::to_string(getpid());
        std::atexit([] { unlink(path.c_str()); });
    }
    return path.c_str();
}

std::string PathOf(const FileNode* node) {
    std::string path = NodeName(node);
    for (const FileNode* p = node->parent; p && p->parent != p; p = p->parent)
        path = std::string(NodeName(p)) + "/" + path;
    return path;
}

// The whole-sector path from the start, the bounce path at an odd offset,
// and the tail, which maps through the last extents.
void ReadFile(WalkState& state, const FileNode* node) {
    uint32_t got = 0;
    uint64_t size = node->size;
    uint32_t aligned = size >= kAlignedRead ? kAlignedRead : static_cast<uint32_t>(size & ~uint64_t(2047));
    if (aligned) ReadFileData(state.reader, node, 0, state.buffer.data(), aligned, got);
    ReadFileData(state.reader, node, 3, state.buffer.data(), 5000, got);
    uint64_t tail = size > 100 ? size - 100 : 0;
    ReadFileData(state.reader, node, tail, state.buffer.data(), 100, got);
    state.checksum += state.buffer[0] + got;
    // One extraction per input, of a file small enough to write quickly.
    if (!state.extracted && size <= kExtractedBytes) {
        state.extracted = true;
        state.checksum += ExtractFile(state.reader, node, ScratchPath());
    }
}

void Visit(WalkState& state, const FileNode* node) {
    uint64_t time = 0;
    TimestampToFileTime(node->modified, time);
    state.checksum += time;
    if (state.pathsLooked < kPathsLooked && (node->isDirectory || node->nextSibling == nullptr)) {
        ++state.pathsLooked;
        state.checksum += FindPath(state.reader, PathOf(node).c_str()) == node;
    }
    if (node->isDirectory) {
        state.checksum += HasSubdirectory(node);
    } else if (state.filesRead < kFilesRead) {
        ++state.filesRead;
        ReadFile(state, node);
    }
}

void Walk(WalkState& state, const FileNode* dir, int depth) {
    for (const FileNode* n = dir->firstChild; n; n = n->nextSibling) {
        Visit(state, n);
        if (n->isDirectory && depth < 200) Walk(state, n, depth + 1);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    folded::CFoldedDevice device(data, size);
    CUdfReader reader;
    if (reader.MountDevice(&device) && reader.root) {
        WalkState state{reader, std::vector<uint8_t>(kAlignedRead)};
        Walk(state, reader.root, 0);
        FormatFileSystemListing(&reader);
        FindPath(reader, "a/b");
        volatile uint64_t sink = state.checksum;
        (void)sink;
    }
    return 0;
}
