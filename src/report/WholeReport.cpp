#include "report/WholeReport.h"

#include <ctime>

#include "device/Capabilities.h"
#include "pages/DriveInfo.h"
#include "pages/FeatureLabels.h"
#include "pages/MediaReport.h"
#include "udf/UdfListing.h"
#include "udf/UdfReader.h"

namespace {

void Section(std::string& out, const char* heading, const std::string& body) {
    out += "\r\n== ";
    out += heading;
    out += " ==\r\n";
    out += WithCrLf(body);
}

}  // namespace

std::string TodayText() {
    std::time_t now = std::time(nullptr);
    std::tm local{};
#ifdef _WIN32
    localtime_s(&local, &now);
#else
    localtime_r(&now, &local);
#endif
    char text[16];
    std::strftime(text, sizeof text, "%Y-%m-%d", &local);
    return text;
}

std::string WithCrLf(const std::string& text) {
    std::string out;
    out.reserve(text.size() + text.size() / 16);
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\n' && (i == 0 || text[i - 1] != '\r')) out += '\r';
        out += text[i];
    }
    return out;
}

std::string WholeReport(ReportDrive& drive, const std::string& date) {
    std::string out = std::string("Vexlon Inspector ") + kProgramVersion + " report, " + date + "\r\n";
    out += WithCrLf(IdsReport(drive));
    Section(out, "Drive", FormatDriveInfo(ReadDriveInfo(*drive.device, drive.devicePath)));
    DriveCapabilities caps{};
    ReadCapabilities(*drive.device, caps);
    Section(out, "Feature", FormatFeatureStates(caps));
    Section(out, "Media", MediaReport(*drive.device));
    CUdfReader reader;
    if (reader.MountDevice(drive.device)) Section(out, "Files", FormatFileSystemListing(&reader));
    return out;
}
