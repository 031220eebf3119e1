#include "udf/UdfListing.h"

#include <cstdio>
#include <vector>

#include "udf/UdfLimits.h"
#include "udf/UdfTree.h"

namespace {

// Line-drawing characters of code page 936, written as bytes whatever the
// system's code page is.
const char kVertical[] = "\xA9\xA6 ";
const char kTee[] = "\xA9\xC0\xA9\xA4";
const char kCorner[] = "\xA9\xB8\xA9\xA4";
const char kVersion[] = "1.3.0.0";
const char kCut[] = "// Listing cut here: the volume describes more than a listing may hold\r\n";
constexpr size_t kFlushBytes = 0x10000;

// Collects lines and hands them to the sink in large pieces, keeping the
// budget of the whole listing.
class CListingWriter {
public:
    explicit CListingWriter(CTextSink& to) : sink(to) {}
    // False once the budget is spent or the sink failed.
    bool Line(const std::string& line) {
        if (stopped) return false;
        if (total + line.size() + sizeof kCut > kUdfMaxListingBytes) {
            pending += kCut;
            stopped = true;
            return false;
        }
        total += line.size();
        pending += line;
        if (pending.size() >= kFlushBytes) Flush();
        return !stopped;
    }
    bool Finish() {
        Flush();
        return !failed;
    }

private:
    void Flush() {
        if (!pending.empty() && !sink.Write(pending.data(), pending.size())) failed = stopped = true;
        pending.clear();
    }
    CTextSink& sink;
    std::string pending;
    uint64_t total = 0;
    bool stopped = false;
    bool failed = false;
};

std::string NodeLine(const CUdfReader* reader, const FileNode* node, const std::string& prefix) {
    std::string line = prefix;
    line += node->nextSibling ? kTee : kCorner;
    line += ShownName(reader, node);
    if (!node->isDirectory) {
        char text[48];
        std::snprintf(text, sizeof text, " %d", static_cast<int>(node->extentCount));
        line += text;
        for (uint32_t i = 0; i < node->extentCount; ++i) {
            std::snprintf(text, sizeof text, " (%d, %d)", static_cast<int>(node->extents[i].start),
                          static_cast<int>(node->extents[i].length));
            line += text;
        }
    }
    line += "\r\n";
    return line;
}

// Depth first in disc order; the prefix grows by one piece per level entered
// and shrinks by one per level left, instead of being rebuilt for each line
// from the node's ancestors.
void WriteTree(const CUdfReader* reader, CListingWriter& out) {
    struct Level {
        const FileNode* next;
        size_t prefixLength;
    };
    std::string prefix;
    std::vector<Level> stack{{reader->root->firstChild, 0}};
    while (!stack.empty()) {
        Level& level = stack.back();
        const FileNode* node = level.next;
        if (!node) {
            prefix.resize(level.prefixLength);
            stack.pop_back();
            continue;
        }
        level.next = node->nextSibling;
        prefix.resize(level.prefixLength);
        if (!out.Line(NodeLine(reader, node, prefix))) return;
        if (!node->isDirectory || !node->firstChild) continue;
        prefix += node->nextSibling ? kVertical : "  ";
        prefix += "  ";
        stack.push_back(Level{node->firstChild, prefix.size()});
    }
}

}  // namespace

std::string ToTextModeBytes(const std::string& text) {
    std::string out;
    out.reserve(text.size() + text.size() / 16);
    for (char c : text) {
        if (c == '\n') out += '\r';
        out += c;
    }
    return out;
}

bool WriteFileSystemListing(const CUdfReader* reader, CTextSink& sink) {
    CListingWriter out(sink);
    out.Line(std::string("// Exported by Vexlon Insepctor ") + kVersion + "\r\n//\r\n\r\n");
    if (reader && reader->root) WriteTree(reader, out);
    return out.Finish();
}

std::string FormatFileSystemListing(const CUdfReader* reader) {
    CStringSink sink;
    WriteFileSystemListing(reader, sink);
    return sink.text;
}
