#include "snapshot/ProcessCommandLine.h"

#include <vector>

#include "common/ByteReader.h"
#include "snapshot/XmlDocument.h"

namespace {

constexpr size_t kEnvironmentBytes = 20;
constexpr size_t kParametersPointer = 16;
constexpr size_t kParameterBytes = 72;
constexpr size_t kCommandLineLength = 66;
constexpr size_t kCommandLineBuffer = 68;

uint64_t PointerAt(const ByteReader& bytes, size_t offset, size_t pointerSize) {
    return pointerSize == 8 ? bytes.LE64(offset) : bytes.LE32(offset);
}

}  // namespace

std::optional<std::u16string> ReadCommandLine(CProcessMemory& memory, uint64_t environmentBlock,
                                              size_t pointerSize) {
    uint8_t environment[kEnvironmentBytes] = {};
    if (!memory.Read(environmentBlock, environment, sizeof environment)) return std::nullopt;
    const uint64_t parametersAt = PointerAt(ByteReader(environment, sizeof environment), kParametersPointer, pointerSize);
    uint8_t parameters[kParameterBytes] = {};
    const bool parametersRead = memory.Read(parametersAt, parameters, sizeof parameters);
    const ByteReader held(parameters, sizeof parameters);
    // The length counts bytes, yet twice as many are set aside and read.
    const size_t units = held.LE16(kCommandLineLength);
    std::vector<char16_t> buffer(units + 1, u'\0');
    if (parametersRead && units > 0)
        memory.Read(PointerAt(held, kCommandLineBuffer, pointerSize), buffer.data(), units * sizeof(char16_t));
    return UpToNul(buffer.data(), units);
}
