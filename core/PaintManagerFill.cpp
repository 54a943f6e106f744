#include "core/FillTools.h"
#include "core/Guarded.h"
#include "core/PaintManager.h"

using Tool = FillTools::Tool;

void PaintManager::DoFloodFill(int x, int y, float tolerance, const PaintColor& color, const PntHandle& layer)
{
    Attempt([&] { fillTools_->Try({Tool::Flood, x, y, tolerance, color, layer}); });
}

void PaintManager::FloodFillDone(int x, int y, float tolerance, const PaintColor& color, const PntHandle& layer)
{
    Attempt([&] { fillTools_->Finish({Tool::Flood, x, y, tolerance, color, layer}); });
}

void PaintManager::DoSmoothFloodFill(int x, int y, float tolerance, const PaintColor& color, const PntHandle& layer)
{
    Attempt([&] { fillTools_->Try({Tool::SmoothFlood, x, y, tolerance, color, layer}); });
}

void PaintManager::SmoothFloodFillDone(int x, int y, float tolerance, const PaintColor& color, const PntHandle& layer)
{
    Attempt([&] { fillTools_->Finish({Tool::SmoothFlood, x, y, tolerance, color, layer}); });
}

void PaintManager::DoMagicWand(int x, int y, float tolerance, const PaintColor& color, bool fromAll,
                               const PntHandle& layer)
{
    Attempt([&] { fillTools_->Try({Tool::Wand, x, y, tolerance, color, layer, fromAll}); });
}

void PaintManager::MagicWandDone(int x, int y, float tolerance, const PaintColor& color, bool fromAll,
                                 const PntHandle& layer)
{
    Attempt([&] { fillTools_->Finish({Tool::Wand, x, y, tolerance, color, layer, fromAll}); });
}

bool PaintManager::IsPointBeingFilled(int x, int y, const PaintColor& color) const
{
    return fillTools_->IsPointBeingFilled(x, y, color);
}

void PaintManager::SetFloodFillGrowth(int pixels, int layerStack)
{
    TellStack(*this, layerStack, [&](LayerStack& stack) { stack.SetFloodFillGrowth(pixels); });
}

int PaintManager::GetFloodFillGrowth(int layerStack) const
{
    return AskStack(*this, layerStack, 0, [](LayerStack& stack) { return stack.GetFloodFillGrowth(); });
}
