#include "layers/CoverageUnion.h"
#include "layers/Layer.h"
#include "platform/imaging/blend/ImageBlend.h"
#include "platform/imaging/blend/ImageConvert.h"
#include "platform/imaging/painter/PaintOps.h"

namespace {

qs::Reference<ilSmartImage> SharedCopy(const qs::Reference<ilMIOImage>& image)
{
    return image ? qs::Reference<ilSmartImage>(new ilSmartImage(*image, 0, 0)) : qs::Reference<ilSmartImage>();
}

/// An image layer ends somewhere, unlike an inverted mask.
qs::Reference<ilSmartImage> TintedWithin(const ilMIOImage& coverage, const ilPixel& color, const ilTile& tile)
{
    const qs::Reference<ilSmartImage> tinted = TintedImage(coverage, color);
    return tinted->GetFillValue().GetPacked() == 0 ? tinted : CroppedImage(*tinted, tile);
}

}  // namespace

qs::Reference<Layer> Layer::Duplicate()
{
    const qs::Reference<Layer> made(new Layer(this));
    made->GenerateUUID();
    made->SetLocked(IsLocked());
    made->image_ = SharedCopy(image_);
    made->auxImage_ = SharedCopy(auxImage_);
    made->painter_ = nullptr;
    made->stencilComposite_ = nullptr;
    made->owners_.clear();
    made->hardLinkToOwner_ = false;
    return made;
}

qs::Reference<Layer> Layer::DuplicateAs(LayerMode mode, const ilTile& within)
{
    const bool wasCoverage = IsCoverage();
    const bool isCoverage = mode == kLayerModeMask || mode == kLayerModeStencil;
    const qs::Reference<Layer> made = Duplicate();
    made->mode_ = mode;
    made->auxImage_ = nullptr;
    if (!image_)
        return made;
    if (!wasCoverage)
        made->image_ = MakeBakedImage(within);
    if (isCoverage && !wasCoverage)
        made->image_ = AlphaImage(*made->image_);
    else if (!isCoverage && wasCoverage)
        made->image_ =
            TintedWithin(*image_, properties_.displayColor.Premultiplied(), ilTileUnion(getLayerBounds(true), within));
    if (isCoverage != wasCoverage) {
        made->properties_.opacity = 1;
        made->properties_.blend = kBlendNormal;
        made->properties_.isVisible = made->properties_.isActive = true;
        made->properties_.isLocked = false;
    }
    return made;
}

qs::Reference<ilSmartImage> Layer::MakeBakedImage(const ilTile& within)
{
    const qs::Reference<ilSmartImage> made = SharedCopy(image_);
    const ilMIOImage* stencil = GetUpToDateStencil();
    if (stencil == nullptr || !made)
        return made;
    const ilTile bounds = getLayerBounds(true);
    const ilTile area = made->GetFillValue().GetPacked() != 0 ? ilTileUnion(bounds, within) : bounds;
    HideThrough(*made, area, *stencil, area.x, area.y, kernels::kFullWeight);
    made->ShrinkBounds();
    return made;
}

void Layer::TakePixels(const ilMIOImage& pixels)
{
    if (!image_)
        return;
    image_->ShareAllFrom(pixels);
    TellImageChanged();
}
