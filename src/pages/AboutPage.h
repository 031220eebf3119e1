#pragma once
// The About page: the product, the maker's other products and their links.

#include <windows.h>

// The version line shown in bold under the separator.
extern const wchar_t kAboutVersionLine[];

// Where an icon button's 48x48 picture starts in the picture strip
// (bitmap 3), or -1 for a control that is not one of the five.
int AboutIconSourceY(int controlId);

INT_PTR CALLBACK AboutPageProcedure(HWND page, UINT message, WPARAM wParam, LPARAM lParam);
