#pragma once

#include "platform/base/Reference.h"
#include "platform/imaging/pages/ilTile.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

/// The coverage of one stamp at one sub-pixel place: a rectangle of bytes, made once and shared by the stamp cache.
/// Rows have kCoveragePadding zeros before and after them, so that kernels may read whole vectors.
class StampCoverage : public qs::ReferenceCount {
public:
    static constexpr int kCoveragePadding = 64;

    /// The columns of a row that are not zero: [first, last); first == last for an empty row.
    struct RowExtent {
        int first = 0;
        int last = 0;
    };

    /// All zero; (left, top): where pixel (0, 0) of the rectangle lies from the stamp's whole-pixel position.
    /// Throws std::bad_alloc.
    StampCoverage(int left, int top, int width, int height);

    int GetLeft() const { return left_; }
    int GetTop() const { return top_; }
    int GetWidth() const { return width_; }
    int GetHeight() const { return height_; }
    ptrdiff_t GetStride() const { return stride_; }
    const uint8_t* GetRow(int y) const { return firstRow_ + y * stride_; }
    uint8_t* GetRow(int y) { return firstRow_ + y * stride_; }
    RowExtent GetExtent(int y) const { return extents_[y]; }

    /// Finds the extents of all rows; called once after the rows have been written.
    void Finish();

    size_t GetByteCount() const { return byteCount_; }

private:
    struct FreeBlock {
        void operator()(void* block) const { std::free(block); }
    };

    int left_;
    int top_;
    int width_;
    int height_;
    ptrdiff_t stride_;
    size_t byteCount_;  // of the block and this object
    std::unique_ptr<void, FreeBlock> block_;  // the extents, then padding and rows; neighbours share their padding
    RowExtent* extents_;
    uint8_t* firstRow_;
};
