#include "core/Guarded.h"
#include "core/PaintManager.h"

#include <cmath>

// --- masks ---

void PaintManager::EnableMasking(bool on, int layerStack)
{
    TellStack(*this, layerStack, [&](LayerStack& stack) { stack.EnableMasking(on); });
}

bool PaintManager::isMaskingEnabled(int layerStack) const
{
    return AskStack(*this, layerStack, false, [](LayerStack& stack) { return stack.isMaskingEnabled(); });
}

void PaintManager::SetMaskDisable(bool disable, int layerStack)
{
    TellStack(*this, layerStack, [&](LayerStack& stack) { stack.SetMaskDisable(disable); });
}

bool PaintManager::GetMaskDisable(int layerStack) const
{
    return AskStack(*this, layerStack, false, [](LayerStack& stack) { return stack.GetMaskDisable(); });
}

void PaintManager::SetMaskVisible(bool visible, int layerStack)
{
    TellStack(*this, layerStack, [&](LayerStack& stack) { stack.SetMaskVisible(visible); });
}

bool PaintManager::GetMaskVisible(int layerStack) const
{
    return AskStack(*this, layerStack, false, [](LayerStack& stack) { return stack.GetMaskVisible(); });
}

void PaintManager::SetMaskDefaultDisplayColor(const PaintColor& color, int layerStack)
{
    if (color.IsFinite())
        TellStack(*this, layerStack, [&](LayerStack& stack) { stack.SetMaskDefaultDisplayColor(color); });
}

PaintColor PaintManager::GetMaskDefaultDisplayColor(int layerStack) const
{
    return AskStack(*this, layerStack, PaintColor(),
                    [](LayerStack& stack) { return stack.GetMaskDefaultDisplayColor(); });
}

void PaintManager::SetMaskDefaultDisplayOpacity(float opacity, int layerStack)
{
    if (std::isfinite(opacity))
        TellStack(*this, layerStack, [&](LayerStack& stack) { stack.SetMaskDefaultDisplayOpacity(opacity); });
}

float PaintManager::GetMaskDefaultDisplayOpacity(int layerStack) const
{
    return AskStack(*this, layerStack, 0.0F, [](LayerStack& stack) { return stack.GetMaskDefaultDisplayOpacity(); });
}

// --- selection ---

void PaintManager::ClearSelectionMask(int layerStack)
{
    TellStack(*this, layerStack, [](LayerStack& stack) { stack.ClearSelectionMask(true); });
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
