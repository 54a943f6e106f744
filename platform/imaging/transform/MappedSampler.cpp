#include "platform/imaging/transform/MappedSampler.h"

#include "platform/imaging/pages/PageWalk.h"
#include "platform/imaging/transform/ImageScale.h"
#include "platform/imaging/transform/ResampleTaps.h"
#include "platform/imaging/transform/TransformPages.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <stdexcept>

namespace {

constexpr int kBlockSide = 32;  // so that a block's source, turned by any angle, stays in the second-level cache
constexpr int kMaxBoxSide = 192;
constexpr int kMaxSamples = 144;  // of a pixel, both ways: enough for one that lies askew
constexpr int kMaxSamplesOneWay = 32;
constexpr int kSamplesOfAll = 4;  // one way, of a source that is halved until nearly nothing is left

/// Pixels of the result are up to this wide on the source that they are sampled from.
constexpr double kWidestStep = 8;

/// Halvings until `width` is below kWidestStep.
int HalvingsOf(double width, int most)
{
    int halvings = 0;
    for (; width >= kWidestStep && halvings < most; width /= 2)
        ++halvings;
    return halvings;
}

/// A little more than a pixel is left alone: turned images are full of it.
int SamplesOf(double step)
{
    return step > 1.05 ? static_cast<int>(std::min<double>(std::ceil(step), kMaxSamplesOneWay)) : 1;
}

double LengthOf(double x, double y)
{
    return std::sqrt(x * x + y * y);
}

}  // namespace

/// How far a step of one pixel across, and one down, leads in the source.
struct MappedSampler::Steps {
    double acrossX, acrossY;
    double downX, downY;

    // The width and the height of the parallelogram of one pixel, along lines through its middle: what an average over
    // as much of the source's axis can take away.
    double Width() const { return ChordOf(std::max(std::fabs(acrossY), std::fabs(downY))); }
    double Height() const { return ChordOf(std::max(std::fabs(acrossX), std::fabs(downX))); }

    double ChordOf(double side) const
    {
        const double area = std::fabs(acrossX * downY - acrossY * downX);
        return side > 0 ? area / side : 0;
    }
};

MappedSampler::MappedSampler(const ilMIOImage& source, ilSmartImage& target, const PixelMap& map, FilterMethod filter)
    : target_(target), map_(map), filter_(filter), channels_(source.GetNumChannels()), positionsX_(kPagePixels),
      positionsY_(kPagePixels)
{
    const ilTile bounds = source.GetBounds();
    mostHalvings_ = filter == kFilterNearest ? 0 : HalvingsOf(std::max(bounds.nx, bounds.ny), 30);
    levels_.emplace(std::pair(0, 0), MakeLevel(source, nullptr));
}

MappedSampler::Level MappedSampler::MakeLevel(const ilMIOImage& image, qs::Reference<ilSmartImage> made)
{
    constexpr int kBeyond = 4;
    const ilTile bounds = image.GetBounds();
    return {std::move(made), &image,
            ilTileFromEdges(int64_t{bounds.x} - kBeyond, int64_t{bounds.y} - kBeyond, bounds.Right() + kBeyond,
                            bounds.Bottom() + kBeyond)};
}

/// Each from the one before it, so that all together cost a few times the source.
const MappedSampler::Level& MappedSampler::GetLevel(int acrossHalvings, int downHalvings)
{
    const std::pair key(acrossHalvings, downHalvings);
    const auto found = levels_.find(key);
    if (found != levels_.end())
        return found->second;
    const int across = acrossHalvings > 0 ? 1 : 0;
    const int down = downHalvings > 0 ? 1 : 0;
    const Level& larger = GetLevel(acrossHalvings - across, downHalvings - down);
    const auto half = [](int halvings) { return halvings > 0 ? AxisScale{0.5, 0, kFilterArea} : AxisScale{}; };
    qs::Reference<ilSmartImage> made = ScaleImage(*larger.image, half(across), half(down));
    if (!made)
        throw std::length_error("An image is too large, or too far away, to be halved.");
    const ilMIOImage& image = *made;
    return levels_.emplace(key, MakeLevel(image, std::move(made))).first->second;
}

MappedSampler::Steps MappedSampler::StepsAt(int x, int y) const
{
    double u, v, acrossU, acrossV, downU, downV;
    map_.MapPoint(x, y, u, v);
    map_.MapPoint(x + 1, y, acrossU, acrossV);
    map_.MapPoint(x, y + 1, downU, downV);
    return {acrossU - u, acrossV - v, downU - u, downV - v};
}

