#include "platform/imaging/MappedSampler.h"

#include "platform/imaging/PageWalk.h"
#include "platform/imaging/ResampleTaps.h"
#include "platform/imaging/TransformPages.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

constexpr int kBlockSide = 32;  // so that a block's source, turned by any angle, stays in the second-level cache
constexpr int kMaxBoxSide = 128;
constexpr int kMaxSamples = 32;  // per axis

}  // namespace

MappedSampler::MappedSampler(const ilMIOImage& source, ilSmartImage& target, const PixelMap& map, FilterMethod filter)
    : source_(source), target_(target), map_(map), filter_(filter), channels_(source.GetNumChannels()),
      positionsX_(kPagePixels), positionsY_(kPagePixels)
{
    constexpr int kBeyond = 4;
    const ilTile bounds = source.GetBounds();
    reach_ = ilTileFromEdges(int64_t{bounds.x} - kBeyond, int64_t{bounds.y} - kBeyond, bounds.Right() + kBeyond,
                             bounds.Bottom() + kBeyond);
}

void MappedSampler::SetOrigin(const Block& block)
{
    double x = 0;
    double y = 0;
    map_.MapPoint(block.x + block.size * 0.5, block.y + block.size * 0.5, x, y);
    const auto keep = [](double v, int64_t low, int64_t high) {
        return static_cast<int>(std::floor(std::clamp(v, static_cast<double>(low), static_cast<double>(high))));
    };
    originX_ = keep(x, reach_.x, reach_.Right());
    originY_ = keep(y, reach_.y, reach_.Bottom());
}

void MappedSampler::MapBlock(const Block& block, int sampleX, int sampleY)
{
    const double left = block.x + (sampleX + 0.5) / block.acrossSamples;
    const double top = block.y + (sampleY + 0.5) / block.downSamples;
    for (int row = 0; row < block.size; ++row)
        map_.MapRow(left, top + row, block.size, originX_, originY_, positionsX_.data() + row * block.size,
                    positionsY_.data() + row * block.size);
    // Interpolation is between the middles of pixels. What is beyond the source's reach may as well lie at its rim.
    const int half = filter_ == kFilterNearest ? 0 : kernels::kSampleUnit / 2;
    const auto keep = [half](int32_t* positions, int count, int64_t low, int64_t high) {
        const auto first = static_cast<int32_t>(std::max<int64_t>(low * kernels::kSampleUnit, -(1 << 30)));
        const auto last = static_cast<int32_t>(std::min<int64_t>(high * kernels::kSampleUnit, 1 << 30));
        for (int i = 0; i < count; ++i)
            positions[i] = std::clamp(positions[i] - half, first, last);
    };
    const int count = block.size * block.size;
    keep(positionsX_.data(), count, int64_t{reach_.x} - originX_, reach_.Right() - originX_);
    keep(positionsY_.data(), count, int64_t{reach_.y} - originY_, reach_.Bottom() - originY_);
}

void MappedSampler::CountSamples(Block& block)
{
    if (filter_ == kFilterNearest)
        return;
    // The longest step that a pixel's width or height makes in the source, at the corners of the block. A little more
    // than a pixel is left alone: turned images are full of it.
    const auto samplesOf = [](double step) {
        return step > 1.05 ? static_cast<int>(std::min<double>(std::ceil(step), kMaxSamples)) : 1;
    };
    double acrossStep = 0;
    double downStep = 0;
    for (int corner = 0; corner < 4; ++corner) {
        const double x = block.x + (corner % 2) * (block.size - 1);
        const double y = block.y + (corner / 2) * (block.size - 1);
        double u, v, acrossU, acrossV, downU, downV;
        map_.MapPoint(x, y, u, v);
        map_.MapPoint(x + 1, y, acrossU, acrossV);
        map_.MapPoint(x, y + 1, downU, downV);
        const auto length = [](double a, double b) { return std::sqrt(a * a + b * b); };
        acrossStep = std::max(acrossStep, length(acrossU - u, acrossV - v));
        downStep = std::max(downStep, length(downU - u, downV - v));
    }
    block.acrossSamples = samplesOf(acrossStep);
    block.downSamples = samplesOf(downStep);
}

ilTile MappedSampler::FindBox(const Block& block)
{
    const int growLow = filter_ == kFilterBicubic ? 1 : 0;
    const int growHigh = filter_ == kFilterBicubic ? 2 : filter_ == kFilterBilinear ? 1 : 0;
    int32_t left = INT32_MAX, top = INT32_MAX, right = INT32_MIN, bottom = INT32_MIN;
    const int count = block.size * block.size;
    const auto include = [count](const int32_t* positions, int32_t& low, int32_t& high) {
        for (int i = 0; i < count; ++i) {
            low = std::min(low, positions[i]);
            high = std::max(high, positions[i]);
        }
    };
    for (int sy = 0; sy < block.downSamples; ++sy)
        for (int sx = 0; sx < block.acrossSamples; ++sx) {
            MapBlock(block, sx, sy);
            include(positionsX_.data(), left, right);
            include(positionsY_.data(), top, bottom);
        }
    constexpr int kShift = kernels::kSampleShift;
    return ilTileFromEdges(
        int64_t{originX_} + (left >> kShift) - growLow, int64_t{originY_} + (top >> kShift) - growLow,
        int64_t{originX_} + (right >> kShift) + growHigh + 1, int64_t{originY_} + (bottom >> kShift) + growHigh + 1);
}

