#include "platform/imaging/blend/ImageConvert.h"

#include "platform/imaging/blend/ImageBlend.h"
#include "platform/imaging/kernels/Kernels.h"
#include "platform/imaging/pages/PageWalk.h"

#include <cstring>

namespace {

PageContent ContentOfFill(const ilPixel& fill)
{
    return fill.GetPacked() == 0    ? PageContent::Transparent
           : fill.GetAlpha() == 255 ? PageContent::Opaque
                                    : PageContent::Mixed;
}

ilTile MirroredIn(const ilTile& piece, const ilTile& bounds, bool horizontal, bool vertical)
{
    return ilTileMoved(piece, horizontal ? bounds.x - piece.x + bounds.Right() - piece.Right() : 0,
                       vertical ? bounds.y - piece.y + bounds.Bottom() - piece.Bottom() : 0);
}

/// Reverses `count` pixels in place.
void ReverseRow(uint8_t* row, int count, int channels)
{
    if (channels == 1) {
        std::reverse(row, row + count);
        return;
    }
    for (uint8_t *left = row, *right = row + ptrdiff_t{count - 1} * 4; left < right; left += 4, right -= 4)
        std::swap_ranges(left, left + 4, right);
}

void ReverseRowOrder(uint8_t* rows, int count, ptrdiff_t stride)
{
    for (int top = 0, bottom = count - 1; top < bottom; ++top, --bottom)
        std::swap_ranges(rows + top * stride, rows + (top + 1) * stride, rows + bottom * stride);
}

}  // namespace

PageContent ContentOver(const ilMIOImage& image, const ilTile& tile)
{
    bool isTransparent = true;
    bool isOpaque = true;
    ForEachPage(tile, [&](int px, int py, const ilTile&) {
        const PageReader page = image.ReadPage(px, py);
        const PageContent content =
            page.IsMissing() ? ContentOfFill(image.GetFillValue()) : page.GetPage()->GetContent();
        isTransparent = isTransparent && content == PageContent::Transparent;
        isOpaque = isOpaque && content == PageContent::Opaque;
    });
    return isTransparent ? PageContent::Transparent : isOpaque ? PageContent::Opaque : PageContent::Mixed;
}

qs::Reference<ilSmartImage> AlphaImage(const ilMIOImage& image)
{
    const qs::Reference<ilSmartImage> made(new ilSmartImage(ilPixel::Coverage(image.GetFillValue().GetAlpha())));
    image.VisitPages(image.GetBounds(), [&](int px, int py, const Page& page) {
        if (page.IsUniform() || page.GetContent() != PageContent::Mixed) {
            const bool isOpaque = page.GetContent() == PageContent::Opaque;
            made->SetPageUniform(px, py, page.IsUniform() ? page.GetUniformValue() >> 24 : isOpaque ? 255 : 0);
            return;
        }
        const PageWriter writer(made->PageForOverwriting(px, py));
        const uint8_t* in = page.GetBytes();
        for (int i = 0; i < kPagePixels; ++i)
            writer.GetBytes()[i] = in[4 * i + 3];
    });
    return made;
}

qs::Reference<ilSmartImage> TintedImage(const ilMIOImage& coverage, const ilPixel& color)
{
    const auto tinted = [&](uint32_t value) {
        const auto part = [&](int channel) {
            return static_cast<uint8_t>(kernels::MulDiv255(color.GetComponent(channel), value));
        };
        return ilPixel::Rgba(part(0), part(1), part(2), part(3));
    };
    const qs::Reference<ilSmartImage> made(new ilSmartImage(tinted(coverage.GetFillValue().GetPacked())));
    coverage.VisitPages(coverage.GetBounds(), [&](int px, int py, const Page& page) {
        const bool isMixed = !page.IsUniform() && page.GetContent() == PageContent::Mixed;
        const uint32_t value = page.IsUniform()                           ? page.GetUniformValue()
                               : page.GetContent() == PageContent::Opaque ? 255
                                                                          : 0;
        made->SetPageUniform(px, py, isMixed ? 0 : tinted(value).GetPacked());
        if (isMixed)
            BlendColorThrough(*made, PageTile(px, py), coverage, px * kPageSize, py * kPageSize, color,
                              kernels::kFullWeight);
    });
    return made;
}

qs::Reference<ilSmartImage> CroppedImage(const ilMIOImage& image, const ilTile& tile)
{
    const qs::Reference<ilSmartImage> made(new ilSmartImage(ilPixel(kUnsignedByte, image.GetNumChannels())));
    made->copyTile3D(tile.x, tile.y, 0, tile.nx, tile.ny, 1, image, tile.x, tile.y, 0);
    made->ShrinkBounds();
    return made;
}

qs::Reference<ilSmartImage> FlippedImage(const ilMIOImage& image, const ilTile& bounds, bool horizontal, bool vertical)
{
    const int channels = image.GetNumChannels();
    const qs::Reference<ilSmartImage> made(new ilSmartImage(image.GetFillValue()));
    image.VisitPages(bounds, [&](int px, int py, const Page& page) {
        const ilTile piece = ilTileIntersection(PageTile(px, py), bounds);
        const ilTile place = MirroredIn(piece, bounds, horizontal, vertical);
        if (page.IsUniform()) {
            made->fillTile(place, ilPixel(kUnsignedByte, channels, page.GetUniformValue()));
            return;
        }
        alignas(64) uint8_t rows[kPagePixels * 4];
        const ptrdiff_t stride = ptrdiff_t{piece.nx} * channels;
        image.ReadTile(piece, rows, stride);
        for (int y = 0; horizontal && y < piece.ny; ++y)
            ReverseRow(rows + y * stride, piece.nx, channels);
        if (vertical)
            ReverseRowOrder(rows, piece.ny, stride);
        made->WriteTile(place, rows, stride);
    });
    made->ShrinkBounds();
    return made;
}
