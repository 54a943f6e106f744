#include "stack/selection/SelectionMask.h"

#include "layers/Layer.h"
#include "stack/canvas/Canvas.h"
#include "stack/tree/LayerTree.h"

Layer* SelectionMask::Get() const
{
    return tree_.GetSelectionMask();
}

bool SelectionMask::IsActive() const
{
    return Get() && Get()->isVisible();
}

bool SelectionMask::IsCurrent() const
{
    return tree_.GetCurrent() != nullptr && tree_.GetCurrent() == Get();
}

bool SelectionMask::IsUsed() const
{
    return IsActive() && !IsCurrent() && Get()->GetImage() && !GetBounds().IsEmpty();
}

ilTile SelectionMask::GetBounds() const
{
    return Get() && Get()->GetImage() ? canvas_.ReachOf(*Get()) : ilTile();
}

void SelectionMask::GetOffset(int& x, int& y) const
{
    if (Get())
        Get()->GetOffset(x, y);
}

ilTile SelectionMask::GetCanvasBounds() const
{
    return Get() ? ilTileIntersection(Get()->getLayerBoundsInCanvasCoords(), canvas_.GetSize()) : ilTile();
}

ilTile SelectionMask::OnMask(const ilTile& onCanvas) const
{
    return Get()->ToLayer(onCanvas);
}

EditLimit SelectionMask::GetEditLimit(const Layer& layer) const
{
    if (!IsUsed() || &layer == Get())
        return {};
    return {Get()->GetImage(), Get()->getXOffset(), Get()->getYOffset()};
}
