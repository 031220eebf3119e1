#include "pages/MediaReport.h"

#include "device/Profiles.h"
#include "pages/MediaDiscStructure.h"
#include "pages/MediaInfo.h"
#include "pages/MediaSections.h"
#include "pages/MediaText.h"

void WriteMediaReport(CDevice& device, const MediaAppend& append) {
    // One buffer for every section, as the page has always had it: a writer
    // that leaves it alone makes the page append the previous text again.
    std::string text;
    ReadCurrentProfile(device);
    text.clear();
    AppendFormat(text, "Current Profile: %s\r\n", GetProfileName(device.CurrentProfile));
    append(text);
    if (device.MediaType != 0) {
        std::string id;
        ReadMediaId(device, id);
        text.clear();
        AppendFormat(text, "Media Id: %s\r\n", id.c_str());
        append(text);
    }
    FormatDiscInformation(device, text);
    append(text);
    if (FormatCapacitiesSection(device, text)) append(text);
    if (TocSection(device, text)) append(text);
    DiscStructure structure;
    if (ReadDiscStructure(device, structure)) append(FormatDiscStructure(device, structure, text));
    if (AtipSection(device, text)) append(text);
    PerformanceSection(device, text);
    append(text);
}

std::string MediaReport(CDevice& device) {
    std::string report;
    WriteMediaReport(device, [&report](const std::string& text) { report += text; });
    return report;
}
