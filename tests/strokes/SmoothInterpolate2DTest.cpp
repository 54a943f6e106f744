#include "platform/imaging/strokes/SmoothInterpolate2D.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>

namespace {

using Path = qs::vector<StrokeSample>;

Path Interpolated(const Path& samples)
{
    SmoothInterpolate2D interpolator(0.9, 0.921, 6);
    Path path;
    for (const StrokeSample& sample : samples)
        interpolator.AddSample(sample, path);
    interpolator.Finish(path);
    return path;
}

StrokeSample At(double x, double y, float size = 1)
{
    StrokeSample sample;
    sample.x = x;
    sample.y = y;
    sample.size = size;
    return sample;
}

bool IsSame(const StrokeSample& a, const StrokeSample& b)
{
    return a.x == b.x && a.y == b.y && a.size == b.size && a.opacity == b.opacity && a.aspect == b.aspect &&
           a.rotation == b.rotation;
}

double Distance(const StrokeSample& a, const StrokeSample& b)
{
    return std::hypot(b.x - a.x, b.y - a.y);
}

double Length(const Path& path)
{
    double length = 0;
    for (size_t i = 1; i < path.size(); ++i)
        length += Distance(path[i - 1], path[i]);
    return length;
}

/// All changes of direction along the path, in radians.
double Turning(const Path& path)
{
    double turning = 0;
    double last = 0;
    bool hasLast = false;
    for (size_t i = 1; i < path.size(); ++i) {
        if (Distance(path[i - 1], path[i]) == 0)
            continue;
        const double angle = std::atan2(path[i].y - path[i - 1].y, path[i].x - path[i - 1].x);
        if (hasLast)
            turning += std::abs(std::remainder(angle - last, 2 * std::numbers::pi));
        last = angle;
        hasLast = true;
    }
    return turning;
}

double DistanceToSegment(const StrokeSample& point, const StrokeSample& a, const StrokeSample& b)
{
    const double length = Distance(a, b);
    const double along = ((point.x - a.x) * (b.x - a.x) + (point.y - a.y) * (b.y - a.y)) / (length * length);
    const double t = std::clamp(along, 0.0, 1.0);
    return std::hypot(point.x - a.x - t * (b.x - a.x), point.y - a.y - t * (b.y - a.y));
}

/// Samples with chords of 1/2 to 50 pixels that turn at random, sharply now and then, and every value at random.
Path RandomSamples(unsigned seed)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> unit(0, 1);
    Path samples;
    double x = 0;
    double y = 0;
    double heading = 0;
    for (int i = 0; i < 60; ++i) {
        StrokeSample sample = At(x, y, static_cast<float>(1 + 30 * unit(random)));
        sample.opacity = static_cast<float>(unit(random));
        sample.aspect = static_cast<float>(0.1 + unit(random));
        sample.rotation = static_cast<float>(360 * unit(random));
        samples.push_back(sample);
        heading += unit(random) < 0.2 ? 6 * unit(random) - 3 : 0.6 * unit(random) - 0.3;
        const double chord = 0.5 * std::pow(100, unit(random));
        x += chord * std::cos(heading);
        y += chord * std::sin(heading);
    }
    return samples;
}

class SmoothInterpolate2DRandom : public testing::TestWithParam<unsigned> {};

TEST_P(SmoothInterpolate2DRandom, ThePathMeetsEverySampleAndStaysNearAndBetweenThem)
{
    const Path samples = RandomSamples(GetParam());
    const Path path = Interpolated(samples);
    ASSERT_TRUE(IsSame(path.front(), samples.front()));
    ASSERT_TRUE(IsSame(path.back(), samples.back()));

    size_t next = 1;  // the sample that the path is running to
    for (size_t i = 1; i < path.size(); ++i) {
        const StrokeSample& from = samples[next - 1];
        const StrokeSample& to = samples[next];
        EXPECT_LE(DistanceToSegment(path[i], from, to), 0.25 * Distance(from, to));
        EXPECT_GE(path[i].size, std::min(from.size, to.size) * 0.99999F);
        EXPECT_LE(path[i].size, std::max(from.size, to.size) * 1.00001F);
        EXPECT_GE(path[i].opacity, std::min(from.opacity, to.opacity) - 1e-6F);
        EXPECT_LE(path[i].opacity, std::max(from.opacity, to.opacity) + 1e-6F);
        const double whole = std::remainder(to.rotation - from.rotation, 360.0);
        const double turned = std::remainder(path[i].rotation - from.rotation, 360.0);
        EXPECT_GE(turned, std::min(whole, 0.0) - 1e-3);
        EXPECT_LE(turned, std::max(whole, 0.0) + 1e-3);
        if (IsSame(path[i], to))
            ++next;
    }
    EXPECT_EQ(next, samples.size());
    // An S must swing past its chord, which costs some turning; a curve that wobbled would turn to and fro all along.
    EXPECT_LE(Turning(path), 1.3 * Turning(samples));
}

