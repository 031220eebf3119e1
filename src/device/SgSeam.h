#pragma once
// The three Linux calls the SG_IO device makes, behind one seam so that the
// tests can put the drive emulator where the kernel would be.

#include <string>

class CSgSeam {
public:
    virtual ~CSgSeam() = default;
    // A file descriptor, or -1 with errno's value in `error`.
    virtual int Open(const std::string& path, int& error) = 0;
    // ioctl's result, errno's value in `error` when it is -1.
    virtual int Ioctl(int fd, unsigned long request, void* argument, int& error) = 0;
    virtual void Close(int fd) = 0;
};

// The seam over the real system calls (open read-only and non-blocking, so
// that a drive without a disc opens too).
CSgSeam& LinuxSgSeam();
