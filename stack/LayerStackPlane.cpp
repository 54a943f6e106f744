#include "stack/LayerStack.h"

bool LayerStack::SetSize(const ilTile& size, bool clipToSize, bool notify, bool updateClip)
{
    if (!IsAcceptableSize(size.nx, size.ny))
        return false;
    const qs::Reference<ilSPMemoryImg> plane(new ilSPMemoryImg(size.nx, size.ny, 4));
    const qs::Reference<PaintOps> painter(new PaintOps(plane));

    size_ = ilTile(0, 0, size.nx, size.ny);
    clipToSize_ = clipToSize;
    imagePlane_ = plane;
    imagePlanePainter_ = painter;
    DamageCanvas();
    if (updateClip)
        UpdateBrushClippingRect();
    if (notify)
        Notify(true);
    return true;
}

void LayerStack::CopyImagePlane(qs::Reference<LayerStack> source, bool, bool notify, bool updateClip)
{
    if (!source || source == this)
        return;
    imagePlanePainter_.reset(source->imagePlane_ ? new PaintOps(source->imagePlane_) : nullptr);
    size_ = source->size_;
    clipToSize_ = false;
    imagePlane_ = source->imagePlane_;
    source->FreeCacheData();
    if (updateClip)
        UpdateBrushClippingRect();
    if (notify)
        Notify(true);
}

void LayerStack::AllocateCacheData()
{
    if (!imagePlane_ || !imagePlanePainter_)
        SetSize(size_, false, false, false);
    if (!currentPainter_)
        GetCurrentLayerPainter();
}

void LayerStack::FreeCacheData()
{
    imagePlanePainter_ = nullptr;
    imagePlane_ = nullptr;
    currentPainter_ = nullptr;
    ReleaseCachedImages();
}

void LayerStack::ReleaseCachedImages()
{
    composite_.FreeData();
    maskIsStale_ = true;
    // What is kept of the stencils is such an image too, and nobody tells a stack that is not shown of their changes.
    imageFolder_->SetStencilCompositeDirty(true);
}
