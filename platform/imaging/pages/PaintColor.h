#pragma once

#include "platform/imaging/pages/ilPixel.h"

/// A straight (not premultiplied) colour of real components, 0 to 1 once clamped.
struct PAINTLAYER_EXPORT PaintColor {
    float r = 0;
    float g = 0;
    float b = 0;
    float a = 1;

    constexpr PaintColor() = default;
    constexpr PaintColor(float red, float green, float blue, float alpha = 1) : r(red), g(green), b(blue), a(alpha) {}

    /// From 8-bit components.
    static PaintColor FromBytes(uint8_t r, uint8_t g, uint8_t b, uint8_t a = 255);

    /// Brings every component into 0 to 1; a NaN becomes 0.
    void Clamp();
    bool IsFinite() const;

    /// The premultiplied four-channel pixel, each component rounded once.
    ilPixel Premultiplied() const;

    /// The same for an image of that many channels: of one channel the alpha, as coverage.
    ilPixel PixelOf(int channels) const;

    friend constexpr bool operator==(const PaintColor&, const PaintColor&) = default;
};

/// Hue in degrees 0 to 360 (0 for greys), saturation and value 0 to 1 (the hexcone model).
PAINTLAYER_EXPORT void RGBtoHSV(float r, float g, float b, float& h, float& s, float& v);

/// The inverse; any finite hue is taken modulo 360.
PAINTLAYER_EXPORT void HSVtoRGB(float h, float s, float v, float& r, float& g, float& b);
