#include "platform/imaging/strokes/StampSpacing.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

struct Case {
    double from, to, length;
};

class StampSpacingCases : public testing::TestWithParam<Case> {};

TEST_P(StampSpacingCases, CountsTheIntegralOfOneByTheDistanceAndFindsThePlacesAgain)
{
    const auto [from, to, length] = GetParam();
    const StampSpacing spacing(from, to, length);
    const double expected = from == to ? length / from : length / (to - from) * std::log(to / from);
    const double total = spacing.StampsUntil(length);
    EXPECT_NEAR(total, expected, 1e-10 * expected);
    for (double share = 0; share <= 1; share += 1.0 / 16) {
        const double place = length * share;
        EXPECT_NEAR(spacing.PlaceOf(spacing.StampsUntil(place)), place, 1e-10 * length);
    }

    // Cut anywhere, the parts make the whole.
    const double cut = length * 0.3;
    const double middle = from + (to - from) * 0.3;
    const double parts = StampSpacing(from, middle, cut).StampsUntil(cut) +
                         StampSpacing(middle, to, length - cut).StampsUntil(length - cut);
    EXPECT_NEAR(parts, total, 1e-10 * total);
}

INSTANTIATE_TEST_SUITE_P(Ramps, StampSpacingCases,
                         testing::Values(Case{1, 1, 10}, Case{1, 1 + 1e-12, 10}, Case{2, 2.001, 3}, Case{1, 2, 10},
                                         Case{2, 1, 10}, Case{1, 2.0001, 5}, Case{0.25, 250000, 100},
                                         Case{250000, 0.25, 1e9}, Case{0.25, 0.3, 2e12}));

}  // namespace
