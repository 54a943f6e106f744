#include "platform/imaging/kernels/PixelArithmetic.h"
#include "platform/imaging/kernels/Spans.h"
#include "platform/imaging/kernels/VariantKernels.h"

/// The blend modes whose formula has no division once it is written for premultiplied colours.
///
/// All start from co = S·(1 - ab) + D·(1 - as) + as·ab·B(D/ab, S/as), with S and D the premultiplied components of
/// source and destination and as, ab their alphas. With P = S·ab, Q = D·as, R = S·D and T = as·ab the last term becomes
///     multiply R,   screen P + Q - R,   darken min(P, Q),   lighten max(P, Q),   exclusion P + Q - 2R,
///     hard light 2R or 2P + 2Q - 2R - T by whether S lies in the lower half of as; overlay the same by D and ab.
/// The alpha channel obeys the same formulas (S = as, D = ab) save in difference and exclusion.
namespace kernels::PAINTLAYER_KERNEL_NAMESPACE {

namespace {

/// Values (see PixelArithmetic.h) of one vector. The source is weighted without rounding to bytes.
struct Operands {
    Vec dst, src;
    Wide S, D;
    Wide sourceFactor, destinationFactor;  // the alphas

    PAINTLAYER_KERNEL_INLINE Operands(const Vec& d, const Vec& s, const Wide& weight)
        : dst(d), src(s), S(MulHigh(Times256(s), weight)), D(Times256(d)),
          sourceFactor(MulFactors(AlphaTimes257(s), weight)), destinationFactor(AlphaTimes257(d))
    {}

    PAINTLAYER_KERNEL_INLINE Wide P() const { return MulHigh(S, destinationFactor); }
    PAINTLAYER_KERNEL_INLINE Wide Q() const { return MulHigh(D, sourceFactor); }
    PAINTLAYER_KERNEL_INLINE Wide R() const { return MulHigh(S, Times257(dst)); }
    PAINTLAYER_KERNEL_INLINE Wide T() const { return MulHigh(AlphaTimes256(dst), sourceFactor); }
};

/// dst = formula(operands), values, for every vector. Sums may wrap on the way: only the final value has to fit.
template <typename Formula>
PAINTLAYER_KERNEL_INLINE void BlendSpan(uint8_t* dst, const uint8_t* src, Weight weight, int count, Formula formula)
{
    const Wide w = Splat16(weight);
    ForSpans(dst, src, 4 * count, [=](const Vec& d, const Vec& s) {
        return Narrow(ShiftRight<8>(formula(Operands(d, s, w)) + Splat16(128)));
    });
}

PAINTLAYER_KERNEL_INLINE Wide ColorLanes()
{
    const uint16_t lanes[4] = {65535, 65535, 65535, 0};
    return SplatPixel(lanes);
}

/// Hard light and overlay: the upper half's formula where a > b, else the lower half's.
PAINTLAYER_KERNEL_INLINE Wide LightFormula(const Operands& o, const Wide& a, const Wide& b)
{
    const Wide R = o.R();
    const Wide X = o.P() + o.Q() - R - R;
    const Wide sum = o.S + o.D;
    return SelectGreater(a, b, sum + X - o.T(), sum - X);
}

}  // namespace

void BlendMultiply(uint8_t* dst, const uint8_t* src, Weight weight, int count)
{
    BlendSpan(dst, src, weight, count, [](const Operands& o) { return o.S + o.D - o.P() - o.Q() + o.R(); });
}

void BlendScreen(uint8_t* dst, const uint8_t* src, Weight weight, int count)
{
    BlendSpan(dst, src, weight, count, [](const Operands& o) { return o.S + o.D - o.R(); });
}

void BlendOverlay(uint8_t* dst, const uint8_t* src, Weight weight, int count)
{
    BlendSpan(dst, src, weight, count,
              [](const Operands& o) { return LightFormula(o, o.D, ShiftRight<1>(AlphaTimes256(o.dst))); });
}

void BlendDarken(uint8_t* dst, const uint8_t* src, Weight weight, int count)
{
    BlendSpan(dst, src, weight, count, [](const Operands& o) { return o.S + o.D - MaxOf(o.P(), o.Q()); });
}

void BlendLighten(uint8_t* dst, const uint8_t* src, Weight weight, int count)
{
    BlendSpan(dst, src, weight, count, [](const Operands& o) { return o.S + o.D - MinOf(o.P(), o.Q()); });
}

void BlendHardLight(uint8_t* dst, const uint8_t* src, Weight weight, int count)
{
    BlendSpan(dst, src, weight, count, [](const Operands& o) {
        // Which half it is does not depend on the weight: ask the bytes, which are exact.
        return LightFormula(o, Times256(o.src), ShiftRight<1>(AlphaTimes256(o.src)));
    });
}

void BlendDifference(uint8_t* dst, const uint8_t* src, Weight weight, int count)
{
    const Wide colorLanes = ColorLanes();
    BlendSpan(dst, src, weight, count, [=](const Operands& o) {
        const Wide common = MinOf(o.P(), o.Q());
        return o.S + o.D - common - (common & colorLanes);
    });
}

void BlendExclusion(uint8_t* dst, const uint8_t* src, Weight weight, int count)
{
    const Wide colorLanes = ColorLanes();
    BlendSpan(dst, src, weight, count, [=](const Operands& o) {
        const Wide R = o.R();
        return o.S + o.D - R - (R & colorLanes);
    });
}

void BlendPlus(uint8_t* dst, const uint8_t* src, Weight weight, int count)
{
    const Wide w = Splat16(weight);
    ForSpans(dst, src, 4 * count, [=](const Vec& d, const Vec& s) {
        return RoundToBytes(AddSaturating(Times256(d), MulHigh(Times256(s), w)));
    });
}

}  // namespace kernels::PAINTLAYER_KERNEL_NAMESPACE
