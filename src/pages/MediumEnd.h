#pragma once
// Where the medium ends, from READ CAPACITY: what bounds the disc dump and
// every read of file data.

#include <cstdint>

#include "device/Device.h"

// The end of the medium: last LBA + 1, with FFFFFF6Ah (the pre-gap of an
// empty disc) as 0. `known` is false when the drive does not answer, and
// when it answers a last LBA of 0: the Sector page reads that reply as "no
// end", and a drive that has not yet sized its disc gives it.
struct MediumEnd {
    bool known;
    uint64_t sectors;
};
MediumEnd ReadMediumEnd(CDevice& device);
