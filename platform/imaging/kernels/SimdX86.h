#pragma once

#include <immintrin.h>

#include <cstdint>
#include <cstring>

/// Byte vectors of the widest instruction set that this file is compiled for: AVX-512BW, AVX2 or SSE2.
///
/// Unpacking and packing stay within 16 bytes, as the instructions do. Narrow() undoes exactly what the widening
/// functions do, so between the two every lane belongs to the same pixel in all operands.
#if defined(__AVX512BW__)
#define PAINTLAYER_MM(operation) _mm512_##operation
#define PAINTLAYER_MM_ALL(operation) _mm512_##operation##_si512
#elif defined(__AVX2__)
#define PAINTLAYER_MM(operation) _mm256_##operation
#define PAINTLAYER_MM_ALL(operation) _mm256_##operation##_si256
#else
#define PAINTLAYER_MM(operation) _mm_##operation
#define PAINTLAYER_MM_ALL(operation) _mm_##operation##_si128
#endif

namespace kernels::PAINTLAYER_KERNEL_NAMESPACE {

#if defined(__AVX512BW__)
using Register = __m512i;
#elif defined(__AVX2__)
using Register = __m256i;
#else
using Register = __m128i;
#endif

inline constexpr int kVecBytes = sizeof(Register);

/// Bytes in memory order.
struct Vec {
    Register v;
};

/// The same bytes widened to 16-bit lanes.
struct Wide {
    Register low, high;
};

// --- memory ---

PAINTLAYER_KERNEL_INLINE Vec Load(const uint8_t* p)
{
    return {PAINTLAYER_MM_ALL(loadu)(reinterpret_cast<const Register*>(p))};
}

PAINTLAYER_KERNEL_INLINE void Store(uint8_t* p, Vec a)
{
    PAINTLAYER_MM_ALL(storeu)(reinterpret_cast<Register*>(p), a.v);
}

// --- constants ---

PAINTLAYER_KERNEL_INLINE Vec Splat8(uint8_t value)
{
    return {PAINTLAYER_MM(set1_epi8)(static_cast<char>(value))};
}

PAINTLAYER_KERNEL_INLINE Wide Splat16(uint16_t value)
{
    const Register v = PAINTLAYER_MM(set1_epi16)(static_cast<short>(value));
    return {v, v};
}

/// Four lanes repeated for every pixel.
PAINTLAYER_KERNEL_INLINE Wide SplatPixel(const uint16_t lanes[4])
{
    uint64_t bits = 0;
    std::memcpy(&bits, lanes, sizeof bits);
#if defined(__AVX512BW__)
    const Register v = _mm512_set1_epi64(static_cast<long long>(bits));
#else
    const Register v = PAINTLAYER_MM(set1_epi64x)(static_cast<long long>(bits));
#endif
    return {v, v};
}

// --- bytes ---

PAINTLAYER_KERNEL_INLINE Vec And(Vec a, Vec b)
{
    return {PAINTLAYER_MM_ALL(and)(a.v, b.v)};
}

PAINTLAYER_KERNEL_INLINE Vec Or(Vec a, Vec b)
{
    return {PAINTLAYER_MM_ALL(or)(a.v, b.v)};
}

PAINTLAYER_KERNEL_INLINE Vec Xor(Vec a, Vec b)
{
    return {PAINTLAYER_MM_ALL(xor)(a.v, b.v)};
}

PAINTLAYER_KERNEL_INLINE Vec Min(Vec a, Vec b)
{
    return {PAINTLAYER_MM(min_epu8)(a.v, b.v)};
}

PAINTLAYER_KERNEL_INLINE Vec AddSaturating(Vec a, Vec b)
{
    return {PAINTLAYER_MM(adds_epu8)(a.v, b.v)};
}

PAINTLAYER_KERNEL_INLINE Vec SubSaturating(Vec a, Vec b)
{
    return {PAINTLAYER_MM(subs_epu8)(a.v, b.v)};
}

PAINTLAYER_KERNEL_INLINE bool IsZero(Vec a)
{
#if defined(__AVX512BW__)
    return _mm512_test_epi32_mask(a.v, a.v) == 0;
#elif defined(__AVX2__)
    return _mm256_testz_si256(a.v, a.v) != 0;
#else
    return _mm_movemask_epi8(_mm_cmpeq_epi8(a.v, _mm_setzero_si128())) == 0xFFFF;
#endif
}

/// Of 16 bytes in memory.
PAINTLAYER_KERNEL_INLINE bool AreZero16(const uint8_t* p)
{
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
#if defined(__AVX2__)
    return _mm_testz_si128(bytes, bytes) != 0;
#else
    return _mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_setzero_si128())) == 0xFFFF;
#endif
}

/// Bit i tells whether byte i is zero.
PAINTLAYER_KERNEL_INLINE uint64_t ZeroByteBits(Vec a)
{
#if defined(__AVX512BW__)
    return _mm512_testn_epi8_mask(a.v, a.v);
#else
    return static_cast<uint32_t>(
        PAINTLAYER_MM(movemask_epi8)(PAINTLAYER_MM(cmpeq_epi8)(a.v, PAINTLAYER_MM_ALL(setzero)())));
#endif
}

