#pragma once

#include "platform/imaging/kernels/Simd.h"

/// Walks along spans a vector at a time; the last, partial vector goes through a buffer.
namespace kernels::PAINTLAYER_KERNEL_NAMESPACE {

// A whole page lies in one piece and mostly comes from memory, so it is asked for in advance. How much that gains is up
// to the machine: a third where its own prefetching is slow to start, nothing where that keeps up; there, 1 KiB ahead
// already loses a fifth. Shorter rows are left to the machine.
inline constexpr int kPrefetchFromBytes = 8192;
inline constexpr int kPrefetchAheadBytes = 512;
inline constexpr int kCacheLineBytes = 64;

/// dst = operation(dst) for every vector.
template <typename Operation>
PAINTLAYER_KERNEL_INLINE void ForSpan(uint8_t* dst, int bytes, Operation operation)
{
    int i = 0;
    for (; i + kVecBytes <= bytes; i += kVecBytes)
        Store(dst + i, operation(Load(dst + i)));
    if (i < bytes)
        StorePart(dst + i, operation(LoadPart(dst + i, bytes - i)), bytes - i);
}

/// dst = operation(dst, src) for every vector.
template <typename Operation>
PAINTLAYER_KERNEL_INLINE void ForSpans(uint8_t* dst, const uint8_t* src, int bytes, Operation operation)
{
    int i = 0;
    if (bytes >= kPrefetchFromBytes) {
        for (; i + kCacheLineBytes <= bytes; i += kCacheLineBytes) {
            __builtin_prefetch(src + i + kPrefetchAheadBytes);
            __builtin_prefetch(dst + i + kPrefetchAheadBytes);
            for (int k = i; k < i + kCacheLineBytes; k += kVecBytes)
                Store(dst + k, operation(Load(dst + k), Load(src + k)));
        }
    }
    for (; i + kVecBytes <= bytes; i += kVecBytes)
        Store(dst + i, operation(Load(dst + i), Load(src + i)));
    if (i < bytes)
        StorePart(dst + i, operation(LoadPart(dst + i, bytes - i), LoadPart(src + i, bytes - i)), bytes - i);
}

/// RGBA: dst = operation(dst, src, coverage·257) for every vector.
template <typename Operation>
PAINTLAYER_KERNEL_INLINE void ForCoveredPixels(uint8_t* dst, const uint8_t* src, const uint8_t* coverage, int count,
                                               Operation operation)
{
    int x = 0;
    for (; x + kVecPixels <= count; x += kVecPixels)
        Store(dst + 4 * x, operation(Load(dst + 4 * x), Load(src + 4 * x), LoadCoverage(coverage + x)));
    if (x < count) {
        const int bytes = 4 * (count - x);
        StorePart(dst + 4 * x,
                  operation(LoadPart(dst + 4 * x, bytes), LoadPart(src + 4 * x, bytes),
                            LoadCoveragePart(coverage + x, count - x)),
                  bytes);
    }
}

}  // namespace kernels::PAINTLAYER_KERNEL_NAMESPACE
