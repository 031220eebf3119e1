#include "pages/MediaInfo.h"

#include <cstdio>

#include "device/Commands.h"
#include "pages/MediaCommands.h"
#include "pages/MediaText.h"

namespace {

constexpr uint32_t kMaxSpeeds = 32;

// The id is assembled in a 16-byte scratch whose unused bytes stay NUL;
// only the first `keep` bytes count, and every NUL among them is dropped.
std::string Compact(const std::string& scratch, size_t keep) {
    std::string out;
    for (size_t i = 0; i < keep && i < scratch.size(); ++i)
        if (scratch[i] != '\0') out += scratch[i];
    return out;
}

void AppendBytes(std::string& scratch, const ByteReader& r, size_t from, size_t count) {
    for (size_t i = 0; i < count; ++i) scratch += static_cast<char>(r.U8(from + i));
}

std::string Revision(int value, const char* format) {
    char digits[16];
    std::snprintf(digits, sizeof digits, format, value);
    return digits;
}

// Pre-pit fields 3 and 4 of the DVD-R lead-in: the manufacturer id.
std::string PrerecordedId(const ByteReader& r) {
    std::string scratch;
    AppendBytes(scratch, r, 21, 6);
    AppendBytes(scratch, r, 29, 6);
    return Compact(scratch, 12);
}

// ADIP (DVD+R/+RW) and physical-format ids share one layout; the physical
// format variant prints the revision with two digits into 15 bytes, so a
// three-digit revision loses its last digit.
std::string AdipStyleId(const ByteReader& r, const char* revisionFormat, size_t keep) {
    std::string scratch;
    AppendBytes(scratch, r, 23, 8);
    scratch += '-';
    AppendBytes(scratch, r, 31, 3);
    scratch += '-';
    scratch += Revision(r.S8(34), revisionFormat);
    return Compact(scratch, keep);
}

}  // namespace

std::string BdDiscId(const ByteReader& di, bool signedRevision) {
    std::string scratch;
    AppendBytes(scratch, di, 100, 6);
    scratch += '\0';
    scratch += '-';
    AppendBytes(scratch, di, 106, 3);
    scratch += '-';
    int revision = signedRevision ? static_cast<int>(di.S8(111)) : static_cast<int>(di.U8(111));
    scratch += Revision(revision, "%03d");
    return Compact(scratch, 16);
}

bool ReadMediaId(CDevice& device, std::string& text) {
    uint8_t answer[kDiscStructureLength];
    ByteReader r(answer, sizeof answer);
    struct Try { uint8_t media, format; };
    static const Try kTries[] = {{0, 0x0E}, {0, 0x11}, {0, 0x00}, {1, 0x00}};
    for (int i = 0; i < 4; ++i) {
        for (uint8_t& b : answer) b = 0;
        if (!ReadDiscStructureCommand(device, kTries[i].media, kTries[i].format, answer)) continue;
        switch (i) {
        case 0: text = PrerecordedId(r); break;
        case 1: text = AdipStyleId(r, "%03d", 16); break;
        case 2: text = AdipStyleId(r, "%02d", 15); break;
        default: text = BdDiscId(r.Sub(4, kDiscStructureLength), true); break;
        }
        return true;
    }
    text = "N/A";
    return false;
}

uint32_t GetRecordedCapacity(CDevice& device) {
    switch (device.MediaType) {
    case 5: case 6: case 7: case 8: case 11: case 12:
        return 2295104;  // a single-layer DVD of 4.7 GB, whatever was written
    case 9: case 10: case 13: case 14:
        return 4173824;  // a dual-layer DVD of 8.5 GB
    default:
        break;
    }
    uint8_t answer[kReadCapacityLength] = {};
    if (!ReadCapacity(device, answer)) return 0;
    uint32_t last = ByteReader(answer, sizeof answer).BE32(0);
    // A last LBA of 0 means nothing is recorded: with the 1 the caller adds,
    // FFFFFFFFh prints as 0. A last LBA of -150 is the start of the pre-gap.
    if (last == 0) return 0xFFFFFFFFu;
    if (last == 0xFFFFFF6Au) return 0;
    return last;
}

uint32_t GetFreeCapacity(CDevice& device) {
    uint8_t answer[kFreeCapacityLength] = {};
    if (!ReadFormatCapacities(device, answer, kFreeCapacityLength)) return 0;
    ByteReader r(answer, sizeof answer);
    uint32_t largest = r.BE32(4);
    uint32_t count = r.U8(3) / 8u;
    for (uint32_t i = 1; i < count; ++i) {
        uint32_t blocks = r.BE32(4 + 8 * static_cast<size_t>(i));
        if (blocks > largest) largest = blocks;
    }
    return largest;
}

