#include "stack/selection/SelectionLasso.h"

#include "stack/StackRooms.h"
#include "stack/edits/StackEdit.h"
#include "stack/selection/SelectionImages.h"
#include "stack/selection/SelectionLife.h"

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

qs::TempReference<ilSmartImage> SelectionLasso::Draw(const float* points, int count, bool nonZero) const
{
    return DrawLasso(points, count, nonZero ? FillRule::NonZero : FillRule::EvenOdd, canvas_.GetSize());
}

void SelectionLasso::Subtract(const float* points, int count)
{
    const StackEdit edit(stack_);
    const qs::TempReference<ilSmartImage> lasso = Draw(points, count, true);
    if (!lasso)
        return;
    life_.SetActive(true);
    images_.Subtract(lasso, 0, 0, true);
}

bool SelectionLasso::Select(const float* points, int count, SelectionMode mode, FillRule rule)
{
    const StackEdit edit(stack_);
    const qs::TempReference<ilSmartImage> lasso = DrawLasso(points, count, rule, canvas_.GetSize());
    if (!lasso)
        return false;
    switch (mode) {
    case SelectionMode::Replace: life_.Replace(lasso); break;
    case SelectionMode::Add: images_.Add(lasso, 0, 0, false); break;
    case SelectionMode::Subtract: images_.Subtract(lasso, 0, 0, false); break;
    case SelectionMode::Intersect: images_.Intersect(lasso, 0, 0, false); break;
    default: return false;
    }
    life_.SetActive(true);
    life_.Show(true);
    return true;
}
