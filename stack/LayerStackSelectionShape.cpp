#include "platform/imaging/blend/ImageBlend.h"
#include "platform/imaging/regions/CoverageFilters.h"
#include "stack/LayerStack.h"
#include "stack/StackEdit.h"

#include <cmath>
#include <cstdlib>

ilTile LayerStack::GetSelectionMaskBnd() const
{
    return selectionMask_ ? ilTileIntersection(selectionMask_->getLayerBoundsInCanvasCoords(), size_) : ilTile();
}

void LayerStack::MoveSelection(int dx, int dy, bool rebuild)
{
    const StackEdit edit(*this);
    if (!selectionMask_)
        return;
    const int64_t x = int64_t{selectionMask_->getXOffset()} + dx;
    const int64_t y = int64_t{selectionMask_->getYOffset()} + dy;
    if (std::abs(x) > kMaxSelectionOffset || std::abs(y) > kMaxSelectionOffset)
        return;
    if (selectionMask_->InProxy())
        EndProxy();
    SetLayerOffset(GetSelectionMaskHandle(), static_cast<int>(x), static_cast<int>(y), false);
    ShowSelection(rebuild);
}

void LayerStack::InvertSelection(bool rebuild)
{
    if (!selectionMask_)
        return;
    EditSelection(size_, rebuild, [&](ilMIOImage& mask) {
        // All of the canvas but what was selected: pages of either kind cost nothing.
        const ilTile canvas = OnSelection(size_);
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
    if (!selectionMask_ || pixels == 0 || pixels < -kMaxGrowPx || pixels > kMaxGrowPx)
        return;
    EditSelection(size_, rebuild, [&](ilMIOImage& mask) {
        const ilTile canvas = OnSelection(size_);
        mask.ShareAllFrom(pixels > 0 ? *GrowCoverage(mask, canvas, pixels) : *ShrinkCoverage(mask, canvas, -pixels));
    });
}

void LayerStack::FeatherSelection(float radius, bool rebuild)
{
    const bool isRadius = radius > 0 && radius <= kMaxBlurPx;
    if (selectionMask_ && isRadius)
        EditSelection(size_, rebuild,
                      [&](ilMIOImage& mask) { mask.ShareAllFrom(*BlurCoverage(mask, OnSelection(size_), radius)); });
}
