#include "core/commands/PixelCommands.h"

#include "core/DocumentCalls.h"
#include "core/HostCalls.h"
#include "core/commands/UndoableCommand.h"

namespace {

bool MoveOnCanvas(LayerStack& stack, const PntHandle& handle, int x, int y)
{
    const Layer* layer = stack.GetLayerFromHandle(handle);
    if (layer->getXOffset() == x && layer->getYOffset() == y)
        return false;
    stack.SetLayerOffset(handle, x, y, true);
    return true;
}

/// A command on the pixels of one layer.
bool ChangePixels(const PixelCommands* group, const PntHandle& layer, const char* name,
                  UndoableCommand::Operation change)
{
    return UndoableCommand(SessionOf(group), layer, name).ChangePixels(layer, change);
}

}  // namespace

// --- place ---

bool PixelCommands::SetLayerOffset(int x, int y, const PntHandle& layer)
{
    return UndoableCommand(SessionOf(this), layer, "Move Layer")
        .SetIsMove()
        .ChangePixels(layer, [&](LayerStack& stack) { return MoveOnCanvas(stack, layer, x, y); });
}

bool PixelCommands::SetCurrentLayerOffset(int x, int y, int layerStack)
{
    UndoableCommand command(SessionOf(this), layerStack, "Move Layer");
    return command.SetIsMove().ChangePixels(
        kCurrentLayerHandle, [&](LayerStack& stack) { return MoveOnCanvas(stack, kCurrentLayerHandle, x, y); });
}

void PixelCommands::GetLayerOffset(int& x, int& y, const PntHandle& layer) const
{
    AskStack(this, layer, false, [&](LayerStack& stack) {
        if (const Layer* found = stack.GetLayerFromHandle(layer))
            found->GetOffset(x, y);
        return true;
    });
}

// --- filling and clearing ---

bool PixelCommands::FillLayer(const ilTile& area, const PaintColor& color, const PntHandle& layer)
{
    if (!color.IsFinite())
        return false;
    return ChangePixels(this, layer, "Fill", [&](LayerStack& stack) {
        const qs::Reference<Layer> filled = stack.GetLayerFromHandle(layer);
        const qs::TempReference<ilMIOImage> image = filled->GetImage();
        const ilTile onCanvas = ilTileIntersection(area, stack.GetSize());
        if (!image || onCanvas.IsEmpty())
            return false;
        if (!stack.FillLayer(filled->GetLayerContainerHandle(), onCanvas, color.PixelOf(image->GetNumChannels())))
            return false;
        stack.LayerContentChanged(*filled, {onCanvas}, false);
        stack.ForceUpdate();
        PaintSession& session = SessionOf(this);
        session.notices.Tell([&session, handle = filled->GetLayerContainerHandle()] {
            CallHost(session.callbacks.LayerImageChangedCB, handle);
        });
        return true;
    });
}

bool PixelCommands::ClearCurrentLayer(int layerStack)
{
    UndoableCommand command(SessionOf(this), layerStack, "Clear Layer");
    return command.ChangePixels(kCurrentLayerHandle, [](LayerStack& stack) { return stack.ClearCurrentLayer(); });
}

bool PixelCommands::ClearLayerImageByRect(const ilTile& area, const PntHandle& layer)
{
    return ChangePixels(this, layer, "Clear Rectangle",
                        [&](LayerStack& stack) { return stack.ClearLayerImageByRect(layer, area); });
}

bool PixelCommands::ClearLayerImageBySelMask(const PntHandle& layer)
{
    return ChangePixels(this, layer, "Clear Selection",
                        [&](LayerStack& stack) { return stack.ClearLayerImageBySelMask(layer); });
}

bool PixelCommands::CropLayer(const ilTile& area, const PntHandle& layer)
{
    return ChangePixels(this, layer, "Crop Layer", [&](LayerStack& stack) { return stack.CropLayer(layer, area); });
}

// --- inverting and mirroring ---

bool PixelCommands::InvertImageLayer(const PntHandle& layer)
{
    return ChangePixels(this, layer, "Invert Colours",
                        [&](LayerStack& stack) { return stack.InvertImageLayer(layer); });
}

bool PixelCommands::InvertMaskLayer(const PntHandle& layer)
{
    return ChangePixels(this, layer, "Invert Mask", [&](LayerStack& stack) { return stack.InvertMaskLayer(layer); });
}

bool PixelCommands::InvertStencilLayer(const PntHandle& layer)
{
    return ChangePixels(this, layer, "Invert Stencil",
                        [&](LayerStack& stack) { return stack.InvertStencilLayer(layer); });
}

bool PixelCommands::FlipImageLayer(bool horizontal, bool vertical, const PntHandle& layer)
{
    const qs::vector<PntHandle> flipped = AskStack(
        this, layer, qs::vector<PntHandle>(), [&](LayerStack& stack) { return stack.GetLayersFlippedWith(layer); });
    return UndoableCommand(SessionOf(this), layer, "Flip Layer").ChangePixels(flipped, [&](LayerStack& stack) {
        return stack.FlipImageLayer(layer, horizontal, vertical);
    });
}

// --- images ---

bool PixelCommands::ReplaceLayerImage(qs::TempReference<ilImage> image, const PntHandle& layer)
{
    SessionOf(this).EndStrokeOn(layer);
    return ChangeStack(this, layer, false, [&](LayerStack& stack) { return stack.ReplaceLayerImage(layer, image); });
}
