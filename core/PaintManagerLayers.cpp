#include "core/BrushStroker.h"
#include "core/Guarded.h"
#include "core/HostCalls.h"
#include "core/PaintManager.h"
#include "undo/UndoRecorder.h"

#include <cmath>

namespace {

/// Runs a change of a document's structure, which says whether it happened, and keeps an undo step of it if so.
template <class Command>
bool ChangeStructure(PaintManager& manager, int layerStack, Command&& command)
{
    return Guarded(false, [&] {
        const qs::Reference<UndoStep> step = manager.AddUndoLayerStack(layerStack, false);
        // Only now: recording may have put a copy in the document's place.
        const qs::Reference<LayerStack> stack = manager.LayerStackFromHandle(layerStack);
        if (!stack || !command(*stack))
            return false;
        if (UndoRecorder* recorder = GetUndoRecorder(); step && recorder != nullptr)
            recorder->Append(step);
        return true;
    });
}

ilPixel FillPixelOf(PaintColor color, int channels)
{
    const ilPixel pixel = color.Premultiplied();
    return channels == 1 ? ilPixel::Coverage(pixel.GetAlpha()) : pixel;
}

}  // namespace

// --- structure ---

PntHandle PaintManager::AddLayer(qs::TempReference<ilImage> image, LayerMode mode, LayerType type, bool above,
                                 const PntHandle& where, int x, int y, int layerStack)
{
    const bool isMode = mode == kLayerModeImage || mode == kLayerModeMask || mode == kLayerModeStencil;
    const int channels = mode == kLayerModeImage ? 4 : 1;
    const qs::Reference<LayerStack> before = LayerStackFromHandle(layerStack);
    if (!before || !isMode || type != kLayerTypeRaster || (image && image->GetNumChannels() != channels))
        return kNullHandle;
    PntHandle added = kNullHandle;
    {
        const BusyScope busy(callbacks_);
        stroker_->EndOn(before.get());
        ChangeStructure(*this, layerStack, [&](LayerStack& stack) {
            added = stack.AddLayer(image, {}, mode, type, above, 0, where, false, x, y, true);
            return added != kNullHandle;
        });
    }
    if (added == kNullHandle)
        return added;
    UpdateProcessedLayerImage();
    TellStack(*this, layerStack, [](LayerStack& stack) { stack.RebuildAllAndRedrawEntireCanvas(); });
    return added;
}

PntHandle PaintManager::AddLayerFolder(LayerMode mode, const PntHandle& where, int layerStack)
{
    const qs::Reference<LayerStack> before = LayerStackFromHandle(layerStack);
    if (!before)
        return kNullHandle;
    const BusyScope busy(callbacks_);
    stroker_->EndOn(before.get());
    PntHandle added = kNullHandle;
    ChangeStructure(*this, layerStack, [&](LayerStack& stack) {
        added = stack.AddLayerFolder(mode, where);
        return added != kNullHandle;
    });
    return added;
}

void PaintManager::DeleteCurrentLayer(const PntHandle& layer)
{
    const int handle = GetCurrentLayerStack(layer);
    const qs::Reference<LayerStack> before = GetLayerStack(handle);
    const Layer* deleted = before ? before->GetLayerFromHandle(layer) : nullptr;
    if (deleted == nullptr || deleted == before->GetSelectionMask())
        return;
    stroker_->EndOn(before.get());
    ChangeStructure(*this, handle, [&](LayerStack& stack) {
        stack.DeleteCurrentLayer(layer, true);
        return true;
    });
    UpdateProcessedLayerImage();
}

bool PaintManager::MoveLayer(const PntHandle& moved, const PntHandle& target, bool above)
{
    const int handle = GetCurrentLayerStack(moved);
    const qs::Reference<LayerStack> before = GetLayerStack(handle);
    if (!before)
        return false;
    stroker_->EndOn(before.get());
    const bool isMoved =
        ChangeStructure(*this, handle, [&](LayerStack& stack) { return stack.MoveLayer(moved, target, above); });
    if (!isMoved)
        return false;
    TellStack(*this, handle, [](LayerStack& stack) { stack.RebuildAllAndRedrawEntireCanvas(); });
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

void PaintManager::SetLayerFolderActive(bool active, const PntHandle& folder)
{
    TellStack(*this, folder, [&](LayerStack& stack) { stack.SetLayerFolderActive(folder, active, true); });
}

// --- pixels ---

void PaintManager::FillLayer(const ilTile& area, const PaintColor& color, const PntHandle& layer)
{
    if (!color.IsFinite())
        return;
    TellStack(*this, layer, [&](LayerStack& stack) {
        const ilTile onCanvas = ilTileIntersection(area, stack.GetSize());
        stroker_->EndOn(&stack);
        if (stack.InProxy())
            stack.EndProxy();
        const qs::Reference<Layer> filled = stack.GetLayerFromHandle(layer);
        const qs::TempReference<ilMIOImage> image = filled ? filled->GetImage() : nullptr;
        if (!image || onCanvas.IsEmpty())
            return;
        const PntHandle handle = filled->GetLayerContainerHandle();
        UndoRecorder* recorder = UndoEnable() ? GetUndoRecorder() : nullptr;
        qs::Reference<UndoStep> step;
        if (recorder != nullptr)
            step = recorder->BeginStroke(GetCurrentLayerStack(handle), handle, stack, *filled, image);
        // No part of a fill stays when memory runs out on the way, and no step of it.
        stack.FillLayer(handle, onCanvas, FillPixelOf(color, image->GetNumChannels()));
        if (step)
            recorder->Append(step);

        if (filled->isMask() || filled->isStencil()) {
            stack.ReuseLSCAndRedrawCanvas(handle, true);
        } else {
            stack.GetLSComposite()->CompositeBaseDirty(handle);
            stack.DamageTile(onCanvas);
            stack.ForceUpdate();
        }
        CallHost(callbacks_.LayerImageChangedCB, handle);
        UpdateProcessedLayerImage();
    });
}
