#include "platform/imaging/strokes/CurveInterpolate2D.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using Path = qs::vector<StrokeSample>;

StrokeSample At(double x, double y, float size)
{
    StrokeSample sample;
    sample.x = x;
    sample.y = y;
    sample.size = size;
    return sample;
}

double Length(const Path& path)
{
    double length = 0;
    for (size_t i = 1; i < path.size(); ++i)
        length += std::hypot(path[i].x - path[i - 1].x, path[i].y - path[i - 1].y);
    return length;
}

const qs::vector<ilXYdouble> kWave = {{0, 0}, {50, 150}, {120, -150}, {200, 180}, {300, 0}, {380, 60}};

TEST(CurveInterpolate2D, TwoSamplesRunAlongTheWholeGuideWithTheirValuesByItsLength)
{
    gk_spline guide(kWave);
    Path path;
    {
        CurveInterpolate2D interpolator(&guide);
        guide = gk_spline();  // the interpolator has its own
        interpolator.AddSample(At(-5, -15, 2), path);
        interpolator.AddSample(At(400, 75, 10), path);
        interpolator.Finish(path);
    }
    guide = gk_spline(kWave);
    EXPECT_NEAR(path.back().x, 380, 1e-6);
    EXPECT_NEAR(path.back().y, 60, 1e-6);
    EXPECT_NEAR(Length(path), guide.Length(), guide.Length() * 1e-4);
    double run = 0;
    for (size_t i = 0; i < path.size(); ++i) {
        const ilXYdouble here(path[i].x, path[i].y);
        EXPECT_LT((guide.Evaluate(guide.ClosestParameter(here)) - here).Length(), 0.05);
        if (i > 0)
            run += std::hypot(path[i].x - path[i - 1].x, path[i].y - path[i - 1].y);
        EXPECT_NEAR(path[i].size, 2 + 8 * run / guide.Length(), 0.01);
    }
}

TEST(CurveInterpolate2D, APenThatMovesAcrossTheGuideStaysWhereItIs)
{
    gk_spline guide({{0, 0}, {100, 0}});
    CurveInterpolate2D interpolator(&guide);
    Path path;
    interpolator.AddSample(At(10, 0, 1), path);
    for (int i = 0; i < 100; ++i)
        interpolator.AddSample(At(50 + 0.1 * (i % 2), i, 4), path);
    interpolator.AddSample(At(90, 5, 4), path);
    interpolator.Finish(path);
    EXPECT_NEAR(Length(path), 80, 1e-6);
}

TEST(CurveInterpolate2D, WithoutAGuideTheSamplesAreJoinedByStraightLines)
{
    const gk_spline empty;
    for (const gk_spline* guide : {static_cast<const gk_spline*>(nullptr), &empty}) {
        CurveInterpolate2D interpolator(guide);
        Path path;
        interpolator.AddSample(At(3, 4, 1), path);
        interpolator.AddSample(At(30, 40, 1), path);
        interpolator.Finish(path);
        ASSERT_EQ(path.size(), 2U);
        EXPECT_EQ(path[1].x, 30);
        EXPECT_EQ(path[1].y, 40);
    }
}

}  // namespace
