#include "snapshot/XmlDocument.h"

#include <cstdio>
#include <cstring>

#include "common/BlockArena.h"

namespace {

// Field slots of the packed records, in pointer-sized steps.
enum NodeField { kFirstChild, kNextSibling, kName, kText, kFirstAttribute, kOwner };
enum AttributeField { kNextAttribute, kAttributeName, kAttributeValue };

template <typename T>
T Load(const void* record, int slot) {
    T value;
    std::memcpy(&value, static_cast<const unsigned char*>(record) + slot * sizeof(void*), sizeof value);
    return value;
}

template <typename T>
void Store(void* record, int slot, T value) {
    std::memcpy(static_cast<unsigned char*>(record) + slot * sizeof(void*), &value, sizeof value);
}

void* Allocate(XmlDocument* document, size_t n) {
    if (!document->arena) document->arena = CreateBlockArena(kXmlArenaBlockSize);
    return ArenaAllocate(document->arena, n);
}

char* CopyNullTerminated(XmlDocument* document, const char* text) {
    if (!text) return nullptr;
    size_t length = std::strlen(text);
    char* copy = nullptr;
    if (length + 1 < kXmlArenaBlockSize) copy = XmlCopyString(document, text, static_cast<int>(length));
    // A string too long for one block is kept as an empty string rather than
    // lost, so the element or attribute still appears in the file.
    if (!copy) copy = static_cast<char*>(Allocate(document, 1));
    return copy;
}

// Puts `text` over `old` when it fits there, else into fresh arena bytes.
char* Replace(XmlDocument* document, char* old, const char* text) {
    if (old && text && std::strlen(old) >= std::strlen(text)) {
        std::memmove(old, text, std::strlen(text) + 1);
        return old;
    }
    return CopyNullTerminated(document, text);
}

// Collects the output and hands it to the file in large pieces; line feeds
// become CR LF as text mode writes them on Windows, on every platform.
class Sink {
public:
    explicit Sink(FILE* target) : file(target) {}
    ~Sink() { Flush(); }
    void Byte(char c) {
#ifndef _WIN32
        if (c == '\n') buffer += '\r';
#endif
        buffer += c;
        if (buffer.size() >= 65536) Flush();
    }
    void Raw(const char* text) {
        for (; text && *text; ++text) Byte(*text);
    }
    void Escaped(const char* text) {
        for (; text && *text; ++text) {
            switch (*text) {
            case '"': Raw("&quot;"); break;
            case '&': Raw("&amp;"); break;
            case '\'': Raw("&apos;"); break;
            case '<': Raw("&lt;"); break;
            case '>': Raw("&gt;"); break;
            default: Byte(*text);
            }
        }
    }
    void Tabs(int depth) {
        for (int i = 0; i < depth; ++i) Byte('\t');
    }
    void Flush() {
        if (file && !buffer.empty()) std::fwrite(buffer.data(), 1, buffer.size(), file);
        if (file) buffer.clear();
    }
    // Without a file the bytes stay here, with the line ends a file would get.
    std::string Take() {
#ifdef _WIN32
        std::string out;
        for (char c : buffer) {
            if (c == '\n') out += '\r';
            out += c;
        }
        return out;
#else
        return buffer;
#endif
    }

private:
    FILE* file;
    std::string buffer;
};

void WriteList(Sink& out, const XmlNode* node, int depth) {
    // Deep trees are walked with an explicit stack of the open elements so
    // that a hostile depth cannot exhaust the call stack.
    std::string stack;  // packed pointers of the elements whose children are being written
    for (;;) {
        while (node) {
            out.Tabs(depth);
            out.Byte('<');
            out.Raw(XmlName(node));
            for (XmlAttribute* a = XmlFirstAttribute(node); a; a = XmlNextAttribute(a)) {
                out.Byte(' ');
                out.Raw(XmlAttributeName(a));
                out.Raw("=\"");
                out.Escaped(XmlAttributeValue(a));
                out.Byte('"');
            }
            out.Byte('>');
            if (XmlText(node)) out.Escaped(XmlText(node));
            if (XmlFirstChild(node)) {
                out.Byte('\n');
                stack.append(reinterpret_cast<const char*>(&node), sizeof node);
                ++depth;
                node = XmlFirstChild(node);
                continue;
            }
            out.Raw("</");
            out.Raw(XmlName(node));
            out.Raw(">\n");
            node = XmlNextSibling(node);
        }
        if (stack.empty()) return;
        std::memcpy(&node, stack.data() + stack.size() - sizeof node, sizeof node);
        stack.resize(stack.size() - sizeof node);
        --depth;
        out.Tabs(depth);
        out.Raw("</");
        out.Raw(XmlName(node));
        out.Raw(">\n");
        node = XmlNextSibling(node);
    }
}

void WriteDocument(Sink& out, XmlDocument* document, XmlNode* start) {
    if (document->writeByteOrderMark) out.Raw("\xEF\xBB\xBF");
    if (document->version) {
        out.Raw("<?xml version=\"");
        out.Raw(document->version);
        out.Byte('"');
        if (document->encoding) {
            out.Raw(" encoding=\"");
            out.Raw(document->encoding);
            out.Byte('"');
        }
        if (document->standalone) {
            out.Raw(" standalone=\"");
            out.Raw(document->standalone);
            out.Byte('"');
        }
        out.Raw("?>\n");
    }
    if (document->stylesheetType) {
        out.Raw("<?xml-stylesheet type=\"");
        out.Raw(document->stylesheetType);
        out.Byte('"');
        if (document->stylesheetHref) {
            out.Raw(" href=\"");
            out.Raw(document->stylesheetHref);
            out.Byte('"');
        }
        out.Raw("?>\n");
    }
    WriteList(out, start ? start : XmlFirstChild(XmlTopLevel(document)), 0);
}

}  // namespace

