#pragma once

#include "platform/imaging/pages/ilSmartImage.h"

#include <array>
#include <cstdint>

/// Stretches a range of values: black and white points in, the bend between, and black and white points out. All are
/// 0 to 1; gamma is 0.01 to 100, above 1 lightens the middle.
struct LevelsParm {
    float inBlack = 0;
    float inWhite = 1;
    float gamma = 1;
    float outBlack = 0;
    float outWhite = 1;

    bool operator==(const LevelsParm&) const = default;
};

/// A colour adjustment: levels of each channel, levels of all, brightness and contrast, then hue, saturation and
/// lightness. It acts on straight colours; alpha stays. On coverage only what acts on all channels alike counts.
struct PAINTLAYER_EXPORT ColorAdjustParm {
    float brightness = 0;  // added: -1 makes black, 1 white
    float contrast = 0;  // about the middle: -1 makes it grey, 1 leaves only black and white
    float hue = 0;  // degrees
    float saturation = 0;  // -1 makes it grey, 1 doubles it
    float lightness = 0;  // -1 makes black, 1 white
    LevelsParm master;
    std::array<LevelsParm, 3> channels;  // red, green, blue

    /// False when a value is not finite.
    bool IsValid() const;

    /// True when nothing changes: by values at their defaults, the hue at whole turns.
    bool IsNeutral() const;
};

/// What an image consists of: pixels by value and channel, as straight red, green, blue, and alpha; of coverage only
/// the last. Fully transparent pixels count in no channel.
struct ImageAnalysisData {
    struct Channel {
        std::array<uint64_t, 256> histogram{};
        uint8_t min = 0;
        uint8_t max = 0;
        double mean = 0;  // 0 to 255
    };
    std::array<Channel, 4> channels;
    uint64_t count = 0;  // of pixels
};

/// Looks at the stored pixels within `area`; uniform pages cost one look.
PAINTLAYER_EXPORT ImageAnalysisData AnalyzeImage(const ilMIOImage& image, const ilTile& area);

/// Levels that stretch each channel to the full range, leaving out the given part of the pixels (0 to 0.5) at both
/// ends.
PAINTLAYER_EXPORT std::array<LevelsParm, 3> MakeAutoLevels(const ImageAnalysisData& data, double clippedPart);

/// The image with its colours within `area` adjusted, `amount` (0 to 1) of the way. Pages that do not change are
/// shared. The adjustment is valid; a neutral one changes no byte.
PAINTLAYER_EXPORT qs::Reference<ilSmartImage> AdjustColors(const ilMIOImage& image, const ColorAdjustParm& parm,
                                                           const ilTile& area, float amount);
