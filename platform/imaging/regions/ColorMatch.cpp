#include "platform/imaging/regions/ColorMatch.h"

#include <algorithm>

namespace {

/// The narrowest range of the bytes that `isLike` holds for; empty (low above high) when there is none.
template <class Test>
void FindRange(uint8_t& low, uint8_t& high, Test&& isLike)
{
    low = 255;
    high = 0;
    for (uint32_t value = 0; value <= 255; ++value)
        if (isLike(value)) {
            low = std::min(low, static_cast<uint8_t>(value));
            high = static_cast<uint8_t>(value);
        }
}

}  // namespace

bool ColorMatch::IsWithin(uint32_t a, uint32_t b, uint32_t scale, uint32_t weight)
{
    return (a > b ? a - b : b - a) <= (scale * weight) >> 16;
}

ColorMatch::ColorMatch(const ilPixel& seed, float tolerance)
    : channels_(seed.GetNumChannels()), isRefused_(!(tolerance >= 0)),
      takesAll_(kernels::WeightFrom(double{tolerance}) == kernels::kFullWeight)
{
    if (isRefused_ || takesAll_)
        return;
    const uint32_t weight = kernels::WeightFrom(double{tolerance}) + 1U;
    const uint32_t alpha = seed.GetAlpha();
    match_.weight = static_cast<uint16_t>(weight);
    match_.seed[3] = static_cast<uint8_t>(alpha);
    FindRange(match_.low[3], match_.high[3],
              [&](uint32_t a) { return IsWithin(a * 255, alpha * 255, 255 * 255, weight); });
    for (int c = 0; c < 3 && channels_ == 4; ++c) {
        match_.seed[c] = static_cast<uint8_t>(std::min<uint32_t>(seed.GetComponent(c), alpha));
        FindRange(match_.low[c], match_.high[c], [&](uint32_t component) {
            return IsWithin(component * alpha, match_.seed[c] * 255U, 255 * alpha, weight);
        });
    }
}

bool ColorMatch::IsLike(uint32_t packed) const
{
    if (takesAll_)
        return true;
    const uint32_t alpha = channels_ == 1 ? packed & 0xFF : packed >> 24;
    if (alpha < match_.low[3] || alpha > match_.high[3])
        return false;
    for (int c = 0; c < 3 && channels_ == 4; ++c) {
        const uint32_t component = std::min(packed >> (8 * c) & 0xFF, alpha);
        if (!IsWithin(component * match_.seed[3], match_.seed[c] * alpha, alpha * match_.seed[3], match_.weight))
            return false;
    }
    return true;
}

void ColorMatch::Match(uint64_t* bits, const uint8_t* pixels, bool opaque, int words) const
{
    const kernels::KernelTable& table = kernels::Get();
    if (takesAll_)
        std::fill(bits, bits + words, ~uint64_t{0});
    else if (channels_ == 1)
        table.matchCoverage(bits, pixels, match_, words);
    else
        (opaque ? table.matchOpaquePixels : table.matchPixels)(bits, pixels, match_, words);
}
