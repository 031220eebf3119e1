#include "report/UdfReport.h"

#include "udf/UdfListing.h"
#include "udf/UdfReader.h"
#include "udf/UdfTree.h"

std::string FilesReport(CDevice& device) {
    CStringSink sink;
    FilesReport(device, sink);
    return sink.text;
}

bool FilesReport(CDevice& device, CTextSink& sink) {
    CUdfReader reader;
    bool mounted = reader.MountDevice(&device);
    return WriteFileSystemListing(mounted ? &reader : nullptr, sink);
}

bool ExtractReport(CDevice& device, const std::string& path, const std::string& target, std::string& error,
                   CProgress* progress) {
    CUdfReader reader;
    if (!reader.MountDevice(&device)) {
        error = "no UDF volume on the disc";
        return false;
    }
    const FileNode* node = FindEscapedPath(reader, path);
    if (!node || node == reader.root) {
        error = "no such file on the disc: " + path;
        return false;
    }
    if (node->isDirectory) {
        error = path + " is a directory";
        return false;
    }
    std::string why;
    if (!ExtractFile(reader, node, target.c_str(), &why, progress)) {
        error = "extraction of " + path + " to " + target + " failed: " + why;
        return false;
    }
    return true;
}
