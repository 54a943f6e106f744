#include "platform/imaging/blend/ImageBlend.h"
#include "platform/imaging/regions/CoverageFilters.h"
#include "stack/LayerStack.h"
#include "stack/StackParts.h"
#include "stack/edits/StackEdit.h"

#include <cstdio>

namespace {

/// The canvas pixels that an image with its (0, 0) at (x, y) can change.
ilTile CanvasReachOf(const ilMIOImage& image, int x, int y, const ilTile& canvas)
{
    if (image.GetFillValue().GetAlpha() != 0)
        return canvas;
    return ilTileIntersection(canvas, ilTileMoved(image.GetBounds(), x, y));
}

bool IsPlace(int x, int y)
{
    constexpr int kFar = LayerStack::kMaxSelectionOffset;
    return x >= -kFar && x <= kFar && y >= -kFar && y <= kFar;
}

/// target = target blended with the image, whose (0, 0) lies on the target's (x, y), within `tile`. sourceFactor: one
/// adds, zero subtracts.
void BlendCoverage(ilMIOImage& target, const ilTile& tile, const ilMIOImage& image, int64_t x, int64_t y,
                   int sourceFactor)
{
    ImageBlend blend;
    blend.sourceFactor = sourceFactor;
    const ilTile onImage = ilTileMoved(tile, -x, -y);
    if (image.GetNumChannels() == 1)
        BlendImage(target, tile, image, onImage.x, onImage.y, blend);
    else
        BlendImage(target, tile, *GetAlphaCoverage(image, onImage), onImage.x, onImage.y, blend);
}

/// A one-channel image that is 0 outside: pages are shared, and a fill value becomes pixels of `area`.
qs::Reference<ilSmartImage> BoundedCopy(const ilMIOImage& image, const ilTile& area)
{
    if (image.GetFillValue().GetPacked() == 0)
        return new ilSmartImage(image, 0, 0);
    const qs::Reference<ilSmartImage> copy(new ilSmartImage(ilPixel::Coverage(0)));
    copy->copyTile3D(area.x, area.y, 0, area.nx, area.ny, 1, image, area.x, area.y, 0);
    return copy;
}

}  // namespace

void LayerStack::BlendIntoSelection(const ilMIOImage& image, int x, int y, int sourceFactor, bool rebuild)
{
    const ilTile onCanvas = CanvasReachOf(image, x, y, parts_->canvas.GetSize());
    EditSelection(onCanvas, rebuild, [&](ilMIOImage& mask) {
        const int64_t onMaskX = int64_t{x} - parts_->selection.Get()->getXOffset();
        const int64_t onMaskY = int64_t{y} - parts_->selection.Get()->getYOffset();
        BlendCoverage(mask, parts_->selection.OnMask(onCanvas), image, onMaskX, onMaskY, sourceFactor);
    });
}

void LayerStack::AddToSelection(const qs::TempReference<ilMIOImage>& image, int x, int y, bool rebuild)
{
    if (!IsPlace(x, y))
        return;
    if (!parts_->selection.Get())
        ClearSelectionMask(false);
    if (image)
        BlendIntoSelection(*image, x, y, kFactorOne, rebuild);
}

void LayerStack::SubtractFromSelection(const qs::TempReference<ilMIOImage>& image, int x, int y, bool rebuild)
{
    if (!IsPlace(x, y))
        return;
    if (!parts_->selection.Get())
        ClearSelectionMask(false);
    if (image)
        BlendIntoSelection(*image, x, y, kFactorZero, rebuild);
}

void LayerStack::IntersectSelection(const qs::TempReference<ilMIOImage>& image, int x, int y, bool rebuild)
{
    if (!IsPlace(x, y))
        return;
    if (!parts_->selection.Get())
        ClearSelectionMask(false);
    // Taking away all that the image leaves out: a(1 - (1 - b)).
    const qs::Reference<ilSmartImage> others(new ilSmartImage(ilPixel::Coverage(0)));
    others->fillTile(parts_->canvas.GetSize(), ilPixel::Coverage(255));
    if (image)
        BlendCoverage(*others, CanvasReachOf(*image, x, y, parts_->canvas.GetSize()), *image, x, y, kFactorZero);
    BlendIntoSelection(*others, 0, 0, kFactorZero, rebuild);
}

