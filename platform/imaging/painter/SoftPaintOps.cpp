#include "platform/imaging/painter/SoftPaintOps.h"

#include "platform/imaging/pages/ilSmartImage.h"

void SoftPaintOps::set_target_img(qs::TempReference<ilImage> target)
{
    PaintOps::set_target_img(std::move(target));
    lowBits_ = nullptr;
}

void SoftPaintOps::EndOperation()
{
    lowBits_ = nullptr;
}

qs::TempReference<ilMIOImage> SoftPaintOps::GetLowOrderBitImage()
{
    if (!lowBits_ && target_ && target_->AsPaged() != nullptr)
        lowBits_ = new ilSmartImage(ilPixel(kUnsignedByte, target_->GetNumChannels(), 0x80808080U));
    return lowBits_;
}

void SoftPaintOps::SetLowOrderBitImage(qs::TempReference<ilMIOImage> image)
{
    if (image && (!target_ || image->GetNumChannels() != target_->GetNumChannels()))
        return;
    lowBits_ = std::move(image);
}

PaintOps::StampTarget SoftPaintOps::GetStampTarget()
{
    StampTarget target = PaintOps::GetStampTarget();
    target.lowBits = lowBits_.get();
    return target;
}
