#pragma once

#include "platform/base/Containers.h"
#include "platform/imaging/stamps/BrushProfile.h"

#include <cstdint>
#include <memory>

/// Coverage of a soft stamp over the squared distance from its centre, averaged over the width of a sample.
struct ProfileTable {
    static constexpr int kCoreShift = 6;  // the core is the part within an eighth of the table's radius

    /// Of whole-pixel samples the entries are coverage 0 to 255, of finer ones 0 to 255·64, as many are added up.
    static constexpr int kFineScaleBits = 6;

    int sizeBits = 0;  // 1 << sizeBits entries, and one of 0 for the rim itself
    qs::vector<uint16_t> entries;  // over the squared distance 0 to reach²
    qs::vector<uint16_t> core;  // the same with all entries within the core, where cones are steep in distance²
    double reach = 1;  // radii: beyond it coverage is 0
    double flatRadius = 0;  // within it coverage is full
};

/// Tables made lately. Their filter need not fit the pixels exactly, so that one serves all radii of about its size.
class ProfileTableCache {
public:
    /// samples: how many lie along the radius. isFine: they are smaller than pixels.
    /// The table stays good until the next but one is asked for. Throws std::bad_alloc.
    const ProfileTable& Get(const LinearProfile& profile, double samples, bool isFine);

private:
    struct Slot {
        uint64_t identity = 0;
        uint32_t width = 0;
        bool isFine = false;
        uint64_t lastUse = 0;
        std::unique_ptr<const ProfileTable> table;
    };

    qs::vector<Slot> slots_;
    size_t recent_ = 0;
    uint64_t uses_ = 0;
};