uint32_t GetWriteSpeeds(CDevice& device, uint32_t* speeds, uint32_t max) {
    uint8_t answer[kPerformanceLength] = {};
    if (!GetWritePerformance(device, answer)) return 0;
    ByteReader r(answer, sizeof answer);
    uint32_t m = r.BE32(0) >> 4;
    if (m > kMaxSpeeds) m = kMaxSpeeds;
    uint32_t all[kMaxSpeeds] = {};
    for (uint32_t i = 0; i < m; ++i) all[i] = r.BE32(8 + 16 * static_cast<size_t>(i) + 12);
    for (uint32_t i = 0; i < m; ++i)
        for (uint32_t j = i + 1; j < m; ++j)
            if (all[j] == all[i]) all[j] = 0;
    uint32_t count = 0;
    for (uint32_t i = 0; i < m && count < max; ++i)
        if (all[i] != 0) speeds[count++] = all[i];
    return count;
}

float GetSpeedDivisor(const CDevice& device) {
    switch (device.MediaFamily) {
    case FamilyCd: return 176.4f;
    case FamilyDvd: return 1385.0f;
    case FamilyHdDvd:
    case FamilyBd: return 4495.5f;
    default: return 1.0f;
    }
}

DiscInformationState DecodeDiscInformation(const ByteReader& r) {
    return {static_cast<uint8_t>(r.U8(2) & 3u), static_cast<uint8_t>((r.U8(2) >> 2) & 3u), r.Bit(2, 4), r.U8(4)};
}

DiscInformationState ReadDiscInformationState(CDevice& device) {
    uint8_t info[kDiscInformationLength] = {};
    ReadDiscInformation(device, info, kDiscInformationLength);
    return DecodeDiscInformation(ByteReader(info, sizeof info));
}

const char* DiscStatusName(uint8_t status) {
    static const char* const kStatus[] = {"Empty", "Incomplete", "Finalized", "Others"};
    return kStatus[status & 3u];
}

const char* SessionStateName(uint8_t state) {
    static const char* const kSession[] = {"Empty", "Incomplete", "Damaged/Finalization", "Complete"};
    return kSession[state & 3u];
}

bool FormatDiscInformation(CDevice& device, std::string& text) {
    text.clear();
    if (device.MediaType == 0) return true;
    text += "\r\nDisc Information:\r\n";
    DiscInformationState state = ReadDiscInformationState(device);
    uint8_t status = state.status;
    AppendFormat(text, "Status: %s\r\n", DiscStatusName(status));
    AppendFormat(text, "State of Last Session: %s\r\n", SessionStateName(state.lastSession));
    AppendFormat(text, "Erasable: %s\r\n", state.erasable ? "Yes" : "No");
    if (status != 0) {
        AppendFormat(text, "Sessions: %d\r\n", state.sessions);
        uint32_t sectors = GetRecordedCapacity(device) + 1u;
        AppendFormat(text, "Sectors: %s\r\n", FormatThousands(sectors).c_str());
        AppendFormat(text, "Space: %s bytes\r\n",
                     FormatThousands(static_cast<int64_t>(static_cast<uint64_t>(sectors) * 2048u)).c_str());
        AppendFormat(text, "Time: %s (MM:SS:FF)\r\n", FormatSectorTime(sectors).c_str());
    } else {
        uint32_t free = GetFreeCapacity(device);
        AppendFormat(text, "Free Sectors: %s\r\n", FormatThousands(free).c_str());
        AppendFormat(text, "Free Space: %s bytes\r\n",
                     FormatThousands(static_cast<int64_t>(static_cast<uint64_t>(free) * 2048u)).c_str());
        AppendFormat(text, "Free Time: %s (MM:SS:FF)\r\n", FormatSectorTime(free).c_str());
    }
    float divisor = GetSpeedDivisor(device);
    uint32_t speeds[kMaxSpeeds] = {};
    uint32_t count = GetWriteSpeeds(device, speeds, kMaxSpeeds);
    if (count == 0) return true;
    text += "Supported Write Speeds: ";
    for (uint32_t i = 0; i < count; ++i) {
        double times = static_cast<double>(static_cast<float>(speeds[i]) / divisor);
        AppendFormat(text, i + 1 < count ? "%.1fx, " : "%.1fx\r\n", times);
    }
    return true;
}
