#include "platform/imaging/regions/FloodFillOperation.h"
#include "stack/LayerStack.h"
#include "stack/StackParts.h"
#include "stack/edits/StackEdit.h"

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
    const Layer* layer = parts_->tree.GetLayerFromHandle(handle);
    const qs::TempReference<ilMIOImage> image = layer != nullptr ? layer->GetImage() : nullptr;
    const qs::TempReference<ilMIOImage> mask = parts_->selection.Get() ? parts_->selection.Get()->GetImage() : nullptr;
    if (!image || !mask || layer->GetLayerType() != kLayerTypeRaster)
        return false;
    Shrink(image);
    Shrink(mask);
    int maskX = 0, maskY = 0;
    parts_->selection.GetOffset(maskX, maskY);
    const qs::Reference<ilMIOImage> before = mask->Snapshot();
    const ilTile onMask = ilTileMoved(parts_->canvas.GetSize(), -int64_t{maskX}, -int64_t{maskY});
    const ilTile area = parts_->canvas.CanvasOn(handle);
    x = std::clamp(x, parts_->canvas.GetSize().x, static_cast<int>(parts_->canvas.GetSize().Right() - 1));
    y = std::clamp(y, parts_->canvas.GetSize().y, static_cast<int>(parts_->canvas.GetSize().Bottom() - 1));
    parts_->tree.ToLayer(x, y, handle);
    try {
        if (fromAll)
            mask->fillTile(onMask, ilPixel::Coverage(255));
        CachedSmartImage source(image);
        CachedSmartImage target(mask);
        FloodFillOperation wand(source, target, area, tolerance, color);
        wand.SetTargetOffset(FloodFillOperation::Distance(area.x, onMask.x),
                             FloodFillOperation::Distance(area.y, onMask.y));
        wand.SetSmooth(isSmooth);
        wand.SetGrowth(isSmooth ? parts_->properties.floodFillGrowthPx : 0);
        if (!wand.DoFlood(x, y)) {
            mask->ShareAllFrom(*before);
            return false;
        }
    } catch (...) {
        mask->ShareAllFrom(*before);
        throw;
    }
    parts_->update.LayerContentChanged(*parts_->selection.Get(), {parts_->canvas.GetSize()}, false);
    parts_->canvas.RebuildCompositeMask();
    parts_->update.ForceUpdate();
    // Once more for those who take the damage by themselves, so that every view redraws.
    parts_->canvas.DamageCanvas();
    return true;
}
