// The reader on a drive letter: its own pass-through device, owned by the
// reader and deleted when it is released.

#include "device/SptiDevice.h"
#include "udf/UdfReader.h"

namespace {

void DeleteSptiDevice(CDevice* device) { delete static_cast<CSptiDevice*>(device); }

}  // namespace

bool CUdfReader::Mount(char letter) {
    CSptiDevice* spti = new CSptiDevice();
    if (letter < 'A' || letter > 'Z' || !spti->OpenDriveLetter(static_cast<uint32_t>(letter - 'A'))) {
        delete spti;
        return false;
    }
    return MountDevice(spti, DeleteSptiDevice);
}
