#include "layers/DocumentPort.h"
#include "layers/Layer.h"
#include "platform/imaging/blend/ImageConvert.h"
#include "platform/imaging/pages/PageWalk.h"
#include "platform/imaging/pages/ilMemoryImg.h"
#include "platform/imaging/painter/PaintOps.h"

#include <functional>

namespace {

using MemoryImage = qs::Reference<ilMemoryImg>;

/// Takes each stored piece of `source` within `bounds` through `change`, which may exchange the piece's image and says
/// where it lands in `target`. Piece by piece, so that a small drawing in a wide layer needs little memory.
void MovePieces(ilMIOImage& target, const ilMIOImage& source, const ilTile& bounds,
                const std::function<ilTile(const ilTile& piece, MemoryImage& pixels)>& change)
{
    source.VisitPages(bounds, [&](int px, int py, const Page&) {
        const ilTile piece = ilTileIntersection(PageTile(px, py), bounds);
        MemoryImage pixels(new ilMemoryImg(piece.nx, piece.ny, source.GetNumChannels()));
        pixels->copyTile3D(0, 0, 0, piece.nx, piece.ny, 1, source, piece.x, piece.y, 0);
        const ilTile place = change(piece, pixels);
        target.copyTile3D(place.x, place.y, 0, place.nx, place.ny, 1, *pixels, 0, 0, 0);
    });
}

/// An image of its own that shares the pages of `image` as they are now.
qs::Reference<ilSmartImage> SharedCopy(const ilMIOImage& image)
{
    qs::Reference<ilSmartImage> copy(new ilSmartImage(image.GetFillValue()));
    copy->ShareAllFrom(image);
    return copy;
}

/// The value with every component inverted; colorOnly: within its alpha, which stays.
ilPixel InvertedPixel(const ilPixel& value, bool colorOnly)
{
    if (!colorOnly)
        return {value.GetDataType(), value.GetNumChannels(), ~value.GetPacked()};
    const auto inverted = [&](int channel) {
        return static_cast<uint8_t>(std::max(value.GetAlpha() - value.GetComponent(channel), 0));
    };
    return ilPixel::Rgba(inverted(0), inverted(1), inverted(2), value.GetAlpha());
}

}  // namespace

void Layer::ShrinkAndNormalizeLayerImages()
{
    ShrinkBounds(false, false);
    NormalizeLayerOffset();
    TellImageChanged();
}

void Layer::NormalizeLayerOffset()
{
    if (!image_ || (xOffset_ == 0 && yOffset_ == 0))
        return;
    ShrinkBounds(false, false);
    const ilTile bounds = image_->GetBounds();
    const ilTile moved = ilTileMoved(bounds, xOffset_, yOffset_);
    const qs::Reference<ilSmartImage> before = SharedCopy(*image_);
    image_->fillTile(bounds, image_->GetFillValue());
    image_->copyTile3D(moved.x, moved.y, 0, moved.nx, moved.ny, 1, *before, bounds.x, bounds.y, 0);
    ShrinkBounds(false, false);
    SetStencilCompositeDirty(true);  // it lies relative to the offset
    SetOffset_(0, 0);
}

void Layer::Flip(bool horizontal, bool vertical)
{
    if (!image_ || (!horizontal && !vertical))
        return;
    TakePixels(*MakeFlippedImage(horizontal, vertical));
}

qs::Reference<ilSmartImage> Layer::MakeFlippedImage(bool horizontal, bool vertical)
{
    if (!image_)
        return {};
    return FlippedImage(*image_, getLayerBounds(true), horizontal, vertical);
}

void Layer::SimpleRotate(bool right)
{
    if (!image_)
        return;
    ShrinkBounds(false, false);
    const ilTile bounds = image_->GetBounds();
    const qs::Reference<ilSmartImage> before = SharedCopy(*image_);
    image_->fillTile(bounds, ilPixel(image_->GetDataType(), image_->GetNumChannels()));
    image_->fillTile(ilTile(bounds.x, bounds.y, bounds.ny, bounds.nx), image_->GetFillValue());
    MovePieces(*image_, *before, bounds, [&](const ilTile& piece, MemoryImage& pixels) {
        pixels = pixels->TurnedQuarter(right);
        const int64_t left = right ? bounds.Bottom() - piece.Bottom() : int64_t{piece.y} - bounds.y;
        const int64_t top = right ? int64_t{piece.x} - bounds.x : bounds.Right() - piece.Right();
        return ilTileMoved({bounds.x, bounds.y, piece.ny, piece.nx}, left, top);
    });
    TellImageChanged();
}

void Layer::InvertMask()
{
    if (isMask())
        InvertPixels(false);
}

void Layer::InvertStencil()
{
    if (isStencil())
        InvertPixels(false);
}

void Layer::InvertImageLayer()
{
    if (!isMask() && !isStencil())
        InvertPixels(true);
}

void Layer::InvertPixels(bool colorOnly)
{
    if (!image_)
        return;
    ShrinkBounds(false, false);
    const ilTile bounds = image_->GetBounds();
    const qs::Reference<ilSmartImage> inverted = SharedCopy(*image_);
    inverted->SetFillValue(InvertedPixel(image_->GetFillValue(), colorOnly));  // first: pages that equal it are dropped
    const qs::Reference<PaintOps> painter(new PaintOps(inverted));
    painter->set_paint_mode(colorOnly ? PaintOps::PaintMode::ColorInvert : PaintOps::PaintMode::Invert);
    // Whole pages: what a stored page holds outside the painted bounds inverts like the unstored area does.
    image_->VisitPages(bounds, [&](int px, int py, const Page& page) {
        const ilTile tile = PageTile(px, py);
        if (page.IsUniform())
            inverted->fillTile(
                tile, InvertedPixel(ilPixel(kUnsignedByte, page.GetNumChannels(), page.GetUniformValue()), colorOnly));
        else
            painter->rect_fill(tile.x, tile.y, tile.nx, tile.ny, 0U);
    });
    inverted->SetBounds(bounds);
    TakePixels(*inverted);
    ShrinkBounds(false, false);
}
