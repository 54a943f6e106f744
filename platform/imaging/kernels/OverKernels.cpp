#include "platform/imaging/kernels/PixelArithmetic.h"
#include "platform/imaging/kernels/Spans.h"
#include "platform/imaging/kernels/VariantKernels.h"

namespace kernels::PAINTLAYER_KERNEL_NAMESPACE {

void PaintOver(uint8_t* dst, const uint8_t* src, int count)
{
    // Exact: (t + (t >> 8)) >> 8 of MulDiv255 is t·257 >> 16, and t stays below 65536.
    ForSpans(dst, src, 4 * count, [](const Vec& d, const Vec& s) {
        const Wide shown = AlphaTimes1(SubSaturating(Splat8(255), s));
        const Wide t = MulLow(Times1(d), shown) + Splat16(128);
        return AddSaturating(s, Narrow(MulHigh(t, Splat16(257))));
    });
}

void PaintOverWeighted(uint8_t* dst, const uint8_t* src, Weight weight, int count)
{
    if (weight == kFullWeight)
        return PaintOver(dst, src, count);
    const Wide w = Splat16(weight);
    ForSpans(dst, src, 4 * count, [=](const Vec& d, const Vec& s) {
        return RoundToBytes(OverValue(Times256(d), MulHigh(Times256(s), w), MulFactors(AlphaTimes257(s), w)));
    });
}

void PaintOverCoverage(uint8_t* dst, const uint8_t* src, const uint8_t* coverage, Weight weight, int count)
{
    const Wide w = Splat16(weight);
    ForCoveredPixels(dst, src, coverage, count, [=](const Vec& d, const Vec& s, const Wide& covered) {
        const Wide factor = MulFactors(covered, w);
        return RoundToBytes(OverValue(Times256(d), MulHigh(Times256(s), factor), MulFactors(AlphaTimes257(s), factor)));
    });
}

void PaintOverWeighted1(uint8_t* dst, const uint8_t* src, Weight weight, int count)
{
    const Wide w = Splat16(weight);
    ForSpans(dst, src, count, [=](const Vec& d, const Vec& s) {
        return RoundToBytes(OverValue(Times256(d), MulHigh(Times256(s), w), MulFactors(Times257(s), w)));
    });
}

void CopyCoverage(uint8_t* dst, const uint8_t* src, const uint8_t* coverage, Weight weight, int count)
{
    const Wide w = Splat16(weight);
    ForCoveredPixels(dst, src, coverage, count, [=](const Vec& d, const Vec& s, const Wide& covered) {
        const Wide factor = MulFactors(covered, w);
        return RoundToBytes(OverValue(Times256(d), MulHigh(Times256(s), factor), factor));
    });
}

void CopyCoverage1(uint8_t* dst, const uint8_t* src, const uint8_t* coverage, Weight weight, int count)
{
    const Wide w = Splat16(weight);
    int x = 0;
    const auto copy = [=](const Vec& d, const Vec& s, const Vec& covered) {
        const Wide factor = MulFactors(Times257(covered), w);
        return RoundToBytes(OverValue(Times256(d), MulHigh(Times256(s), factor), factor));
    };
    for (; x + kVecBytes <= count; x += kVecBytes)
        Store(dst + x, copy(Load(dst + x), Load(src + x), Load(coverage + x)));
    if (x < count) {
        const int rest = count - x;
        StorePart(dst + x, copy(LoadPart(dst + x, rest), LoadPart(src + x, rest), LoadPart(coverage + x, rest)), rest);
    }
}

}  // namespace kernels::PAINTLAYER_KERNEL_NAMESPACE
