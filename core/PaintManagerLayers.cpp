#include "core/BrushStroker.h"
#include "core/Guarded.h"
#include "core/HostCalls.h"
#include "core/PaintManager.h"
#include "core/UndoableCommand.h"

#include <cmath>

// --- structure ---

PntHandle PaintManager::AddLayer(qs::TempReference<ilImage> image, LayerMode mode, LayerType type, bool above,
                                 const PntHandle& where, int x, int y, int layerStack,
                                 const qs::vector<PntHandle>& owners)
{
    const bool isMode = mode == kLayerModeImage || mode == kLayerModeMask || mode == kLayerModeStencil;
    const int channels = mode == kLayerModeImage ? 4 : 1;
    if (!isMode || type != kLayerTypeRaster || (image && image->GetNumChannels() != channels) ||
        !ValidLayerStackHandle(layerStack))
        return kNullHandle;
    UndoableCommand command(*this, *stroker_, layerStack);
    PntHandle added = kNullHandle;
    {
        const BusyScope busy(callbacks_);
        command.ChangeStructure([&](LayerStack& stack) {
            added = stack.AddLayer(image, {}, mode, type, above, 0, where, false, x, y, true);
            for (const PntHandle& owner : owners)
                stack.AddOwnerToLayer(owner, added, false);
            return added != kNullHandle;
        });
    }
    if (added != kNullHandle)
        TellStack(*this, command.GetLayerStackHandle(),
                  [](LayerStack& stack) { stack.RebuildAllAndRedrawEntireCanvas(); });
    return added;
}

PntHandle PaintManager::AddLayerFolder(LayerMode mode, const PntHandle& where, int layerStack)
{
    if (!ValidLayerStackHandle(layerStack))
        return kNullHandle;
    const BusyScope busy(callbacks_);
    PntHandle added = kNullHandle;
    UndoableCommand(*this, *stroker_, layerStack).ChangeStructure([&](LayerStack& stack) {
        added = stack.AddLayerFolder(mode, where);
        return added != kNullHandle;
    });
    return added;
}

void PaintManager::DeleteLayer(const PntHandle& layer)
{
    UndoableCommand command(*this, *stroker_, layer);
    const qs::Reference<LayerStack> before = GetLayerStack(command.GetLayerStackHandle());
    const Layer* deleted = before ? before->GetLayerFromHandle(layer) : nullptr;
    if (deleted == nullptr || deleted == before->GetSelectionMask())
        return;
    command.ChangeStructure([&](LayerStack& stack) {
        stack.DeleteCurrentLayer(layer, true);
        return true;
    });
}

void PaintManager::DeleteCurrentLayer(int layerStack)
{
    DeleteLayer(GetCurrentLayerContainerHandle(layerStack));
}

void PaintManager::DeleteAllLayers(int layerStack)
{
    ChangeStructure(layerStack, [](LayerStack& stack) { stack.DeleteAllLayers(); });
}

void PaintManager::DeleteAllMasks(int layerStack)
{
    if (HasLayers(kLayerModeMask, layerStack))
        ChangeStructure(layerStack, [](LayerStack& stack) {
            stack.DeleteAllMasks(true);
            stack.RebuildAllAndRedrawEntireCanvas();
        });
}

void PaintManager::DeleteAllStencils(bool all, int layerStack)
{
    if (HasLayers(kLayerModeStencil, layerStack))
        ChangeStructure(layerStack, [&](LayerStack& stack) {
            stack.DeleteAllStencils(true, all);
            stack.RebuildAllAndRedrawEntireCanvas();
        });
}

void PaintManager::DeleteInvisibleLayers(int layerStack)
{
    const bool hasHidden = AskStack(*this, layerStack, false, [](LayerStack& stack) {
        for (const LayerMode mode : {kLayerModeImage, kLayerModeMask, kLayerModeStencil})
            for (const PntHandle& handle : stack.GetLayerContainerHandleArray(mode, false)) {
                const LayerFolder* folder = stack.GetLayerFolderFromHandle(handle);
                if (folder != nullptr ? !folder->isActive() : !stack.isLayerVisible(handle))
                    return true;
            }
        return false;
    });
    if (hasHidden)
        ChangeStructure(layerStack, [](LayerStack& stack) { stack.DeleteInvisibleLayers(true); });
}

bool PaintManager::MoveLayer(const PntHandle& moved, const PntHandle& target, bool above)
{
    UndoableCommand command(*this, *stroker_, moved);
    if (!command.ChangeStructure([&](LayerStack& stack) { return stack.MoveLayer(moved, target, above); }))
        return false;
    TellStack(*this, command.GetLayerStackHandle(), [](LayerStack& stack) { stack.RebuildAllAndRedrawEntireCanvas(); });
    Attempt([&] { LayerMovedSignal.Emit(moved, target, above); });
    return true;
}

