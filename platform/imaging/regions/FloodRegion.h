#pragma once

#include "platform/imaging/pages/PageBits.h"
#include "platform/imaging/pages/PageGrid.h"
#include "platform/imaging/pages/PageWalk.h"

/// What a flood covers, page by page: nothing, all, or some pixels of a page; some of them in part where its edge is
/// soft. Pages that it does not reach, and those that it fills whole, hold no pixels.
class FloodRegion {
public:
    enum class Cover : uint8_t { None, All, Some };

    FloodRegion() = default;
    FloodRegion(FloodRegion&&) = default;
    FloodRegion& operator=(FloodRegion&&) = default;

    bool IsEmpty() const { return isEmpty_; }

    /// The page-aligned box of the pages that it reaches.
    ilTile GetPageBounds() const { return pageBounds_; }

    /// The tight box of its pixels, those covered in part included.
    ilTile GetBounds() const;

    /// Pixels that are covered in full.
    int64_t CountPixels() const;

    /// 0 to 255.
    uint8_t GetCoverage(int x, int y) const;

    Cover GetPageCover(int px, int py) const
    {
        const Cell* cell = cells_.Find(px, py);
        return cell != nullptr ? cell->cover : Cover::None;
    }

    /// What is known of a tile without looking at pixels.
    Cover GetCover(const ilTile& tile) const;

    /// Writes the coverage of `tile` into rows of `stride` bytes.
    void ReadCoverage(const ilTile& tile, uint8_t* rows, ptrdiff_t stride) const;

    /// Calls visit(px, py, Cover) for each page that it reaches, in a fixed order.
    template <class Visitor>
    void ForEachPage(Visitor&& visit) const
    {
        cells_.ForEach([&](int px, int py, const Cell& cell) {
            if (cell.cover != Cover::None)
                visit(px, py, cell.cover);
        });
    }

    /// The pixels of memory that it holds, in bytes.
    size_t GetAllocatedBytes() const;

    // --- for what makes a region ---

    void SetPageAll(int px, int py);
    void SetPageBits(int px, int py, std::unique_ptr<PageBits> bits);  // at least one bit

    /// Replaces what is known of a page by coverage, row by row; at least one byte is not 0.
    void SetPageCoverage(int px, int py, std::unique_ptr<std::array<uint8_t, kPagePixels>> coverage);

private:
    struct Cell {
        Cover cover = Cover::None;
        std::unique_ptr<PageBits> bits;  // of a page in part, with hard edges
        std::unique_ptr<std::array<uint8_t, kPagePixels>> coverage;  // of a page in part, with a soft edge
    };

    Cell& Reach(int px, int py, Cover cover);
    static void ReadRow(const Cell& cell, int y, uint8_t* row);  // 64 bytes
    static uint64_t ReachedInRow(const Cell& cell, int y);  // of a page in part, one bit a pixel

    PageGrid<Cell> cells_;
    ilTile pageBounds_;
    bool isEmpty_ = true;
};
