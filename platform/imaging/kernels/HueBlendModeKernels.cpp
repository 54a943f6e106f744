#include "platform/imaging/kernels/PlanarPixels.h"
#include "platform/imaging/kernels/VariantKernels.h"

/// The blend modes that mix the three colours: hue, saturation, colour and luminosity.
///
/// Their functions scale with their arguments, so they are computed on Cs = S·ab and Cb = D·as with as·ab for the 1 of
/// the model's text, which spares the division by the alphas.
namespace kernels::PAINTLAYER_KERNEL_NAMESPACE {

namespace {

struct Color {
    float r, g, b;
};

PAINTLAYER_KERNEL_INLINE float SmallestOf(const Color& c)
{
    return SmallerOf(SmallerOf(c.r, c.g), c.b);
}

PAINTLAYER_KERNEL_INLINE float LargestOf(const Color& c)
{
    return LargerOf(LargerOf(c.r, c.g), c.b);
}

PAINTLAYER_KERNEL_INLINE float Lum(const Color& c)
{
    return 0.3F * c.r + 0.59F * c.g + 0.11F * c.b;
}

PAINTLAYER_KERNEL_INLINE float Sat(const Color& c)
{
    return LargestOf(c) - SmallestOf(c);
}

/// base + scale·(c - origin).
PAINTLAYER_KERNEL_INLINE Color Stretch(const Color& c, float origin, float scale, float base)
{
    return {base + (c.r - origin) * scale, base + (c.g - origin) * scale, base + (c.b - origin) * scale};
}

PAINTLAYER_KERNEL_INLINE Color ClipColor(const Color& c, float one)
{
    const float lum = Lum(c);
    const float low = SmallestOf(c);
    const float high = LargestOf(c);
    // Where nothing is out of range the scale is 1. Rounding can put lum on the wrong side of a grey's components.
    const bool isBelow = low < 0.0F && lum > low;
    const bool isAbove = high > one && high > lum;
    const float up = (isBelow ? lum : 1.0F) / (isBelow ? lum - low : 1.0F);
    const float down = (isAbove ? one - lum : 1.0F) / (isAbove ? high - lum : 1.0F);
    return Stretch(Stretch(c, lum, up, lum), lum, down, lum);
}

PAINTLAYER_KERNEL_INLINE Color SetLum(const Color& c, float lum, float one)
{
    return ClipColor(Stretch(c, 0.0F, 1.0F, lum - Lum(c)), one);
}

/// The smallest component becomes 0, the largest `sat`, the other keeps its place between them.
PAINTLAYER_KERNEL_INLINE Color SetSat(const Color& c, float sat)
{
    const float range = Sat(c);
    const bool isGrey = range <= 0.0F;
    return Stretch(c, SmallestOf(c), (isGrey ? 0.0F : sat) / (isGrey ? 1.0F : range), 0.0F);
}

/// blend(Cs, Cb, as·ab) is as·ab·B, all in levels.
template <typename Blend>
PAINTLAYER_KERNEL_INLINE void BlendColors(uint8_t* dst, const uint8_t* src, Weight weight, int count, Blend blend)
{
    const float w = static_cast<float>(weight) / kFullWeight;
    ForPlanarBlocks(dst, src, count, [=](const PlanarPixels& s, PlanarPixels& d) {
        for (int i = 0; i < kPlanarPixels; ++i) {
            const Color S{s.plane[0][i] * w, s.plane[1][i] * w, s.plane[2][i] * w};
            const Color D{d.plane[0][i], d.plane[1][i], d.plane[2][i]};
            const float sa = s.plane[3][i] * w, da = d.plane[3][i];
            const float as = sa * kPerLevel, ab = da * kPerLevel;
            const Color mixed = blend(Stretch(S, 0.0F, ab, 0.0F), Stretch(D, 0.0F, as, 0.0F), sa * ab);
            d.plane[0][i] = S.r * (1.0F - ab) + D.r * (1.0F - as) + mixed.r;
            d.plane[1][i] = S.g * (1.0F - ab) + D.g * (1.0F - as) + mixed.g;
            d.plane[2][i] = S.b * (1.0F - ab) + D.b * (1.0F - as) + mixed.b;
        }
        BlendPlanarAlpha(s, w, d);
    });
}

}  // namespace

void BlendHue(uint8_t* dst, const uint8_t* src, Weight weight, int count)
{
    BlendColors(dst, src, weight, count,
                [](const Color& Cs, const Color& Cb, float one) { return SetLum(SetSat(Cs, Sat(Cb)), Lum(Cb), one); });
}

void BlendSaturation(uint8_t* dst, const uint8_t* src, Weight weight, int count)
{
    BlendColors(dst, src, weight, count,
                [](const Color& Cs, const Color& Cb, float one) { return SetLum(SetSat(Cb, Sat(Cs)), Lum(Cb), one); });
}

void BlendColor(uint8_t* dst, const uint8_t* src, Weight weight, int count)
{
    BlendColors(dst, src, weight, count,
                [](const Color& Cs, const Color& Cb, float one) { return SetLum(Cs, Lum(Cb), one); });
}

void BlendLuminosity(uint8_t* dst, const uint8_t* src, Weight weight, int count)
{
    BlendColors(dst, src, weight, count,
                [](const Color& Cs, const Color& Cb, float one) { return SetLum(Cb, Lum(Cs), one); });
}

}  // namespace kernels::PAINTLAYER_KERNEL_NAMESPACE
