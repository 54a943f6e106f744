#include "core/Guarded.h"
#include "core/PaintManager.h"
#include "core/UndoableCommand.h"

#include <algorithm>

// --- merging ---

bool PaintManager::MergeLayerWithBelow(const PntHandle& layer)
{
    UndoableCommand command(*this, *stroker_, layer);
    PntHandle below = kNullHandle;
    const PntHandle receiver = AskStack(*this, layer, kNullHandle, [&](LayerStack& stack) {
        const Layer* upper = stack.GetLayerFromHandle(layer);
        if (upper != nullptr)
            stack.GetLCHForMergeBelow(upper->GetLayerContainerHandle(), below);
        return stack.GetMergeReceiver(layer, below);
    });
    return Merge(command.GetLayerStackHandle(), receiver,
                 [&](LayerStack& stack) { stack.MergeLayers(layer, below, false); });
}

bool PaintManager::MergeFolder(const PntHandle& folder, int layerStack)
{
    const PntHandle receiver = AskStack(*this, layerStack, kNullHandle, [&](LayerStack& stack) {
        return stack.GetFolderMergeReceiver(stack.GetLayerFolderFromHandle(folder));
    });
    return Merge(layerStack, receiver,
                 [&](LayerStack& stack) { stack.MergeLayerFolder(stack.GetLayerFolderFromHandle(folder)); });
}

bool PaintManager::MergeAllLayers(int layerStack)
{
    return MergeLayers(false, layerStack);
}

bool PaintManager::MergeVisibleLayers(int layerStack)
{
    return MergeLayers(true, layerStack);
}

bool PaintManager::MergeLayers(bool visibleOnly, int layerStack)
{
    const PntHandle receiver = AskStack(*this, layerStack, kNullHandle,
                                        [&](LayerStack& stack) { return stack.GetMergeAllReceiver(visibleOnly); });
    return Merge(layerStack, receiver, [&](LayerStack& stack) { stack.MergeAllLayers(visibleOnly); });
}

bool PaintManager::Merge(int layerStack, const PntHandle& receiver, const std::function<void(LayerStack&)>& merge)
{
    if (receiver == kNullHandle)
        return false;
    return UndoableCommand(*this, *stroker_, layerStack).Merge({receiver}, [&](LayerStack& stack) {
        merge(stack);
        return true;
    });
}

bool PaintManager::BakeAllStencils(int layerStack)
{
    // The stencils go with what they hid, so that it takes more than the pixels to bring them back.
    const qs::vector<PntHandle> baked = AskStack(*this, layerStack, qs::vector<PntHandle>(), [](LayerStack& stack) {
        qs::vector<PntHandle> hidden = stack.GetLayerContainerHandleArray(kLayerModeImage, false);
        std::erase_if(hidden, [&](const PntHandle& handle) { return stack.getStencilLayers(handle).empty(); });
        return hidden;
    });
    if (baked.empty())
        return false;
    return UndoableCommand(*this, *stroker_, layerStack).Merge(baked, [](LayerStack& stack) {
        stack.BakeAllStencilMaskToLayer();
        return true;
    });
}

// --- copies ---

PntHandle PaintManager::DuplicateCurrentLayer(int layerStack)
{
    return Duplicate(layerStack, [](LayerStack& stack) {
        return stack.DuplicateCurrentLayer(true, true, LayerStack::kDuplicateSame, true);
    });
}

PntHandle PaintManager::CopyLayerToImage(const PntHandle& layer)
{
    return Duplicate(GetCurrentLayerStack(layer), [&](LayerStack& stack) { return stack.CopyLayerToImage(layer); });
}

PntHandle PaintManager::CopyLayerToMask(const PntHandle& layer, bool connect)
{
    return Duplicate(GetCurrentLayerStack(layer),
                     [&](LayerStack& stack) { return stack.CopyLayerToMask(layer, connect); });
}

PntHandle PaintManager::CopyLayerToStencil(const PntHandle& layer, bool connect)
{
    return Duplicate(GetCurrentLayerStack(layer),
                     [&](LayerStack& stack) { return stack.CopyLayerToStencil(layer, connect); });
}

PntHandle PaintManager::Duplicate(int layerStack, const std::function<PntHandle(LayerStack&)>& duplicate)
{
    PntHandle copy = kNullHandle;
    UndoableCommand command(*this, *stroker_, layerStack);
    command.ChangeStructure([&](LayerStack& stack) {
        copy = duplicate(stack);
        return copy != kNullHandle;
    });
    if (copy != kNullHandle)
        TellStack(*this, command.GetLayerStackHandle(), [](LayerStack& stack) { stack.RedrawEntireCanvas(); });
    return copy;
}