void PaintManager::SetCurrentLayer(const PntHandle& layer)
{
    TellStack(*this, layer, [&](LayerStack& stack) {
        stroker_->EndOn(&stack);
        stack.SetCurrentLayer(layer, true, true, false);
        UpdateProcessedLayerImage();
    });
}

PntHandle PaintManager::GetCurrentLayerContainerHandle(int layerStack) const
{
    return AskStack(*this, layerStack, kNullHandle,
                    [](LayerStack& stack) { return stack.GetCurrentLayerContainerHandle(); });
}

qs::vector<PntHandle> PaintManager::GetLayerContainerHandles(LayerMode mode, bool directOnly, int layerStack) const
{
    return AskStack(*this, layerStack, qs::vector<PntHandle>(),
                    [&](LayerStack& stack) { return stack.GetLayerContainerHandleArray(mode, directOnly); });
}

bool PaintManager::HasLayers(LayerMode mode, int layerStack) const
{
    return !GetLayerContainerHandles(mode, true, layerStack).empty();
}

bool PaintManager::ChangeStructure(int layerStack, const std::function<void(LayerStack&)>& change)
{
    return UndoableCommand(*this, *stroker_, layerStack).ChangeStructure([&](LayerStack& stack) {
        change(stack);
        return true;
    });
}

bool PaintManager::AddOwnerToLayer(const PntHandle& owner, const PntHandle& layer, bool hardLink)
{
    return UndoableCommand(*this, *stroker_, layer).ChangeStructure([&](LayerStack& stack) {
        return stack.AddOwnerToLayer(owner, layer, hardLink);
    });
}

bool PaintManager::RemoveOwnerFromLayer(const PntHandle& owner, const PntHandle& layer)
{
    return UndoableCommand(*this, *stroker_, layer).ChangeStructure([&](LayerStack& stack) {
        return stack.RemoveOwnerFromLayer(owner, layer);
    });
}

// --- properties ---

void PaintManager::SetLayerVisible(bool visible, const PntHandle& layer)
{
    TellStack(*this, layer, [&](LayerStack& stack) { stack.SetLayerVisible(layer, visible, true); });
}

bool PaintManager::isLayerVisible(const PntHandle& layer) const
{
    return AskStack(*this, layer, false, [&](LayerStack& stack) { return stack.isLayerVisible(layer); });
}

void PaintManager::SetLayerOpacity(float opacity, const PntHandle& layer)
{
    if (!std::isfinite(opacity))
        return;
    TellStack(*this, layer, [&](LayerStack& stack) {
        const qs::Reference<Layer> changed = stack.GetLayerFromHandle(layer);
        if (!changed)
            return;
        stack.SetLayerOpacity(layer, opacity);
        OpacitySignal.Emit(changed->GetLayerContainerHandle(), changed->GetOpacity());
    });
}

float PaintManager::GetLayerOpacity(const PntHandle& layer) const
{
    return AskStack(*this, layer, 0.0F, [&](LayerStack& stack) { return stack.GetLayerOpacity(layer); });
}

void PaintManager::SetLayerBlend(LayerBlendMode mode, const PntHandle& layer)
{
    TellStack(*this, layer, [&](LayerStack& stack) { stack.SetLayerBlend(layer, mode); });
}

void PaintManager::SetLayerContainerName(const char* name, const PntHandle& layer)
{
    TellStack(*this, layer, [&](LayerStack& stack) { stack.SetLayerContainerName(layer, name); });
}

void PaintManager::SetLayerActive(bool active, const PntHandle& layer)
{
    TellStack(*this, layer, [&](LayerStack& stack) { stack.SetLayerActive(layer, active); });
}

void PaintManager::SetLayerContainerLocked(bool locked, const PntHandle& layer)
{
    TellStack(*this, layer, [&](LayerStack& stack) { stack.SetLayerContainerLocked(layer, locked); });
}

PntHandle PaintManager::PickLayer(int x, int y, float tolerance, int layerStack)
{
    const PntHandle picked = AskStack(*this, layerStack, kNullHandle, [&](LayerStack& stack) {
        return std::isfinite(tolerance) ? stack.FindLayer(x, y, false, true, tolerance) : kNullHandle;
    });
    if (picked != kNullHandle)
        SetCurrentLayer(picked);
    return picked;
}

void PaintManager::SetLayerFolderActive(bool active, const PntHandle& folder)
{
    TellStack(*this, folder, [&](LayerStack& stack) { stack.SetLayerFolderActive(folder, active, true); });
}
