#include "stack/LayerStack.h"
#include "stack/StackEdit.h"

namespace {

const ilPixel kSelected = ilPixel::Coverage(255);
const ilPixel kNotSelected = ilPixel::Coverage(0);

}  // namespace

void LayerStack::FillSelectionMask(const ilTile& tile, bool rebuild)
{
    const StackEdit edit(*this);
    const qs::Reference<ilSmartImage> image(new ilSmartImage(kNotSelected));
    image->fillTile(ilTileIntersection(tile, size_), kSelected);
    ReplaceSelection(image);
    ShowSelection(rebuild);
}

void LayerStack::FillSelectionMask(bool rebuild)
{
    const StackEdit edit(*this);
    FillSelectionMask(size_, rebuild);
}

void LayerStack::ClearSelectionMask(const ilTile& tile, bool rebuild)
{
    const StackEdit edit(*this);
    const qs::Reference<ilSmartImage> image(new ilSmartImage(kNotSelected));
    image->fillTile(size_, kSelected);
    image->fillTile(ilTileIntersection(tile, size_), kNotSelected);
    ReplaceSelection(image);
    ShowSelection(rebuild);
}

void LayerStack::AddToSelection(const ilTile& tile, bool rebuild)
{
    const ilTile onCanvas = ilTileIntersection(tile, size_);
    if (selectionMask_ && !onCanvas.IsEmpty())
        EditSelection(onCanvas, rebuild, [&](ilMIOImage& mask) { mask.fillTile(OnSelection(onCanvas), kSelected); });
}

void LayerStack::SubtractFromSelection(const ilTile& tile, bool rebuild)
{
    const ilTile onCanvas = ilTileIntersection(tile, size_);
    if (selectionMask_ && !onCanvas.IsEmpty())
        EditSelection(onCanvas, rebuild, [&](ilMIOImage& mask) { mask.fillTile(OnSelection(onCanvas), kNotSelected); });
}
