#include "core/BrushStroker.h"
#include "core/Guarded.h"
#include "core/PaintManager.h"
#include "core/UndoableCommand.h"

#include <cmath>

namespace {

/// Changes the selection of the document that `target` names, as one step that can be taken back.
template <class Target, class Call>
void Select(PaintManager& manager, BrushStroker& stroker, Target target, Call&& call)
{
    UndoableCommand(manager, stroker, target).ChangeSelection([&](LayerStack& stack) {
        call(stack);
        return true;
    });
}

}  // namespace

// --- the selection mask ---

void PaintManager::ClearSelectionMask(int layerStack)
{
    Select(*this, *stroker_, layerStack, [](LayerStack& stack) { stack.ClearSelectionMask(true); });
}

void PaintManager::SetSelectionMaskActive(bool active, int layerStack)
{
    TellStack(*this, layerStack, [&](LayerStack& stack) { stack.SetSelectionMaskActive(active); });
}

bool PaintManager::isSelectionMaskActive(int layerStack) const
{
    return AskStack(*this, layerStack, false, [](LayerStack& stack) { return stack.isSelectionMaskActive(); });
}

bool PaintManager::isSelectionMaskUsed(int layerStack) const
{
    return AskStack(*this, layerStack, false, [](LayerStack& stack) { return stack.isSelectionMaskUsed(); });
}

void PaintManager::SetSelectionMaskCurrent(int layerStack)
{
    TellStack(*this, layerStack, [](LayerStack& stack) { stack.SetSelectionMaskCurrent(); });
}

bool PaintManager::isSelectionMaskCurrent(int layerStack) const
{
    return AskStack(*this, layerStack, false, [](LayerStack& stack) { return stack.isSelectionMaskCurrent(); });
}

PntHandle PaintManager::GetSelectionMaskHandle(int layerStack) const
{
    return AskStack(*this, layerStack, kNullHandle, [](LayerStack& stack) { return stack.GetSelectionMaskHandle(); });
}

void PaintManager::GetSelMaskBounds(ilTile& bounds, int layerStack) const
{
    TellStack(*this, layerStack, [&](LayerStack& stack) { bounds = stack.GetSelMaskBounds(); });
}

void PaintManager::GetSelMaskOffset(int& x, int& y, int layerStack) const
{
    TellStack(*this, layerStack, [&](LayerStack& stack) { stack.GetSelMaskOffset(x, y); });
}

void PaintManager::SetSelectionDefaultDisplayColor(const PaintColor& color, int layerStack)
{
    if (color.IsFinite())
        TellStack(*this, layerStack, [&](LayerStack& stack) { stack.SetSelectionDefaultDisplayColor(color); });
}

PaintColor PaintManager::GetSelectionDefaultDisplayColor(int layerStack) const
{
    return AskStack(*this, layerStack, PaintColor(),
                    [](LayerStack& stack) { return stack.GetSelectionDefaultDisplayColor(); });
}

void PaintManager::SetSelectionDefaultDisplayOpacity(float opacity, int layerStack)
{
    if (std::isfinite(opacity))
        TellStack(*this, layerStack, [&](LayerStack& stack) { stack.SetSelectionDefaultDisplayOpacity(opacity); });
}

float PaintManager::GetSelectionDefaultDisplayOpacity(int layerStack) const
{
    return AskStack(*this, layerStack, 0.0F,
                    [](LayerStack& stack) { return stack.GetSelectionDefaultDisplayOpacity(); });
}

// --- rectangles ---

void PaintManager::FillSelectionMask(const ilTile& tile, int layerStack)
{
    Select(*this, *stroker_, layerStack, [&](LayerStack& stack) { stack.FillSelectionMask(tile, true); });
}

void PaintManager::FillSelectionMask(int layerStack)
{
    Select(*this, *stroker_, layerStack, [](LayerStack& stack) { stack.FillSelectionMask(true); });
}

void PaintManager::ClearSelectionMask(const ilTile& tile, int layerStack)
{
    Select(*this, *stroker_, layerStack, [&](LayerStack& stack) { stack.ClearSelectionMask(tile, true); });
}

void PaintManager::AddToSelection(const ilTile& tile, int layerStack)
{
    Select(*this, *stroker_, layerStack, [&](LayerStack& stack) { stack.AddToSelection(tile, true); });
}

void PaintManager::SubtractFromSelection(const ilTile& tile, int layerStack)
{
    Select(*this, *stroker_, layerStack, [&](LayerStack& stack) { stack.SubtractFromSelection(tile, true); });
}

// --- images and layers ---

