#include "platform/geometry/gk_spline.h"

#include "platform/base/AffineMatrix.h"
#include "tests/support/Seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace {

static_assert(sizeof(ilXYfloat) == 2 * sizeof(float) && sizeof(ilXYdouble) == 2 * sizeof(double));

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

double PolygonOf(const gk_spline& curve)
{
    constexpr int kSteps = 200000;
    double polygon = 0;
    for (int i = 0; i < kSteps; ++i)
        polygon += (curve.Evaluate((i + 1.0) / kSteps) - curve.Evaluate(static_cast<double>(i) / kSteps)).Length();
    return polygon;
}

class RandomCurves : public testing::TestWithParam<int> {
protected:
    ilXYdouble Point() { return {coordinate_(random_), coordinate_(random_)}; }

    gk_spline Curve()
    {
        qs::vector<ilXYdouble> points(static_cast<std::size_t>(GetParam()));
        for (ilXYdouble& point : points)
            point = Point();
        return gk_spline(points);
    }

    SeededNumbers random_{static_cast<unsigned>(GetParam())};
    std::uniform_real_distribution<double> coordinate_{-500, 500};
};

INSTANTIATE_TEST_SUITE_P(gk_spline, RandomCurves, testing::Values(2, 3, 4, 5, 6, 9, 30));

void ExpectNear(const ilXYdouble& left, const ilXYdouble& right, double tolerance)
{
    EXPECT_NEAR(left.x, right.x, tolerance);
    EXPECT_NEAR(left.y, right.y, tolerance);
}

TEST_P(RandomCurves, EqualTheSumOfBasisFunctionsAndHaveItsDerivative)
{
    // Cox and de Boor's recursion, straight from its definition, over an explicit clamped knot vector.
    const gk_spline curve = Curve();
    const int count = curve.GetNumControlPoints();
    const int degree = std::min(3, count - 1);
    qs::vector<double> knots;
    knots.reserve(64);
    for (int i = 0; i < count + degree + 1; ++i)
        knots.push_back(std::clamp(i - degree, 0, count - degree));
    const auto basis = [&knots](auto& self, int i, int p, double u) -> double {
        const auto knot = [&knots](int k) { return knots[static_cast<std::size_t>(k)]; };
        if (p == 0)
            return knot(i) <= u && u < knot(i + 1) ? 1 : 0;
        double sum = 0;
        if (knot(i + p) > knot(i))
            sum += (u - knot(i)) / (knot(i + p) - knot(i)) * self(self, i, p - 1, u);
        if (knot(i + p + 1) > knot(i + 1))
            sum += (knot(i + p + 1) - u) / (knot(i + p + 1) - knot(i + 1)) * self(self, i + 1, p - 1, u);
        return sum;
    };
    for (double t = 0; t < 1; t += 1.0 / 97) {
        ilXYdouble expected;
        for (int i = 0; i < count; ++i)
            expected += curve.GetControlPoint(i) * basis(basis, i, degree, t * (count - degree));
        ExpectNear(curve.Evaluate(t), expected, 1e-9);
        constexpr double kStep = 1e-6;
        const double inside = std::clamp(t, kStep, 1 - kStep);
        const ilXYdouble difference = (curve.Evaluate(inside + kStep) - curve.Evaluate(inside - kStep)) / (2 * kStep);
        ExpectNear(curve.Derivative(inside), difference, 1e-2);
    }
    for (const double before : {0.0, -5.0, kNaN})
        EXPECT_EQ(curve.Evaluate(before), curve.GetControlPoint(0));
    for (const double beyond : {1.0, kInfinity})
        EXPECT_EQ(curve.Evaluate(beyond), curve.GetControlPoint(count - 1));
}

