#include "platform/base/AffineMatrix.h"

#include "tests/support/Seed.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <utility>

namespace {

using qsLinear::AffineMatrix;
using Point = std::pair<double, double>;

Point Mapped(const AffineMatrix& matrix, double x, double y)
{
    matrix.MapPoint(x, y);
    return {x, y};
}

void ExpectNear(const Point& left, const Point& right, double tolerance)
{
    EXPECT_NEAR(left.first, right.first, tolerance);
    EXPECT_NEAR(left.second, right.second, tolerance);
}

TEST(AffineMatrix, RotationTurnsFromXTowardsYByTheAngleAndByQuartersExactly)
{
    const Point turned[4] = {{3, 5}, {-5, 3}, {-3, -5}, {5, -3}};
    for (int quarter = -400; quarter <= 400; ++quarter)
        EXPECT_EQ(Mapped(AffineMatrix::Rotation(90.0 * quarter), 3, 5), turned[quarter & 3]) << quarter;
    for (double angle = -720; angle <= 720; angle += 7.3) {
        const Point p = Mapped(AffineMatrix::Rotation(angle), 1, 0);
        const double radians = angle * std::acos(-1.0) / 180;
        ExpectNear(p, {std::cos(radians), std::sin(radians)}, 2e-12);
    }
}

TEST(AffineMatrix, AReflectionKeepsItsLineAndUndoesItself)
{
    SeededNumbers random(7);
    std::uniform_real_distribution<double> any(-100, 100);
    for (int i = 0; i < 200; ++i) {
        const double x = any(random), y = any(random), angle = 10 * any(random), along = any(random);
        const AffineMatrix mirror = AffineMatrix::Reflection(x, y, angle);
        const double radians = angle * std::acos(-1.0) / 180;
        const Point onLine = {x + along * std::cos(radians), y + along * std::sin(radians)};
        ExpectNear(Mapped(mirror, onLine.first, onLine.second), onLine, 1e-9);
        const Point other = {any(random), any(random)};
        ExpectNear(Mapped(mirror * mirror, other.first, other.second), other, 1e-9);
        EXPECT_NEAR(mirror.determinant(), -1, 1e-11);
    }
    EXPECT_EQ(Mapped(AffineMatrix::Reflection(10, 0, 90), 12, 7), Point(8, 7));
    EXPECT_EQ(Mapped(AffineMatrix::Reflection(0, 0, 45), 12, 7), Point(7, 12));
}

TEST(AffineMatrix, AProductMapsByTheRightFactorFirstAndItsInverseMapsBack)
{
    SeededNumbers random(11);
    std::uniform_real_distribution<double> any(-10, 10);
    for (int i = 0; i < 200; ++i) {
        const AffineMatrix a(any(random), any(random), any(random), any(random), any(random), any(random));
        const AffineMatrix b(any(random), any(random), any(random), any(random), any(random), any(random));
        const Point p = {any(random), any(random)};
        const Point byB = Mapped(b, p.first, p.second);
        ExpectNear(Mapped(a * b, p.first, p.second), Mapped(a, byB.first, byB.second), 1e-9);
        AffineMatrix inverse;
        ASSERT_TRUE(a.Invert(inverse));
        const Point there = Mapped(a, p.first, p.second);
        ExpectNear(Mapped(inverse, there.first, there.second), p, 1e-9 * (1 + 1 / std::abs(a.determinant())));
    }
    EXPECT_EQ(Mapped(AffineMatrix::Translation(1, 0) * AffineMatrix::Scale(2, 2), 3, 4), Point(7, 8));
}

TEST(AffineMatrix, ASingularOrInfiniteMatrixRefusesToInvert)
{
    const double infinity = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const AffineMatrix singular[] = {
        {0, 0, 0, 0, 1, 1},        {0.1, 0.3, 0.7, 2.1, 0, 0},  // parallel columns, up to rounding
        {infinity, 0, 0, 1, 0, 0}, {nan, 0, 0, 1, 0, 0},       {1, 0, 0, 1, infinity, 0}, {1e-200, 0, 0, 1e-200, 0, 0}};
    for (const AffineMatrix& matrix : singular) {
        AffineMatrix out(1, 2, 3, 4, 5, 6);
        EXPECT_FALSE(matrix.Invert(out));
        EXPECT_EQ(out, AffineMatrix(1, 2, 3, 4, 5, 6));
    }
}

}  // namespace
