#include "stack/LayerStack.h"

#include <algorithm>
#include <utility>

bool LayerStack::BeginProxy(const ProxyParameters& parameters, const qs::vector<PntHandle>& layers)
{
    if (inProxy_)
        return true;
    DrainPainterDamage();
    qs::vector<PntHandle> handles;
    for (const PntHandle& handle : layers.empty() ? parameters.affected : layers) {
        const Layer* layer = GetLayerFromHandle(handle);
        if (layer == nullptr || !layer->GetImage())
            return false;
        const PntHandle own = layer->GetLayerContainerHandle();
        if (std::find(handles.begin(), handles.end(), own) == handles.end())
            handles.push_back(own);
    }
    if (handles.empty())
        return false;
    ProxyParameters kept = parameters;
    kept.affected = handles;
    try {
        for (const PntHandle& handle : handles)
            GetLayerFromHandle(handle)->BeginProxy(parameters.scope, parameters.images);
    } catch (...) {
        for (const PntHandle& handle : handles)
            GetLayerFromHandle(handle)->EndProxy();
        throw;
    }
    proxyParameters_ = std::move(kept);
    proxyLayers_ = std::move(handles);
    inProxy_ = true;
    GetCurrentLayerPainter();
    return true;
}

bool LayerStack::BeginProxy(ProxyParameters::ScopeHint scope, ProxyParameters::Images images)
{
    ProxyParameters parameters;
    parameters.scope = scope;
    parameters.images = images;
    return BeginProxy(parameters, {kCurrentLayerHandle});
}

void LayerStack::DamageProxyEdits(Layer& layer)
{
    DamageControl damage;
    layer.CollectProxyDamage(damage);
    if (layer.isMask() || layer.isStencil())
        TellChanged(layer);
    ilTile tile;
    while (damage.nextDamaged(tile)) {
        const ilTile onCanvas = ilTileIntersection(tile, size_);
        composite_.CompositeBaseDirty(layer.GetLayerContainerHandle(), onCanvas);
        DamageTile(onCanvas);
    }
}

void LayerStack::DropProxyEdits(Layer& layer, bool goesOn)
{
    DamageProxyEdits(layer);
    if (goesOn)
        layer.RevertProxy();
    else
        layer.EndProxy();
}

void LayerStack::EndProxy()
{
    if (!inProxy_ || isEndingProxy_)
        return;
    const qs::Reference<LayerStack> kept(GetRefCount() > 0 ? this : nullptr);  // the slots may release it
    DrainPainterDamage();
    const ProxyParameters parameters = *proxyParameters_;
    const qs::vector<PntHandle> handles = proxyLayers_;
    // By reference: a slot may take layers out of the document.
    qs::vector<qs::Reference<Layer>> layers;
    for (const PntHandle& handle : handles)
        if (Layer* layer = GetLayerFromHandle(handle))
            layers.emplace_back(layer);

    bool keepsEdits = false;
    isEndingProxy_ = true;
    try {
        parameters.keepsEdits->Emit(keepsEdits, handles);
    } catch (...) {
        isEndingProxy_ = false;
        throw;
    }
    isEndingProxy_ = false;
    DrainPainterDamage();  // a slot may have painted the last bit
    inProxy_ = false;
    proxyParameters_.reset();
    proxyLayers_.clear();
    for (const qs::Reference<Layer>& layer : layers)
        if (keepsEdits)
            layer->KeepProxy();
        else
            DropProxyEdits(*layer, false);
    GetCurrentLayerPainter();
    parameters.ended->Emit(handles);
}

void LayerStack::RevertProxy()
{
    if (!inProxy_ || isEndingProxy_)
        return;
    DrainPainterDamage();
    for (const PntHandle& handle : proxyLayers_)
        if (Layer* layer = GetLayerFromHandle(handle))
            DropProxyEdits(*layer, true);
    GetCurrentLayerPainter();
}
