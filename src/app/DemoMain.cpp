// vexlon-inspector-demo.exe: the same program, every line of it, but its
// drives are emulated ones answering through the emulated OS seam.

#include <windows.h>

#include <string>

#include "app/DemoDrives.h"
#include "app/MainDialog.h"
#include "emulation/EmulatedOsSeam.h"

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, PWSTR, int) {
    std::vector<std::string> errors;
    std::vector<DriveFile> drives = LoadDemoDrives(instance, errors);
    static CEmulatedOsSeam seam;
    seam.SetDrives(std::move(drives));
    char transcript[MAX_PATH];
    DWORD n = GetEnvironmentVariableA("VEXLON_TRANSCRIPT", transcript, sizeof transcript);
    if (n > 0 && n < sizeof transcript) seam.OpenTranscript(transcript);
    // VEXLON_THEME=on or off shows the pages as under a visual style or
    // without one, whatever the system says (Wine usually has none).
    char theme[8];
    n = GetEnvironmentVariableA("VEXLON_THEME", theme, sizeof theme);
    if (n > 0 && n < sizeof theme && lstrcmpiA(theme, "on") == 0) seam.themeActive = true;
    if (n > 0 && n < sizeof theme && lstrcmpiA(theme, "off") == 0) seam.themeActive = false;
    SetOs(&seam);
    if (!errors.empty()) {
        std::string text = "Some emulated drives could not be loaded:\n";
        for (const std::string& e : errors) text += "\n" + e;
        MessageBoxA(nullptr, text.c_str(), "Vexlon Inspector Demo", MB_ICONWARNING);
    }
    return RunApplication(instance);
}
