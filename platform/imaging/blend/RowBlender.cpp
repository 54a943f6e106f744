#include "platform/imaging/blend/RowBlender.h"

#include <cstring>

namespace {

/// Moves dst to `changed` by the coverage.
void MoveByCoverage(const kernels::KernelTable& table, int channels, uint8_t* dst, const uint8_t* changed,
                    const uint8_t* coverage, int count)
{
    const auto move = channels == 1 ? table.copyCoverage1 : table.copyCoverage;
    move(dst, changed, coverage, kernels::kFullWeight, count);
}

}  // namespace

RowBlender::RowBlender(int channels, const ImageBlend& blend)
    : kernels_(kernels::Get()), blend_(blend), channels_(channels), kind_(Kind::Factors)
{
    const bool isFull = blend.alphaWeight == kernels::kFullWeight;
    if (blend.sourceFactor == kFactorOne && blend.destinationFactor == kFactorOneMinusSourceAlpha) {
        if (blend.mode != kBlendNormal && channels == 4)
            kind_ = Kind::Mode;
        else
            kind_ = isFull && channels == 4 ? Kind::Over : Kind::OverWeighted;
    } else if (blend.sourceFactor == kFactorOne && blend.destinationFactor == kFactorZero) {
        kind_ = isFull ? Kind::Copy : Kind::CopyWeighted;
    } else if (blend.sourceFactor == kFactorZero && blend.destinationFactor == kFactorOneMinusSourceAlpha) {
        kind_ = Kind::Erase;
    }
}

void RowBlender::BlendPlain(uint8_t* dst, const uint8_t* src, int count) const
{
    const kernels::Weight weight = blend_.alphaWeight;
    switch (kind_) {
    case Kind::Over: kernels_.paintOver(dst, src, count); break;
    case Kind::OverWeighted:
        (channels_ == 4 ? kernels_.paintOverWeighted : kernels_.paintOverWeighted1)(dst, src, weight, count);
        break;
    case Kind::Copy: std::memcpy(dst, src, static_cast<size_t>(count) * static_cast<size_t>(channels_)); break;
    case Kind::CopyWeighted: kernels_.blendFactors(dst, src, weight, channels_, kFactorOne, kFactorZero, count); break;
    case Kind::Erase:
        (channels_ == 4 ? kernels_.eraseWeighted : kernels_.eraseWeighted1)(dst, src, weight, count);
        break;
    case Kind::Mode: kernels_.blendMode[blend_.mode](dst, src, weight, count); break;
    case Kind::Factors:
        kernels_.blendFactors(dst, src, weight, channels_, blend_.sourceFactor, blend_.destinationFactor, count);
        break;
    }
}

void RowBlender::Blend(uint8_t* dst, const uint8_t* src, const uint8_t* coverage, int count) const
{
    alignas(64) uint8_t tinted[kPageSize * 4];
    if (blend_.colorWeight != kernels::kFullWeight && channels_ == 4) {
        kernels_.scalePixels(tinted, src, blend_.colorWeight, kernels::kFullWeight, count);
        src = tinted;
    }
    if (coverage == nullptr) {
        BlendPlain(dst, src, count);
        return;
    }
    if (channels_ == 4 && (kind_ == Kind::Over || kind_ == Kind::OverWeighted)) {
        kernels_.paintOverCoverage(dst, src, coverage, blend_.alphaWeight, count);
        return;
    }
    alignas(64) uint8_t blended[kPageSize * 4];
    std::memcpy(blended, dst, static_cast<size_t>(count) * static_cast<size_t>(channels_));
    BlendPlain(blended, src, count);
    MoveByCoverage(kernels_, channels_, dst, blended, coverage, count);
}

void RowBlender::Invert(int channels, bool colorOnly, uint8_t* dst, const uint8_t* coverage, int count)
{
    const kernels::KernelTable& table = kernels::Get();
    alignas(64) uint8_t inverted[kPageSize * 4];
    const size_t bytes = static_cast<size_t>(count) * static_cast<size_t>(channels);
    std::memcpy(inverted, dst, bytes);
    if (colorOnly && channels == 4)
        table.invertColor(inverted, count);
    else
        table.invert(inverted, count * channels);
    if (coverage != nullptr)
        MoveByCoverage(table, channels, dst, inverted, coverage, count);
    else
        std::memcpy(dst, inverted, bytes);
}
