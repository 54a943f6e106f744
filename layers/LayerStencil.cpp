#include "layers/CoverageUnion.h"
#include "layers/DocumentPort.h"
#include "layers/Layer.h"
#include "platform/imaging/blend/ComposePages.h"
#include "platform/imaging/blend/ImageBlend.h"
#include "platform/imaging/kernels/Kernels.h"
#include "platform/imaging/painter/PaintOps.h"

namespace {

bool IsOneChannel(const qs::TempReference<ilMIOImage>& image)
{
    return image && image->GetNumChannels() == 1;
}

}  // namespace

qs::vector<Layer*> Layer::FindActiveStencils() const
{
    qs::vector<Layer*> found;
    const DocumentPort& port = GetDocumentPort();
    for (const PntHandle& handle : port.GetStencilLayers(GetLayerContainerHandle())) {
        Layer* stencil = port.FindLayer(handle);
        if (stencil != nullptr && stencil->isActive() && IsOneChannel(stencil->image_))
            found.push_back(stencil);
    }
    return found;
}

void Layer::MakeStencilComposite()
{
    if (IsCoverage() || !stencilCompositeDirty_)
        return;
    stencilComposite_ = nullptr;
    for (const Layer* stencil : FindActiveStencils()) {
        const int64_t dx = int64_t{stencil->getXOffset()} - getXOffset();
        const int64_t dy = int64_t{stencil->getYOffset()} - getYOffset();
        if (!stencilComposite_)
            stencilComposite_ = new ilSmartImage(*stencil->image_, static_cast<int>(dx), static_cast<int>(dy));
        else
            UniteEverywhere(*stencilComposite_, *stencil->image_, dx, dy);
    }
    if (stencilComposite_)
        stencilComposite_->ShrinkBounds();
    stencilCompositeDirty_ = false;
}

void Layer::MakeStencilComposite(const ilTile&, Layer*, const qs::TempReference<ilImage>&)
{
    MakeStencilComposite();
}

const ilMIOImage* Layer::GetUpToDateStencil()
{
    if (IsCoverage())
        return nullptr;
    MakeStencilComposite();
    const ilSmartImage* made = stencilComposite_.get();
    return made == nullptr || (made->IsEmpty() && made->GetFillValue().GetPacked() == 0) ? nullptr : made;
}

void Layer::RefreshStencilComposite(const ilTile& tile)
{
    if (stencilCompositeDirty_ || !stencilComposite_ || IsCoverage())
        return;
    const ilTile pages = GrownToPages(tile);
    stencilComposite_->fillTile(pages, ilPixel::Coverage(0));
    for (const Layer* stencil : FindActiveStencils())
        UniteWithin(*stencilComposite_, pages, *stencil->image_, int64_t{stencil->getXOffset()} - getXOffset(),
                    int64_t{stencil->getYOffset()} - getYOffset());
}

qs::TempReference<ilSmartImage> Layer::GetStencilledImage(const ilTile* tile, bool fullOpacity)
{
    return MakeStencilledImage(tile, fullOpacity);
}

qs::TempReference<ilSmartImage> Layer::MakeStencilledImage(const ilTile* tile, bool fullOpacity)
{
    if (!image_)
        return {};
    const ilTile area = tile != nullptr ? *tile : getLayerBounds(true);
    const ilPixel transparent(kUnsignedByte, 4);
    const qs::TempReference<ilSmartImage> made(new ilSmartImage(transparent));
    if (area.IsEmpty())
        return made;
    if (IsCoverage()) {
        ShowCoverage(*made, area);
        return made;
    }
    CompositeSource source;
    source.image = image_.get();
    source.weight = kernels::WeightFrom(fullOpacity ? 1.0F : properties_.opacity);
    source.stencil = GetUpToDateStencil();
    if (tile == nullptr && source.weight == kernels::kFullWeight && source.stencil == nullptr)
        made->ShareAllFrom(*image_);
    else
        ComposePages(*made, GrownToPages(area), {source});
    return made;
}

void Layer::ShowCoverage(ilSmartImage& into, const ilTile& tile) const
{
    BlendColorThrough(into, tile, *image_, tile.x, tile.y, properties_.displayColor.Premultiplied(),
                      kernels::WeightFrom(properties_.displayOpacity));
}

void Layer::DoStencil(const ilTile* tile, PaintOps* painter)
{
    const ilMIOImage* stencil = GetUpToDateStencil();
    ilMIOImage* target =
        painter != nullptr && painter->target_img() != nullptr ? painter->target_img()->AsPaged() : nullptr;
    const ilTile area = tile != nullptr ? *tile : getLayerBounds(true);
    if (stencil == nullptr || target == nullptr || area.IsEmpty())
        return;
    HideThrough(*target, area, *stencil, area.x, area.y, kernels::kFullWeight);
    painter->DamageTile(area);
}

void Layer::CollapseStencilComposite()
{
    const ilMIOImage* stencil = GetUpToDateStencil();
    if (stencil == nullptr || !image_)
        return;
    const ilTile bounds = getLayerBounds(true);
    HideThrough(*image_, bounds, *stencil, bounds.x, bounds.y, kernels::kFullWeight);
    ShrinkBounds(false, false);
    TellImageChanged();
}

void Layer::CollapseOpacity()
{
    if (image_ && !isMask() && !isStencil())
        SetImage(GetStencilledImage());
    SetOpacity(1.0F);
}

qs::TempReference<ilSmartImage> Layer::MakeMaskImage(const qs::vector<LayerContainer*>& masks, const ilTile& tile)
{
    const qs::TempReference<ilSmartImage> made(new ilSmartImage(ilPixel::Coverage(0)));
    if (tile.IsEmpty())
        return made;
    for (const LayerContainer* container : masks)
        if (const Layer* mask = dynamic_cast<const Layer*>(container))
            MakeMaskImageOne(*made, tile, *mask);
    return made;
}

void Layer::MakeMaskImageOne(ilSmartImage& into, const ilTile& tile, const Layer& mask)
{
    if (IsOneChannel(mask.image_))
        UniteWithin(into, tile, *mask.image_, mask.getXOffset(), mask.getYOffset());
}
