#include "core/commands/MergeCommands.h"

#include "core/DocumentCalls.h"
#include "core/commands/UndoableCommand.h"

#include <algorithm>

namespace {

bool Merge(PaintSession& session, int layerStack, const PntHandle& receiver, FunctionRef<void(LayerStack&)> merge)
{
    if (receiver == kNullHandle)
        return false;
    return UndoableCommand(session, layerStack, "Merge Layers").Merge({&receiver, 1}, [&](LayerStack& stack) {
        merge(stack);
        return true;
    });
}

bool MergeImageLayers(const MergeCommands* group, bool visibleOnly, int layerStack)
{
    const PntHandle receiver = AskStack(group, layerStack, kNullHandle,
                                        [&](LayerStack& stack) { return stack.GetMergeAllReceiver(visibleOnly); });
    return Merge(SessionOf(group), layerStack, receiver, [&](LayerStack& stack) { stack.MergeAllLayers(visibleOnly); });
}

PntHandle Duplicate(PaintSession& session, int layerStack, const char* name,
                    FunctionRef<PntHandle(LayerStack&)> duplicate)
{
    PntHandle copy = kNullHandle;
    UndoableCommand(session, layerStack, name).ChangeStructure([&](LayerStack& stack) {
        copy = duplicate(stack);
        if (copy != kNullHandle)
            stack.RedrawEntireCanvas();
        return copy != kNullHandle;
    });
    return copy;
}

}  // namespace

// --- merging ---

bool MergeCommands::MergeLayerWithBelow(const PntHandle& layer)
{
    PntHandle below = kNullHandle;
    const PntHandle receiver = AskStack(this, layer, kNullHandle, [&](LayerStack& stack) {
        const Layer* upper = stack.GetLayerFromHandle(layer);
        if (upper != nullptr)
            stack.GetLCHForMergeBelow(upper->GetLayerContainerHandle(), below);
        return stack.GetMergeReceiver(layer, below);
    });
    return Merge(SessionOf(this), SessionOf(this).registry.FindHolder(layer), receiver,
                 [&](LayerStack& stack) { stack.MergeLayers(layer, below, false); });
}

bool MergeCommands::MergeFolder(int layerStack, const PntHandle& folder)
{
    const PntHandle receiver = AskStack(this, layerStack, kNullHandle, [&](LayerStack& stack) {
        return stack.GetFolderMergeReceiver(stack.GetLayerFolderFromHandle(folder));
    });
    return Merge(SessionOf(this), layerStack, receiver,
                 [&](LayerStack& stack) { stack.MergeLayerFolder(stack.GetLayerFolderFromHandle(folder)); });
}

bool MergeCommands::MergeAllLayers(int layerStack)
{
    return MergeImageLayers(this, false, layerStack);
}

bool MergeCommands::MergeVisibleLayers(int layerStack)
{
    return MergeImageLayers(this, true, layerStack);
}

bool MergeCommands::BakeAllStencils(int layerStack)
{
    // The stencils go with what they hid, so that it takes more than the pixels to bring them back.
    const qs::vector<PntHandle> baked = AskStack(this, layerStack, qs::vector<PntHandle>(), [](LayerStack& stack) {
        qs::vector<PntHandle> hidden = stack.GetLayerContainerHandleArray(kLayerModeImage, false);
        std::erase_if(hidden, [&](const PntHandle& handle) { return stack.getStencilLayers(handle).empty(); });
        return hidden;
    });
    if (baked.empty())
        return false;
    return UndoableCommand(SessionOf(this), layerStack, "Bake Stencils").Merge(baked, [](LayerStack& stack) {
        stack.BakeAllStencilMaskToLayer();
        return true;
    });
}

// --- copies ---

PntHandle MergeCommands::DuplicateCurrentLayer(int layerStack)
{
    return Duplicate(SessionOf(this), layerStack, "Duplicate Layer", [](LayerStack& stack) {
        return stack.DuplicateCurrentLayer(true, true, LayerStack::kDuplicateSame, true);
    });
}

PntHandle MergeCommands::CopyLayerToImage(const PntHandle& layer)
{
    return Duplicate(SessionOf(this), SessionOf(this).registry.FindHolder(layer), "Copy to Image",
                     [&](LayerStack& stack) { return stack.CopyLayerToImage(layer); });
}

PntHandle MergeCommands::CopyLayerToMask(const PntHandle& layer, bool connect)
{
    return Duplicate(SessionOf(this), SessionOf(this).registry.FindHolder(layer), "Copy to Mask",
                     [&](LayerStack& stack) { return stack.CopyLayerToMask(layer, connect); });
}

PntHandle MergeCommands::CopyLayerToStencil(const PntHandle& layer, bool connect)
{
    return Duplicate(SessionOf(this), SessionOf(this).registry.FindHolder(layer), "Copy to Stencil",
                     [&](LayerStack& stack) { return stack.CopyLayerToStencil(layer, connect); });
}