/// Bit i tells whether the four bytes of pixel i are zero.
PAINTLAYER_KERNEL_INLINE uint64_t ZeroPixelBits(Vec a)
{
#if defined(__AVX512BW__)
    return _mm512_testn_epi32_mask(a.v, a.v);
#elif defined(__AVX2__)
    return static_cast<uint32_t>(
        _mm256_movemask_ps(_mm256_castsi256_ps(_mm256_cmpeq_epi32(a.v, _mm256_setzero_si256()))));
#else
    return static_cast<uint32_t>(_mm_movemask_ps(_mm_castsi128_ps(_mm_cmpeq_epi32(a.v, _mm_setzero_si128()))));
#endif
}

// --- 16-bit lanes; + and - wrap ---

PAINTLAYER_KERNEL_INLINE Wide operator+(Wide a, Wide b)
{
    return {PAINTLAYER_MM(add_epi16)(a.low, b.low), PAINTLAYER_MM(add_epi16)(a.high, b.high)};
}

PAINTLAYER_KERNEL_INLINE Wide operator-(Wide a, Wide b)
{
    return {PAINTLAYER_MM(sub_epi16)(a.low, b.low), PAINTLAYER_MM(sub_epi16)(a.high, b.high)};
}

PAINTLAYER_KERNEL_INLINE Wide operator&(Wide a, Wide b)
{
    return {PAINTLAYER_MM_ALL(and)(a.low, b.low), PAINTLAYER_MM_ALL(and)(a.high, b.high)};
}

PAINTLAYER_KERNEL_INLINE Wide AddSaturating(Wide a, Wide b)
{
    return {PAINTLAYER_MM(adds_epu16)(a.low, b.low), PAINTLAYER_MM(adds_epu16)(a.high, b.high)};
}

PAINTLAYER_KERNEL_INLINE Wide SubSaturating(Wide a, Wide b)
{
    return {PAINTLAYER_MM(subs_epu16)(a.low, b.low), PAINTLAYER_MM(subs_epu16)(a.high, b.high)};
}

PAINTLAYER_KERNEL_INLINE Wide MulLow(Wide a, Wide b)
{
    return {PAINTLAYER_MM(mullo_epi16)(a.low, b.low), PAINTLAYER_MM(mullo_epi16)(a.high, b.high)};
}

/// a·b >> 16.
PAINTLAYER_KERNEL_INLINE Wide MulHigh(Wide a, Wide b)
{
    return {PAINTLAYER_MM(mulhi_epu16)(a.low, b.low), PAINTLAYER_MM(mulhi_epu16)(a.high, b.high)};
}

template <int kBits>
PAINTLAYER_KERNEL_INLINE Wide ShiftRight(Wide a)
{
    return {PAINTLAYER_MM(srli_epi16)(a.low, kBits), PAINTLAYER_MM(srli_epi16)(a.high, kBits)};
}

PAINTLAYER_KERNEL_INLINE Register SelectGreaterLanes(Register a, Register b, Register yes, Register no)
{
#if defined(__AVX512BW__)
    return _mm512_mask_blend_epi16(_mm512_cmpgt_epu16_mask(a, b), no, yes);
#else
    // There is no unsigned comparison: the saturated difference is 0 exactly where a <= b.
    const Register notGreater =
        PAINTLAYER_MM(cmpeq_epi16)(PAINTLAYER_MM(subs_epu16)(a, b), PAINTLAYER_MM_ALL(setzero)());
    return PAINTLAYER_MM_ALL(or)(PAINTLAYER_MM_ALL(and)(notGreater, no), PAINTLAYER_MM_ALL(andnot)(notGreater, yes));
#endif
}

/// a > b ? yes : no.
PAINTLAYER_KERNEL_INLINE Wide SelectGreater(Wide a, Wide b, Wide yes, Wide no)
{
    return {SelectGreaterLanes(a.low, b.low, yes.low, no.low), SelectGreaterLanes(a.high, b.high, yes.high, no.high)};
}

// --- between bytes and lanes ---

/// Each lane is the byte of `low` plus 256 times the byte of `high`.
PAINTLAYER_KERNEL_INLINE Wide Join(Vec low, Vec high)
{
    return {PAINTLAYER_MM(unpacklo_epi8)(low.v, high.v), PAINTLAYER_MM(unpackhi_epi8)(low.v, high.v)};
}

/// Lanes of 0 to 255 back to bytes.
PAINTLAYER_KERNEL_INLINE Vec Narrow(Wide a)
{
    return {PAINTLAYER_MM(packus_epi16)(a.low, a.high)};
}

// --- alpha and coverage spread over the four components of each pixel ---

#if defined(__AVX2__)

/// The same in every 16 bytes.
PAINTLAYER_KERNEL_INLINE Vec Repeat(__m128i bytes)
{
#if defined(__AVX512BW__)
    // The form without a mask makes g++ 12 warn of its own header's undefined operand.
    return {_mm512_maskz_broadcast_i32x4(0xFFFF, bytes)};
#else
    return {_mm256_broadcastsi128_si256(bytes)};
#endif
}

