#include "platform/imaging/stamps/MaskStampRasterizer.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace {

constexpr int kFractionBits = 32;
constexpr int64_t kHalf = int64_t{1} << (kFractionBits - 1);
constexpr int kMaxSamples = 8;  // per pixel and axis

/// Bilinear samples lie at most so many pixels of the mask apart, and a level with half the pixels is taken from so
/// many on: both keep detail, at the price of a little aliasing.
constexpr double kWidestStep = 1.4;
constexpr double kCoarserFrom = 1.5;

constexpr double kOne = 4294967296.0;

int64_t ToFixed(double value)
{
    return std::llround(value * kOne);
}

/// The map from pixels of the stamp to pixels of one level of the mask, and how the level is sampled.
struct Sampling {
    const StampMask::Level* level = nullptr;
    int samples = 1;  // per pixel and axis
    double uPerX = 0;  // pixels of the level by pixels of the stamp
    double vPerX = 0;
    double uPerY = 0;
    double vPerY = 0;
    double width = 0;  // the image's size in pixels of the level
    double height = 0;
    double samplesPerU = 0;  // samples by pixels of the level, along each of its axes
    double samplesPerV = 0;
};

/// The level is one whose pixels are about as wide as the stamp's along the axis that is reduced least; the rest of the
/// reduction is left to several samples a pixel.
Sampling ChooseSampling(const StampMask& mask, const StampForm& form)
{
    const double side = std::max(mask.GetWidth(), mask.GetHeight());
    double along = side / (2 * form.along);
    double across = side / (2 * form.across);
    int index = 0;
    while (index + 1 < mask.GetLevelCount() &&
           (std::min(along, across) >= kCoarserFrom || std::max(along, across) > kMaxSamples)) {
        ++index;
        along /= 2;
        across /= 2;
    }

    Sampling sampling;
    sampling.level = &mask.GetLevel(index);
    while (sampling.samples < kMaxSamples && std::max(along, across) > kWidestStep * sampling.samples)
        sampling.samples *= 2;
    const StampDirection direction(form.rotation);
    sampling.uPerX = direction.cosine * along;
    sampling.uPerY = direction.sine * along;
    sampling.vPerX = -direction.sine * across;
    sampling.vPerY = direction.cosine * across;
    sampling.width = std::ldexp(mask.GetWidth(), -index);
    sampling.height = std::ldexp(mask.GetHeight(), -index);
    sampling.samplesPerU = sampling.samples / along;
    sampling.samplesPerV = sampling.samples / across;
    return sampling;
}

/// Samples of a row that have a property: [first, last).
struct SampleRange {
    int first = 0;
    int last = 0;
};

/// The samples of `count` that lie in [low, high), the first at `start` and each `step` from the one before.
SampleRange FindSamples(int64_t start, int64_t step, int64_t low, int64_t high, int count)
{
    if (step == 0)
        return start >= low && start < high ? SampleRange{0, count} : SampleRange{};
    if (step < 0)
        return FindSamples(-start, -step, -high + 1, -low + 1, count);
    const auto firstFrom = [&](int64_t place) {
        const int64_t distance = place - start;
        return distance <= 0 ? 0 : static_cast<int>(std::min<int64_t>((distance - 1) / step + 1, count));
    };
    return {firstFrom(low), firstFrom(high)};
}

SampleRange Common(const SampleRange& a, const SampleRange& b)
{
    const int first = std::max(a.first, b.first);
    return {first, std::max(first, std::min(a.last, b.last))};
}

/// Where a row of samples starts in a level, from its corner, and how it goes on; fixed point.
struct SampleLine {
    int64_t u, v;
    int64_t uStep, vStep;
    int count;
};

/// Reads samples of a level, 0 to 255·256: bilinear between its pixels, times the share of the sample within the image.
class LevelSampler {
public:
    explicit LevelSampler(const Sampling& sampling)
        : level_(*sampling.level), width_(sampling.width), height_(sampling.height), perU_(sampling.samplesPerU),
          perV_(sampling.samplesPerV)
    {}

    void Read(const SampleLine& line, uint16_t* out) const
    {
        const double edgeU = 0.5 / perU_;
        const double edgeV = 0.5 / perV_;
        // Samples touch the image within these, and have all of themselves and their four pixels within those.
        const SampleRange touching = Find(line, -edgeU, -edgeV);
        const SampleRange inside = Common(touching, Find(line, std::max(edgeU, 0.5), std::max(edgeV, 0.5)));
        std::fill(out, out + touching.first, uint16_t{0});
        ReadAtEdge(line, {touching.first, inside.first}, out);
        ReadInside(line, inside, out);
        ReadAtEdge(line, {inside.last, touching.last}, out);
        std::fill(out + touching.last, out + line.count, uint16_t{0});
    }

private:
    SampleRange Find(const SampleLine& line, double marginU, double marginV) const
    {
        return Common(FindSamples(line.u, line.uStep, ToFixed(marginU), ToFixed(width_ - marginU), line.count),
                      FindSamples(line.v, line.vStep, ToFixed(marginV), ToFixed(height_ - marginV), line.count));
    }

    void ReadInside(const SampleLine& line, const SampleRange& range, uint16_t* out) const
    {
        int64_t u = line.u + range.first * line.uStep - kHalf;
        int64_t v = line.v + range.first * line.vStep - kHalf;
        for (int i = range.first; i < range.last; ++i, u += line.uStep, v += line.vStep) {
            const uint8_t* upper = level_.GetRow(WholePart(v)) + WholePart(u);
            out[i] = Blend(upper, upper + level_.width, 0, 1, u, v);
        }
    }

