#include "stack/edits/DocumentTransforms.h"

#include "stack/StackRooms.h"

#include <algorithm>
#include <cmath>

bool DocumentTransforms::Scale(int width, int height, FilterMethod minify, FilterMethod magnify)
{
    const auto scale = qsLinear::AffineMatrix::Scale(static_cast<double>(width) / canvas_.GetSize().nx,
                                                     static_cast<double>(height) / canvas_.GetSize().ny);
    return Transform(scale, width, height, {minify, magnify});
}

bool DocumentTransforms::Scale(double xFactor, double yFactor, FilterMethod minify, FilterMethod magnify)
{
    const double width = canvas_.GetSize().nx * xFactor;
    const double height = canvas_.GetSize().ny * yFactor;
    if (!(width > 0 && width <= LayerStack::kMaxSide && height > 0 && height <= LayerStack::kMaxSide))
        return false;
    const auto pixels = [](double side) { return static_cast<int64_t>(std::max(1.0, std::round(side))); };
    return Transform(qsLinear::AffineMatrix::Scale(xFactor, yFactor), pixels(width), pixels(height), {minify, magnify});
}

bool DocumentTransforms::Resize(int width, int height, LayerStack::LayerStack::Anchor anchor)
{
    const int place = static_cast<int>(anchor);
    if (place < 0 || place > 8)
        return false;
    // Half of an odd difference goes down, so that growing and shrinking back ends where it began.
    const auto begin = [](int part, int64_t before, int64_t after) {
        const int64_t more = after - before;
        return part == 0 ? 0 : part == 2 ? -more : more < 0 ? -more / 2 : -(more / 2);
    };
    const int64_t x = begin(place % 3, canvas_.GetSize().nx, width);
    const int64_t y = begin(place / 3, canvas_.GetSize().ny, height);
    return LayerStack::IsAcceptableSize(width, height) &&
           Resize(ilTile(static_cast<int>(x), static_cast<int>(y), width, height));
}

bool DocumentTransforms::Resize(const ilTile& canvas)
{
    const double dx = -double{1} * canvas.x;  // an int cannot tell how far INT_MIN is
    const double dy = -double{1} * canvas.y;
    if (!Transform(qsLinear::AffineMatrix::Translation(dx, dy), canvas.nx, canvas.ny, {}))
        return false;
    if (properties_.symmetry)
        properties_.symmetry->Translate(dx, dy);
    return true;
}

bool DocumentTransforms::Rotate(double angleDeg, FilterMethod minify, FilterMethod magnify)
{
    using qsLinear::AffineMatrix;
    if (!std::isfinite(angleDeg))
        return false;
    const AffineMatrix turn = AffineMatrix::Rotation(angleDeg);
    // A hundredth of a pixel more or less is rounding, not picture.
    const auto grown = [](double side) { return std::max(1.0, std::ceil(side - 0.01)); };
    const double width = grown(std::fabs(turn.a) * canvas_.GetSize().nx + std::fabs(turn.c) * canvas_.GetSize().ny);
    const double height = grown(std::fabs(turn.b) * canvas_.GetSize().nx + std::fabs(turn.d) * canvas_.GetSize().ny);
    const AffineMatrix aboutMiddle =
        AffineMatrix::Translation(width / 2, height / 2) * turn *
        AffineMatrix::Translation(-canvas_.GetSize().nx / 2.0, -canvas_.GetSize().ny / 2.0);
    return Transform(aboutMiddle, static_cast<int64_t>(width), static_cast<int64_t>(height), {minify, magnify});
}

bool DocumentTransforms::Flip(bool horizontal, bool vertical)
{
    const qsLinear::AffineMatrix flip(horizontal ? -1 : 1, 0, 0, vertical ? -1 : 1,
                                      horizontal ? canvas_.GetSize().nx : 0, vertical ? canvas_.GetSize().ny : 0);
    return Transform(flip, canvas_.GetSize().nx, canvas_.GetSize().ny, {});
}

bool DocumentTransforms::Crop(const ilTile& canvasTile)
{
    return !ilTileIntersection(canvasTile, canvas_.GetSize()).IsEmpty() && Resize(canvasTile);
}

bool DocumentTransforms::Transform(const qsLinear::AffineMatrix& matrix, int64_t width, int64_t height,
                                   const TransformFilters& filters)
{
    if (!LayerStack::IsAcceptableSize(width, height))
        return false;
    proxy_.End();
    current_.DrainDamage();
    const qs::vector<qs::Reference<Layer>> layers =
        tree_.GetAllLayers();  // the host hears of each, and may delete some
    const ilTile canvas(0, 0, static_cast<int>(width), static_cast<int>(height));
    qs::vector<LayerPicture> pictures;
    for (const qs::Reference<Layer>& layer : layers) {
        const LayerPicture before = layer->GetOriginalPicture();
        pictures.push_back(before ? RebasePicture(before, matrix, filters, KeptAround(canvas)) : before);
        if (before && !pictures.back())
            return false;
    }
    if (!plane_.SetSize(canvas, canvas_.GetClipToSize(), false, false))
        return false;
    for (size_t i = 0; i < layers.size(); ++i)
        layers[i]->ReplacePicture(pictures[i], matrix);
    current_.GetPainter();
    stack_.Notify(true);
    redraw_.RebuildAll();
    return true;
}
