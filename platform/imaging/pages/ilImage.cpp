#include "platform/imaging/pages/ilImage.h"

#include "platform/imaging/pages/PageWalk.h"
#include "platform/imaging/pages/ilMIOImage.h"
#include "platform/imaging/pages/ilMemoryImg.h"

#include <cstring>

namespace {

void FillRow(uint8_t* row, int count, const ilPixel& value)
{
    if (value.GetNumChannels() == 1) {
        std::memset(row, value.GetComponent(0), static_cast<size_t>(count));
        return;
    }
    const uint32_t packed = value.GetPacked();
    for (int i = 0; i < count; ++i)
        std::memcpy(row + 4 * i, &packed, 4);
}

/// Where pixel (x, y) of a page's bytes lies.
ptrdiff_t OffsetInPage(int x, int y, int channels)
{
    return (ptrdiff_t{PageOffsetOf(y)} * kPageSize + PageOffsetOf(x)) * channels;
}

void ReadPagedTile(const ilMIOImage& image, const ilTile& tile, uint8_t* rows, ptrdiff_t stride)
{
    const int channels = image.GetNumChannels();
    ForEachPage(tile, [&](int px, int py, const ilTile& part) {
        const PageReader page = image.ReadPage(px, py);
        uint8_t* out = rows + (part.y - tile.y) * stride + ptrdiff_t{part.x - tile.x} * channels;
        const uint8_t* in = page.IsMissing() ? nullptr : page.GetBytes() + OffsetInPage(part.x, part.y, channels);
        for (int y = 0; y < part.ny; ++y, out += stride) {
            if (in == nullptr) {
                FillRow(out, part.nx, image.GetFillValue());
                continue;
            }
            std::memcpy(out, in, static_cast<size_t>(part.nx) * static_cast<size_t>(channels));
            in += ptrdiff_t{kPageSize} * channels;
        }
    });
}

void ReadMemoryTile(const ilMemoryImg& image, const ilTile& tile, uint8_t* rows, ptrdiff_t stride)
{
    const int channels = image.GetNumChannels();
    const ilTile inside = ilTileIntersection(tile, image.GetBounds());
    for (int y = 0; y < tile.ny; ++y) {
        uint8_t* out = rows + y * stride;
        const int64_t line = int64_t{tile.y} + y;
        if (inside.nx != tile.nx || !inside.Contains(inside.x, line))
            FillRow(out, tile.nx, image.GetFillValue());
        if (inside.Contains(inside.x, line))
            std::memcpy(out + ptrdiff_t{inside.x - tile.x} * channels,
                        image.GetRow(static_cast<int>(line)) + ptrdiff_t{inside.x} * channels,
                        static_cast<size_t>(inside.nx) * static_cast<size_t>(channels));
    }
}

/// Copies between paged images of one fill value: what the target stores is cleared, then each stored page of the
/// source lands, so that the cost is that of the pages and not of the tile. Source pixel = target pixel + (dx, dy).
void CopyPaged(ilMIOImage& target, const ilTile& tile, const ilMIOImage& source, int64_t dx, int64_t dy)
{
    const int channels = target.GetNumChannels();
    const bool isAligned = (dx & (kPageSize - 1)) == 0 && (dy & (kPageSize - 1)) == 0;
    const ilTile sourceTile = ilTileMoved(tile, dx, dy);
    target.fillTile(tile, source.GetFillValue());
    source.VisitPages(sourceTile, [&](int px, int py, const Page& page) {
        const ilTile piece = ilTileIntersection(PageTile(px, py), sourceTile);
        if (isAligned && piece.nx == kPageSize && piece.ny == kPageSize) {
            target.SetPage(static_cast<int>(px - (dx >> kPageShift)), static_cast<int>(py - (dy >> kPageShift)),
                           source.SharePage(px, py));
            return;
        }
        ForEachPage(ilTileMoved(piece, -dx, -dy), [&](int tx, int ty, const ilTile& part) {
            const PageWriter writer = target.WritePage(tx, ty);
            uint8_t* out = writer.GetBytes() + OffsetInPage(part.x, part.y, channels);
            const uint8_t* in =
                page.GetBytes() + OffsetInPage(static_cast<int>(part.x + dx), static_cast<int>(part.y + dy), channels);
            const ptrdiff_t stride = ptrdiff_t{kPageSize} * channels;
            for (int y = 0; y < part.ny; ++y, out += stride, in += stride)
                std::memcpy(out, in, static_cast<size_t>(part.nx) * static_cast<size_t>(channels));
        });
    });
}

}  // namespace

