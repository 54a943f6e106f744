#include "stack/LayerStack.h"
#include "stack/StackParts.h"
#include "stack/edits/StackEdit.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float kDefaultDisplayOpacity = 0.5f;

}  // namespace

void LayerStack::SetMaskDefaultDisplayOpacity(float opacity)
{
    if (!std::isnan(opacity))
        parts_->properties.maskDisplayOpacity = std::clamp(opacity, 0.0f, 1.0f);
}

void LayerStack::SetMaskDefaultDisplayColor(const PaintColor& color)
{
    parts_->properties.maskDisplayColor = color;
    parts_->properties.maskDisplayColor.Clamp();
}

PaintColor LayerStack::GetMaskLayerDisplayColor(const PntHandle& handle) const
{
    const Layer* layer = parts_->tree.GetLayerFromHandle(handle);
    return layer != nullptr ? layer->GetMaskColor() : PaintColor();
}

void LayerStack::SetMaskLayerDisplayColor(const PaintColor& color, const PntHandle& handle)
{
    Layer* layer = parts_->tree.GetLayerFromHandle(handle);
    if (layer == nullptr)
        return;
    PaintColor clamped = color;
    clamped.Clamp();
    layer->SetMaskColor(clamped);
    parts_->canvas.MarkMaskStale();
    parts_->canvas.DamageLayer(*layer);
}

float LayerStack::GetMaskLayerDisplayOpacity(const PntHandle& handle) const
{
    const Layer* layer = parts_->tree.GetLayerFromHandle(handle);
    return layer != nullptr ? layer->GetMaskDisplayOpacity() : kDefaultDisplayOpacity;
}

void LayerStack::SetMaskLayerDisplayOpacity(float opacity, const PntHandle& handle)
{
    Layer* layer = parts_->tree.GetLayerFromHandle(handle);
    if (layer == nullptr || std::isnan(opacity))
        return;
    layer->SetMaskDisplayOpacity(std::clamp(opacity, 0.0f, 1.0f));
    parts_->canvas.MarkMaskStale();
    parts_->canvas.DamageLayer(*layer);
}

void LayerStack::DeleteLayersOf(LayerFolder* folder, bool keepHardLinked)
{
    const StackEdit edit(*this);
    parts_->proxy.End();
    qs::vector<LayerContainer*> contents;
    folder->GetLCArray_FLATTEN(&contents);
    qs::vector<qs::Reference<Layer>> layers;
    for (LayerContainer* container : contents)
        if (Layer* layer = dynamic_cast<Layer*>(container))
            if (!keepHardLinked || !layer->IsHardLinkToOwnerLayer())
                layers.emplace_back(layer);
    const bool holdsCurrent = std::find(layers.begin(), layers.end(), parts_->tree.GetCurrent()) != layers.end();
    for (const qs::Reference<Layer>& layer : layers)
        DeleteLayer(layer.get(), false);
    Layer* bottom = parts_->tree.GetBottomLayer(kLayerModeImage);
    if (holdsCurrent && bottom != nullptr) {
        parts_->current.Become(bottom);
        parts_->current.ResetPainter();
    }
}

void LayerStack::DeleteAllMasks(bool notify)
{
    const StackEdit edit(*this);
    DeleteLayersOf(parts_->tree.GetMaskFolder(), false);
    if (notify)
        Notify(true);
}

void LayerStack::DeleteAllStencils(bool notify, bool all)
{
    const StackEdit edit(*this);
    DeleteLayersOf(parts_->tree.GetStencilFolder(), !all);
    if (notify)
        Notify(true);
}
