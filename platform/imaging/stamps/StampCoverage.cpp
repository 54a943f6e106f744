#include "platform/imaging/stamps/StampCoverage.h"

#include <bit>
#include <cstring>
#include <new>

namespace {

constexpr int kWordBytes = 8;

uint64_t LoadWord(const uint8_t* bytes)
{
    uint64_t word;
    std::memcpy(&word, bytes, sizeof word);
    if constexpr (std::endian::native == std::endian::big)
        word = __builtin_bswap64(word);
    return word;
}

/// Whole words are read: the padding makes that legal at both ends of a row.
StampCoverage::RowExtent FindExtent(const uint8_t* row, int width)
{
    int first = 0;
    uint64_t word = LoadWord(row);
    while (word == 0) {
        first += kWordBytes;
        if (first >= width)
            return {};
        word = LoadWord(row + first);
    }
    first += std::countr_zero(word) / kWordBytes;

    int last = width;
    word = LoadWord(row + last - kWordBytes);
    while (word == 0) {
        last -= kWordBytes;
        word = LoadWord(row + last - kWordBytes);
    }
    return {first, last - std::countl_zero(word) / kWordBytes};
}

}  // namespace

StampCoverage::StampCoverage(int left, int top, int width, int height)
    : left_(left), top_(top), width_(width), height_(height), stride_((width + kCoveragePadding + 15) & ~15)
{
    const size_t extentBytes = static_cast<size_t>(height) * sizeof(RowExtent);
    const size_t blockBytes =
        extentBytes + kCoveragePadding + static_cast<size_t>(height) * static_cast<size_t>(stride_);
    byteCount_ = blockBytes + sizeof *this;
    // Large blocks come from the system as zeros, which calloc knows and does not write again.
    block_.reset(std::calloc(blockBytes, 1));
    if (block_ == nullptr)
        throw std::bad_alloc();
    extents_ = new (block_.get()) RowExtent[static_cast<size_t>(height)];
    firstRow_ = static_cast<uint8_t*>(block_.get()) + extentBytes + kCoveragePadding;
}

void StampCoverage::Finish()
{
    for (int y = 0; y < height_; ++y)
        extents_[y] = FindExtent(GetRow(y), width_);
}
