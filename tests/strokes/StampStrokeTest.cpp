#include "platform/imaging/strokes/StampStroke.h"

#include "platform/imaging/strokes/CurveInterpolate2D.h"
#include "tests/strokes/StrokeRecorder.h"
#include "tests/support/Seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <random>

namespace {

using Laid = StrokeRecorder::Laid;
using Parms = StampStroke::Parms;

double Distance(const Laid& a, const Laid& b)
{
    return std::hypot(static_cast<double>(b.x) - a.x, static_cast<double>(b.y) - a.y);
}

qs::vector<Laid> TakeLaid()
{
    return std::exchange(StrokeRecorder::laid(), {});
}

struct Point {
    float x, y;
    float size = 4;
};

/// The stamps of a stroke of narrow stamps along the points.
qs::vector<Laid> Paint(const StrokeRecorder& recorder, const Parms& parms, const qs::vector<Point>& points,
                       bool isSmooth = false)
{
    const auto stroke = recorder.MakeStroke(parms, isSmooth ? StrokeRecorder::Smooth() : nullptr);
    for (const Point& point : points)
        stroke->add_point(point.x, point.y, point.size, 1, 0.2F, 0);
    stroke->finish();
    return TakeLaid();
}

/// The stamps of the spiral, fed at `rate` samples a second with `jitter` of their time, each followed by an update.
qs::vector<Laid> PaintSpiral(const StrokeRecorder& recorder, const Parms& parms, double rate, double jitter,
                             bool smooth)
{
    const auto stroke = recorder.MakeStroke(parms, smooth ? StrokeRecorder::Smooth() : nullptr);
    std::mt19937 random(1);  // the same jitter always: the distances that are asked for below belong to it
    std::uniform_real_distribution<double> offset(-jitter / 2, jitter / 2);
    const int samples = static_cast<int>(rate);
    for (int i = 0; i <= samples; ++i) {
        const bool isEnd = i == 0 || i == samples;
        Feed(*stroke, SpiralAt((i + (isEnd ? 0 : offset(random))) / rate));
        stroke->update();
    }
    stroke->finish();
    return TakeLaid();
}

/// The largest distance between stamps of the same number; a stamp more or less at the end is left out.
double WorstDistance(const qs::vector<Laid>& a, const qs::vector<Laid>& b)
{
    double worst = 0;
    for (size_t i = 0; i < std::min(a.size(), b.size()); ++i)
        worst = std::max(worst, Distance(a[i], b[i]));
    return worst;
}

TEST(StampStroke, TheRateOfTheSamplesDoesNotShowInTheStamps)
{
    const StrokeRecorder recorder;
    Parms parms;
    parms.spacing = 0.3;
    const auto dense = PaintSpiral(recorder, parms, 1000, 0, true);
    ASSERT_GT(dense.size(), 1000U);
    for (const double rate : {30.0, 60.0, 133.0, 400.0}) {
        for (const double jitter : {0.0, 0.3}) {
            const auto sparse = PaintSpiral(recorder, parms, rate, jitter, true);
            EXPECT_NEAR(static_cast<double>(sparse.size()), static_cast<double>(dense.size()), 1);
            // At 30 Hz chords span 36 degrees and up to 150 pixels.
            const double worst = rate < 50 ? 0.6 : rate < 100 ? 0.2 : 0.05;
            EXPECT_LT(WorstDistance(sparse, dense), worst) << rate << " Hz, jitter " << jitter;
        }
    }
    const auto flat = PaintSpiral(recorder, parms, 20000, 0, false);
    EXPECT_LT(WorstDistance(flat, dense), 0.05);
}

TEST(StampStroke, StampsLieOneSpacingApartAlongThePathAsTheRadiusRunsThere)
{
    const StrokeRecorder recorder;
    for (const bool cut : {false, true}) {
        qs::vector<Point> points = {{100, 500, 4}};
        for (int i = 1; cut && i < 80; ++i)  // the same line in 80 parts
            points.push_back({static_cast<float>(100 + 10 * i), 500, 4 + 0.5F * static_cast<float>(i)});
        points.push_back({900, 500, 44});
        const auto laid = Paint(recorder, {}, points);
        // Radius r = 4 + s / 20 and spacing r / 4 put stamp n where r = 4 · e^(n / 80).
        ASSERT_EQ(laid.size(), 1 + static_cast<size_t>(80 * std::log(11.0)));
        for (size_t n = 0; n < laid.size(); ++n) {
            const double radius = 4 * std::exp(static_cast<double>(n) / 80);
            ASSERT_NEAR(laid[n].size, radius, 1e-3) << n;
            ASSERT_NEAR(laid[n].x, 100 + 20 * (radius - 4), 2e-3) << n;
            ASSERT_EQ(laid[n].y, 500) << n;
        }
    }
    EXPECT_EQ(Paint(recorder, {}, {{10, 10, 0.1F}, {20, 10, 0.1F}}).size(), 41U) << "the least distance";

    Parms fixed;
    fixed.sizeSpacing = false;
    const auto laid = Paint(recorder, fixed, {{10, 10, 8}, {110, 10, 80}});
    ASSERT_EQ(laid.size(), 51U);
    for (size_t i = 1; i < laid.size(); ++i)
        EXPECT_NEAR(Distance(laid[i - 1], laid[i]), 2, 1e-4);
}

TEST(StampStroke, ATapLeavesOneStampAndAStrokeEndsAtItsLastSampleWithoutStampingTwice)
{
    const StrokeRecorder recorder;
    for (const double follow : {0.0, 1.0}) {
        Parms parms;
        parms.directionFollow = follow;
        const auto stroke = recorder.MakeStroke(parms, StrokeRecorder::Smooth());
        for (int tap = 0; tap < 2; ++tap) {
            stroke->add_point(50, 60, 5, 0.5F, 1, 0);
            stroke->update();
            // A stamp that turns with the path waits until it has one.
            EXPECT_EQ(StrokeRecorder::laid().size(), follow > 0 ? 0U : 1U);
            stroke->update();
            stroke->finish();
            EXPECT_EQ(TakeLaid(), (qs::vector<Laid>{{50, 60, 5, 0.5F}}));
        }
        for (const float x : {0.0F, 3.0F, 10.0F}) {
            stroke->add_point(x, 0, 4, 1, 1, 0);
            stroke->update();
        }
        EXPECT_NEAR(StrokeRecorder::laid().back().x, 3, 1.01) << "a smooth curve lags by a sample";
        stroke->finish();
        EXPECT_EQ(StrokeRecorder::laid().size(), 11U);
        EXPECT_NEAR(TakeLaid().back().x, 10, 1e-4);
    }
}

TEST(StampStroke, SamplesThatAreNotFiniteLeaveNoTraceAndNumbersOutOfRangeAreLimited)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    const StrokeRecorder recorder;
    const auto stroke = recorder.MakeStroke({}, StrokeRecorder::Smooth());
    for (const float x : {100.0F, 200.0F}) {
        stroke->add_point(x, 100, 5, 1, 1, 0);
        for (int field = 0; field < 6; ++field)
            for (const float bad : {nan, infinity, -infinity}) {
                float f[6] = {500, 700, 5, 1, 1, 0};
                f[field] = bad;
                stroke->add_point(f[0], f[1], f[2], f[3], f[4], f[5]);
            }
    }
    stroke->finish();
    const auto straight = TakeLaid();
    EXPECT_EQ(straight.size(), 81U);
    for (const Laid& stamp : straight)
        EXPECT_EQ(stamp.y, 100);