void LayerStack::CopyToSelection(const qs::TempReference<ilMIOImage>& image, int x, int y, bool rebuild)
{
    const StackEdit edit(*this);
    if (!IsPlace(x, y))
        return;
    if (!image || image->GetNumChannels() != 1) {
        std::printf("Can't copy a 1 channel image to the selection mask\n");
        ClearSelectionMask(false);
        ShowSelection(rebuild);
        return;
    }
    const qs::Reference<Layer> mask =
        NewSelectionMask(BoundedCopy(*image, ilTileMoved(parts_->canvas.GetSize(), -int64_t{x}, -int64_t{y})));
    if (parts_->selection.Get()) {
        mask->SetMaskColor(parts_->selection.Get()->GetMaskColor());
        mask->SetMaskDisplayOpacity(parts_->selection.Get()->GetMaskDisplayOpacity());
    }
    mask->SetOffset(x, y, LayerStackTransform(), false);
    SetSelectionMask(mask.get());
    ShowSelection(rebuild);
}

void LayerStack::CopyFromSelection(const qs::TempReference<ilMIOImage>& image) const
{
    const ilTile bounds = parts_->selection.GetBounds();
    if (image && parts_->selection.Get() && image != parts_->selection.Get()->GetImage())
        image->copyTile3D(bounds.x, bounds.y, 0, bounds.nx, bounds.ny, 1, *parts_->selection.Get()->GetImage(),
                          bounds.x, bounds.y, 0);
}

void LayerStack::FillSelectionMask(const qs::TempReference<ilMIOImage>& image, bool rebuild)
{
    const StackEdit edit(*this);
    const qs::Reference<ilSmartImage> selected(new ilSmartImage(ilPixel::Coverage(0)));
    if (image)
        BlendCoverage(*selected, CanvasReachOf(*image, 0, 0, parts_->canvas.GetSize()), *image, 0, 0, kFactorOne);
    ReplaceSelection(selected);
    ShowSelection(rebuild);
}

void LayerStack::ClearSelectionMask(const qs::TempReference<ilMIOImage>& image, bool rebuild)
{
    const StackEdit edit(*this);
    const qs::Reference<ilSmartImage> selected(new ilSmartImage(ilPixel::Coverage(0)));
    selected->fillTile(parts_->canvas.GetSize(), ilPixel::Coverage(255));
    if (image)
        BlendCoverage(*selected, CanvasReachOf(*image, 0, 0, parts_->canvas.GetSize()), *image, 0, 0, kFactorZero);
    ReplaceSelection(selected);
    ShowSelection(rebuild);
}

void LayerStack::AddToSelection(Layer* layer, bool rebuild)
{
    if (layer != nullptr)
        AddToSelection(layer->GetImage(), layer->getXOffset(), layer->getYOffset(), rebuild);
}

void LayerStack::SubtractFromSelection(Layer* layer, bool rebuild)
{
    if (layer != nullptr)
        SubtractFromSelection(layer->GetImage(), layer->getXOffset(), layer->getYOffset(), rebuild);
}

void LayerStack::CopyToSelection(Layer* layer, bool rebuild)
{
    if (layer != nullptr)
        CopyToSelection(layer->GetImage(), layer->getXOffset(), layer->getYOffset(), rebuild);
}

void LayerStack::AddToSelection(const PntHandle& layer, bool rebuild)
{
    AddToSelection(parts_->tree.GetLayerFromHandle(layer), rebuild);
}

void LayerStack::SubtractFromSelection(const PntHandle& layer, bool rebuild)
{
    SubtractFromSelection(parts_->tree.GetLayerFromHandle(layer), rebuild);
}

void LayerStack::CopyToSelection(const PntHandle& layer, bool rebuild)
{
    CopyToSelection(parts_->tree.GetLayerFromHandle(layer), rebuild);
}

qs::TempReference<ilSmartImage> LayerStack::CopyFromSelection(Layer* layer)
{
    const qs::TempReference<ilMIOImage> image = layer != nullptr ? layer->GetImage() : nullptr;
    const ilTile onCanvas = parts_->selection.GetCanvasBounds();
    if (!image || onCanvas.IsEmpty())
        return {};
    const ilTile onLayer = ilTileMoved(onCanvas, -int64_t{layer->getXOffset()}, -int64_t{layer->getYOffset()});
    const qs::Reference<ilSmartImage> copy(new ilSmartImage(ilPixel(image->GetDataType(), image->GetNumChannels())));
    const auto copyFrom = [&](const ilMIOImage& source) {
        copy->copyTile3D(onCanvas.x, onCanvas.y, 0, onCanvas.nx, onCanvas.ny, 1, source, onLayer.x, onLayer.y, 0);
    };
    copyFrom(*image);
    if (const qs::TempReference<ilSmartImage> shown = layer->GetStencilledImage(&onLayer, true))
        copyFrom(*shown);
    return copy;
}

qs::TempReference<ilSmartImage> LayerStack::CopyFromSelection(const PntHandle& layer)
{
    return CopyFromSelection(parts_->tree.GetLayerFromHandle(layer));
}
