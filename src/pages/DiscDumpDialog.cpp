// "Save Image" (toolbar command 2002): where to write, then the dump.

#include <windows.h>
#include <commdlg.h>

#include "app/AppState.h"
#include "device/SptiDevice.h"
#include "pages/DiscDump.h"
#include "pages/SectorPage.h"
#include "udf/UdfReader.h"

void SaveDiscImage(HWND owner) {
    char path[MAX_PATH] = "disc.bin";
    OPENFILENAMEA dialog{};
    dialog.lStructSize = sizeof dialog;
    dialog.hwndOwner = owner;
    dialog.lpstrFilter = "bin Files (*.bin)\0*.bin\0";
    dialog.lpstrFile = path;
    dialog.nMaxFile = MAX_PATH;
    dialog.Flags = OFN_OVERWRITEPROMPT | OFN_HIDEREADONLY | OFN_PATHMUSTEXIST | OFN_EXPLORER;
    if (!GetSaveFileNameA(&dialog)) return;

    CSptiDevice device;
    device.Attach(App().CurrentDrive, true);
    const DriveEntry* entry = SelectedDrive();
    if (!entry) return;
    // The reader opens the drive letter on its own; the copy goes through
    // the shared handle, in 64 KiB runs.
    CUdfReader reader;
    if (!reader.Mount(entry->letter)) return;
    uint32_t lowest = reader.lowestDataSector;
    MediumEnd end = reader.medium;
    reader.Release();
    if (lowest == 0) return;
    WriteSectors(device, DumpSectorCount(lowest, end), path);
}
