#pragma once
// Text helpers of the Media report: printf-style appending, grouped
// numbers, and the MM:SS:FF time of a sector count.

#include <cstdint>
#include <string>

// Appends printf-formatted text to `text`.
#if defined(__GNUC__)
__attribute__((format(printf, 2, 3)))
#endif
void AppendFormat(std::string& text, const char* format, ...);

// Decimal with "," between groups of three digits. The sign counts as a
// digit of the first group, so -123 reads "-,123": that is how the grouping
// has always worked and it is kept.
std::string FormatThousands(int64_t value);

// "%d:%02d:%02d" of a sector count plus the 150-sector (two second) pre-gap,
// at 75 sectors per second, in 32-bit unsigned arithmetic.
std::string FormatSectorTime(uint32_t sectors);
