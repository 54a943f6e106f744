#include "stack/canvas/ImagePlane.h"

#include "platform/imaging/pages/PageAccount.h"
#include "stack/LayerStack.h"
#include "stack/canvas/Canvas.h"
#include "stack/canvas/CurrentLayer.h"
#include "stack/canvas/Views.h"
#include "stack/edits/StackEdit.h"
#include "stack/tree/LayerTree.h"

ImagePlane::ImagePlane(LayerStack& stack, LayerTree& tree, Canvas& canvas, CurrentLayer& current, Views& views)
    : stack_(stack), tree_(tree), canvas_(canvas), current_(current), views_(views)
{}

void ImagePlane::TakeFrom(ImagePlane& source, bool notify, bool updateClip)
{
    const StackEdit edit(stack_);
    painter_.reset(source.plane_ ? new PaintOps(source.plane_) : nullptr);
    canvas_.SetSize(source.canvas_.GetSize(), false);
    plane_ = source.plane_;
    source.Free();
    if (updateClip)
        current_.UpdateBrushClippingRect();
    if (notify)
        stack_.Notify(true);
}

void ImagePlane::Share(const ImagePlane& other)
{
    if (plane_ || !other.plane_ || canvas_.GetSize() != other.canvas_.GetSize())
        return;
    painter_ = other.painter_;
    plane_ = other.plane_;
    if (tree_.GetCurrent() == nullptr)  // nothing is composed then, and the plane of a new document is blank
        plane_->fillTile(canvas_.GetSize(), ilPixel(kUnsignedByte, 4));
    canvas_.DamageCanvas();
}

void ImagePlane::CountReleased(PageAccount& account) const
{
    if (plane_ && plane_->GetRefCount() <= 2)  // the other is the plane's painter
        account.AddBytes(4 * canvas_.GetSize().Area());
}

bool ImagePlane::SetSize(const ilTile& size, bool clipToSize, bool notify, bool updateClip)
{
    const StackEdit edit(stack_);
    if (!LayerStack::IsAcceptableSize(size.nx, size.ny))
        return false;
    const qs::Reference<ilSPMemoryImg> plane(new ilSPMemoryImg(size.nx, size.ny, 4));
    const qs::Reference<PaintOps> painter(new PaintOps(plane));

    canvas_.SetSize(ilTile(0, 0, size.nx, size.ny), clipToSize);
    plane_ = plane;
    painter_ = painter;
    canvas_.MarkTreeStale();  // what is cached was composed for another canvas
    canvas_.MarkMaskStale();
    views_.DamageTile(canvas_.GetSize());
    if (updateClip)
        current_.UpdateBrushClippingRect();
    if (notify)
        stack_.Notify(true);
    return true;
}

void ImagePlane::Allocate()
{
    if (!plane_ || !painter_)
        SetSize(canvas_.GetSize(), canvas_.GetClipToSize(), false, false);
    if (!current_.HasPainter())
        current_.GetPainter();
}

void ImagePlane::Free()
{
    painter_ = nullptr;
    plane_ = nullptr;
    current_.ForgetPainter();
    canvas_.ReleaseCachedImages();
}
