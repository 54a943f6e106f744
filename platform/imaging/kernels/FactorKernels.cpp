#include "platform/imaging/kernels/BlendFactor.h"
#include "platform/imaging/kernels/VariantKernels.h"

namespace kernels::PAINTLAYER_KERNEL_NAMESPACE {

namespace {

/// A blend factor as a sum that needs no branch: one + destination·D + destinationAlpha·Da + sourceAlpha·Sa.
struct Factor {
    float one, destination, destinationAlpha, sourceAlpha;  // the last three are per level
};

Factor FactorOf(int blendFactor)
{
    constexpr float kLevel = 1.0F / 255;
    switch (blendFactor) {
    case kFactorOne: return {1, 0, 0, 0};
    case kFactorDestinationColor: return {0, kLevel, 0, 0};
    case kFactorOneMinusDestinationColor: return {1, -kLevel, 0, 0};
    case kFactorDestinationAlpha: return {0, 0, kLevel, 0};
    case kFactorOneMinusDestinationAlpha: return {1, 0, -kLevel, 0};
    case kFactorSourceAlpha: return {0, 0, 0, kLevel};
    case kFactorOneMinusSourceAlpha: return {1, 0, 0, -kLevel};
    default: return {0, 0, 0, 0};
    }
}

template <int kChannels>
void BlendWith(uint8_t* dst, const uint8_t* src, float weight, const Factor& sourceFactor,
               const Factor& destinationFactor, int count)
{
    for (int x = 0; x < count; ++x, dst += kChannels, src += kChannels) {
        const float sourceAlpha = weight * static_cast<float>(src[kChannels - 1]);
        const auto destinationAlpha = static_cast<float>(dst[kChannels - 1]);
        const auto valueOf = [=](const Factor& f, float destination) {
            return f.one + f.destination * destination + f.destinationAlpha * destinationAlpha +
                   f.sourceAlpha * sourceAlpha;
        };
        for (int c = 0; c < kChannels; ++c) {
            const float s = weight * static_cast<float>(src[c]);
            const auto d = static_cast<float>(dst[c]);
            const float sum = valueOf(sourceFactor, d) * s + valueOf(destinationFactor, d) * d + 0.5F;
            const float clamped = sum < 0.0F ? 0.0F : (sum > 255.0F ? 255.0F : sum);
            dst[c] = static_cast<uint8_t>(static_cast<int>(clamped));
        }
    }
}

}  // namespace

void BlendFactors(uint8_t* dst, const uint8_t* src, Weight weight, int channels, int sourceFactor,
                  int destinationFactor, int count)
{
    // Painting over and erasing have kernels of their own: whoever comes this way gets the same bytes.
    if (destinationFactor == kFactorOneMinusSourceAlpha && sourceFactor == kFactorOne)
        return channels == 1 ? PaintOverWeighted1(dst, src, weight, count) : PaintOverWeighted(dst, src, weight, count);
    if (destinationFactor == kFactorOneMinusSourceAlpha && sourceFactor == kFactorZero)
        return channels == 1 ? EraseWeighted1(dst, src, weight, count) : EraseWeighted(dst, src, weight, count);

    const float w = static_cast<float>(weight) / kFullWeight;
    const Factor forSource = FactorOf(sourceFactor);
    const Factor forDestination = FactorOf(destinationFactor);
    if (channels == 1)
        BlendWith<1>(dst, src, w, forSource, forDestination, count);
    else
        BlendWith<4>(dst, src, w, forSource, forDestination, count);
}

}  // namespace kernels::PAINTLAYER_KERNEL_NAMESPACE
