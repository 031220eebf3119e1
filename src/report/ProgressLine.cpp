#include "report/ProgressLine.h"

#ifdef _WIN32
#include <io.h>
#define VEXLON_ISATTY _isatty
#define VEXLON_FILENO _fileno
#else
#include <unistd.h>
#define VEXLON_ISATTY isatty
#define VEXLON_FILENO fileno
#endif

#include "pages/MediaText.h"

namespace {

constexpr double kSectorBytes = 2048;
constexpr auto kRedrawEvery = std::chrono::milliseconds(200);

}  // namespace

std::string ProgressText(uint64_t done, uint64_t total, double seconds) {
    std::string text = FormatThousands(static_cast<int64_t>(done)) + " of " +
                       FormatThousands(static_cast<int64_t>(total)) + " sectors";
    if (seconds <= 0 || done == 0) return text;
    double rate = done * kSectorBytes / seconds;
    char part[64];
    std::snprintf(part, sizeof part, "  %.1f MB/s", rate / 1e6);
    text += part;
    uint64_t left = static_cast<uint64_t>((total > done ? total - done : 0) * kSectorBytes / rate + 0.5);
    std::snprintf(part, sizeof part, "  %llu:%02llu left", static_cast<unsigned long long>(left / 60),
                  static_cast<unsigned long long>(left % 60));
    return text + part;
}

CProgressLine::CProgressLine(FILE* stream) : out(stream), start(Clock::now()), lastDrawn(start) {}

CProgressLine::~CProgressLine() {
    if (out && drawn) std::fputc('\n', out);
}

FILE* CProgressLine::TerminalStderr() { return VEXLON_ISATTY(VEXLON_FILENO(stderr)) ? stderr : nullptr; }

void CProgressLine::Advance(uint64_t done, uint64_t total) {
    if (!out) return;
    Clock::time_point now = Clock::now();
    if (drawn && done < total && now - lastDrawn < kRedrawEvery) return;
    lastDrawn = now;
    drawn = true;
    double seconds = std::chrono::duration<double>(now - start).count();
    // Padding clears what a longer line before left behind.
    std::fprintf(out, "\r%-60s", ProgressText(done, total, seconds).c_str());
    std::fflush(out);
}
