#include "platform/imaging/kernels/PixelArithmetic.h"
#include "platform/imaging/kernels/Spans.h"
#include "platform/imaging/kernels/VariantKernels.h"

namespace kernels::PAINTLAYER_KERNEL_NAMESPACE {

namespace {

/// (1 - factor)·dst, rounded.
PAINTLAYER_KERNEL_INLINE Vec Fade(const Vec& dst, const Wide& factor)
{
    const Wide value = Times256(dst);
    return RoundToBytes(value - MulHigh(value, factor));
}

/// RGBA: dst = operation(dst, coverage·257).
template <typename Operation>
PAINTLAYER_KERNEL_INLINE void ForCovered(uint8_t* dst, const uint8_t* coverage, int count, Operation operation)
{
    ForCoveredPixels(dst, dst, coverage, count,
                     [=](const Vec& d, const Vec&, const Wide& covered) { return operation(d, covered); });
}

}  // namespace

void EraseWeighted(uint8_t* dst, const uint8_t* src, Weight weight, int count)
{
    const Wide w = Splat16(weight);
    ForSpans(dst, src, 4 * count, [=](const Vec& d, const Vec& s) { return Fade(d, MulFactors(AlphaTimes257(s), w)); });
}

void EraseWeighted1(uint8_t* dst, const uint8_t* src, Weight weight, int count)
{
    const Wide w = Splat16(weight);
    ForSpans(dst, src, count, [=](const Vec& d, const Vec& s) { return Fade(d, MulFactors(Times257(s), w)); });
}

void EraseCoverage(uint8_t* dst, const uint8_t* coverage, Weight weight, int count)
{
    const Wide w = Splat16(weight);
    ForCovered(dst, coverage, count,
               [=](const Vec& d, const Wide& covered) { return Fade(d, MulFactors(covered, w)); });
}

void KeepCoverage(uint8_t* dst, const uint8_t* coverage, Weight weight, int count)
{
    const Wide w = Splat16(weight);
    ForCovered(dst, coverage, count, [=](const Vec& d, const Wide& covered) {
        return RoundToBytes(MulHigh(Times256(d), MulFactors(covered, w)));
    });
}

}  // namespace kernels::PAINTLAYER_KERNEL_NAMESPACE
