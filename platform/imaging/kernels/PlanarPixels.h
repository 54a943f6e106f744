#pragma once

#include "platform/imaging/kernels/Simd.h"

/// Blocks of RGBA pixels as four planes of floats, in loops that the compiler turns into vectors. Only + - * / and
/// square roots are used, which round alike everywhere.
namespace kernels::PAINTLAYER_KERNEL_NAMESPACE {

inline constexpr int kPlanarPixels = 64;
inline constexpr float kPerLevel = 1.0F / 255;

/// In levels, 0 to 255.
struct PlanarPixels {
    alignas(64) float plane[4][kPlanarPixels];
};

PAINTLAYER_KERNEL_INLINE float SmallerOf(float a, float b)
{
    return a < b ? a : b;
}

PAINTLAYER_KERNEL_INLINE float LargerOf(float a, float b)
{
    return a > b ? a : b;
}

PAINTLAYER_KERNEL_INLINE void Spread(PlanarPixels& planar, const uint8_t* pixels)
{
    for (int i = 0; i < kPlanarPixels; ++i) {
        for (int c = 0; c < 4; ++c)
            planar.plane[c][i] = static_cast<float>(pixels[4 * i + c]);
    }
}

/// Rounds to nearest; colour is kept between 0 and the rounded alpha.
PAINTLAYER_KERNEL_INLINE void Gather(uint8_t* pixels, const PlanarPixels& planar)
{
    for (int i = 0; i < kPlanarPixels; ++i) {
        const float alpha = planar.plane[3][i] + 0.5F;
        for (int c = 0; c < 3; ++c) {
            const float value = LargerOf(SmallerOf(planar.plane[c][i] + 0.5F, alpha), 0.0F);
            pixels[4 * i + c] = static_cast<uint8_t>(static_cast<int>(value));
        }
        pixels[4 * i + 3] = static_cast<uint8_t>(static_cast<int>(alpha));
    }
}

/// The alpha of any blend mode: as + ab - as·ab.
PAINTLAYER_KERNEL_INLINE void BlendPlanarAlpha(const PlanarPixels& src, float weight, PlanarPixels& dst)
{
    for (int i = 0; i < kPlanarPixels; ++i) {
        const float sa = src.plane[3][i] * weight, da = dst.plane[3][i];
        dst.plane[3][i] = sa + da - sa * da * kPerLevel;
    }
}

/// operation(source, destination) changes the destination's planes, block by block; a partial block is filled up with
/// transparent pixels.
template <typename Operation>
PAINTLAYER_KERNEL_INLINE void ForPlanarBlocks(uint8_t* dst, const uint8_t* src, int count, Operation operation)
{
    PlanarPixels s;
    PlanarPixels d;
    uint8_t dstPart[4 * kPlanarPixels] = {};
    uint8_t srcPart[4 * kPlanarPixels] = {};
    for (int x = 0; x < count; x += kPlanarPixels) {
        const bool whole = count - x >= kPlanarPixels;
        const size_t partBytes = whole ? 0 : static_cast<size_t>(count - x) * 4;
        std::memcpy(dstPart, dst + 4 * x, partBytes);
        std::memcpy(srcPart, src + 4 * x, partBytes);
        Spread(s, whole ? src + 4 * x : srcPart);
        Spread(d, whole ? dst + 4 * x : dstPart);
        operation(s, d);
        Gather(whole ? dst + 4 * x : dstPart, d);
        std::memcpy(dst + 4 * x, dstPart, partBytes);
    }
}

}  // namespace kernels::PAINTLAYER_KERNEL_NAMESPACE
