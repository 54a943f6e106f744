#pragma once

#include "platform/base/Containers.h"
#include "platform/imaging/pages/ilImage.h"

#include <cstdint>

/// The bytes of a mask image and their averages over 2, 4, 8 ... pixels, read once while it is a stamp's mask.
class StampMask : public qs::ReferenceCount {
public:
    /// Half the size of the one before in each direction, rounded up. Pixels outside repeat the nearest one.
    struct Level {
        int width = 0;
        int height = 0;
        qs::vector<uint8_t> bytes;

        const uint8_t* GetRow(int y) const { return bytes.data() + static_cast<ptrdiff_t>(y) * width; }
    };

    /// Coverage of a one-channel image, alpha of any other. Very large images are read at half their size, or less.
    /// Throws std::bad_alloc.
    explicit StampMask(const ilImage& image);

    uint64_t GetIdentity() const { return identity_; }

    /// True when there is nothing to stamp.
    bool IsEmpty() const { return levels_.empty(); }

    /// Size of the first level, which may lie between whole numbers where the image was reduced.
    double GetWidth() const { return width_; }
    double GetHeight() const { return height_; }

    int GetLevelCount() const { return static_cast<int>(levels_.size()); }
    const Level& GetLevel(int level) const { return levels_[static_cast<size_t>(level)]; }

    /// The largest change of coverage per half of the longer side, from one pixel to the next.
    float GetSteepness() const { return steepness_; }

private:
    void ReadFirstLevel(const ilImage& image, const ilTile& bounds);
    void FindSteepness();

    uint64_t identity_;
    double width_ = 0;
    double height_ = 0;
    qs::vector<Level> levels_;
    float steepness_ = 0;
};
