#include "core/Guarded.h"
#include "core/PaintManager.h"

#include <cmath>

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
