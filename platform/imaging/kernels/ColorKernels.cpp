#include "platform/imaging/kernels/PlanarPixels.h"
#include "platform/imaging/kernels/VariantKernels.h"

namespace kernels::PAINTLAYER_KERNEL_NAMESPACE {

namespace {

/// The curve at a level between 0 and 255: straight between its entries.
PAINTLAYER_KERNEL_INLINE float AtLevel(const float* curve, float level)
{
    const int index = static_cast<int>(level);
    return curve[index] + (curve[index + 1] - curve[index]) * (level - static_cast<float>(index));
}

/// Component n (0: red, 8: green, 4: blue) of a colour by hue (0 to 12), lightness and the lesser way to black or white
/// times saturation: the closed form of the HSL hexcone.
PAINTLAYER_KERNEL_INLINE float HslComponent(float n, float hue, float lightness, float reach)
{
    float k = n + hue;
    k = k >= 12 ? k - 12 : k;
    const float tent = LargerOf(SmallerOf(SmallerOf(k - 3, 9 - k), 1), -1);
    return lightness - reach * tent;
}

/// Hue, saturation and lightness of straight colours, 0 to 1.
PAINTLAYER_KERNEL_INLINE void TurnColor(float& r, float& g, float& b, const ColorAdjustment& adjustment)
{
    const float most = LargerOf(r, LargerOf(g, b));
    const float least = SmallerOf(r, SmallerOf(g, b));
    const float chroma = most - least;
    const float sum = most + least;
    const float lightness = sum * 0.5F;
    const float room = sum < 1 ? sum : 2 - sum;  // the most chroma that this lightness allows
    const float perChroma = 2 / (chroma > 0 ? chroma : 1);
    float hue = most == r ? (g - b) * perChroma : most == g ? (b - r) * perChroma + 4 : (r - g) * perChroma + 8;
    hue += hue < 0 ? 12.0F : 0.0F;
    hue += adjustment.hueShift;
    hue -= hue >= 12 ? 12.0F : 0.0F;
    const float saturation = SmallerOf(chroma / (room > 0 ? room : 1) * adjustment.saturation, 1);
    const float l = adjustment.lightness;
    const float newLightness = l > 0 ? lightness + (1 - lightness) * l : lightness * (1 + l);
    const float reach = saturation * SmallerOf(newLightness, 1 - newLightness);
    r = HslComponent(0, hue, newLightness, reach);
    g = HslComponent(8, hue, newLightness, reach);
    b = HslComponent(4, hue, newLightness, reach);
}

}  // namespace

void AdjustColor(uint8_t* pixels, const ColorAdjustment& adjustment, int count)
{
    ForPlanarBlocks(pixels, pixels, count, [&](const PlanarPixels&, PlanarPixels& d) {
        PlanarPixels straight;
        for (int i = 0; i < kPlanarPixels; ++i) {
            const float perAlpha = 255 / (d.plane[3][i] > 0 ? d.plane[3][i] : 1);
            for (int c = 0; c < 3; ++c)
                straight.plane[c][i] = SmallerOf(d.plane[c][i] * perAlpha, 255);
        }
        PlanarPixels changed;
        for (int c = 0; c < 3; ++c)
            for (int i = 0; i < kPlanarPixels; ++i)
                changed.plane[c][i] = AtLevel(adjustment.curves[c], straight.plane[c][i]);
        if (adjustment.turnsColor) {
            for (int i = 0; i < kPlanarPixels; ++i) {
                float r = changed.plane[0][i] * kPerLevel;
                float g = changed.plane[1][i] * kPerLevel;
                float b = changed.plane[2][i] * kPerLevel;
                TurnColor(r, g, b, adjustment);
                changed.plane[0][i] = r * 255;
                changed.plane[1][i] = g * 255;
                changed.plane[2][i] = b * 255;
            }
        }
        for (int c = 0; c < 3; ++c)
            for (int i = 0; i < kPlanarPixels; ++i) {
                const float from = straight.plane[c][i];
                const float mixed = from + (changed.plane[c][i] - from) * adjustment.amount;
                d.plane[c][i] = mixed * d.plane[3][i] * kPerLevel;
            }
    });
}

void AdjustCoverage(uint8_t* pixels, const ColorAdjustment& adjustment, int count)
{
    for (int i = 0; i < count; ++i) {
        const auto from = static_cast<float>(pixels[i]);
        const float changed = from + (adjustment.curves[3][pixels[i]] - from) * adjustment.amount;
        pixels[i] = static_cast<uint8_t>(static_cast<int>(changed + 0.5F));
    }
}

void MixBytes(uint8_t* dst, const uint8_t* src, float part, int count)
{
    for (int i = 0; i < count; ++i) {
        const auto from = static_cast<float>(dst[i]);
        const float mixed = from + (static_cast<float>(src[i]) - from) * part + 0.5F;
        dst[i] = static_cast<uint8_t>(static_cast<int>(SmallerOf(LargerOf(mixed, 0), 255.5F)));
    }
}

void SharpenColor(uint8_t* dst, const uint8_t* blurred, float amount, int count)
{
    ForPlanarBlocks(dst, blurred, count, [=](const PlanarPixels& s, PlanarPixels& d) {
        for (int c = 0; c < 3; ++c)
            for (int i = 0; i < kPlanarPixels; ++i) {
                // The mean of the neighbours' straight colours, by their alphas, at this pixel's alpha. What may come
                // from rounding it to bytes is no difference.
                const float alpha = d.plane[3][i];
                const float perAlpha = 1 / (s.plane[3][i] > 0 ? s.plane[3][i] : 1);
                const float mean = s.plane[c][i] * alpha * perAlpha;
                const float noise = (alpha + mean) * 0.5F * perAlpha;
                const float from = d.plane[c][i];
                const float difference = LargerOf(from - mean - noise, 0) + SmallerOf(from - mean + noise, 0);
                d.plane[c][i] = from + difference * amount;
            }
    });
}

}  // namespace kernels::PAINTLAYER_KERNEL_NAMESPACE
