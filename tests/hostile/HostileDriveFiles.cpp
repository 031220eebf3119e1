// Drive files made to hurt the loader and the emulator: too big, too long a
// line, too many blocks, too many reply bytes, and drives whose READ CAPACITY
// lies. Each goes one step past its limit, so the refusal names the exact line.

#include <cstdio>
#include <fstream>
#include <string>

#include "HostileCorpus.h"
#include "emulation/DriveFile.h"

namespace {

void WriteFile(const std::string& dir, const std::string& name, const std::string& text) {
    std::ofstream out(dir + "/" + name, std::ios::binary | std::ios::trunc);
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
}

std::string Hex2(unsigned value) {
    char text[4];
    std::snprintf(text, sizeof text, "%02X", value & 0xFFu);
    return text;
}

// A plain INQUIRY answer and a READ CAPACITY answer: what a command looks for
// past the flood of blocks in front of it.
std::string Answers(const std::string& capacity) {
    return "> 12\n05 80 05 32 1F 00 00 00 48 4F 53 54 49 4C 45 20\n"
           "> 25\n" + capacity + "\n";
}

// 200,000 blocks of one byte each, 8 bytes of text apiece, spread over the
// vendor opcodes C0-FF so that each opcode stays under its limit; the
// answers the program asks for come last.
std::string ManyTinyBlocks() {
    std::string text = "title: 200,000 tiny reply blocks\nsectors: 64\n";
    const unsigned kBlocks = 200000, kOpcodes = 64;
    text.reserve(kBlocks * 8 + 256);
    for (unsigned i = 0; i < kBlocks; ++i) text += "> " + Hex2(0xC0 + i % kOpcodes) + "\n00\n";
    return text + Answers("00 00 00 3F 00 00 08 00");
}

// One data line a byte longer than a line may be, with no end of line either.
std::string OverLongLine() {
    std::string text = "> 12\n";
    while (text.size() < 5 + kMaxLineBytes + 1) text += "00 ";
    return text;
}

// A hex word long enough that echoing it whole would flood the message.
std::string LongHexWord() { return "> 12\n" + std::string(kMaxLineBytes - 16, 'A') + "\n"; }

// Valid comment lines, a byte more than a drive file may hold.
std::string HugeFile() {
    std::string line = "# padding to make the file too big to read\n";
    std::string text;
    text.reserve(kMaxDriveFileBytes + line.size());
    while (text.size() <= kMaxDriveFileBytes) text += line;
    return text;
}

std::string TooManyBlocksOfOneOpcode() {
    std::string text;
    for (size_t i = 0; i <= kMaxBlocksPerOpcode; ++i) text += "> 12\n00\n";
    return text;
}

// One block more than the table may hold, each opcode under its own limit:
// spread over 40h-FFh, which every one takes a data block for.
std::string TooManyBlocks() {
    std::string text;
    text.reserve((kMaxReplyBlocks + 1) * 8);
    for (size_t i = 0; i <= kMaxReplyBlocks; ++i) text += "> " + Hex2(0x40 + static_cast<unsigned>(i % 192)) + "\n0\n";
    return text;
}

// Full-size blocks, each under the block limit, one byte past the total.
std::string ReplyBytesOverLimit() {
    std::string line;
    for (int i = 0; i < 64; ++i) line += "0 ";
    line += "\n";
    std::string text;
    const size_t blocks = kMaxReplyBytes / kMaxBlockBytes;
    text.reserve((blocks * kMaxBlockBytes / 64 + 4) * line.size());
    for (size_t b = 0; b < blocks; ++b) {
        text += "> " + Hex2(0xD0 + static_cast<unsigned>(b)) + "\n";
        for (size_t n = 0; n < kMaxBlockBytes / 64; ++n) text += line;
    }
    return text + "> DF\n0\n";
}

// The same field named over and over on one block line.
std::string RepeatedFields() {
    std::string text = "> 12";
    while (text.size() < kMaxLineBytes - 16) text += " page=0";
    return text + "\n00\n";
}

}  // namespace

void WriteHostileDriveFiles(const std::string& dir) {
    WriteFile(dir, "many-tiny-blocks.drive", ManyTinyBlocks());
    WriteFile(dir, "over-long-line.drive", OverLongLine());
    WriteFile(dir, "long-hex-word.drive", LongHexWord());
    WriteFile(dir, "huge-file.drive", HugeFile());
    WriteFile(dir, "too-many-blocks-of-one-opcode.drive", TooManyBlocksOfOneOpcode());
    WriteFile(dir, "too-many-blocks.drive", TooManyBlocks());
    WriteFile(dir, "reply-bytes-over-limit.drive", ReplyBytesOverLimit());
    WriteFile(dir, "repeated-fields.drive", RepeatedFields());
    // READ CAPACITY claims FFFFFFFFh sectors (last LBA FFFFFFFEh) of a medium
    // with 64; and a READ CAPACITY of 0, which means the end is unknown.
    WriteFile(dir, "read-capacity-fffffffe.drive", "sectors: 64\n" + Answers("FF FF FF FE 00 00 08 00"));
    WriteFile(dir, "read-capacity-zero.drive", "sectors: 64\n" + Answers("00 00 00 00 00 00 08 00"));
}
