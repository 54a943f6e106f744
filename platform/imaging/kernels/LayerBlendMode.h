#pragma once

/// How a layer meets what lies below it: the blend modes of the W3C compositing model in its order, then plus.
enum LayerBlendMode : int {
    kBlendNormal = 0,
    kBlendMultiply,
    kBlendScreen,
    kBlendOverlay,
    kBlendDarken,
    kBlendLighten,
    kBlendColorDodge,
    kBlendColorBurn,
    kBlendHardLight,
    kBlendSoftLight,
    kBlendDifference,
    kBlendExclusion,
    kBlendHue,
    kBlendSaturation,
    kBlendColor,
    kBlendLuminosity,
    kBlendPlus,
};

inline constexpr int kLayerBlendModeCount = 17;
