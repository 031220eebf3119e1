#pragma once
// The Windows side of the snapshot: string conversion from the ANSI code
// page, and BuildSnapshot, which writes snapshot.xml and the stylesheet.

#include <windows.h>

#include <string>

#include "snapshot/SnapshotAssembly.h"

// Replaces `target` with the UTF-8 form of `text` in the ANSI code page;
// length 0 means the whole string with its terminating NUL.
void AnsiToUtf8(std::string& target, const char* text, int length);

// Collects the sections of `options` and writes the document to `path` and
// the stylesheet beside it. False only when the path has no ANSI form.
bool BuildSnapshot(const SnapshotOptions& options, const wchar_t* path);

// The collectors in file order; the System page asks for all of them.
extern const SnapshotCollector kSnapshotCollectors[];
extern const size_t kSnapshotCollectorCount;