void PaintManager::AddToSelection(const qs::TempReference<ilMIOImage>& image, int x, int y, int layerStack)
{
    Select(*this, *stroker_, layerStack, [&](LayerStack& stack) { stack.AddToSelection(image, x, y, true); });
}

void PaintManager::SubtractFromSelection(const qs::TempReference<ilMIOImage>& image, int x, int y, int layerStack)
{
    Select(*this, *stroker_, layerStack, [&](LayerStack& stack) { stack.SubtractFromSelection(image, x, y, true); });
}

void PaintManager::IntersectSelection(const qs::TempReference<ilMIOImage>& image, int x, int y, int layerStack)
{
    Select(*this, *stroker_, layerStack, [&](LayerStack& stack) { stack.IntersectSelection(image, x, y, true); });
}

void PaintManager::CopyToSelection(const qs::TempReference<ilMIOImage>& image, int x, int y, int layerStack)
{
    Select(*this, *stroker_, layerStack, [&](LayerStack& stack) { stack.CopyToSelection(image, x, y, true); });
}

void PaintManager::CopyFromSelection(const qs::TempReference<ilMIOImage>& image, int layerStack) const
{
    TellStack(*this, layerStack, [&](LayerStack& stack) { stack.CopyFromSelection(image); });
}

void PaintManager::FillSelectionMask(const qs::TempReference<ilMIOImage>& image, int layerStack)
{
    Select(*this, *stroker_, layerStack, [&](LayerStack& stack) { stack.FillSelectionMask(image, true); });
}

void PaintManager::ClearSelectionMask(const qs::TempReference<ilMIOImage>& image, int layerStack)
{
    Select(*this, *stroker_, layerStack, [&](LayerStack& stack) { stack.ClearSelectionMask(image, true); });
}

void PaintManager::AddToSelection(const PntHandle& layer)
{
    Select(*this, *stroker_, layer, [&](LayerStack& stack) { stack.AddToSelection(layer, true); });
}

void PaintManager::SubtractFromSelection(const PntHandle& layer)
{
    Select(*this, *stroker_, layer, [&](LayerStack& stack) { stack.SubtractFromSelection(layer, true); });
}

void PaintManager::CopyToSelection(const PntHandle& layer)
{
    Select(*this, *stroker_, layer, [&](LayerStack& stack) { stack.CopyToSelection(layer, true); });
}

qs::TempReference<ilSmartImage> PaintManager::CopyFromSelection(const PntHandle& layer)
{
    return AskStack(*this, layer, qs::TempReference<ilSmartImage>(),
                    [&](LayerStack& stack) { return stack.CopyFromSelection(layer); });
}

// --- lasso ---

void PaintManager::LassoSelection(const float* points, int count, int layerStack)
{
    Select(*this, *stroker_, layerStack, [&](LayerStack& stack) { stack.LassoSelection(points, count); });
}

qs::TempReference<ilSmartImage> PaintManager::GetLassoImage(const float* points, int count, bool nonZero,
                                                            int layerStack) const
{
    return AskStack(*this, layerStack, qs::TempReference<ilSmartImage>(),
                    [&](LayerStack& stack) { return stack.GetLassoImage(points, count, nonZero); });
}

bool PaintManager::SelectLasso(const float* points, int count, SelectionMode mode, FillRule rule, int layerStack)
{
    return UndoableCommand(*this, *stroker_, layerStack).ChangeSelection([&](LayerStack& stack) {
        return stack.SelectLasso(points, count, mode, rule);
    });
}

// --- the selection as a whole ---

void PaintManager::MoveSelection(int dx, int dy, int layerStack)
{
    Select(*this, *stroker_, layerStack, [&](LayerStack& stack) { stack.MoveSelection(dx, dy, true); });
}

void PaintManager::InvertSelection(int layerStack)
{
    Select(*this, *stroker_, layerStack, [](LayerStack& stack) { stack.InvertSelection(true); });
}

void PaintManager::GrowSelection(int pixels, int layerStack)
{
    Select(*this, *stroker_, layerStack, [&](LayerStack& stack) { stack.GrowSelection(pixels, true); });
}

void PaintManager::FeatherSelection(float radius, int layerStack)
{
    Select(*this, *stroker_, layerStack, [&](LayerStack& stack) { stack.FeatherSelection(radius, true); });
}

void PaintManager::GetSelectionMaskBnd(ilTile& bounds, int layerStack) const
{
    TellStack(*this, layerStack, [&](LayerStack& stack) { bounds = stack.GetSelectionMaskBnd(); });
}
