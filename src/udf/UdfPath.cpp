// Finding a node by its path, and whether a directory has subdirectories.

#include <cstring>
#include <string>
#include <vector>

#include "udf/UdfTree.h"

namespace {

constexpr size_t kMaxPath = 259;

bool IsSeparator(char c) { return c == '/' || c == '\\'; }

std::vector<std::string> SplitPath(const char* path) {
    std::string copy(path, strnlen(path, kMaxPath));
    std::vector<std::string> parts;
    size_t i = 0;
    while (i < copy.size()) {
        while (i < copy.size() && IsSeparator(copy[i])) ++i;
        size_t start = i;
        while (i < copy.size() && !IsSeparator(copy[i])) ++i;
        if (i > start) parts.push_back(copy.substr(start, i - start));
    }
    return parts;
}

// Walks down from the root, one component a level, names compared byte for
// byte.
FileNode* FindParts(const CUdfReader& reader, const std::vector<std::string>& parts) {
    if (parts.empty()) return reader.root;
    size_t part = 0;
    for (FileNode* node = reader.root ? reader.root->firstChild : nullptr; node;) {
        if (parts[part] == NodeName(node)) {
            if (++part == parts.size()) return node;
            node = node->firstChild;
        } else {
            node = node->nextSibling;
        }
    }
    return nullptr;
}

}  // namespace

FileNode* FindPath(const CUdfReader& reader, const char* path) {
    if (!path || !reader.root) return reader.root;
    return FindParts(reader, SplitPath(path));
}

int HasSubdirectory(const FileNode* node) {
    if (!node) return 0;
    for (const FileNode* child = node->firstChild; child; child = child->nextSibling)
        if (child->isDirectory) return 1;
    return 0;
}

namespace {

// Splits at "/" and "\" except where a backslash escapes the next "/" or
// "\"; empty components (runs of separators) are dropped.
std::vector<std::string> SplitEscapedPath(const std::string& path) {
    std::vector<std::string> parts;
    std::string part;
    for (size_t i = 0; i < path.size() && i < kMaxPath; ++i) {
        char c = path[i];
        if (c == '\\' && i + 1 < path.size() && IsSeparator(path[i + 1])) {
            part += path[++i];
        } else if (IsSeparator(c)) {
            if (!part.empty()) parts.push_back(part);
            part.clear();
        } else {
            part += c;
        }
    }
    if (!part.empty()) parts.push_back(part);
    return parts;
}

}  // namespace

FileNode* FindEscapedPath(const CUdfReader& reader, const std::string& path) {
    return FindParts(reader, SplitEscapedPath(path));
}
