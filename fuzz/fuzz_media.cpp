// The whole Media report over a drive whose every answer comes from the
// fuzzer: each command the report sends takes the next record of the input
// as its answer, so any sequence of successes, failures, short answers and
// lying lengths is reached.
//
// Input: a series of records, one per command in the order sent: byte 0
// (bit 0 set: the command fails), bytes 1-2 the answer's length (big-endian),
// then that many bytes. When the input runs out every further command fails.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "pages/MediaReport.h"

namespace {

class ScriptedDrive : public CDevice {
public:
    ScriptedDrive(const uint8_t* data, size_t size) : input(data), left(size) {}

    bool Open(const char*) override { return true; }
    bool OpenDriveLetter(uint32_t) override { return true; }
    bool Lock() override { return true; }
    bool Unlock() override { return true; }
    bool Close() override { return true; }

    bool ExecuteCommand(const ScsiCommand& command, ScsiResult*) override {
        if (left < 3) return false;
        bool fails = (input[0] & 1) != 0;
        size_t length = (static_cast<size_t>(input[1]) << 8) | input[2];
        input += 3;
        left -= 3;
        if (length > left) length = left;
        const uint8_t* answer = input;
        input += length;
        left -= length;
        if (fails) return false;
        // A drive never delivers more than the host asked for.
        size_t n = length < command.transferLength ? length : command.transferLength;
        if (command.data && n) std::memcpy(command.data, answer, n);
        return true;
    }

private:
    const uint8_t* input;
    size_t left;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ScriptedDrive drive(data, size);
    std::string report = MediaReport(drive);
    // Ids and characters from the disc are shown as they are, so only the
    // report's first line is certain whatever the drive said.
    if (report.compare(0, 17, "Current Profile: ") != 0) std::abort();
    return 0;
}
