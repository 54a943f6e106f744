#include "platform/imaging/pages/PaintColor.h"

#include <algorithm>
#include <cmath>

namespace {

float Clamped(float value)
{
    return value > 0 ? std::min(value, 1.0F) : 0.0F;
}

uint8_t RoundToByte(double value)
{
    return static_cast<uint8_t>(value * 255 + 0.5);
}

}  // namespace

PaintColor PaintColor::FromBytes(uint8_t r, uint8_t g, uint8_t b, uint8_t a)
{
    return {static_cast<float>(r) / 255, static_cast<float>(g) / 255, static_cast<float>(b) / 255,
            static_cast<float>(a) / 255};
}

void PaintColor::Clamp()
{
    r = Clamped(r);
    g = Clamped(g);
    b = Clamped(b);
    a = Clamped(a);
}

bool PaintColor::IsFinite() const
{
    return std::isfinite(r) && std::isfinite(g) && std::isfinite(b) && std::isfinite(a);
}

ilPixel PaintColor::Premultiplied() const
{
    PaintColor color = *this;
    color.Clamp();
    const double alpha = color.a;
    return ilPixel::Rgba(RoundToByte(color.r * alpha), RoundToByte(color.g * alpha), RoundToByte(color.b * alpha),
                         RoundToByte(alpha));
}

ilPixel PaintColor::PixelOf(int channels) const
{
    const ilPixel pixel = Premultiplied();
    return channels == 1 ? ilPixel::Coverage(pixel.GetAlpha()) : pixel;
}

void RGBtoHSV(float r, float g, float b, float& h, float& s, float& v)
{
    const float high = std::max({r, g, b});
    const float chroma = high - std::min({r, g, b});
    float sextant = 0;
    if (chroma > 0) {
        if (high == r)
            sextant = (g - b) / chroma;
        else if (high == g)
            sextant = 2 + (b - r) / chroma;
        else
            sextant = 4 + (r - g) / chroma;
    }
    h = 60 * (sextant < 0 ? sextant + 6 : sextant);
    s = high > 0 ? chroma / high : 0;
    v = high;
}

void HSVtoRGB(float h, float s, float v, float& r, float& g, float& b)
{
    double turn = std::fmod(static_cast<double>(h), 360.0);
    if (turn < 0)
        turn += 360;
    const auto component = [&](double offset) {
        // Along the hue circle each component falls from v to v - chroma and rises again, in straight lines.
        const double k = std::fmod(offset + turn / 60, 6.0);
        return static_cast<float>(v - static_cast<double>(v) * s * std::clamp(std::min(k, 4 - k), 0.0, 1.0));
    };
    const float red = component(5);
    const float green = component(3);
    const float blue = component(1);
    r = red;
    g = green;
    b = blue;
}