PAINTLAYER_KERNEL_INLINE Vec Shuffle(Vec a, Vec indices)
{
    return {PAINTLAYER_MM(shuffle_epi8)(a.v, indices.v)};
}

PAINTLAYER_KERNEL_INLINE Vec PixelAlpha(Vec a)
{
    return Shuffle(a, Repeat(_mm_setr_epi8(3, 3, 3, 3, 7, 7, 7, 7, 11, 11, 11, 11, 15, 15, 15, 15)));
}

/// Lanes made of the alpha byte where `lowByte` and `highByte` are 3, of zero where they are -128.
template <int lowByte, int highByte>
PAINTLAYER_KERNEL_INLINE Wide SpreadAlpha(Vec a)
{
    constexpr char l0 = lowByte, h0 = highByte;
    constexpr char l1 = lowByte + 4, h1 = highByte + 4;
    const __m128i first = _mm_setr_epi8(l0, h0, l0, h0, l0, h0, l0, h0, l1, h1, l1, h1, l1, h1, l1, h1);
    const __m128i next = _mm_set1_epi8(8);
    return {Shuffle(a, Repeat(first)).v, Shuffle(a, Repeat(_mm_add_epi8(first, next))).v};
}

PAINTLAYER_KERNEL_INLINE Wide AlphaTimes1(Vec a)
{
    return SpreadAlpha<3, -128>(a);
}

PAINTLAYER_KERNEL_INLINE Wide AlphaTimes256(Vec a)
{
    return SpreadAlpha<-128, 3>(a);
}

PAINTLAYER_KERNEL_INLINE Wide AlphaTimes257(Vec a)
{
    return SpreadAlpha<3, 3>(a);
}

/// Coverage times 257 of kVecBytes / 4 pixels.
PAINTLAYER_KERNEL_INLINE Wide LoadCoverage(const uint8_t* coverage)
{
    const __m128i two = _mm_setr_epi8(0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1);
#if defined(__AVX512BW__)
    const Vec all = Repeat(_mm_loadu_si128(reinterpret_cast<const __m128i*>(coverage)));
    const Register quarters = _mm512_setr_epi64(0, 0, 0x0404040404040404, 0x0404040404040404, 0x0808080808080808,
                                                0x0808080808080808, 0x0C0C0C0C0C0C0C0C, 0x0C0C0C0C0C0C0C0C);
#else
    long long eight = 0;
    std::memcpy(&eight, coverage, sizeof eight);
    const Vec all{_mm256_set1_epi64x(eight)};
    const Register quarters = _mm256_setr_epi64x(0, 0, 0x0404040404040404, 0x0404040404040404);
#endif
    const Register low = PAINTLAYER_MM(add_epi8)(Repeat(two).v, quarters);
    const Register high = PAINTLAYER_MM(add_epi8)(low, PAINTLAYER_MM(set1_epi8)(2));
    return {Shuffle(all, {low}).v, Shuffle(all, {high}).v};
}

#else

PAINTLAYER_KERNEL_INLINE Vec PixelAlpha(Vec a)
{
    __m128i alpha = _mm_srli_epi32(a.v, 24);
    alpha = _mm_or_si128(alpha, _mm_slli_epi32(alpha, 8));
    return {_mm_or_si128(alpha, _mm_slli_epi32(alpha, 16))};
}

PAINTLAYER_KERNEL_INLINE Wide SpreadAlphaLanes(Wide a)
{
    return {_mm_shufflehi_epi16(_mm_shufflelo_epi16(a.low, 0xFF), 0xFF),
            _mm_shufflehi_epi16(_mm_shufflelo_epi16(a.high, 0xFF), 0xFF)};
}

PAINTLAYER_KERNEL_INLINE Wide AlphaTimes1(Vec a)
{
    return SpreadAlphaLanes(Join(a, {_mm_setzero_si128()}));
}

PAINTLAYER_KERNEL_INLINE Wide AlphaTimes256(Vec a)
{
    return SpreadAlphaLanes(Join({_mm_setzero_si128()}, a));
}

PAINTLAYER_KERNEL_INLINE Wide AlphaTimes257(Vec a)
{
    return SpreadAlphaLanes(Join(a, a));
}

/// Coverage times 257 of kVecBytes / 4 pixels.
PAINTLAYER_KERNEL_INLINE Wide LoadCoverage(const uint8_t* coverage)
{
    int four = 0;
    std::memcpy(&four, coverage, sizeof four);
    __m128i pixels = _mm_cvtsi32_si128(four);
    pixels = _mm_unpacklo_epi8(pixels, pixels);
    pixels = _mm_unpacklo_epi16(pixels, pixels);
    return {_mm_shuffle_epi32(pixels, _MM_SHUFFLE(1, 1, 0, 0)), _mm_shuffle_epi32(pixels, _MM_SHUFFLE(3, 3, 2, 2))};
}

#endif

}  // namespace kernels::PAINTLAYER_KERNEL_NAMESPACE

#undef PAINTLAYER_MM
#undef PAINTLAYER_MM_ALL
