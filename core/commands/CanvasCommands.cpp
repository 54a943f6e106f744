#include "core/commands/CanvasCommands.h"

#include "core/DocumentCalls.h"

// --- damage and update ---

void CanvasCommands::DamageRegion(const ilTile& tile, int layerStack)
{
    TellStack(this, layerStack, [&](LayerStack& stack) { stack.DamageTile(tile); });
}

void CanvasCommands::SuspendLayerStackComposites(int layerStack)
{
    TellStack(this, layerStack, [](LayerStack& stack) { stack.SuspendComposites(); });
}

void CanvasCommands::ResumeLayerStackComposites(int layerStack)
{
    TellStack(this, layerStack, [](LayerStack& stack) { stack.ResumeComposites(); });
}

bool CanvasCommands::areLayerStackCompositesSuspended(int layerStack) const
{
    return AskStack(this, layerStack, false, [](LayerStack& stack) { return stack.CompositesSuspended(); });
}

void CanvasCommands::ForceUpdate(int layerStack)
{
    TellStack(this, layerStack, [](LayerStack& stack) { stack.ForceUpdate(); });
}

void CanvasCommands::RedrawCanvasDueToGeometryChange(int layerStack)
{
    TellStack(this, layerStack, [](LayerStack& stack) { stack.RedrawCanvasDueToGeometryChange(); });
}

void CanvasCommands::FreeLayerStackCacheData(int layerStack)
{
    TellStack(this, layerStack, [](LayerStack& stack) { stack.FreeCacheData(); });
}

bool CanvasCommands::GetNextUpdateTile(ilTile& tile, int layerStack)
{
    return ChangeStack(this, layerStack, false, [&](LayerStack& stack) { return stack.GetNextUpdateTile(tile); });
}

void CanvasCommands::UpdateImagePlaneBits(int layerStack)
{
    TellStack(this, layerStack, [](LayerStack& stack) { stack.UpdateImagePlaneBits(); });
}

void CanvasCommands::UpdateImagePlaneBits(int overlay, int callViews, int layerStack)
{
    TellStack(this, layerStack, [&](LayerStack& stack) {
        stack.UpdateImagePlaneBits(overlay != 0);
        if (callViews != 0)
            stack.ForceUpdate();
    });
}

qs::TempReference<ilSPMemoryImg> CanvasCommands::GetImagePlane(int layerStack) const
{
    return AskStack(this, layerStack, qs::TempReference<ilSPMemoryImg>(),
                    [](LayerStack& stack) { return stack.GetImagePlane(); });
}

qs::TempReference<ilImage> CanvasCommands::GetCompositeImage(int layerStack)
{
    return ChangeStack(this, layerStack, qs::TempReference<ilImage>(),
                       [](LayerStack& stack) { return stack.GetCompositeImage(); });
}

// --- views ---

void CanvasCommands::AddViewer(LayerStackView* view, int layerStack)
{
    TellStack(this, layerStack, [&](LayerStack& stack) { stack.AddViewer(view); });
}

void CanvasCommands::RemoveViewer(LayerStackView* view, int layerStack)
{
    TellStack(this, layerStack, [&](LayerStack& stack) { stack.RemoveViewer(view); });
}

void CanvasCommands::UpdateViewer(LayerStackView* view, int layerStack)
{
    TellStack(this, layerStack, [&](LayerStack& stack) { stack.UpdateViewer(view); });
}

// --- the current layer alone ---

void CanvasCommands::SetShowCurrentLayerOnly(bool on, int layerStack)
{
    TellStack(this, layerStack, [&](LayerStack& stack) { stack.SetShowCurrentLayerOnly(on); });
}

bool CanvasCommands::GetShowCurrentLayerOnly(int layerStack) const
{
    return AskStack(this, layerStack, false, [](LayerStack& stack) { return stack.GetShowCurrentLayerOnly(); });
}

// --- previews ---

bool CanvasCommands::BeginProxy(const ProxyParameters& parameters, const qs::vector<PntHandle>& layers, int layerStack)
{
    SessionOf(this).EndStrokeOn(layerStack);
    return ChangeStack(this, layerStack, false,
                       [&](LayerStack& stack) { return stack.BeginProxy(parameters, layers); });
}

void CanvasCommands::RevertProxy(int layerStack)
{
    SessionOf(this).EndStrokeOn(layerStack);
    TellStack(this, layerStack, [](LayerStack& stack) {
        stack.RevertProxy();
        stack.ForceUpdate();
    });
}

void CanvasCommands::EndProxy(int layerStack)
{
    TellStack(this, layerStack, [](LayerStack& stack) { stack.EndProxy(); });
}

bool CanvasCommands::InProxy(int layerStack) const
{
    return AskStack(this, layerStack, false, [](LayerStack& stack) { return stack.InProxy(); });
}
