#include "stack/selection/SelectionImages.h"

#include "platform/imaging/blend/ImageBlend.h"
#include "platform/imaging/regions/CoverageFilters.h"
#include "stack/StackRooms.h"
#include "stack/edits/StackEdit.h"
#include "stack/selection/SelectionLife.h"

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

void SelectionImages::Add(const qs::TempReference<ilMIOImage>& image, int x, int y, bool rebuild)
{
    if (!IsPlace(x, y))
        return;
    if (!selection_.Get())
        life_.Clear(false);
    if (image)
        Blend(*image, x, y, kFactorOne, rebuild);
}

void SelectionImages::Subtract(const qs::TempReference<ilMIOImage>& image, int x, int y, bool rebuild)
{
    if (!IsPlace(x, y))
        return;
    if (!selection_.Get())
        life_.Clear(false);
    if (image)
        Blend(*image, x, y, kFactorZero, rebuild);
}

void SelectionImages::Intersect(const qs::TempReference<ilMIOImage>& image, int x, int y, bool rebuild)
{
    if (!IsPlace(x, y))
        return;
    if (!selection_.Get())
        life_.Clear(false);
    // Taking away all that the image leaves out: a(1 - (1 - b)).
    const qs::Reference<ilSmartImage> others(new ilSmartImage(ilPixel::Coverage(0)));
    others->fillTile(canvas_.GetSize(), ilPixel::Coverage(255));
    if (image)
        BlendCoverage(*others, CanvasReachOf(*image, x, y, canvas_.GetSize()), *image, x, y, kFactorZero);
    Blend(*others, 0, 0, kFactorZero, rebuild);
}

void SelectionImages::Take(const qs::TempReference<ilMIOImage>& image, int x, int y, bool rebuild)
{
    const StackEdit edit(stack_);
    if (!IsPlace(x, y))
        return;
    if (!image || image->GetNumChannels() != 1) {
        std::printf("Can't copy a 1 channel image to the selection mask\n");
        life_.Clear(false);
        life_.Show(rebuild);
        return;
    }
    const qs::Reference<Layer> mask =
        life_.MakeMask(BoundedCopy(*image, ilTileMoved(canvas_.GetSize(), -int64_t{x}, -int64_t{y})));
    if (selection_.Get()) {
        mask->SetMaskColor(selection_.Get()->GetMaskColor());
        mask->SetMaskDisplayOpacity(selection_.Get()->GetMaskDisplayOpacity());
    }
    mask->SetOffset(x, y, LayerStackTransform(), false);
    life_.Set(mask.get());
    life_.Show(rebuild);
}

void SelectionImages::CopyInto(const qs::TempReference<ilMIOImage>& image) const
{
    const ilTile bounds = selection_.GetBounds();
    if (image && selection_.Get() && image != selection_.Get()->GetImage())
        image->copyTile3D(bounds.x, bounds.y, 0, bounds.nx, bounds.ny, 1, *selection_.Get()->GetImage(), bounds.x,
                          bounds.y, 0);
}

void SelectionImages::Fill(const qs::TempReference<ilMIOImage>& image, bool rebuild)
{
    const StackEdit edit(stack_);
    const qs::Reference<ilSmartImage> selected(new ilSmartImage(ilPixel::Coverage(0)));
    if (image)
        BlendCoverage(*selected, CanvasReachOf(*image, 0, 0, canvas_.GetSize()), *image, 0, 0, kFactorOne);
    life_.Replace(selected);
    life_.Show(rebuild);
}

void SelectionImages::FillAllBut(const qs::TempReference<ilMIOImage>& image, bool rebuild)
{
    const StackEdit edit(stack_);
    const qs::Reference<ilSmartImage> selected(new ilSmartImage(ilPixel::Coverage(0)));
    selected->fillTile(canvas_.GetSize(), ilPixel::Coverage(255));
    if (image)
        BlendCoverage(*selected, CanvasReachOf(*image, 0, 0, canvas_.GetSize()), *image, 0, 0, kFactorZero);
    life_.Replace(selected);
    life_.Show(rebuild);
}

void SelectionImages::Blend(const ilMIOImage& image, int x, int y, int sourceFactor, bool rebuild)
{
    const ilTile onCanvas = CanvasReachOf(image, x, y, canvas_.GetSize());
    life_.Edit(onCanvas, rebuild, [&](ilMIOImage& mask) {
        const int64_t onMaskX = int64_t{x} - selection_.Get()->getXOffset();
        const int64_t onMaskY = int64_t{y} - selection_.Get()->getYOffset();
        BlendCoverage(mask, selection_.OnMask(onCanvas), image, onMaskX, onMaskY, sourceFactor);
    });
}
