#include "stack/selection/SelectionShape.h"

#include "platform/imaging/blend/ImageBlend.h"
#include "platform/imaging/regions/CoverageFilters.h"
#include "stack/StackRooms.h"
#include "stack/edits/StackEdit.h"
#include "stack/selection/SelectionLife.h"

#include <cmath>
#include <cstdlib>

void SelectionShape::Move(int dx, int dy, bool rebuild)
{
    const StackEdit edit(stack_);
    if (!selection_.Get())
        return;
    const int64_t x = int64_t{selection_.Get()->getXOffset()} + dx;
    const int64_t y = int64_t{selection_.Get()->getYOffset()} + dy;
    if (std::abs(x) > LayerStack::kMaxSelectionOffset || std::abs(y) > LayerStack::kMaxSelectionOffset)
        return;
    if (selection_.Get()->InProxy())
        proxy_.End();
    stack_.SetLayerOffset(tree_.GetSelectionMaskHandle(), static_cast<int>(x), static_cast<int>(y), false);
    life_.Show(rebuild);
}

void SelectionShape::Invert(bool rebuild)
{
    if (!selection_.Get())
        return;
    life_.Edit(canvas_.GetSize(), rebuild, [&](ilMIOImage& mask) {
        // All of the canvas but what was selected: pages of either kind cost nothing.
        const ilTile canvas = selection_.OnMask(canvas_.GetSize());
        ilSmartImage inverted(ilPixel::Coverage(0));
        inverted.fillTile(canvas, ilPixel::Coverage(255));
        ImageBlend subtract;
        subtract.sourceFactor = kFactorZero;
        BlendImage(inverted, canvas, mask, canvas.x, canvas.y, subtract);
        mask.ShareAllFrom(inverted);
    });
}

void SelectionShape::Grow(int pixels, bool rebuild)
{
    if (!selection_.Get() || pixels == 0 || pixels < -kMaxGrowPx || pixels > kMaxGrowPx)
        return;
    life_.Edit(canvas_.GetSize(), rebuild, [&](ilMIOImage& mask) {
        const ilTile canvas = selection_.OnMask(canvas_.GetSize());
        mask.ShareAllFrom(pixels > 0 ? *GrowCoverage(mask, canvas, pixels) : *ShrinkCoverage(mask, canvas, -pixels));
    });
}

void SelectionShape::Feather(float radius, bool rebuild)
{
    const bool isRadius = radius > 0 && radius <= kMaxBlurPx;
    if (selection_.Get() && isRadius)
        life_.Edit(canvas_.GetSize(), rebuild, [&](ilMIOImage& mask) {
            mask.ShareAllFrom(*BlurCoverage(mask, selection_.OnMask(canvas_.GetSize()), radius));
        });
}
