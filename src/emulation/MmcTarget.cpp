#include "emulation/MmcTarget.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "common/ByteReader.h"

namespace {

bool FieldValue(const uint8_t* cdb, const std::string& name, uint32_t& value) {
    ByteReader c(cdb, 16);
    switch (cdb[0]) {
    case 0x12:
        if (name == "evpd") value = c.U8(1) & 1u;
        else value = c.U8(2);  // page
        return true;
    case 0x1A:
    case 0x5A:
        if (name == "page") value = c.U8(2) & 0x3Fu;
        else value = c.U8(2) >> 6u;  // pc
        return true;
    case 0xA4:
        if (name == "format") value = c.U8(10) & 0x3Fu;
        else value = c.U8(7);  // class
        return true;
    case 0x51: value = c.U8(1) & 7u; return true;  // type
    case 0x43:
        if (name == "format") value = c.U8(2) & 0xFu;
        else if (name == "msf") value = (c.U8(1) >> 1) & 1u;
        else value = c.U8(6);  // track
        return true;
    case 0xAC:
        if (name == "type") value = c.U8(10);
        else value = c.U8(1) & 0x1Fu;  // datatype
        return true;
    case 0xAD:
        if (name == "media") value = c.U8(1) & 0xFu;
        else if (name == "format") value = c.U8(7);
        else if (name == "layer") value = c.U8(6);
        else value = c.BE32(2);  // address
        return true;
    default: return false;
    }
}

// The allocation length the CDB carries, or UINT32_MAX when the command has none.
uint32_t AllocationLength(const uint8_t* cdb) {
    ByteReader c(cdb, 16);
    switch (cdb[0]) {
    case 0x12: return c.BE16(3);
    case 0x1A: return c.U8(4);
    case 0x5A: case 0x46: case 0x51: case 0x43: case 0x23: return c.BE16(7);
    case 0xA4: case 0xAD: return c.BE16(8);
    case 0xAC: return 8u + 16u * c.BE16(8);  // a count of 16-byte descriptors
    case 0x25: return 8;
    default: return UINT32_MAX;
    }
}

bool NeedsMedium(uint8_t opcode) {
    switch (opcode) {
    case 0x23: case 0x25: case 0x28: case 0x43: case 0x51: case 0xAC: case 0xAD: return true;
    default: return false;
    }
}

MmcReply Deliver(const uint8_t* bytes, size_t size, const uint8_t* cdb, uint8_t* data, uint32_t length) {
    MmcReply reply;
    size_t n = std::min<size_t>(size, std::min<uint32_t>(length, AllocationLength(cdb)));
    if (data && n) std::memcpy(data, bytes, n);
    reply.transferred = data ? static_cast<uint32_t>(n) : 0;
    return reply;
}

}  // namespace

MmcReply CheckCondition(uint8_t senseKey, uint8_t asc, uint8_t ascq) {
    MmcReply reply;
    reply.status = 2;
    reply.senseLength = 18;
    reply.sense[0] = 0x70;
    reply.sense[2] = senseKey & 0x0F;
    reply.sense[7] = 10;
    reply.sense[12] = asc;
    reply.sense[13] = ascq;
    return reply;
}

CMmcTarget::CMmcTarget(DriveFile file) : drive(std::move(file)) {
    if (!drive.imagePath.empty()) image.open(drive.imagePath, std::ios::binary);
    transcript.reserve(64);
    IndexBlocks();
}

// A stable counting sort of the block numbers by opcode: the first block in
// the file still comes first among its opcode's.
void CMmcTarget::IndexBlocks() {
    uint32_t count[256] = {};
    for (const ReplyBlock& block : drive.blocks) ++count[block.opcode];
    for (size_t op = 0; op < 256; ++op) opcodeStart[op + 1] = opcodeStart[op] + count[op];
    uint32_t next[256];
    std::memcpy(next, opcodeStart, sizeof next);
    blockOrder.resize(drive.blocks.size());
    for (size_t i = 0; i < drive.blocks.size(); ++i)
        blockOrder[next[drive.blocks[i].opcode]++] = static_cast<uint32_t>(i);
}

const ReplyBlock* CMmcTarget::Match(const uint8_t* cdb, bool& opcodeKnown) {
    opcodeKnown = opcodeStart[cdb[0] + 1] > opcodeStart[cdb[0]];
    for (uint32_t i = opcodeStart[cdb[0]]; i < opcodeStart[cdb[0] + 1]; ++i) {
        const ReplyBlock& block = drive.blocks[blockOrder[i]];
        ++blocksExamined;
        bool all = true;
        for (const auto& field : block.fields) {
            uint32_t value = 0;
            if (!FieldValue(cdb, field.first, value) || value != field.second) { all = false; break; }
        }
        if (all) return &block;
    }
    return nullptr;
}

double CMmcTarget::TransferMs(uint32_t bytes) const {
    return drive.timing.rateKBps > 0 ? bytes / drive.timing.rateKBps : 0.0;  // kB/s = bytes per ms
}

