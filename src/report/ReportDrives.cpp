#include "report/ReportDrives.h"

#include <algorithm>
#include <cstdio>

#include "device/Commands.h"
#include "device/TidyCopy.h"
#include "emulation/EmulatedDevice.h"
#include "emulation/MmcTarget.h"

ListedDrive ListEmulatedDrive(const DriveFile& file, DriveCost& cost) {
    CMmcTarget target(file);
    CEmulatedDevice device(target);
    uint8_t inquiry[kInquiryLength] = {};
    Inquiry(device, inquiry);
    cost.commands += target.CommandCount();
    cost.simulated = true;
    cost.simulatedMs += target.ClockMs();
    char identification[32], display[kDisplayTextSize];
    FormatIdentification(inquiry, identification, sizeof identification);
    // A drive without a letter shows as enumeration shows it: the 'A' fallback.
    char letter = file.letter ? file.letter : 'A';
    FormatDisplayText(display, file.address[0], file.address[2], file.address[3], identification, letter);
    ListedDrive d;
    d.selector = display;
    d.letter = file.letter;
    std::copy(file.address, file.address + 4, d.address);
    d.devicePath = file.path;
    return d;
}

void SortListedDrives(std::vector<ListedDrive>& drives) {
    std::stable_sort(drives.begin(), drives.end(),
                     [](const ListedDrive& a, const ListedDrive& b) { return a.letter < b.letter; });
}

std::string FormatDriveList(const std::vector<ListedDrive>& drives) {
    std::string out;
    for (const ListedDrive& d : drives) {
        char address[48];
        std::snprintf(address, sizeof address, "%u:%u:%u:%u", d.address[0], d.address[1], d.address[2],
                      d.address[3]);
        out += d.selector + "\t" + (d.letter ? std::string(1, d.letter) + ":" : std::string("-")) + "\t" +
               address + "\t" + d.devicePath + "\n";
    }
    return out;
}
