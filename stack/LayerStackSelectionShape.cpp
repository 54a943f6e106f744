#include "platform/imaging/blend/ImageBlend.h"
#include "platform/imaging/regions/CoverageFilters.h"
#include "stack/LayerStack.h"
#include "stack/StackParts.h"
#include "stack/edits/StackEdit.h"

#include <cmath>
#include <cstdlib>

void LayerStack::MoveSelection(int dx, int dy, bool rebuild)
{
    const StackEdit edit(*this);
    if (!parts_->selection.Get())
        return;
    const int64_t x = int64_t{parts_->selection.Get()->getXOffset()} + dx;
    const int64_t y = int64_t{parts_->selection.Get()->getYOffset()} + dy;
    if (std::abs(x) > kMaxSelectionOffset || std::abs(y) > kMaxSelectionOffset)
        return;
    if (parts_->selection.Get()->InProxy())
        parts_->proxy.End();
    SetLayerOffset(parts_->tree.GetSelectionMaskHandle(), static_cast<int>(x), static_cast<int>(y), false);
    ShowSelection(rebuild);
}

void LayerStack::InvertSelection(bool rebuild)
{
    if (!parts_->selection.Get())
        return;
    EditSelection(parts_->canvas.GetSize(), rebuild, [&](ilMIOImage& mask) {
        // All of the canvas but what was selected: pages of either kind cost nothing.
        const ilTile canvas = parts_->selection.OnMask(parts_->canvas.GetSize());
        ilSmartImage inverted(ilPixel::Coverage(0));
        inverted.fillTile(canvas, ilPixel::Coverage(255));
        ImageBlend subtract;
        subtract.sourceFactor = kFactorZero;
        BlendImage(inverted, canvas, mask, canvas.x, canvas.y, subtract);
        mask.ShareAllFrom(inverted);
    });
}

void LayerStack::GrowSelection(int pixels, bool rebuild)
{
    if (!parts_->selection.Get() || pixels == 0 || pixels < -kMaxGrowPx || pixels > kMaxGrowPx)
        return;
    EditSelection(parts_->canvas.GetSize(), rebuild, [&](ilMIOImage& mask) {
        const ilTile canvas = parts_->selection.OnMask(parts_->canvas.GetSize());
        mask.ShareAllFrom(pixels > 0 ? *GrowCoverage(mask, canvas, pixels) : *ShrinkCoverage(mask, canvas, -pixels));
    });
}

void LayerStack::FeatherSelection(float radius, bool rebuild)
{
    const bool isRadius = radius > 0 && radius <= kMaxBlurPx;
    if (parts_->selection.Get() && isRadius)
        EditSelection(parts_->canvas.GetSize(), rebuild, [&](ilMIOImage& mask) {
            mask.ShareAllFrom(*BlurCoverage(mask, parts_->selection.OnMask(parts_->canvas.GetSize()), radius));
        });
}
