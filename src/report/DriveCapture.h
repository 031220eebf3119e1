#pragma once
// The capture command: every command any page sends, with every answer the
// drive gives (sense data included), written as a drive file that --drive
// replays; optionally the first sectors of the disc into an image beside it.

#include <cstdint>
#include <string>
#include <vector>

#include "common/Progress.h"
#include "report/RecordingDevice.h"
#include "report/ReportCommands.h"

struct CaptureRequest {
    std::string outPath;      // the drive file to write
    bool withImage = false;   // --sectors given
    uint32_t sectors = 0;     // sectors 0..N-1 to save
    std::string date;         // for the comment line
    CProgress* progress = nullptr;  // told of the image's sectors
};

// What the drive file's header says about the medium.
struct CapturedMedium {
    bool readable = false;  // sector 0 read, or the medium reports no sectors at all
    bool sizeKnown = false;
    uint64_t sectors = 0;
};

// Runs every page's commands on `drive`, then writes the drive file (and the
// image) whole or not at all. False with a message.
bool CaptureDrive(ReportDrive& drive, const CaptureRequest& request, std::string& error);

// The drive file text for recorded replies; `imageName` empty for none.
std::string FormatCapture(const ReportDrive& drive, const DriveIds& ids, const std::vector<RecordedReply>& replies,
                          const CapturedMedium& medium, const std::string& imageName, const std::string& date);

// The image file beside a drive file: OUT.drive gives OUT.iso.
std::string CaptureImagePath(const std::string& drivePath);
