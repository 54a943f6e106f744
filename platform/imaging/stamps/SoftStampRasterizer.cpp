#include "platform/imaging/stamps/SoftStampRasterizer.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

constexpr int kGridPerPixel = 32;

/// The squared distance is an integer that has just this many bits where the table of the profile ends. The twelve bits
/// above are room for the corners of a small stamp's box, which lie up to 64 times as far out.
constexpr int kReachBits = 52;

/// Taking one sample a pixel in the middle of a stamp whose rim needs several costs a second table. That pays where
/// half a pixel's diagonal is at most this part of the shorter radius (12 pixels and more) and the middle reaches at
/// least a quarter of the radius.
constexpr double kMaxMarginOfSingleSamples = 0.06;
constexpr double kMinGentleRadius = 0.25;

/// One sample a pixel is right within about two levels as long as the coverage changes by at most so many levels from
/// one pixel to the next. Of an ellipse it must change less: the table's smoothing is as wide as a pixel along the
/// longer axis only, and along the shorter one the sample is a mere point.
constexpr double kGentleLevels = 64;
constexpr double kGentleEllipseLevels = 16;

bool IsElongated(const StampForm& form)
{
    return std::max(form.along, form.across) > 1.1 * std::min(form.along, form.across);
}

/// Samples per pixel and axis, as a power of two. A small stamp bends within a pixel, so it needs them; so does a steep
/// fall, since one sample smoothed by a round filter is wrong where the edge runs along a pixel's diagonal.
int ChooseSampleBits(const LinearProfile& profile, const StampForm& form)
{
    const double shorter = std::min(form.along, form.across);
    const double levelsPerPixel = 255 * profile.GetSteepness() / shorter;
    const bool isElongated = IsElongated(form);
    int bits = shorter >= 16 ? 0 : shorter >= 4 ? 1 : shorter >= 1.5 ? 2 : shorter >= 0.5 ? 3 : 4;
    if (levelsPerPixel > (isElongated ? kGentleEllipseLevels : kGentleLevels))
        bits = std::max(bits, 1);
    if (levelsPerPixel > 128 && shorter < 8)
        bits = std::max(bits, isElongated ? 3 : 2);
    if (levelsPerPixel > 48 && isElongated)
        bits = std::max(bits, 2);
    return bits;
}

/// The first distance from the centre at which the profile falls or rises by more than `slope` per radius.
double FindGentleRadius(const LinearProfile& profile, double slope)
{
    const qs::vector<float>& samples = profile.GetSamples();
    const auto steps = static_cast<float>(samples.size() - 1);
    const float limit = static_cast<float>(slope) / steps;
    for (size_t i = 1; i < samples.size(); ++i)
        if (std::abs(samples[i] - samples[i - 1]) > limit)
            return static_cast<float>(i - 1) / steps;
    return 1;
}

uint64_t RoundToFixed(double value)
{
    return static_cast<uint64_t>(std::llround(value));
}

/// The squared distance along a row: its value and its first difference; the second one is constant.
struct Walk {
    uint64_t value;
    uint64_t step;
    uint64_t stepStep;
};

}  // namespace

SoftStampRasterizer::Form64::Form64(const StampEllipse& ellipse, double reach)
{
    const double scale = std::ldexp(1.0, kReachBits) / (reach * reach * kGridPerPixel * kGridPerPixel);
    xx = RoundToFixed(ellipse.xx * scale);
    xy = RoundToFixed(2 * ellipse.xy * scale);
    yy = RoundToFixed(ellipse.yy * scale);
}

