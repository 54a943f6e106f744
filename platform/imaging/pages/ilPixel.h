#pragma once

#include "platform/base/Export.h"

#include <array>
#include <cstdint>

/// Element data types of the imaging core; images are made of unsigned bytes.
enum ilDataType : int { kUnsignedByte = 2 };

/// One pixel value: R, G, B, A premultiplied (4 channels), or one coverage (1 channel).
/// Packed, the first component is the lowest byte.
class ilPixel {
public:
    constexpr ilPixel() = default;

    /// dataType: kUnsignedByte. channels: 1 or 4; other values act as 4. packed: first component lowest.
    constexpr ilPixel(int dataType, int channels, uint32_t packed = 0)
        : dataType_(dataType), channels_(channels == 1 ? 1 : 4), packed_(channels == 1 ? (packed & 0xFF) : packed)
    {}

    static constexpr ilPixel Rgba(uint8_t r, uint8_t g, uint8_t b, uint8_t a)
    {
        return {kUnsignedByte, 4, r | uint32_t{g} << 8 | uint32_t{b} << 16 | uint32_t{a} << 24};
    }
    static constexpr ilPixel Coverage(uint8_t value) { return {kUnsignedByte, 1, value}; }

    constexpr int GetDataType() const { return dataType_; }
    constexpr int GetNumChannels() const { return channels_; }
    constexpr uint32_t GetPacked() const { return packed_; }
    constexpr uint8_t GetComponent(int channel) const { return static_cast<uint8_t>(packed_ >> (8 * channel)); }

    /// Alpha of a colour pixel; a coverage pixel is its own alpha.
    constexpr uint8_t GetAlpha() const { return GetComponent(channels_ - 1); }

    friend constexpr bool operator==(const ilPixel&, const ilPixel&) = default;

private:
    int dataType_ = kUnsignedByte;
    int channels_ = 4;
    uint32_t packed_ = 0;
};
