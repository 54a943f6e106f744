#include "platform/imaging/strokes/CurveInterpolate2D.h"
#include "platform/imaging/strokes/Smooth2D.h"
#include "platform/imaging/strokes/SmoothInterpolate2D.h"
#include "platform/imaging/strokes/StampSpacing.h"
#include "tests/support/Seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace {

using Path = qs::vector<StrokeSample>;
constexpr double kDegree = std::numbers::pi / 180;

template <class Interpolator>
Path Interpolated(Interpolator&& interpolator, const Path& samples)
{
    Path path;
    for (const StrokeSample& sample : samples)
        interpolator.AddSample(sample, path);
    interpolator.Finish(path);
    return path;
}

Path Smoothed(const Path& samples)
{
    return Interpolated(SmoothInterpolate2D(0.9, 0.921, 6), samples);
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
    double last = NAN;
    for (size_t i = 1; i < path.size(); ++i) {
        if (Distance(path[i - 1], path[i]) == 0)
            continue;
        const double angle = std::atan2(path[i].y - path[i - 1].y, path[i].x - path[i - 1].x);
        turning += std::isnan(last) ? 0 : std::abs(std::remainder(angle - last, 2 * std::numbers::pi));
        last = angle;
    }
    return turning;
}

/// Samples with chords of 1/2 to 50 pixels that turn at random, sharply now and then, and every value at random.
Path RandomSamples(unsigned seed)
{
    SeededNumbers random(seed);
    std::uniform_real_distribution<double> unit(0, 1);
    Path samples;
    double x = 0, y = 0, heading = 0;
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

void ExpectBetween(double value, double a, double b, double tolerance)
{
    EXPECT_GE(value, std::min(a, b) - tolerance);
    EXPECT_LE(value, std::max(a, b) + tolerance);
}

TEST(SmoothInterpolate2D, ThePathMeetsEverySampleAndStaysNearAndBetweenThem)
{
    for (unsigned seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE(seed);
        const Path samples = RandomSamples(seed);
        const Path path = Smoothed(samples);
        ASSERT_TRUE(IsSame(path.front(), samples.front()));
        size_t next = 1;  // the sample that the path is running to
        for (size_t i = 1; i < path.size(); ++i) {
            const StrokeSample& from = samples[next - 1];
            const StrokeSample& to = samples[next];
            const double chord = Distance(from, to);
            const double along =
                ((path[i].x - from.x) * (to.x - from.x) + (path[i].y - from.y) * (to.y - from.y)) / (chord * chord);
            const double t = std::clamp(along, 0.0, 1.0);
            EXPECT_LE(std::hypot(path[i].x - from.x - t * (to.x - from.x), path[i].y - from.y - t * (to.y - from.y)),
                      0.25 * chord);
            ExpectBetween(path[i].size, from.size, to.size, 1e-5 * to.size);
            ExpectBetween(path[i].opacity, from.opacity, to.opacity, 1e-6);
            ExpectBetween(path[i].aspect, from.aspect, to.aspect, 1e-6);
            ExpectBetween(std::remainder(path[i].rotation - from.rotation, 360.0), 0,
                          std::remainder(to.rotation - from.rotation, 360.0), 1e-3);
            if (IsSame(path[i], to))
                ++next;
        }
        ASSERT_EQ(next, samples.size());
        // An S must swing past its chord, which costs some turning; a curve that wobbled would turn to and fro all
        // along.
        EXPECT_LE(Turning(path), 1.3 * Turning(samples));
    }
}

TEST(SmoothInterpolate2D, ACircleStaysACircleHoweverUnevenItsSamplesAre)
{
    SeededNumbers random(7);
    for (const double meanDegrees : {0.5, 3.0, 8.0}) {
        Path samples;
        std::uniform_real_distribution<double> step(0.7 * meanDegrees, 1.3 * meanDegrees);
        for (double degrees = 0; degrees < 350; degrees += step(random))
            samples.push_back(At(300 + 200 * std::cos(degrees * kDegree), 300 + 200 * std::sin(degrees * kDegree)));
        for (const StrokeSample& vertex : Smoothed(samples))
            EXPECT_NEAR(Distance(vertex, At(300, 300)), 200, 0.01) << meanDegrees;
    }
}

TEST(SmoothInterpolate2D, ARestingPenAddsNoLengthButItsLastValuesCountAndSlowMotionIsFollowed)
{
    Path samples = {At(0, 0, 2), At(10, 0, 2)};
    for (int i = 0; i < 1000; ++i)
        samples.push_back(At(10 + 0.1 * (i % 2), 0.1 * (i % 3), 2));
    samples.push_back(At(10, 0, 9));
    samples.back().aspect = 0.5F;
    samples.push_back(At(20, 0, 9));
    samples.back().aspect = 0.5F;
    const Path rested = Smoothed(samples);
    EXPECT_NEAR(Length(rested), 20, 1e-9);
    for (const StrokeSample& vertex : rested)
        EXPECT_TRUE((vertex.x <= 10 || vertex.size == 9) && (vertex.size == 9) == (vertex.aspect == 0.5F)) << vertex.x;

    const Path tap = Smoothed({At(5, 5, 2), At(5, 5, 7)});
    EXPECT_EQ(tap.front().size, 2);
    EXPECT_EQ(tap.back().size, 7);
    EXPECT_EQ(Length(tap), 0);

    Path slow;
    for (int i = 0; i <= 1003; ++i)
        slow.push_back(At(0.01 * i, 0.02 * i));
    const Path followed = Smoothed(slow);
    EXPECT_TRUE(IsSame(followed.back(), slow.back()));
    EXPECT_NEAR(Length(followed), 10.03 * std::sqrt(5.0), 1e-9);
    // Back to where it rested, by way of a corner: the place where the pen left counts too.
    EXPECT_NEAR(Length(Smoothed({At(0, 0), At(10, 0), At(10, 0.2), At(0, 0.2)})), 20.3, 0.1);
}

TEST(SmoothInterpolate2D, ValuesRunByLengthAndALongChordBesideAShortOneHardlyBulges)
{
    for (const StrokeSample& vertex : Smoothed({At(0, 0, 1), At(10, 0, 2), At(110, 0, 12)}))
        EXPECT_NEAR(vertex.size, 1 + vertex.x / 10, 1e-3);
    for (const StrokeSample& vertex : Smoothed({At(0, 0, 1), At(10, 0, 2), At(20, 0, 5)}))
        EXPECT_TRUE(vertex.x < 4 || vertex.x > 6 || vertex.size < 1.4) << "the rise begins as it goes on";
    for (const StrokeSample& vertex : Smoothed({At(0, 0), At(5, 0), At(5 + 87, 50)}))
        EXPECT_LT(std::abs(vertex.y - std::max(vertex.x - 5, 0.0) * 50 / 87), 3);
}

TEST(SmoothInterpolate2D, PiecesAreFewHoweverFarApartAndAFinishedPathIsNotGoneOnWith)
{
    const Path far = {At(0, 0), At(1, 5), At(1e9, 3e8), At(-1e9, 1e12), At(2, 5), At(3, 3)};
    EXPECT_LE(Smoothed(far).size(), 1 + 64 * (far.size() - 1));
    SmoothInterpolate2D interpolator(0.9, 0.921, 6);
    EXPECT_EQ(Interpolated(interpolator, {At(0, 0), At(100, 0), At(200, 0), At(300, 0)}).size(), 4U);
    EXPECT_TRUE(Interpolated(interpolator, {}).empty());
    const Path next = Interpolated(interpolator, {At(50, 50)});
    EXPECT_TRUE(next.size() == 1 && IsSame(next[0], At(50, 50)));
    for (const bool keepsRepeats : {false, true})
        EXPECT_EQ(Interpolated(FltInterpolate2D(keepsRepeats), {At(1, 1), At(1, 1, 2), At(1, 2)}).size(),
                  keepsRepeats ? 3U : 2U);
}

TEST(CurveInterpolate2D, TwoSamplesRunAlongTheWholeGuideWithTheirValuesByItsLength)
{
    const gk_spline guide({{0, 0}, {50, 150}, {120, -150}, {200, 180}, {300, 0}, {380, 60}});
    gk_spline lent = guide;
    CurveInterpolate2D interpolator(&lent);
    lent = gk_spline();  // the interpolator has its own
    const Path path = Interpolated(interpolator, {At(-5, -15, 2), At(400, 75, 10)});
    EXPECT_NEAR(Distance(path.back(), At(380, 60)), 0, 1e-6);
    EXPECT_NEAR(Length(path), guide.Length(), guide.Length() * 1e-4);
    double run = 0;
    for (size_t i = 0; i < path.size(); ++i) {
        const ilXYdouble here(path[i].x, path[i].y);
        EXPECT_LT((guide.Evaluate(guide.ClosestParameter(here)) - here).Length(), 0.05);
        run += i > 0 ? Distance(path[i - 1], path[i]) : 0;
        EXPECT_NEAR(path[i].size, 2 + 8 * run / guide.Length(), 0.01);
    }
}

TEST(CurveInterpolate2D, APenThatMovesAcrossTheGuideStaysWhereItIsAndWithoutAGuideLinesAreStraight)
{
    const gk_spline line({{0, 0}, {100, 0}}), empty;
    Path samples = {At(10, 0)};
    for (int i = 0; i < 100; ++i)
        samples.push_back(At(50 + 0.1 * (i % 2), i, 4));
    const Path resting = Interpolated(CurveInterpolate2D(&line), samples);
    EXPECT_NEAR(Length(resting), 40, 0.11);
    EXPECT_NEAR(resting.back().x, 50.1, 1e-6) << "the stroke ends where the pen was lifted";
    samples.push_back(At(90, 5, 4));
    EXPECT_NEAR(Length(Interpolated(CurveInterpolate2D(&line), samples)), 80, 1e-6);
    for (const gk_spline* guide : {static_cast<const gk_spline*>(nullptr), &empty}) {
        const Path path = Interpolated(CurveInterpolate2D(guide), {At(3, 4), At(30, 40)});
        EXPECT_TRUE(path.size() == 2U && IsSame(path[1], At(30, 40)));
    }
}

qs::vector<ilXYfloat> LineThrough(Smooth2D& smoother, const ilXYfloat& point)
{
    smoother.add_point(point);
    qs::vector<ilXYfloat> line;
    for (ilXYfloat place; smoother.interpolate(place);)
        line.push_back(place);
    return line;
}

TEST(Smooth2D, EachPointYieldsAFewPlacesThatEndExactlyAtItAndWhatIsNoNumberIsIgnored)
{
    SeededNumbers random(3);
    std::uniform_real_distribution<float> anywhere(-100, 100);
    Smooth2D smoother(0.9, 0.921, 6);
    EXPECT_TRUE(LineThrough(smoother, {std::numeric_limits<float>::quiet_NaN(), 0}).empty());
    EXPECT_TRUE(LineThrough(smoother, {0, std::numeric_limits<float>::infinity()}).empty());
    smoother.add_point({0, 0});
    for (int i = 0; i < 200; ++i) {
        const ilXYfloat point(anywhere(random), anywhere(random));
        const qs::vector<ilXYfloat> line = LineThrough(smoother, point);
        ASSERT_TRUE(line.size() >= (i == 0 ? 2U : 1U) && line.size() <= 6) << "what was not fetched waits";
        ASSERT_EQ(line.back(), point);
    }
}

TEST(Smooth2D, ACircleComesOutRoundAndSharpTurnsAreNotOvershot)
{
    Smooth2D round(0.9, 0.921, 6), sharp(0.9, 0.921, 6);
    for (int degrees = 0; degrees <= 720; degrees += 6) {
        const ilXYfloat point(static_cast<float>(100 * std::cos(degrees * kDegree)),
                              static_cast<float>(100 * std::sin(degrees * kDegree)));
        const qs::vector<ilXYfloat> line = LineThrough(round, point);
        // It takes three points to see a circle, and until then the line is straight.
        for (size_t i = degrees < 18 ? line.size() : 0; i < line.size(); ++i)
            ASSERT_NEAR(line[i].Length(), 100, 0.02);
        round.add_point({point.x * 1.00001F, point.y});  // a trembling by less than 1/64 pixel changes no heading
    }
    for (int i = 0; i < 20; ++i)
        for (const ilXYfloat& place : LineThrough(sharp, {static_cast<float>(10 * (i % 2)), static_cast<float>(3 * i)}))
            ExpectBetween(place.x, 0, 10, 1);
}

TEST(StampSpacing, CountsTheIntegralOfOneByTheDistanceAndFindsThePlacesAgain)
{
    const struct {
        double from, to, length;
    } ramps[] = {{1, 1, 10},     {1, 1 + 1e-12, 10},  {2, 2.001, 3},       {1, 2, 10},       {2, 1, 10},
                 {1, 2.0001, 5}, {0.25, 250000, 100}, {250000, 0.25, 1e9}, {0.25, 0.3, 2e12}};
    for (const auto& [from, to, length] : ramps) {
        const StampSpacing spacing(from, to, length);
        const double expected = from == to ? length / from : length / (to - from) * std::log(to / from);
        const double total = spacing.StampsUntil(length);
        EXPECT_NEAR(total, expected, 1e-10 * expected);
        for (double share = 0; share <= 1; share += 1.0 / 16)
            EXPECT_NEAR(spacing.PlaceOf(spacing.StampsUntil(length * share)), length * share, 1e-10 * length);
        // Cut anywhere, the parts make the whole.
        const double cut = length * 0.3, middle = from + (to - from) * 0.3;
        EXPECT_NEAR(StampSpacing(from, middle, cut).StampsUntil(cut) +
                        StampSpacing(middle, to, length - cut).StampsUntil(length - cut),
                    total, 1e-10 * total);
    }
}

}  // namespace
