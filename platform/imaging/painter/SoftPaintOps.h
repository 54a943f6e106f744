#pragma once

#include "platform/imaging/painter/PaintOps.h"

/// A painter that can paint with 16 bits: the target keeps the high bytes, the low-order-bit image the rest while a
/// stroke runs, so that thousands of faint stamps build up without banding.
///
/// The value of a component is (target·256 + low − 128) / 256 levels; the target alone is that value rounded. The
/// low-order-bit image's fill value is 128 in every component.
class PAINTLAYER_EXPORT SoftPaintOps : public PaintOps {
public:
    using PaintOps::PaintOps;

    void set_target_img(qs::TempReference<ilImage> target) override;
    void EndOperation() override;
    qs::TempReference<ilMIOImage> GetLowOrderBitImage() override;

    /// Null leaves 16-bit painting. An image of other channels than the target's is refused (nothing happens).
    void SetLowOrderBitImage(qs::TempReference<ilMIOImage> image) override;

protected:
    StampTarget GetStampTarget() override;

private:
    qs::TempReference<ilMIOImage> lowBits_;
};
