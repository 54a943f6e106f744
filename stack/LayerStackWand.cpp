#include "platform/imaging/regions/FloodFillOperation.h"
#include "stack/LayerStack.h"
#include "stack/StackEdit.h"

#include <algorithm>

namespace {

void Shrink(const qs::TempReference<ilMIOImage>& image)
{
    if (auto* smart = dynamic_cast<ilSmartImage*>(image.get()))
        smart->ForceShrinkAttempt();
}

}  // namespace

bool LayerStack::MagicWandDone(int x, int y, float tolerance, const PaintColor& color, bool fromAll,
                               const PntHandle& handle)
{
    return SelectByWand(x, y, tolerance, color, fromAll, false, handle);
}

bool LayerStack::SmoothMagicWandDone(int x, int y, float tolerance, const PaintColor& color, bool fromAll,
                                     const PntHandle& handle)
{
    return SelectByWand(x, y, tolerance, color, fromAll, true, handle);
}

bool LayerStack::SelectByWand(int x, int y, float tolerance, const PaintColor& color, bool fromAll, bool isSmooth,
                              const PntHandle& handle)
{
    const StackEdit edit(*this);
    const Layer* layer = GetLayerFromHandle(handle);
    const qs::TempReference<ilMIOImage> image = layer != nullptr ? layer->GetImage() : nullptr;
    const qs::TempReference<ilMIOImage> mask = selectionMask_ ? selectionMask_->GetImage() : nullptr;
    if (!image || !mask || layer->GetLayerType() != kLayerTypeRaster)
        return false;
    Shrink(image);
    Shrink(mask);
    int maskX = 0, maskY = 0;
    GetSelMaskOffset(maskX, maskY);
    const qs::Reference<ilMIOImage> before = mask->Snapshot();
    const ilTile onMask = ilTileMoved(size_, -int64_t{maskX}, -int64_t{maskY});
    const ilTile area = GetLayerStackBndInLayerCoord(handle);
    x = std::clamp(x, size_.x, static_cast<int>(size_.Right() - 1));
    y = std::clamp(y, size_.y, static_cast<int>(size_.Bottom() - 1));
    LayerStackToLayerCoords(x, y, handle);
    try {
        if (fromAll)
            mask->fillTile(onMask, ilPixel::Coverage(255));
        CachedSmartImage source(image);
        CachedSmartImage target(mask);
        FloodFillOperation wand(source, target, area, tolerance, color);
        wand.SetTargetOffset(FloodFillOperation::Distance(area.x, onMask.x),
                             FloodFillOperation::Distance(area.y, onMask.y));
        wand.SetSmooth(isSmooth);
        wand.SetGrowth(isSmooth ? floodFillGrowthPx_ : 0);
        if (!wand.DoFlood(x, y)) {
            mask->ShareAllFrom(*before);
            return false;
        }
    } catch (...) {
        mask->ShareAllFrom(*before);
        throw;
    }
    LayerContentChanged(*selectionMask_, {size_}, false);
    RebuildCompositeMask();
    ForceUpdate();
    // Once more for those who take the damage by themselves, so that every view redraws.
    DamageCanvas();
    return true;
}
