#include "platform/imaging/kernels/PixelArithmetic.h"
#include "platform/imaging/kernels/VariantKernels.h"

namespace kernels::PAINTLAYER_KERNEL_NAMESPACE {

namespace {

constexpr int kGroupPixels = 16;  // a vector of coverage bytes on every instruction set, skipped when all are 0

/// Calls step(offset of the row in bytes, x, coverage of the row) for every `group` pixels that meet the stamp. The
/// block is copied: for all the compiler knows, the pixels written lie in it.
template <typename Step>
PAINTLAYER_KERNEL_INLINE void ForGroups(const StampBlock block, int group, Step step)
{
    const int first = block.x0 & -group;
    const uint8_t* coverage = block.coverage;
    ptrdiff_t offset = 0;
    for (int row = 0; row < block.rows; ++row, coverage += block.coverageStride, offset += block.strideBytes)
        for (int x = first; x < block.x1; x += group)
            step(offset, x, coverage);
}

/// RGBA: operation(byte offset in the row block, coverage·257) for every vector that the stamp covers.
template <typename Operation>
PAINTLAYER_KERNEL_INLINE void ForStampedPixels(const StampBlock& block, Operation operation)
{
    ForGroups(block, kGroupPixels, [&](ptrdiff_t offset, int x, const uint8_t* coverage) {
        if (AreZero16(coverage + x))
            return;
        for (int k = x; k < x + kGroupPixels; k += kVecPixels)
            operation(offset + 4 * k, LoadCoverage(coverage + k));
    });
}

/// One channel: the same with a whole vector of pixels at a time.
template <typename Operation>
PAINTLAYER_KERNEL_INLINE void ForStampedCoverage(const StampBlock& block, Operation operation)
{
    ForGroups(block, kVecBytes, [&](ptrdiff_t offset, int x, const uint8_t* coverage) {
        const Vec bytes = Load(coverage + x);
        if (!IsZero(bytes))
            operation(offset + x, Times257(bytes));
    });
}

/// Paints a colour over 8-bit pixels.
struct Painter8 {
    uint8_t* pixels;
    Wide color, alpha;

    PAINTLAYER_KERNEL_INLINE void operator()(ptrdiff_t offset, const Wide& coverage) const
    {
        const Wide below = Times256(Load(pixels + offset));
        const Wide result = OverValue(below, MulHigh(color, coverage), MulFactors(alpha, coverage));
        Store(pixels + offset, RoundToBytes(result));
    }
};

/// Moves pixels of 16 bits towards a colour. What is stored is the value plus half a level, so that its high byte is
/// the nearest level. Both products round alike: a pixel that has arrived stays, and none passes its goal.
struct Painter16 {
    uint8_t* pixels;
    uint8_t* lowBits;
    Wide goal, alpha;

    PAINTLAYER_KERNEL_INLINE void operator()(ptrdiff_t offset, const Wide& coverage) const
    {
        const Wide half = Splat16(128);
        const Wide below = SubSaturating(Join(Load(lowBits + offset), Load(pixels + offset)), half);
        const Wide share = MulFactorsRounded(alpha, coverage);
        const Wide moved = below - MulRounded(below, share) + MulRounded(goal, share);
        const Wide stored = AddSaturating(moved, half);
        Store(pixels + offset, Narrow(ShiftRight<8>(stored)));
        Store(lowBits + offset, Narrow(stored & Splat16(255)));
    }
};

/// Between replacing what is covered less and painting over it.
PAINTLAYER_KERNEL_INLINE Vec WetResult(const Wide& below, const Wide& belowAlpha, const Wide& added,
                                       const Wide& addedAlpha, const Wide& factor, const Wide& wetness)
{
    const Wide over = OverValue(below, added, factor);
    const Wide kept = SelectGreater(addedAlpha, belowAlpha, added, below);
    return RoundToBytes(kept - MulHigh(kept, wetness) + MulHigh(over, wetness));
}

}  // namespace

void StampColor8(const StampBlock& block, const StampColor& color)
{
    ForStampedPixels(block, Painter8{block.pixels, SplatPixel(color.component), Splat16(color.alpha)});
}

void StampCoverage8(const StampBlock& block, const StampColor& color)
{
    ForStampedCoverage(block, Painter8{block.pixels, Splat16(color.component[3]), Splat16(color.alpha)});
}

void StampColor16(const StampBlock& block, const StampColor& color)
{
    ForStampedPixels(block, Painter16{block.pixels, block.lowBits, SplatPixel(color.goal), Splat16(color.alpha)});
}

void StampCoverage16(const StampBlock& block, const StampColor& color)
{
    ForStampedCoverage(block, Painter16{block.pixels, block.lowBits, Splat16(color.goal[3]), Splat16(color.alpha)});
}

void StampWet(const StampBlock& block, const StampColor& color, Weight wetness)
{
    uint8_t* const pixels = block.pixels;
    const Wide components = SplatPixel(color.component);
    const Wide alphaValue = Splat16(color.component[3]);
    const Wide alpha = Splat16(color.alpha);
    const Wide wet = Splat16(wetness);
    ForStampedPixels(block, [=](ptrdiff_t offset, const Wide& coverage) {
        const Vec dst = Load(pixels + offset);
        Store(pixels + offset, WetResult(Times256(dst), AlphaTimes256(dst), MulHigh(components, coverage),
                                         MulHigh(alphaValue, coverage), MulFactors(alpha, coverage), wet));
    });
}

void StampWetCoverage(const StampBlock& block, const StampColor& color, Weight wetness)
{
    uint8_t* const pixels = block.pixels;
    const Wide value = Splat16(color.component[3]);
    const Wide alpha = Splat16(color.alpha);
    const Wide wet = Splat16(wetness);
    ForStampedCoverage(block, [=](ptrdiff_t offset, const Wide& coverage) {
        const Wide below = Times256(Load(pixels + offset));
        const Wide added = MulHigh(value, coverage);
        Store(pixels + offset, WetResult(below, below, added, added, MulFactors(alpha, coverage), wet));
    });
}

}  // namespace kernels::PAINTLAYER_KERNEL_NAMESPACE