void ilImage::copyTile3D(int x, int y, int, int nx, int ny, int, const ilImage& source, int sourceX, int sourceY, int)
{
    ilTile tile(x, y, nx, ny);
    if (source.GetNumChannels() != GetNumChannels() || tile.IsEmpty())
        return;
    const int64_t dx = int64_t{sourceX} - x;
    const int64_t dy = int64_t{sourceY} - y;
    if (AsPaged() != nullptr && source.AsPaged() != nullptr) {
        CopyPaged(*AsPaged(), tile, *source.AsPaged(), dx, dy);
        return;
    }
    // One of them is bounded: what lies outside it is fill value on the one side and nowhere on the other.
    if (AsMemory() != nullptr)
        tile = ilTileIntersection(tile, GetBounds());
    ForEachPage(tile, [&](int, int, const ilTile& part) {
        uint8_t rows[kPagePixels * 4];
        const ptrdiff_t stride = ptrdiff_t{part.nx} * GetNumChannels();
        source.ReadTile(ilTileMoved(part, dx, dy), rows, stride);
        WriteTile(part, rows, stride);
    });
}

void ilImage::ReadTile(const ilTile& tile, uint8_t* rows, ptrdiff_t strideBytes) const
{
    if (tile.IsEmpty())
        return;
    if (AsPaged() != nullptr)
        ReadPagedTile(*AsPaged(), tile, rows, strideBytes);
    else
        ReadMemoryTile(*AsMemory(), tile, rows, strideBytes);
}

void ilImage::WriteTile(const ilTile& tile, const uint8_t* rows, ptrdiff_t strideBytes)
{
    const int channels = GetNumChannels();
    if (ilMIOImage* paged = AsPaged()) {
        ForEachPage(tile, [&](int px, int py, const ilTile& part) {
            const PageWriter writer = paged->WritePage(px, py);
            uint8_t* out = writer.GetBytes() + OffsetInPage(part.x, part.y, channels);
            const uint8_t* in = rows + (part.y - tile.y) * strideBytes + ptrdiff_t{part.x - tile.x} * channels;
            for (int y = 0; y < part.ny; ++y, out += ptrdiff_t{kPageSize} * channels, in += strideBytes)
                std::memcpy(out, in, static_cast<size_t>(part.nx) * static_cast<size_t>(channels));
        });
        return;
    }
    ilMemoryImg& memory = *AsMemory();
    const ilTile inside = ilTileIntersection(tile, GetBounds());
    if (inside.IsEmpty())
        return;
    uint8_t* out = memory.WriteRows(inside);
    const uint8_t* in = rows + (inside.y - tile.y) * strideBytes + ptrdiff_t{inside.x - tile.x} * channels;
    for (int y = 0; y < inside.ny; ++y, out += memory.GetStrideBytes(), in += strideBytes)
        std::memcpy(out, in, static_cast<size_t>(inside.nx) * static_cast<size_t>(channels));
}

ilPixel ilImage::GetPixel(int x, int y) const
{
    uint8_t bytes[4] = {};
    ReadTile({x, y, 1, 1}, bytes, 4);
    uint32_t packed = 0;
    std::memcpy(&packed, bytes, 4);
    return {GetDataType(), GetNumChannels(), packed};
}

void ilImage::SetPixel(int x, int y, const ilPixel& value)
{
    const uint32_t packed = value.GetPacked();
    uint8_t bytes[4];
    std::memcpy(bytes, &packed, 4);
    WriteTile({x, y, 1, 1}, bytes, 4);
}
