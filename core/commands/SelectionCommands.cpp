#include "core/commands/SelectionCommands.h"

#include "core/DocumentCalls.h"
#include "core/commands/UndoableCommand.h"

#include <cmath>

namespace {

/// Changes the selection of the document that `target` names, as one step that can be taken back.
template <class Target, class Call>
void Select(const SelectionCommands* group, const Target& target, Call&& call)
{
    UndoableCommand(SessionOf(group), target, "Select").ChangeSelection([&](LayerStack& stack) {
        call(stack);
        return true;
    });
}

}  // namespace

// --- the selection mask ---

void SelectionCommands::ClearSelectionMask(int layerStack)
{
    Select(this, layerStack, [](LayerStack& stack) { stack.ClearSelectionMask(true); });
}

void SelectionCommands::SetSelectionMaskActive(bool active, int layerStack)
{
    TellStack(this, layerStack, [&](LayerStack& stack) { stack.SetSelectionMaskActive(active); });
}

bool SelectionCommands::isSelectionMaskActive(int layerStack) const
{
    return AskStack(this, layerStack, false, [](LayerStack& stack) { return stack.isSelectionMaskActive(); });
}

bool SelectionCommands::isSelectionMaskUsed(int layerStack) const
{
    return AskStack(this, layerStack, false, [](LayerStack& stack) { return stack.isSelectionMaskUsed(); });
}

void SelectionCommands::SetSelectionMaskCurrent(int layerStack)
{
    TellStack(this, layerStack, [](LayerStack& stack) { stack.SetSelectionMaskCurrent(); });
}

bool SelectionCommands::isSelectionMaskCurrent(int layerStack) const
{
    return AskStack(this, layerStack, false, [](LayerStack& stack) { return stack.isSelectionMaskCurrent(); });
}

PntHandle SelectionCommands::GetSelectionMaskHandle(int layerStack) const
{
    return AskStack(this, layerStack, kNullHandle, [](LayerStack& stack) { return stack.GetSelectionMaskHandle(); });
}

void SelectionCommands::GetSelMaskBounds(ilTile& bounds, int layerStack) const
{
    TellStack(this, layerStack, [&](LayerStack& stack) { bounds = stack.GetSelMaskBounds(); });
}

void SelectionCommands::GetSelMaskOffset(int& x, int& y, int layerStack) const
{
    TellStack(this, layerStack, [&](LayerStack& stack) { stack.GetSelMaskOffset(x, y); });
}

// --- rectangles ---

void SelectionCommands::FillSelectionMask(const ilTile& tile, int layerStack)
{
    Select(this, layerStack, [&](LayerStack& stack) { stack.FillSelectionMask(tile, true); });
}

void SelectionCommands::FillSelectionMask(int layerStack)
{
    Select(this, layerStack, [](LayerStack& stack) { stack.FillSelectionMask(true); });
}

void SelectionCommands::ClearSelectionMask(const ilTile& tile, int layerStack)
{
    Select(this, layerStack, [&](LayerStack& stack) { stack.ClearSelectionMask(tile, true); });
}

void SelectionCommands::AddToSelection(const ilTile& tile, int layerStack)
{
    Select(this, layerStack, [&](LayerStack& stack) { stack.AddToSelection(tile, true); });
}

void SelectionCommands::SubtractFromSelection(const ilTile& tile, int layerStack)
{
    Select(this, layerStack, [&](LayerStack& stack) { stack.SubtractFromSelection(tile, true); });
}

// --- images and layers ---

void SelectionCommands::AddToSelection(const qs::TempReference<ilMIOImage>& image, int x, int y, int layerStack)
{
    Select(this, layerStack, [&](LayerStack& stack) { stack.AddToSelection(image, x, y, true); });
}

void SelectionCommands::SubtractFromSelection(const qs::TempReference<ilMIOImage>& image, int x, int y, int layerStack)
{
    Select(this, layerStack, [&](LayerStack& stack) { stack.SubtractFromSelection(image, x, y, true); });
}

void SelectionCommands::IntersectSelection(const qs::TempReference<ilMIOImage>& image, int x, int y, int layerStack)
{
    Select(this, layerStack, [&](LayerStack& stack) { stack.IntersectSelection(image, x, y, true); });
}

void SelectionCommands::CopyToSelection(const qs::TempReference<ilMIOImage>& image, int x, int y, int layerStack)
{
    Select(this, layerStack, [&](LayerStack& stack) { stack.CopyToSelection(image, x, y, true); });
}

void SelectionCommands::CopyFromSelection(const qs::TempReference<ilMIOImage>& image, int layerStack) const
{
    TellStack(this, layerStack, [&](LayerStack& stack) { stack.CopyFromSelection(image); });
}

void SelectionCommands::FillSelectionMask(const qs::TempReference<ilMIOImage>& image, int layerStack)
{
    Select(this, layerStack, [&](LayerStack& stack) { stack.FillSelectionMask(image, true); });
}

void SelectionCommands::ClearSelectionMask(const qs::TempReference<ilMIOImage>& image, int layerStack)
{
    Select(this, layerStack, [&](LayerStack& stack) { stack.ClearSelectionMask(image, true); });
}

void SelectionCommands::AddToSelection(const PntHandle& layer)
{
    Select(this, layer, [&](LayerStack& stack) { stack.AddToSelection(layer, true); });
}

void SelectionCommands::SubtractFromSelection(const PntHandle& layer)
{
    Select(this, layer, [&](LayerStack& stack) { stack.SubtractFromSelection(layer, true); });
}

