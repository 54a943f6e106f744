#include "stack/LayerStack.h"
#include "stack/StackEdit.h"
#include "stack/StackPort.h"

#include <algorithm>
#include <utility>

/// A proxy that ends, for those who hear of it.
struct LayerStack::EndedProxy : qs::ReferenceCount {
    EndedProxy(const ProxyParameters& ending, const qs::vector<PntHandle>& held) : parameters(ending), layers(held) {}

    ProxyParameters parameters;
    qs::vector<PntHandle> layers;
};

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
    const StackEdit edit(*this);
    DrainPainterDamage();
    const qs::Reference<EndedProxy> ended(new EndedProxy(*proxyParameters_, proxyLayers_));
    // By reference: a slot may take layers out of the document.
    qs::vector<qs::Reference<Layer>> layers;
    for (const PntHandle& handle : ended->layers)
        if (Layer* layer = GetLayerFromHandle(handle))
            layers.emplace_back(layer);
    const bool keepsEdits = AskWhetherEditsStay(*ended);
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
    if (keepsEdits)
        ended->parameters.kept->Emit();
    GetStackPort().notices->Tell([ended] { ended->parameters.ended->Emit(ended->layers); });
}

bool LayerStack::AskWhetherEditsStay(const EndedProxy& ended)
{
    const Notices::Question question(*GetStackPort().notices);
    const uint64_t damageBefore = damageSerial_;
    bool keepsEdits = false;
    isEndingProxy_ = true;
    try {
        ended.parameters.keepsEdits->Emit(keepsEdits, ended.layers);
    } catch (...) {
        isEndingProxy_ = false;
        throw;
    }
    isEndingProxy_ = false;
    if (damageSerial_ != damageBefore)
        DistrustCaches();  // a slot has edited what is about to be put back
    return keepsEdits;
}

/// Ends a proxy that memory did not suffice for; nobody hears of it.
void LayerStack::DropProxy() noexcept
{
    for (const PntHandle& handle : proxyLayers_)
        if (Layer* layer = GetLayerFromHandle(handle))
            layer->EndProxy();
    inProxy_ = false;
    proxyParameters_.reset();
    proxyLayers_.clear();
    DistrustCaches();
}

void LayerStack::RevertProxy()
{
    const StackEdit edit(*this);
    if (!inProxy_ || isEndingProxy_)
        return;
    DrainPainterDamage();
    for (const PntHandle& handle : proxyLayers_)
        if (Layer* layer = GetLayerFromHandle(handle))
            DropProxyEdits(*layer, true);
    GetCurrentLayerPainter();
}
