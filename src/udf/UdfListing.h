#pragma once
// The text listing of a volume's tree that the File page exports
// ("filesystem.txt"), as the bytes the file holds: written in text mode, so
// every line ends in CR LF.

#include <cstdio>
#include <string>

#include "udf/UdfReader.h"

// Takes the listing piece by piece, so that it is never held whole.
class CTextSink {
public:
    virtual ~CTextSink() = default;
    // False when the bytes could not be taken; the listing then stops.
    virtual bool Write(const char* data, size_t size) = 0;
};

// Appends to a string.
class CStringSink : public CTextSink {
public:
    bool Write(const char* data, size_t size) override {
        text.append(data, size);
        return true;
    }
    std::string text;
};

// Writes to an open C file.
class CFileSink : public CTextSink {
public:
    explicit CFileSink(std::FILE* to) : file(to) {}
    bool Write(const char* data, size_t size) override { return std::fwrite(data, 1, size, file) == size; }

private:
    std::FILE* file;
};

// With no reader or no tree, only the header lines. A listing that would
// pass kUdfMaxListingBytes ends with a line saying it was cut. False when
// the sink failed.
bool WriteFileSystemListing(const CUdfReader* reader, CTextSink& sink);

// The same listing as one string, for small volumes and the tests.
std::string FormatFileSystemListing(const CUdfReader* reader);

// What text mode makes of "\n" when it writes the file.
std::string ToTextModeBytes(const std::string& text);
