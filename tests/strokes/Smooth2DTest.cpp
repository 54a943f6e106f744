#include "platform/imaging/strokes/Smooth2D.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <random>

namespace {

int FetchAll(Smooth2D& smoother, qs::vector<ilXYfloat>& line)
{
    int count = 0;
    for (ilXYfloat place; smoother.interpolate(place); ++count)
        line.push_back(place);
    return count;
}

TEST(Smooth2D, EachPointYieldsAFewPlacesThatEndExactlyAtIt)
{
    std::mt19937 random(3);
    std::uniform_real_distribution<float> anywhere(-100, 100);
    Smooth2D smoother(0.9, 0.921, 6);
    qs::vector<ilXYfloat> line;
    EXPECT_EQ(FetchAll(smoother, line), 0);
    for (int i = 0; i < 200; ++i) {
        const ilXYfloat point(anywhere(random), anywhere(random));
        smoother.add_point(point);
        const int count = FetchAll(smoother, line);
        ASSERT_GE(count, 1);
        ASSERT_LE(count, 6);
        ASSERT_EQ(line.back(), point);
    }
}

TEST(Smooth2D, ACircleFedInLongStepsComesOutRound)
{
    Smooth2D smoother(0.9, 0.921, 6);
    for (int degrees = 0; degrees <= 720; degrees += 6) {
        const double angle = degrees * std::numbers::pi / 180;
        smoother.add_point({static_cast<float>(100 * std::cos(angle)), static_cast<float>(100 * std::sin(angle))});
        qs::vector<ilXYfloat> line;
        FetchAll(smoother, line);
        if (degrees < 18)
            continue;  // it takes three points to see a circle, and until then the line is straight
        for (const ilXYfloat& place : line)
            EXPECT_NEAR(place.Length(), 100, 0.02);
    }
}

TEST(Smooth2D, SharpTurnsAreNotOvershot)
{
    Smooth2D smoother(0.9, 0.921, 6);
    qs::vector<ilXYfloat> line;
    for (int i = 0; i < 20; ++i) {
        smoother.add_point({static_cast<float>(10 * (i % 2)), static_cast<float>(3 * i)});
        FetchAll(smoother, line);
    }
    for (const ilXYfloat& place : line) {
        EXPECT_GE(place.x, -1);
        EXPECT_LE(place.x, 11);
    }
}

TEST(Smooth2D, PlacesWaitUntilTheyAreFetchedAndWhatIsNoNumberIsIgnored)
{
    Smooth2D smoother(0.9, 0.921, 6);
    smoother.add_point({1, 2});
    smoother.add_point({std::numeric_limits<float>::quiet_NaN(), 0});
    smoother.add_point({0, std::numeric_limits<float>::infinity()});
    smoother.add_point({3, 4});
    qs::vector<ilXYfloat> line;
    FetchAll(smoother, line);
    EXPECT_EQ(line, (qs::vector<ilXYfloat>{{1, 2}, {3, 4}}));
}

}  // namespace
