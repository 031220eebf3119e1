// vexlon-inspector.exe: the product, talking to the real drives.

#include <windows.h>

#include "app/MainDialog.h"

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, PWSTR, int) { return RunApplication(instance); }
