#pragma once
// A CDevice in front of another that keeps every answer it passes on, one
// reply per distinct command (opcode and the fields a drive file selects
// on), for writing a drive file that replays them.

#include <cstdint>
#include <string>
#include <vector>

#include "device/ForwardingDevice.h"

struct RecordedReply {
    uint8_t opcode = 0;
    std::vector<std::pair<std::string, uint32_t>> fields;  // every selecting field of the opcode
    bool failed = false;
    uint8_t senseKey = 0, asc = 0, ascq = 0;
    std::vector<uint8_t> data;  // the answer's bytes, trailing zeros dropped (one byte kept)
};

class CRecordingDevice final : public CForwardingDevice {
public:
    explicit CRecordingDevice(CDevice& inner);
    ~CRecordingDevice() = default;

    bool ExecuteCommand(const ScsiCommand& command, ScsiResult* result) override;

    const std::vector<RecordedReply>& Replies() const { return replies; }

private:
    void Record(const ScsiCommand& command, bool ok, const ScsiResult& result);

    std::vector<RecordedReply> replies;
};

// The selecting fields of a CDB as a drive file names them, in its order.
std::vector<std::pair<std::string, uint32_t>> SelectingFields(const uint8_t* cdb);

// Sense key, ASC and ASCQ of fixed (70h/71h) or descriptor (72h/73h) sense data.
void SenseCodes(const uint8_t* sense, uint32_t length, uint8_t& key, uint8_t& asc, uint8_t& ascq);
