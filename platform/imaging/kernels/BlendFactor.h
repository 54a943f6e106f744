#pragma once

/// The factors of result = s·S + d·D in PaintOps::blend_func. Alpha is coverage for one-channel images.
enum BlendFactor : int {
    kFactorZero = 0,
    kFactorOne = 1,
    kFactorDestinationColor = 2,
    kFactorOneMinusDestinationColor = 3,
    kFactorDestinationAlpha = 4,
    kFactorOneMinusDestinationAlpha = 5,
    kFactorSourceAlpha = 6,
    kFactorOneMinusSourceAlpha = 7,
};

inline constexpr int kBlendFactorCount = 8;
