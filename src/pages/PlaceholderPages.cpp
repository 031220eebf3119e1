// Pages whose contents are filled by later work: each follows the page
// skeleton and shows its empty controls until then.

#include <windows.h>

#include "app/AppState.h"
#include "app/MainDialog.h"
#include "app/PageSkeleton.h"

namespace {

INT_PTR EmptyPage(HWND page, UINT message, WPARAM wParam, LPARAM lParam) {
    INT_PTR result = 0;
    return PageSkeleton(page, message, wParam, lParam, nullptr, result) ? result : 0;
}

}  // namespace

