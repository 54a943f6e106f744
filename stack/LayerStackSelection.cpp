#include "stack/LayerStack.h"
#include "stack/StackParts.h"

Layer* LayerStack::GetSelectionMask() const
{
    return parts_->tree.GetSelectionMask();
}

void LayerStack::SetSelectionMask(Layer* mask)
{
    parts_->selectionLife.Set(mask);
}

void LayerStack::PutBackSelectionMask(Layer& mask) noexcept
{
    parts_->selectionLife.PutBack(mask);
}

void LayerStack::ClearSelectionMask(bool rebuild)
{
    parts_->selectionLife.Clear(rebuild);
}

void LayerStack::ClearSelectionMask(const qs::TempReference<ilMIOImage>& image, bool rebuild)
{
    parts_->selectionImages.FillAllBut(image, rebuild);
}

void LayerStack::ClearSelectionMask(const ilTile& tile, bool rebuild)
{
    parts_->selectionRects.FillAllBut(tile, rebuild);
}

void LayerStack::SetSelectionMaskActive(bool active)
{
    parts_->selectionLife.SetActive(active);
}

bool LayerStack::isSelectionMaskActive() const
{
    return parts_->selection.IsActive();
}

void LayerStack::SetSelectionMaskCurrent()
{
    parts_->selectionLife.SetCurrent();
}

bool LayerStack::isSelectionMaskCurrent() const
{
    return parts_->selection.IsCurrent();
}

bool LayerStack::isSelectionMaskUsed() const
{
    return parts_->selection.IsUsed();
}

ilTile LayerStack::GetSelMaskBounds() const
{
    return parts_->selection.GetBounds();
}

void LayerStack::GetSelMaskOffset(int& x, int& y) const
{
    parts_->selection.GetOffset(x, y);
}

float LayerStack::GetSelectionDefaultDisplayOpacity() const
{
    return parts_->properties.selectionDisplayOpacity;
}

void LayerStack::SetSelectionDefaultDisplayOpacity(float opacity)
{
    parts_->selectionLife.SetDisplayOpacity(opacity);
}

PaintColor LayerStack::GetSelectionDefaultDisplayColor() const
{
    return parts_->properties.selectionDisplayColor;
}

void LayerStack::SetSelectionDefaultDisplayColor(const PaintColor& color)
{
    parts_->selectionLife.SetDisplayColor(color);
}

void LayerStack::FillSelectionMask(const qs::TempReference<ilMIOImage>& image, bool rebuild)
{
    parts_->selectionImages.Fill(image, rebuild);
}

void LayerStack::FillSelectionMask(const ilTile& tile, bool rebuild)
{
    parts_->selectionRects.Fill(tile, rebuild);
}

void LayerStack::FillSelectionMask(bool rebuild)
{
    parts_->selectionRects.Fill(rebuild);
}

void LayerStack::AddToSelection(const qs::TempReference<ilMIOImage>& image, int x, int y, bool rebuild)
{
    parts_->selectionImages.Add(image, x, y, rebuild);
}

void LayerStack::AddToSelection(Layer* layer, bool rebuild)
{
    parts_->selectionLayers.Add(layer, rebuild);
}

void LayerStack::AddToSelection(const ilTile& tile, bool rebuild)
{
    parts_->selectionRects.Add(tile, rebuild);
}

void LayerStack::AddToSelection(const PntHandle& layer, bool rebuild)
{
    AddToSelection(GetLayerFromHandle(layer), rebuild);
}

void LayerStack::SubtractFromSelection(const qs::TempReference<ilMIOImage>& image, int x, int y, bool rebuild)
{
    parts_->selectionImages.Subtract(image, x, y, rebuild);
}

void LayerStack::SubtractFromSelection(Layer* layer, bool rebuild)
{
    parts_->selectionLayers.Subtract(layer, rebuild);
}

void LayerStack::SubtractFromSelection(const ilTile& tile, bool rebuild)
{
    parts_->selectionRects.Subtract(tile, rebuild);
}

void LayerStack::SubtractFromSelection(const PntHandle& layer, bool rebuild)
{
    SubtractFromSelection(GetLayerFromHandle(layer), rebuild);
}

void LayerStack::IntersectSelection(const qs::TempReference<ilMIOImage>& image, int x, int y, bool rebuild)
{
    parts_->selectionImages.Intersect(image, x, y, rebuild);
}

void LayerStack::CopyToSelection(const qs::TempReference<ilMIOImage>& image, int x, int y, bool rebuild)
{
    parts_->selectionImages.Take(image, x, y, rebuild);
}

void LayerStack::CopyToSelection(Layer* layer, bool rebuild)
{
    parts_->selectionLayers.Take(layer, rebuild);
}

void LayerStack::CopyToSelection(const PntHandle& layer, bool rebuild)
{
    CopyToSelection(GetLayerFromHandle(layer), rebuild);
}

void LayerStack::CopyFromSelection(const qs::TempReference<ilMIOImage>& image) const
{
    parts_->selectionImages.CopyInto(image);
}

qs::TempReference<ilSmartImage> LayerStack::CopyFromSelection(Layer* layer)
{
    return parts_->selectionLayers.Copy(layer);
}

qs::TempReference<ilSmartImage> LayerStack::CopyFromSelection(const PntHandle& layer)
{
    return CopyFromSelection(GetLayerFromHandle(layer));
}

qs::TempReference<ilSmartImage> LayerStack::GetLassoImage(const float* points, int count, bool nonZero) const
{
    return parts_->selectionLasso.Draw(points, count, nonZero);
}

void LayerStack::LassoSelection(const float* points, int count)
{
    parts_->selectionLasso.Subtract(points, count);
}

bool LayerStack::SelectLasso(const float* points, int count, SelectionMode mode, FillRule rule)
{
    return parts_->selectionLasso.Select(points, count, mode, rule);
}

ilTile LayerStack::GetSelectionMaskBnd() const
{
    return parts_->selection.GetCanvasBounds();
}

void LayerStack::MoveSelection(int dx, int dy, bool rebuild)
{
    parts_->selectionShape.Move(dx, dy, rebuild);
}

void LayerStack::InvertSelection(bool rebuild)
{
    parts_->selectionShape.Invert(rebuild);
}

void LayerStack::GrowSelection(int pixels, bool rebuild)
{
    parts_->selectionShape.Grow(pixels, rebuild);
}

void LayerStack::FeatherSelection(float radius, bool rebuild)
{
    parts_->selectionShape.Feather(radius, rebuild);
}

bool LayerStack::MagicWandDone(int x, int y, float tolerance, const PaintColor& color, bool fromAll,
                               const PntHandle& handle)
{
    return parts_->wand.Select(x, y, tolerance, color, fromAll, false, handle);
}

bool LayerStack::SmoothMagicWandDone(int x, int y, float tolerance, const PaintColor& color, bool fromAll,
                                     const PntHandle& handle)
{
    return parts_->wand.Select(x, y, tolerance, color, fromAll, true, handle);
}
