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

/// Over it what was composed finer than bytes, kept within one.
PAINTLAYER_KERNEL_INLINE Wide FineOverFine(const Wide& below, const Vec& bytes, const Vec& fractions)
{
    // The alpha doubled, as 257 times its level: 2·alpha + alpha / 128.
    const Wide alpha = AlphaTimes256(bytes) + AlphaTimes1(Xor(fractions, Splat8(127))) - Splat16(128);
    const Wide factor = alpha + ShiftRight<8>(alpha + Splat16(128));
    return MinOf(below - MulRounded(below, factor) + JoinFine(bytes, fractions), Splat16(kOne));
}

/// The rows that are composed: see Kernels.h.
struct FineRows {
    uint8_t* dst;
    uint8_t* dstFractions;
    const uint8_t* const* sources;
    const uint8_t* fractions;
    const uint8_t* topFractions;
};

template <int Count>
PAINTLAYER_KERNEL_INLINE void ComposeFineVec(const FineRows& rows, int i)
{
    Wide sum = Times128(Load(rows.sources[0] + i));
    if (rows.fractions != nullptr)
        sum = JoinFine(Load(rows.sources[0] + i), Load(rows.fractions + i));
    for (int k = 1; k < Count - 1; ++k)
        sum = FineOver(sum, Load(rows.sources[k] + i));
    if constexpr (Count > 1) {
        const Vec top = Load(rows.sources[Count - 1] + i);
        sum = rows.topFractions != nullptr ? FineOverFine(sum, top, Load(rows.topFractions + i)) : FineOver(sum, top);
    }
    StoreFine(rows.dst + i, rows.dstFractions != nullptr ? rows.dstFractions + i : nullptr, sum);
}

template <int Count>
void ComposeFineSpan(const FineRows& rows, int bytes)
{
    int i = 0;
    if (bytes >= kPrefetchFromBytes)
        for (; i + kCacheLineBytes <= bytes; i += kCacheLineBytes) {
            for (int k = 0; k < Count; ++k)
                __builtin_prefetch(rows.sources[k] + i + kPrefetchAheadBytes);
            for (int part = i; part < i + kCacheLineBytes; part += kVecBytes)
                ComposeFineVec<Count>(rows, part);
        }
    for (; i + kVecBytes <= bytes; i += kVecBytes)
        ComposeFineVec<Count>(rows, i);
    if (i == bytes)
        return;
    uint8_t parts[Count][kVecBytes];
    const uint8_t* partSources[Count];
    for (int k = 0; k < Count; ++k) {
        Store(parts[k], LoadPart(rows.sources[k] + i, bytes - i));
        partSources[k] = parts[k];
    }
    uint8_t fractions[2][kVecBytes];
    const auto partOf = [&](const uint8_t* from, uint8_t* part) -> const uint8_t* {
        if (from == nullptr)
            return nullptr;
        Store(part, LoadPart(from + i, bytes - i));
        return part;
    };
    uint8_t result[kVecBytes], resultFractions[kVecBytes];
    ComposeFineVec<Count>({result, resultFractions, partSources, partOf(rows.fractions, fractions[0]),
                           partOf(rows.topFractions, fractions[1])},
                          0);
    StorePart(rows.dst + i, Load(result), bytes - i);
    if (rows.dstFractions != nullptr)
        StorePart(rows.dstFractions + i, Load(resultFractions), bytes - i);
}

}  // namespace

void ComposeFine(uint8_t* dst, uint8_t* dstFractions, const uint8_t* const* sources, const uint8_t* fractions,
                 const uint8_t* topFractions, int sourceCount, int count)
{
    static_assert(kMostSourcesComposedFine == 8);
    const FineRows rows{dst, dstFractions, sources, fractions, topFractions};
    switch (sourceCount) {
    case 1: return ComposeFineSpan<1>(rows, 4 * count);
    case 2: return ComposeFineSpan<2>(rows, 4 * count);
    case 3: return ComposeFineSpan<3>(rows, 4 * count);
    case 4: return ComposeFineSpan<4>(rows, 4 * count);
    case 5: return ComposeFineSpan<5>(rows, 4 * count);
    case 6: return ComposeFineSpan<6>(rows, 4 * count);
    case 7: return ComposeFineSpan<7>(rows, 4 * count);
    default: return ComposeFineSpan<8>(rows, 4 * count);
    }
}

void PaintFineWeighted(uint8_t* dst, uint8_t* dstFractions, const uint8_t* src, Weight weight, int count)
{
    const int bytes = 4 * count;
    const Wide w = Splat16(weight);
    for (int i = 0; i < bytes; i += kVecBytes) {
        const bool isWhole = bytes - i >= kVecBytes;
        const auto load = [=](const uint8_t* p) { return isWhole ? Load(p + i) : LoadPart(p + i, bytes - i); };
        const Wide below = JoinFine(load(dst), load(dstFractions));
        const Vec s = load(src);
        const Wide factor = MulRounded(AlphaTimes257(s), w);
        const Wide sum = MinOf(below - MulRounded(below, factor) + MulRounded(Times128(s), w), Splat16(kOne));
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

}  // namespace kernels::PAINTLAYER_KERNEL_NAMESPACE
