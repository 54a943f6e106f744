#include "platform/imaging/kernels/Simd.h"
#include "platform/imaging/kernels/VariantKernels.h"

namespace kernels::PAINTLAYER_KERNEL_NAMESPACE {

namespace {

/// Four bytes repeated for every pixel.
PAINTLAYER_KERNEL_INLINE Vec SplatBytes(const uint8_t bytes[4])
{
    const uint16_t lanes[4] = {bytes[0], bytes[1], bytes[2], bytes[3]};
    return Narrow(SplatPixel(lanes));
}

/// How far each byte lies outside its range.
PAINTLAYER_KERNEL_INLINE Vec OutsideOf(const Vec& v, const Vec& low, const Vec& high)
{
    return Or(SubSaturating(low, v), SubSaturating(v, high));
}

/// One word of bits for every 64 pixels; `excess` is zero where a pixel is like the seed.
template <typename Excess>
PAINTLAYER_KERNEL_INLINE void MatchWords(uint64_t* bits, const uint8_t* pixels, int words, Excess excess)
{
    for (int word = 0; word < words; ++word, pixels += 256) {
        uint64_t like = 0;
        for (int x = 0; x < 64; x += kVecPixels)
            like |= ZeroPixelBits(excess(Load(pixels + 4 * x))) << x;
        bits[word] = like;
    }
}

}  // namespace

void MatchPixels(uint64_t* bits, const uint8_t* pixels, const PixelMatch& match, int words)
{
    const uint8_t lowAlpha[4] = {0, 0, 0, match.low[3]};
    const uint8_t highAlpha[4] = {255, 255, 255, match.high[3]};
    const Vec low = SplatBytes(lowAlpha), high = SplatBytes(highAlpha);
    const Wide seed = Times1(SplatBytes(match.seed));
    const Wide seedAlpha = Splat16(match.seed[3]), weight = Splat16(match.weight), byteMax = Splat16(255);
    MatchWords(bits, pixels, words, [=](const Vec& v) {
        const Wide alpha = AlphaTimes1(v);
        const Wide own = MulLow(Times1(Min(v, PixelAlpha(v))), seedAlpha);  // no colour where nothing is
        const Wide seeds = MulLow(seed, alpha);
        const Wide difference = SubSaturating(own, seeds) + SubSaturating(seeds, own);  // one of them is 0
        const Wide excess = SubSaturating(difference, MulHigh(MulLow(alpha, seedAlpha), weight));
        return Or(OutsideOf(v, low, high), Narrow(MinOf(excess, byteMax)));
    });
}

void MatchOpaquePixels(uint64_t* bits, const uint8_t* pixels, const PixelMatch& match, int words)
{
    const Vec low = SplatBytes(match.low), high = SplatBytes(match.high);
    MatchWords(bits, pixels, words, [=](const Vec& v) { return OutsideOf(v, low, high); });
}

void MatchCoverage(uint64_t* bits, const uint8_t* coverage, const PixelMatch& match, int words)
{
    const Vec low = Splat8(match.low[3]), high = Splat8(match.high[3]);
    for (int word = 0; word < words; ++word, coverage += 64) {
        uint64_t like = 0;
        for (int x = 0; x < 64; x += kVecBytes)
            like |= ZeroByteBits(OutsideOf(Load(coverage + x), low, high)) << x;
        bits[word] = like;
    }
}

}  // namespace kernels::PAINTLAYER_KERNEL_NAMESPACE
