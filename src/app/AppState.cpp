#include "app/AppState.h"

AppState& App() {
    static AppState state;
    return state;
}

const DriveEntry* SelectedDrive() {
    AppState& app = App();
    if (app.selectedDrive < 0 || static_cast<size_t>(app.selectedDrive) >= app.drives.size()) return nullptr;
    return &app.drives[static_cast<size_t>(app.selectedDrive)];
}
