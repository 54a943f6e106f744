#include "platform/imaging/strokes/TpressureFilter.h"

#include <gtest/gtest.h>

namespace {

TEST(TpressureFilter, RisesWithoutStepsFromTheLowerLimitToTheUpper)
{
    const TpressureFilter filter(100, 1123);
    EXPECT_EQ(filter.getFilteredValue(0), 0);
    EXPECT_EQ(filter.getFilteredValue(100), 0);
    EXPECT_EQ(filter.getFilteredValue(1123), 1);
    EXPECT_EQ(filter.getFilteredValue(4000000000U), 1);
    for (unsigned raw = 101; raw <= 1123; ++raw) {
        const float rise = filter.getFilteredValue(raw) - filter.getFilteredValue(raw - 1);
        EXPECT_GT(rise, 0) << raw;
        EXPECT_LT(rise, 1.3F / 1023) << raw;
    }
}

TEST(TpressureFilter, WithoutARangeItIsASwitch)
{
    for (const TpressureFilter& filter : {TpressureFilter(500, 500), TpressureFilter(500, 20)}) {
        EXPECT_EQ(filter.getFilteredValue(500), 0);
        EXPECT_EQ(filter.getFilteredValue(501), 1);
    }
}

}  // namespace
