#include "emulation/DriveFile.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include "device/TidyCopy.h"

namespace {

struct FieldSpec {
    uint8_t opcode;
    const char* name;
    uint32_t maxValue;
};

// The selecting fields each opcode knows, with the largest value the CDB can
// carry there.
const FieldSpec kFields[] = {
    {0x12, "evpd", 1},      {0x12, "page", 0xFF},    {0x1A, "page", 0x3F}, {0x1A, "pc", 3},
    {0x5A, "page", 0x3F},   {0x5A, "pc", 3},         {0xA4, "format", 0x3F}, {0xA4, "class", 0xFF},
    {0x51, "type", 7},      {0x43, "format", 0xF},   {0x43, "msf", 1},     {0x43, "track", 0xFF},
    {0xAC, "type", 0xFF},   {0xAC, "datatype", 0x1F}, {0xAD, "media", 0xF}, {0xAD, "format", 0xFF},
    {0xAD, "layer", 0xFF},  {0xAD, "address", 0xFFFFFFFFu},
};

const FieldSpec* FindField(uint8_t opcode, const std::string& name) {
    for (const FieldSpec& f : kFields)
        if (f.opcode == opcode && name == f.name) return &f;
    return nullptr;
}

std::string Trim(const std::string& s) {
    size_t b = s.find_first_not_of(" \t\r");
    if (b == std::string::npos) return std::string();
    size_t e = s.find_last_not_of(" \t\r");
    return s.substr(b, e - b + 1);
}

int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// Hex digits [begin, end) of `s`, at most `maxDigits` of them, as a number.
bool ParseHexAt(const std::string& s, size_t begin, size_t end, size_t maxDigits, uint32_t& value) {
    if (end <= begin || end - begin > maxDigits) return false;
    value = 0;
    for (size_t i = begin; i < end; ++i) {
        int digit = HexDigit(s[i]);
        if (digit < 0) return false;
        value = value * 16 + static_cast<uint32_t>(digit);
    }
    return true;
}

bool ParseHex(const std::string& s, size_t maxDigits, uint32_t& value) {
    return ParseHexAt(s, 0, s.size(), maxDigits, value);
}

bool ParseDecimal(const std::string& s, uint64_t maxValue, uint64_t& value) {
    if (s.empty() || s.size() > 19) return false;
    value = 0;
    for (char c : s) {
        if (!std::isdigit(static_cast<unsigned char>(c))) return false;
        value = value * 10 + static_cast<uint64_t>(c - '0');
    }
    return value <= maxValue;
}

bool ParseNumber(const std::string& s, double& value) {
    if (s.empty() || s.size() > 32) return false;
    char* end = nullptr;
    value = std::strtod(s.c_str(), &end);
    return end && *end == 0 && value >= 0 && value < 1e12;
}

// '#' opens a comment at the start of a line or after white space; inside a
// word, such as a device-interface path, it is an ordinary character.
std::string StripComment(const std::string& line) {
    for (size_t i = 0; i < line.size(); ++i)
        if (line[i] == '#' && (i == 0 || line[i - 1] == ' ' || line[i - 1] == '\t')) return line.substr(0, i);
    return line;
}

// White space as the classic locale knows it, which the format was first
// read with.
bool IsSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// The extent [begin, end) of the next word of `s` from `at` on, in place.
bool NextWordAt(const std::string& s, size_t& at, size_t& begin) {
    while (at < s.size() && IsSpace(s[at])) ++at;
    if (at >= s.size()) return false;
    begin = at;
    while (at < s.size() && !IsSpace(s[at])) ++at;
    return true;
}

// The next white-space separated word of `s` from `at` on. Lines are walked
// word by word: a line is never cut into a list of all its words first.
bool NextWord(const std::string& s, size_t& at, std::string& word) {
    size_t begin = 0;
    if (!NextWordAt(s, at, begin)) return false;
    word.assign(s, begin, at - begin);
    return true;
}

// The words of `s`, but no more than `most` + 1 of them: enough for the
// caller to tell that there are too many.
std::vector<std::string> Words(const std::string& s, size_t most) {
    std::vector<std::string> words;
    size_t at = 0;
    std::string w;
    while (words.size() <= most && NextWord(s, at, w)) words.push_back(w);
    return words;
}

bool AllHexBytes(const std::string& line) {
    size_t at = 0;
    std::string w;
    uint32_t byte = 0;
    bool any = false;
    while (NextWord(line, at, w)) {
        if (!ParseHex(w, 2, byte)) return false;
        any = true;
    }
    return any;
}

// A word as an error message quotes it: a long one is cut, so that a line
// of one 100 KiB word does not become a 100 KiB message.
std::string Quoted(const std::string& word) {
    const size_t kShown = 32;
    return "'" + (word.size() > kShown ? word.substr(0, kShown) + "..." : word) + "'";
}

// The name of a line that reads like 'name: value', or empty. Data lines
// never hold a colon, so a header that strayed below the blocks is told
// apart from a bad hex byte.
std::string HeaderName(const std::string& line) {
    size_t colon = line.find(':');
    if (colon == std::string::npos) return std::string();
    std::string name = Trim(line.substr(0, colon));
    if (name.empty()) return std::string();
    for (char c : name)
        if (!std::isalpha(static_cast<unsigned char>(c)) && c != '-') return std::string();
    return name;
}

std::string FolderOf(const std::string& fileName) {
    size_t slash = fileName.find_last_of("/\\");
    return slash == std::string::npos ? std::string() : fileName.substr(0, slash + 1);
}

class Parser {
public:
    Parser(const std::string& name, DriveFile& drive, std::string& error)
        : fileName(name), out(drive), err(error) {}