void XmlInitDocument(XmlDocument* document) {
    std::memset(document, 0, sizeof *document);
    Store(document->topLevel, kOwner, document);
}

void XmlSetWriteByteOrderMark(XmlDocument* document, bool write) { document->writeByteOrderMark = write; }

void XmlSetDeclaration(XmlDocument* document, const char* version, const char* encoding, const char* standalone) {
    document->version = CopyNullTerminated(document, version);
    document->encoding = CopyNullTerminated(document, encoding);
    document->standalone = CopyNullTerminated(document, standalone);
}

void XmlSetStylesheet(XmlDocument* document, const char* type, const char* href) {
    document->stylesheetType = CopyNullTerminated(document, type);
    document->stylesheetHref = CopyNullTerminated(document, href);
}

XmlNode* XmlTopLevel(XmlDocument* document) { return reinterpret_cast<XmlNode*>(document->topLevel); }

XmlNode* XmlCreateElement(XmlDocument* document, const char* name) {
    void* record = Allocate(document, kXmlNodeRecordSize);
    if (!record) return nullptr;
    Store(record, kName, CopyNullTerminated(document, name));
    Store(record, kOwner, document);
    return static_cast<XmlNode*>(record);
}

XmlNode* XmlAppendChild(XmlNode* parent, XmlNode* child) {
    if (!parent || !child) return child;
    XmlNode* last = XmlFirstChild(parent);
    if (!last) {
        Store(parent, kFirstChild, child);
        return child;
    }
    while (XmlNode* next = XmlNextSibling(last)) last = next;
    Store(last, kNextSibling, child);
    return child;
}

void XmlSetText(XmlNode* node, const char* text) {
    if (!node) return;
    Store(node, kText, Replace(XmlOwner(node), Load<char*>(node, kText), text));
}

void XmlSetAttribute(XmlNode* node, const char* name, const char* value) {
    if (!node || !name) return;
    if (!value) value = "";
    XmlAttribute* match = nullptr;
    XmlAttribute* last = nullptr;
    for (XmlAttribute* a = XmlFirstAttribute(node); a; a = XmlNextAttribute(a)) {
        const char* existing = XmlAttributeName(a);
        if (existing && std::strcmp(existing, name) == 0) match = a;
        last = a;
    }
    XmlDocument* document = XmlOwner(node);
    if (match) {
        Store(match, kAttributeValue, Replace(document, Load<char*>(match, kAttributeValue), value));
        return;
    }
    void* record = Allocate(document, kXmlAttributeRecordSize);
    if (!record) return;
    Store(record, kAttributeName, CopyNullTerminated(document, name));
    Store(record, kAttributeValue, CopyNullTerminated(document, value));
    if (last)
        Store(last, kNextAttribute, record);
    else
        Store(node, kFirstAttribute, record);
}

void XmlSetAttributeInt(XmlNode* node, const char* name, int32_t value) {
    char text[16];
    std::snprintf(text, sizeof text, "%d", static_cast<int>(value));
    XmlSetAttribute(node, name, text);
}

char* XmlCopyString(XmlDocument* document, const char* bytes, int length) {
    if (!bytes || length < 0) return nullptr;
    char* copy = static_cast<char*>(Allocate(document, static_cast<size_t>(length) + 1));
    if (copy) std::memcpy(copy, bytes, static_cast<size_t>(length));
    return copy;
}

