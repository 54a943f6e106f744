#include "platform/imaging/painter/StampPainter.h"

#include "platform/imaging/blend/RowBlender.h"
#include "platform/imaging/pages/PageWalk.h"

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

/// Whether the image stores no such page and reads as zero there: nothing can be taken away.
bool IsBlank(const ilMIOImage& image, int px, int py)
{
    return image.GetFillValue().GetPacked() == 0 && image.ReadPage(px, py).IsMissing();
}

/// False for a colour that is transparent, or erases.
bool AddsColor(const kernels::StampColor& color)
{
    return std::any_of(std::begin(color.component), std::end(color.component), [](auto part) { return part != 0; });
}

bool AreZero(const uint8_t* rows, ptrdiff_t stride, int rowBytes, int count)
{
    for (int y = 0; y < count; ++y, rows += stride)
        if (std::any_of(rows, rows + rowBytes, [](uint8_t byte) { return byte != 0; }))
            return false;
    return true;
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

bool StampPainter::IsClippedAway(const ilTile& part) const
{
    return limits_.coverage != nullptr &&
           limits_.coverage->GetContentOf(
               ilTileMoved(part, -int64_t{limits_.coverageX}, -int64_t{limits_.coverageY})) == PageContent::Transparent;
}

template <class Work>
void StampPainter::ForEachPagePart(Work&& work) const
{
    const StampCoverage& coverage = *placed_.coverage;
    const ilTile whole = placed_.GetTile();
    const ilTile tile = ilTileIntersection(whole, limits_.rect);
    ForEachPage(tile, [&](int px, int py, ilTile part) {
        if (!NarrowToCoveredRows(part) || IsClippedAway(part))
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
        if (!AreZero(rows, kPageSize, kPageSize, part.ny))
            work(page);
    });
}

/// adds: the colour is not all zero. Where it is, or nothing is covered, no page is made.
template <class Paint>
void StampPainter::PaintBlocks(ilMIOImage& image, ilMIOImage* lowBits, bool adds, Paint&& paint) const
{
    static_assert(kPageSize % kKernelStep == 0);
    ForEachPagePart([&](const PagePart& page) {
        if (image.ReadPage(page.px, page.py).IsMissing() &&
            ((!adds && image.GetFillValue().GetPacked() == 0) ||
             AreZero(page.coverage + PageOffsetOf(page.part.x), page.stride, page.part.nx, page.part.ny)))
            return;
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
    if (color.alpha == 0 && !AddsColor(color))
        return;
    const kernels::KernelTable& table = kernels::Get();
    const bool hasColor = image.GetNumChannels() == 4;
    const auto kernel = lowBits == nullptr ? (hasColor ? table.stampColor : table.stampCoverage)
                                           : (hasColor ? table.stampColor16 : table.stampCoverage16);
    PaintBlocks(image, lowBits, AddsColor(color), [&](const kernels::StampBlock& block) { kernel(block, color); });
}

void StampPainter::PaintWet(ilMIOImage& image, const kernels::StampColor& color, kernels::Weight wetness) const
{
    if (color.alpha == 0 && !AddsColor(color))
        return;
    const kernels::KernelTable& table = kernels::Get();
    const auto kernel = image.GetNumChannels() == 4 ? table.stampWet : table.stampWetCoverage;
    PaintBlocks(image, nullptr, AddsColor(color),
                [&](const kernels::StampBlock& block) { kernel(block, color, wetness); });
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
        const int x0 = PageOffsetOf(page.part.x);
        const auto arrives = [&] {
            for (int y = 0; y < page.part.ny; ++y)
                for (int x = 0; x < page.part.nx; ++x)
                    if (page.coverage[y * page.stride + x0 + x] != 0 &&
                        !AreZero(rows + y * stride + x * channels, stride, channels, 1))
                        return true;
            return false;
        };
        if (IsBlank(image, page.px, page.py) && (erases || !arrives()))
            return;
        const PageWriter writer = image.WritePage(page.px, page.py);
        uint8_t* out = writer.GetBytes() + PageOffsetOf(page.part.y) * stride + ptrdiff_t{x0} * channels;
        for (int y = 0; y < page.part.ny; ++y, out += stride)
            blender.Blend(out, rows + y * stride, page.coverage + y * page.stride + x0, page.part.nx);
    });
}