bool MappedSampler::ChooseSamples(Block& block) const
{
    if (filter_ == kFilterNearest)
        return true;
    // The steps are longest and shortest at the corners of the block.
    Steps corners[4];
    int fewest = INT_MAX;
    int most = 0;
    block.acrossHalvings = block.downHalvings = mostHalvings_;
    for (int i = 0; i < 4; ++i) {
        corners[i] = StepsAt(block.x + (i % 2) * (block.size - 1), block.y + (i / 2) * (block.size - 1));
        const int across = HalvingsOf(corners[i].Width(), mostHalvings_);
        const int down = HalvingsOf(corners[i].Height(), mostHalvings_);
        block.acrossHalvings = std::min(block.acrossHalvings, across);
        block.downHalvings = std::min(block.downHalvings, down);
        fewest = std::min(fewest, across + down);
        most = std::max(most, across + down);
    }
    if (most - fewest > 1 && block.size > 1)
        return false;
    // Where a pixel is a long slanting strip, both ways lead along it: it is halved until its samples suffice.
    for (;;) {
        double acrossStep = 0;
        double downStep = 0;
        for (const Steps& steps : corners) {
            const double x = std::ldexp(1, -block.acrossHalvings), y = std::ldexp(1, -block.downHalvings);
            acrossStep = std::max(acrossStep, LengthOf(steps.acrossX * x, steps.acrossY * y));
            downStep = std::max(downStep, LengthOf(steps.downX * x, steps.downY * y));
        }
        block.acrossSamples = SamplesOf(acrossStep);
        block.downSamples = SamplesOf(downStep);
        if (block.acrossSamples * block.downSamples <= kMaxSamples)
            return true;
        if (block.acrossHalvings == mostHalvings_ && block.downHalvings == mostHalvings_) {
            block.acrossSamples = block.downSamples = kSamplesOfAll;
            return true;
        }
        block.acrossHalvings = std::min(block.acrossHalvings + 1, mostHalvings_);
        block.downHalvings = std::min(block.downHalvings + 1, mostHalvings_);
    }
}

void MappedSampler::SetOrigin(const Block& block, const Level& level)
{
    double x = 0;
    double y = 0;
    map_.MapPoint(block.x + block.size * 0.5, block.y + block.size * 0.5, x, y);
    const auto keep = [](double v, int64_t low, int64_t high) {
        return static_cast<int>(std::floor(std::clamp(v, static_cast<double>(low), static_cast<double>(high))));
    };
    originX_ = keep(std::ldexp(x, -block.acrossHalvings), level.reach.x, level.reach.Right());
    originY_ = keep(std::ldexp(y, -block.downHalvings), level.reach.y, level.reach.Bottom());
}

/// within: pixels of the level that positions are kept in, and the column and row behind them.
void MappedSampler::MapBlock(const Block& block, int sampleX, int sampleY, const ilTile& within)
{
    const double left = block.x + (sampleX + 0.5) / block.acrossSamples;
    const double top = block.y + (sampleY + 0.5) / block.downSamples;
    const int sourceX = originX_ * (1 << block.acrossHalvings);
    const int sourceY = originY_ * (1 << block.downHalvings);
    for (int row = 0; row < block.size; ++row)
        map_.MapRow(left, top + row, block.size, sourceX, sourceY, positionsX_.data() + row * block.size,
                    positionsY_.data() + row * block.size);
    // Interpolation is between the middles of pixels. What is beyond the source's reach may as well lie at its rim.
    const int half = filter_ == kFilterNearest ? 0 : kernels::kSampleUnit / 2;
    const auto keep = [half](int32_t* positions, int count, int halvings, int64_t low, int64_t high) {
        const auto first = static_cast<int32_t>(std::max<int64_t>(low * kernels::kSampleUnit, -(1 << 30)));
        const auto last = static_cast<int32_t>(std::min<int64_t>((high + 1) * kernels::kSampleUnit - 1, 1 << 30));
        for (int i = 0; i < count; ++i)
            positions[i] = std::clamp((positions[i] >> halvings) - half, first, last);
    };
    const int count = block.size * block.size;
    keep(positionsX_.data(), count, block.acrossHalvings, int64_t{within.x} - originX_, within.Right() - originX_);
    keep(positionsY_.data(), count, block.downHalvings, int64_t{within.y} - originY_, within.Bottom() - originY_);
}

