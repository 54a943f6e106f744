#pragma once

#include "platform/base/Containers.h"
#include "platform/imaging/pages/ilSmartImage.h"
#include "platform/imaging/transform/FilterMethod.h"
#include "platform/imaging/transform/PixelMap.h"

#include <optional>
#include <utility>

/// Makes the pages of an image whose pixels come from wherever a map says: filtered between the source's pixels, and
/// averaged over all that falls into a new one where the map shrinks, so that nothing aliases.
///
/// Where it shrinks to less than a quarter, positions are taken on a reduced source, so that no pixel of the result
/// takes more than a few, whatever the scale. Both axes are reduced apart: what shrinks along one stays sharp along the
/// other.
class MappedSampler {
public:
    /// filter: nearest, bilinear or bicubic. With nearest, one source pixel makes one of the result.
    MappedSampler(const ilMIOImage& source, ilSmartImage& target, const PixelMap& map, FilterMethod filter);

    /// Throws std::length_error when the source is too large, or too far away, to be reduced.
    void MakePage(int px, int py);

private:
    /// Pixels of the result, how many positions each is made of, and how often the source is halved for them.
    struct Block {
        int x, y, size;
        int acrossSamples = 1;
        int downSamples = 1;
        int acrossHalvings = 0;
        int downHalvings = 0;
    };
    struct Steps;

    /// The source, reduced.
    struct Level {
        qs::Reference<ilSmartImage> made;  // null for the source itself
        const ilMIOImage* image;
        ilTile reach;  // the bounds, grown: beyond, there is only the fill value
    };

    /// How far before and behind a pixel the filter reads.
    int GrowLow() const { return filter_ == kFilterBicubic ? 1 : 0; }
    int GrowHigh() const { return filter_ == kFilterBicubic ? 2 : filter_ == kFilterBilinear ? 1 : 0; }

    Steps StepsAt(int x, int y) const;
    /// False where the map shrinks too differently within the block.
    bool ChooseSamples(Block& block) const;
    const Level& GetLevel(int acrossHalvings, int downHalvings);
    static Level MakeLevel(const ilMIOImage& image, qs::Reference<ilSmartImage> made);

    void SetOrigin(const Block& block, const Level& level);
    void MapBlock(const Block& block, int sampleX, int sampleY, const ilTile& within);

    /// The pixels of the level that the block needs; the positions of its last samples stay.
    ilTile FindBox(const Block& block, const Level& level);

    /// Into the page's pixels; the value of all of them when that is known beforehand.
    std::optional<uint32_t> MakeBlock(Block block, uint8_t* pixels);
    std::optional<uint32_t> FindValueAround(Block block);
    void MakeQuarters(const Block& block, uint8_t* pixels);
    void SampleBlock(const Block& block, const Level& level, const ilTile& box, uint8_t* pixels);
    void AddSamples(const Block& block, const ilTile& box);
    void FillBlock(const Block& block, uint32_t value, uint8_t* pixels) const;

    const kernels::KernelTable& kernels_ = kernels::Get();
    ilSmartImage& target_;
    const PixelMap& map_;
    const FilterMethod filter_;
    const int channels_;
    qs::map<std::pair<int, int>, Level> levels_;  // by how often they are halved
    int mostHalvings_;
    int originX_ = 0;  // pixel of the level that positions are relative to
    int originY_ = 0;
    qs::vector<int32_t> positionsX_;  // of one sample of each pixel of a block, row by row
    qs::vector<int32_t> positionsY_;
    qs::vector<uint8_t> bytes_;
    qs::vector<float> floats_;
    qs::vector<float> sums_;
};