TEST_P(RandomCurves, AreMappedWhenTheirControlPointsAre)
{
    using qsLinear::AffineMatrix;
    const gk_spline curve = Curve();
    const AffineMatrix matrix =
        AffineMatrix::Translation(70, -30) * AffineMatrix::Rotation(33) * AffineMatrix(1.5, 0.25, -0.5, 0.75, 0, 0);
    gk_spline mapped = curve;
    const double lengthBefore = mapped.Length();
    ASSERT_TRUE(mapped.Transform(matrix));
    for (double t = 0; t <= 1; t += 1.0 / 64) {
        ilXYdouble expected = curve.Evaluate(t);
        matrix.MapPoint(expected.x, expected.y);
        ExpectNear(mapped.Evaluate(t), expected, 1e-9);
    }
    EXPECT_EQ(curve.Length(), lengthBefore);
    EXPECT_NEAR(mapped.Length(), PolygonOf(mapped), 1e-6 * lengthBefore);
}

TEST_P(RandomCurves, AreAsLongAsAFinePolygonAndWalkedAtConstantSpeed)
{
    const gk_spline curve = Curve();
    const double length = curve.Length();
    EXPECT_NEAR(length, PolygonOf(curve), 1e-6 * length);
    EXPECT_EQ(curve.LengthAtParameter(0), 0);
    EXPECT_DOUBLE_EQ(curve.LengthAtParameter(1), length);

    double lastT = 0;
    for (int i = 1; i < 500; ++i) {
        const double wanted = length * i / 500;
        const double t = curve.ParameterAtLength(wanted);
        ASSERT_GT(t, lastT);
        ASSERT_NEAR(curve.LengthAtParameter(t), wanted, 1e-9 * length);
        // A chord is never longer than its arc; where the curve is not sharply bent it is hardly shorter.
        ASSERT_LE((curve.Evaluate(t) - curve.Evaluate(lastT)).Length(), length / 500 * (1 + 1e-6));
        lastT = t;
    }
    for (const double before : {0.0, -1.0, kNaN})
        EXPECT_EQ(curve.ParameterAtLength(before), 0);
    for (const double beyond : {length, kInfinity})
        EXPECT_EQ(curve.ParameterAtLength(beyond), 1);
}

TEST_P(RandomCurves, AreNearestWhereNoSampleIsNearer)
{
    const gk_spline curve = Curve();
    constexpr int kSamples = 5000;
    for (int i = 0; i < 60; ++i) {
        // On the curve, beside it, and far away.
        const double onT = static_cast<double>(i) / 59;
        const ilXYdouble on = curve.Evaluate(onT);
        const double onDistance = (curve.Evaluate(curve.ClosestParameter(on)) - on).Length();
        ASSERT_LT(onDistance, 1e-6) << onT;
        for (const ilXYdouble& point : {Point(), Point() * 100.0}) {
            const double found = (curve.Evaluate(curve.ClosestParameter(point)) - point).Length();
            for (int sample = 0; sample <= kSamples; ++sample) {
                const double t = static_cast<double>(sample) / kSamples;
                ASSERT_LE(found, (curve.Evaluate(t) - point).Length() + 1e-2) << t;
            }
            // Nothing is nearer in the neighbourhood either.
            const double t = curve.ClosestParameter(point);
            for (const double offset : {-1e-5, -1e-7, 1e-7, 1e-5})
                ASSERT_LE(found, (curve.Evaluate(t + offset) - point).Length() + 1e-9) << t << ' ' << offset;
        }
    }
}

TEST(gk_spline, AStraightLineHasItsLengthAndNearestPoints)
{
    const gk_spline line({{10, 20}, {40, 60}});
    EXPECT_DOUBLE_EQ(line.Length(), 50);
    EXPECT_NEAR(line.ParameterAtLength(10), 0.2, 1e-12);
    EXPECT_NEAR(line.ClosestParameter({10 + 12 - 4, 20 + 16 + 3}), 0.4, 1e-12);
    EXPECT_EQ(line.ClosestParameter({-10, -20}), 0);
    EXPECT_EQ(line.ClosestParameter({100, 100}), 1);
    gk_spline changed = line;
    ASSERT_TRUE(changed.SetControlPoint(1, {310, 420}));
    EXPECT_DOUBLE_EQ(changed.Length(), 500);
    ASSERT_TRUE(changed.Transform(qsLinear::AffineMatrix::Scale(2, 2)));
    EXPECT_DOUBLE_EQ(changed.Length(), 1000);
    EXPECT_DOUBLE_EQ(line.Length(), 50);
}

