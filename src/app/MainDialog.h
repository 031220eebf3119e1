#pragma once

#include <windows.h>

// Runs the main dialog modally; returns when it is closed.
int RunApplication(HINSTANCE instance);

INT_PTR CALLBACK MainDialogProcedure(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam);

// Page procedures, in tab order.
INT_PTR CALLBACK DrivePageProcedure(HWND, UINT, WPARAM, LPARAM);
INT_PTR CALLBACK FeaturePageProcedure(HWND, UINT, WPARAM, LPARAM);
INT_PTR CALLBACK MediaPageProcedure(HWND, UINT, WPARAM, LPARAM);
INT_PTR CALLBACK FilePageProcedure(HWND, UINT, WPARAM, LPARAM);
INT_PTR CALLBACK SectorPageProcedure(HWND, UINT, WPARAM, LPARAM);
INT_PTR CALLBACK FilterPageProcedure(HWND, UINT, WPARAM, LPARAM);
INT_PTR CALLBACK SystemPageProcedure(HWND, UINT, WPARAM, LPARAM);
INT_PTR CALLBACK AboutPageProcedure(HWND, UINT, WPARAM, LPARAM);