void XmlSave(XmlDocument* document, const char* path, XmlNode* start) {
    FILE* file = std::fopen(path, "w");
    if (!file) return;
    {
        Sink out(file);
        WriteDocument(out, document, start);
    }
    std::fclose(file);
}

std::string XmlSaveToString(XmlDocument* document, XmlNode* start) {
    Sink out(nullptr);
    WriteDocument(out, document, start);
    return out.Take();
}

void XmlDestroyDocument(XmlDocument* document) {
    if (document->arena) DestroyBlockArena(document->arena);
    XmlInitDocument(document);
}

XmlNode* XmlFirstChild(const XmlNode* node) { return node ? Load<XmlNode*>(node, kFirstChild) : nullptr; }
XmlNode* XmlNextSibling(const XmlNode* node) { return node ? Load<XmlNode*>(node, kNextSibling) : nullptr; }
const char* XmlName(const XmlNode* node) { return node ? Load<const char*>(node, kName) : nullptr; }
const char* XmlText(const XmlNode* node) { return node ? Load<const char*>(node, kText) : nullptr; }
XmlAttribute* XmlFirstAttribute(const XmlNode* node) {
    return node ? Load<XmlAttribute*>(node, kFirstAttribute) : nullptr;
}
XmlDocument* XmlOwner(const XmlNode* node) { return node ? Load<XmlDocument*>(node, kOwner) : nullptr; }
XmlAttribute* XmlNextAttribute(const XmlAttribute* a) { return a ? Load<XmlAttribute*>(a, kNextAttribute) : nullptr; }
const char* XmlAttributeName(const XmlAttribute* a) { return a ? Load<const char*>(a, kAttributeName) : nullptr; }
const char* XmlAttributeValue(const XmlAttribute* a) { return a ? Load<const char*>(a, kAttributeValue) : nullptr; }

const char* XmlGetAttribute(const XmlNode* node, const char* name) {
    const char* found = nullptr;
    for (XmlAttribute* a = XmlFirstAttribute(node); a; a = XmlNextAttribute(a)) {
        const char* existing = XmlAttributeName(a);
        if (existing && name && std::strcmp(existing, name) == 0) found = XmlAttributeValue(a);
    }
    return found;
}

void WideToUtf8(std::string& target, const char16_t* text, int count) {
    target.clear();
    if (!text) return;
    if (count == 0)
        while (text[count] != 0) ++count;
    if (count <= 0) return;
    // The unit after a surrogate is read even when it is the terminating NUL;
    // past an explicit count it is taken as 0, which is what a NUL would give.
    auto unitAt = [&](int i) -> unsigned { return i < count ? text[i] : 0u; };
    size_t bytes = 0;
    for (int i = 0; i < count && text[i] != 0; ++i) {
        unsigned u = text[i];
        if (u < 0x80) bytes += 1;
        else if (u < 0x800) bytes += 2;
        else if (u >= 0xD800 && u <= 0xDFFF) { bytes += 4; ++i; }
        else bytes += 3;
    }
    target.resize(bytes);
    size_t o = 0;
    for (int i = 0; i < count && text[i] != 0; ++i) {
        unsigned u = text[i];
        if (u < 0x80) {
            target[o++] = static_cast<char>(u);
        } else if (u < 0x800) {
            target[o++] = static_cast<char>(0xC0 | (u >> 6));
            target[o++] = static_cast<char>(0x80 | (u & 0x3F));
        } else if (u >= 0xD800 && u <= 0xDFFF) {
            unsigned next = unitAt(i + 1);
            ++i;
            unsigned c = (((u & 0x3FF) + 0x40) << 10) + (next & 0x3FF);
            target[o++] = static_cast<char>(0xF0 | (c >> 18));
            target[o++] = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
            target[o++] = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            target[o++] = static_cast<char>(0x80 | (c & 0x3F));
        } else {
            target[o++] = static_cast<char>(0xE0 | (u >> 12));
            target[o++] = static_cast<char>(0x80 | ((u >> 6) & 0x3F));
            target[o++] = static_cast<char>(0x80 | (u & 0x3F));
        }
    }
}

std::string WideToUtf8(const std::u16string& text) {
    std::string out;
    if (!text.empty()) WideToUtf8(out, text.c_str(), static_cast<int>(text.size()));
    return out;
}

std::u16string UpToNul(const char16_t* text, size_t limit) {
    if (!text) return {};
    size_t n = 0;
    while (n < limit && text[n]) ++n;
    return std::u16string(text, n);
}