ilTile MappedSampler::FindBox(const Block& block, const Level& level)
{
    int32_t left = INT32_MAX, top = INT32_MAX, right = INT32_MIN, bottom = INT32_MIN;
    const int count = block.size * block.size;
    const auto include = [count](const int32_t* positions, int32_t& low, int32_t& high) {
        for (int i = 0; i < count; ++i) {
            low = std::min(low, positions[i]);
            high = std::max(high, positions[i]);
        }
    };
    // The outermost samples of each pixel: those between them lie between them.
    const int acrossStep = std::max(1, block.acrossSamples - 1);
    const int downStep = std::max(1, block.downSamples - 1);
    for (int sy = 0; sy < block.downSamples; sy += downStep)
        for (int sx = 0; sx < block.acrossSamples; sx += acrossStep) {
            MapBlock(block, sx, sy, level.reach);
            include(positionsX_.data(), left, right);
            include(positionsY_.data(), top, bottom);
        }
    constexpr int kShift = kernels::kSampleShift;
    return ilTileFromEdges(int64_t{originX_} + (left >> kShift) - GrowLow(),
                           int64_t{originY_} + (top >> kShift) - GrowLow(),
                           int64_t{originX_} + (right >> kShift) + GrowHigh() + 1,
                           int64_t{originY_} + (bottom >> kShift) + GrowHigh() + 1);
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
    if (!ChooseSamples(block)) {
        const std::optional<uint32_t> value = FindValueAround(block);
        if (value)
            FillBlock(block, *value, pixels);
        else
            MakeQuarters(block, pixels);
        return value;
    }
    const Level* level = &GetLevel(block.acrossHalvings, block.downHalvings);
    SetOrigin(block, *level);
    ilTile box = FindBox(block, *level);
    if (const std::optional<uint32_t> value = FindUniformValue(*level->image, box)) {
        FillBlock(block, *value, pixels);
        return value;
    }
    if (box.nx > kMaxBoxSide || box.ny > kMaxBoxSide) {
        if (block.size > 1) {
            MakeQuarters(block, pixels);
            return std::nullopt;
        }
        // One pixel at the horizon of a perspective, where all of the source may lie: its middle stands for it.
        block.acrossSamples = block.downSamples = 1;
        box = FindBox(block, *level);
    }
    SampleBlock(block, *level, box, pixels);
    return std::nullopt;
}

/// The value of all that lies between the middles of the block's pixels and around them: beyond the horizon of a
/// perspective there is nothing, though places there are as different as can be.
std::optional<uint32_t> MappedSampler::FindValueAround(Block block)
{
    block.acrossHalvings = block.downHalvings = 0;
    const Level& level = GetLevel(0, 0);
    SetOrigin(block, level);
    const ilTile box = FindBox(block, level);
    const int growX = box.nx / (block.size - 1) + 1;
    const int growY = box.ny / (block.size - 1) + 1;
    return FindUniformValue(*level.image, ilTileFromEdges(int64_t{box.x} - growX, int64_t{box.y} - growY,
                                                          box.Right() + growX, box.Bottom() + growY));
}

void MappedSampler::MakeQuarters(const Block& block, uint8_t* pixels)
{
    const int half = block.size / 2;
    for (int quarter = 0; quarter < 4; ++quarter)
        MakeBlock({block.x + (quarter % 2) * half, block.y + (quarter / 2) * half, half}, pixels);
}

void MappedSampler::SampleBlock(const Block& block, const Level& level, const ilTile& box, uint8_t* pixels)
{
    const size_t boxBytes = static_cast<size_t>(box.Area()) * static_cast<size_t>(channels_);
    bytes_.resize(std::max(bytes_.size(), boxBytes));
    floats_.resize(std::max(floats_.size(), boxBytes));
    level.image->ReadTile(box, bytes_.data(), ptrdiff_t{box.nx} * channels_);
    kernels_.bytesToFloats(floats_.data(), bytes_.data(), static_cast<int>(boxBytes));
    const ilTile inside(box.x + GrowLow(), box.y + GrowLow(), box.nx - 1 - GrowLow() - GrowHigh(),
                        box.ny - 1 - GrowLow() - GrowHigh());
    sums_.assign(static_cast<size_t>(block.size * block.size * channels_), 0.0F);
    for (int sy = 0; sy < block.downSamples; ++sy)
        for (int sx = 0; sx < block.acrossSamples; ++sx) {
            if (block.acrossSamples * block.downSamples > 1)  // otherwise they are what the box was found from
                MapBlock(block, sx, sy, inside);
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
