#include "core/BrushStroker.h"
#include "core/Guarded.h"
#include "core/PaintManager.h"

// --- damage and update ---

void PaintManager::DamageRegion(const ilTile& tile, int layerStack)
{
    TellStack(*this, layerStack, [&](LayerStack& stack) { stack.DamageTile(tile); });
}

void PaintManager::SuspendLayerStackComposites(int layerStack)
{
    TellStack(*this, layerStack, [](LayerStack& stack) { stack.SuspendComposites(); });
}

void PaintManager::ResumeLayerStackComposites(int layerStack)
{
    TellStack(*this, layerStack, [](LayerStack& stack) { stack.ResumeComposites(); });
}

void PaintManager::ForceUpdate(int layerStack)
{
    TellStack(*this, layerStack, [](LayerStack& stack) { stack.ForceUpdate(); });
}

void PaintManager::RedrawCanvasDueToGeometryChange(int layerStack)
{
    TellStack(*this, layerStack, [](LayerStack& stack) { stack.RedrawCanvasDueToGeometryChange(); });
}

void PaintManager::FreeLayerStackCacheData(int layerStack)
{
    TellStack(*this, layerStack, [](LayerStack& stack) { stack.FreeCacheData(); });
}

bool PaintManager::GetNextUpdateTile(ilTile& tile, int layerStack)
{
    return AskStack(*this, layerStack, false, [&](LayerStack& stack) { return stack.GetNextUpdateTile(tile); });
}

void PaintManager::UpdateImagePlaneBits(int layerStack)
{
    TellStack(*this, layerStack, [](LayerStack& stack) { stack.UpdateImagePlaneBits(); });
}

qs::TempReference<ilSPMemoryImg> PaintManager::GetImagePlane(int layerStack) const
{
    return AskStack(*this, layerStack, qs::TempReference<ilSPMemoryImg>(),
                    [](LayerStack& stack) { return stack.GetImagePlane(); });
}

qs::TempReference<ilImage> PaintManager::GetCompositeImage(int layerStack)
{
    return AskStack(*this, layerStack, qs::TempReference<ilImage>(),
                    [](LayerStack& stack) { return stack.GetCompositeImage(); });
}

// --- views ---

void PaintManager::AddViewer(LayerStackView* view, int layerStack)
{
    TellStack(*this, layerStack, [&](LayerStack& stack) { stack.AddViewer(view); });
}

void PaintManager::RemoveViewer(LayerStackView* view, int layerStack)
{
    TellStack(*this, layerStack, [&](LayerStack& stack) { stack.RemoveViewer(view); });
}

void PaintManager::UpdateViewer(LayerStackView* view, int layerStack)
{
    TellStack(*this, layerStack, [&](LayerStack& stack) { stack.UpdateViewer(view); });
}

// --- properties of the document ---

bool PaintManager::SetLayerStackSize(const ilTile& size, int layerStack)
{
    return AskStack(*this, layerStack, false, [&](LayerStack& stack) {
        if (!LayerStack::IsAcceptableSize(size.nx, size.ny))
            return false;
        stroker_->EndOn(&stack);
        return stack.SetSize(size, stack.GetClipToSize(), true, true);
    });
}

void PaintManager::GetLayerStackSize(ilTile& size, int layerStack) const
{
    TellStack(*this, layerStack, [&](LayerStack& stack) { size = stack.GetSize(); });
}

void PaintManager::SetBackgroundColor(const PaintColor& color, int layerStack)
{
    if (color.IsFinite())
        TellStack(*this, layerStack, [&](LayerStack& stack) { stack.SetBackgroundColor(color); });
}

PaintColor PaintManager::GetBackgroundColor(int layerStack) const
{
    return AskStack(*this, layerStack, PaintColor(), [](LayerStack& stack) { return stack.GetBackgroundColor(); });
}

void PaintManager::SetSymmetry(Symmetry* symmetry, int layerStack)
{
    TellStack(*this, layerStack, [&](LayerStack& stack) { stack.SetSymmetry(symmetry); });
}

Symmetry* PaintManager::GetSymmetry(int layerStack) const
{
    return AskStack(*this, layerStack, static_cast<Symmetry*>(nullptr),
                    [](LayerStack& stack) { return stack.GetSymmetry(); });
}

void PaintManager::SetShowCurrentLayerOnly(bool on, int layerStack)
{
    TellStack(*this, layerStack, [&](LayerStack& stack) { stack.SetShowCurrentLayerOnly(on); });
}

bool PaintManager::GetShowCurrentLayerOnly(int layerStack) const
{
    return AskStack(*this, layerStack, false, [](LayerStack& stack) { return stack.GetShowCurrentLayerOnly(); });
}

// --- proxies ---

bool PaintManager::InProxy(int layerStack) const
{
    return AskStack(*this, layerStack, false, [](LayerStack& stack) { return stack.InProxy(); });
}

void PaintManager::EndProxy(int layerStack)
{
    TellStack(*this, layerStack, [](LayerStack& stack) { stack.EndProxy(); });
}