    stroke->add_point(10, 10, -3, 7, 100, 1e30F);
    stroke->finish();
    stroke->add_point(10, 10, 1e9F, -1, -1, -1e30F);
    stroke->finish();
    EXPECT_EQ(TakeLaid(), (qs::vector<Laid>{{10, 10, 1.0F / 64, 1}, {10, 10, 1e6F, 0}}));
}

TEST(StampStroke, WhatLiesFarFromTheCanvasCostsNothingAndKeepsTheSpacing)
{
    const StrokeRecorder recorder;
    for (const bool smooth : {false, true})
        for (const float far : {1e5F, 1e7F, 1e9F, 3e38F}) {
            const size_t laid =
                Paint(recorder, {}, {{500, 500}, {far, 500}, {-far, -far, 9}, {500, 500}}, smooth).size();
            // At most three times across the canvas, at no less than a pixel each.
            EXPECT_TRUE(laid > 400 && laid < 4500) << far << ": " << laid;
        }
    // A detour of a whole number of spacings meets the stamps that would have been there without it.
    for (const Laid& stamp : Paint(recorder, {}, {{100, 500}, {8388608.5F, 500}, {100, 500}}))
        ASSERT_EQ(stamp.x, std::round(stamp.x));
}

TEST(StampStroke, NoNumberMakesMoreStampsThanTheCanvasTakes)
{
    const StrokeRecorder recorder;
    recorder.painter->SetBrushClippingRect({0, 0, 200, 100});
    SeededNumbers random(9);
    const double numbers[] = {0, 1e-30, 0.01, 0.5, 1, 30, 70, 150, 1e4, 1e7, 1e12, 1e30, 3e38};
    const auto any = [&] { return numbers[random() % std::size(numbers)] * (random() % 3 == 0 ? -1 : 1); };
    const auto place = [&] { return random() % 3 == 0 ? any() : static_cast<double>(random() % 200); };
    for (int round = 0; round < 300; ++round) {
        Parms parms;
        parms.spacing = any();
        parms.spacingJitter = random() % 2 == 0 ? 1 : 0;
        parms.scatter = random() % 4 == 0 ? any() : 0;
        parms.directionFollow = random() % 2 == 0 ? 1 : 0;
        parms.sizeSpacing = random() % 2 == 0;
        parms.isSmear = random() % 2 == 0;
        qs::vector<ilXYdouble> points;
        for (int i = 0; i < 6; ++i)
            points.emplace_back(place() * (random() % 9 == 0 ? 1e60 : 1), place());
        const gk_spline guide(points);
        const int kind = static_cast<int>(random() % 3);
        const auto stroke = recorder.MakeStroke(parms, kind == 0   ? std::make_unique<CurveInterpolate2D>(&guide)
                                                       : kind == 1 ? StrokeRecorder::Smooth()
                                                                   : nullptr);
        constexpr size_t kSamples = 12;
        for (size_t i = 0; i < kSamples; ++i)
            stroke->add_point(static_cast<float>(place()), static_cast<float>(place()), static_cast<float>(any()), 0, 1,
                              static_cast<float>(any()));
        stroke->finish();
        // Across the canvas and its surroundings, a quarter pixel apart, for each sample.
        ASSERT_LT(TakeLaid().size(), kSamples * 4000) << "round " << round;
    }
}

