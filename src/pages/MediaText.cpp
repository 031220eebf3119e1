#include "pages/MediaText.h"

#include <cinttypes>
#include <cstdarg>
#include <cstdio>
#include <cstring>

void AppendFormat(std::string& text, const char* format, ...) {
    char local[512];
    va_list args;
    va_start(args, format);
    va_list again;
    va_copy(again, args);
    int length = std::vsnprintf(local, sizeof local, format, args);
    va_end(args);
    if (length < 0) {
        va_end(again);
        return;
    }
    if (static_cast<size_t>(length) < sizeof local) {
        text.append(local, static_cast<size_t>(length));
    } else {
        std::string big(static_cast<size_t>(length) + 1, '\0');
        std::vsnprintf(&big[0], big.size(), format, again);
        big.resize(static_cast<size_t>(length));
        text += big;
    }
    va_end(again);
}

std::string FormatThousands(int64_t value) {
    char digits[64] = {};
    std::snprintf(digits, sizeof digits, "%" PRId64, value);
    size_t length = std::strlen(digits);
    size_t head = length % 3;
    std::string out(digits, head);
    for (size_t i = head; i < length; i += 3) {
        if (!out.empty()) out += ',';
        out.append(digits + i, 3);
    }
    return out;
}

std::string FormatSectorTime(uint32_t sectors) {
    uint32_t t = sectors + 150u;
    char text[48];
    std::snprintf(text, sizeof text, "%d:%02d:%02d", static_cast<int>(t / 4500u),
                  static_cast<int>((t / 75u) % 60u), static_cast<int>(t % 75u));
    return text;
}
