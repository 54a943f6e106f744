#pragma once

#include <cstdint>

/// The operations of SimdX86.h in ordinary C++, for other machines.
namespace kernels::PAINTLAYER_KERNEL_NAMESPACE {

inline constexpr int kVecBytes = 16;

struct Vec {
    uint8_t v[kVecBytes];
};

struct Wide {
    uint16_t v[kVecBytes];
};

template <typename Operation>
PAINTLAYER_KERNEL_INLINE Vec ForBytes(Operation operation)
{
    Vec result;
    for (int i = 0; i < kVecBytes; ++i)
        result.v[i] = static_cast<uint8_t>(operation(i));
    return result;
}

template <typename Operation>
PAINTLAYER_KERNEL_INLINE Wide ForLanes(Operation operation)
{
    Wide result;
    for (int i = 0; i < kVecBytes; ++i)
        result.v[i] = static_cast<uint16_t>(operation(i));
    return result;
}

constexpr uint32_t SmallerInteger(uint32_t a, uint32_t b)
{
    return a < b ? a : b;
}

// --- memory and constants ---

PAINTLAYER_KERNEL_INLINE Vec Load(const uint8_t* p)
{
    return ForBytes([=](int i) { return p[i]; });
}

PAINTLAYER_KERNEL_INLINE void Store(uint8_t* p, const Vec& a)
{
    for (int i = 0; i < kVecBytes; ++i)
        p[i] = a.v[i];
}

PAINTLAYER_KERNEL_INLINE Vec Splat8(uint8_t value)
{
    return ForBytes([=](int) { return value; });
}

PAINTLAYER_KERNEL_INLINE Wide Splat16(uint16_t value)
{
    return ForLanes([=](int) { return value; });
}

PAINTLAYER_KERNEL_INLINE Wide SplatPixel(const uint16_t lanes[4])
{
    return ForLanes([=](int i) { return lanes[i % 4]; });
}

// --- bytes ---

PAINTLAYER_KERNEL_INLINE Vec And(const Vec& a, const Vec& b)
{
    return ForBytes([&](int i) { return a.v[i] & b.v[i]; });
}

PAINTLAYER_KERNEL_INLINE Vec Or(const Vec& a, const Vec& b)
{
    return ForBytes([&](int i) { return a.v[i] | b.v[i]; });
}

PAINTLAYER_KERNEL_INLINE Vec Xor(const Vec& a, const Vec& b)
{
    return ForBytes([&](int i) { return a.v[i] ^ b.v[i]; });
}

PAINTLAYER_KERNEL_INLINE Vec Min(const Vec& a, const Vec& b)
{
    return ForBytes([&](int i) { return SmallerInteger(a.v[i], b.v[i]); });
}

PAINTLAYER_KERNEL_INLINE Vec AddSaturating(const Vec& a, const Vec& b)
{
    return ForBytes([&](int i) { return SmallerInteger(uint32_t{a.v[i]} + b.v[i], 255); });
}

PAINTLAYER_KERNEL_INLINE Vec SubSaturating(const Vec& a, const Vec& b)
{
    return ForBytes([&](int i) { return uint32_t{a.v[i]} - SmallerInteger(a.v[i], b.v[i]); });
}

PAINTLAYER_KERNEL_INLINE bool IsZero(const Vec& a)
{
    int all = 0;
    for (const uint8_t byte : a.v)
        all |= byte;
    return all == 0;
}

PAINTLAYER_KERNEL_INLINE bool AreZero16(const uint8_t* p)
{
    uint64_t halves[2];
    std::memcpy(halves, p, sizeof halves);
    return (halves[0] | halves[1]) == 0;
}

PAINTLAYER_KERNEL_INLINE uint64_t ZeroByteBits(const Vec& a)
{
    uint64_t bits = 0;
    for (int i = 0; i < kVecBytes; ++i)
        bits |= uint64_t{a.v[i] == 0} << i;
    return bits;
}

PAINTLAYER_KERNEL_INLINE uint64_t ZeroPixelBits(const Vec& a)
{
    uint64_t bits = 0;
    for (int i = 0; i < kVecBytes; i += 4)
        bits |= uint64_t{(a.v[i] | a.v[i + 1] | a.v[i + 2] | a.v[i + 3]) == 0} << (i / 4);
    return bits;
}

// --- 16-bit lanes ---

PAINTLAYER_KERNEL_INLINE Wide operator+(const Wide& a, const Wide& b)
{
    return ForLanes([&](int i) { return a.v[i] + b.v[i]; });
}

PAINTLAYER_KERNEL_INLINE Wide operator-(const Wide& a, const Wide& b)
{
    return ForLanes([&](int i) { return a.v[i] - b.v[i]; });
}

PAINTLAYER_KERNEL_INLINE Wide operator&(const Wide& a, const Wide& b)
{
    return ForLanes([&](int i) { return a.v[i] & b.v[i]; });
}

PAINTLAYER_KERNEL_INLINE Wide AddSaturating(const Wide& a, const Wide& b)
{
    return ForLanes([&](int i) { return SmallerInteger(uint32_t{a.v[i]} + b.v[i], 65535); });
}

PAINTLAYER_KERNEL_INLINE Wide SubSaturating(const Wide& a, const Wide& b)
{
    return ForLanes([&](int i) { return uint32_t{a.v[i]} - SmallerInteger(a.v[i], b.v[i]); });
}

PAINTLAYER_KERNEL_INLINE Wide MulLow(const Wide& a, const Wide& b)
{
    return ForLanes([&](int i) { return uint32_t{a.v[i]} * b.v[i]; });
}

PAINTLAYER_KERNEL_INLINE Wide MulHigh(const Wide& a, const Wide& b)
{
    return ForLanes([&](int i) { return (uint32_t{a.v[i]} * b.v[i]) >> 16; });
}

template <int kBits>
PAINTLAYER_KERNEL_INLINE Wide ShiftRight(const Wide& a)
{
    return ForLanes([&](int i) { return a.v[i] >> kBits; });
}

PAINTLAYER_KERNEL_INLINE Wide SelectGreater(const Wide& a, const Wide& b, const Wide& yes, const Wide& no)
{
    return ForLanes([&](int i) { return a.v[i] > b.v[i] ? yes.v[i] : no.v[i]; });
}

// --- between bytes and lanes ---

PAINTLAYER_KERNEL_INLINE Wide Join(const Vec& low, const Vec& high)
{
    return ForLanes([&](int i) { return low.v[i] + 256 * high.v[i]; });
}

PAINTLAYER_KERNEL_INLINE Vec Narrow(const Wide& a)
{
    return ForBytes([&](int i) { return a.v[i]; });
}

PAINTLAYER_KERNEL_INLINE Vec PixelAlpha(const Vec& a)
{
    return ForBytes([&](int i) { return a.v[i | 3]; });
}

PAINTLAYER_KERNEL_INLINE Wide AlphaTimes1(const Vec& a)
{
    return ForLanes([&](int i) { return a.v[i | 3]; });
}

PAINTLAYER_KERNEL_INLINE Wide AlphaTimes256(const Vec& a)
{
    return ForLanes([&](int i) { return a.v[i | 3] * 256; });
}

PAINTLAYER_KERNEL_INLINE Wide AlphaTimes257(const Vec& a)
{
    return ForLanes([&](int i) { return a.v[i | 3] * 257; });
}

PAINTLAYER_KERNEL_INLINE Wide LoadCoverage(const uint8_t* coverage)
{
    return ForLanes([&](int i) { return coverage[i / 4] * 257; });
}

}  // namespace kernels::PAINTLAYER_KERNEL_NAMESPACE
