#pragma once
// A process's command line, read out of its memory the way the oldest
// systems laid it out: the parameters pointer at offset 16 of the process
// environment block, the command line's maximum length at offset 66 and its
// buffer at offset 68 of the parameters. Those are the 32-bit layouts and are
// kept as they are: on a 64-bit process the pointers found there are not the
// parameters, and the command line normally comes back empty.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

// Where a process's environment block sits when the system cannot say.
constexpr uint64_t kFallbackEnvironmentBlock = 0x7FFDF000;

// Reads another process's memory.
class CProcessMemory {
public:
    virtual ~CProcessMemory() = default;
    // Fills `out` with `size` bytes from `address`; false when the read fails.
    virtual bool Read(uint64_t address, void* out, size_t size) = 0;
};

// Absent when the environment block cannot be read; otherwise the text held
// in a zero-filled buffer of twice the length found at offset 66 (empty when
// the parameters could not be read). Pointers are `pointerSize` bytes wide;
// a pointer reaching past what was read takes zeros for the missing bytes.
std::optional<std::u16string> ReadCommandLine(CProcessMemory& memory, uint64_t environmentBlock,
                                              size_t pointerSize);
