#pragma once
// How a link is handed to the browser registered for ".htm" files when the
// shell cannot open it: the browser's open command with the URL put in.

#include <string>

// Puts `url`, always between double quotes, into the open command `command`:
// in place of a quoted "%1" when there is one, else in place of a bare %1,
// else after one appended space. Whatever followed the %1 is dropped, as the
// link is the only argument the browser is given.
std::wstring BrowserCommandLine(const std::wstring& command, const std::wstring& url);
