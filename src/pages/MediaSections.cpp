#include "pages/MediaSections.h"

#include "common/ByteReader.h"
#include "pages/MediaCommands.h"
#include "pages/MediaInfo.h"
#include "pages/MediaText.h"

namespace {

// Whole 8-byte TOC track descriptors after the 4-byte header of the buffer.
constexpr int32_t kMaxTocDescriptors = (kTocLength - 4) / 8;
// Whole 16-byte performance descriptors after the 8-byte header.
constexpr uint32_t kMaxPerformanceDescriptors = (kPerformanceLength - 8) / 16;

struct LeadInCode {
    uint8_t minutes, seconds, frameTens;
    const char* manufacturer;
};

// Disc identification codes of CD-R/RW blanks as the disc makers registered
// them: the lead-in start time's minutes, seconds and frame tens.
const LeadInCode kLeadInCodes[] = {
    {97, 15, 1, "Ritek Co."},
    {97, 24, 0, "Taiyo Yuden Company Ltd."},
    {97, 26, 6, "CMC Magnetics Corporation"},
    {97, 34, 2, "Mitsubishi Chemical Corporation"},
};

std::string MinutesSecondsFrames(const uint8_t (&msf)[3]) {
    std::string text;
    AppendFormat(text, "%dm%ds%df", msf[0], msf[1], msf[2]);
    return text;
}

}  // namespace

const char* AtipManufacturer(uint8_t minutes, uint8_t seconds, uint8_t frames) {
    for (const LeadInCode& code : kLeadInCodes)
        if (code.minutes == minutes && code.seconds == seconds && code.frameTens == frames / 10)
            return code.manufacturer;
    return "";
}

FormatCapacityList DecodeFormatCapacities(const ByteReader& r) {
    FormatCapacityList list;
    uint8_t listLength = r.U8(3);
    if (listLength < 9) return list;
    list.listed = true;
    list.current = {static_cast<uint8_t>(r.U8(8) & 3u), r.BE32(4), r.BE24(9)};
    // The list length byte at most 255 keeps every descriptor in the buffer.
    uint32_t count = (static_cast<uint8_t>(listLength - 9) >> 3) + 1u;
    for (uint32_t i = 0; i < count; ++i) {
        size_t d = 12 + 8 * static_cast<size_t>(i);
        list.descriptors.push_back({static_cast<uint8_t>(r.U8(d + 4) >> 2), r.BE32(d), r.BE24(d + 5)});
    }
    return list;
}

std::vector<TocEntry> DecodeToc(const ByteReader& r) {
    std::vector<TocEntry> entries;
    int32_t count = (static_cast<int32_t>(r.BE16(0)) - 2) / 8;
    // A data length past the buffer asked for lists only what the buffer holds.
    if (count > kMaxTocDescriptors) count = kMaxTocDescriptors;
    for (int32_t i = 0; i < count; ++i) {
        size_t d = 4 + 8 * static_cast<size_t>(i);
        entries.push_back({r.U8(d + 2), static_cast<int32_t>(r.BE32(d + 4)), static_cast<uint8_t>(r.U8(d + 1) >> 4),
                           static_cast<uint8_t>(r.U8(d + 1) & 0x0Fu)});
    }
    return entries;
}

AtipTimes DecodeAtip(const ByteReader& r) {
    return {{r.U8(8), r.U8(9), r.U8(10)}, {r.U8(12), r.U8(13), r.U8(14)}};
}

std::vector<PerformanceDescriptor> DecodePerformance(const ByteReader& r) {
    std::vector<PerformanceDescriptor> descriptors;
    uint32_t count = r.BE32(0) >> 4;
    // The drive's data length is not bounded by the 32 descriptors asked
    // for; the listing stops where the buffer does.
    if (count > kMaxPerformanceDescriptors) count = kMaxPerformanceDescriptors;
    for (uint32_t i = 0; i < count; ++i) {
        size_t d = 8 + 16 * static_cast<size_t>(i);
        descriptors.push_back({r.U8(d), r.BE32(d + 4), r.BE32(d + 8), r.BE32(d + 12)});
    }
    return descriptors;
}

bool ReadFormatCapacityList(CDevice& device, FormatCapacityList& list) {
    uint8_t answer[kFormatCapacitiesSectionLength] = {};
    if (!ReadFormatCapacities(device, answer, kFormatCapacitiesSectionLength)) return false;
    list = DecodeFormatCapacities(ByteReader(answer, sizeof answer));
    return true;
}