TEST(gk_spline, ACuspAndADoubledBackLineAreMeasured)
{
    const gk_spline cusp({{0, 0}, {100, 100}, {0, 100}, {100, 0}});
    EXPECT_NEAR(cusp.Length(), PolygonOf(cusp), 1e-5);
    for (double s = 0; s < cusp.Length(); s += 0.37)
        ASSERT_NEAR(cusp.LengthAtParameter(cusp.ParameterAtLength(s)), s, 1e-7);

    const gk_spline back({{0, 0}, {60, 0}, {0, 0}});  // turns at x = 30
    EXPECT_NEAR(back.Length(), 60, 1e-6);
}

TEST(gk_spline, WhatIsOutOfRangeIsRefusedAndChangesNothing)
{
    gk_spline curve({{1, 2}, {kNaN, 0}, {3, 4}, {0, kInfinity}, {1e101, 0}, {5, 6}});
    EXPECT_EQ(curve.GetNumControlPoints(), 3);
    EXPECT_FALSE(curve.SetControlPoint(-1, {0, 0}));
    EXPECT_FALSE(curve.SetControlPoint(3, {0, 0}));
    EXPECT_FALSE(curve.SetControlPoint(1, {kNaN, 0}));
    EXPECT_FALSE(curve.Transform(qsLinear::AffineMatrix::Scale(kInfinity, 1)));
    EXPECT_EQ(curve.GetControlPoint(1), ilXYdouble(3, 4));
    EXPECT_EQ(curve.GetControlPoint(3), ilXYdouble());
    EXPECT_EQ(curve.ClosestParameter({kNaN, 0}), 0);
}

TEST(gk_spline, CurvesThatStandStillAnswerSanely)
{
    const gk_spline empty;
    const gk_spline single({{7, 8}});
    const gk_spline heap(qs::vector<ilXYdouble>(6, ilXYdouble(7, 8)));
    EXPECT_EQ(empty.Evaluate(0.5), ilXYdouble());
    for (const gk_spline* curve : {&single, &heap})
        for (const double t : {0.0, 0.3, 1.0})
            EXPECT_EQ(curve->Evaluate(t), ilXYdouble(7, 8));
    for (const gk_spline* curve : {&empty, &single, &heap}) {
        EXPECT_EQ(curve->Derivative(0.5), ilXYdouble());
        EXPECT_EQ(curve->Length(), 0);
        EXPECT_EQ(curve->LengthAtParameter(0.5), 0);
        EXPECT_EQ(curve->ParameterAtLength(3), 0);
        const double t = curve->ClosestParameter({100, 100});
        EXPECT_TRUE(t >= 0 && t <= 1);
    }
    const gk_spline speck({{1e6, 1e6}, {1e6 + 1e-9, 1e6}, {1e6, 1e6 + 1e-9}, {1e6, 1e6}, {1e6 + 1e-9, 1e6}});
    EXPECT_LT(speck.Length(), 1e-8);
    EXPECT_LE(speck.ParameterAtLength(5e-10), 1);
    const gk_spline huge({{-1e100, 0}, {1e100, 1e100}, {0, -1e100}, {1e100, 0}, {-1e100, 0}});
    EXPECT_TRUE(std::isfinite(huge.Length()));
    EXPECT_TRUE(std::isfinite(huge.ClosestParameter({1e100, 1e100})));
    EXPECT_TRUE(std::isfinite(huge.Derivative(0.4).Length()));
}

}  // namespace
