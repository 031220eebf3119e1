#pragma once
// What every tab page has in common: its template, its theme-aware colours,
// refresh on WM_APP_REFRESH, and the small shared helpers of the pages.

#include <windows.h>
#include <commctrl.h>

// The DIALOGEX resource `id` of this module, valid for the life of the process.
const DLGTEMPLATE* LoadPageTemplate(WORD id);

// The caption of a DIALOGEX template without menu and class: 30 bytes in.
const wchar_t* TemplateCaption(const DLGTEMPLATE* dialogTemplate);

using PageFill = void (*)(HWND page);

// The pages' answer to the colour messages of their dialog, statics, buttons
// and list boxes: the light body colour of themed tabs while a visual style
// is active, otherwise null (the dialog manager's defaults).
HBRUSH PageBrush();

// The common page procedure. Returns true when it handled `message`, with
// the dialog result in `result`.
bool PageSkeleton(HWND page, UINT message, WPARAM wParam, LPARAM lParam, PageFill fill, INT_PTR& result);

// Every Button child's label state back to 2 (undetermined).
void ResetLabels(HWND page);

// The most characters of its caption a label draws.
constexpr int kLabelCharacters = 48;

// Draws an owner-drawn label in the colour of its state.
void DrawLabel(const DRAWITEMSTRUCT& item);

// Text colour of a label state: grey, green, and yellow for anything else.
COLORREF LabelColour(LONG_PTR state);

// Icons 4, 5, 6 as a small-icon image list; null if any is missing.
HIMAGELIST SmallIconImageList();

// Makes Enter and Tab in `edit` post WM_USER+108 to its parent.
void SubclassKeyForwardingEdit(HWND edit);

constexpr UINT WM_APP_SHOW_SECTOR = WM_USER + 108;
