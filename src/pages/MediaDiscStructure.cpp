#include "pages/MediaDiscStructure.h"

#include <cstring>

#include "common/ByteReader.h"
#include "pages/MediaCommands.h"
#include "pages/MediaInfo.h"
#include "pages/MediaText.h"

namespace {

struct Name {
    uint8_t value;
    const char* text;
};

// The name of `value` in `names`, or "Reserved (0x%02X)" of `reserved`.
std::string Lookup(const Name* names, size_t count, uint8_t value, uint8_t reserved) {
    for (size_t i = 0; i < count; ++i)
        if (names[i].value == value) return names[i].text;
    std::string text;
    AppendFormat(text, "Reserved (0x%02X)", reserved);
    return text;
}

template <size_t N>
std::string Lookup(const Name (&names)[N], uint8_t value, uint8_t reserved) {
    return Lookup(names, N, value, reserved);
}

const Name kBookTypes[] = {
    {0, "DVD-ROM"},    {1, "DVD-RAM"},    {2, "DVD-R"},     {3, "DVD-RW"},
    {4, "HD DVD-ROM"}, {5, "HD DVD-RAM"}, {6, "HD DVD-R"},  {9, "DVD+RW"},
    {10, "DVD+R"},     {13, "DVD+RW DL"}, {14, "DVD+R DL"},
};
const Name kDiscSizes[] = {{0, "120mm"}, {1, "80mm"}};
const Name kReadRates[] = {{0, "2.52Mbps"}, {1, "5.04Mbps"}, {2, "10.08Mbps"}, {15, "Not Specified"}};
const Name kLayers[] = {{0, "1"}, {1, "2"}};
const Name kTrackPaths[] = {{0, "Parallel Track Path (PTP)"}, {1, "Opposite Track Path (OTP)"}};
const Name kLinearDensities[] = {
    {0, "0.267 um/bit"}, {1, "0.293 um/bit"}, {2, "0.409 to 0.435 um/bit"},
    {4, "0.280 to 0.291 um/bit"}, {8, "0.353 um/bit"},
};
const Name kTrackDensities[] = {{0, "0.74 um/track"}, {1, "0.80 um/track"}, {2, "0.615 um/track"}};

// A byte printed with "%C": one character. A NUL would end the page's text
// early, so it prints nothing.
void AppendCharacter(std::string& text, uint8_t value) {
    if (value != 0) text += static_cast<char>(value);
}

void FormatPhysicalFormat(const DiscStructure& s, std::string& text) {
    text += "\r\nPhysical Format Information:\r\n";
    AppendFormat(text, "Book Type: %s\r\n", Lookup(kBookTypes, s.bookType, s.bookType).c_str());
    AppendFormat(text, "Part Version: %u\r\n", static_cast<unsigned>(s.partVersion));
    AppendFormat(text, "Disc Size: %s\r\n", Lookup(kDiscSizes, s.discSize, s.discSize).c_str());
    AppendFormat(text, "Maximum Read Rate: %s\r\n", Lookup(kReadRates, s.maximumRate, s.maximumRate).c_str());
    AppendFormat(text, "Number of Layers: %s\r\n",
                 Lookup(kLayers, s.numberOfLayers, s.numberOfLayers).c_str());
    AppendFormat(text, "Track Path: %s\r\n", Lookup(kTrackPaths, s.trackPath, s.trackPath).c_str());
    AppendFormat(text, "Linear Density: %s\r\n",
                 Lookup(kLinearDensities, s.linearDensity, s.linearDensity).c_str());
    // An unknown track density has always been shown with the linear
    // density's value; kept so.
    AppendFormat(text, "Track Density: %s\r\n",
                 Lookup(kTrackDensities, s.trackDensity, s.linearDensity).c_str());
    AppendFormat(text, "First Physical Sector of Data Area: %s\r\n", FormatThousands(s.firstDataSector).c_str());
    AppendFormat(text, "Last Physical Sector of Data Area: %s\r\n", FormatThousands(s.lastDataSector).c_str());
    AppendFormat(text, "Last Physical Sector in Layer 0: %s\r\n", FormatThousands(s.lastSectorLayer0).c_str());
}

void FormatBdDiscInformation(const DiscStructure& s, std::string& text) {
    ByteReader d(s.discInformation, sizeof s.discInformation);
    text += "\r\nBD Disc Information:\r\n";
    text += "DI identifier=";
    AppendCharacter(text, d.U8(0));
    AppendCharacter(text, d.U8(1));
    text += "\r\n";
    AppendFormat(text, "DI format number=0x%02X\r\n", d.U8(2));
    AppendFormat(text, "Number of DI units in each block=0x%02X\r\n", d.U8(3) >> 3);
    AppendFormat(text, "Layer for this DI unit=0x%02X\r\n", d.U8(3) & 7u);
    AppendFormat(text, "DI unit sequence number=0x%02X\r\n", d.U8(5));
    AppendFormat(text, "Continuation flag=0x%02X\r\n", d.U8(6) >> 6);
    AppendFormat(text, "number of DI bytes in this DI unit=0x%02X\r\n", d.U8(6) & 0x3Fu);
    text += "BD layer type ID=";
    for (size_t i = 8; i <= 10; ++i) AppendCharacter(text, d.U8(i));
    text += "\r\n";
    AppendFormat(text, "Disc size=%d\r\n", d.U8(11) >> 5);
    AppendFormat(text, "Class number=%d\r\n", (d.U8(11) >> 3) & 3);
    AppendFormat(text, "Version=%d\r\n", d.U8(11) & 7);
    AppendFormat(text, "Number of layers=%d\r\n", d.U8(12) >> 4);
    AppendFormat(text, "Layer type=%d\r\n", d.U8(12) & 0x0F);
    AppendFormat(text, "Presence of DVD layer=%d\r\n", d.U8(13) >> 6);
    AppendFormat(text, "Presence of CD layer=%d\r\n", (d.U8(13) >> 4) & 3);
    AppendFormat(text, "Channel bit length=%d\r\n", d.U8(13) & 0x0F);
    AppendFormat(text, "Push-Pull polarity flag=%d\r\n", d.U8(14));
    AppendFormat(text, "BCA present=%d\r\n", d.U8(16) & 0x0F);
    AppendFormat(text, "Maximum transfer rate=%d\r\n", d.U8(17));
    AppendFormat(text, "First Address Unit Number of the Data Zone=%d\r\n", static_cast<int32_t>(d.BE32(24)));
    AppendFormat(text, "Last Address Unit Number of the Data Zone=%d\r\n", static_cast<int32_t>(d.BE32(28)));
    AppendFormat(text, "Disc ID=%s\r\n", BdDiscId(d, false).c_str());
}

}  // namespace

