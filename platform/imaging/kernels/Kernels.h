#pragma once

#include "platform/imaging/kernels/LayerBlendMode.h"
#include "platform/imaging/kernels/Weight.h"

#include <cstddef>
#include <cstdint>

/// Span functions of the imaging core: one source, compiled once per instruction set, chosen once at load.
///
/// Contract of all: RGBA is premultiplied; `count` is in pixels and may be 0; source and destination do not overlap
/// unless they are the same span; nothing is allocated, looked up or clipped here. Every variant gives the same bytes.
/// Intermediate results have 8 fractional bits more than a byte, so each result rounds once: within 0.51 of a level of
/// the formula. Full alpha stores the source unchanged, zero alpha changes no byte.
namespace kernels {

/// A premultiplied colour times an opacity, with 8 fractional bits: what a stamp lays down at full coverage.
struct StampColor {
    uint16_t component[4];  // 0 to 65280 = 255 levels; one-channel kernels use component[3]
    Weight alpha;  // 0 to 65535
    uint16_t goal[4];  // component / alpha: what stamps laid over each other come to; used by the 16-bit kernels
};

/// One rectangle of a stamp within one page. Coverage rows are addressed so that the byte at coverage[x] belongs to
/// pixel x of the page row (it may lie before the stamp's own first column: rows are padded with at least 64 zeros on
/// both sides). Rows are walked in steps of up to 64 pixels from x0 rounded down to x1 rounded up, within the page:
/// the coverage alone says which of these pixels change.
struct StampBlock {
    uint8_t* pixels;  // row y0 of the page, column 0; 64-byte aligned
    uint8_t* lowBits;  // the same of the low-order-bit page; null in the 8-bit kernels
    ptrdiff_t strideBytes;  // of both
    const uint8_t* coverage;  // for the page's column 0, first row
    ptrdiff_t coverageStride;
    int x0, x1;  // columns of the page that the stamp can touch, 0 <= x0 < x1 <= 64
    int rows;
};

/// What is like a seed pixel (made by ColorMatch). A pixel of alpha a and component c is like the seed of alpha sa and
/// component s when its alpha lies in the range and |c·sa - s·a| <= a·sa·weight >> 16 for each colour: the difference
/// of the straight colours, without a division. Where either is fully transparent the alpha alone decides.
struct PixelMatch {
    uint8_t seed[4];  // premultiplied; one channel: the coverage in seed[3]
    uint8_t low[4], high[4];  // components of an opaque pixel that is like the seed; [3]: alphas of any pixel that is
    uint16_t weight;  // the tolerance in 1/65535 of full scale, plus 1
};

/// Positions between pixels, for sampling: in 1/1024 of a pixel.
inline constexpr int kSampleShift = 10;
inline constexpr int kSampleUnit = 1 << kSampleShift;

/// Pixels as floats, in levels, that are sampled between. A position's whole part is the pixel to its left and above,
/// whose neighbours (one to the right and below; for bicubic one more all around) are there too.
struct SampleSource {
    const float* pixels;
    ptrdiff_t stride;  // floats from row to row
    int channels;  // 1 or 4
    const float (*bicubicWeights)[4];  // of each position within a pixel; only for sampleBicubic
};

/// A colour adjustment, ready for pixels.
struct ColorAdjustment {
    const float* curves[4];  // levels of each level 0 to 255, and one more: red, green, blue; coverage
    bool turnsColor;  // the next three are not neutral
    float hueShift;  // 0 to below 12: the circle
    float saturation;  // a factor
    float lightness;  // -1 to 1
    float amount;  // how far from the pixel to its adjusted colour, 0 to 1
};

/// The W3C blend functions work on one pair of spans with a weight on the source.
using BlendModeSpan = void (*)(uint8_t* dst, const uint8_t* src, Weight weight, int count);

inline constexpr int kMostSourcesComposed = 4;
inline constexpr int kMostSourcesComposedFine = 8;

struct KernelTable {
    const char* name;  // "baseline", "avx2", "avx512"

