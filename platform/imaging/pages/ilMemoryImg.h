#pragma once

#include "platform/imaging/pages/ilImage.h"

#include <cstdint>
#include <memory>
#include <vector>

/// An image of fixed size in one block of memory: rows follow each other without gaps, row 0 first, pixel (0, 0) top
/// left. It begins as its fill value; memory that has never been written is not resident, so that a blank 16384 ×
/// 16384 image costs next to nothing.
class PAINTLAYER_EXPORT ilMemoryImg : public ilImage {
public:
    static constexpr int kCellSize = 64;  // pixels on a side of what is known to be blank or not

    /// width, height: at least 1 pixel, smaller ones act as 1. channels: 1 or 4. The image is all zero.
    /// Throws std::bad_alloc when there is no memory.
    ilMemoryImg(int width, int height, int channels);
    ~ilMemoryImg() override;

    ilTile GetBounds() const override { return {0, 0, width_, height_}; }
    ilMemoryImg* AsMemory() override { return this; }
    const ilMemoryImg* AsMemory() const override { return this; }
    void fillTile(const ilTile& tile, const ilPixel& value) override;

    int GetWidth() const { return width_; }
    int GetHeight() const { return height_; }
    ptrdiff_t GetStrideBytes() const { return stride_; }

    /// The pixels for reading, good while the image lives.
    const uint8_t* GetRow(int y) const { return pixels_ + y * stride_; }

    /// The row for writing pixels [x, x + nx) of rows [y, y + ny); marks them as written.
    uint8_t* WriteRows(const ilTile& tile);

    /// True when every pixel of the 64 × 64 cell (cellX, cellY) is known to be zero, without reading it.
    bool IsCellBlank(int cellX, int cellY) const
    {
        return blank_[static_cast<size_t>(cellY) * static_cast<size_t>(cellsAcross_) + static_cast<size_t>(cellX)] != 0;
    }

    /// The image turned by a quarter: to the right (clockwise) or to the left; width and height exchanged.
    qs::Reference<ilMemoryImg> TurnedQuarter(bool right) const;

    /// Calls visit(cellX, cellY) for each 64 × 64 cell that meets `tile` (within the image) and is not known to be
    /// blank. Rows of blank cells are passed over at once.
    template <class Visitor>
    void VisitWrittenCells(const ilTile& tile, Visitor&& visit) const;

private:
    void MarkCell(int cellX, int cellY, bool blank);
    void MarkWritten(const ilTile& tile);
    void ClearTile(const ilTile& tile);  // to zero, without touching what is blank already

    int width_;
    int height_;
    ptrdiff_t stride_;
    size_t bytes_;
    uint8_t* pixels_;
    int cellsAcross_;
    std::vector<uint8_t> blank_;  // one per 64 × 64 cell
    std::vector<int> writtenInRow_;  // cells that are not blank, per row of cells
};

template <class Visitor>
void ilMemoryImg::VisitWrittenCells(const ilTile& tile, Visitor&& visit) const
{
    if (tile.IsEmpty())
        return;
    const int right = static_cast<int>((tile.Right() - 1) / kCellSize);
    const int bottom = static_cast<int>((tile.Bottom() - 1) / kCellSize);
    for (int cy = tile.y / kCellSize; cy <= bottom; ++cy) {
        if (writtenInRow_[static_cast<size_t>(cy)] == 0)
            continue;
        for (int cx = tile.x / kCellSize; cx <= right; ++cx)
            if (!IsCellBlank(cx, cy))
                visit(cx, cy);
    }
}

/// The memory image that is handed to views: the image plane of a document.
class PAINTLAYER_EXPORT ilSPMemoryImg : public ilMemoryImg {
public:
    using ilMemoryImg::ilMemoryImg;
};