void DecodeDiscStructure(const uint8_t* answer, size_t size, bool bluRay, DiscStructure& record) {
    std::memset(&record, 0, sizeof record);
    ByteReader r(answer, size);
    if (bluRay) {
        record.kind = 4;
        for (size_t i = 0; i < sizeof record.discInformation; ++i) record.discInformation[i] = r.U8(4 + i);
        return;
    }
    ByteReader pfi = r.Sub(4, size);
    record.kind = 2;
    record.bookType = pfi.U8(0) >> 4;
    record.partVersion = pfi.U8(0) & 0x0F;
    record.discSize = pfi.U8(1) >> 4;
    record.maximumRate = pfi.U8(1) & 0x0F;
    record.numberOfLayers = pfi.U8(2) >> 5;
    record.trackPath = (pfi.U8(2) >> 4) & 1;
    record.layerType = pfi.U8(2) & 0x0F;
    record.linearDensity = pfi.U8(3) >> 4;
    record.trackDensity = pfi.U8(3) & 0x0F;
    record.firstDataSector = pfi.BE24(5);
    record.lastDataSector = pfi.BE24(9);
    record.lastSectorLayer0 = pfi.BE24(13);
    record.bca = pfi.U8(16) >> 7;
}

bool ReadDiscStructure(CDevice& device, DiscStructure& record) {
    uint8_t answer[kDiscStructureLength] = {};
    std::memset(&record, 0, sizeof record);
    bool bluRay = device.MediaFamily == FamilyBd;
    if (!ReadDiscStructureCommand(device, bluRay ? 1 : 0, 0x00, answer)) return false;
    DecodeDiscStructure(answer, sizeof answer, bluRay, record);
    return true;
}

std::string& FormatDiscStructure(CDevice& device, const DiscStructure& record, std::string& text) {
    text.clear();
    if (record.kind == 4) FormatBdDiscInformation(record, text);
    else FormatPhysicalFormat(record, text);
    return text;
}
