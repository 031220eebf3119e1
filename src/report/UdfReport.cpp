#include "report/UdfReport.h"

#include "udf/UdfListing.h"
#include "udf/UdfReader.h"
#include "udf/UdfTree.h"

std::string FilesReport(CDevice& device) {
    CUdfReader reader;
    bool mounted = reader.MountDevice(&device);
    return FormatFileSystemListing(mounted ? &reader : nullptr);
}

bool ExtractReport(CDevice& device, const std::string& path, const std::string& target, std::string& error) {
    CUdfReader reader;
    if (!reader.MountDevice(&device)) {
        error = "no UDF volume on the disc";
        return false;
    }
    const FileNode* node = FindPath(reader, path.c_str());
    if (!node || node == reader.root) {
        error = "no such file on the disc: " + path;
        return false;
    }
    if (node->isDirectory) {
        error = path + " is a directory";
        return false;
    }
    if (!ExtractFile(reader, node, target.c_str())) {
        error = "extraction of " + path + " to " + target + " failed (the file may be partly written)";
        return false;
    }
    return true;
}