    // --- stamps: colour through coverage, dst = s + (1 - sa)·dst ---
    /// RGBA in 8 bits. A colour of zeros with an alpha erases.
    void (*stampColor)(const StampBlock& block, const StampColor& color);
    /// One channel in 8 bits.
    void (*stampCoverage)(const StampBlock& block, const StampColor& color);
    /// RGBA in 16 bits: the value is pixels·256 + lowBits - 128, in 1/256 of a level. A value below 0 does not occur:
    /// low bits start as 128, and no kernel writes one. Each stamp moves it towards the goal by alpha·coverage,
    /// products rounded to nearest: thousands of faint stamps neither stick nor overshoot.
    void (*stampColor16)(const StampBlock& block, const StampColor& color);
    void (*stampCoverage16)(const StampBlock& block, const StampColor& color);
    /// A wet stroke on RGBA: where the stamp covers more than the stroke so far, it replaces it; `wetness` (0 to full)
    /// of the way to painting over it instead.
    void (*stampWet)(const StampBlock& block, const StampColor& color, Weight wetness);
    void (*stampWetCoverage)(const StampBlock& block, const StampColor& color, Weight wetness);

    // --- spans ---
    /// dst = src + (1 - src alpha)·dst, RGBA; exactly rounded to nearest.
    void (*paintOver)(uint8_t* dst, const uint8_t* src, int count);
    /// dst = sources[0] with the others painted over it, bottom first, RGBA: the bytes of one after the other, without
    /// the loads and stores in between. sourceCount: 1 to kMostSourcesComposed; sources[0] may be dst.
    void (*composeOver)(uint8_t* dst, const uint8_t* const* sources, int sourceCount, int count);
    // Fine pixels: bytes, each with the fraction of a level between -1/2 and 1/2 that it was rounded by, in a byte of
    // its own: 128 plus 256 times the fraction, xor 127. A whole level has 255, so whole alphas of 255 look opaque in
    // both. Products round to nearest in 1/128 of a level: hundreds of faint layers come within a part of a level of
    // the formula, in whatever order neighbours are put together first. Colour stays within alpha.
    /// dst = sources[0] with the others painted over it. fractions, topFractions: of the first source and of the last
    /// one, or null (with one source the last is null); dstFractions: null where nobody asks for them. sourceCount: 1
    /// to kMostSourcesComposedFine; sources[0] may be dst, with its fractions.
    void (*composeFine)(uint8_t* dst, uint8_t* dstFractions, const uint8_t* const* sources, const uint8_t* fractions,
                        const uint8_t* topFractions, int sourceCount, int count);
    /// Fine dst = weight·src over it.
    void (*paintFineWeighted)(uint8_t* dst, uint8_t* dstFractions, const uint8_t* src, Weight weight, int count);
    /// The same as paintOver of weight·src.
    void (*paintOverWeighted)(uint8_t* dst, const uint8_t* src, Weight weight, int count);
    /// The same of weight·coverage·src.
    void (*paintOverCoverage)(uint8_t* dst, const uint8_t* src, const uint8_t* coverage, Weight weight, int count);
    /// One channel: dst = weight·src + (1 - weight·src)·dst.
    void (*paintOverWeighted1)(uint8_t* dst, const uint8_t* src, Weight weight, int count);
    /// RGBA: dst moves to src by weight·coverage.
    void (*copyCoverage)(uint8_t* dst, const uint8_t* src, const uint8_t* coverage, Weight weight, int count);
    void (*copyCoverage1)(uint8_t* dst, const uint8_t* src, const uint8_t* coverage, Weight weight, int count);
    /// dst = (1 - weight·src alpha)·dst: erases by an RGBA source.
    void (*eraseWeighted)(uint8_t* dst, const uint8_t* src, Weight weight, int count);
    void (*eraseWeighted1)(uint8_t* dst, const uint8_t* src, Weight weight, int count);
    /// RGBA dst = (1 - weight·coverage)·dst: hides by a stencil.
    void (*eraseCoverage)(uint8_t* dst, const uint8_t* coverage, Weight weight, int count);
    /// RGBA dst = weight·coverage·dst.
    void (*keepCoverage)(uint8_t* dst, const uint8_t* coverage, Weight weight, int count);
    /// Any pair of factors (BlendFactor), any channel count (1 or 4), with a weight on the source; clamps to a byte.
    void (*blendFactors)(uint8_t* dst, const uint8_t* src, Weight weight, int channels, int sourceFactor,
                         int destinationFactor, int count);
    /// RGB times colorWeight·alphaWeight, alpha times alphaWeight; dst may be src.
    void (*scalePixels)(uint8_t* dst, const uint8_t* src, Weight colorWeight, Weight alphaWeight, int count);
    /// Every byte becomes 255 - byte.
    void (*invert)(uint8_t* dst, int bytes);
    /// RGBA: each colour component becomes alpha - component; alpha stays.
    void (*invertColor)(uint8_t* dst, int count);
    /// dst = max(dst, src), bytes.
    void (*maximum)(uint8_t* dst, const uint8_t* src, int bytes);

