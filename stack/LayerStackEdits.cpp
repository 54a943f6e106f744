#include "stack/LayerStack.h"
#include "stack/StackParts.h"

#include <algorithm>

float LayerStack::GetMaskDefaultDisplayOpacity() const
{
    return parts_->properties.maskDisplayOpacity;
}

PaintColor LayerStack::GetMaskDefaultDisplayColor() const
{
    return parts_->properties.maskDisplayColor;
}

void LayerStack::SetFloodFillGrowth(int pixels)
{
    parts_->properties.floodFillGrowthPx = std::clamp(pixels, 0, kMaxGrowPx);
}

int LayerStack::GetFloodFillGrowth() const
{
    return parts_->properties.floodFillGrowthPx;
}

bool LayerStack::BeginProxy(const ProxyParameters& parameters, const qs::vector<PntHandle>& layers)
{
    return parts_->proxy.Begin(parameters, layers);
}

bool LayerStack::BeginProxy(ProxyParameters::ScopeHint scope, ProxyParameters::Images images)
{
    return parts_->proxy.Begin(scope, images);
}

bool LayerStack::InProxy() const
{
    return parts_->proxy.IsRunning();
}

void LayerStack::ForceOutProxy()
{
    parts_->proxy.ForceOut();
}

void LayerStack::EndProxy()
{
    parts_->proxy.End();
}

void LayerStack::RevertProxy()
{
    parts_->proxy.Revert();
}

const qs::vector<PntHandle>& LayerStack::GetProxyLayers() const
{
    return parts_->proxy.GetLayers();
}

bool LayerStack::InProxyRotateCanvas() const
{
    return parts_->proxy.IsRotatingCanvas();
}

void LayerStack::BeginProxyRotateCanvas()
{
    parts_->proxy.SetRotatingCanvas(true);
}

void LayerStack::EndProxyRotateCanvas()
{
    parts_->proxy.SetRotatingCanvas(false);
}
