#pragma once
// The File page: the UDF tree of the selected drive's disc, the selected
// directory's contents, extraction of one file and the export listing.

#include <windows.h>

class CUdfReader;

INT_PTR CALLBACK FilePageProcedure(HWND page, UINT message, WPARAM wParam, LPARAM lParam);

// The reader the page has mounted, or null when no volume is shown.
CUdfReader* FilePageReader();
