#pragma once

#include "platform/base/Containers.h"
#include "platform/imaging/FilterMethod.h"
#include "platform/imaging/PixelMap.h"
#include "platform/imaging/ilSmartImage.h"

#include <optional>

/// Makes the pages of an image whose pixels come from wherever a map says: filtered between the source's pixels, and
/// averaged over several positions where the map shrinks, so that nothing aliases.
class MappedSampler {
public:
    /// filter: nearest, bilinear or bicubic. With nearest, one source pixel makes one of the result.
    MappedSampler(const ilMIOImage& source, ilSmartImage& target, const PixelMap& map, FilterMethod filter);

    void MakePage(int px, int py);

private:
    /// Pixels of the result, and how many positions each is made of.
    struct Block {
        int x, y, size;
        int acrossSamples = 1;
        int downSamples = 1;
    };

    void SetOrigin(const Block& block);
    void MapBlock(const Block& block, int sampleX, int sampleY);
    void CountSamples(Block& block);

    /// The source pixels that the block needs; the positions of its last samples stay.
    ilTile FindBox(const Block& block);

    /// Into the page's pixels; the value of all of them when that is known beforehand.
    std::optional<uint32_t> MakeBlock(Block block, uint8_t* pixels);
    void SampleBlock(const Block& block, const ilTile& box, uint8_t* pixels);
    void AddSamples(const Block& block, const ilTile& box);
    void FillBlock(const Block& block, uint32_t value, uint8_t* pixels) const;

    const kernels::KernelTable& kernels_ = kernels::Get();
    const ilMIOImage& source_;
    ilSmartImage& target_;
    const PixelMap& map_;
    const FilterMethod filter_;
    const int channels_;
    ilTile reach_;  // the source's bounds, grown: beyond, there is only the fill value
    int originX_ = 0;
    int originY_ = 0;
    qs::vector<int32_t> positionsX_;  // of one sample of each pixel of a block, row by row
    qs::vector<int32_t> positionsY_;
    qs::vector<uint8_t> bytes_;
    qs::vector<float> floats_;
    qs::vector<float> sums_;
};
