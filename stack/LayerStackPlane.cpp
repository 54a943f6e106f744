#include "platform/imaging/pages/PageAccount.h"
#include "stack/LayerStack.h"
#include "stack/StackEdit.h"

namespace {

void CountReleasedFolder(const LayerFolder& folder, PageAccount& account)
{
    for (const LayerContainer* child : folder.GetLCArray()) {
        if (!account.Drop(child))
            continue;
        if (const auto* layer = dynamic_cast<const Layer*>(child))
            layer->CountReleased(account);
        else if (const auto* inner = dynamic_cast<const LayerFolder*>(child))
            CountReleasedFolder(*inner, account);
    }
}

void FreeCachesIn(const LayerFolder& folder) noexcept
{
    for (LayerContainer* child : folder.GetLCArray())
        if (auto* layer = dynamic_cast<Layer*>(child))
            layer->FreeCacheData();
        else if (const auto* inner = dynamic_cast<const LayerFolder*>(child))
            FreeCachesIn(*inner);
}

}  // namespace

bool LayerStack::SetSize(const ilTile& size, bool clipToSize, bool notify, bool updateClip)
{
    const StackEdit edit(*this);
    if (!IsAcceptableSize(size.nx, size.ny))
        return false;
    const qs::Reference<ilSPMemoryImg> plane(new ilSPMemoryImg(size.nx, size.ny, 4));
    const qs::Reference<PaintOps> painter(new PaintOps(plane));

    size_ = ilTile(0, 0, size.nx, size.ny);
    clipToSize_ = clipToSize;
    imagePlane_ = plane;
    imagePlanePainter_ = painter;
    MarkTreeStale();  // what is cached was composed for another canvas
    maskIsStale_ = true;
    TellViewsDamage(size_);
    if (updateClip)
        UpdateBrushClippingRect();
    if (notify)
        Notify(true);
    return true;
}

void LayerStack::CopyImagePlane(qs::Reference<LayerStack> source, bool, bool notify, bool updateClip)
{
    const StackEdit edit(*this);
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
        SetSize(size_, clipToSize_, false, false);
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

void LayerStack::BecomeClosed() noexcept
{
    viewers_.clear();
    FreeCacheData();
    for (const LayerFolder* folder : TopFolders())
        FreeCachesIn(*folder);
    if (selectionMask_)
        selectionMask_->FreeCacheData();
    stencilScratchPainter_ = nullptr;
    stencilScratch_ = nullptr;
}

void LayerStack::MarkAllStale() noexcept
{
    DistrustCaches();
    currentPainter_ = nullptr;  // it may be bound to another image, or clipped to another selection
}

void LayerStack::CountReleased(PageAccount& account) const
{
    for (const LayerFolder* folder : TopFolders())
        if (account.Drop(folder))
            CountReleasedFolder(*folder, account);
    if (account.Drop(selectionMask_.get()))
        selectionMask_->CountReleased(account);
    if (imagePlane_ && imagePlane_->GetRefCount() <= 2)  // the other is the plane's painter
        account.AddBytes(4 * size_.Area());
}