MmcReply CMmcTarget::Execute(const uint8_t* cdbIn, uint8_t cdbLength, DataDirection direction,
                             uint8_t* data, uint32_t transferLength) {
    uint8_t cdb[16] = {};
    std::memcpy(cdb, cdbIn, cdbLength > 16 ? 16 : cdbLength);
    pendingMs = drive.timing.commandMs;
    MmcReply reply = Reply(cdb, direction, data, transferLength);
    pendingMs += TransferMs(reply.transferred);
    ++commandCount;
    if (transcript.size() < kTranscriptCap) {
        TranscriptEntry e{};
        std::memcpy(e.cdb, cdb, 16);
        e.cdbLength = cdbLength;
        e.direction = direction;
        e.transferLength = transferLength;
        e.status = reply.status;
        e.transferred = reply.transferred;
        e.senseKey = reply.sense[2];
        e.asc = reply.sense[12];
        e.ascq = reply.sense[13];
        e.startMs = clockMs;
        e.durationMs = pendingMs;
        transcript.push_back(e);
    }
    clockMs += pendingMs;
    return reply;
}

MmcReply CMmcTarget::Reply(const uint8_t* cdb, DataDirection direction, uint8_t* data, uint32_t length) {
    if (trayOpen && NeedsMedium(cdb[0])) return CheckCondition(2, 0x3A, 0x02);
    bool opcodeKnown = false;
    const ReplyBlock* block = Match(cdb, opcodeKnown);
    if (block && block->isStatus) return CheckCondition(block->senseKey, block->asc, block->ascq);
    // Needs no block, but a status block stands for a drive that refuses.
    if (cdb[0] == 0x1B) return StartStop(cdb);
    if (cdb[0] == 0x28) return ReadTen(cdb, data, length);
    if (direction == DataOut) {
        MmcReply accepted;
        accepted.transferred = length;
        return accepted;
    }
    if (!block) return opcodeKnown ? CheckCondition(5, 0x24, 0) : CheckCondition(5, 0x20, 0);
    if (cdb[0] == 0x46) return Configuration(cdb, *block, data, length);
    return Deliver(block->data.data(), block->data.size(), cdb, data, length);
}

MmcReply CMmcTarget::StartStop(const uint8_t* cdb) {
    bool start = (cdb[4] & 1) != 0;
    bool loadEject = (cdb[4] & 2) != 0;
    if (loadEject) trayOpen = !start;
    return MmcReply();
}

MmcReply CMmcTarget::ReadTen(const uint8_t* cdb, uint8_t* data, uint32_t length) {
    if (!drive.HasMedium()) return CheckCondition(2, 0x3A, 0);
    ByteReader c(cdb, 16);
    uint64_t lba = c.BE32(2);
    uint32_t count = c.BE16(7);
    if (lba + count > drive.sectors) return CheckCondition(5, 0x21, 0);
    if (lba != nextLba) pendingMs += drive.timing.seekMs;
    nextLba = lba + count;
    uint64_t wanted = static_cast<uint64_t>(count) * 2048;
    uint32_t n = static_cast<uint32_t>(std::min<uint64_t>(wanted, length));
    MmcReply reply;
    if (!data || !n) return reply;
    size_t got = 0;
    if (image.is_open()) {
        image.clear();
        image.seekg(static_cast<std::streamoff>(lba * 2048));
        if (image) {
            image.read(reinterpret_cast<char*>(data), n);
            got = static_cast<size_t>(image.gcount());
        }
    }
    // Sectors past the end of the image read as zeros.
    std::memset(data + got, 0, n - got);
    reply.transferred = n;
    return reply;
}

MmcReply CMmcTarget::Configuration(const uint8_t* cdb, const ReplyBlock& block, uint8_t* data,
                                   uint32_t length) {
    ByteReader c(cdb, 16);
    uint8_t rt = c.U8(1) & 3u;
    uint16_t start = c.BE16(2);
    std::vector<uint8_t> answer;
    if (rt == 0 && start == 0) {
        answer = block.data;  // as it stands, lying lengths and all, short ones too
    } else {
        ByteReader list(block.data.data(), block.data.size());
        answer.assign(block.data.begin(), block.data.begin() + std::min<size_t>(8, block.data.size()));
        answer.resize(8);
        for (size_t at = 8; list.Has(at, 4);) {
            size_t size = 4 + static_cast<size_t>(list.U8(at + 3));
            uint16_t code = list.BE16(at);
            bool take = rt == 2 ? code == start : code >= start && (rt == 0 || list.Bit(at + 2, 0));
            if (take) {
                size_t n = std::min(size, list.Size() - at);
                answer.insert(answer.end(), block.data.begin() + static_cast<std::ptrdiff_t>(at),
                              block.data.begin() + static_cast<std::ptrdiff_t>(at + n));
            }
            if (rt == 2 && take) break;
            at += size;
        }
        PutBE32(answer.data(), static_cast<uint32_t>(answer.size() - 4));
    }
    // No disc, no current profile; a list too short to hold one stays as it is.
    if (trayOpen)
        for (size_t i = 6; i < 8 && i < answer.size(); ++i) answer[i] = 0;
    return Deliver(answer.data(), answer.size(), cdb, data, length);
}