    void ReadAtEdge(const SampleLine& line, const SampleRange& range, uint16_t* out) const
    {
        for (int i = range.first; i < range.last; ++i) {
            const int64_t u = line.u + i * line.uStep;
            const int64_t v = line.v + i * line.vStep;
            const double share = ShareWithin(u, width_, perU_) * ShareWithin(v, height_, perV_);
            out[i] = static_cast<uint16_t>(InterpolateAtEdge(u - kHalf, v - kHalf) * std::max(share, 0.0) + 0.5);
        }
    }

    static double ShareWithin(int64_t position, double size, double perUnit)
    {
        const double place = static_cast<double>(position) / kOne;
        const double fromStart = std::clamp(place * perUnit + 0.5, 0.0, 1.0);
        const double fromEnd = std::clamp((size - place) * perUnit + 0.5, 0.0, 1.0);
        return fromStart + fromEnd - 1;
    }

    /// u, v: from the centre of the level's first pixel.
    uint16_t InterpolateAtEdge(int64_t u, int64_t v) const
    {
        const int x = WholePart(u);
        const int y = WholePart(v);
        return Blend(level_.GetRow(std::clamp(y, 0, level_.height - 1)),
                     level_.GetRow(std::clamp(y + 1, 0, level_.height - 1)), std::clamp(x, 0, level_.width - 1),
                     std::clamp(x + 1, 0, level_.width - 1), u, v);
    }

    static int WholePart(int64_t position) { return static_cast<int>(position >> kFractionBits); }
    static int Fraction(int64_t position) { return static_cast<int>(position >> (kFractionBits - 8)) & 255; }

    static uint16_t Blend(const uint8_t* upper, const uint8_t* lower, int left, int right, int64_t u, int64_t v)
    {
        const int x = Fraction(u);
        const int top = upper[left] * 256 + (upper[right] - upper[left]) * x;
        const int bottom = lower[left] * 256 + (lower[right] - lower[left]) * x;
        return static_cast<uint16_t>((top * 256 + (bottom - top) * Fraction(v) + 128) >> 8);
    }

    const StampMask::Level& level_;
    double width_, height_;
    double perU_, perV_;
};

template <int kSamples>
void AddSamples(const uint16_t* sample, qs::vector<uint32_t>& sums)
{
    for (uint32_t& sum : sums)
        for (int k = 0; k < kSamples; ++k)
            sum += *sample++;
}

void AddSamples(const uint16_t* sample, int samples, qs::vector<uint32_t>& sums)
{
    switch (samples) {
    case 1: AddSamples<1>(sample, sums); break;
    case 2: AddSamples<2>(sample, sums); break;
    case 4: AddSamples<4>(sample, sums); break;
    default: AddSamples<kMaxSamples>(sample, sums); break;
    }
}

void WriteSamples(StampCoverage& coverage, const Sampling& sampling, const StampForm& form)
{
    const LevelSampler sampler(sampling);
    const int samples = sampling.samples;
    SampleLine line{0, 0, ToFixed(sampling.uPerX / samples), ToFixed(sampling.vPerX / samples),
                    coverage.GetWidth() * samples};
    const uint32_t count = static_cast<uint32_t>(samples * samples) << 8;
    qs::vector<uint16_t> read(static_cast<size_t>(line.count));
    qs::vector<uint32_t> sums(static_cast<size_t>(coverage.GetWidth()));
    for (int row = 0; row < coverage.GetHeight(); ++row) {
        std::fill(sums.begin(), sums.end(), count / 2);
        for (int subRow = 0; subRow < samples; ++subRow) {
            const double x = coverage.GetLeft() + 0.5 / samples - form.centreX;
            const double y = coverage.GetTop() + row + (subRow + 0.5) / samples - form.centreY;
            line.u = ToFixed(sampling.width / 2 + x * sampling.uPerX + y * sampling.uPerY);
            line.v = ToFixed(sampling.height / 2 + x * sampling.vPerX + y * sampling.vPerY);
            sampler.Read(line, read.data());
            AddSamples(read.data(), samples, sums);
        }
        const int shift = std::countr_zero(count);
        uint8_t* out = coverage.GetRow(row);
        for (size_t x = 0; x < sums.size(); ++x)
            out[x] = static_cast<uint8_t>(sums[x] >> shift);
    }
}

}  // namespace

qs::Reference<StampCoverage> MakeMaskCoverage(const StampMask& mask, const StampForm& form)
{
    // Half of the image's width and height in the stamp, turned, and half a pixel for its blurred edge.
    const double side = std::max(mask.GetWidth(), mask.GetHeight());
    const double along = form.along * mask.GetWidth() / side;
    const double across = form.across * mask.GetHeight() / side;
    const StampDirection direction(form.rotation);
    const double cosine = std::abs(direction.cosine);
    const double sine = std::abs(direction.sine);
    const bool isUpright = cosine == 0 || sine == 0;  // then pixels end where the image does
    const double edge = isUpright ? 0 : 0.75;
    const double reachX = cosine * along + sine * across + edge;
    const double reachY = sine * along + cosine * across + edge;

    const int left = FloorToInt(form.centreX - reachX);
    const int top = FloorToInt(form.centreY - reachY);
    const int width = std::max(1, CeilToInt(form.centreX + reachX) - left);
    const int height = std::max(1, CeilToInt(form.centreY + reachY) - top);
    auto coverage = qs::MakeReference<StampCoverage>(left, top, width, height);
    WriteSamples(*coverage, ChooseSampling(mask, form), form);
    coverage->Finish();
    return coverage;
}