bool ReadTocEntries(CDevice& device, std::vector<TocEntry>& entries) {
    uint8_t answer[kTocLength] = {};
    if (!ReadTocPmaAtip(device, 0, answer, kTocLength)) return false;
    entries = DecodeToc(ByteReader(answer, sizeof answer));
    return true;
}

bool ReadAtipTimes(CDevice& device, AtipTimes& times) {
    uint8_t answer[kAtipLength] = {};
    if (!ReadTocPmaAtip(device, 4, answer, kAtipLength)) return false;
    times = DecodeAtip(ByteReader(answer, sizeof answer));
    return true;
}

bool ReadPerformanceDescriptors(CDevice& device, std::vector<PerformanceDescriptor>& descriptors) {
    uint8_t answer[kPerformanceLength] = {};
    if (!GetWritePerformance(device, answer)) return false;
    descriptors = DecodePerformance(ByteReader(answer, sizeof answer));
    return true;
}

bool FormatCapacitiesSection(CDevice& device, std::string& text) {
    text.clear();
    FormatCapacityList list;
    if (!ReadFormatCapacityList(device, list)) return false;
    if (!list.listed) return true;
    text += "\r\nFormat Capacities:\r\n";
    const FormatCapacity& c = list.current;
    AppendFormat(text, "DT: 0x%02X - NB: %d (0x%08X) - TDP: %d\r\n", c.type, static_cast<int32_t>(c.blocks), c.blocks,
                 static_cast<int32_t>(c.parameter));
    for (const FormatCapacity& f : list.descriptors)
        AppendFormat(text, "FT: 0x%02X - NB: %d (0x%08X) - TDP: %d\r\n", f.type, static_cast<int32_t>(f.blocks),
                     f.blocks, static_cast<int32_t>(f.parameter));
    return true;
}

bool TocSection(CDevice& device, std::string& text) {
    text.clear();
    std::vector<TocEntry> entries;
    if (!ReadTocEntries(device, entries)) return false;
    text += "\r\nTOC Information:\r\n";
    for (const TocEntry& e : entries)
        AppendFormat(text, "-> Track %02X Lba:%d, Adr:%d, Control:%d\r\n", e.track, e.lba, e.adr, e.control);
    return true;
}

bool AtipSection(CDevice& device, std::string& text) {
    text.clear();
    AtipTimes times{};
    if (!ReadAtipTimes(device, times)) return false;
    std::string leadIn = MinutesSecondsFrames(times.leadIn);
    std::string leadOut = MinutesSecondsFrames(times.leadOut);
    text += "\r\nATIP Information:\r\n";
    AppendFormat(text, "Disc ID: %s\r\n", leadIn.c_str());
    AppendFormat(text, "Manufacturer: %s\r\n", AtipManufacturer(times.leadIn[0], times.leadIn[1], times.leadIn[2]));
    AppendFormat(text, "Start Time of LeadIn: %s\r\n", leadIn.c_str());
    AppendFormat(text, "Last Possible Start Time of LeadOut: %s\r\n\r\n", leadOut.c_str());
    return true;
}

void PerformanceSection(CDevice& device, std::string& text) {
    if (device.MediaFamily == FamilyUnknown) return;
    text.clear();
    float divisor = GetSpeedDivisor(device);
    std::vector<PerformanceDescriptor> descriptors;
    if (!ReadPerformanceDescriptors(device, descriptors)) return;
    text += "\r\nPerformance (Write Speed):\r\n";
    for (size_t i = 0; i < descriptors.size(); ++i) {
        const PerformanceDescriptor& p = descriptors[i];
        uint8_t flags = p.flags;
        uint32_t read = p.readSpeed, write = p.writeSpeed;
        AppendFormat(text, "Descriptor %d...\r\n", static_cast<int>(i));
        AppendFormat(text, "    MRW: %d, Exact: %d, RDD: %d, WRC: %d\r\n", flags & 1, (flags >> 1) & 1,
                     (flags >> 2) & 1, (flags >> 3) & 3);
        AppendFormat(text, "    EndLba: %d (0x%08X)\r\n", static_cast<int32_t>(p.endLba), p.endLba);
        AppendFormat(text, "    ReadSpeed: %d KB/s (%.1fx) - WriteSpeed: %d KB/s (%.1fx)\r\n",
                     static_cast<int32_t>(read), static_cast<double>(static_cast<float>(read) / divisor),
                     static_cast<int32_t>(write), static_cast<double>(static_cast<float>(write) / divisor));
    }
}