    bool Line(const std::string& raw, int number) {
        lineNumber = number;
        std::string line = Trim(StripComment(raw));
        if (line.empty()) return true;
        if (line[0] == '>') return StartBlock(line.substr(1));
        if (line[0] == '!') return StatusLine(line.substr(1));
        if (!inBlocks) return HeaderLine(line);
        return DataLine(line);
    }

    bool Finish() { return CloseBlock(); }

    bool FailAt(int number, const std::string& what) {
        lineNumber = number;
        return Fail(what);
    }

private:
    bool Fail(const std::string& what) {
        err = fileName + ":" + std::to_string(lineNumber) + ": " + what;
        return false;
    }

    bool HeaderLine(const std::string& line) {
        size_t colon = line.find(':');
        if (colon == std::string::npos) {
            if (AllHexBytes(line)) return Fail("data bytes need a reply block '> OPCODE' before them");
            return Fail("expected a header line 'name: value' or a reply block '> OPCODE'");
        }
        std::string name = Trim(line.substr(0, colon));
        std::string value = Trim(line.substr(colon + 1));
        if (name == "title") { out.title = value; return true; }
        if (name == "letter") return Letter(value);
        if (name == "address") return Address(value);
        if (name == "device-number") {
            uint64_t n = 0;
            if (!ParseDecimal(value, 0xFFFFFFFFu, n)) return Fail("device-number must be a decimal number below 2^32");
            out.hasDeviceNumber = true;
            out.deviceNumber = static_cast<uint32_t>(n);
            return true;
        }
        if (name == "path") { out.path = value; return true; }
        if (name == "image") {
            if (value.empty()) return Fail("image needs a file name");
            bool absolute = value[0] == '/' || value[0] == '\\' || (value.size() > 1 && value[1] == ':');
            out.imagePath = absolute ? value : FolderOf(fileName) + value;
            return true;
        }
        if (name == "sectors") {
            uint64_t n = 0;
            if (!ParseDecimal(value, 0xFFFFFFFFull + 1, n)) return Fail("sectors must be a decimal number of at most 2^32");
            out.hasSectors = true;
            out.sectors = n;
            return true;
        }
        if (name == "timing") return Timing(value);
        return Fail("unknown header '" + name + "'");
    }

    bool Letter(const std::string& value) {
        if (value == "none") {
            out.noLetter = true;
            return true;
        }
        if (value.size() != 1 || !std::isalpha(static_cast<unsigned char>(value[0])))
            return Fail("letter must be one of A-Z");
        out.letter = static_cast<char>(std::toupper(static_cast<unsigned char>(value[0])));
        return true;
    }

    bool Address(const std::string& value) {
        std::vector<std::string> w = Words(value, 4);
        if (w.size() != 4) return Fail("address needs four numbers: PortNumber PathId TargetId Lun");
        for (size_t i = 0; i < 4; ++i) {
            uint64_t n = 0;
            if (!ParseDecimal(w[i], 255, n)) return Fail("address numbers must be 0-255");
            out.address[i] = static_cast<uint8_t>(n);
        }
        return true;
    }

