#pragma once
// The MMC target model: answers CDBs from a drive file the way a drive
// would, keeps a transcript of every command and a simulated drive clock.

#include <cstdint>
#include <fstream>
#include <vector>

#include "device/Device.h"
#include "emulation/DriveFile.h"

struct MmcReply {
    uint8_t status = 0;  // 0 GOOD, 2 CHECK CONDITION
    uint32_t transferred = 0;
    uint32_t senseLength = 0;
    uint8_t sense[18] = {};
};

struct TranscriptEntry {
    uint8_t cdb[16];
    uint8_t cdbLength;
    DataDirection direction;
    uint32_t transferLength;
    uint8_t status;
    uint32_t transferred;
    uint8_t senseKey, asc, ascq;
    double startMs;
    double durationMs;
};

class CMmcTarget {
public:
    explicit CMmcTarget(DriveFile file);

    // `data` receives at most `transferLength` bytes; bytes past what the
    // reply delivers are left as the caller had them.
    MmcReply Execute(const uint8_t* cdb, uint8_t cdbLength, DataDirection direction, uint8_t* data,
                     uint32_t transferLength);

    const DriveFile& File() const { return drive; }
    const std::vector<TranscriptEntry>& Transcript() const { return transcript; }
    // Commands executed in all, also those past the transcript's cap.
    uint64_t CommandCount() const { return commandCount; }
    void ClearTranscript() { transcript.clear(); }
    double ClockMs() const { return clockMs; }
    bool TrayOpen() const { return trayOpen; }
    // Reply blocks looked at so far: a command looks at its opcode's only.
    uint64_t BlocksExamined() const { return blocksExamined; }

    static constexpr size_t kTranscriptCap = 1u << 20;

private:
    void IndexBlocks();
    const ReplyBlock* Match(const uint8_t* cdb, bool& opcodeKnown);
    MmcReply Reply(const uint8_t* cdb, DataDirection direction, uint8_t* data, uint32_t length);
    MmcReply ReadTen(const uint8_t* cdb, uint8_t* data, uint32_t length);
    MmcReply Configuration(const uint8_t* cdb, const ReplyBlock& block, uint8_t* data, uint32_t length);
    MmcReply StartStop(const uint8_t* cdb);
    double TransferMs(uint32_t bytes) const;

    DriveFile drive;
    // The blocks of opcode n, in file order, are drive.blocks[blockOrder[i]]
    // for i from opcodeStart[n] up to opcodeStart[n + 1].
    std::vector<uint32_t> blockOrder;
    uint32_t opcodeStart[257] = {};
    uint64_t blocksExamined = 0;
    std::ifstream image;
    bool trayOpen = false;
    uint64_t nextLba = UINT64_MAX;
    double clockMs = 0;
    double pendingMs = 0;
    uint64_t commandCount = 0;
    std::vector<TranscriptEntry> transcript;
};

// Fixed-format sense data: 70h, the key, additional length 10, ASC, ASCQ.
MmcReply CheckCondition(uint8_t senseKey, uint8_t asc, uint8_t ascq);
