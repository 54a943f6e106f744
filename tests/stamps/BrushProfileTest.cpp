#include "platform/imaging/stamps/BrushProfile.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using Falloff = BrushProfile::Falloff;

TEST(BrushProfile, SampledProfileFollowsItsFormula)
{
    for (const double h : {0.15, 0.5, 0.8, 0.97}) {
        const auto hardness = static_cast<float>(h);
        const auto dome = MakeProfile({hardness, Falloff::Dome}, 50);
        const auto linear = MakeProfile({hardness, Falloff::Linear}, 50);
        const auto smooth = MakeProfile({hardness, Falloff::Smooth}, 50);
        for (double t = 0; t <= 1; t += 0.0071) {
            const double rr = t * t;
            const double expectedDome = rr <= h ? 1 - rr * (1 / h - 1) : h / (1 - h) * (1 - rr);
            const double u = t <= h ? 0 : (t - h) / (1 - h);
            const auto at = static_cast<float>(t);
            ASSERT_NEAR(dome->Evaluate(at), expectedDome, 0.01) << h << " at " << t;
            ASSERT_NEAR(linear->Evaluate(at), 1 - u, 0.01) << h << " at " << t;
            ASSERT_NEAR(smooth->Evaluate(at), 1 - u * u * (3 - 2 * u), 0.01) << h << " at " << t;
        }
        EXPECT_EQ(dome->Evaluate(1.001F), 0);
    }
}

TEST(BrushProfile, SoftestProfilesFallAllTheWayAndStayFinite)
{
    for (const Falloff falloff : {Falloff::Dome, Falloff::Linear, Falloff::Smooth}) {
        for (const float hardness : {0.0F, -3.0F, 1e-30F}) {
            const auto profile = MakeProfile({hardness, falloff}, 20);
            const qs::vector<float>& samples = profile->GetSamples();
            EXPECT_EQ(samples.front(), 1);
            EXPECT_EQ(samples.back(), 0);
            for (size_t i = 1; i < samples.size(); ++i)
                ASSERT_LE(samples[i], samples[i - 1]);
            EXPECT_FALSE(profile->IsHard());
            EXPECT_LT(profile->GetSteepness(), 20);
        }
    }
}

TEST(BrushProfile, FullHardnessAndTooFewSamplesMakeAHardProfile)
{
    EXPECT_TRUE(MakeProfile({1, Falloff::Smooth}, 20)->IsHard());
    EXPECT_TRUE(MakeProfile({std::numeric_limits<float>::quiet_NaN(), Falloff::Dome}, 20)->IsHard());
    EXPECT_TRUE(LinearProfile({}).IsHard());
    EXPECT_TRUE(LinearProfile({0.5F}).IsHard());
    EXPECT_FALSE(LinearProfile({1, 1, 0.9F}).IsHard());
}

TEST(BrushProfile, SteepnessIsTheLargestFallAndARimThatDropsIsSteep)
{
    EXPECT_NEAR(LinearProfile({1, 0.9F, 0.2F, 0}).GetSteepness(), 0.7F * 3, 1e-5);
    EXPECT_NEAR(LinearProfile({0, 0.5F, 0}).GetSteepness(), 1, 1e-6);
    EXPECT_GT(LinearProfile({1, 0.9F}).GetSteepness(), 1000);
}

TEST(BrushProfile, SamplesAreClampedAndEvaluatedBetweenThem)
{
    const LinearProfile profile({2, std::numeric_limits<float>::quiet_NaN(), 0.5F, -1});
    EXPECT_EQ(profile.GetSamples(), (qs::vector<float>{1, 0, 0.5F, 0}));
    EXPECT_NEAR(profile.Evaluate(0.5F), 0.25F, 1e-6);
    EXPECT_EQ(profile.Evaluate(std::numeric_limits<float>::quiet_NaN()), 0);
    EXPECT_EQ(profile.Evaluate(1), 0);
}

TEST(BrushProfile, BrushThatIsSetUpAgainGetsItsProfileBack)
{
    const BrushProfile brush{0.37F, Falloff::Smooth};
    const auto profile = MakeProfile(brush, 12);
    EXPECT_NE(MakeProfile({0.38F, Falloff::Smooth}, 12)->GetIdentity(), profile->GetIdentity());
    EXPECT_NE(MakeProfile({0.37F, Falloff::Linear}, 12)->GetIdentity(), profile->GetIdentity());
    EXPECT_EQ(MakeProfile(brush, 12), profile);
}

}  // namespace
