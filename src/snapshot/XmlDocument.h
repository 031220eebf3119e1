#pragma once
// The snapshot's XML tree: elements, attributes and strings all live in one
// arena of 4 MiB blocks and vanish together with the document. The tree holds
// narrow byte strings (UTF-8 from the collectors) and writes them as stored.
//
// Records in the arena are packed without alignment, so XmlNode and
// XmlAttribute are opaque: their fields are read and written only through
// the functions below, which copy them byte-wise.

#include <cstddef>
#include <cstdint>
#include <string>

struct BlockArena;
struct XmlNode;       // first child, next sibling, name, text, first attribute, owner
struct XmlAttribute;  // next attribute, name, value

constexpr size_t kXmlArenaBlockSize = 4194304;
constexpr size_t kXmlNodeRecordSize = 6 * sizeof(void*);
constexpr size_t kXmlAttributeRecordSize = 3 * sizeof(void*);

struct XmlDocument {
    BlockArena* arena;
    // The node above the top-level elements; it has no name and no text.
    alignas(void*) unsigned char topLevel[kXmlNodeRecordSize];
    bool writeByteOrderMark;
    char* version;
    char* encoding;
    char* standalone;
    char* stylesheetType;
    char* stylesheetHref;
};

void XmlInitDocument(XmlDocument* document);
void XmlSetWriteByteOrderMark(XmlDocument* document, bool write);
void XmlSetDeclaration(XmlDocument* document, const char* version, const char* encoding, const char* standalone);
void XmlSetStylesheet(XmlDocument* document, const char* type, const char* href);

// The node whose children are the top-level elements.
XmlNode* XmlTopLevel(XmlDocument* document);

// A new, unattached element; null when the arena cannot supply it.
XmlNode* XmlCreateElement(XmlDocument* document, const char* name);
// Links `child` after the last child of `parent`; returns `child`.
XmlNode* XmlAppendChild(XmlNode* parent, XmlNode* child);

void XmlSetText(XmlNode* node, const char* text);
void XmlSetAttribute(XmlNode* node, const char* name, const char* value);
void XmlSetAttributeInt(XmlNode* node, const char* name, int32_t value);

// length + 1 zeroed bytes holding a copy of `bytes`; null for a null source
// or when the arena cannot supply them.
char* XmlCopyString(XmlDocument* document, const char* bytes, int length);

// Writes the document (from `start`, or its first top-level element) to the
// file `path`, a name in the ANSI code page. Nothing is reported.
void XmlSave(XmlDocument* document, const char* path, XmlNode* start);

// The whole document as Save writes it to a file, line ends included.
std::string XmlSaveToString(XmlDocument* document, XmlNode* start);

void XmlDestroyDocument(XmlDocument* document);

// Walking the tree.
XmlNode* XmlFirstChild(const XmlNode* node);
XmlNode* XmlNextSibling(const XmlNode* node);
const char* XmlName(const XmlNode* node);
const char* XmlText(const XmlNode* node);
XmlAttribute* XmlFirstAttribute(const XmlNode* node);
XmlDocument* XmlOwner(const XmlNode* node);
XmlAttribute* XmlNextAttribute(const XmlAttribute* attribute);
const char* XmlAttributeName(const XmlAttribute* attribute);
const char* XmlAttributeValue(const XmlAttribute* attribute);
// The value of the last attribute called `name`, or null.
const char* XmlGetAttribute(const XmlNode* node, const char* name);

// Replaces `target` with the UTF-8 form of `count` UTF-16 units of `text`
// (count 0: up to the terminating NUL). Surrogates are paired blindly: any
// unit in D800..DFFF takes the next unit with it, whatever that unit is.
void WideToUtf8(std::string& target, const char16_t* text, int count);
// The same for a whole string, as the collectors store their texts.
std::string WideToUtf8(const std::u16string& text);

// The units of a platform string buffer before its first NUL, at most
// `limit` of them; a null buffer gives the empty string.
std::u16string UpToNul(const char16_t* text, size_t limit);
