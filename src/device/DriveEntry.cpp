#include "device/DriveEntry.h"

#include <algorithm>

void SortDriveList(DriveList& list) {
    std::stable_sort(list.begin(), list.end(), [](const DriveEntry& a, const DriveEntry& b) {
        return static_cast<signed char>(a.letter) < static_cast<signed char>(b.letter);
    });
}
