#include "stack/LayerStack.h"

#include <utility>

bool LayerStack::BeginProxy(ProxyParameters::ScopeHint scope, ProxyParameters::Images images)
{
    if (inProxy_)
        return true;
    DrainPainterDamage();
    if (currentLayer_ == nullptr || !currentLayer_->BeginProxy(scope, images))
        return false;
    proxyLayers_ = {currentLayer_->GetLayerContainerHandle()};
    proxyDamage_.Clear();
    inProxy_ = true;
    GetCurrentLayerPainter();
    return true;
}

void LayerStack::EndProxy()
{
    if (!inProxy_)
        return;
    DrainPainterDamage();
    inProxy_ = false;
    for (const PntHandle& handle : std::exchange(proxyLayers_, {}))
        if (Layer* layer = GetLayerFromHandle(handle)) {
            layer->EndProxy();
            TellChanged(*layer);
        }
    ilTile tile;
    while (proxyDamage_.nextDamaged(tile))
        DamageTile(tile);
    GetCurrentLayerPainter();
}
