#include "stack/edits/PixelEdits.h"

#include "platform/imaging/blend/ImageBlend.h"
#include "platform/imaging/blend/ImageConvert.h"
#include "platform/imaging/pages/PageWalk.h"
#include "stack/StackRooms.h"
#include "stack/edits/StackEdit.h"

namespace {

qs::Reference<ilSmartImage> SharedCopy(const Layer& layer)
{
    return qs::Reference<ilSmartImage>(new ilSmartImage(*layer.GetImage(), 0, 0));
}

/// Inverts the colours within `area` through a coverage whose (0, 0) lies on pixel (x, y).
void InvertColorsThrough(const qs::Reference<ilSmartImage>& image, const ilTile& area,
                         const qs::TempReference<ilMIOImage>& coverage, int x, int y)
{
    qs::vector<ilTile> parts;
    const auto collect = [&](int px, int py, const auto&) {
        const ilTile part = ilTileIntersection(area, PageTile(px, py));
        if (ContentOver(*image, part) != PageContent::Transparent &&
            ContentOver(*coverage, ilTileMoved(part, -int64_t{x}, -int64_t{y})) != PageContent::Transparent)
            parts.push_back(part);
    };
    if (image->GetFillValue().GetPacked() != 0)
        ForEachPage(area, collect);
    else
        image->VisitPages(area, collect);
    const qs::Reference<PaintOps> painter(new PaintOps(image));
    painter->set_paint_mode(PaintOps::PaintMode::ColorInvert);
    painter->set_clip_image(coverage, x, y);
    for (const ilTile& part : parts)
        painter->rect_fill(part.x, part.y, part.nx, part.ny, 0U);
}

}  // namespace

bool PixelEdits::ClearCurrent()
{
    const StackEdit edit(stack_);
    const qs::Reference<Layer> layer = BeginPixelEdit(kCurrentLayerHandle);
    if (!layer)
        return false;
    const ilTile before = canvas_.DamageOf(*layer);
    layer->TakePixels(ilSmartImage(ilPixel(kUnsignedByte, layer->GetImage()->GetNumChannels())));
    EndPixelEdit(*layer, before);
    return true;
}

bool PixelEdits::ClearRect(const PntHandle& handle, const ilTile& canvasTile)
{
    const StackEdit edit(stack_);
    const qs::Reference<Layer> layer = canvasTile.IsEmpty() ? nullptr : BeginPixelEdit(handle);
    if (!layer)
        return false;
    const ilTile onLayer = layer->ToLayer(canvasTile);
    const qs::Reference<ilSmartImage> cleared = SharedCopy(*layer);
    cleared->fillTile(ilTileIntersection(onLayer, canvas_.ReachOf(*layer)),
                      ilPixel(kUnsignedByte, cleared->GetNumChannels()));
    layer->TakePixels(*cleared);
    EndPixelEdit(*layer, canvasTile);
    return true;
}

bool PixelEdits::ClearSelected(const PntHandle& handle)
{
    const StackEdit edit(stack_);
    const qs::Reference<Layer> layer = BeginPixelEdit(handle);
    if (!layer || layer == selection_.Get() || !selection_.IsUsed())
        return false;
    const qs::Reference<ilSmartImage> cleared = SharedCopy(*layer);
    const ilTile area = canvas_.ReachOf(*layer);
    const ilTile onSelection = ilTileMoved(area, int64_t{layer->getXOffset()} - selection_.Get()->getXOffset(),
                                           int64_t{layer->getYOffset()} - selection_.Get()->getYOffset());
    HideThrough(*cleared, area, *selection_.Get()->GetImage(), onSelection.x, onSelection.y, kernels::kFullWeight);
    layer->TakePixels(*cleared);
    EndPixelEdit(*layer, canvas_.DamageOf(*selection_.Get()));
    return true;
}

bool PixelEdits::Invert(const PntHandle& handle, LayerMode mode)
{
    const StackEdit edit(stack_);
    const qs::Reference<Layer> layer = BeginPixelEdit(handle);
    if (!layer || layer == selection_.Get() || layer->GetLayerMode() != mode)
        return false;
    if (mode != kLayerModeImage) {
        layer->InvertMask();
        layer->InvertStencil();
    } else if (!selection_.IsUsed()) {
        layer->InvertImageLayer();
    } else {
        const qs::Reference<ilSmartImage> inverted = SharedCopy(*layer);
        const ilTile origin(selection_.Get()->getXOffset(), selection_.Get()->getYOffset(), 1, 1);
        const ilTile onLayer = layer->ToLayer(origin);
        InvertColorsThrough(inverted, canvas_.ReachOf(*layer), selection_.Get()->GetImage(), onLayer.x, onLayer.y);
        layer->TakePixels(*inverted);
    }
    EndPixelEdit(*layer, mode == kLayerModeImage ? canvas_.DamageOf(*layer) : canvas_.GetSize());
    return true;
}

bool PixelEdits::Crop(const PntHandle& handle, const ilTile& canvasTile)
{
    const StackEdit edit(stack_);
    const qs::Reference<Layer> layer = canvasTile.IsEmpty() ? nullptr : BeginPixelEdit(handle);
    if (!layer)
        return false;
    const ilTile before = canvas_.DamageOf(*layer);
    const ilTile kept = layer->ToLayer(canvasTile);
    layer->TakePixels(*CroppedImage(*layer->GetImage(), ilTileIntersection(kept, canvas_.ReachOf(*layer))));
    EndPixelEdit(*layer, before);
    return true;
}

bool PixelEdits::ReplaceImage(const PntHandle& handle, qs::TempReference<ilImage> image)
{
    const StackEdit edit(stack_);
    const qs::Reference<Layer> layer = image ? BeginPixelEdit(handle) : nullptr;
    if (!layer || image->GetNumChannels() != layer->GetImage()->GetNumChannels())
        return false;
    const ilTile before = canvas_.DamageOf(*layer);
    if (const ilMIOImage* paged = image->AsPaged())
        image = qs::Reference<ilImage>(new ilSmartImage(*paged, 0, 0));
    layer->SetImage(image);
    EndPixelEdit(*layer, ilTileUnion(before, canvas_.DamageOf(*layer)));
    return true;
}
