#include "snapshot/SnapshotAssembly.h"

XmlNode* AssembleSnapshot(XmlDocument* document, const SnapshotOptions& options, const SnapshotCollector* table,
                          size_t count) {
    XmlInitDocument(document);
    XmlSetWriteByteOrderMark(document, true);
    XmlSetDeclaration(document, "1.0", "UTF-8", nullptr);
    XmlSetStylesheet(document, "text/xsl", "snapshot.xsl");
    XmlNode* root = XmlAppendChild(XmlTopLevel(document), XmlCreateElement(document, "crashrpt"));
    if (!root) return nullptr;
    // Each collector appends at the end, so the file follows the table.
    for (size_t i = 0; i < count; ++i)
        if ((options.sections & table[i].bit) && table[i].collect) table[i].collect(root, table[i].argument);
    return root;
}