TEST(StampStroke, ClippingTakesAwayTheStampsThatMissAndMovesNoOther)
{
    const StrokeRecorder recorder;
    Parms parms;
    parms.spacingJitter = 1;
    const auto spiral = [&] { return PaintSpiral(recorder, parms, 300, 0, true); };
    const auto growing = [&] { return Paint(recorder, parms, {{330, 100, 2}, {330, 900, 150}, {330, 100, 2}}); };
    for (const std::function<qs::vector<Laid>()>& paint : {std::function(spiral), std::function(growing)}) {
        recorder.painter->SetBrushClippingRect({0, 0, 1000, 1000});
        qs::vector<Laid> expected;
        for (const Laid& stamp : paint()) {
            const double reach = Stamp::GetReach(stamp.size, 1);
            if (stamp.x >= 400 - reach && stamp.x <= 650 + reach && stamp.y >= 400 - reach && stamp.y <= 600 + reach)
                expected.push_back(stamp);
        }
        recorder.painter->SetBrushClippingRect({400, 400, 250, 200});
        const auto laid = paint();
        ASSERT_EQ(laid.size(), expected.size());
        EXPECT_GT(laid.size(), 30U);
        EXPECT_LT(WorstDistance(laid, expected), 1e-3);
        recorder.painter->SetBrushClippingRect({});
        EXPECT_TRUE(paint().empty());
    }
}

