// Hostile strings through the XML model and its writer. The input is a
// program of operations that build one document: elements with names made
// from UTF-16 units (lone surrogates, NULs, every unit value), texts and
// attributes set and set again in place, raw byte strings of every value.
// A mirror of what was set is kept alongside. Then the document is saved to
// a temporary file and:
//   - the file equals XmlSaveToString, and every line ends in CR LF;
//   - every UTF-16 string became valid UTF-8 with the code points that the
//     blind surrogate pairing gives;
//   - a shorter or equal value was written over the old storage;
//   - where every name used is a plain XML name, the file is well-formed:
//     balanced start and end tags, one root, quoted attributes with unique
//     names, only the five entities, and it reads back as the tree that was
//     built (names, attribute order and values, texts).
//
// Operations (byte & 7): 0 new element under a chosen one, 1 set text,
// 2 set attribute, 3 set integer attribute, 4 set text or attribute value to
// raw bytes, 5 null text, 6 an element left unattached, 7 null attribute
// value. Strings: a length byte, then that many UTF-16 units little-endian.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include <unistd.h>

#include "snapshot/XmlDocument.h"

namespace {

[[noreturn]] void Fail(const char* what, const std::string& detail = std::string()) {
    std::fprintf(stderr, "fuzz_xml: %s %s\n", what, detail.c_str());
    std::abort();
}

#define CHECK(condition, ...) \
    do {                        \
        if (!(condition)) Fail(#condition, ##__VA_ARGS__); \
    } while (0)

class Input {
public:
    Input(const uint8_t* data, size_t size) : p(data), end(data + size) {}
    bool More() const { return p < end; }
    uint8_t Byte() { return p < end ? *p++ : 0; }
    std::vector<char16_t> Units(size_t count) {
        std::vector<char16_t> units;
        for (size_t i = 0; i < count && p + 1 < end; ++i, p += 2)
            units.push_back(static_cast<char16_t>(p[0] | (p[1] << 8)));
        return units;
    }
    std::string Bytes(size_t count) {
        std::string bytes;
        for (size_t i = 0; i < count && p < end; ++i) bytes += static_cast<char>(*p++);
        return bytes;
    }

private:
    const uint8_t* p;
    const uint8_t* end;
};

// The code points WideToUtf8 must produce: units up to the count or a NUL,
// any surrogate paired with whatever unit follows (0 past the end).
std::vector<uint32_t> ExpectedCodePoints(const std::vector<char16_t>& units, size_t count) {
    std::vector<uint32_t> out;
    for (size_t i = 0; i < count && units[i] != 0; ++i) {
        uint32_t u = units[i];
        if (u >= 0xD800 && u <= 0xDFFF) {
            uint32_t next = i + 1 < count ? units[i + 1] : 0;
            out.push_back(0x10000 + ((u & 0x3FF) << 10) + (next & 0x3FF));
            ++i;
        } else {
            out.push_back(u);
        }
    }
    return out;
}

// Strict UTF-8 decoding: shortest forms, no surrogates, at most U+10FFFF.
bool DecodeUtf8(const std::string& s, std::vector<uint32_t>& out) {
    for (size_t i = 0; i < s.size();) {
        unsigned char c = static_cast<unsigned char>(s[i]);
        int extra = c < 0x80 ? 0 : (c >> 5) == 6 ? 1 : (c >> 4) == 14 ? 2 : (c >> 3) == 30 ? 3 : -1;
        if (extra < 0 || i + extra >= s.size() + (extra ? 0 : 1)) return false;
        uint32_t cp = extra == 0 ? c : extra == 1 ? (c & 0x1F) : extra == 2 ? (c & 0x0F) : (c & 0x07);
        for (int k = 1; k <= extra; ++k) {
            unsigned char t = static_cast<unsigned char>(s[i + k]);
            if ((t & 0xC0) != 0x80) return false;
            cp = (cp << 6) | (t & 0x3F);
        }
        static const uint32_t kMin[] = {0, 0x80, 0x800, 0x10000};
        if (cp < kMin[extra] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return false;
        out.push_back(cp);
        i += static_cast<size_t>(extra) + 1;
    }
    return true;
}

std::string WideString(Input& in) {
    uint8_t head = in.Byte();
    std::vector<char16_t> units = in.Units(head & 0x3F);
    size_t count = units.size();
    std::string utf8;
    if (head & 0x40) {
        // NUL-terminated: the converter measures the string itself.
        units.push_back(0);
        WideToUtf8(utf8, units.data(), 0);
        units.pop_back();
        size_t length = 0;
        while (length < count && units[length] != 0) ++length;
        count = length;
    } else if (count > 0) {
        WideToUtf8(utf8, units.data(), static_cast<int>(count));
    } else {
        units.push_back(0);
        WideToUtf8(utf8, units.data(), 0);
        units.pop_back();
    }
    std::vector<uint32_t> decoded;
    CHECK(DecodeUtf8(utf8, decoded), "WideToUtf8 gave invalid UTF-8");
    units.push_back(0);  // what a surrogate at the end of a NUL-terminated string takes
    CHECK(decoded == ExpectedCodePoints(units, count), "WideToUtf8 gave other code points");
    return utf8;
}

bool PlainName(const std::string& name) {
    if (name.empty()) return false;
    unsigned char first = static_cast<unsigned char>(name[0]);
    if ((first >= '0' && first <= '9') || first == '-' || first == '.') return false;
    for (unsigned char c : name) {
        bool ok = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
                  c == '-' || c == '.' || c >= 0x80;
        if (!ok) return false;
    }
    return true;
}

const char* const kNames[] = {"a", "b", "id", "name", "process", "dll", "full_path", "x.y"};

struct Mirror {
    XmlNode* node;
    std::string name;
    bool hasText = false;
    std::string text;
    std::vector<std::pair<std::string, std::string>> attributes;
    std::vector<size_t> children;
};

struct Parsed {
    std::string name;
    std::vector<std::pair<std::string, std::string>> attributes;
    std::string text;  // character data right after the start tag
    std::vector<size_t> children;
};

std::string WithCrLf(const std::string& s) {
    std::string out;
    for (char c : s) {
        if (c == '\n') out += '\r';
        out += c;
    }
    return out;
}

// Character data or an attribute value up to `stop`, with the five entities
// decoded; any other '&' or a stray '<' (or '>') is malformed.
bool ReadCharacters(const std::string& f, size_t& p, char stop, std::string& out) {
    while (p < f.size() && f[p] != stop) {
        char c = f[p];
        if (c == '<' || c == '>') return false;
        if (c == '&') {
            static const std::pair<const char*, char> kEntities[] = {
                {"&lt;", '<'}, {"&gt;", '>'}, {"&amp;", '&'}, {"&quot;", '"'}, {"&apos;", '\''}};
            bool known = false;
            for (auto& e : kEntities) {
                size_t n = std::strlen(e.first);
                if (f.compare(p, n, e.first) == 0) {
                    out += e.second;
                    p += n;
                    known = true;
                    break;
                }
            }
            if (!known) return false;
            continue;
        }
        out += c;
        ++p;
    }
    return true;
}

bool ReadName(const std::string& f, size_t& p, std::string& name) {
    size_t start = p;
    while (p < f.size() && f[p] != ' ' && f[p] != '>' && f[p] != '=' && f[p] != '\r' && f[p] != '\n') ++p;
    name = f.substr(start, p - start);
    return PlainName(name);
}

// Parses the body after the head: well-formed elements only, returned as a
// flat list whose first entry is the root.
bool ParseBody(const std::string& f, size_t p, std::vector<Parsed>& out, std::string& why) {
    std::vector<size_t> open;
    size_t roots = 0;
    while (p < f.size()) {
        if (f[p] != '<') {
            std::string text;
            if (!ReadCharacters(f, p, '<', text)) return why = "bad character data", false;
            if (open.empty()) {
                if (text.find_first_not_of("\r\n\t") != std::string::npos) return why = "text outside the root", false;
            } else if (out[open.back()].children.empty() && !out[open.back()].text.empty()) {
                return why = "text split around markup", false;
            } else if (out[open.back()].children.empty()) {
                out[open.back()].text = text;
            } else if (text.find_first_not_of("\r\n\t") != std::string::npos) {
                return why = "text after a child", false;
            }
            continue;
        }
        if (f.compare(p, 2, "</") == 0) {
            p += 2;
            std::string name;
            if (!ReadName(f, p, name) || p >= f.size() || f[p] != '>') return why = "bad end tag", false;
            ++p;
            if (open.empty() || out[open.back()].name != name) return why = "unbalanced end tag " + name, false;
            open.pop_back();
            continue;
        }
        ++p;
        Parsed element;
        if (!ReadName(f, p, element.name)) return why = "bad element name", false;
        while (p < f.size() && f[p] == ' ') {
            ++p;
            std::string name, value;
            if (!ReadName(f, p, name) || f.compare(p, 2, "=\"") != 0) return why = "bad attribute", false;
            p += 2;
            if (!ReadCharacters(f, p, '"', value) || p >= f.size() || f[p] != '"') return why = "bad value", false;
            ++p;
            for (auto& a : element.attributes)
                if (a.first == name) return why = "attribute twice: " + name, false;
            element.attributes.emplace_back(name, value);
        }
        if (p >= f.size() || f[p] != '>') return why = "start tag not closed", false;
        ++p;
        if (open.empty()) {
            if (++roots > 1) return why = "second root", false;
        } else {
            out[open.back()].children.push_back(out.size());
        }
        open.push_back(out.size());
        out.push_back(element);
    }
    if (!open.empty()) return why = "unclosed " + out[open.back()].name, false;
    if (roots != 1) return why = "no root", false;
    return true;
}

void Compare(const std::vector<Mirror>& model, size_t m, const std::vector<Parsed>& parsed, size_t q, int depth) {
    const Mirror& a = model[m];
    const Parsed& b = parsed[q];
    CHECK(a.name == b.name, a.name + " read back as " + b.name);
    std::vector<std::pair<std::string, std::string>> written = a.attributes;
    for (auto& attribute : written) attribute.second = WithCrLf(attribute.second);
    CHECK(written == b.attributes, "attributes of " + a.name);
    std::string text = a.hasText ? WithCrLf(a.text) : std::string();
    if (!a.children.empty()) text += "\r\n" + std::string(static_cast<size_t>(depth) + 1, '\t');
    CHECK(text == b.text, "text of " + a.name);
    CHECK(a.children.size() == b.children.size(), "children of " + a.name);
    for (size_t i = 0; i < a.children.size(); ++i) Compare(model, a.children[i], parsed, b.children[i], depth + 1);
}

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::string TempPath() {
    const char* dir = std::getenv("TMPDIR");
    return std::string(dir && *dir ? dir : "/tmp") + "/fuzz_xml-" + std::to_string(getpid()) + ".xml";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input in(data, size);
    XmlDocument doc;
    XmlInitDocument(&doc);
    uint8_t settings = in.Byte();
    XmlSetWriteByteOrderMark(&doc, settings & 1);
    if (settings & 2) XmlSetDeclaration(&doc, "1.0", "UTF-8", nullptr);
    if (settings & 4) XmlSetStylesheet(&doc, "text/xsl", "snapshot.xsl");

    bool plain = true;  // every element and attribute name is a plain XML name
    auto name = [&](Input& source) {
        // Three picks in four take a plain name, so that most documents get
        // the full read-back; the rest are names made from UTF-16 units.
        uint8_t pick = source.Byte();
        std::string n = (pick & 0xC0) != 0x40 ? std::string(kNames[pick % 8]) : WideString(source);
        plain = plain && PlainName(n);
        return n;
    };

    std::vector<Mirror> model;
    std::string rootName = name(in);
    model.push_back({XmlAppendChild(XmlTopLevel(&doc), XmlCreateElement(&doc, rootName.c_str())), rootName});
    CHECK(model[0].node != nullptr);

    for (int steps = 0; in.More() && steps < 4096; ++steps) {
        uint8_t op = in.Byte();
        Mirror& target = model[in.Byte() % model.size()];
        switch (op & 7) {
        case 0:
        case 6: {
            std::string n = name(in);
            XmlNode* node = XmlCreateElement(&doc, n.c_str());
            CHECK(node != nullptr);
            CHECK(XmlName(node) && n == XmlName(node), "element name stored as given");
            if ((op & 7) == 6) break;  // never attached: never written
            size_t parent = static_cast<size_t>(&target - model.data());
            XmlAppendChild(target.node, node);
            model.push_back({node, n});
            model[parent].children.push_back(model.size() - 1);
            break;
        }
        case 1:
        case 4:
        case 7: {
            bool attribute = (op & 8) != 0 && (op & 7) != 1;
            std::string value = (op & 7) == 4 ? in.Bytes(in.Byte() & 0x3F) : (op & 7) == 1 ? WideString(in) : "";
            // Raw bytes stop at the first NUL, as any C string does.
            value = value.c_str();
            if (!attribute) {
                const char* before = XmlText(target.node);
                size_t beforeLength = before ? std::strlen(before) : 0;
                XmlSetText(target.node, (op & 7) == 7 ? "" : value.c_str());
                if (before && value.size() <= beforeLength) CHECK(XmlText(target.node) == before, "text reused in place");
                target.hasText = true;
                target.text = value;
                break;
            }
            std::string n = name(in);
            const char* before = XmlGetAttribute(target.node, n.c_str());
            size_t beforeLength = before ? std::strlen(before) : 0;
            XmlSetAttribute(target.node, n.c_str(), (op & 7) == 7 ? nullptr : value.c_str());
            if (before && value.size() <= beforeLength)
                CHECK(XmlGetAttribute(target.node, n.c_str()) == before, "value reused in place");
            bool found = false;
            for (auto& a : target.attributes)
                if (a.first == n) a.second = value, found = true;
            if (!found) target.attributes.emplace_back(n, value);
            break;
        }
        case 2: {
            std::string n = name(in);
            std::string value = WideString(in);
            XmlSetAttribute(target.node, n.c_str(), value.c_str());
            bool found = false;
            for (auto& a : target.attributes)
                if (a.first == n) a.second = value, found = true;
            if (!found) target.attributes.emplace_back(n, value);
            break;
        }
        case 3: {
            std::string n = name(in);
            int32_t v = static_cast<int32_t>(static_cast<uint32_t>(in.Byte()) << 24 | in.Byte() << 16 |
                                             in.Byte() << 8 | in.Byte());
            XmlSetAttributeInt(target.node, n.c_str(), v);
            bool found = false;
            for (auto& a : target.attributes)
                if (a.first == n) a.second = std::to_string(v), found = true;
            if (!found) target.attributes.emplace_back(n, std::to_string(v));
            break;
        }
        case 5:
            XmlSetText(target.node, nullptr);
            CHECK(XmlText(target.node) == nullptr);
            target.hasText = false;
            target.text.clear();
            break;
        }
    }

    // The model itself answers with what the mirror holds.
    for (const Mirror& m : model) {
        CHECK(m.hasText ? (XmlText(m.node) && m.text == XmlText(m.node)) : (!XmlText(m.node) || !*XmlText(m.node)),
              "text of " + m.name);
        const XmlAttribute* a = XmlFirstAttribute(m.node);
        for (auto& expected : m.attributes) {
            CHECK(a && expected.first == XmlAttributeName(a) && expected.second == XmlAttributeValue(a),
                  "attribute " + expected.first);
            a = XmlNextAttribute(a);
        }
        CHECK(a == nullptr, "extra attribute on " + m.name);
    }

    std::string path = TempPath();
    XmlSave(&doc, path.c_str(), nullptr);
    std::string file = ReadFile(path);
    std::remove(path.c_str());
    CHECK(file == XmlSaveToString(&doc, nullptr), "file differs from XmlSaveToString");
    for (size_t i = 0; i < file.size(); ++i)
        if (file[i] == '\n') CHECK(i > 0 && file[i - 1] == '\r', "line feed without CR");

    size_t p = 0;
    if (settings & 1) {
        CHECK(file.compare(0, 3, "\xEF\xBB\xBF") == 0, "byte order mark");
        p = 3;
    }
    if (settings & 2) {
        const char head[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n";
        CHECK(file.compare(p, sizeof head - 1, head) == 0, "declaration");
        p += sizeof head - 1;
    }
    if (settings & 4) {
        const char head[] = "<?xml-stylesheet type=\"text/xsl\" href=\"snapshot.xsl\"?>\r\n";
        CHECK(file.compare(p, sizeof head - 1, head) == 0, "stylesheet instruction");
        p += sizeof head - 1;
    }
    if (plain) {
        std::vector<Parsed> parsed;
        std::string why;
        CHECK(ParseBody(file, p, parsed, why), why);
        CHECK(parsed.size() == model.size(), "element count");
        Compare(model, 0, parsed, 0, 0);
    }

    XmlDestroyDocument(&doc);
    return 0;
}
