#pragma once

#include "platform/imaging/pages/Page.h"

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

/// One bit a pixel of a page: a word a row, the lowest bit the leftmost pixel.
using PageBits = std::array<uint64_t, kPageSize>;

/// The bits [from, to) of a row; 0 <= from <= to <= 64.
constexpr uint64_t RowBits(int from, int to)
{
    const auto below = [](int n) { return n >= kPageSize ? ~uint64_t{0} : (uint64_t{1} << n) - 1; };
    return below(to) & ~below(from);
}

/// The runs of `open` that hold one of the `seeds`, which lie within `open`.
inline uint64_t FillRuns(uint64_t open, uint64_t seeds)
{
    // In a corridor the seeds are whole runs already.
    if (((seeds << 1 | seeds >> 1) & open & ~seeds) == 0)
        return seeds;
    uint64_t filled = 0;
    while (seeds != 0) {
        const uint64_t seed = seeds & (~seeds + 1);
        // Upwards the carry of an addition runs to the end of the run; downwards the next gap is looked for.
        const uint64_t above = ((open + seed) ^ open) & open;
        const uint64_t gaps = ~open & (seed - 1);
        const uint64_t start = gaps != 0 ? uint64_t{2} << (63 - std::countl_zero(gaps)) : 1;
        const uint64_t run = above | (seed - start);
        filled |= run;
        seeds &= ~run;
    }
    return filled;
}

/// Bits to bytes of 0 and 255, the lowest bit first; `to` has room for 64.
inline void BitsToCoverage(uint64_t bits, uint8_t* to)
{
    for (int i = 0; i < kPageSize; i += 8, bits >>= 8) {
        const uint64_t spread = ((bits & 0xFF) * 0x0101010101010101U) & 0x8040201008040201U;
        const uint64_t bytes = ((spread + 0x7F7F7F7F7F7F7F7FU) >> 7 & 0x0101010101010101U) * 255;
        std::memcpy(to + i, &bytes, 8);
    }
}
