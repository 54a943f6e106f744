#include "core/BrushStroker.h"
#include "core/Guarded.h"
#include "core/HostCalls.h"
#include "core/PaintManager.h"
#include "core/UndoableCommand.h"

#include <cmath>

namespace {

ilPixel FillPixelOf(PaintColor color, int channels)
{
    const ilPixel pixel = color.Premultiplied();
    return channels == 1 ? ilPixel::Coverage(pixel.GetAlpha()) : pixel;
}

bool MoveOnCanvas(LayerStack& stack, const PntHandle& handle, int x, int y)
{
    const Layer* layer = stack.GetLayerFromHandle(handle);
    if (layer->getXOffset() == x && layer->getYOffset() == y)
        return false;
    stack.SetLayerOffset(handle, x, y, true);
    return true;
}

}  // namespace

// --- structure ---

PntHandle PaintManager::AddLayer(qs::TempReference<ilImage> image, LayerMode mode, LayerType type, bool above,
                                 const PntHandle& where, int x, int y, int layerStack)
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

void PaintManager::DeleteCurrentLayer(const PntHandle& layer)
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

void PaintManager::SetLayerOffset(int x, int y, const PntHandle& layer)
{
    UndoableCommand(*this, *stroker_, layer).ChangePixels({layer}, [&](LayerStack& stack) {
        return MoveOnCanvas(stack, layer, x, y);
    });
}

void PaintManager::SetCurrentLayerOffset(int x, int y, int layerStack)
{
    UndoableCommand(*this, *stroker_, layerStack).ChangePixels({kCurrentLayerHandle}, [&](LayerStack& stack) {
        return MoveOnCanvas(stack, kCurrentLayerHandle, x, y);
    });
}

void PaintManager::FillLayer(const ilTile& area, const PaintColor& color, const PntHandle& layer)
{
    if (!color.IsFinite())
        return;
    UndoableCommand(*this, *stroker_, layer).ChangePixels({layer}, [&](LayerStack& stack) {
        const qs::Reference<Layer> filled = stack.GetLayerFromHandle(layer);
        const qs::TempReference<ilMIOImage> image = filled->GetImage();
        const ilTile onCanvas = ilTileIntersection(area, stack.GetSize());
        if (!image || onCanvas.IsEmpty())
            return false;
        const ilTile onLayer = ilTileMoved(onCanvas, -int64_t{filled->getXOffset()}, -int64_t{filled->getYOffset()});
        image->fillTile(onLayer, FillPixelOf(color, image->GetNumChannels()));
        stack.LayerContentChanged(*filled, {onCanvas}, false);
        stack.ForceUpdate();
        CallHost(callbacks_.LayerImageChangedCB, filled->GetLayerContainerHandle());
        return true;
    });
}
