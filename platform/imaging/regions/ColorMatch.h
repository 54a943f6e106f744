#pragma once

#include "platform/imaging/kernels/Kernels.h"
#include "platform/imaging/pages/ilPixel.h"

/// Which colours are like a seed's within a tolerance: on no channel do the straight colours, or the alphas, differ by
/// more. Where the seed or the pixel is fully transparent it has no colour and the alphas alone are compared.
class ColorMatch {
public:
    /// tolerance: in parts of full scale, taken to 1/65535 of it: 0 is the same colour only, 40.0 / 255 is 40 levels, 1
    /// and more is every colour. A NaN or negative one makes the match refused.
    ColorMatch(const ilPixel& seed, float tolerance);

    bool IsRefused() const { return isRefused_; }

    /// For pixels of the seed's number of channels, packed.
    bool IsLike(uint32_t packed) const;

    /// The same of a page's worth of pixels, or of one row of it: 64·words pixels in one piece. opaque: every alpha is
    /// known to be 255.
    void Match(uint64_t* bits, const uint8_t* pixels, bool opaque, int words) const;

private:
    static bool IsWithin(uint32_t a, uint32_t b, uint32_t scale, uint32_t weight);

    kernels::PixelMatch match_ = {};
    int channels_;
    bool isRefused_;
    bool takesAll_;
};