    bool Timing(const std::string& value) {
        size_t at = 0;
        std::string w;
        while (NextWord(value, at, w)) {
            size_t eq = w.find('=');
            double v = 0;
            if (eq == std::string::npos || !ParseNumber(w.substr(eq + 1), v))
                return Fail("timing takes command=<ms> seek=<ms> rate=<kB/s>");
            std::string key = w.substr(0, eq);
            if (key == "command") out.timing.commandMs = v;
            else if (key == "seek") out.timing.seekMs = v;
            else if (key == "rate") out.timing.rateKBps = v;
            else return Fail("unknown timing '" + key + "'");
        }
        return true;
    }

    bool StartBlock(const std::string& rest) {
        if (!CloseBlock()) return false;
        inBlocks = true;
        size_t at = 0;
        std::string w;
        uint32_t opcode = 0;
        if (!NextWord(rest, at, w) || w.size() != 2 || !ParseHex(w, 2, opcode))
            return Fail("a reply block starts with '> OPCODE' (two hex digits)");
        if (blockCount >= kMaxReplyBlocks)
            return Fail("more than " + std::to_string(kMaxReplyBlocks) + " reply blocks");
        if (opcodeBlocks[opcode] >= kMaxBlocksPerOpcode)
            return Fail("more than " + std::to_string(kMaxBlocksPerOpcode) + " reply blocks for opcode " +
                        Hex2(opcode));
        ReplyBlock block;
        block.opcode = static_cast<uint8_t>(opcode);
        block.line = lineNumber;
        while (NextWord(rest, at, w))
            if (!Field(block, w)) return false;
        ++blockCount;
        ++opcodeBlocks[opcode];
        current = std::move(block);
        open = true;
        return true;
    }

    bool Field(ReplyBlock& block, const std::string& word) {
        size_t eq = word.find('=');
        if (eq == std::string::npos) return Fail("expected field=value, got " + Quoted(word));
        std::string name = word.substr(0, eq);
        const FieldSpec* spec = FindField(block.opcode, name);
        if (!spec) return Fail("opcode " + Hex2(block.opcode) + " has no selecting field " + Quoted(name));
        // Each field once: a block line cannot pile up copies of one.
        for (const auto& field : block.fields)
            if (field.first == name) return Fail("field '" + name + "' is named twice");
        uint32_t value = 0;
        if (!ParseHex(word.substr(eq + 1), 8, value) || value > spec->maxValue)
            return Fail("field '" + name + "' needs a hex value of at most " + HexN(spec->maxValue));
        block.fields.emplace_back(name, value);
        return true;
    }

    bool StatusLine(const std::string& rest) {
        if (!open) return Fail("a status line needs a reply block before it");
        if (current.isStatus || !current.data.empty()) return Fail("a reply block holds either data or one status line");
        std::vector<std::string> w = Words(rest, 3);
        uint32_t sk = 0, asc = 0, ascq = 0;
        if (w.size() != 3 || !ParseHex(w[0], 1, sk) || !ParseHex(w[1], 2, asc) || !ParseHex(w[2], 2, ascq))
            return Fail("a status line is '! SK ASC ASCQ' in hex");
        current.isStatus = true;
        current.senseKey = static_cast<uint8_t>(sk);
        current.asc = static_cast<uint8_t>(asc);
        current.ascq = static_cast<uint8_t>(ascq);
        return true;
    }

    bool DataLine(const std::string& line) {
        if (!open) return Fail("data bytes need a reply block before them");
        std::string header = HeaderName(line);
        if (!header.empty())
            return Fail("header line '" + header + "' after the reply blocks; header lines come first");
        if (current.isStatus) return Fail("a reply block holds either data or one status line");
        if (current.opcode == 0x28) return Fail("READ(10) data comes from the image, not from a block");
        // Only a status makes sense for it: a drive that refuses to load or eject.
        if (current.opcode == 0x1B) return Fail("START STOP UNIT carries no data, only a status line");
        // Every word is checked and counted, in place, before a byte is kept.
        size_t at = 0, begin = 0, count = 0;
        uint32_t byte = 0;
        while (NextWordAt(line, at, begin)) {
            if (!ParseHexAt(line, begin, at, 2, byte))
                return Fail(Quoted(line.substr(begin, at - begin)) + " is not a hex byte");
            ++count;
        }
        if (current.data.size() + count > kMaxBlockBytes) return Fail("reply block longer than 1 MiB");
        if (replyBytes + count > kMaxReplyBytes) return Fail("reply blocks hold more than 4 MiB in all");
        replyBytes += count;
        for (at = 0; NextWordAt(line, at, begin) && ParseHexAt(line, begin, at, 2, byte);)
            current.data.push_back(static_cast<uint8_t>(byte));
        return true;
    }

