#pragma once
// A drive file: one optical drive and its disc described by the answers the
// drive gives to SCSI commands. The loader checks everything and reports the
// first problem as "file:line: what is wrong"; it never trusts the text.

#include <cstdint>
#include <string>
#include <vector>

struct ReplyBlock {
    uint8_t opcode = 0;
    // Selecting fields named by the block: (name, value), in file order.
    std::vector<std::pair<std::string, uint32_t>> fields;
    bool isStatus = false;
    uint8_t senseKey = 0, asc = 0, ascq = 0;
    std::vector<uint8_t> data;
    int line = 0;
};

struct DriveTiming {
    double commandMs = 0.2;
    double seekMs = 0;
    double rateKBps = 0;  // 0: transfers cost nothing
};

struct DriveFile {
    std::string fileName;
    std::string title;
    char letter = 0;  // 0 until the file or the load order gives one
    bool noLetter = false;  // "letter: none": a drive without a drive letter
    uint8_t address[4] = {1, 0, 0, 0};  // PortNumber PathId TargetId Lun
    bool hasDeviceNumber = false;
    uint32_t deviceNumber = 0;
    std::string path;
    std::string imagePath;  // resolved against the drive file's folder
    bool hasSectors = false;
    uint64_t sectors = 0;
    DriveTiming timing;
    std::vector<ReplyBlock> blocks;

    // Whether READ(10) has a medium to read at all.
    bool HasMedium() const { return hasSectors || !imagePath.empty(); }
};

// Limits on what a drive file may make the loader hold. Captures from real
// drives are a few KiB of text with a dozen blocks; each limit sits far above
// that and keeps a hostile file to a few tens of MiB and a command's match to
// a short scan.

// The whole file is read line by line, so this bounds the reading time.
constexpr size_t kMaxDriveFileBytes = 16u << 20;
// The longest device path Windows allows (32,767 characters, at most 3 bytes
// each in UTF-8) fits, as does a 32 KiB reply written on one line; checked
// while the line is read, so a longer one is never held whole.
constexpr size_t kMaxLineBytes = 128u << 10;
// More than any command can ask for: allocation lengths stop at 64 KiB.
constexpr size_t kMaxBlockBytes = 1u << 20;
// Commands are matched against the blocks of their opcode only; this keeps
// that scan short. Every track of a CD in every TOC format and address form,
// or every structure format of every layer, stays well below.
constexpr size_t kMaxBlocksPerOpcode = 4096;
// A block costs about a hundred bytes besides its data: this many keep the
// table of a hostile file of tiny blocks near 32 MiB.
constexpr size_t kMaxReplyBlocks = 1u << 18;
// The data of every block together: a drive's feature list, mode pages,
// disc structures and the rest come to a few hundred KiB at most.
constexpr size_t kMaxReplyBytes = 4u << 20;

// Parses drive-file text; `fileName` names it in errors and anchors `image`.
bool ParseDriveFile(const std::string& text, const std::string& fileName, DriveFile& out,
                    std::string& error);

// Reads and parses a drive file from disk, then settles the defaults that
// need the file system (sectors from the image size).
bool LoadDriveFile(const std::string& fileName, DriveFile& out, std::string& error);

// Defaults that depend on the load order: letters D, E, F, ... for files
// without one, device numbers by load index, paths from the INQUIRY ids.
void ApplyLoadOrderDefaults(std::vector<DriveFile>& drives);

// The ide#cdrom... interface path that enumeration would report.
std::string DefaultInterfacePath(const DriveFile& drive, uint32_t index);
