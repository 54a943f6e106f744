#include "platform/imaging/stamps/BrushParameters.h"

#include "platform/imaging/strokes/StrokeParameters.h"
#include "platform/imaging/strokes/TpressureFilter.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

template <class Parameters>
bool IsValidWith(float Parameters::*member, float number)
{
    Parameters parameters;
    parameters.*member = number;
    return parameters.IsValid();
}

TEST(BrushParameters, AnyNumberOutOfRangeMakesThemInvalid)
{
    using B = BrushParameters;
    using S = StrokeParameters;
    EXPECT_TRUE(B().IsValid() && S().IsValid());
    for (const float bad : {kNaN, kInfinity, -kInfinity}) {
        for (const auto member : {&B::firstSize, &B::secondSize, &B::threshold, &B::markerWetness})
            EXPECT_FALSE(IsValidWith(member, bad));
        for (const auto member : {&S::spacing, &S::spacingJitter, &S::scatter, &S::timerScale, &S::directionFollow})
            EXPECT_FALSE(IsValidWith(member, bad));
        B colored, hard;
        colored.color.g = hard.profile.hardness = bad;
        EXPECT_FALSE(colored.IsValid() || hard.IsValid());
    }
    for (const auto size : {&B::firstSize, &B::secondSize})
        for (const auto& [number, isValid] : {std::pair(0.0F, true), {1e6F, true}, {1.001e6F, false}, {-1e-3F, false}})
            EXPECT_EQ(IsValidWith(size, number), isValid) << number;
    EXPECT_FALSE(IsValidWith(&S::spacing, 0));
}

class NamedStamp : public BrushStampReferenceStamp {
public:
    using BrushStampReferenceStamp::BrushStampReferenceStamp;
    BrushStampReferenceStamp* duplicate() const override { return new NamedStamp(*this); }
    bool IsEqual_(const BrushStampReferenceStamp*) const override { return false; }
    ilImage* GetRefImage() override { return nullptr; }
};

TEST(BrushStampReferenceStamp, TypeNameIsComparedWholeAndCutTo127Characters)
{
    const std::string x(200, 'x');
    for (const auto& [name, asked, isIt] : {std::tuple("Clone", "Clone", true),
                                            {"Clone", "Clon", false},
                                            {"Clone", "Cloned", false},
                                            {"Clone", "clone", false},
                                            {"Clone", nullptr, false},
                                            {nullptr, "", true},
                                            {x.c_str(), x.c_str() + 73, true},
                                            {x.c_str(), x.c_str() + 74, false}})
        EXPECT_EQ(NamedStamp(name).IsBrushStampReferenceType(asked), isIt);
}

TEST(TpressureFilter, RisesWithoutStepsFromTheLowerLimitToTheUpper)
{
    const TpressureFilter filter(100, 1123);
    EXPECT_EQ(filter.getFilteredValue(0) + filter.getFilteredValue(100), 0);
    EXPECT_EQ(filter.getFilteredValue(1123) * filter.getFilteredValue(4000000000U), 1);
    for (unsigned raw = 101; raw <= 1123; ++raw) {
        const float rise = filter.getFilteredValue(raw) - filter.getFilteredValue(raw - 1);
        EXPECT_GT(rise, 0) << raw;
        EXPECT_LT(rise, 1.3F / 1023) << raw;
    }
    EXPECT_NEAR(filter.getFilteredValue(356) * 1023, (0.125 + 0.078125) * 1023, 1);  // a quarter of the way up
    for (const TpressureFilter& none : {TpressureFilter(500, 500), TpressureFilter(500, 20)}) {
        EXPECT_EQ(none.getFilteredValue(500), 0);
        EXPECT_EQ(none.getFilteredValue(501), 1);
    }
}

}  // namespace