INSTANTIATE_TEST_SUITE_P(Seeds, SmoothInterpolate2DRandom, testing::Range(1U, 41U));

TEST(SmoothInterpolate2D, ACircleStaysACircleHoweverUnevenItsSamplesAre)
{
    std::mt19937 random(7);
    for (const double meanDegrees : {0.5, 3.0, 8.0}) {
        Path samples;
        std::uniform_real_distribution<double> step(0.7 * meanDegrees, 1.3 * meanDegrees);
        for (double degrees = 0; degrees < 350; degrees += step(random)) {
            const double angle = degrees * std::numbers::pi / 180;
            samples.push_back(At(300 + 200 * std::cos(angle), 300 + 200 * std::sin(angle)));
        }
        for (const StrokeSample& vertex : Interpolated(samples))
            EXPECT_NEAR(std::hypot(vertex.x - 300, vertex.y - 300), 200, 0.01) << meanDegrees;
    }
}

TEST(SmoothInterpolate2D, TheTremblingOfARestingPenAddsNoLengthAndItsLastPressureCounts)
{
    Path samples = {At(0, 0, 2), At(10, 0, 2)};
    for (int i = 0; i < 1000; ++i)
        samples.push_back(At(10 + 0.1 * (i % 2), 0.1 * (i % 3), 2));
    samples.push_back(At(10, 0, 9));
    samples.push_back(At(20, 0, 9));
    const Path path = Interpolated(samples);
    EXPECT_NEAR(Length(path), 20, 1e-9);
    for (const StrokeSample& vertex : path) {
        if (vertex.x > 10) {
            EXPECT_EQ(vertex.size, 9);
        }
    }

    const Path tap = Interpolated({At(5, 5, 2), At(5, 5, 7)});
    EXPECT_EQ(tap.front().size, 2);
    EXPECT_EQ(tap.back().size, 7);
    EXPECT_EQ(Length(tap), 0);
}

TEST(SmoothInterpolate2D, SlowMotionIsFollowedToTheLastSample)
{
    Path samples;
    for (int i = 0; i <= 1003; ++i)
        samples.push_back(At(0.01 * i, 0.02 * i));
    const Path path = Interpolated(samples);
    EXPECT_TRUE(IsSame(path.back(), samples.back()));
    EXPECT_NEAR(Length(path), 10.03 * std::sqrt(5.0), 1e-9);
}

TEST(SmoothInterpolate2D, PiecesBetweenTwoSamplesAreFewHoweverFarApart)
{
    const Path samples = {At(0, 0), At(1, 5), At(1e9, 3e8), At(-1e9, 1e12), At(2, 5), At(3, 3)};
    EXPECT_LE(Interpolated(samples).size(), 1 + 64 * (samples.size() - 1));
    // A straight line needs no more than its ends.
    EXPECT_EQ(Interpolated({At(0, 0), At(100, 0), At(200, 0), At(300, 0)}).size(), 4U);
}

TEST(SmoothInterpolate2D, AFinishedPathIsNotGoneOnWith)
{
    SmoothInterpolate2D interpolator(0.9, 0.921, 6);
    Path path;
    interpolator.AddSample(At(0, 0), path);
    interpolator.AddSample(At(9, 0), path);
    interpolator.Finish(path);
    path.clear();
    interpolator.Finish(path);
    EXPECT_TRUE(path.empty());
    interpolator.AddSample(At(50, 50), path);
    ASSERT_EQ(path.size(), 1U);
    EXPECT_TRUE(IsSame(path[0], At(50, 50)));
}

}  // namespace
