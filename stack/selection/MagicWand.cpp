#include "stack/selection/MagicWand.h"

#include "platform/imaging/regions/FloodFillOperation.h"
#include "stack/StackRooms.h"
#include "stack/edits/StackEdit.h"

#include <algorithm>

namespace {

void Shrink(const qs::TempReference<ilMIOImage>& image)
{
    if (auto* smart = dynamic_cast<ilSmartImage*>(image.get()))
        smart->ForceShrinkAttempt();
}

}  // namespace

bool MagicWand::Select(int x, int y, float tolerance, const PaintColor& color, bool fromAll, bool isSmooth,
                       const PntHandle& handle)
{
    const StackEdit edit(stack_);
    const Layer* layer = tree_.GetLayerFromHandle(handle);
    const qs::TempReference<ilMIOImage> image = layer != nullptr ? layer->GetImage() : nullptr;
    const qs::TempReference<ilMIOImage> mask = selection_.Get() ? selection_.Get()->GetImage() : nullptr;
    if (!image || !mask || layer->GetLayerType() != kLayerTypeRaster)
        return false;
    Shrink(image);
    Shrink(mask);
    int maskX = 0, maskY = 0;
    selection_.GetOffset(maskX, maskY);
    const qs::Reference<ilMIOImage> before = mask->Snapshot();
    const ilTile onMask = ilTileMoved(canvas_.GetSize(), -int64_t{maskX}, -int64_t{maskY});
    const ilTile area = canvas_.CanvasOn(handle);
    x = std::clamp(x, canvas_.GetSize().x, static_cast<int>(canvas_.GetSize().Right() - 1));
    y = std::clamp(y, canvas_.GetSize().y, static_cast<int>(canvas_.GetSize().Bottom() - 1));
    tree_.ToLayer(x, y, handle);
    try {
        if (fromAll)
            mask->fillTile(onMask, ilPixel::Coverage(255));
        CachedSmartImage source(image);
        CachedSmartImage target(mask);
        FloodFillOperation wand(source, target, area, tolerance, color);
        wand.SetTargetOffset(FloodFillOperation::Distance(area.x, onMask.x),
                             FloodFillOperation::Distance(area.y, onMask.y));
        wand.SetSmooth(isSmooth);
        wand.SetGrowth(isSmooth ? properties_.floodFillGrowthPx : 0);
        if (!wand.DoFlood(x, y)) {
            mask->ShareAllFrom(*before);
            return false;
        }
    } catch (...) {
        mask->ShareAllFrom(*before);
        throw;
    }
    update_.LayerContentChanged(*selection_.Get(), {canvas_.GetSize()}, false);
    canvas_.RebuildCompositeMask();
    update_.ForceUpdate();
    // Once more for those who take the damage by themselves, so that every view redraws.
    canvas_.DamageCanvas();
    return true;
}
