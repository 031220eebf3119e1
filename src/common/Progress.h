#pragma once
// How far a long copy (a disc dump, a file extraction) has come, for a
// front end that shows a progress line. The copy never depends on it.

#include <cstdint>

class CProgress {
public:
    virtual ~CProgress() = default;
    // `done` and `total` count 2048-byte sectors; `total` never changes
    // during one copy.
    virtual void Advance(uint64_t done, uint64_t total) = 0;
};
