#include "pages/MediumEnd.h"

#include "common/ByteReader.h"
#include "pages/MediaCommands.h"

MediumEnd ReadMediumEnd(CDevice& device) {
    uint8_t answer[kReadCapacityLength] = {};
    if (!ReadCapacity(device, answer)) return MediumEnd{false, 0};
    uint32_t last = ByteReader(answer, sizeof answer).BE32(0);
    if (last == 0) return MediumEnd{false, 0};
    if (last == 0xFFFFFF6Au) return MediumEnd{true, 0};
    return MediumEnd{true, static_cast<uint64_t>(last) + 1u};
}
