#include "platform/imaging/StampPainter.h"

#include "platform/imaging/PageWalk.h"
#include "platform/imaging/RowBlender.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr int kKernelStep = 16;  // stamp kernels walk rows in steps of 16 pixels

/// Reads `tile` of an image that repeats over its bounds.
void ReadTiled(const ilImage& image, const ilTile& tile, uint8_t* rows, ptrdiff_t stride)
{
    const ilTile bounds = image.GetBounds();
    if (bounds.IsEmpty())
        return;
    const auto wrap = [](int64_t v, int origin, int size) {
        const int64_t m = (v - origin) % size;
        return static_cast<int>(m < 0 ? m + size : m) + origin;
    };
    const int channels = image.GetNumChannels();
    for (int y = 0; y < tile.ny; ++y) {
        const int sourceY = wrap(int64_t{tile.y} + y, bounds.y, bounds.ny);
        for (int x = 0; x < tile.nx;) {
            const int sourceX = wrap(int64_t{tile.x} + x, bounds.x, bounds.nx);
            const int run = std::min(tile.nx - x, static_cast<int>(bounds.Right()) - sourceX);
            image.ReadTile({sourceX, sourceY, run, 1}, rows + y * stride + ptrdiff_t{x} * channels, stride);
            x += run;
        }
    }
}

}  // namespace

/// Drops rows at the top and bottom of `part` in which the coverage does not meet its columns; false when none is left.
bool StampPainter::NarrowToCoveredRows(ilTile& part) const
{
    const StampCoverage& coverage = *placed_.coverage;
    if (part.nx == coverage.GetWidth())
        return true;  // all columns: every row has something
    const int left = placed_.x + coverage.GetLeft();
    const int top = placed_.y + coverage.GetTop();
    const auto misses = [&](int y) {
        const StampCoverage::RowExtent extent = coverage.GetExtent(y - top);
        return left + extent.first >= part.x + part.nx || left + extent.last <= part.x;
    };
    while (part.ny > 0 && misses(part.y)) {
        ++part.y;
        --part.ny;
    }
    while (part.ny > 0 && misses(part.y + part.ny - 1))
        --part.ny;
    return part.ny > 0;
}

/// Copies the coverage of `part` into rows of a page's width, zero outside the part, scaled by the clipping image.
void StampPainter::CutCoverage(const ilTile& part, const PagePart& whole, uint8_t* rows) const
{
    const int x0 = PageOffsetOf(part.x);
    const auto width = static_cast<size_t>(part.nx);
    for (int y = 0; y < part.ny; ++y) {
        uint8_t* row = rows + y * kPageSize;
        std::memset(row, 0, kPageSize);
        std::memcpy(row + x0, whole.coverage + y * whole.stride + x0, width);
    }
    if (limits_.coverage == nullptr)
        return;
    uint8_t clip[kPagePixels];
    limits_.coverage->ReadTile(ilTileMoved(part, -int64_t{limits_.coverageX}, -int64_t{limits_.coverageY}), clip,
                               kPageSize);
    for (int y = 0; y < part.ny; ++y)
        for (int x = 0; x < part.nx; ++x) {
            uint8_t& value = rows[y * kPageSize + x0 + x];
            value = static_cast<uint8_t>(kernels::MulDiv255(value, clip[y * kPageSize + x]));
        }
}

template <class Work>
void StampPainter::ForEachPagePart(Work&& work) const
{
    const StampCoverage& coverage = *placed_.coverage;
    const ilTile whole = placed_.GetTile();
    const ilTile tile = ilTileIntersection(whole, limits_.rect);
    ForEachPage(tile, [&](int px, int py, ilTile part) {
        if (!NarrowToCoveredRows(part))
            return;
        PagePart page{px, py, part, nullptr, coverage.GetStride()};
        page.coverage = coverage.GetRow(part.y - whole.y) + (ptrdiff_t{px} * kPageSize - whole.x);
        // The kernels go on to the next multiple of 16 pixels: where the rectangle cuts the stamp, rows must end there.
        const bool isCut = part.x != std::max(whole.x, px * kPageSize) ||
                           part.Right() != std::min(whole.Right(), int64_t{px + 1} * kPageSize);
        if (!isCut && limits_.coverage == nullptr) {
            work(page);
            return;
        }
        uint8_t rows[kPagePixels];
        CutCoverage(part, page, rows);
        page.coverage = rows;
        page.stride = kPageSize;
        work(page);
    });
}

template <class Paint>
void StampPainter::PaintBlocks(ilMIOImage& image, ilMIOImage* lowBits, Paint&& paint) const
{
    static_assert(kPageSize % kKernelStep == 0);
    ForEachPagePart([&](const PagePart& page) {
        const PageWriter writer = image.WritePage(page.px, page.py);
        const ptrdiff_t stride = writer.GetPage()->GetStrideBytes();
        const ptrdiff_t offset = PageOffsetOf(page.part.y) * stride;
        const int x0 = PageOffsetOf(page.part.x);
        kernels::StampBlock block{writer.GetBytes() + offset, nullptr,     stride, page.coverage, page.stride, x0,
                                  x0 + page.part.nx,          page.part.ny};
        if (lowBits == nullptr) {
            paint(block);
            return;
        }
        const PageWriter lowWriter = lowBits->WritePage(page.px, page.py);
        block.lowBits = lowWriter.GetBytes() + offset;
        paint(block);
    });
}

void StampPainter::PaintColor(ilMIOImage& image, ilMIOImage* lowBits, const kernels::StampColor& color) const
{
    const kernels::KernelTable& table = kernels::Get();
    const bool hasColor = image.GetNumChannels() == 4;
    const auto kernel = lowBits == nullptr ? (hasColor ? table.stampColor : table.stampCoverage)
                                           : (hasColor ? table.stampColor16 : table.stampCoverage16);
    PaintBlocks(image, lowBits, [&](const kernels::StampBlock& block) { kernel(block, color); });
}

void StampPainter::PaintWet(ilMIOImage& image, const kernels::StampColor& color, kernels::Weight wetness) const
{
    const kernels::KernelTable& table = kernels::Get();
    const auto kernel = image.GetNumChannels() == 4 ? table.stampWet : table.stampWetCoverage;
    PaintBlocks(image, nullptr, [&](const kernels::StampBlock& block) { kernel(block, color, wetness); });
}

void StampPainter::PaintSource(ilMIOImage& image, const Source& source, bool erases) const
{
    const int channels = image.GetNumChannels();
    ImageBlend blend;
    blend.sourceFactor = erases ? kFactorZero : kFactorOne;
    blend.alphaWeight = source.weight;
    const RowBlender blender(channels, blend);
    ForEachPagePart([&](const PagePart& page) {
        alignas(64) uint8_t rows[kPagePixels * 4];
        const ptrdiff_t stride = ptrdiff_t{kPageSize} * channels;
        const ilTile from = ilTileMoved(page.part, source.dx, source.dy);
        if (source.isTiled)
            ReadTiled(*source.image, from, rows, stride);
        else
            source.image->ReadTile(from, rows, stride);
        const PageWriter writer = image.WritePage(page.px, page.py);
        const int x0 = PageOffsetOf(page.part.x);
        uint8_t* out = writer.GetBytes() + PageOffsetOf(page.part.y) * stride + ptrdiff_t{x0} * channels;
        for (int y = 0; y < page.part.ny; ++y, out += stride)
            blender.Blend(out, rows + y * stride, page.coverage + y * page.stride + x0, page.part.nx);
    });
}