void SelectionCommands::CopyToSelection(const PntHandle& layer)
{
    Select(this, layer, [&](LayerStack& stack) { stack.CopyToSelection(layer, true); });
}

qs::TempReference<ilSmartImage> SelectionCommands::CopyFromSelection(const PntHandle& layer)
{
    return AskStack(this, layer, qs::TempReference<ilSmartImage>(),
                    [&](LayerStack& stack) { return stack.CopyFromSelection(layer); });
}

// --- lasso ---

void SelectionCommands::LassoSelection(const float* points, int count, int layerStack)
{
    Select(this, layerStack, [&](LayerStack& stack) { stack.LassoSelection(points, count); });
}

qs::TempReference<ilSmartImage> SelectionCommands::GetLassoImage(const float* points, int count, bool nonZero,
                                                                 int layerStack) const
{
    return AskStack(this, layerStack, qs::TempReference<ilSmartImage>(),
                    [&](LayerStack& stack) { return stack.GetLassoImage(points, count, nonZero); });
}

bool SelectionCommands::SelectLasso(const float* points, int count, SelectionMode mode, FillRule rule, int layerStack)
{
    return UndoableCommand(SessionOf(this), layerStack, "Select").ChangeSelection([&](LayerStack& stack) {
        return stack.SelectLasso(points, count, mode, rule);
    });
}

// --- the selection as a whole ---

void SelectionCommands::MoveSelection(int dx, int dy, int layerStack)
{
    Select(this, layerStack, [&](LayerStack& stack) { stack.MoveSelection(dx, dy, true); });
}

void SelectionCommands::InvertSelection(int layerStack)
{
    Select(this, layerStack, [](LayerStack& stack) { stack.InvertSelection(true); });
}

void SelectionCommands::GrowSelection(int pixels, int layerStack)
{
    Select(this, layerStack, [&](LayerStack& stack) { stack.GrowSelection(pixels, true); });
}

void SelectionCommands::FeatherSelection(float radius, int layerStack)
{
    Select(this, layerStack, [&](LayerStack& stack) { stack.FeatherSelection(radius, true); });
}

void SelectionCommands::GetSelectionMaskBnd(ilTile& bounds, int layerStack) const
{
    TellStack(this, layerStack, [&](LayerStack& stack) { bounds = stack.GetSelectionMaskBnd(); });
}

// --- how masks and the selection are shown ---

void SelectionCommands::EnableMasking(bool on, int layerStack)
{
    TellStack(this, layerStack, [&](LayerStack& stack) { stack.EnableMasking(on); });
}

bool SelectionCommands::isMaskingEnabled(int layerStack) const
{
    return AskStack(this, layerStack, false, [](LayerStack& stack) { return stack.isMaskingEnabled(); });
}

void SelectionCommands::SetMaskDisable(bool disable, int layerStack)
{
    TellStack(this, layerStack, [&](LayerStack& stack) { stack.SetMaskDisable(disable); });
}

bool SelectionCommands::GetMaskDisable(int layerStack) const
{
    return AskStack(this, layerStack, false, [](LayerStack& stack) { return stack.GetMaskDisable(); });
}

void SelectionCommands::SetMaskVisible(bool visible, int layerStack)
{
    TellStack(this, layerStack, [&](LayerStack& stack) { stack.SetMaskVisible(visible); });
}

bool SelectionCommands::GetMaskVisible(int layerStack) const
{
    return AskStack(this, layerStack, false, [](LayerStack& stack) { return stack.GetMaskVisible(); });
}

void SelectionCommands::SetMaskDefaultDisplayColor(const PaintColor& color, int layerStack)
{
    if (color.IsFinite())
        TellStack(this, layerStack, [&](LayerStack& stack) { stack.SetMaskDefaultDisplayColor(color); });
}

PaintColor SelectionCommands::GetMaskDefaultDisplayColor(int layerStack) const
{
    return AskStack(this, layerStack, PaintColor(),
                    [](LayerStack& stack) { return stack.GetMaskDefaultDisplayColor(); });
}

void SelectionCommands::SetMaskDefaultDisplayOpacity(float opacity, int layerStack)
{
    if (std::isfinite(opacity))
        TellStack(this, layerStack, [&](LayerStack& stack) { stack.SetMaskDefaultDisplayOpacity(opacity); });
}

float SelectionCommands::GetMaskDefaultDisplayOpacity(int layerStack) const
{
    return AskStack(this, layerStack, 0.0F, [](LayerStack& stack) { return stack.GetMaskDefaultDisplayOpacity(); });
}

void SelectionCommands::SetSelectionDefaultDisplayColor(const PaintColor& color, int layerStack)
{
    if (color.IsFinite())
        TellStack(this, layerStack, [&](LayerStack& stack) { stack.SetSelectionDefaultDisplayColor(color); });
}

PaintColor SelectionCommands::GetSelectionDefaultDisplayColor(int layerStack) const
{
    return AskStack(this, layerStack, PaintColor(),
                    [](LayerStack& stack) { return stack.GetSelectionDefaultDisplayColor(); });
}

void SelectionCommands::SetSelectionDefaultDisplayOpacity(float opacity, int layerStack)
{
    if (std::isfinite(opacity))
        TellStack(this, layerStack, [&](LayerStack& stack) { stack.SetSelectionDefaultDisplayOpacity(opacity); });
}

float SelectionCommands::GetSelectionDefaultDisplayOpacity(int layerStack) const
{
    return AskStack(this, layerStack, 0.0F,
                    [](LayerStack& stack) { return stack.GetSelectionDefaultDisplayOpacity(); });
}
