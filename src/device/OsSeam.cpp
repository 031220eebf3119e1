#include "device/OsSeam.h"

namespace {

COsSeam* installed = nullptr;

}  // namespace

COsSeam& Os() { return installed ? *installed : RealOs(); }

COsSeam* SetOs(COsSeam* seam) {
    COsSeam* previous = installed;
    installed = seam;
    return previous;
}
