#include "core/BrushStroker.h"
#include "core/Guarded.h"
#include "core/HostCalls.h"
#include "core/PaintManager.h"
#include "core/UndoableCommand.h"

namespace {

bool MoveOnCanvas(LayerStack& stack, const PntHandle& handle, int x, int y)
{
    const Layer* layer = stack.GetLayerFromHandle(handle);
    if (layer->getXOffset() == x && layer->getYOffset() == y)
        return false;
    stack.SetLayerOffset(handle, x, y, true);
    return true;
}

}  // namespace

/// A command on the pixels of one layer that cannot be refused any more.
bool PaintManager::ChangePixels(const PntHandle& layer, const std::function<void(LayerStack&)>& change)
{
    return UndoableCommand(*this, *stroker_, layer).ChangePixels({layer}, [&](LayerStack& stack) {
        change(stack);
        return true;
    });
}

// --- place ---

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

// --- filling and clearing ---

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
        if (!stack.FillLayer(filled->GetLayerContainerHandle(), onCanvas, color.PixelOf(image->GetNumChannels())))
            return false;
        stack.LayerContentChanged(*filled, {onCanvas}, false);
        stack.ForceUpdate();
        CallHost(callbacks_.LayerImageChangedCB, filled->GetLayerContainerHandle());
        return true;
    });
}

void PaintManager::ClearCurrentLayer(int layerStack)
{
    UndoableCommand command(*this, *stroker_, layerStack);
    command.ChangePixels({GetCurrentLayerContainerHandle(layerStack)}, [](LayerStack& stack) {
        stack.ClearCurrentLayer();
        return true;
    });
}

void PaintManager::ClearLayerImageByRect(const ilTile& area, const PntHandle& layer)
{
    ChangePixels(layer, [&](LayerStack& stack) { stack.ClearLayerImageByRect(layer, area); });
}

void PaintManager::ClearLayerImageBySelMask(const PntHandle& layer)
{
    ChangePixels(layer, [&](LayerStack& stack) { stack.ClearLayerImageBySelMask(layer); });
}

void PaintManager::CropLayer(const ilTile& area, const PntHandle& layer)
{
    ChangePixels(layer, [&](LayerStack& stack) { stack.CropLayer(layer, area); });
}

// --- inverting and mirroring ---

void PaintManager::InvertImageLayer(const PntHandle& layer)
{
    ChangePixels(layer, [&](LayerStack& stack) { stack.InvertImageLayer(layer); });
}

void PaintManager::InvertMaskLayer(const PntHandle& layer)
{
    ChangePixels(layer, [&](LayerStack& stack) { stack.InvertMaskLayer(layer); });
}

void PaintManager::InvertStencilLayer(const PntHandle& layer)
{
    ChangePixels(layer, [&](LayerStack& stack) { stack.InvertStencilLayer(layer); });
}

void PaintManager::FlipImageLayer(bool horizontal, bool vertical, const PntHandle& layer)
{
    const qs::vector<PntHandle> flipped = AskStack(
        *this, layer, qs::vector<PntHandle>(), [&](LayerStack& stack) { return stack.GetLayersFlippedWith(layer); });
    UndoableCommand(*this, *stroker_, layer).ChangePixels(flipped, [&](LayerStack& stack) {
        stack.FlipImageLayer(layer, horizontal, vertical);
        return true;
    });
}

// --- images ---

bool PaintManager::ReplaceLayerImage(qs::TempReference<ilImage> image, const PntHandle& layer)
{
    return AskStack(*this, layer, false, [&](LayerStack& stack) {
        stroker_->EndOn(&stack);
        return stack.ReplaceLayerImage(layer, image);
    });
}
