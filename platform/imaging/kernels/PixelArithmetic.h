#pragma once

#include "platform/imaging/kernels/Kernels.h"
#include "platform/imaging/kernels/Simd.h"

/// Arithmetic on 16-bit lanes that the kernels share.
///
/// A *value* is a component in 1/256 of a level: byte·256, 0 to 65280. A *factor* of 0 to 1 is 0 to 65535: byte·257, or
/// a Weight. The product of two comes from MulHigh, which takes 65535/65536 for one and rounds down. What that costs,
/// at most 4/256 of a level in any kernel, is far from the half level of the only rounding, in RoundToBytes().
namespace kernels::PAINTLAYER_KERNEL_NAMESPACE {

/// The product of two factors. One times one is one. Zero times anything may come out as 1/65536 instead of 0: a factor
/// so small that MulHigh makes 0 of its product with any lane.
PAINTLAYER_KERNEL_INLINE Wide MulFactors(const Wide& a, const Wide& b)
{
    return MulHigh(a, b) + Splat16(1);
}

/// As MulHigh, rounded to nearest.
PAINTLAYER_KERNEL_INLINE Wide MulRounded(const Wide& a, const Wide& b)
{
    return MulHigh(a, b) + ShiftRight<15>(MulLow(a, b));
}

/// The product of two factors to nearest; one times one is one.
PAINTLAYER_KERNEL_INLINE Wide MulFactorsRounded(const Wide& a, const Wide& b)
{
    const Wide product = MulRounded(a, b);
    return product + ShiftRight<15>(product);
}

/// Values to the nearest bytes.
PAINTLAYER_KERNEL_INLINE Vec RoundToBytes(const Wide& value)
{
    return Narrow(ShiftRight<8>(AddSaturating(value, Splat16(128))));
}

/// added + (1 - factor)·below, all values. The factor of an opaque colour stores `added` exactly; a factor from
/// MulFactors() errs upwards, so that what is painted again and again comes close to its colour from below.
PAINTLAYER_KERNEL_INLINE Wide OverValue(const Wide& below, const Wide& added, const Wide& factor)
{
    return AddSaturating(below - MulHigh(below, factor), added);
}

}  // namespace kernels::PAINTLAYER_KERNEL_NAMESPACE
