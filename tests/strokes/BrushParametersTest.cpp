#include "platform/imaging/stamps/BrushParameters.h"

#include "platform/imaging/strokes/StrokeParameters.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

TEST(BrushParameters, AnyNumberOutOfRangeMakesThemInvalid)
{
    EXPECT_TRUE(BrushParameters().IsValid());
    float BrushParameters::*const numbers[] = {&BrushParameters::firstSize, &BrushParameters::secondSize,
                                               &BrushParameters::threshold, &BrushParameters::markerWetness};
    for (const auto number : numbers) {
        for (const float bad : {kNaN, kInfinity, -kInfinity}) {
            BrushParameters brush;
            brush.*number = bad;
            EXPECT_FALSE(brush.IsValid());
        }
    }
    for (const auto size : {&BrushParameters::firstSize, &BrushParameters::secondSize}) {
        BrushParameters brush;
        brush.*size = 0;
        EXPECT_TRUE(brush.IsValid());
        brush.*size = 1e6F;
        EXPECT_TRUE(brush.IsValid());
        brush.*size = 1.001e6F;
        EXPECT_FALSE(brush.IsValid());
        brush.*size = -0.001F;
        EXPECT_FALSE(brush.IsValid());
    }
    BrushParameters brush;
    brush.color.g = kNaN;
    EXPECT_FALSE(brush.IsValid());
    brush = {};
    brush.profile.hardness = kInfinity;
    EXPECT_FALSE(brush.IsValid());
}

TEST(StrokeParameters, AnyNumberThatIsNotFiniteOrNoSpacingMakesThemInvalid)
{
    EXPECT_TRUE(StrokeParameters().IsValid());
    float StrokeParameters::*const numbers[] = {&StrokeParameters::spacing, &StrokeParameters::spacingJitter,
                                                &StrokeParameters::scatter, &StrokeParameters::timerScale,
                                                &StrokeParameters::directionFollow};
    for (const auto number : numbers) {
        for (const float bad : {kNaN, kInfinity}) {
            StrokeParameters stroke;
            stroke.*number = bad;
            EXPECT_FALSE(stroke.IsValid());
        }
    }
    StrokeParameters stroke;
    stroke.spacing = 0;
    EXPECT_FALSE(stroke.IsValid());
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
    const NamedStamp stamp("Clone");
    EXPECT_TRUE(stamp.IsBrushStampReferenceType("Clone"));
    for (const char* other : {"Clon", "Cloned", "clone", ""})
        EXPECT_FALSE(stamp.IsBrushStampReferenceType(other)) << other;
    EXPECT_FALSE(stamp.IsBrushStampReferenceType(nullptr));
    EXPECT_TRUE(NamedStamp(nullptr).IsBrushStampReferenceType(""));
    const std::string longName(200, 'x');
    EXPECT_TRUE(NamedStamp(longName.c_str()).IsBrushStampReferenceType(longName.substr(0, 127).c_str()));
    EXPECT_FALSE(NamedStamp(longName.c_str()).IsBrushStampReferenceType(longName.substr(0, 126).c_str()));
}

}  // namespace
