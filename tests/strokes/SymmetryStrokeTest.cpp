#include "platform/imaging/strokes/SymmetryStroke.h"

#include "platform/base/AffineMatrix.h"
#include "tests/strokes/StrokeRecorder.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using Laid = StrokeRecorder::Laid;

TEST(Symmetry, ImagesOfAnyOrderAreDistinctIsometriesAboutTheCentre)
{
    for (const int order : {1, 2, 3, 4, 5, 64})
        for (const double mirror : {0.0, 33.0, 90.0}) {  // 0: none
            Symmetry symmetry(30, 40.5);
            symmetry.SetOrder(order);
            symmetry.SetMirror(mirror != 0, mirror);
            ASSERT_EQ(symmetry.numImages(), order * (mirror != 0 ? 2 : 1));
            EXPECT_EQ(symmetry.GetImageMatrix(0), qsLinear::AffineMatrix());
            qs::set<std::pair<long, long>> places;
            for (int i = 0; i < symmetry.numImages(); ++i) {
                const qsLinear::AffineMatrix map = symmetry.GetImageMatrix(i);
                EXPECT_NEAR(map.determinant(), i < order ? 1 : -1, 1e-10);
                double centreX = 30, centreY = 40.5, x = 130, y = 47;
                map.MapPoint(centreX, centreY);
                map.MapPoint(x, y);
                EXPECT_NEAR(std::hypot(centreX - 30, centreY - 40.5), 0, 1e-9);
                EXPECT_NEAR(std::hypot(x - 30, y - 40.5), std::hypot(100, 6.5), 1e-8);
                places.insert({std::lround(x * 16), std::lround(y * 16)});
                const bool isQuarter = i < order ? 4 * i % order == 0 : mirror == 90 && 4 * (i - order) % order == 0;
                EXPECT_TRUE(!isQuarter || (2 * x == std::round(2 * x) && 2 * y == std::round(2 * y))) << order << i;

                // A rotation goes with the axis that it stands for.
                const double degree = std::numbers::pi / 180;
                const double mapped = symmetry.MapRotation(i, 0.5 / degree) * degree;
                EXPECT_NEAR(std::cos(mapped), map.a * std::cos(0.5) + map.c * std::sin(0.5), 1e-9);
                EXPECT_NEAR(std::sin(mapped), map.b * std::cos(0.5) + map.d * std::sin(0.5), 1e-9);
            }
            EXPECT_EQ(places.size(), static_cast<size_t>(symmetry.numImages()));
            symmetry.SetEnabled(false);
            EXPECT_EQ(symmetry.numImages(), 1);
        }
}

TEST(Symmetry, RefusesWhatIsNoNumberAndLimitsTheOrder)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    Symmetry symmetry(3, 4), same(3, 4);
    symmetry.SetCenter(nan, 0);
    symmetry.Translate(std::numeric_limits<double>::infinity(), 0);
    symmetry.SetMirror(false, nan);
    symmetry.SetOrder(-5);
    EXPECT_EQ(symmetry, same);
    symmetry.SetOrder(1000);
    EXPECT_EQ(symmetry.GetOrder(), 64);
}

std::unique_ptr<SymmetryStroke> MakeStroke(const StrokeRecorder& recorder, const Symmetry& symmetry,
                                           const StampStroke::Parms& parms)
{
    qs::vector<std::unique_ptr<Stroke>> strokes;
    for (int i = 0; i < symmetry.numImages(); ++i)
        strokes.push_back(recorder.MakeStroke(parms, StrokeRecorder::Smooth()));
    auto stroke = std::make_unique<SymmetryStroke>(symmetry);
    stroke->set_strokes(std::move(strokes));
    return stroke;
}

TEST(SymmetryStroke, ThrownAndJitteredStampsHaveExactImages)
{
    const StrokeRecorder recorder;
    Symmetry symmetry(490, 512.5);
    symmetry.SetOrder(3);
    symmetry.SetMirror(true, 90);
    StampStroke::Parms parms;
    parms.spacingJitter = 0.8;
    parms.scatter = 1.5;
    const auto stroke = MakeStroke(recorder, symmetry, parms);
    stroke->add_point(std::numeric_limits<float>::quiet_NaN(), 1, 1, 1, 1, 1);
    stroke->finish();
    EXPECT_TRUE(StrokeRecorder::laid().empty()) << "a refused sample reaches no image";
    for (int i = 0; i <= 60; ++i)
        Feed(*stroke, SpiralAt(i / 60.0));
    stroke->finish();
    const auto laid = std::exchange(StrokeRecorder::laid(), {});  // one image after the other
    const size_t count = laid.size() / 6;
    ASSERT_TRUE(count > 500U && laid.size() == 6 * count);
    for (size_t i = 0; i < laid.size(); ++i) {
        double x = laid[i % count].x, y = laid[i % count].y;
        symmetry.GetImageMatrix(static_cast<int>(i / count)).MapPoint(x, y);
        ASSERT_NEAR(laid[i].x, x, 2e-3) << i;
        ASSERT_NEAR(laid[i].y, y, 2e-3) << i;
        ASSERT_NEAR(laid[i].size, laid[i % count].size, 1e-4);
    }
    // A place that floats hold but whose image they do not.
    stroke->add_point(-3.4e38F, 3.4e38F, 1, 1, 1, 0);
    stroke->add_point(500, 500, 1, 1, 1, 0);
    stroke->finish();
    EXPECT_FALSE(StrokeRecorder::laid().empty());
}

TEST(SymmetryStroke, TurnedStampsPaintAMirroredPicture)
{
    for (const double follow : {0.0, 0.5, 1.0}) {
        const StrokeRecorder recorder;
        Symmetry symmetry(500, 500);
        symmetry.SetMirror(true, 90);
        StampStroke::Parms parms;
        parms.spacing = 6;
        parms.directionFollow = follow;
        const auto stroke = MakeStroke(recorder, symmetry, parms);
        const float points[][2] = {{100, 300}, {300, 200}, {200, 400}, {450, 600}, {100, 600}, {150, 700}};
        for (const auto& point : points)
            stroke->add_point(point[0], point[1], 20, 1, 0.3F, 30);
        stroke->finish();
        int different = 0, painted = 0;
        for (int y = 0; y < 1000; ++y)
            for (int x = 0; x < 500; ++x) {
                const int alpha = recorder.AlphaAt(x, y);
                painted += alpha > 0 ? 1 : 0;
                different += std::abs(alpha - recorder.AlphaAt(999 - x, y)) > 64 ? 1 : 0;
            }
        EXPECT_GT(painted, 4000);
        EXPECT_LT(different, painted / 50) << follow;
    }
}

}  // namespace
