#include "platform/imaging/kernels/VariantKernels.h"

#define PAINTLAYER_QUOTE(text) #text
#define PAINTLAYER_QUOTE_VALUE(macro) PAINTLAYER_QUOTE(macro)

namespace kernels::PAINTLAYER_KERNEL_NAMESPACE {

const KernelTable kTable = {
    .name = PAINTLAYER_QUOTE_VALUE(PAINTLAYER_KERNEL_NAMESPACE),
    .stampColor = StampColor8,
    .stampCoverage = StampCoverage8,
    .stampColor16 = StampColor16,
    .stampCoverage16 = StampCoverage16,
    .stampWet = StampWet,
    .stampWetCoverage = StampWetCoverage,
    .paintOver = PaintOver,
    .composeOver = ComposeOver,
    .paintOverWeighted = PaintOverWeighted,
    .paintOverCoverage = PaintOverCoverage,
    .paintOverWeighted1 = PaintOverWeighted1,
    .copyCoverage = CopyCoverage,
    .copyCoverage1 = CopyCoverage1,
    .eraseWeighted = EraseWeighted,
    .eraseWeighted1 = EraseWeighted1,
    .eraseCoverage = EraseCoverage,
    .keepCoverage = KeepCoverage,
    .blendFactors = BlendFactors,
    .scalePixels = ScalePixels,
    .invert = Invert,
    .invertColor = InvertColor,
    .maximum = Maximum,
    .bytesToFloats = BytesToFloats,
    .floatsToCoverage = FloatsToCoverage,
    .floatsToPixels = FloatsToPixels,
    .addWeighted = AddWeighted,
    .filterRow = FilterRow,
    .sampleBilinear = SampleBilinear,
    .sampleBicubic = SampleBicubic,
    .adjustColor = AdjustColor,
    .adjustCoverage = AdjustCoverage,
    .mixBytes = MixBytes,
    .sharpenColor = SharpenColor,
    .foldWords = FoldWords,
    .matchPixels = MatchPixels,
    .matchOpaquePixels = MatchOpaquePixels,
    .matchCoverage = MatchCoverage,
    .blendMode =
        {
            PaintOverWeighted,
            BlendMultiply,
            BlendScreen,
            BlendOverlay,
            BlendDarken,
            BlendLighten,
            BlendColorDodge,
            BlendColorBurn,
            BlendHardLight,
            BlendSoftLight,
            BlendDifference,
            BlendExclusion,
            BlendHue,
            BlendSaturation,
            BlendColor,
            BlendLuminosity,
            BlendPlus,
        },
};

}  // namespace kernels::PAINTLAYER_KERNEL_NAMESPACE
