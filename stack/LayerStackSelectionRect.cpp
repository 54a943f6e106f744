#include "stack/LayerStack.h"
#include "stack/StackParts.h"
#include "stack/edits/StackEdit.h"

namespace {

const ilPixel kSelected = ilPixel::Coverage(255);
const ilPixel kNotSelected = ilPixel::Coverage(0);

}  // namespace

void LayerStack::FillSelectionMask(const ilTile& tile, bool rebuild)
{
    const StackEdit edit(*this);
    const qs::Reference<ilSmartImage> image(new ilSmartImage(kNotSelected));
    image->fillTile(ilTileIntersection(tile, parts_->canvas.GetSize()), kSelected);
    ReplaceSelection(image);
    ShowSelection(rebuild);
}

void LayerStack::FillSelectionMask(bool rebuild)
{
    const StackEdit edit(*this);
    FillSelectionMask(parts_->canvas.GetSize(), rebuild);
}

void LayerStack::ClearSelectionMask(const ilTile& tile, bool rebuild)
{
    const StackEdit edit(*this);
    const qs::Reference<ilSmartImage> image(new ilSmartImage(kNotSelected));
    image->fillTile(parts_->canvas.GetSize(), kSelected);
    image->fillTile(ilTileIntersection(tile, parts_->canvas.GetSize()), kNotSelected);
    ReplaceSelection(image);
    ShowSelection(rebuild);
}

void LayerStack::AddToSelection(const ilTile& tile, bool rebuild)
{
    const ilTile onCanvas = ilTileIntersection(tile, parts_->canvas.GetSize());
    if (parts_->selection.Get() && !onCanvas.IsEmpty())
        EditSelection(onCanvas, rebuild,
                      [&](ilMIOImage& mask) { mask.fillTile(parts_->selection.OnMask(onCanvas), kSelected); });
}

void LayerStack::SubtractFromSelection(const ilTile& tile, bool rebuild)
{
    const ilTile onCanvas = ilTileIntersection(tile, parts_->canvas.GetSize());
    if (parts_->selection.Get() && !onCanvas.IsEmpty())
        EditSelection(onCanvas, rebuild,
                      [&](ilMIOImage& mask) { mask.fillTile(parts_->selection.OnMask(onCanvas), kNotSelected); });
}
