#pragma once
// A document with its <crashrpt> root for the collector tests, and its text
// with LF line ends so that expectations read as plain strings.

#include <string>

#include "snapshot/XmlDocument.h"

inline std::string Lf(std::string text) {
    // The writer ends lines with CR LF; the expectations are written with LF.
    std::string out;
    for (char c : text)
        if (c != '\r') out += c;
    return out;
}

struct Doc {
    Doc() {
        XmlInitDocument(&document);
        root = XmlAppendChild(XmlTopLevel(&document), XmlCreateElement(&document, "crashrpt"));
    }
    ~Doc() { XmlDestroyDocument(&document); }
    Doc(const Doc&) = delete;
    Doc& operator=(const Doc&) = delete;
    std::string Xml() { return Lf(XmlSaveToString(&document, nullptr)); }
    XmlDocument document;
    XmlNode* root;
};
