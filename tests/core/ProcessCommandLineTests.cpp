// Reading a command line out of another process's memory with the 32-bit
// layouts, against a recorded address space.

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "snapshot/ProcessCommandLine.h"

namespace {

// Regions of bytes at addresses; a read must lie wholly inside one.
class CRecordedMemory : public CProcessMemory {
public:
    bool Read(uint64_t address, void* out, size_t size) override {
        reads.push_back({address, size});
        for (const auto& region : regions) {
            if (address < region.first || address - region.first > region.second.size() ||
                size > region.second.size() - (address - region.first))
                continue;
            std::memcpy(out, region.second.data() + (address - region.first), size);
            return true;
        }
        return false;
    }
    void Put(uint64_t address, std::vector<uint8_t> bytes) { regions[address] = std::move(bytes); }

    std::map<uint64_t, std::vector<uint8_t>> regions;
    std::vector<std::pair<uint64_t, size_t>> reads;
};

void PutLE(std::vector<uint8_t>& bytes, size_t at, uint64_t value, size_t width) {
    for (size_t i = 0; i < width; ++i) bytes[at + i] = static_cast<uint8_t>(value >> (8 * i));
}

std::vector<uint8_t> Utf16(const std::u16string& text, size_t bytes) {
    std::vector<uint8_t> out(bytes, 0);
    for (size_t i = 0; i < text.size() && 2 * i + 1 < bytes; ++i) PutLE(out, 2 * i, text[i], 2);
    return out;
}

// A 32-bit process: the parameters pointer at 16 of the environment block,
// the command line's maximum length at 66 and its buffer at 68.
void Lay32BitProcess(CRecordedMemory& memory, const std::u16string& commandLine, uint16_t maximumBytes) {
    std::vector<uint8_t> environment(0x1000, 0);
    PutLE(environment, 16, 0x00020000, 4);
    memory.Put(kFallbackEnvironmentBlock, environment);
    std::vector<uint8_t> parameters(0x300, 0);
    PutLE(parameters, 64, commandLine.size() * 2, 2);
    PutLE(parameters, 66, maximumBytes, 2);
    PutLE(parameters, 68, 0x00020500, 4);
    memory.Put(0x00020000, parameters);
    memory.Put(0x00020500, Utf16(commandLine, 2 * maximumBytes));
}

}  // namespace

TEST(ProcessCommandLine, A32BitProcessGivesItsCommandLine) {
    CRecordedMemory memory;
    const std::u16string text = u"\"C:\\Program Files\\App\\app.exe\" /quiet";
    Lay32BitProcess(memory, text, static_cast<uint16_t>(text.size() * 2 + 2));
    std::optional<std::u16string> got = ReadCommandLine(memory, kFallbackEnvironmentBlock, 4);
    ASSERT_TRUE(got.has_value());
    EXPECT_TRUE(*got == text);
    ASSERT_EQ(memory.reads.size(), 3u);
    EXPECT_EQ(memory.reads[0], (std::pair<uint64_t, size_t>{kFallbackEnvironmentBlock, 20}));
    EXPECT_EQ(memory.reads[1], (std::pair<uint64_t, size_t>{0x00020000, 72}));
    // Twice the maximum length is read: the length counts bytes, not characters.
    EXPECT_EQ(memory.reads[2], (std::pair<uint64_t, size_t>{0x00020500, 2 * (text.size() * 2 + 2)}));
}

TEST(ProcessCommandLine, A64BitProcessLayoutGivesAnEmptyCommandLine) {
    // On a 64-bit process offset 16 holds the image base and the parameters
    // sit at 32: the reader follows the image base and finds no parameters.
    CRecordedMemory memory;
    std::vector<uint8_t> environment(0x400, 0);
    PutLE(environment, 16, 0x7FF6A0000000ull, 8);
    PutLE(environment, 32, 0x000001D0C0A00000ull, 8);
    memory.Put(0x000000B2C5E3F000ull, environment);
    std::optional<std::u16string> got = ReadCommandLine(memory, 0x000000B2C5E3F000ull, 8);
    ASSERT_TRUE(got.has_value());
    EXPECT_TRUE(got->empty());
    // Only 20 bytes were read, so the pointer keeps the low half and zeros above.
    ASSERT_GE(memory.reads.size(), 2u);
    EXPECT_EQ(memory.reads[1].first, 0xA0000000ull);
}

TEST(ProcessCommandLine, AnUnreadableEnvironmentBlockGivesNoBuffer) {
    CRecordedMemory memory;
    EXPECT_FALSE(ReadCommandLine(memory, kFallbackEnvironmentBlock, 8).has_value());
    EXPECT_EQ(memory.reads.size(), 1u);
}

TEST(ProcessCommandLine, UnreadableParametersGiveAnEmptyBufferAndNoThirdRead) {
    CRecordedMemory memory;
    std::vector<uint8_t> environment(64, 0);
    PutLE(environment, 16, 0x00550000, 4);
    memory.Put(0x1000, environment);
    std::optional<std::u16string> got = ReadCommandLine(memory, 0x1000, 4);
    ASSERT_TRUE(got.has_value());
    EXPECT_TRUE(got->empty());
    EXPECT_EQ(memory.reads.size(), 2u);
}

TEST(ProcessCommandLine, TheLongestLengthStaysInsideItsBuffer) {
    // A text with no terminator inside 0xFFFF characters: all of them, no more.
    CRecordedMemory memory;
    Lay32BitProcess(memory, std::u16string(0xFFFF, u'x'), 0xFFFF);
    std::optional<std::u16string> got = ReadCommandLine(memory, kFallbackEnvironmentBlock, 4);
    ASSERT_TRUE(got.has_value());
    EXPECT_EQ(got->size(), 0xFFFFu);
}

TEST(ProcessCommandLine, AFailedTextReadLeavesTheBufferEmpty) {
    CRecordedMemory memory;
    Lay32BitProcess(memory, u"abc", 8);
    memory.regions.erase(0x00020500);
    std::optional<std::u16string> got = ReadCommandLine(memory, kFallbackEnvironmentBlock, 4);
    ASSERT_TRUE(got.has_value());
    EXPECT_TRUE(got->empty());
}
