#pragma once
// Opens a web address in the user's browser.

#include <windows.h>

// The shell first; if it cannot, the browser registered for ".htm" files is
// started directly with the address. Failures are silent.
void OpenLink(const wchar_t* url, int show);
