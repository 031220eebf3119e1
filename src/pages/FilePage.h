#pragma once
// The File page: the UDF tree of the selected drive's disc, the selected
// directory's contents, extraction of one file and the export listing.

#include <windows.h>

class CUdfReader;
struct FileNode;

INT_PTR CALLBACK FilePageProcedure(HWND page, UINT message, WPARAM wParam, LPARAM lParam);

// The reader the page has mounted, or null when no volume is shown.
CUdfReader* FilePageReader();

// The node of a row of the page's list, in the list's order; null past its
// end. The list keeps no item data of its own.
const FileNode* FilePageRowNode(int index);
