#include "core/commands/TransformCommands.h"

#include "core/DocumentCalls.h"
#include "core/HostCalls.h"
#include "core/commands/UndoableCommand.h"

namespace {

using Operation = UndoableCommand::Operation;

/// A command on the pixels of a layer, with its transform group when `withGroup`, that may be refused.
bool EditPixels(const TransformCommands* group, const PntHandle& layer, bool withGroup, const char* name,
                Operation edit)
{
    const auto editAndShow = [&](LayerStack& stack) {
        if (!edit(stack))
            return false;
        stack.ForceUpdate();
        return true;
    };
    return Guarded(false, [&] {
        const LayerStack* stack = SessionOf(group).Find(layer);
        if (stack == nullptr)
            return false;
        const qs::vector<PntHandle> layers = withGroup ? stack->getTransformGroup(layer) : qs::vector<PntHandle>();
        UndoableCommand command(SessionOf(group), layer, name);
        return layers.empty() ? command.ChangePixels(layer, editAndShow) : command.ChangePixels(layers, editAndShow);
    });
}

/// A preview on a layer: nothing to take back, and the views follow.
bool Preview(const TransformCommands* group, const PntHandle& layer, Operation preview)
{
    SessionOf(group).EndStrokeOn(layer);
    return ChangeStack(group, layer, false, [&](LayerStack& stack) {
        if (!preview(stack))
            return false;
        stack.ForceUpdate();
        return true;
    });
}

}  // namespace

// --- transforms ---

bool TransformCommands::XForm(const LayerStackTransform& transform, FilterMethod minify, FilterMethod magnify,
                              const PntHandle& layer)
{
    return EditPixels(this, layer, true, "Transform",
                      [&](LayerStack& stack) { return stack.XForm(transform, minify, magnify, layer); });
}

bool TransformCommands::ProxyXForm(const LayerStackTransform& transform, FilterMethod minify, FilterMethod magnify,
                                   const PntHandle& layer)
{
    return Preview(this, layer, [&](LayerStack& stack) { return stack.ProxyXForm(transform, minify, magnify, layer); });
}

bool TransformCommands::Deform(const Rect8f& corners, FilterMethod filter, int kind, const PntHandle& layer)
{
    return EditPixels(this, layer, true, "Deform",
                      [&](LayerStack& stack) { return stack.Deform(corners, filter, kind, 0, 0, layer); });
}

bool TransformCommands::ProxyDeform(const Rect8f& corners, FilterMethod filter, int kind, const PntHandle& layer)
{
    return Preview(this, layer,
                   [&](LayerStack& stack) { return stack.ProxyDeform(corners, filter, kind, 0, 0, layer); });
}

ilTile TransformCommands::GetTransformBounds(const PntHandle& layer) const
{
    return AskStack(this, layer, ilTile(), [&](LayerStack& stack) { return stack.GetTransformBounds(layer); });
}

// --- colours and sharpness ---

bool TransformCommands::ColorAdjust(const ColorAdjustParm& parm, float amount, const PntHandle& layer)
{
    return EditPixels(this, layer, false, "Adjust Colours",
                      [&](LayerStack& stack) { return stack.ColorAdjust(parm, amount, layer); });
}

bool TransformCommands::ProxyColorAdjust(const ColorAdjustParm& parm, float amount, const PntHandle& layer)
{
    return Preview(this, layer, [&](LayerStack& stack) { return stack.ProxyColorAdjust(parm, amount, layer); });
}

ImageAnalysisData TransformCommands::AnalyzeLayer(const PntHandle& layer) const
{
    return AskStack(this, layer, ImageAnalysisData(), [&](LayerStack& stack) { return stack.AnalyzeLayer(layer); });
}

bool TransformCommands::SharpenOrBlurDone(float amount, float radius, const PntHandle& layer)
{
    return EditPixels(this, layer, false, "Sharpen or Blur",
                      [&](LayerStack& stack) { return stack.SharpenOrBlurDone(amount, radius, layer); });
}

// --- transform groups ---

qs::vector<PntHandle> TransformCommands::getTransformGroup(const PntHandle& layer) const
{
    return AskStack(this, layer, qs::vector<PntHandle>(),
                    [&](LayerStack& stack) { return stack.getTransformGroup(layer); });
}

bool TransformCommands::AddTransformGroup(const qs::vector<PntHandle>& layers, int layerStack)
{
    return UndoableCommand(SessionOf(this), layerStack, "Group Layers").ChangeStructure([&](LayerStack& stack) {
        return stack.AddTransformGroup(layers);
    });
}

bool TransformCommands::addLayerToCurrTransformGroup(const PntHandle& layer)
{
    return UndoableCommand(SessionOf(this), layer, "Group Layers").ChangeStructure([&](LayerStack& stack) {
        return stack.addLayerToCurrTransformGroup(layer);
    });
}

bool TransformCommands::removeLayerFromTransformGroup(const PntHandle& layer)
{
    return UndoableCommand(SessionOf(this), layer, "Ungroup Layer").ChangeStructure([&](LayerStack& stack) {
        return stack.removeLayerFromTransformGroup(layer);
    });
}

bool TransformCommands::DeleteTransformGroup(const PntHandle& layer)
{
    if (getTransformGroup(layer).empty())
        return false;
    return UndoableCommand(SessionOf(this), layer, "Delete Group").ChangeStructure([&](LayerStack& stack) {
        return stack.DeleteTransformGroup(layer, true);
    });
}

// --- the whole document ---

bool TransformCommands::ScaleAllLayers(int width, int height, FilterMethod minify, FilterMethod magnify, int layerStack)
{
    const BusyScope busy(SessionOf(this).callbacks);
    return UndoableCommand(SessionOf(this), layerStack, "Scale Document").ChangeStructure([&](LayerStack& stack) {
        return stack.ScaleAllLayers(width, height, minify, magnify);
    });
}

bool TransformCommands::ResizeDocument(const ilTile& canvas, int layerStack)
{
    return UndoableCommand(SessionOf(this), layerStack, "Resize Canvas").ChangeStructure([&](LayerStack& stack) {
        return stack.ResizeDocument(canvas);
    });
}

bool TransformCommands::CropDocument(const ilTile& canvas, int layerStack)
{
    return UndoableCommand(SessionOf(this), layerStack, "Crop Document").ChangeStructure([&](LayerStack& stack) {
        return stack.CropDocument(canvas);
    });
}

bool TransformCommands::RotateCanvas(double angleDeg, FilterMethod minify, FilterMethod magnify, int layerStack)
{
    return UndoableCommand(SessionOf(this), layerStack, "Rotate Document").ChangeStructure([&](LayerStack& stack) {
        return stack.RotateCanvas(angleDeg, minify, magnify);
    });
}

bool TransformCommands::FlipDocument(bool horizontal, bool vertical, int layerStack)
{
    return UndoableCommand(SessionOf(this), layerStack, "Flip Document").ChangeStructure([&](LayerStack& stack) {
        return stack.FlipDocument(horizontal, vertical);
    });
}
