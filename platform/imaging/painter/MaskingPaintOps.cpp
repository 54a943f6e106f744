#include "platform/imaging/painter/MaskingPaintOps.h"

#include "platform/imaging/blend/ImageBlend.h"
#include "platform/imaging/kernels/Kernels.h"
#include "platform/imaging/pages/ilSmartImage.h"

#include <algorithm>

void MaskingPaintOps::set_target_img(qs::TempReference<ilImage> target)
{
    SoftPaintOps::set_target_img(std::move(target));
    original_ = nullptr;
    wet_ = nullptr;
}

void MaskingPaintOps::BeginOperation()
{
    SoftPaintOps::BeginOperation();
    ilMIOImage* target = target_ ? target_->AsPaged() : nullptr;
    if (!markerBlend_ || target == nullptr)
        return;
    wet_ = new ilSmartImage(ilPixel(kUnsignedByte, target->GetNumChannels()));
    original_ = target->Snapshot();
}

void MaskingPaintOps::EndOperation()
{
    if (IsMasking()) {
        ilMIOImage& target = *target_->AsPaged();
        ComposeOperation(target, wet_->GetBounds());
        original_ = nullptr;
        wet_ = nullptr;
    }
    SoftPaintOps::EndOperation();
}

void MaskingPaintOps::SetMarkerWetness(float wetness)
{
    if (wetness == wetness)
        wetness_ = std::clamp(wetness, 0.0F, 1.0F);
}

bool MaskingPaintOps::IsErasing() const
{
    return get_source_factor() == kFactorZero && get_destination_factor() == kFactorOneMinusSourceAlpha;
}

void MaskingPaintOps::ComposeOperation(ilMIOImage& into, const ilTile& tile) const
{
    if (!IsMasking())
        return;
    into.copyTile3D(tile.x, tile.y, 0, tile.nx, tile.ny, 1, *original_, tile.x, tile.y, 0);
    ImageBlend blend;
    blend.sourceFactor = IsErasing() ? kFactorZero : kFactorOne;
    BlendImage(into, tile, *wet_, tile.x, tile.y, blend);
}

PaintOps::StampTarget MaskingPaintOps::GetStampTarget()
{
    if (!IsMasking())
        return SoftPaintOps::GetStampTarget();
    StampTarget target;
    target.image = wet_.get();
    target.isWet = true;
    target.wetness = kernels::WeightFrom(double{wetness_});
    return target;
}
