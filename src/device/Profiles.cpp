#include "device/Profiles.h"

#include "common/ByteReader.h"
#include "device/Commands.h"

namespace {

struct ProfileRow {
    uint16_t profile;
    const char* name;
    uint8_t family;
    uint8_t kind;
    uint8_t dualLayer;
};

// Row i describes MediaType i + 1.
const ProfileRow kProfiles[] = {
    {0x0008, "CD-ROM", 1, 0, 0},       {0x0009, "CD-R", 1, 1, 0},
    {0x000A, "CD-RW", 1, 2, 0},        {0x0010, "DVD-ROM", 2, 0, 0},
    {0x0011, "DVD-R", 2, 1, 0},        {0x0012, "DVD-RAM", 2, 3, 0},
    {0x0013, "DVD-RW RO", 2, 2, 0},    {0x0014, "DVD-RW SR", 2, 2, 0},
    {0x0015, "DVD-R DL", 2, 1, 1},     {0x0016, "DVD-R JMP DL", 2, 1, 1},
    {0x001A, "DVD+RW", 2, 2, 0},       {0x001B, "DVD+R", 2, 1, 0},
    {0x002A, "DVD+RW DL", 2, 2, 1},    {0x002B, "DVD+R DL", 2, 1, 1},
    {0x0040, "BD-ROM", 4, 0, 0},       {0x0041, "BD-R SRM", 4, 1, 0},
    {0x0042, "BD-R RRM", 4, 1, 0},     {0x0043, "BD-RE", 4, 2, 0},
    {0x0050, "HDDVD-ROM", 3, 0, 0},    {0x0051, "HDDVD-R", 3, 1, 0},
    {0x0052, "HDDVD-RAM", 3, 3, 0},    {0x0053, "HDDVD-RW", 3, 2, 0},
    {0x0058, "HDDVD-R DL", 3, 1, 1},   {0x005A, "HDDVD-RW DL", 3, 2, 1},
    {0x0020, "CD-ROM DD", 1, 0, 0},    {0x0021, "CD-R DD", 1, 1, 0},
    {0x0022, "CD-RW DD", 1, 2, 0},
};
constexpr uint32_t kProfileCount = sizeof kProfiles / sizeof kProfiles[0];
static_assert(kProfileCount == 27, "27 media kinds");

}  // namespace

uint32_t ClassifyProfile(CDevice& device, uint16_t profile) {
    device.MediaType = 0;
    device.MediaFamily = 0;
    for (uint32_t i = 0; i < kProfileCount; ++i) {
        if (kProfiles[i].profile != profile) continue;
        device.MediaType = i + 1;
        device.MediaFamily = kProfiles[i].family;
        device.MediaKind = kProfiles[i].kind;
        device.DualLayer = kProfiles[i].dualLayer;
        break;
    }
    return device.MediaType;
}

const char* GetProfileName(uint16_t profile) {
    for (const ProfileRow& row : kProfiles)
        if (row.profile == profile) return row.name;
    return "Unknown";
}

bool ReadCurrentProfile(CDevice& device) {
    uint8_t header[44] = {};
    if (!GetConfiguration(device, 0, 0, header, sizeof header)) return false;
    device.CurrentProfile = ByteReader(header, sizeof header).BE16(6);
    ClassifyProfile(device, device.CurrentProfile);
    return true;
}
