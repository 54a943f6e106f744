#include "stack/LayerStack.h"
#include "stack/StackEdit.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float kDefaultDisplayOpacity = 0.5f;

}  // namespace

void LayerStack::SetMaskDefaultDisplayOpacity(float opacity)
{
    if (!std::isnan(opacity))
        maskDisplayOpacity_ = std::clamp(opacity, 0.0f, 1.0f);
}

void LayerStack::SetMaskDefaultDisplayColor(const PaintColor& color)
{
    maskDisplayColor_ = color;
    maskDisplayColor_.Clamp();
}

PaintColor LayerStack::GetMaskLayerDisplayColor(const PntHandle& handle) const
{
    const Layer* layer = GetLayerFromHandle(handle);
    return layer != nullptr ? layer->GetMaskColor() : PaintColor();
}

void LayerStack::SetMaskLayerDisplayColor(const PaintColor& color, const PntHandle& handle)
{
    Layer* layer = GetLayerFromHandle(handle);
    if (layer == nullptr)
        return;
    PaintColor clamped = color;
    clamped.Clamp();
    layer->SetMaskColor(clamped);
    maskIsStale_ = true;
    DamageLayer(*layer);
}

float LayerStack::GetMaskLayerDisplayOpacity(const PntHandle& handle) const
{
    const Layer* layer = GetLayerFromHandle(handle);
    return layer != nullptr ? layer->GetMaskDisplayOpacity() : kDefaultDisplayOpacity;
}

void LayerStack::SetMaskLayerDisplayOpacity(float opacity, const PntHandle& handle)
{
    Layer* layer = GetLayerFromHandle(handle);
    if (layer == nullptr || std::isnan(opacity))
        return;
    layer->SetMaskDisplayOpacity(std::clamp(opacity, 0.0f, 1.0f));
    maskIsStale_ = true;
    DamageLayer(*layer);
}

void LayerStack::SetStencilCompositeDirty(const PntHandle& handle)
{
    Layer* layer = GetLayerFromHandle(handle);
    if (layer == nullptr)
        return;
    if (!layer->isStencil()) {
        layer->SetStencilCompositeDirty(true);
        composite_.CompositeBaseDirty(layer->GetLayerContainerHandle());
        return;
    }
    for (const PntHandle& ownerHandle : layer->GetOwnerLayerArray()) {
        if (Layer* owner = GetLayerFromHandle(ownerHandle))
            owner->SetStencilCompositeDirty(true);
        composite_.CompositeBaseDirty(ownerHandle);
    }
}

void LayerStack::DeleteLayersOf(LayerFolder* folder, bool keepHardLinked)
{
    const StackEdit edit(*this);
    EndProxy();
    qs::vector<LayerContainer*> contents;
    folder->GetLCArray_FLATTEN(&contents);
    qs::vector<qs::Reference<Layer>> layers;
    for (LayerContainer* container : contents)
        if (Layer* layer = dynamic_cast<Layer*>(container))
            if (!keepHardLinked || !layer->IsHardLinkToOwnerLayer())
                layers.emplace_back(layer);
    const bool holdsCurrent = std::find(layers.begin(), layers.end(), currentLayer_) != layers.end();
    for (const qs::Reference<Layer>& layer : layers)
        DeleteLayer(layer.get(), false);
    Layer* bottom = GetBottomLayer(kLayerModeImage);
    if (holdsCurrent && bottom != nullptr) {
        BecomeCurrent(bottom);
        ResetCurrentPainter();
    }
}

void LayerStack::DeleteAllMasks(bool notify)
{
    const StackEdit edit(*this);
    DeleteLayersOf(maskFolder_.get(), false);
    if (notify)
        Notify(true);
}

void LayerStack::DeleteAllStencils(bool notify, bool all)
{
    const StackEdit edit(*this);
    DeleteLayersOf(stencilFolder_.get(), !all);
    if (notify)
        Notify(true);
}
