#include "platform/imaging/strokes/SymmetryStroke.h"

#include "platform/base/AffineMatrix.h"
#include "tests/strokes/StrokeRecorder.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using Laid = StrokeRecorder::Laid;

TEST(Symmetry, MirrorsAndQuarterTurnsMapWholePixelsExactly)
{
    Symmetry symmetry(100, 50.5);
    symmetry.SetOrder(4);
    symmetry.SetMirror(true, 90);
    ASSERT_EQ(symmetry.numImages(), 8);
    const double expected[8][2] = {{117, 30}, {120.5, 67.5}, {83, 71},  {79.5, 33.5},
                                   {83, 30},  {120.5, 33.5}, {117, 71}, {79.5, 67.5}};
    qs::set<std::pair<double, double>> found;
    for (int i = 0; i < 8; ++i) {
        double x = 117;
        double y = 30;
        symmetry.GetImageMatrix(i).MapPoint(x, y);
        found.insert({x, y});
    }
    for (const auto& place : expected)
        EXPECT_TRUE(found.contains({place[0], place[1]})) << place[0] << ", " << place[1];
}

TEST(Symmetry, ImagesOfAnyOrderAreDistinctIsometriesAboutTheCentre)
{
    for (const int order : {1, 2, 3, 5, 64}) {
        for (const bool mirror : {false, true}) {
            Symmetry symmetry(30, 40);
            symmetry.SetOrder(order);
            symmetry.SetMirror(mirror, 33);
            ASSERT_EQ(symmetry.numImages(), order * (mirror ? 2 : 1));
            EXPECT_EQ(symmetry.GetImageMatrix(0), qsLinear::AffineMatrix());
            qs::set<std::pair<long, long>> places;
            for (int i = 0; i < symmetry.numImages(); ++i) {
                const qsLinear::AffineMatrix map = symmetry.GetImageMatrix(i);
                EXPECT_NEAR(map.determinant(), i < order ? 1 : -1, 1e-10);
                double x = 30;
                double y = 40;
                map.MapPoint(x, y);
                EXPECT_NEAR(x, 30, 1e-9);
                EXPECT_NEAR(y, 40, 1e-9);
                x = 130;
                y = 47;
                map.MapPoint(x, y);
                EXPECT_NEAR(std::hypot(x - 30, y - 40), std::hypot(100, 7), 1e-8);
                places.insert({std::lround(x * 16), std::lround(y * 16)});

                // A rotation goes with the axis that it stands for.
                double axisX = map.a * std::cos(0.5) + map.c * std::sin(0.5);
                double axisY = map.b * std::cos(0.5) + map.d * std::sin(0.5);
                const double degree = std::numbers::pi / 180;
                const double mapped = symmetry.MapRotation(i, 0.5 / degree) * degree;
                EXPECT_NEAR(std::cos(mapped), axisX, 1e-9);
                EXPECT_NEAR(std::sin(mapped), axisY, 1e-9);
            }
            EXPECT_EQ(places.size(), static_cast<size_t>(symmetry.numImages()));
            symmetry.SetEnabled(false);
            EXPECT_EQ(symmetry.numImages(), 1);
        }
    }
}

TEST(Symmetry, RefusesWhatIsNoNumberAndLimitsTheOrder)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    Symmetry symmetry(3, 4);
    symmetry.SetCenter(nan, 0);
    symmetry.Translate(std::numeric_limits<double>::infinity(), 0);
    symmetry.SetMirror(true, nan);
    symmetry.SetOrder(1000);
    EXPECT_EQ(symmetry.GetCenterX(), 3);
    EXPECT_EQ(symmetry.GetMirrorAngle(), 90);
    EXPECT_EQ(symmetry.GetOrder(), 64);
    symmetry.SetOrder(-5);
    EXPECT_EQ(symmetry.GetOrder(), 1);
}

/// Paints the spiral's first second with one stroke per image; the stamps of image i are every n-th from i.
qs::vector<Laid> PaintImages(const StrokeRecorder& recorder, const Symmetry& symmetry, const StampStroke::Parms& parms)
{
    qs::vector<std::unique_ptr<Stroke>> strokes;
    for (int i = 0; i < symmetry.numImages(); ++i)
        strokes.push_back(recorder.MakeStroke(parms, StrokeRecorder::Smooth()));
    SymmetryStroke stroke(symmetry);
    stroke.set_strokes(std::move(strokes));
    for (int i = 0; i <= 60; ++i)
        Feed(stroke, SpiralAt(i / 60.0));
    stroke.finish();
    return std::exchange(StrokeRecorder::laid(), {});
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
    const auto laid = PaintImages(recorder, symmetry, parms);
    const size_t count = laid.size() / 6;
    ASSERT_GT(count, 500U);
    ASSERT_EQ(laid.size(), 6 * count);
    for (int image = 1; image < 6; ++image) {
        for (size_t i = 0; i < count; ++i) {
            double x = laid[i].x;
            double y = laid[i].y;
            symmetry.GetImageMatrix(image).MapPoint(x, y);
            const Laid& mapped = laid[static_cast<size_t>(image) * count + i];
            ASSERT_NEAR(mapped.x, x, 2e-3) << image << " " << i;
            ASSERT_NEAR(mapped.y, y, 2e-3) << image << " " << i;
            ASSERT_NEAR(mapped.size, laid[i].size, 1e-4);
        }
    }
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
        qs::vector<std::unique_ptr<Stroke>> strokes;
        for (int i = 0; i < 2; ++i)
            strokes.push_back(recorder.MakeStroke(parms));
        SymmetryStroke stroke(symmetry);
        stroke.set_strokes(std::move(strokes));
        const float points[][2] = {{100, 300}, {300, 200}, {200, 400}, {450, 600}, {100, 600}, {150, 700}};
        for (const auto& point : points)
            stroke.add_point(point[0], point[1], 20, 1, 0.3F, 30);
        stroke.finish();
        int different = 0;
        int painted = 0;
        for (int y = 0; y < 1000; ++y) {
            for (int x = 0; x < 500; ++x) {
                const int alpha = recorder.AlphaAt(x, y);
                painted += alpha > 0 ? 1 : 0;
                different += std::abs(alpha - recorder.AlphaAt(999 - x, y)) > 64 ? 1 : 0;
            }
        }
        EXPECT_GT(painted, 4000);
        EXPECT_LT(different, painted / 50) << follow;
    }
}

TEST(SymmetryStroke, ARefusedSampleReachesNoImage)
{
    const StrokeRecorder recorder;
    Symmetry symmetry(500, 500);
    symmetry.SetOrder(2);
    SymmetryStroke stroke(symmetry);
    qs::vector<std::unique_ptr<Stroke>> strokes;
    strokes.push_back(recorder.MakeStroke({}));
    strokes.push_back(recorder.MakeStroke({}));
    stroke.set_strokes(std::move(strokes));
    stroke.add_point(std::numeric_limits<float>::quiet_NaN(), 1, 1, 1, 1, 1);
    stroke.finish();
    EXPECT_TRUE(StrokeRecorder::laid().empty());
    // A place that floats hold but whose image they do not.
    stroke.add_point(-3.4e38F, 3.4e38F, 1, 1, 1, 0);
    stroke.add_point(500, 500, 1, 1, 1, 0);
    stroke.finish();
    EXPECT_FALSE(StrokeRecorder::laid().empty());
}

}  // namespace
