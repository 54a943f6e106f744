#include "core/brush/BrushPickup.h"

#include "platform/imaging/pages/PageWalk.h"
#include "platform/imaging/pages/ilMemoryImg.h"

#include <algorithm>

namespace {

constexpr int kMaxSide = 16384;

/// Calls visit(x, y, alpha) for every pixel of `area` that is not transparent.
template <class Visitor>
void VisitPainted(const ilMIOImage& image, const ilTile& area, Visitor&& visit)
{
    const int channels = image.GetNumChannels();
    ForEachPage(area, [&](int, int, const ilTile& part) {
        uint8_t rows[kPagePixels * 4];
        const ptrdiff_t stride = ptrdiff_t{part.nx} * channels;
        image.ReadTile(part, rows, stride);
        for (int y = 0; y < part.ny; ++y)
            for (int x = 0; x < part.nx; ++x)
                if (const uint8_t alpha = rows[y * stride + ptrdiff_t{x} * channels + channels - 1]; alpha != 0)
                    visit(part.x + x, part.y + y, alpha);
    });
}

/// `area`, in layer coordinates, as far as anything is stored there; empty when it is larger than a brush may be.
ilTile WantedArea(const Layer& layer, const ilMIOImage& image, const ilTile& area)
{
    const ilTile onLayer = layer.ToLayer(area);
    const bool isWhole = area.IsEmpty();
    // Where the unstored area is painted too, only a tile can say where to end.
    const ilTile wanted = image.GetFillValue().GetAlpha() != 0 && !isWhole ? onLayer
                          : isWhole                                        ? image.GetBounds()
                                    : ilTileIntersection(onLayer, image.GetBounds());
    return wanted.nx <= kMaxSide && wanted.ny <= kMaxSide ? wanted : ilTile();
}

ilTile PaintedBounds(const ilMIOImage& image, const ilTile& area)
{
    int left = INT32_MAX;
    int top = INT32_MAX;
    int right = INT32_MIN;
    int bottom = INT32_MIN;
    VisitPainted(image, area, [&](int x, int y, uint8_t) {
        left = std::min(left, x);
        right = std::max(right, x);
        top = std::min(top, y);
        bottom = std::max(bottom, y);
    });
    return left > right ? ilTile() : ilTile(left, top, right - left + 1, bottom - top + 1);
}

}  // namespace

qs::TempReference<ilImage> BrushPickup::TakeShape(const Layer& layer, const ilTile& area)
{
    const qs::TempReference<ilMIOImage> image = layer.GetImage();
    const ilTile painted = image ? PaintedBounds(*image, WantedArea(layer, *image, area)) : ilTile();
    if (painted.IsEmpty())
        return {};
    const qs::Reference<ilMemoryImg> shape(new ilMemoryImg(painted.nx, painted.ny, 1));
    uint8_t* pixels = shape->WriteRows(shape->GetBounds());
    VisitPainted(*image, painted, [&](int x, int y, uint8_t alpha) {
        pixels[(y - painted.y) * shape->GetStrideBytes() + (x - painted.x)] = alpha;
    });
    return shape;
}

qs::Reference<PaintObj> BrushPickup::TakeTexture(const Layer& layer, const ilTile& area)
{
    const qs::TempReference<ilMIOImage> image = layer.GetImage();
    if (!image || image->GetNumChannels() != 4)
        return {};
    const ilTile painted = PaintedBounds(*image, WantedArea(layer, *image, area));
    const ilTile onLayer = layer.ToLayer(area);
    const ilTile taken = area.IsEmpty() ? painted : onLayer;
    if (painted.IsEmpty() || taken.nx > kMaxSide || taken.ny > kMaxSide)
        return {};
    const qs::Reference<ilMemoryImg> texture(new ilMemoryImg(taken.nx, taken.ny, 4));
    texture->copyTile3D(0, 0, 0, taken.nx, taken.ny, 1, *image, taken.x, taken.y, 0);
    return new ImagePaintObj(texture, true);
}
