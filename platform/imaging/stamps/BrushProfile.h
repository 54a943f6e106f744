#pragma once

#include "platform/base/Containers.h"
#include "platform/base/Reference.h"

#include <cstdint>

/// How coverage falls from the centre of a round stamp to its rim, as a person sets it.
struct PAINTLAYER_EXPORT BrushProfile {
    /// 0 to 1: with a softness of 1, the share of the radius that is fully covered; the rest falls to 0 at the rim.
    float hardness = 1;

    /// Shape of the fall: Dome follows the squared distance, Linear a cone, Smooth an S.
    enum class Falloff : int { Dome, Linear, Smooth } falloff = Falloff::Dome;

    friend bool operator==(const BrushProfile&, const BrushProfile&) = default;
};

/// A sampled radial profile: coverage over the distance from the centre, for any brush. Immutable once shared.
class PAINTLAYER_EXPORT LinearProfile : public qs::ReferenceCount {
public:
    /// samples: coverage 0 to 1 at equal steps of the radius, the first at the centre, the last at the rim; beyond the
    /// rim coverage is 0. Values are clamped; fewer than 2 samples make a hard profile.
    explicit LinearProfile(qs::vector<float> samples);

    const qs::vector<float>& GetSamples() const { return samples_; }

    /// Coverage at `t` radii from the centre, interpolated linearly.
    float Evaluate(float t) const;

    /// True when coverage is 1 up to the rim: the stamp's edge is the area of each pixel that the disc covers.
    bool IsHard() const { return isHard_; }

    /// The largest change of coverage per radius, which decides how finely stamps are placed and cached.
    float GetSteepness() const { return steepness_; }

    /// Distinct for every profile made in this process; names it in the stamp cache.
    uint64_t GetIdentity() const { return identity_; }

private:
    qs::vector<float> samples_;
    bool isHard_ = false;
    float steepness_ = 0;
    uint64_t identity_ = 0;
};

/// The sampled form of `profile` for stamps of about `radiusPx` pixels.
PAINTLAYER_EXPORT qs::Reference<LinearProfile> MakeProfile(const BrushProfile& profile, float radiusPx);
