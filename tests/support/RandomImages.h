#pragma once

#include "platform/imaging/pages/ilSmartImage.h"
#include "tests/support/Seed.h"

#include <algorithm>
#include <cstdint>
#include <random>
#include <sstream>
#include <string>

/// Random numbers and pixels for tests.
class Random {
public:
    explicit Random(unsigned seed) : engine_(seed) {}
    int Int(int low, int high) { return std::uniform_int_distribution<int>(low, high)(engine_); }
    bool OneIn(int n) { return Int(1, n) == 1; }

    ilPixel Premultiplied()
    {
        const int kind = Int(0, 3);
        const int a = kind == 0 ? 0 : kind == 1 ? 255 : Int(0, 255);
        return ilPixel::Rgba(static_cast<uint8_t>(Int(0, a)), static_cast<uint8_t>(Int(0, a)),
                             static_cast<uint8_t>(Int(0, a)), static_cast<uint8_t>(a));
    }
    ilPixel Pixel(int channels)
    {
        return channels == 4 ? Premultiplied() : ilPixel::Coverage(static_cast<uint8_t>(Int(0, 255)));
    }
    ilTile Tile(int low, int high, int maxSide)
    {
        return {Int(low, high), Int(low, high), Int(1, maxSide), Int(1, maxSide)};
    }

private:
    SeededNumbers engine_;
};

/// An image with some rectangles, whole pages and single pixels around the origin.
inline qs::Reference<ilSmartImage> MakeRandomImage(Random& random, int channels, int extent = 160)
{
    qs::Reference<ilSmartImage> image(new ilSmartImage(ilPixel(kUnsignedByte, channels)));
    for (int i = 0; i < 6; ++i)
        image->fillTile(random.Tile(-extent, extent, 150), random.Pixel(channels));
    image->fillTile({64 * random.Int(-2, 1), 64 * random.Int(-2, 1), 64, 64}, random.Pixel(channels));
    for (int i = 0; i < 200; ++i)
        image->SetPixel(random.Int(-extent, extent), random.Int(-extent, extent), random.Pixel(channels));
    return image;
}

/// The first pixel in which two images differ within `area`, as text; empty when they are equal.
inline std::string FirstDifference(const ilImage& a, const ilImage& b, const ilTile& area, int tolerance = 0)
{
    for (int y = area.y; y < area.Bottom(); ++y)
        for (int x = area.x; x < area.Right(); ++x) {
            const ilPixel p = a.GetPixel(x, y);
            const ilPixel q = b.GetPixel(x, y);
            for (int c = 0; c < p.GetNumChannels(); ++c)
                if (std::abs(int{p.GetComponent(c)} - int{q.GetComponent(c)}) > tolerance) {
                    std::ostringstream text;
                    text << "(" << x << ", " << y << ") channel " << c << ": " << int{p.GetComponent(c)} << " and "
                         << int{q.GetComponent(c)};
                    return text.str();
                }
        }
    return {};
}
