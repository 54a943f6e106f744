#include "platform/imaging/pages/PaintColor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

namespace {

TEST(PaintColor, HsvAndBackGivesTheSameColour)
{
    for (int r = 0; r <= 255; r += 15) {
        for (int g = 0; g <= 255; g += 15) {
            for (int b = 0; b <= 255; b += 15) {
                const PaintColor color =
                    PaintColor::FromBytes(static_cast<uint8_t>(r), static_cast<uint8_t>(g), static_cast<uint8_t>(b));
                float h = -1, s = -1, v = -1;
                RGBtoHSV(color.r, color.g, color.b, h, s, v);
                ASSERT_TRUE(h >= 0 && h < 360 && s >= 0 && s <= 1);
                ASSERT_EQ(v, std::max({color.r, color.g, color.b}));
                for (const float turns : {0.0F, 360.0F, -720.0F}) {
                    PaintColor back;
                    HSVtoRGB(h + turns, s, v, back.r, back.g, back.b);
                    ASSERT_NEAR(back.r, color.r, 2e-6 * (1 + std::abs(turns)));
                    ASSERT_NEAR(back.g, color.g, 2e-6 * (1 + std::abs(turns)));
                    ASSERT_NEAR(back.b, color.b, 2e-6 * (1 + std::abs(turns)));
                }
            }
        }
    }
}

TEST(PaintColor, HueRunsFromRedOverGreenToBlue)
{
    const struct {
        float r, g, b, hue;
    } colors[] = {{1, 0, 0, 0},   {1, 1, 0, 60},  {0, 1, 0, 120},       {0, 1, 1, 180},
                  {0, 0, 1, 240}, {1, 0, 1, 300}, {0.5F, 0.5F, 0.5F, 0}};
    for (const auto& color : colors) {
        float h = -1, s = -1, v = -1;
        RGBtoHSV(color.r, color.g, color.b, h, s, v);
        EXPECT_FLOAT_EQ(h, color.hue);
    }
}

TEST(PaintColor, PremultipliedPixelIsRoundedOnceAndNeverExceedsItsAlpha)
{
    for (int a = 0; a <= 255; ++a) {
        for (int c = 0; c <= 255; c += 3) {
            const ilPixel pixel =
                PaintColor(static_cast<float>(c) / 255, 1, 0, static_cast<float>(a) / 255).Premultiplied();
            ASSERT_NEAR(pixel.GetComponent(0), c * a / 255.0, 0.501);
            ASSERT_EQ(pixel.GetComponent(1), a);
            ASSERT_EQ(pixel.GetAlpha(), a);
        }
    }
    EXPECT_EQ(PaintColor(9, -1, 0, 2).Premultiplied(), ilPixel::Rgba(255, 0, 0, 255));
}

TEST(PaintColor, ClampRemovesWhatIsNoNumber)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    PaintColor color(nan, infinity, -infinity, 0.5F);
    EXPECT_FALSE(color.IsFinite());
    color.Clamp();
    EXPECT_EQ(color, PaintColor(0, 1, 0, 0.5F));
    EXPECT_TRUE(color.IsFinite());
}

}  // namespace
