#include "platform/imaging/stamps/StampCoverage.h"

#include "platform/imaging/stamps/HardStampRasterizer.h"
#include "platform/imaging/stamps/SoftStampRasterizer.h"
#include "tests/stamps/StampReference.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <string>
#include <vector>

namespace {

using Falloff = BrushProfile::Falloff;

std::string Describe(const StampForm& form)
{
    return "along " + std::to_string(form.along) + " across " + std::to_string(form.across) + " rotation " +
           std::to_string(form.rotation) + " at " + std::to_string(form.centreX) + ", " + std::to_string(form.centreY);
}

StampForm Disc(double radius, int phaseX = 0, int phaseY = 0)
{
    return {radius, radius, 0, phaseX / 16.0, phaseY / 16.0};
}

/// Radii that are whole, half and odd, at places on, between and off the edges of pixels.
std::vector<StampForm> HardForms()
{
    std::vector<StampForm> forms;
    for (double radius : {0.3125, 0.5, 0.75, 1.0, 1.5, 2.0, 3.0625, 4.0, 7.9375, 16.0, 40.0}) {
        for (int phase = 0; phase < 16; phase += 4)
            forms.push_back(Disc(radius, phase, phase * 7 % 16));
        for (double aspect : {0.5, 0.125, 1.75})
            for (int rotation : {0, 50, 180, 360, 531})
                forms.push_back({radius, radius * aspect, rotation, rotation % 16 / 16.0, 0.25});
    }
    return forms;
}

void ExpectSameBytes(const StampCoverage& coverage, const char* what, auto&& expected)
{
    for (int y = coverage.GetTop() - 1; y <= coverage.GetTop() + coverage.GetHeight(); ++y)
        for (int x = coverage.GetLeft() - 1; x <= coverage.GetLeft() + coverage.GetWidth(); ++x)
            ASSERT_EQ(CoverageAt(coverage, x, y), expected(x, y)) << what << " at " << x << ", " << y;
}

TEST(HardStamp, EveryPixelIsTheAreaThatTheEllipseCovers)
{
    HardStampRasterizer rasterizer;
    for (const StampForm& form : HardForms()) {
        const auto coverage = rasterizer.Make(form);
        const StampReference reference(form);
        const int step = form.along > 8 ? 3 : 1;
        for (int y = coverage->GetTop() - 1; y <= coverage->GetTop() + coverage->GetHeight(); y += step)
            for (int x = coverage->GetLeft() - 1; x <= coverage->GetLeft() + coverage->GetWidth(); ++x)
                ASSERT_NEAR(CoverageAt(*coverage, x, y), 255 * reference.Area(x, y), 0.6)
                    << Describe(form) << " pixel " << x << ", " << y;
    }
}

TEST(HardStamp, TotalCoverageIsTheAreaOfTheDisc)
{
    HardStampRasterizer rasterizer;
    for (double radius = 1; radius < 1280; radius = radius * 1.37 + 0.0625) {
        const double area = std::numbers::pi * radius * radius;
        EXPECT_NEAR(TotalCoverage(*rasterizer.Make(Disc(radius, 3, 11))), area, 0.002 * area) << radius;
    }
    // A dot smaller than a pixel still weighs what it covers, to the rounding of the up to four pixels that it touches.
    for (double radius : {0.25, 0.5, 0.75})
        EXPECT_NEAR(TotalCoverage(*rasterizer.Make(Disc(radius, 5, 0))), std::numbers::pi * radius * radius, 2.0 / 255);
}

TEST(SoftStamp, EveryPixelIsNearlyTheAverageOfTheProfile)
{
    SoftStampRasterizer rasterizer;
    for (const Falloff falloff : {Falloff::Dome, Falloff::Linear, Falloff::Smooth}) {
        for (const float hardness : {0.0F, 0.5F, 0.8F, 0.95F}) {
            for (const double radius : {0.3125, 0.8125, 1.5, 3.0, 5.5, 12.0, 17.0, 40.0}) {
                for (const double aspect : {1.0, 0.375}) {
                    const StampForm form{radius, radius * aspect, aspect < 1 ? 131 : 0, 0.3125, 0.75};
                    const auto profile = MakeProfile({hardness, falloff}, static_cast<float>(radius));
                    const auto coverage = rasterizer.Make(*profile, form);
                    const StampReference reference(form);
                    const int step = radius > 8 ? 5 : 1;
                    for (int y = coverage->GetTop() - 1; y <= coverage->GetTop() + coverage->GetHeight(); y += step)
                        for (int x = coverage->GetLeft() - 1; x <= coverage->GetLeft() + coverage->GetWidth(); ++x)
                            ASSERT_NEAR(CoverageAt(*coverage, x, y), 255 * reference.Average(*profile, x, y), 4)
                                << Describe(form) << " hardness " << hardness << " falloff "
                                << static_cast<int>(falloff) << " pixel " << x << ", " << y;
                }
            }
        }
    }
}

TEST(SoftStamp, CoverageNeverRisesAwayFromTheCentre)
{
    SoftStampRasterizer rasterizer;
    for (const float hardness : {0.0F, 0.3F, 0.9F, 0.99F}) {
        for (const double radius : {2.0, 6.5, 15.0, 16.0, 64.0, 200.0}) {
            const auto profile = MakeProfile({hardness, Falloff::Dome}, static_cast<float>(radius));
            const auto coverage = rasterizer.Make(*profile, Disc(radius, 8, 8));
            for (int x = 1; x <= coverage->GetWidth() / 2; ++x)
                for (const int y : {0, static_cast<int>(radius / 2)})
                    ASSERT_LE(CoverageAt(*coverage, x, y), CoverageAt(*coverage, x - 1, y))
                        << radius << " hardness " << hardness << " at " << x << ", " << y;
        }
    }
}

TEST(StampCoverage, StampOnTheMiddleOfAPixelIsSymmetric)
{
    HardStampRasterizer hard;
    SoftStampRasterizer soft;
    for (const double radius : {0.75, 3.0625, 9.0, 33.5, 200.0}) {
        const auto profile = MakeProfile({0.6F, Falloff::Smooth}, static_cast<float>(radius));
        for (const auto& coverage : {hard.Make(Disc(radius, 8, 8)), soft.Make(*profile, Disc(radius, 8, 8))}) {
            ExpectSameBytes(*coverage, "mirrored", [&](int x, int y) { return CoverageAt(*coverage, -x, -y); });
            ExpectSameBytes(*coverage, "transposed", [&](int x, int y) { return CoverageAt(*coverage, y, x); });
        }
    }
}

TEST(StampCoverage, QuarterTurnOfAnEllipseExchangesTheAxes)
{
    HardStampRasterizer hard;
    SoftStampRasterizer soft;
    const auto profile = MakeProfile({0.5F, Falloff::Linear}, 12);
    for (const int rotation : {0, 77, 130}) {
        const StampForm form{12, 5, rotation, 0.5, 0.5};
        const StampForm turned{12, 5, rotation + 360, 0.5, 0.5};
        // Clockwise with y down: what lay to the right comes to lie below.
        const auto hardTurned = hard.Make(turned);
        const auto hardForm = hard.Make(form);
        ExpectSameBytes(*hardTurned, "hard", [&](int x, int y) { return CoverageAt(*hardForm, y, -x); });
        const auto softTurned = soft.Make(*profile, turned);
        const auto softForm = soft.Make(*profile, form);
        ExpectSameBytes(*softTurned, "soft", [&](int x, int y) { return CoverageAt(*softForm, y, -x); });
    }
    const auto slanted = hard.Make({20, 2, 120, 0.5, 0.5});  // by 30 degrees
    EXPECT_TRUE(CoverageAt(*slanted, 14, 8) == 255 && CoverageAt(*slanted, 14, -8) == 0);
}

TEST(StampCoverage, RowsArePaddedWithZerosAndExtentsAreTight)
{
    HardStampRasterizer hard;
    SoftStampRasterizer soft;
    const auto profile = MakeProfile({0.2F, Falloff::Dome}, 9);
    for (const auto& coverage : {hard.Make(Disc(0.0625)), hard.Make({30, 3, 100, 0, 0}),
                                 soft.Make(*profile, Disc(9, 3)), qs::MakeReference<StampCoverage>(0, 0, 5, 2)}) {
        for (int y = 0; y < coverage->GetHeight(); ++y) {
            const uint8_t* row = coverage->GetRow(y);
            const StampCoverage::RowExtent extent = coverage->GetExtent(y);
            for (int x = -StampCoverage::kCoveragePadding; x < extent.first; ++x)
                ASSERT_EQ(row[x], 0) << x << ", " << y;
            for (int x = extent.last; x < coverage->GetWidth() + StampCoverage::kCoveragePadding; ++x)
                ASSERT_EQ(row[x], 0) << x << ", " << y;
            ASSERT_LE(0, extent.first);
            ASSERT_LE(extent.last, coverage->GetWidth());
            if (extent.first < extent.last) {
                ASSERT_NE(row[extent.first], 0);
                ASSERT_NE(row[extent.last - 1], 0);
            }
        }
    }
}

}  // namespace
