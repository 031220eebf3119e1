#include "udf/UdfListing.h"

#include <cstdio>

namespace {

// Line-drawing characters of code page 936, written as bytes whatever the
// system's code page is.
const char kVertical[] = "\xA9\xA6 ";
const char kTee[] = "\xA9\xC0\xA9\xA4";
const char kCorner[] = "\xA9\xB8\xA9\xA4";
const char kVersion[] = "1.3.0.0";

void AncestorPieces(const FileNode* root, const FileNode* node, std::string& prefix) {
    if (node == root || node->parent == root || node->parent == node) return;
    AncestorPieces(root, node->parent, prefix);
    prefix += node->parent->nextSibling ? kVertical : "  ";
    prefix += "  ";
}

void WriteNode(const FileNode* root, const FileNode* node, std::string& out) {
    std::string prefix;
    AncestorPieces(root, node, prefix);
    out += prefix;
    out += node->nextSibling ? kTee : kCorner;
    out += NodeName(node);
    if (node->isDirectory) {
        out += "\n";
        for (const FileNode* child = node->firstChild; child; child = child->nextSibling) WriteNode(root, child, out);
        return;
    }
    char text[48];
    std::snprintf(text, sizeof text, " %d", static_cast<int>(node->extentCount));
    out += text;
    for (uint32_t i = 0; i < node->extentCount; ++i) {
        std::snprintf(text, sizeof text, " (%d, %d)", static_cast<int>(node->extents[i].start),
                      static_cast<int>(node->extents[i].length));
        out += text;
    }
    out += "\n";
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

std::string FormatFileSystemListing(const CUdfReader* reader) {
    std::string out = "// Exported by Vexlon Insepctor ";
    out += kVersion;
    out += "\n//\n\n";
    if (reader && reader->root)
        for (const FileNode* child = reader->root->firstChild; child; child = child->nextSibling)
            WriteNode(reader->root, child, out);
    return ToTextModeBytes(out);
}
