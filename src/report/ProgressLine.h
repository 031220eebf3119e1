#pragma once
// The progress line of dump, extract and capture on standard error:
// sectors done of total, rate and time left, redrawn in place a few times a
// second; only when standard error is a terminal.

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>

#include "common/Progress.h"

class CProgressLine final : public CProgress {
public:
    // `out` null: silent.
    explicit CProgressLine(FILE* out);
    ~CProgressLine() override;

    void Advance(uint64_t done, uint64_t total) override;

    // stderr when it is a terminal, else null.
    static FILE* TerminalStderr();

private:
    using Clock = std::chrono::steady_clock;
    FILE* out;
    Clock::time_point start, lastDrawn;
    bool drawn = false;
};

// "1,024 of 4,096 sectors  2.0 MB/s  0:03 left" (the rate and time once known).
std::string ProgressText(uint64_t done, uint64_t total, double seconds);
