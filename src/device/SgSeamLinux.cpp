#include "device/SgSeam.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>

namespace {

class CLinuxSgSeam final : public CSgSeam {
public:
    int Open(const std::string& path, int& error) override {
        int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        error = fd < 0 ? errno : 0;
        return fd;
    }
    int Ioctl(int fd, unsigned long request, void* argument, int& error) override {
        int result = ::ioctl(fd, request, argument);
        error = result < 0 ? errno : 0;
        return result;
    }
    void Close(int fd) override { ::close(fd); }
};

}  // namespace

CSgSeam& LinuxSgSeam() {
    static CLinuxSgSeam seam;
    return seam;
}
