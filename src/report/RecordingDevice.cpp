#include "report/RecordingDevice.h"

#include <algorithm>

#include "common/ByteReader.h"

namespace {

constexpr uint8_t kRead10 = 0x28;
constexpr uint8_t kStartStop = 0x1B;
constexpr uint8_t kGetConfiguration = 0x46;

// A drive file's block of GET CONFIGURATION is the whole feature list, which
// the replay answers every other request from; only that request is kept.
bool WholeFeatureList(const uint8_t* cdb) {
    return cdb[0] == kGetConfiguration && (cdb[1] & 3u) == 0 && cdb[2] == 0 && cdb[3] == 0;
}

std::vector<uint8_t> AnswerBytes(const ScsiCommand& command) {
    const uint8_t* data = static_cast<const uint8_t*>(command.data);
    size_t length = data ? command.transferLength : 0;
    if (command.cdb[0] == kGetConfiguration && length >= 4) {
        // The list is as long as its header says (and the buffer allows).
        ByteReader r(data, length);
        length = std::min<uint64_t>(length, uint64_t{r.BE32(0)} + 4);
    }
    size_t end = length;
    while (end > 1 && data[end - 1] == 0) --end;
    return std::vector<uint8_t>(data, data + end);
}

}  // namespace

std::vector<std::pair<std::string, uint32_t>> SelectingFields(const uint8_t* cdb) {
    ByteReader c(cdb, 16);
    switch (cdb[0]) {
    case 0x12: return {{"evpd", c.U8(1) & 1u}, {"page", c.U8(2)}};
    case 0x1A:
    case 0x5A: return {{"page", c.U8(2) & 0x3Fu}, {"pc", c.U8(2) >> 6u}};
    case 0xA4: return {{"format", c.U8(10) & 0x3Fu}, {"class", c.U8(7)}};
    case 0x51: return {{"type", c.U8(1) & 7u}};
    case 0x43: return {{"format", c.U8(2) & 0xFu}, {"msf", (c.U8(1) >> 1) & 1u}, {"track", c.U8(6)}};
    case 0xAC: return {{"type", c.U8(10)}, {"datatype", c.U8(1) & 0x1Fu}};
    case 0xAD: return {{"media", c.U8(1) & 0xFu}, {"format", c.U8(7)}, {"layer", c.U8(6)}, {"address", c.BE32(2)}};
    default: return {};
    }
}

void SenseCodes(const uint8_t* sense, uint32_t length, uint8_t& key, uint8_t& asc, uint8_t& ascq) {
    ByteReader s(sense, std::min<uint32_t>(length, 32));
    uint8_t code = s.U8(0) & 0x7Fu;
    bool descriptor = code == 0x72 || code == 0x73;
    key = (descriptor ? s.U8(1) : s.U8(2)) & 0x0Fu;
    asc = descriptor ? s.U8(2) : s.U8(12);
    ascq = descriptor ? s.U8(3) : s.U8(13);
}

CRecordingDevice::CRecordingDevice(CDevice& device) : CForwardingDevice(device) {}

bool CRecordingDevice::ExecuteCommand(const ScsiCommand& command, ScsiResult* result) {
    ScsiResult own{};
    ScsiResult* seen = result ? result : &own;
    bool ok = inner.ExecuteCommand(command, seen);
    Record(command, ok, *seen);
    return ok;
}

void CRecordingDevice::Record(const ScsiCommand& command, bool ok, const ScsiResult& result) {
    uint8_t opcode = command.cdb[0];
    // Sectors go to the image; loading and data-out commands carry nothing to replay.
    if (opcode == kRead10 || opcode == kStartStop || command.direction == DataOut) return;
    if (opcode == kGetConfiguration && !WholeFeatureList(command.cdb)) return;
    RecordedReply reply;
    reply.opcode = opcode;
    reply.fields = SelectingFields(command.cdb);
    reply.failed = !ok;
    if (!ok) SenseCodes(result.sense, result.senseLength, reply.senseKey, reply.asc, reply.ascq);
    else reply.data = AnswerBytes(command);
    for (RecordedReply& r : replies) {
        if (r.opcode != opcode || r.fields != reply.fields) continue;
        // The same question with a larger allocation: the longer answer holds the shorter.
        if (!r.failed && ok && reply.data.size() > r.data.size()) r.data = std::move(reply.data);
        return;
    }
    replies.push_back(std::move(reply));
}
