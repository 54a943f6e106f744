#pragma once

#include "platform/imaging/kernels/Kernels.h"

/// The kernels of one variant, as KernelTable describes them.
namespace kernels::PAINTLAYER_KERNEL_NAMESPACE {

void StampColor8(const StampBlock& block, const StampColor& color);
void StampCoverage8(const StampBlock& block, const StampColor& color);
void StampColor16(const StampBlock& block, const StampColor& color);
void StampCoverage16(const StampBlock& block, const StampColor& color);
void StampWet(const StampBlock& block, const StampColor& color, Weight wetness);
void StampWetCoverage(const StampBlock& block, const StampColor& color, Weight wetness);

void PaintOver(uint8_t* dst, const uint8_t* src, int count);
void ComposeOver(uint8_t* dst, const uint8_t* const* sources, int sourceCount, int count);
void ComposeFine(uint8_t* dst, uint8_t* dstFractions, const uint8_t* const* sources, const uint8_t* fractions,
                 const uint8_t* topFractions, int sourceCount, int count);
void PaintFineWeighted(uint8_t* dst, uint8_t* dstFractions, const uint8_t* src, Weight weight, int count);
void PaintOverWeighted(uint8_t* dst, const uint8_t* src, Weight weight, int count);
void PaintOverCoverage(uint8_t* dst, const uint8_t* src, const uint8_t* coverage, Weight weight, int count);
void PaintOverWeighted1(uint8_t* dst, const uint8_t* src, Weight weight, int count);
void CopyCoverage(uint8_t* dst, const uint8_t* src, const uint8_t* coverage, Weight weight, int count);
void CopyCoverage1(uint8_t* dst, const uint8_t* src, const uint8_t* coverage, Weight weight, int count);

void EraseWeighted(uint8_t* dst, const uint8_t* src, Weight weight, int count);
void EraseWeighted1(uint8_t* dst, const uint8_t* src, Weight weight, int count);
void EraseCoverage(uint8_t* dst, const uint8_t* coverage, Weight weight, int count);
void KeepCoverage(uint8_t* dst, const uint8_t* coverage, Weight weight, int count);

void BlendFactors(uint8_t* dst, const uint8_t* src, Weight weight, int channels, int sourceFactor,
                  int destinationFactor, int count);

void ScalePixels(uint8_t* dst, const uint8_t* src, Weight colorWeight, Weight alphaWeight, int count);
void Invert(uint8_t* dst, int bytes);
void InvertColor(uint8_t* dst, int count);
void Maximum(uint8_t* dst, const uint8_t* src, int bytes);
void FoldWords(const uint8_t* bytes, int byteCount, uint32_t* andOfAll, uint32_t* orOfAll);
void MatchPixels(uint64_t* bits, const uint8_t* pixels, const PixelMatch& match, int words);
void MatchOpaquePixels(uint64_t* bits, const uint8_t* pixels, const PixelMatch& match, int words);
void MatchCoverage(uint64_t* bits, const uint8_t* coverage, const PixelMatch& match, int words);

void BytesToFloats(float* dst, const uint8_t* src, int count);
void FloatsToCoverage(uint8_t* dst, const float* src, float scale, int count);
void FloatsToPixels(uint8_t* dst, const float* src, float scale, int count);
void AddWeighted(float* sums, const float* src, float weight, int count);
void FilterRow(float* dst, const float* src, const int32_t* firsts, const float* weights, int tapCount, int channels,
               int count);
void SampleBilinear(float* sums, const SampleSource& source, const int32_t* x, const int32_t* y, int count);
void SampleBicubic(float* sums, const SampleSource& source, const int32_t* x, const int32_t* y, int count);

void AdjustColor(uint8_t* pixels, const ColorAdjustment& adjustment, int count);
void AdjustCoverage(uint8_t* pixels, const ColorAdjustment& adjustment, int count);
void MixBytes(uint8_t* dst, const uint8_t* src, float part, int count);
void SharpenColor(uint8_t* dst, const uint8_t* blurred, float amount, int count);

void BlendMultiply(uint8_t* dst, const uint8_t* src, Weight weight, int count);
void BlendScreen(uint8_t* dst, const uint8_t* src, Weight weight, int count);
void BlendOverlay(uint8_t* dst, const uint8_t* src, Weight weight, int count);
void BlendDarken(uint8_t* dst, const uint8_t* src, Weight weight, int count);
void BlendLighten(uint8_t* dst, const uint8_t* src, Weight weight, int count);
void BlendColorDodge(uint8_t* dst, const uint8_t* src, Weight weight, int count);
void BlendColorBurn(uint8_t* dst, const uint8_t* src, Weight weight, int count);
void BlendHardLight(uint8_t* dst, const uint8_t* src, Weight weight, int count);
void BlendSoftLight(uint8_t* dst, const uint8_t* src, Weight weight, int count);
void BlendDifference(uint8_t* dst, const uint8_t* src, Weight weight, int count);
void BlendExclusion(uint8_t* dst, const uint8_t* src, Weight weight, int count);
void BlendHue(uint8_t* dst, const uint8_t* src, Weight weight, int count);
void BlendSaturation(uint8_t* dst, const uint8_t* src, Weight weight, int count);
void BlendColor(uint8_t* dst, const uint8_t* src, Weight weight, int count);
void BlendLuminosity(uint8_t* dst, const uint8_t* src, Weight weight, int count);
void BlendPlus(uint8_t* dst, const uint8_t* src, Weight weight, int count);

extern const KernelTable kTable;

}  // namespace kernels::PAINTLAYER_KERNEL_NAMESPACE
