#include "layers/LayerContent.h"

#include "layers/Layer.h"
#include "platform/imaging/pages/PageAccount.h"
#include "platform/imaging/pages/PageTiles.h"
#include "platform/imaging/painter/MaskingPaintOps.h"

bool LayerContent::IsComparable(const LayerContent& other) const
{
    if (x != other.x || y != other.y || !pixels != !other.pixels)
        return false;
    return !pixels || pixels->GetFillValue() == other.pixels->GetFillValue();
}

bool LayerContent::IsSameAs(const LayerContent& other) const
{
    const bool havePivot = pivot.valid || other.pivot.valid;  // otherwise it only repeats the bounds
    if (!IsComparable(other) || image != other.image || (havePivot && pivot != other.pivot))
        return false;
    bool isSame = true;
    if (pixels)
        pixels->VisitDifferentPages(*other.pixels, [&](int, int, const Page*, const Page*) { isSame = false; });
    return isSame;
}

qs::vector<ilTile> LayerContent::TilesOfDifference(const LayerContent& other, const ilTile& canvas) const
{
    if (!IsComparable(other))
        return {GetArea(canvas), other.GetArea(canvas)};
    if (!pixels)
        return {};
    qs::vector<ilTile> tiles = TilesOfDifferentPages(*pixels, *other.pixels);
    for (ilTile& tile : tiles)
        tile = ilTileMoved(tile, x, y);
    return tiles;
}

/// All that it can show: a fill value reaches as far as the canvas.
ilTile LayerContent::GetArea(const ilTile& canvas) const
{
    if (!pixels)
        return {};
    return pixels->GetFillValue().GetPacked() != 0 ? canvas : ilTileMoved(pixels->GetBounds(), x, y);
}

LayerContent Layer::CaptureContent() const
{
    const qs::Reference<ilMIOImage>& image = inProxy_ ? origImage_ : image_;
    const qs::Reference<ilMIOImage> pixels = image ? image->Snapshot() : nullptr;
    return {image, pixels, inProxy_ ? origXOffset_ : xOffset_, inProxy_ ? origYOffset_ : yOffset_, pivot_};
}

void Layer::RestoreContent(const LayerContent& content) noexcept
{
    image_ = content.image;
    if (image_)
        image_->ShareAllFrom(*content.pixels);
    SetOffset_(content.x, content.y);
    pivot_ = content.pivot;
    // Low-order bits belong to pixels that are gone.
    if (painter_)
        painter_->SetLowOrderBitImage({});
}

void Layer::FreeCacheData() noexcept
{
    painter_ = nullptr;
    stencilComposite_ = nullptr;
    stencilCompositeDirty_ = true;
}

void Layer::CountReleased(PageAccount& account) const
{
    for (const qs::Reference<ilMIOImage>& image : {image_, auxImage_, origImage_})
        account.DropImage(image.get());
    account.DropImage(stencilComposite_.get());
    if (!painter_ || !account.Drop(painter_.get()))
        return;
    account.DropImage(painter_->target_img() != nullptr ? painter_->target_img()->AsPaged() : nullptr);
}
