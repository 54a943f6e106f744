#include "stack/selection/SelectionRects.h"

#include "stack/StackRooms.h"
#include "stack/edits/StackEdit.h"
#include "stack/selection/SelectionLife.h"

namespace {

const ilPixel kSelected = ilPixel::Coverage(255);
const ilPixel kNotSelected = ilPixel::Coverage(0);

}  // namespace

void SelectionRects::Fill(const ilTile& tile, bool rebuild)
{
    const StackEdit edit(stack_);
    const qs::Reference<ilSmartImage> image(new ilSmartImage(kNotSelected));
    image->fillTile(ilTileIntersection(tile, canvas_.GetSize()), kSelected);
    life_.Replace(image);
    life_.Show(rebuild);
}

void SelectionRects::Fill(bool rebuild)
{
    const StackEdit edit(stack_);
    Fill(canvas_.GetSize(), rebuild);
}

void SelectionRects::FillAllBut(const ilTile& tile, bool rebuild)
{
    const StackEdit edit(stack_);
    const qs::Reference<ilSmartImage> image(new ilSmartImage(kNotSelected));
    image->fillTile(canvas_.GetSize(), kSelected);
    image->fillTile(ilTileIntersection(tile, canvas_.GetSize()), kNotSelected);
    life_.Replace(image);
    life_.Show(rebuild);
}

void SelectionRects::Add(const ilTile& tile, bool rebuild)
{
    const ilTile onCanvas = ilTileIntersection(tile, canvas_.GetSize());
    if (selection_.Get() && !onCanvas.IsEmpty())
        life_.Edit(onCanvas, rebuild, [&](ilMIOImage& mask) { mask.fillTile(selection_.OnMask(onCanvas), kSelected); });
}

void SelectionRects::Subtract(const ilTile& tile, bool rebuild)
{
    const ilTile onCanvas = ilTileIntersection(tile, canvas_.GetSize());
    if (selection_.Get() && !onCanvas.IsEmpty())
        life_.Edit(onCanvas, rebuild,
                   [&](ilMIOImage& mask) { mask.fillTile(selection_.OnMask(onCanvas), kNotSelected); });
}