TEST(StampStroke, JitterMovesStampsWithinTheirSpacingAndScatterThrowsThemToBothSides)
{
    const StrokeRecorder recorder;
    Parms parms;
    parms.spacingJitter = 1;
    parms.scatter = 2;
    const auto laid = Paint(recorder, parms, {{100, 500, 8}, {900, 500, 8}});
    EXPECT_EQ(Paint(recorder, parms, {{100, 500, 8}, {900, 500, 8}}), laid);
    EXPECT_NEAR(static_cast<double>(laid.size()), 401, 1);
    int above = 0;
    double farthest = 0;
    double mostJitter = 0;
    for (size_t i = 0; i < laid.size(); ++i) {
        const double jitter = std::abs(laid[i].x - (100 + 2.0 * static_cast<double>(i)));
        ASSERT_LE(jitter, 1.001);
        mostJitter = std::max(mostJitter, jitter);
        const double thrown = std::abs(laid[i].y - 500.0);
        ASSERT_LE(thrown, 16.001);
        farthest = std::max(farthest, thrown);
        above += laid[i].y < 500 ? 1 : 0;
    }
    EXPECT_GT(mostJitter, 0.9);
    EXPECT_GT(farthest, 15);
    EXPECT_NEAR(above, 200, 40);
}

TEST(StampStroke, StampsTurnWithTheDirectionOfThePathAlsoBehindAGap)
{
    for (const bool follow : {false, true}) {
        Parms parms;
        parms.spacing = 20;
        parms.directionFollow = follow ? 1 : 0;
        const StrokeRecorder recorder;
        for (const auto& points : {qs::vector<Point>{{500, 200, 10}, {500, 700, 10}},
                                   {{600, 500, 10}, {100000, 500, 10}, {300, -100000, 10}, {300, 500, 10}}}) {
            const float x = points.back().x;
            int looked = 0;
            for (const Laid& stamp : Paint(recorder, parms, points))
                if (std::abs(stamp.x - x) < 1) {
                    ++looked;  // narrow stamps, along the x axis before they turn
                    EXPECT_EQ(recorder.AlphaAt(static_cast<int>(x), static_cast<int>(stamp.y) + 7), follow ? 255 : 0);
                    EXPECT_EQ(recorder.AlphaAt(static_cast<int>(x) + 7, static_cast<int>(stamp.y)), follow ? 0 : 255);
                }
            EXPECT_GT(looked, 2);
        }
    }
}

TEST(StampStroke, ADirectionThatIsFollowedInPartMakesNoJumpsAndTurnsBackWithThePen)
{
    Parms parms;
    parms.spacing = 0.2;
    parms.directionFollow = 0.25;
    // Leftwards, first a little down and then a little up; and there and back.
    for (const auto& points : {qs::vector<Point>{{800, 470, 10}, {600, 500, 10}, {300, 470, 10}},
                               {{200, 500, 10}, {600, 500, 10}, {570, 503, 10}}}) {
        const StrokeRecorder recorder;
        const Laid last = Paint(recorder, parms, points).back();  // turned by a quarter of about 180 degrees
        const int x = static_cast<int>(last.x), y = static_cast<int>(last.y);
        const int ahead = points[0].x > points[1].x ? -5 : 5;  // where no stamp before came
        EXPECT_EQ(recorder.AlphaAt(x + ahead, y + ahead), 255);
        EXPECT_EQ(recorder.AlphaAt(x - 8, y), 0);
    }
}

TEST(StampStroke, ASmearStampIsDraggedFromTheStampBefore)
{
    const StrokeRecorder recorder;
    Parms parms;
    parms.isSmear = true;
    parms.spacing = 0.77;
    const auto stroke = recorder.MakeStroke(parms);
    int dragged = 0;
    for (int x = 100; x <= 200; ++x) {
        stroke->add_point(static_cast<float>(x), 300, 2, 1, 1, 0);
        const size_t before = StrokeRecorder::laid().size();
        stroke->update();
        if (StrokeRecorder::laid().size() > before)
            dragged -= recorder.stamp->get_source_offset_x();
    }
    // Rounded steps that add up to the way from the first stamp to the last.
    EXPECT_EQ(dragged, std::lround(StrokeRecorder::laid().back().x) - 100);
    EXPECT_EQ(recorder.stamp->get_source_offset_y(), 0);
}

}  // namespace
