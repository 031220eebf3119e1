// ECMA-167 timestamps to Windows file times.

#include "udf/UdfTree.h"

namespace {

constexpr int kUnspecifiedZone = -2047;
constexpr uint64_t kTicksPerSecond = 10000000;

bool IsLeap(uint32_t year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

uint32_t DaysInMonth(uint32_t year, uint32_t month) {
    static const uint8_t days[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && IsLeap(year) ? 29 : days[month - 1];
}

// Days from 1601-01-01 to the first of the given month.
uint64_t DaysBefore(uint32_t year, uint32_t month) {
    uint64_t y = year - 1601;
    uint64_t days = y * 365 + y / 4 - y / 100 + y / 400;
    for (uint32_t m = 1; m < month; ++m) days += DaysInMonth(year, m);
    return days;
}

}  // namespace

void TimestampToFileTime(const uint8_t* ts, uint64_t& ft) {
    ByteReader t(ts, 12);
    uint16_t typeAndZone = t.LE16(0);
    uint32_t type = typeAndZone >> 12;
    int zone = typeAndZone & 0xFFF;
    if (zone & 0x800) zone -= 0x1000;
    if (type >= 2) return;
    if ((zone < -1440 || zone > 1440) && zone != kUnspecifiedZone) return;
    uint32_t year = t.LE16(2), month = t.U8(4), day = t.U8(5);
    uint32_t hour = t.U8(6), minute = t.U8(7), second = t.U8(8);
    if (year < 1601 || month < 1 || month > 12 || day < 1 || day > DaysInMonth(year, month)) return;
    if (hour > 23 || minute > 59 || second > 59) return;
    uint64_t days = DaysBefore(year, month) + day - 1;
    uint64_t seconds = ((days * 24 + hour) * 60 + minute) * 60 + second;
    uint64_t micro = (static_cast<uint64_t>(t.U8(9)) * 100 + t.U8(10)) * 100 + t.U8(11);
    uint64_t value = seconds * kTicksPerSecond + micro * 10;
    if (type == 1 && zone != kUnspecifiedZone)
        value += static_cast<uint64_t>(-static_cast<int64_t>(zone) * 600000000LL);
    ft = value;
}
