#include "layers/LayerPicture.h"

#include "platform/imaging/blend/ImageBlend.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace {

using qsLinear::AffineMatrix;

qs::Reference<ilSmartImage> SharedCopy(const ilMIOImage& image)
{
    const qs::Reference<ilSmartImage> copy(new ilSmartImage(image.GetFillValue()));
    copy->ShareAllFrom(image);
    return copy;
}

/// A tile of the canvas on an image whose (0, 0) lies at (x, y).
ilTile OnImage(const ilTile& onCanvas, int x, int y)
{
    return ilTileMoved(onCanvas, -int64_t{x}, -int64_t{y});
}

/// Where both the limit and the picture have something, in the picture's pixels: elsewhere an edit changes nothing.
ilTile LimitedTile(const LayerPicture& picture, const ilTile& bounds, const EditLimit& limit)
{
    if (limit.coverage->GetFillValue().GetPacked() != 0)
        return bounds;
    const ilTile covered =
        ilTileMoved(limit.coverage->GetBounds(), int64_t{limit.x} - picture.x, int64_t{limit.y} - picture.y);
    return picture.image->GetFillValue().GetPacked() != 0 ? covered : ilTileIntersection(bounds, covered);
}

/// target moves to source within the tile, by the limit's coverage.
void MoveByLimit(ilMIOImage& target, const ilMIOImage& source, const ilTile& tile, const LayerPicture& place,
                 const EditLimit& limit)
{
    ImageBlend blend;
    blend.destinationFactor = kFactorZero;
    blend.coverage = limit.coverage.get();
    const ilTile at = ilTileMoved({limit.x, limit.y, 1, 1}, -int64_t{place.x}, -int64_t{place.y});
    blend.coverageX = at.x;
    blend.coverageY = at.y;
    BlendImage(target, tile, source, tile.x, tile.y, blend);
}

/// What the limit covers of the picture, over nothing.
qs::Reference<ilSmartImage> CutOut(const LayerPicture& picture, const ilTile& tile, const EditLimit& limit)
{
    const qs::Reference<ilSmartImage> cut(new ilSmartImage(ilPixel(kUnsignedByte, picture.image->GetNumChannels())));
    MoveByLimit(*cut, *picture.image, tile, picture, limit);
    cut->ShrinkBounds();
    return cut;
}

/// Cuts out what the limit covers, lets `edit` change it and puts it over the rest.
template <class Edit>
LayerPicture EditCutOut(const LayerPicture& picture, const EditLimit& limit, Edit&& edit)
{
    const ilTile tile = LimitedTile(picture, picture.image->GetBounds(), limit);
    const qs::Reference<ilSmartImage> cut = CutOut(picture, tile, limit);
    const LayerPicture changed = edit(LayerPicture{cut, picture.x, picture.y});
    if (!changed)
        return {};
    const qs::Reference<ilSmartImage> blank(new ilSmartImage(ilPixel(kUnsignedByte, picture.image->GetNumChannels())));
    const qs::Reference<ilSmartImage> result = SharedCopy(*picture.image);
    MoveByLimit(*result, *blank, tile, picture, limit);
    const int64_t dx = int64_t{changed.x} - picture.x;
    const int64_t dy = int64_t{changed.y} - picture.y;
    const ilTile bounds = changed.image->GetBounds();
    const ilTile place = ilTileMoved(bounds, dx, dy);
    BlendImage(*result, place, *changed.image, static_cast<int>(place.x - dx), static_cast<int>(place.y - dy), {});
    result->ShrinkBounds();
    return {result, picture.x, picture.y};
}

/// The map with a quarter turn or flip moved to the nearest whole pixels: about the middle of an odd and an even side
/// it would lie half a pixel beside them. Halves away from zero, so that the way back ends where it began.
AffineMatrix OnWholePixels(const AffineMatrix& m)
{
    const bool isTurn = (m.b == 0 && m.c == 0 && std::fabs(m.a) == 1 && std::fabs(m.d) == 1) ||
                        (m.a == 0 && m.d == 0 && std::fabs(m.b) == 1 && std::fabs(m.c) == 1);
    const bool onlyMoves = m.a == 1 && m.d == 1;
    if (!isTurn || onlyMoves)
        return m;
    return {m.a, m.b, m.c, m.d, std::round(m.tx), std::round(m.ty)};
}

}  // namespace

ilTile KeptAround(const ilTile& canvas)
{
    const int margin = std::clamp(std::max(canvas.nx, canvas.ny), 1024, 4096);
    return ilTileFromEdges(int64_t{canvas.x} - margin, int64_t{canvas.y} - margin, canvas.Right() + margin,
                           canvas.Bottom() + margin);
}

