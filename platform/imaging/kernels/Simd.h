#pragma once

#include <cstdint>
#include <cstring>

// What a kernel file calls is always inlined or in the variant's own namespace: the linker would otherwise be free to
// keep one copy of it, compiled for whichever instruction set.
#define PAINTLAYER_KERNEL_INLINE [[gnu::always_inline]] inline

// PAINTLAYER_PORTABLE_KERNELS takes the portable code everywhere: the tests hold it against the machine's own.
#if defined(__SSE2__) && !defined(PAINTLAYER_PORTABLE_KERNELS)
#include "platform/imaging/kernels/SimdX86.h"
#else
#include "platform/imaging/kernels/SimdPortable.h"
#endif

/// What is made of the vector operations alone.
namespace kernels::PAINTLAYER_KERNEL_NAMESPACE {

inline constexpr int kVecPixels = kVecBytes / 4;

PAINTLAYER_KERNEL_INLINE Wide Times1(const Vec& a)
{
    return Join(a, Splat8(0));
}

PAINTLAYER_KERNEL_INLINE Wide Times256(const Vec& a)
{
    return Join(Splat8(0), a);
}

PAINTLAYER_KERNEL_INLINE Wide Times257(const Vec& a)
{
    return Join(a, a);
}

PAINTLAYER_KERNEL_INLINE Wide MinOf(const Wide& a, const Wide& b)
{
    return a - SubSaturating(a, b);
}

PAINTLAYER_KERNEL_INLINE Wide MaxOf(const Wide& a, const Wide& b)
{
    return b + SubSaturating(a, b);
}

/// The first `bytes` (below kVecBytes) from `p`, then zeros.
PAINTLAYER_KERNEL_INLINE Vec LoadPart(const uint8_t* p, int bytes)
{
    uint8_t buffer[kVecBytes] = {};
    std::memcpy(buffer, p, static_cast<size_t>(bytes));
    return Load(buffer);
}

PAINTLAYER_KERNEL_INLINE void StorePart(uint8_t* p, const Vec& a, int bytes)
{
    uint8_t buffer[kVecBytes];
    Store(buffer, a);
    std::memcpy(p, buffer, static_cast<size_t>(bytes));
}

/// Coverage times 257 of the first `pixels` (below kVecPixels), then zeros.
PAINTLAYER_KERNEL_INLINE Wide LoadCoveragePart(const uint8_t* coverage, int pixels)
{
    uint8_t buffer[kVecPixels] = {};
    std::memcpy(buffer, coverage, static_cast<size_t>(pixels));
    return LoadCoverage(buffer);
}

}  // namespace kernels::PAINTLAYER_KERNEL_NAMESPACE
