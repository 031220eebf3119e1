#pragma once
// Drive identification text: INQUIRY ids without their padding, and the
// drive selector's display text.

#include <cstddef>
#include <cstdint>

constexpr size_t kDisplayTextSize = 65;

// Copies n bytes of `source` into the zeroed `destination` (n + 1 bytes),
// dropping leading and trailing blanks and shortening inner runs of blanks
// to their first byte. Blank: 0-32 and 127-255.
void TidyCopy(char* destination, const uint8_t* source, size_t n);

// "%s %s" of the tidied vendor (INQUIRY bytes 8-15) and product (16-31) ids,
// into a buffer of at least 26 bytes.
void FormatIdentification(const uint8_t* inquiry96, char* identification, size_t size);

// "[port:target:lun] identification (L:)" bounded to kDisplayTextSize bytes.
void FormatDisplayText(char* text, uint8_t port, uint8_t target, uint8_t lun,
                       const char* identification, char letter);