namespace {

/// Starting at grid place (x, y), in steps of `spacing`.
template <class Form>
Walk StartWalk(const Form& form, int64_t x, int64_t y, int64_t spacing)
{
    const auto ux = static_cast<uint64_t>(x);
    const auto uy = static_cast<uint64_t>(y);
    const auto us = static_cast<uint64_t>(spacing);
    return {form.xx * ux * ux + form.xy * ux * uy + form.yy * uy * uy,
            form.xx * (2 * ux * us + us * us) + form.xy * uy * us, 2 * form.xx * us * us};
}

void WriteLookups(uint8_t* out, int count, Walk walk, const uint16_t* table, int shift)
{
    for (int i = 0; i < count; ++i) {
        out[i] = static_cast<uint8_t>(table[walk.value >> shift]);
        walk.value += walk.step;
        walk.step += walk.stepStep;
    }
}

/// Adds kSamples lookups to each sum; what lies outside the table counts as its last entry, 0.
template <int kSamples>
void AddLookups(uint32_t* sums, size_t count, Walk walk, const ProfileTable& table)
{
    const int shift = kReachBits - table.sizeBits;
    const uint64_t last = table.entries.size() - 1;
    const uint16_t* entries = table.entries.data();
    for (size_t i = 0; i < count; ++i) {
        uint32_t sum = 0;
        for (int k = 0; k < kSamples; ++k) {
            sum += entries[std::min(walk.value >> shift, last)];
            walk.value += walk.step;
            walk.step += walk.stepStep;
        }
        sums[i] += sum;
    }
}

void AddLookups(uint32_t* sums, size_t count, int samples, const Walk& walk, const ProfileTable& table)
{
    switch (samples) {
    case 2: AddLookups<2>(sums, count, walk, table); break;
    case 4: AddLookups<4>(sums, count, walk, table); break;
    case 8: AddLookups<8>(sums, count, walk, table); break;
    default: AddLookups<16>(sums, count, walk, table); break;
    }
}

}  // namespace

qs::Reference<StampCoverage> SoftStampRasterizer::Make(const LinearProfile& profile, const StampForm& form)
{
    const StampEllipse ellipse(form);
    const int sampleBits = ChooseSampleBits(profile, form);
    const double longer = std::max(form.along, form.across);
    rim_ = &tables_.Get(profile, longer * (1 << sampleBits), sampleBits > 0);
    // Half a pixel's diagonal, in radii: what holds for a pixel's centre with this margin holds for all its samples.
    const double margin = std::sqrt(0.5) / std::min(form.along, form.across);
    const auto levelWithin = [&](double radius) { return radius > margin ? (radius - margin) * (radius - margin) : 0; };
    Job job{
        ellipse, form, sampleBits, 0, levelWithin(rim_->flatRadius), (rim_->reach + margin) * (rim_->reach + margin)};
    rimForm_ = Form64(ellipse, rim_->reach);
    if (sampleBits == 0) {
        inner_ = rim_;
        innerForm_ = rimForm_;
        job.gentleLevel = rim_->reach * rim_->reach;
    } else if (margin < kMaxMarginOfSingleSamples) {
        const double levels = IsElongated(form) ? kGentleEllipseLevels : kGentleLevels;
        const double gentleRadius = FindGentleRadius(profile, levels / 255 * std::min(form.along, form.across));
        if (gentleRadius > kMinGentleRadius) {
            inner_ = &tables_.Get(profile, longer, false);
            innerForm_ = Form64(ellipse, inner_->reach);
            job.gentleLevel = levelWithin(gentleRadius);
        }
    }

    const double reachX = ellipse.reachX * rim_->reach;
    const double reachY = ellipse.reachY * rim_->reach;
    const int left = FloorToInt(form.centreX - reachX);
    const int top = FloorToInt(form.centreY - reachY);
    const int width = std::max(1, CeilToInt(form.centreX + reachX) - left);
    const int height = std::max(1, CeilToInt(form.centreY + reachY) - top);
    auto coverage = qs::MakeReference<StampCoverage>(left, top, width, height);
    sums_.resize(std::max(sums_.size(), static_cast<size_t>(width)));

    // Around a centre on the middle or edge of a row the lower half mirrors the upper one.
    const bool isMirrored = ellipse.xy == 0 && (form.centreY == 0 || form.centreY == 0.5);
    const int rowsToMake = isMirrored ? (height + 1) / 2 : height;
    for (int y = 0; y < rowsToMake; ++y)
        WriteRow(job, top + y, coverage->GetRow(y), left, width);
    for (int y = rowsToMake; y < height; ++y)
        std::memcpy(coverage->GetRow(y), coverage->GetRow(height - 1 - y), static_cast<size_t>(width));
    coverage->Finish();
    return coverage;
}

/// The pixels whose centres lie within `level` at height y, from the whole-pixel position.
SoftStampRasterizer::Columns SoftStampRasterizer::FindColumns(const Job& job, double y, double level)
{
    double middle = 0;
    double half = 0;
    if (!job.ellipse.FindChord(y, level, middle, half))
        return {};
    middle += job.form.centreX - 0.5;
    return {CeilToInt(middle - half), FloorToInt(middle + half) + 1};
}

