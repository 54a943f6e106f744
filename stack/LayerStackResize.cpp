#include "stack/LayerStack.h"
#include "stack/StackParts.h"

#include <cmath>

bool LayerStack::TransformDocument(const qsLinear::AffineMatrix& matrix, int64_t width, int64_t height,
                                   const TransformFilters& filters)
{
    if (!IsAcceptableSize(width, height))
        return false;
    parts_->proxy.End();
    parts_->current.DrainDamage();
    const qs::vector<qs::Reference<Layer>> layers =
        parts_->tree.GetAllLayers();  // the host hears of each, and may delete some
    const ilTile canvas(0, 0, static_cast<int>(width), static_cast<int>(height));
    qs::vector<LayerPicture> pictures;
    for (const qs::Reference<Layer>& layer : layers) {
        const LayerPicture before = layer->GetOriginalPicture();
        pictures.push_back(before ? RebasePicture(before, matrix, filters, KeptAround(canvas)) : before);
        if (before && !pictures.back())
            return false;
    }
    if (!parts_->plane.SetSize(canvas, parts_->canvas.GetClipToSize(), false, false))
        return false;
    for (size_t i = 0; i < layers.size(); ++i)
        layers[i]->ReplacePicture(pictures[i], matrix);
    parts_->current.GetPainter();
    Notify(true);
    parts_->redraw.RebuildAll();
    return true;
}

bool LayerStack::ScaleAllLayers(int width, int height, FilterMethod minify, FilterMethod magnify)
{
    const auto scale = qsLinear::AffineMatrix::Scale(static_cast<double>(width) / parts_->canvas.GetSize().nx,
                                                     static_cast<double>(height) / parts_->canvas.GetSize().ny);
    return TransformDocument(scale, width, height, {minify, magnify});
}

bool LayerStack::ScaleAllLayers(double xFactor, double yFactor, FilterMethod minify, FilterMethod magnify)
{
    const double width = parts_->canvas.GetSize().nx * xFactor;
    const double height = parts_->canvas.GetSize().ny * yFactor;
    if (!(width > 0 && width <= kMaxSide && height > 0 && height <= kMaxSide))
        return false;
    const auto pixels = [](double side) { return static_cast<int64_t>(std::max(1.0, std::round(side))); };
    return TransformDocument(qsLinear::AffineMatrix::Scale(xFactor, yFactor), pixels(width), pixels(height),
                             {minify, magnify});
}

bool LayerStack::ResizeDocument(int width, int height, Anchor anchor)
{
    const int place = static_cast<int>(anchor);
    if (place < 0 || place > 8)
        return false;
    // Half of an odd difference goes down, so that growing and shrinking back ends where it began.
    const auto begin = [](int part, int64_t before, int64_t after) {
        const int64_t more = after - before;
        return part == 0 ? 0 : part == 2 ? -more : more < 0 ? -more / 2 : -(more / 2);
    };
    const int64_t x = begin(place % 3, parts_->canvas.GetSize().nx, width);
    const int64_t y = begin(place / 3, parts_->canvas.GetSize().ny, height);
    return IsAcceptableSize(width, height) &&
           ResizeDocument(ilTile(static_cast<int>(x), static_cast<int>(y), width, height));
}

bool LayerStack::ResizeDocument(const ilTile& canvas)
{
    const double dx = -double{1} * canvas.x;  // an int cannot tell how far INT_MIN is
    const double dy = -double{1} * canvas.y;
    if (!TransformDocument(qsLinear::AffineMatrix::Translation(dx, dy), canvas.nx, canvas.ny, {}))
        return false;
    if (parts_->properties.symmetry)
        parts_->properties.symmetry->Translate(dx, dy);
    return true;
}

bool LayerStack::RotateCanvas(double angleDeg, FilterMethod minify, FilterMethod magnify)
{
    using qsLinear::AffineMatrix;
    if (!std::isfinite(angleDeg))
        return false;
    const AffineMatrix turn = AffineMatrix::Rotation(angleDeg);
    // A hundredth of a pixel more or less is rounding, not picture.
    const auto grown = [](double side) { return std::max(1.0, std::ceil(side - 0.01)); };
    const double width =
        grown(std::fabs(turn.a) * parts_->canvas.GetSize().nx + std::fabs(turn.c) * parts_->canvas.GetSize().ny);
    const double height =
        grown(std::fabs(turn.b) * parts_->canvas.GetSize().nx + std::fabs(turn.d) * parts_->canvas.GetSize().ny);
    const AffineMatrix aboutMiddle =
        AffineMatrix::Translation(width / 2, height / 2) * turn *
        AffineMatrix::Translation(-parts_->canvas.GetSize().nx / 2.0, -parts_->canvas.GetSize().ny / 2.0);
    return TransformDocument(aboutMiddle, static_cast<int64_t>(width), static_cast<int64_t>(height), {minify, magnify});
}

bool LayerStack::FlipDocument(bool horizontal, bool vertical)
{
    const qsLinear::AffineMatrix flip(horizontal ? -1 : 1, 0, 0, vertical ? -1 : 1,
                                      horizontal ? parts_->canvas.GetSize().nx : 0,
                                      vertical ? parts_->canvas.GetSize().ny : 0);
    return TransformDocument(flip, parts_->canvas.GetSize().nx, parts_->canvas.GetSize().ny, {});
}