LayerPicture TransformPicture(const LayerPicture& picture, const AffineMatrix& onCanvas,
                              const TransformFilters& filters, const ilTile& kept, const EditLimit& limit)
{
    if (!picture || onCanvas == AffineMatrix())
        return picture;
    if (limit.coverage)
        return EditCutOut(picture, limit,
                          [&](const LayerPicture& cut) { return TransformPicture(cut, onCanvas, filters, kept); });
    const AffineMatrix m = OnWholePixels(onCanvas);
    int dx = 0;
    int dy = 0;
    if (IsWholePixelMove(m, dx, dy))
        return RebasePicture(picture, m, filters, kept);
    const AffineMatrix onImage = AffineMatrix::Translation(-double(picture.x), -double(picture.y)) * m *
                                 AffineMatrix::Translation(picture.x, picture.y);
    return {TransformImage(*picture.image, onImage, filters, OnImage(kept, picture.x, picture.y)), picture.x,
            picture.y};
}

LayerPicture RebasePicture(const LayerPicture& picture, const AffineMatrix& onCanvas, const TransformFilters& filters,
                           const ilTile& kept)
{
    double x = picture.x;
    double y = picture.y;
    onCanvas.MapPoint(x, y);
    if (!std::isfinite(x) || !std::isfinite(y))
        return {};
    // Farther than a layer goes, its pixels go.
    const auto place = [](double v) {
        return static_cast<int>(std::clamp(std::round(v), -double{kFarthestPixel}, double{kFarthestPixel}));
    };
    const int newX = place(x);
    const int newY = place(y);
    const AffineMatrix onImage =
        AffineMatrix::Translation(-newX, -newY) * onCanvas * AffineMatrix::Translation(picture.x, picture.y);
    int dx = 0;
    int dy = 0;
    if (IsWholePixelMove(onImage, dx, dy) && dx == 0 && dy == 0)
        return {picture.image, newX, newY};
    return {TransformImage(*picture.image, onImage, filters, OnImage(kept, newX, newY)), newX, newY};
}

ilTile GetPaintedBox(const LayerPicture& picture, const EditLimit& limit)
{
    if (!picture)
        return {};
    qs::Reference<ilSmartImage> image;
    if (limit.coverage) {
        image = CutOut(picture, LimitedTile(picture, picture.image->GetBounds(), limit), limit);
    } else {
        image = SharedCopy(*picture.image);
        image->ShrinkBounds();
    }
    return ilTileMoved(image->GetBounds(), picture.x, picture.y);
}

LayerPicture DeformPicture(const LayerPicture& picture, const ilTile& from, const Rect8f& onCanvas, WarpKind kind,
                           const TransformFilters& filters, const ilTile& kept, const EditLimit& limit)
{
    if (!picture)
        return {};
    if (limit.coverage)
        return EditCutOut(picture, limit, [&](const LayerPicture& cut) {
            return DeformPicture(cut, from, onCanvas, kind, filters, kept);
        });
    return {WarpImage(*picture.image, OnImage(from, picture.x, picture.y),
                      onCanvas.Moved(-double(picture.x), -double(picture.y)), kind, filters,
                      OnImage(kept, picture.x, picture.y)),
            picture.x, picture.y};
}

LayerPicture AdjustPicture(const LayerPicture& picture, const ColorAdjustParm& parm, const ilTile& area, float amount,
                           const EditLimit& limit)
{
    if (!picture || !parm.IsValid() || !std::isfinite(amount))
        return {};
    // A limit that covers nothing outside its bounds spares what lies there.
    constexpr ilTile kEverywhere(-(1 << 30), -(1 << 30), INT32_MAX, INT32_MAX);
    ilTile within = area.IsEmpty() ? kEverywhere : ilTileMoved(area, -int64_t{picture.x}, -int64_t{picture.y});
    if (limit.coverage && limit.coverage->GetFillValue().GetPacked() == 0)
        within = ilTileIntersection(within, ilTileMoved(limit.coverage->GetBounds(), int64_t{limit.x} - picture.x,
                                                        int64_t{limit.y} - picture.y));
    const LayerPicture adjusted{AdjustColors(*picture.image, parm, within, amount), picture.x, picture.y};
    return adjusted ? LimitPicture(picture, adjusted, limit) : adjusted;
}

LayerPicture LimitPicture(const LayerPicture& original, const LayerPicture& edited, const EditLimit& limit)
{
    if (!limit.coverage)
        return edited;
    const qs::Reference<ilSmartImage> result = SharedCopy(*original.image);
    const ilTile bounds = ilTileUnion(original.image->GetBounds(), edited.image->GetBounds());
    MoveByLimit(*result, *edited.image, LimitedTile(original, bounds, limit), original, limit);
    return {result, original.x, original.y};
}
