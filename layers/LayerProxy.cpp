#include "layers/Layer.h"

bool Layer::BeginProxy(ProxyParameters::ScopeHint scope, ProxyParameters::Images images)
{
    if (inProxy_)
        return true;
    if (!image_)
        return false;
    const qs::Reference<ilSmartImage> work(new ilSmartImage(image_->GetFillValue()));
    work->ShareAllFrom(*image_);
    proxyScope_ = scope;
    proxyImages_ = images;
    origImage_ = image_;
    image_ = work;
    origXOffset_ = xOffset_;
    origYOffset_ = yOffset_;
    inProxy_ = true;
    return true;
}

void Layer::EndProxy()
{
    if (!inProxy_)
        return;
    inProxy_ = false;
    SetOffset_(origXOffset_, origYOffset_);
    image_ = origImage_;
    origImage_ = nullptr;
    // Both the place of the stencils and, on a stencil, its pixels are others now.
    SetStencilCompositeDirty(true);
}

void Layer::RevertProxy()
{
    EndProxy();
    BeginProxy(proxyScope_, proxyImages_);
}
