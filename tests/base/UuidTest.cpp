#include "platform/base/Uuid.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

using qsOS::Uuid;

TEST(Uuid, GeneratedOnesAreOfVersionFourAndEveryOtherBitIsSetInAboutHalf)
{
    constexpr int kCount = 4000;
    int set[128] = {};
    for (int i = 0; i < kCount; ++i) {
        const Uuid uuid = Uuid::generate();
        const std::string text = uuid.asString().c_str();
        ASSERT_EQ(text[14], '4') << text;
        ASSERT_NE(std::string("89ab").find(text[19]), std::string::npos) << text;
        unsigned char bytes[16];
        std::memcpy(bytes, &uuid, sizeof(bytes));
        for (int bit = 0; bit < 128; ++bit)
            set[bit] += bytes[bit / 8] >> (bit % 8) & 1;
    }
    for (int bit = 0; bit < 128; ++bit) {
        const bool isFixed = (bit >= 52 && bit < 56) || bit == 70 || bit == 71;  // version and variant
        EXPECT_NEAR(set[bit], kCount / 2.0, isFixed ? kCount : 250) << "bit " << bit;  // eight standard deviations
    }
}

TEST(Uuid, CompareIsATotalOrderThatAgreesWithTheTexts)
{
    const uint32_t ascending[4] = {0x03020100, 0x07060504, 0x0B0A0908, 0x0F0E0D0C};
    std::vector<Uuid> some = {Uuid(), Uuid(ascending)};
    EXPECT_STREQ(some[1].asString().c_str(), "00010203-0405-0607-0809-0a0b0c0d0e0f");
    for (const uint32_t word : {1U, 0x80U, 0x100U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU})
        for (int place = 0; place < 4; ++place) {
            uint32_t words[4] = {};
            words[place] = word;
            some.emplace_back(words);
        }
    const auto sign = [](int value) { return (value > 0) - (value < 0); };
    for (const Uuid& left : some)
        for (const Uuid& right : some) {
            const int order = std::strcmp(left.asString().c_str(), right.asString().c_str());
            EXPECT_EQ(sign(left.compare(right)), sign(order));
            EXPECT_EQ(left == right, order == 0);
            EXPECT_EQ(left < right, order < 0);
        }
}

}  // namespace
