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

}  // namespace

FileNode* FindPath(const CUdfReader& reader, const char* path) {
    if (!path || !reader.root) return reader.root;
    std::vector<std::string> parts = SplitPath(path);
    if (parts.empty()) return reader.root;
    size_t part = 0;
    for (FileNode* node = reader.root->firstChild; node;) {
        if (parts[part] == NodeName(node)) {
            if (++part == parts.size()) return node;
            node = node->firstChild;
        } else {
            node = node->nextSibling;
        }
    }
    return nullptr;
}

int HasSubdirectory(const FileNode* node) {
    if (!node) return 0;
    for (const FileNode* child = node->firstChild; child; child = child->nextSibling)
        if (child->isDirectory) return 1;
    return 0;
}
