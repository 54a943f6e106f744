#include "platform/imaging/kernels/PixelArithmetic.h"
#include "platform/imaging/kernels/Spans.h"
#include "platform/imaging/kernels/VariantKernels.h"

// The plain loops here are left to the compiler, which makes one instruction a vector of each.

namespace kernels::PAINTLAYER_KERNEL_NAMESPACE {

void ScalePixels(uint8_t* dst, const uint8_t* src, Weight colorWeight, Weight alphaWeight, int count)
{
    // As MulFactors() has it: never above alphaWeight, so colour stays within alpha.
    const auto color = static_cast<uint16_t>(((uint32_t{colorWeight} * alphaWeight) >> 16) + 1);
    const uint16_t lanes[4] = {color, color, color, alphaWeight};
    const Wide weights = SplatPixel(lanes);
    ForSpans(dst, src, 4 * count,
             [=](const Vec&, const Vec& s) { return RoundToBytes(MulHigh(Times256(s), weights)); });
}

void Invert(uint8_t* dst, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        dst[i] = static_cast<uint8_t>(~dst[i]);
}

void InvertColor(uint8_t* dst, int count)
{
    const uint16_t lanes[4] = {0, 0, 0, 255};
    const Vec alphaBytes = Narrow(SplatPixel(lanes));
    ForSpan(dst, 4 * count, [=](const Vec& d) { return Or(SubSaturating(PixelAlpha(d), d), And(d, alphaBytes)); });
}

void Maximum(uint8_t* dst, const uint8_t* src, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        dst[i] = dst[i] > src[i] ? dst[i] : src[i];
}

void FoldWords(const uint8_t* bytes, int byteCount, uint32_t* andOfAll, uint32_t* orOfAll)
{
    Vec all = Splat8(255);
    Vec any = Splat8(0);
    for (int i = 0; i < byteCount; i += kVecBytes) {
        const Vec v = Load(bytes + i);
        all = And(all, v);
        any = Or(any, v);
    }
    uint8_t allBytes[kVecBytes];
    uint8_t anyBytes[kVecBytes];
    Store(allBytes, all);
    Store(anyBytes, any);
    *andOfAll = ~uint32_t{0};
    *orOfAll = 0;
    for (int i = 0; i < kVecBytes; i += 4) {
        uint32_t word = 0;
        std::memcpy(&word, allBytes + i, sizeof word);
        *andOfAll &= word;
        std::memcpy(&word, anyBytes + i, sizeof word);
        *orOfAll |= word;
    }
}

}  // namespace kernels::PAINTLAYER_KERNEL_NAMESPACE
