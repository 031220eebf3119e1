// The Drive page: who made the drive, how it is attached, its region state.

#include <windows.h>

#include "app/AppState.h"
#include "app/MainDialog.h"
#include "app/PageSkeleton.h"
#include "device/SptiDevice.h"
#include "pages/DriveInfo.h"

namespace {

void FillDrivePage(HWND page) {
    CSptiDevice device;
    device.Attach(App().CurrentDrive, true);
    const DriveEntry* entry = SelectedDrive();
    DriveInfo info = ReadDriveInfo(device, entry ? entry->devicePath : std::string());
    SetDlgItemTextA(page, 1003, info.vendor.c_str());
    SetDlgItemTextA(page, 1006, info.model.c_str());
    SetDlgItemTextA(page, 1007, info.firmware.c_str());
    SetDlgItemTextA(page, 1008, info.date.c_str());
    // An unknown interface leaves what the previous drive showed.
    if (info.hasInterface) SetDlgItemTextA(page, 1018, info.interfaceName.c_str());
    SetDlgItemTextA(page, 1017, info.serialNumber.c_str());
    SetDlgItemTextA(page, 1016, info.bufferSize.c_str());
    SetDlgItemTextA(page, 1019, info.regionCode.c_str());
    SetDlgItemTextA(page, 1020, info.regionControl.c_str());
    SetDlgItemTextA(page, 1021, info.userChangesLeft.c_str());
    SetDlgItemTextA(page, 1022, info.vendorChangesLeft.c_str());
}

}  // namespace

INT_PTR CALLBACK DrivePageProcedure(HWND page, UINT message, WPARAM wParam, LPARAM lParam) {
    INT_PTR result = 0;
    return PageSkeleton(page, message, wParam, lParam, FillDrivePage, result) ? result : 0;
}
