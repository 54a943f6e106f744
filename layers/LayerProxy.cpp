#include "layers/Layer.h"
#include "platform/base/Attempt.h"
#include "platform/imaging/pages/DamageControl.h"
#include "platform/imaging/pages/PageWalk.h"

#include <cstdint>

namespace {

qs::Reference<ilSmartImage> MakeWorkImage(const ilMIOImage& original)
{
    const qs::Reference<ilSmartImage> work(new ilSmartImage(original.GetFillValue()));
    work->ShareAllFrom(original);
    return work;
}

}  // namespace

bool Layer::BeginProxy(ProxyParameters::ScopeHint scope, ProxyParameters::Images images)
{
    if (inProxy_)
        return true;
    if (!image_)
        return false;
    const qs::Reference<ilSmartImage> work = MakeWorkImage(*image_);
    proxyScope_ = scope;
    proxyImages_ = images;
    origImage_ = image_;
    image_ = work;
    origXOffset_ = xOffset_;
    origYOffset_ = yOffset_;
    inProxy_ = true;
    return true;
}

void Layer::DropProxyEdits(const qs::Reference<ilMIOImage>& image)
{
    const bool isMoved = xOffset_ != origXOffset_ || yOffset_ != origYOffset_;
    SetOffset_(origXOffset_, origYOffset_);
    image_ = image;
    // The place of the stencils relative to the layer, or, on a stencil, its pixels are others now.
    if (isMoved || isStencil())
        SetStencilCompositeDirty(true);
}

void Layer::EndProxy()
{
    if (!inProxy_)
        return;
    inProxy_ = false;
    DropProxyEdits(origImage_);
    origImage_ = nullptr;
}

void Layer::RevertProxy()
{
    // As EndProxy() and BeginProxy() do it, but in the proxy still when there is no memory for a new work image.
    if (inProxy_)
        DropProxyEdits(MakeWorkImage(*origImage_));
}

void Layer::KeepProxy()
{
    if (!inProxy_)
        return;
    inProxy_ = false;
    // The content stays the image object that it was, as after a stroke.
    // Without the memory for that it becomes the work image, which has the same pixels.
    if (image_ && image_->GetNumChannels() == origImage_->GetNumChannels() &&
        Attempt([this] { origImage_->ShareAllFrom(*image_); }))
        image_ = origImage_;
    origImage_ = nullptr;
    TellImageChanged();
}

void Layer::CollectProxyDamage(DamageControl& damage) const
{
    if (!inProxy_ || !image_)
        return;
    constexpr ilTile kEverywhere(-(1 << 30), -(1 << 30), INT32_MAX, INT32_MAX);
    const bool isMoved = xOffset_ != origXOffset_ || yOffset_ != origYOffset_;
    if (image_->GetFillValue() != origImage_->GetFillValue() || (isMoved && image_->GetFillValue().GetPacked() != 0)) {
        damage.DamageTile(kEverywhere);
        return;
    }
    const auto collect = [&](const ilMIOImage& image, const ilMIOImage& other, int x, int y) {
        image.VisitPages(kEverywhere, [&](int px, int py, const Page&) {
            if (isMoved || !image.SharesPageWith(other, px, py))
                damage.DamageTile(ilTileMoved(PageTile(px, py), x, y));
        });
    };
    collect(*image_, *origImage_, xOffset_, yOffset_);
    collect(*origImage_, *image_, origXOffset_, origYOffset_);
}
