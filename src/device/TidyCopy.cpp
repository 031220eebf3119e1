#include "device/TidyCopy.h"

#include <cstdio>
#include <cstring>

namespace {

bool IsBlank(uint8_t c) { return c <= 32 || c >= 127; }

}  // namespace

void TidyCopy(char* destination, const uint8_t* source, size_t n) {
    std::memset(destination, 0, n + 1);
    size_t out = 0;
    bool pendingBlank = false;
    for (size_t i = 0; i < n; ++i) {
        uint8_t c = source[i];
        if (IsBlank(c)) {
            // A run keeps its first byte, and only once something follows it.
            if (out > 0 && !pendingBlank) {
                pendingBlank = true;
                destination[out++] = static_cast<char>(c);
            }
            continue;
        }
        pendingBlank = false;
        destination[out++] = static_cast<char>(c);
    }
    if (pendingBlank) destination[--out] = 0;
}

void FormatIdentification(const uint8_t* inquiry96, char* identification, size_t size) {
    char vendor[9];
    char product[17];
    TidyCopy(vendor, inquiry96 + 8, 8);
    TidyCopy(product, inquiry96 + 16, 16);
    std::snprintf(identification, size, "%s %s", vendor, product);
}

void FormatDisplayText(char* text, uint8_t port, uint8_t target, uint8_t lun,
                       const char* identification, char letter) {
    std::snprintf(text, kDisplayTextSize, "[%d:%d:%d] %s (%c:)", port, target, lun, identification,
                  letter);
}