SoftStampRasterizer::Columns SoftStampRasterizer::Common(const Columns& a, const Columns& b)
{
    return {std::max(a.first, b.first), std::min(a.last, b.last)};
}

/// A row is made of up to three zones, each on both sides of the next:
///
///       ···············     outer   coverage above 0, several samples a pixel
///     ···+++++++++++++···   gentle  it changes slowly: one sample a pixel
///     ··+++#########+++··   flat    it is full: no sample
///     ···+++++++++++++···
///       ···············
void SoftStampRasterizer::WriteRow(const Job& job, int y, uint8_t* row, int left, int width)
{
    const double middleY = y + 0.5 - job.form.centreY;
    const Columns all{left, left + width};
    const Columns outer = Common(FindColumns(job, middleY, job.outerLevel), all);
    const Columns gentle = Common(FindColumns(job, middleY, job.gentleLevel), outer);
    const Columns flat = Common(FindColumns(job, middleY, job.flatLevel), outer);
    row -= left;
    if (job.sampleBits > 0) {
        // Where nothing is gentle, the full part alone is spared the samples.
        const Columns inner = gentle.IsEmpty() ? flat : gentle;
        if (inner.IsEmpty()) {
            WriteManySamples(job, y, row, outer);
        } else {
            WriteManySamples(job, y, row, {outer.first, inner.first});
            WriteManySamples(job, y, row, {inner.last, outer.last});
        }
    }
    if (flat.IsEmpty()) {
        WriteSingleSamples(job, y, row, gentle);
        return;
    }
    if (!gentle.IsEmpty()) {
        WriteSingleSamples(job, y, row, {gentle.first, std::min(flat.first, gentle.last)});
        WriteSingleSamples(job, y, row, {std::max(flat.last, gentle.first), gentle.last});
    }
    std::memset(row + flat.first, 255, static_cast<size_t>(flat.last - flat.first));
}

void SoftStampRasterizer::WriteSingleSamples(const Job& job, int y, uint8_t* row, Columns columns) const
{
    if (columns.IsEmpty())
        return;
    const auto gridY = static_cast<int64_t>((y + 0.5 - job.form.centreY) * kGridPerPixel);
    const auto write = [&](Columns part, const qs::vector<uint16_t>& table, int shift) {
        if (part.IsEmpty())
            return;
        const auto gridX = static_cast<int64_t>((part.first + 0.5 - job.form.centreX) * kGridPerPixel);
        WriteLookups(row + part.first, part.last - part.first, StartWalk(innerForm_, gridX, gridY, kGridPerPixel),
                     table.data(), shift);
    };
    const int shift = kReachBits - inner_->sizeBits;
    const double coreLevel = inner_->reach * inner_->reach / (1 << ProfileTable::kCoreShift);
    const Columns core = Common(FindColumns(job, y + 0.5 - job.form.centreY, coreLevel), columns);
    if (core.IsEmpty()) {
        write(columns, inner_->entries, shift);
        return;
    }
    write({columns.first, core.first}, inner_->entries, shift);
    write(core, inner_->core, shift - ProfileTable::kCoreShift);
    write({core.last, columns.last}, inner_->entries, shift);
}

void SoftStampRasterizer::WriteManySamples(const Job& job, int y, uint8_t* row, Columns columns)
{
    if (columns.IsEmpty())
        return;
    const int samples = 1 << job.sampleBits;
    const int spacing = kGridPerPixel >> job.sampleBits;
    const auto count = static_cast<size_t>(columns.last - columns.first);
    const auto gridX = static_cast<int64_t>((columns.first - job.form.centreX) * kGridPerPixel) + spacing / 2;
    const auto gridY = static_cast<int64_t>((y - job.form.centreY) * kGridPerPixel) + spacing / 2;
    std::fill_n(sums_.begin(), count, 0U);
    for (int subRow = 0; subRow < samples; ++subRow) {
        const Walk walk = StartWalk(rimForm_, gridX, gridY + subRow * spacing, spacing);
        AddLookups(sums_.data(), count, samples, walk, *rim_);
    }
    const int shift = ProfileTable::kFineScaleBits + 2 * job.sampleBits;
    uint8_t* out = row + columns.first;
    for (size_t i = 0; i < count; ++i)
        out[i] = static_cast<uint8_t>((sums_[i] + (1U << (shift - 1))) >> shift);
}
