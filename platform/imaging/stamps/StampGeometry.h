#pragma once

#include "platform/imaging/stamps/Stamp.h"
#include "platform/imaging/stamps/StampForm.h"

#include <cstdint>

/// How finely the geometry of a stamp is kept apart.
struct StampResolution {
    float stepByRadius = 0;  // a move of this many radii goes unseen
    int rotationIncrement = 1;  // quarter degrees
    bool isMask = false;  // turns by a full turn and is costly to make; a disc repeats after half a turn
};

/// A placement, quantised: its whole-pixel position, and all that its coverage depends on packed into 64 bits.
struct StampGeometry {
    static constexpr float kMinRadiusPx = 1.0F / 16;
    static constexpr float kMaxRadiusPx = StampPlacement::kMaxRadius;

    uint64_t packed = 0;
    int x = 0;
    int y = 0;

    /// False for a placement that covers nothing because one of its numbers is out of range.
    static bool IsPlaceable(const StampPlacement& placement);

    /// The placement is placeable. Radius and position are rounded to powers of two between 1/16 pixel and some
    /// pixels, as coarse as the resolution allows; the aspect to 1/64.
    StampGeometry(const StampPlacement& placement, const StampResolution& resolution);

    static StampForm Unpack(uint64_t packed);

    /// The same for all sub-pixel places of one shape.
    static uint64_t WithoutPhase(uint64_t packed);
};
