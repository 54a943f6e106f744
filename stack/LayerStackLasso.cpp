#include "stack/LayerStack.h"
#include "stack/StackParts.h"
#include "stack/edits/StackEdit.h"

namespace {

/// The polygon within `canvas`; null when it is refused.
qs::TempReference<ilSmartImage> DrawLasso(const float* points, int count, FillRule rule, const ilTile& canvas)
{
    PolygonRasterizer rasterizer(canvas);
    if (count < 0 || (points == nullptr && count > 0) || !rasterizer.AddContour(points, static_cast<size_t>(count)))
        return {};
    return rasterizer.Rasterize(rule);
}

}  // namespace

qs::TempReference<ilSmartImage> LayerStack::GetLassoImage(const float* points, int count, bool nonZero) const
{
    return DrawLasso(points, count, nonZero ? FillRule::NonZero : FillRule::EvenOdd, parts_->canvas.GetSize());
}

void LayerStack::LassoSelection(const float* points, int count)
{
    const StackEdit edit(*this);
    const qs::TempReference<ilSmartImage> lasso = GetLassoImage(points, count, true);
    if (!lasso)
        return;
    SetSelectionMaskActive(true);
    SubtractFromSelection(lasso, 0, 0, true);
}

bool LayerStack::SelectLasso(const float* points, int count, SelectionMode mode, FillRule rule)
{
    const StackEdit edit(*this);
    const qs::TempReference<ilSmartImage> lasso = DrawLasso(points, count, rule, parts_->canvas.GetSize());
    if (!lasso)
        return false;
    switch (mode) {
    case SelectionMode::Replace: ReplaceSelection(lasso); break;
    case SelectionMode::Add: AddToSelection(lasso, 0, 0, false); break;
    case SelectionMode::Subtract: SubtractFromSelection(lasso, 0, 0, false); break;
    case SelectionMode::Intersect: IntersectSelection(lasso, 0, 0, false); break;
    default: return false;
    }
    SetSelectionMaskActive(true);
    ShowSelection(true);
    return true;
}
