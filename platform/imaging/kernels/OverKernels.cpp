#include "platform/imaging/kernels/PixelArithmetic.h"
#include "platform/imaging/kernels/Spans.h"
#include "platform/imaging/kernels/VariantKernels.h"

namespace kernels::PAINTLAYER_KERNEL_NAMESPACE {

namespace {

/// Exact: (t + (t >> 8)) >> 8 of MulDiv255 is t·257 >> 16, and t stays below 65536.
PAINTLAYER_KERNEL_INLINE Vec Over(const Vec& d, const Vec& s)
{
    const Wide shown = AlphaTimes1(SubSaturating(Splat8(255), s));
    const Wide t = MulLow(Times1(d), shown) + Splat16(128);
    return AddSaturating(s, Narrow(MulHigh(t, Splat16(257))));
}

template <int Count>
void ComposeSources(uint8_t* dst, const uint8_t* const* sources, int bytes)
{
    int i = 0;
    for (; i + kVecBytes <= bytes; i += kVecBytes) {
        Vec sum = Load(sources[0] + i);
        for (int k = 1; k < Count; ++k)
            sum = Over(sum, Load(sources[k] + i));
        Store(dst + i, sum);
    }
    if (i < bytes) {
        Vec sum = LoadPart(sources[0] + i, bytes - i);
        for (int k = 1; k < Count; ++k)
            sum = Over(sum, LoadPart(sources[k] + i, bytes - i));
        StorePart(dst + i, sum, bytes - i);
    }
}

}  // namespace

void PaintOver(uint8_t* dst, const uint8_t* src, int count)
{
    ForSpans(dst, src, 4 * count, Over);
}

void ComposeOver(uint8_t* dst, const uint8_t* const* sources, int sourceCount, int count)
{
    static_assert(kMostSourcesComposed == 4);
    switch (sourceCount) {
    case 1: return ComposeSources<1>(dst, sources, 4 * count);
    case 2: return ComposeSources<2>(dst, sources, 4 * count);
    case 3: return ComposeSources<3>(dst, sources, 4 * count);
    default: return ComposeSources<4>(dst, sources, 4 * count);
    }
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