void MappedSampler::MakePage(int px, int py)
{
    alignas(64) uint8_t pixels[kPagePixels * 4];
    bool isUniform = true;
    std::optional<uint32_t> common;
    for (int y = 0; y < kPageSize; y += kBlockSide)
        for (int x = 0; x < kPageSize; x += kBlockSide) {
            const std::optional<uint32_t> value =
                MakeBlock({px * kPageSize + x, py * kPageSize + y, kBlockSide}, pixels);
            isUniform = isUniform && value && (!common || *common == *value);
            common = value;
        }
    if (isUniform) {
        target_.SetPageUniform(px, py, *common);
        return;
    }
    const PageWriter writer(target_.PageForOverwriting(px, py));
    std::memcpy(writer.GetBytes(), pixels, static_cast<size_t>(kPagePixels * channels_));
}

std::optional<uint32_t> MappedSampler::MakeBlock(Block block, uint8_t* pixels)
{
    SetOrigin(block);
    CountSamples(block);
    ilTile box = FindBox(block);
    if (const std::optional<uint32_t> value = FindUniformValue(source_, box)) {
        FillBlock(block, *value, pixels);
        return value;
    }
    if (box.nx > kMaxBoxSide || box.ny > kMaxBoxSide) {
        if (block.size > 1) {
            const int half = block.size / 2;
            for (int quarter = 0; quarter < 4; ++quarter)
                MakeBlock({block.x + (quarter % 2) * half, block.y + (quarter / 2) * half, half}, pixels);
            return std::nullopt;
        }
        // One pixel of more than this many of the source: its middle stands for it.
        block.acrossSamples = block.downSamples = 1;
        box = FindBox(block);
    }
    SampleBlock(block, box, pixels);
    return std::nullopt;
}

void MappedSampler::SampleBlock(const Block& block, const ilTile& box, uint8_t* pixels)
{
    const size_t boxBytes = static_cast<size_t>(box.Area()) * static_cast<size_t>(channels_);
    bytes_.resize(std::max(bytes_.size(), boxBytes));
    floats_.resize(std::max(floats_.size(), boxBytes));
    source_.ReadTile(box, bytes_.data(), ptrdiff_t{box.nx} * channels_);
    kernels_.bytesToFloats(floats_.data(), bytes_.data(), static_cast<int>(boxBytes));
    sums_.assign(static_cast<size_t>(block.size * block.size * channels_), 0.0F);
    for (int sy = 0; sy < block.downSamples; ++sy)
        for (int sx = 0; sx < block.acrossSamples; ++sx) {
            if (block.acrossSamples * block.downSamples > 1)  // otherwise they are what the box was found from
                MapBlock(block, sx, sy);
            AddSamples(block, box);
        }
    const auto store = channels_ == 4 ? kernels_.floatsToPixels : kernels_.floatsToCoverage;
    const float scale = 1.0F / static_cast<float>(block.acrossSamples * block.downSamples);
    for (int row = 0; row < block.size; ++row)
        store(pixels + (PageOffsetOf(block.y + row) * kPageSize + PageOffsetOf(block.x)) * channels_,
              sums_.data() + row * block.size * channels_, scale, block.size);
}

void MappedSampler::AddSamples(const Block& block, const ilTile& box)
{
    const ptrdiff_t stride = ptrdiff_t{box.nx} * channels_;
    const float* origin = floats_.data() + (originY_ - box.y) * stride + ptrdiff_t{originX_ - box.x} * channels_;
    const int count = block.size * block.size;
    if (filter_ == kFilterNearest) {
        for (int i = 0; i < count; ++i)
            std::memcpy(sums_.data() + i * channels_,
                        origin + (positionsY_[static_cast<size_t>(i)] >> kernels::kSampleShift) * stride +
                            ptrdiff_t{positionsX_[static_cast<size_t>(i)] >> kernels::kSampleShift} * channels_,
                        sizeof(float) * static_cast<size_t>(channels_));
        return;
    }
    const kernels::SampleSource source{origin, stride, channels_, GetBicubicWeights()};
    const auto sample = filter_ == kFilterBicubic ? kernels_.sampleBicubic : kernels_.sampleBilinear;
    sample(sums_.data(), source, positionsX_.data(), positionsY_.data(), count);
}

void MappedSampler::FillBlock(const Block& block, uint32_t value, uint8_t* pixels) const
{
    for (int row = 0; row < block.size; ++row) {
        uint8_t* out = pixels + (PageOffsetOf(block.y + row) * kPageSize + PageOffsetOf(block.x)) * channels_;
        for (int x = 0; x < block.size; ++x)
            std::memcpy(out + x * channels_, &value, static_cast<size_t>(channels_));
    }
}