    // --- resampling: pixels as floats, in levels ---
    /// count: of bytes.
    void (*bytesToFloats)(float* dst, const uint8_t* src, int count);
    /// Times `scale`, to nearest, kept within a byte; floatsToPixels: RGBA, colour kept within alpha.
    void (*floatsToCoverage)(uint8_t* dst, const float* src, float scale, int count);
    void (*floatsToPixels)(uint8_t* dst, const float* src, float scale, int count);
    /// sums += weight·src, floats.
    void (*addWeighted)(float* sums, const float* src, float weight, int count);
    /// dst pixel i = the sum of tapCount src pixels from firsts[i] on, by the weights (tapCount of each pixel).
    void (*filterRow)(float* dst, const float* src, const int32_t* firsts, const float* weights, int tapCount,
                      int channels, int count);
    /// sums pixel i += the source at (x[i], y[i]).
    void (*sampleBilinear)(float* sums, const SampleSource& source, const int32_t* x, const int32_t* y, int count);
    void (*sampleBicubic)(float* sums, const SampleSource& source, const int32_t* x, const int32_t* y, int count);

    // --- colour ---
    /// RGBA: adjusts the straight colour; alpha stays. adjustCoverage: one channel, by its curve.
    void (*adjustColor)(uint8_t* pixels, const ColorAdjustment& adjustment, int count);
    void (*adjustCoverage)(uint8_t* pixels, const ColorAdjustment& adjustment, int count);
    /// dst moves by `part` of the way to src, clamped; a part below 0 moves away. Bytes.
    void (*mixBytes)(uint8_t* dst, const uint8_t* src, float part, int bytes);
    /// RGBA: the straight colour moves away from that of `blurred` by `amount` times their difference; alpha stays.
    void (*sharpenColor)(uint8_t* dst, const uint8_t* blurred, float amount, int count);

    // --- looking at pixels ---
    /// Ands and ors all 32-bit words together (bytes: a multiple of 64).
    void (*foldWords)(const uint8_t* bytes, int byteCount, uint32_t* andOfAll, uint32_t* orOfAll);
    /// Bit x of word y tells whether pixel 64·y + x is like the seed; 64·words pixels in one piece.
    void (*matchPixels)(uint64_t* bits, const uint8_t* pixels, const PixelMatch& match, int words);
    void (*matchOpaquePixels)(uint64_t* bits, const uint8_t* pixels, const PixelMatch& match, int words);  // alphas 255
    void (*matchCoverage)(uint64_t* bits, const uint8_t* coverage, const PixelMatch& match, int words);  // one channel

    /// Layer blend modes, within 0.52 of a level: some take a product twice. [kBlendNormal] is paintOverWeighted.
    BlendModeSpan blendMode[kLayerBlendModeCount];
};

/// The variant for this processor (the environment variable PAINTLAYER_KERNELS names another one for tests: baseline,
/// avx2 or avx512; an unknown or unsupported name is ignored).
const KernelTable& Get();

/// All variants that this processor runs, baseline first; null-terminated.
const KernelTable* const* GetAll();

/// Uses another variant from now on (tests and benchmarks); null restores the choice made at load.
void Use(const KernelTable* table);

/// a·b/255 rounded to nearest, exact for all bytes.
constexpr uint32_t MulDiv255(uint32_t a, uint32_t b)
{
    const uint32_t t = a * b + 128;
    return (t + (t >> 8)) >> 8;
}

/// A weight of 0 to 1 from a real number; out of range is clamped, NaN is 0.
constexpr Weight WeightFrom(double w)
{
    return w > 0 ? static_cast<Weight>(w >= 1 ? 65535 : w * 65535 + 0.5) : Weight{0};
}

}  // namespace kernels
