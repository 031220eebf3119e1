// The Feature page: the grid of capability captions, green for what the
// drive reports and grey for what it does not.

#include <windows.h>

#include "app/AppState.h"
#include "app/MainDialog.h"
#include "app/PageSkeleton.h"
#include "device/Capabilities.h"
#include "device/SptiDevice.h"
#include "pages/FeatureLabels.h"

namespace {

void FillFeaturePage(HWND page) {
    // Yellow (undetermined) until the drive has answered.
    ResetLabels(page);
    CSptiDevice device;
    device.Attach(App().CurrentDrive, true);
    // A drive that answers nothing leaves the record cleared: all grey.
    DriveCapabilities caps{};
    ReadCapabilities(device, caps);
    FeatureLabel labels[kFeatureLabelCount];
    FeatureLabelStates(caps, labels);
    for (const FeatureLabel& label : labels)
        SetWindowLongPtrW(GetDlgItem(page, label.controlId), GWLP_USERDATA, label.on ? 1 : 0);
    InvalidateRect(page, nullptr, TRUE);
}

}  // namespace

INT_PTR CALLBACK FeaturePageProcedure(HWND page, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_DRAWITEM) {
        DrawLabel(*reinterpret_cast<const DRAWITEMSTRUCT*>(lParam));
        return TRUE;
    }
    INT_PTR result = 0;
    return PageSkeleton(page, message, wParam, lParam, FillFeaturePage, result) ? result : 0;
}
