#include "platform/imaging/kernels/PixelArithmetic.h"
#include "platform/imaging/kernels/Spans.h"
#include "platform/imaging/kernels/VariantKernels.h"

/// Painting over pixels that keep fractions of a level. A value is 128 times its level, 32640 for one, so that products
/// rounded to nearest are exact where they have to be: what is opaque leaves nothing of what lies below, what is
/// transparent all of it, and one painted over with any alpha sums up to one again.
namespace kernels::PAINTLAYER_KERNEL_NAMESPACE {

namespace {

constexpr uint16_t kOne = 255 * 128;

PAINTLAYER_KERNEL_INLINE Wide Times128(const Vec& a)
{
    return ShiftRight<1>(Times256(a));
}

/// From bytes and stored fractions (see Kernels.h).
PAINTLAYER_KERNEL_INLINE Wide JoinFine(const Vec& bytes, const Vec& fractions)
{
    return ShiftRight<1>(Join(Xor(fractions, Splat8(127)), bytes) - Splat16(128));
}

PAINTLAYER_KERNEL_INLINE void StoreFine(uint8_t* dst, uint8_t* dstFractions, const Wide& value)
{
    const Wide doubled = value + value + Splat16(128);
    Store(dst, Narrow(ShiftRight<8>(doubled)));
    if (dstFractions != nullptr)
        Store(dstFractions, Xor(Narrow(doubled & Splat16(255)), Splat8(127)));
}

PAINTLAYER_KERNEL_INLINE Wide FineOver(const Wide& below, const Vec& s)
{
    return below - MulRounded(below, AlphaTimes257(s)) + Times128(s);
}

template <int Count>
PAINTLAYER_KERNEL_INLINE void ComposeFineVec(uint8_t* dst, uint8_t* dstFractions, const uint8_t* const* sources,
                                             const uint8_t* fractions, int i)
{
    Wide sum = Times128(Load(sources[0] + i));
    if (fractions != nullptr)
        sum = JoinFine(Load(sources[0] + i), Load(fractions + i));
    for (int k = 1; k < Count; ++k)
        sum = FineOver(sum, Load(sources[k] + i));
    StoreFine(dst + i, dstFractions != nullptr ? dstFractions + i : nullptr, sum);
}

template <int Count>
void ComposeFineSpan(uint8_t* dst, uint8_t* dstFractions, const uint8_t* const* sources, const uint8_t* fractions,
                     int bytes)
{
    int i = 0;
    if (bytes >= kPrefetchFromBytes)
        for (; i + kCacheLineBytes <= bytes; i += kCacheLineBytes) {
            for (int k = 0; k < Count; ++k)
                __builtin_prefetch(sources[k] + i + kPrefetchAheadBytes);
            for (int part = i; part < i + kCacheLineBytes; part += kVecBytes)
                ComposeFineVec<Count>(dst, dstFractions, sources, fractions, part);
        }
    for (; i + kVecBytes <= bytes; i += kVecBytes)
        ComposeFineVec<Count>(dst, dstFractions, sources, fractions, i);
    if (i == bytes)
        return;
    uint8_t parts[Count][kVecBytes];
    const uint8_t* partSources[Count];
    for (int k = 0; k < Count; ++k) {
        Store(parts[k], LoadPart(sources[k] + i, bytes - i));
        partSources[k] = parts[k];
    }
    uint8_t partFractions[kVecBytes];
    if (fractions != nullptr)
        Store(partFractions, LoadPart(fractions + i, bytes - i));
    uint8_t result[kVecBytes], resultFractions[kVecBytes];
    ComposeFineVec<Count>(result, resultFractions, partSources, fractions != nullptr ? partFractions : nullptr, 0);
    StorePart(dst + i, Load(result), bytes - i);
    if (dstFractions != nullptr)
        StorePart(dstFractions + i, Load(resultFractions), bytes - i);
}

/// added + (1 - factor)·below in place, kept within one; source(i) gives the two of vector i.
template <typename Source>
PAINTLAYER_KERNEL_INLINE void PaintFineSpan(uint8_t* dst, uint8_t* dstFractions, int bytes, Source source)
{
    for (int i = 0; i < bytes; i += kVecBytes) {
        const bool isWhole = bytes - i >= kVecBytes;
        const auto load = [=](const uint8_t* p) { return isWhole ? Load(p + i) : LoadPart(p + i, bytes - i); };
        const Wide below = JoinFine(load(dst), load(dstFractions));
        Wide added, factor;
        source(load, added, factor);
        const Wide sum = MinOf(below - MulRounded(below, factor) + added, Splat16(kOne));
        if (isWhole) {
            StoreFine(dst + i, dstFractions + i, sum);
            continue;
        }
        uint8_t result[kVecBytes], fractions[kVecBytes];
        StoreFine(result, fractions, sum);
        StorePart(dst + i, Load(result), bytes - i);
        StorePart(dstFractions + i, Load(fractions), bytes - i);
    }
}

}  // namespace

void ComposeFine(uint8_t* dst, uint8_t* dstFractions, const uint8_t* const* sources, const uint8_t* fractions,
                 int sourceCount, int count)
{
    static_assert(kMostSourcesComposedFine == 8);
    const auto compose = [&]<int Count>() { ComposeFineSpan<Count>(dst, dstFractions, sources, fractions, 4 * count); };
    switch (sourceCount) {
    case 1: return compose.template operator()<1>();
    case 2: return compose.template operator()<2>();
    case 3: return compose.template operator()<3>();
    case 4: return compose.template operator()<4>();
    case 5: return compose.template operator()<5>();
    case 6: return compose.template operator()<6>();
    case 7: return compose.template operator()<7>();
    default: return compose.template operator()<8>();
    }
}

void PaintFineWeighted(uint8_t* dst, uint8_t* dstFractions, const uint8_t* src, Weight weight, int count)
{
    const Wide w = Splat16(weight);
    PaintFineSpan(dst, dstFractions, 4 * count, [=](const auto& load, Wide& added, Wide& factor) {
        const Vec s = load(src);
        added = MulRounded(Times128(s), w);
        factor = MulRounded(AlphaTimes257(s), w);
    });
}

void PaintFineOverFine(uint8_t* dst, uint8_t* dstFractions, const uint8_t* src, const uint8_t* srcFractions, int count)
{
    PaintFineSpan(dst, dstFractions, 4 * count, [=](const auto& load, Wide& added, Wide& factor) {
        const Vec bytes = load(src);
        const Vec fractions = load(srcFractions);
        added = JoinFine(bytes, fractions);
        // The alpha doubled, as 257 times its level: 2·alpha + alpha / 128.
        const Wide alpha = AlphaTimes256(bytes) + AlphaTimes1(Xor(fractions, Splat8(127))) - Splat16(128);
        factor = alpha + ShiftRight<8>(alpha + Splat16(128));
    });
}

}  // namespace kernels::PAINTLAYER_KERNEL_NAMESPACE