    bool CloseBlock() {
        if (!open) return true;
        open = false;
        if (!current.isStatus && current.data.empty()) {
            lineNumber = current.line;
            return Fail("reply block for opcode " + Hex2(current.opcode) + " has neither data nor status");
        }
        // Blocks grow a line at a time; held for good, they keep only their bytes.
        current.data.shrink_to_fit();
        out.blocks.push_back(std::move(current));
        current = ReplyBlock();
        return true;
    }

    static std::string Hex2(uint32_t v) {
        char text[8];
        std::snprintf(text, sizeof text, "%02X", v & 0xFFu);
        return text;
    }
    static std::string HexN(uint32_t v) {
        char text[16];
        std::snprintf(text, sizeof text, "%X", v);
        return text;
    }

    const std::string& fileName;
    DriveFile& out;
    std::string& err;
    int lineNumber = 0;
    bool inBlocks = false;
    bool open = false;
    ReplyBlock current;
    size_t blockCount = 0;
    size_t opcodeBlocks[256] = {};
    size_t replyBytes = 0;
};

// Cuts text into lines as it arrives, in pieces of any size, and hands each
// to the parser. A line longer than kMaxLineBytes is refused as soon as the
// reader has that much of it, without reading the rest.
class LineReader {
public:
    explicit LineReader(Parser& p) : parser(p) {}

    bool Feed(const char* data, size_t size) {
        while (size > 0) {
            const char* end = static_cast<const char*>(std::memchr(data, '\n', size));
            size_t part = end ? static_cast<size_t>(end - data) : size;
            if (pending.size() + part > kMaxLineBytes)
                return parser.FailAt(number + 1, "line longer than 128 KiB");
            pending.append(data, part);
            if (!end) return true;
            if (!parser.Line(pending, ++number)) return false;
            pending.clear();
            data = end + 1;
            size -= part + 1;
        }
        return true;
    }

    // The last line, which no end of line closes (empty after a final one).
    bool End() { return parser.Line(pending, ++number) && parser.Finish(); }

    // The line being read.
    int Number() const { return number + 1; }

private:
    Parser& parser;
    std::string pending;
    int number = 0;
};

void DefaultTitle(DriveFile& out, const std::string& fileName) {
    if (!out.title.empty()) return;
    size_t slash = fileName.find_last_of("/\\");
    out.title = slash == std::string::npos ? fileName : fileName.substr(slash + 1);
}

// The file's size when the stream can tell it (a pipe cannot), and whether
// it can be read at all: a folder opens like a file on some systems.
bool SizeAndReadable(std::ifstream& in, std::streamoff& size) {
    in.seekg(0, std::ios::end);
    size = in.fail() ? -1 : static_cast<std::streamoff>(in.tellg());
    in.clear();
    in.seekg(0);
    in.clear();
    in.peek();
    bool readable = !in.bad();
    in.clear();
    return readable;
}

}  // namespace

bool ParseDriveFile(const std::string& text, const std::string& fileName, DriveFile& out,
                    std::string& error) {
    out = DriveFile();
    out.fileName = fileName;
    if (text.size() > kMaxDriveFileBytes) {
        error = fileName + ": drive file larger than 16 MiB";
        return false;
    }
    Parser parser(fileName, out, error);
    LineReader lines(parser);
    if (!lines.Feed(text.data(), text.size()) || !lines.End()) return false;
    DefaultTitle(out, fileName);
    return true;
}

