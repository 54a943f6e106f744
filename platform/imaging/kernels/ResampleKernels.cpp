#include "platform/imaging/kernels/Simd.h"
#include "platform/imaging/kernels/VariantKernels.h"

// One pixel of four channels is one vector of four floats, with the compilers' vector extension: the same few
// instructions everywhere. Only + - * are used, in one order, so that every variant gives the same bytes.

namespace kernels::PAINTLAYER_KERNEL_NAMESPACE {

namespace {

using Four [[gnu::vector_size(16)]] = float;
using FourInts [[gnu::vector_size(16)]] = int32_t;
using FourBytes [[gnu::vector_size(4)]] = uint8_t;

template <typename Pixel>
inline constexpr int kChannelsOf = sizeof(Pixel) / sizeof(float);

template <typename Pixel>
PAINTLAYER_KERNEL_INLINE Pixel PixelAt(const float* p)
{
    Pixel pixel;
    std::memcpy(&pixel, p, sizeof pixel);
    return pixel;
}

template <typename Pixel>
PAINTLAYER_KERNEL_INLINE void AddTo(float* p, const Pixel& value)
{
    const Pixel sum = PixelAt<Pixel>(p) + value;
    std::memcpy(p, &sum, sizeof sum);
}

template <typename Pixel>
PAINTLAYER_KERNEL_INLINE void FilterPixels(float* dst, const float* src, const int32_t* firsts, const float* weights,
                                           int tapCount, int count)
{
    for (int i = 0; i < count; ++i, weights += tapCount) {
        const float* p = src + ptrdiff_t{firsts[i]} * kChannelsOf<Pixel>;
        Pixel sum = PixelAt<Pixel>(p) * weights[0];
        for (int k = 1; k < tapCount; ++k)
            sum += PixelAt<Pixel>(p + k * kChannelsOf<Pixel>) * weights[k];
        std::memcpy(dst + i * kChannelsOf<Pixel>, &sum, sizeof sum);
    }
}

template <typename Pixel>
PAINTLAYER_KERNEL_INLINE void BilinearPixels(float* sums, const SampleSource& source, const int32_t* x,
                                             const int32_t* y, int count)
{
    constexpr int kChannels = kChannelsOf<Pixel>;
    constexpr float kPerUnit = 1.0F / kSampleUnit;
    for (int i = 0; i < count; ++i) {
        const float* p =
            source.pixels + (y[i] >> kSampleShift) * source.stride + ptrdiff_t{x[i] >> kSampleShift} * kChannels;
        const float fx = static_cast<float>(x[i] & (kSampleUnit - 1)) * kPerUnit;
        const float fy = static_cast<float>(y[i] & (kSampleUnit - 1)) * kPerUnit;
        const auto row = [fx](const float* q) {
            const Pixel left = PixelAt<Pixel>(q);
            return left + (PixelAt<Pixel>(q + kChannels) - left) * fx;
        };
        const Pixel top = row(p);
        AddTo<Pixel>(sums + i * kChannels, top + (row(p + source.stride) - top) * fy);
    }
}

template <typename Pixel>
PAINTLAYER_KERNEL_INLINE void BicubicPixels(float* sums, const SampleSource& source, const int32_t* x, const int32_t* y,
                                            int count)
{
    constexpr int kChannels = kChannelsOf<Pixel>;
    for (int i = 0; i < count; ++i) {
        const float* p = source.pixels + ((y[i] >> kSampleShift) - 1) * source.stride +
                         ptrdiff_t{(x[i] >> kSampleShift) - 1} * kChannels;
        const float* wx = source.bicubicWeights[x[i] & (kSampleUnit - 1)];
        const float* wy = source.bicubicWeights[y[i] & (kSampleUnit - 1)];
        const auto row = [wx](const float* q) {
            return PixelAt<Pixel>(q) * wx[0] + PixelAt<Pixel>(q + kChannels) * wx[1] +
                   PixelAt<Pixel>(q + 2 * kChannels) * wx[2] + PixelAt<Pixel>(q + 3 * kChannels) * wx[3];
        };
        const Pixel value = row(p) * wy[0] + row(p + source.stride) * wy[1] + row(p + 2 * source.stride) * wy[2] +
                            row(p + 3 * source.stride) * wy[3];
        AddTo<Pixel>(sums + i * kChannels, value);
    }
}

}  // namespace

void BytesToFloats(float* dst, const uint8_t* src, int count)
{
    for (int i = 0; i < count; ++i)
        dst[i] = static_cast<float>(src[i]);
}

void FloatsToCoverage(uint8_t* dst, const float* src, float scale, int count)
{
    for (int i = 0; i < count; ++i) {
        float value = src[i] * scale + 0.5F;
        value = value > 0 ? value : 0;
        value = value < 255.5F ? value : 255.5F;
        dst[i] = static_cast<uint8_t>(static_cast<int32_t>(value));
    }
}

void FloatsToPixels(uint8_t* dst, const float* src, float scale, int count)
{
    const Four half = {0.5F, 0.5F, 0.5F, 0.5F};
    const Four zero = {0, 0, 0, 0};
    const Four most = {255.5F, 255.5F, 255.5F, 255.5F};
    for (int i = 0; i < count; ++i) {
        Four value = PixelAt<Four>(src + 4 * i) * scale + half;
        value = value > zero ? value : zero;
        Four alpha = {value[3], value[3], value[3], value[3]};
        alpha = alpha < most ? alpha : most;
        value = value < alpha ? value : alpha;
        const FourBytes bytes = __builtin_convertvector(__builtin_convertvector(value, FourInts), FourBytes);
        std::memcpy(dst + 4 * i, &bytes, 4);
    }
}

void AddWeighted(float* sums, const float* src, float weight, int count)
{
    for (int i = 0; i < count; ++i)
        sums[i] += src[i] * weight;
}

void FilterRow(float* dst, const float* src, const int32_t* firsts, const float* weights, int tapCount, int channels,
               int count)
{
    if (channels == 4)
        FilterPixels<Four>(dst, src, firsts, weights, tapCount, count);
    else
        FilterPixels<float>(dst, src, firsts, weights, tapCount, count);
}

void SampleBilinear(float* sums, const SampleSource& source, const int32_t* x, const int32_t* y, int count)
{
    if (source.channels == 4)
        BilinearPixels<Four>(sums, source, x, y, count);
    else
        BilinearPixels<float>(sums, source, x, y, count);
}

void SampleBicubic(float* sums, const SampleSource& source, const int32_t* x, const int32_t* y, int count)
{
    if (source.channels == 4)
        BicubicPixels<Four>(sums, source, x, y, count);
    else
        BicubicPixels<float>(sums, source, x, y, count);
}

}  // namespace kernels::PAINTLAYER_KERNEL_NAMESPACE
