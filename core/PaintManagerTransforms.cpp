#include "core/BrushStroker.h"
#include "core/Guarded.h"
#include "core/HostCalls.h"
#include "core/PaintManager.h"
#include "core/UndoableCommand.h"

/// A command on the pixels of a layer, with its transform group when `withGroup`, that may be refused.
bool PaintManager::EditPixels(const PntHandle& layer, bool withGroup, const std::function<bool(LayerStack&)>& edit)
{
    qs::vector<PntHandle> edited = {layer};
    if (withGroup)
        if (const qs::vector<PntHandle> group = getTransformGroup(layer); !group.empty())
            edited = group;
    return UndoableCommand(*this, *stroker_, layer).ChangePixels(edited, [&](LayerStack& stack) {
        if (!edit(stack))
            return false;
        stack.ForceUpdate();
        return true;
    });
}

/// A preview on a layer: nothing to take back, and the views follow.
bool PaintManager::Preview(const PntHandle& layer, const std::function<bool(LayerStack&)>& preview)
{
    return AskStack(*this, layer, false, [&](LayerStack& stack) {
        stroker_->EndOn(&stack);
        if (!preview(stack))
            return false;
        stack.ForceUpdate();
        return true;
    });
}

// --- proxies ---

bool PaintManager::BeginProxy(const ProxyParameters& parameters, const qs::vector<PntHandle>& layers, int layerStack)
{
    return AskStack(*this, layerStack, false, [&](LayerStack& stack) {
        stroker_->EndOn(&stack);
        return stack.BeginProxy(parameters, layers);
    });
}

void PaintManager::RevertProxy(int layerStack)
{
    TellStack(*this, layerStack, [&](LayerStack& stack) {
        stroker_->EndOn(&stack);
        stack.RevertProxy();
        stack.ForceUpdate();
    });
}

// --- transforms ---

bool PaintManager::XForm(const LayerStackTransform& transform, FilterMethod minify, FilterMethod magnify,
                         const PntHandle& layer)
{
    return EditPixels(layer, true, [&](LayerStack& stack) { return stack.XForm(transform, minify, magnify, layer); });
}

bool PaintManager::ProxyXForm(const LayerStackTransform& transform, FilterMethod minify, FilterMethod magnify,
                              const PntHandle& layer)
{
    return Preview(layer, [&](LayerStack& stack) { return stack.ProxyXForm(transform, minify, magnify, layer); });
}

bool PaintManager::Deform(const Rect8f& corners, FilterMethod filter, int kind, const PntHandle& layer)
{
    return EditPixels(layer, true, [&](LayerStack& stack) { return stack.Deform(corners, filter, kind, 0, 0, layer); });
}

bool PaintManager::ProxyDeform(const Rect8f& corners, FilterMethod filter, int kind, const PntHandle& layer)
{
    return Preview(layer, [&](LayerStack& stack) { return stack.ProxyDeform(corners, filter, kind, 0, 0, layer); });
}

ilTile PaintManager::GetTransformBounds(const PntHandle& layer) const
{
    return AskStack(*this, layer, ilTile(), [&](LayerStack& stack) { return stack.GetTransformBounds(layer); });
}

// --- colours and sharpness ---

bool PaintManager::ColorAdjust(const ColorAdjustParm& parm, float amount, const PntHandle& layer)
{
    return EditPixels(layer, false, [&](LayerStack& stack) { return stack.ColorAdjust(parm, amount, layer); });
}

bool PaintManager::ProxyColorAdjust(const ColorAdjustParm& parm, float amount, const PntHandle& layer)
{
    return Preview(layer, [&](LayerStack& stack) { return stack.ProxyColorAdjust(parm, amount, layer); });
}

ImageAnalysisData PaintManager::AnalyzeLayer(const PntHandle& layer) const
{
    return AskStack(*this, layer, ImageAnalysisData(), [&](LayerStack& stack) { return stack.AnalyzeLayer(layer); });
}

bool PaintManager::SharpenOrBlurDone(float amount, float radius, const PntHandle& layer)
{
    return EditPixels(layer, false, [&](LayerStack& stack) { return stack.SharpenOrBlurDone(amount, radius, layer); });
}

// --- transform groups ---

qs::vector<PntHandle> PaintManager::getTransformGroup(const PntHandle& layer) const
{
    return AskStack(*this, layer, qs::vector<PntHandle>(),
                    [&](LayerStack& stack) { return stack.getTransformGroup(layer); });
}

bool PaintManager::AddTransformGroup(const qs::vector<PntHandle>& layers, int layerStack)
{
    return UndoableCommand(*this, *stroker_, layerStack).ChangeStructure([&](LayerStack& stack) {
        return stack.AddTransformGroup(layers);
    });
}

bool PaintManager::addLayerToCurrTransformGroup(const PntHandle& layer)
{
    return UndoableCommand(*this, *stroker_, layer).ChangeStructure([&](LayerStack& stack) {
        return stack.addLayerToCurrTransformGroup(layer);
    });
}

bool PaintManager::removeLayerFromTransformGroup(const PntHandle& layer)
{
    return UndoableCommand(*this, *stroker_, layer).ChangeStructure([&](LayerStack& stack) {
        return stack.removeLayerFromTransformGroup(layer);
    });
}

bool PaintManager::DeleteTransformGroup(const PntHandle& layer)
{
    if (getTransformGroup(layer).empty())
        return false;
    return UndoableCommand(*this, *stroker_, layer).ChangeStructure([&](LayerStack& stack) {
        return stack.DeleteTransformGroup(layer, true);
    });
}

// --- the whole document ---

bool PaintManager::ScaleAllLayers(int width, int height, FilterMethod minify, FilterMethod magnify, int layerStack)
{
    const BusyScope busy(callbacks_);
    return UndoableCommand(*this, *stroker_, layerStack).ChangeStructure([&](LayerStack& stack) {
        return stack.ScaleAllLayers(width, height, minify, magnify);
    });
}

bool PaintManager::ResizeDocument(const ilTile& canvas, int layerStack)
{
    return UndoableCommand(*this, *stroker_, layerStack).ChangeStructure([&](LayerStack& stack) {
        return stack.ResizeDocument(canvas);
    });
}

bool PaintManager::CropDocument(const ilTile& canvas, int layerStack)
{
    return UndoableCommand(*this, *stroker_, layerStack).ChangeStructure([&](LayerStack& stack) {
        return stack.CropDocument(canvas);
    });
}

bool PaintManager::RotateCanvas(double angleDeg, FilterMethod minify, FilterMethod magnify, int layerStack)
{
    return UndoableCommand(*this, *stroker_, layerStack).ChangeStructure([&](LayerStack& stack) {
        return stack.RotateCanvas(angleDeg, minify, magnify);
    });
}

bool PaintManager::FlipDocument(bool horizontal, bool vertical, int layerStack)
{
    return UndoableCommand(*this, *stroker_, layerStack).ChangeStructure([&](LayerStack& stack) {
        return stack.FlipDocument(horizontal, vertical);
    });
}