namespace {

// Reads the file in pieces straight into the line reader: only one line of
// it is held at a time.
bool ReadDriveFile(const std::string& fileName, DriveFile& out, std::string& error) {
    out = DriveFile();
    out.fileName = fileName;
    std::ifstream in(fileName, std::ios::binary);
    if (!in) {
        error = fileName + ": cannot open the drive file";
        return false;
    }
    std::streamoff size = -1;
    if (!SizeAndReadable(in, size)) {
        error = fileName + ": cannot read the drive file";
        return false;
    }
    if (size > static_cast<std::streamoff>(kMaxDriveFileBytes)) {
        error = fileName + ": drive file larger than 16 MiB";
        return false;
    }
    Parser parser(fileName, out, error);
    LineReader lines(parser);
    std::vector<char> chunk(65536);
    size_t total = 0;
    while (in.read(chunk.data(), static_cast<std::streamsize>(chunk.size())) || in.gcount() > 0) {
        size_t got = static_cast<size_t>(in.gcount());
        // A file that grows while it is read, or a pipe, ends here.
        total += got;
        if (total > kMaxDriveFileBytes) return parser.FailAt(lines.Number(), "drive file larger than 16 MiB");
        if (!lines.Feed(chunk.data(), got)) return false;
    }
    if (in.bad()) {
        error = fileName + ": cannot read the drive file";
        return false;
    }
    if (!lines.End()) return false;
    DefaultTitle(out, fileName);
    return true;
}

}  // namespace

bool LoadDriveFile(const std::string& fileName, DriveFile& out, std::string& error) {
    if (!ReadDriveFile(fileName, out, error)) return false;
    if (!out.imagePath.empty()) {
        std::ifstream image(out.imagePath, std::ios::binary | std::ios::ate);
        if (!image) {
            error = fileName + ": cannot open the image '" + out.imagePath + "'";
            return false;
        }
        // A folder opens like a file on some systems; it only fails on reading.
        std::streamoff size = static_cast<std::streamoff>(image.tellg());
        if (size > 0) {
            char first = 0;
            image.seekg(0);
            image.read(&first, 1);
        }
        if (size < 0 || !image) {
            error = fileName + ": cannot read the image '" + out.imagePath + "'";
            return false;
        }
        if (!out.hasSectors) {
            out.sectors = static_cast<uint64_t>(size) / 2048;
            out.hasSectors = true;
        }
    }
    return true;
}

namespace {

// The block that answers a plain INQUIRY (EVPD 0, page 0): the first one
// whose fields all allow it, as the emulator would pick it.
const ReplyBlock* PlainInquiryBlock(const DriveFile& drive) {
    for (const ReplyBlock& b : drive.blocks) {
        if (b.opcode != 0x12) continue;
        bool plain = true;
        for (const auto& field : b.fields)
            if (field.second != 0) plain = false;
        if (plain) return &b;
    }
    return nullptr;
}

}  // namespace

std::string DefaultInterfacePath(const DriveFile& drive, uint32_t index) {
    std::string vendor = "VENDOR", product = "PRODUCT";
    const ReplyBlock* b = PlainInquiryBlock(drive);
    if (b && !b->isStatus) {
        // Read as the program reads it: into a zeroed buffer, short answers too.
        uint8_t inquiry[32] = {};
        std::copy(b->data.begin(), b->data.begin() + std::min<size_t>(b->data.size(), sizeof inquiry),
                  inquiry);
        char v[9], p[17];
        TidyCopy(v, inquiry + 8, 8);
        TidyCopy(p, inquiry + 16, 16);
        if (v[0]) vendor = v;
        if (p[0]) product = p;
    }
    std::string id = vendor + "_" + product;
    for (char& c : id) {
        unsigned char u = static_cast<unsigned char>(c);
        c = (std::isalnum(u) || c == '-' || c == '+' || c == '.') ? static_cast<char>(std::tolower(u)) : '_';
    }
    return "\\\\?\\ide#cdrom" + id + "#5&0&0&" + std::to_string(index) +
           "#{53f56308-b6bf-11d0-94f2-00a0c91efb8b}";
}

void ApplyLoadOrderDefaults(std::vector<DriveFile>& drives) {
    bool used[26] = {};
    for (const DriveFile& d : drives)
        if (d.letter >= 'A' && d.letter <= 'Z') used[d.letter - 'A'] = true;
    int next = 'D' - 'A';
    for (uint32_t i = 0; i < drives.size(); ++i) {
        DriveFile& d = drives[i];
        if (!d.letter && !d.noLetter) {
            while (next < 26 && used[next]) ++next;
            if (next < 26) {
                d.letter = static_cast<char>('A' + next);
                used[next] = true;
            }
        }
        if (!d.hasDeviceNumber) {
            d.deviceNumber = i;
            d.hasDeviceNumber = true;
        }
        if (d.path.empty()) d.path = DefaultInterfacePath(d, i);
    }
}
