#include "platform/imaging/stamps/BrushProfile.h"

#include "platform/imaging/stamps/StampIdentity.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace {

constexpr int kSamplesPerPixel = 16;
constexpr unsigned kMinSteps = 256;
constexpr unsigned kMaxSteps = 2048;

/// A step of coverage at the rim counts as a fall this steep: finer than any pixel of any stamp.
constexpr float kRimStepSteepness = 4096;

/// Below this the dome has all its coverage in a point and would paint nothing.
constexpr double kMinDomeHardness = 0.1;

/// Both pieces are parabolas in the distance and meet at distance² = hardness, where coverage is the hardness.
double DomeAt(double t, double hardness)
{
    const double h = std::max(hardness, kMinDomeHardness);
    const double rr = t * t;
    return rr <= h ? 1 - rr * (1 / h - 1) : h / (1 - h) * (1 - rr);
}

double CoverageAt(double t, double hardness, BrushProfile::Falloff falloff)
{
    if (falloff == BrushProfile::Falloff::Dome)
        return DomeAt(t, hardness);
    const double fallen = t <= hardness ? 0 : (t - hardness) / (1 - hardness);
    if (falloff == BrushProfile::Falloff::Smooth)
        return 1 - fallen * fallen * (3 - 2 * fallen);
    return 1 - fallen;
}

qs::Reference<LinearProfile> SampleProfile(const BrushProfile& profile, unsigned steps)
{
    const double hardness = profile.hardness > 0 ? profile.hardness : 0;
    qs::vector<float> samples(steps + 1);
    for (unsigned i = 0; i <= steps; ++i)
        samples[i] = static_cast<float>(CoverageAt(static_cast<double>(i) / steps, hardness, profile.falloff));
    return qs::MakeReference<LinearProfile>(std::move(samples));
}

/// Profiles made lately. A brush that is set up again gets the profile it had, and with it the cached stamps.
class RecentProfiles {
public:
    qs::Reference<LinearProfile> Get(const BrushProfile& profile, unsigned steps)
    {
        for (const Entry& entry : entries_)
            if (entry.made && entry.steps == steps && entry.profile == profile)
                return entry.made;
        Entry& oldest = entries_[next_];
        oldest = {profile, steps, SampleProfile(profile, steps)};
        next_ = (next_ + 1) % std::size(entries_);
        return oldest.made;
    }

private:
    struct Entry {
        BrushProfile profile;
        unsigned steps = 0;
        qs::Reference<LinearProfile> made;
    };

    Entry entries_[16];
    size_t next_ = 0;
};

}  // namespace

uint64_t MakeStampIdentity()
{
    static uint64_t last = kHardStampIdentity;
    return ++last;
}

LinearProfile::LinearProfile(qs::vector<float> samples) : samples_(std::move(samples)), identity_(MakeStampIdentity())
{
    if (samples_.size() < 2)
        samples_.assign(2, 1.0F);
    for (float& sample : samples_)
        sample = sample > 0 ? std::min(sample, 1.0F) : 0.0F;

    isHard_ = std::all_of(samples_.begin(), samples_.end(), [](float sample) { return sample == 1; });
    for (size_t i = 1; i < samples_.size(); ++i)
        steepness_ = std::max(steepness_, std::abs(samples_[i] - samples_[i - 1]));
    steepness_ = std::max(steepness_ * static_cast<float>(samples_.size() - 1), samples_.back() * kRimStepSteepness);
}

float LinearProfile::Evaluate(float t) const
{
    const float distance = std::abs(t);
    if (!(distance <= 1))
        return 0;
    const float position = distance * static_cast<float>(samples_.size() - 1);
    const size_t index = std::min(static_cast<size_t>(position), samples_.size() - 2);
    const float fraction = position - static_cast<float>(index);
    return samples_[index] + (samples_[index + 1] - samples_[index]) * fraction;
}

qs::Reference<LinearProfile> MakeProfile(const BrushProfile& profile, float radiusPx)
{
    static RecentProfiles& recent = *new RecentProfiles;  // never destroyed, as the stamp cache
    if (!(profile.hardness < 1))
        return recent.Get({1, BrushProfile::Falloff::Linear}, 1);
    const float pixels = radiusPx > 1 ? std::min(radiusPx, static_cast<float>(kMaxSteps)) : 1.0F;
    const unsigned steps = std::bit_ceil(static_cast<unsigned>(pixels) * kSamplesPerPixel);
    return recent.Get(profile, std::clamp(steps, kMinSteps, kMaxSteps));
}
