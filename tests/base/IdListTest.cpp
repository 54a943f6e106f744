#include "platform/base/IdList.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string Dump(const IdList& list)
{
    std::string text;
    for (int i = 0; i < list.GetNumIDs(); ++i)
        text += std::string(list.GetID(i)) + ' ';
    return text;
}

TEST(IdList, KeepsTheOrderOfAddingAndEachIdOnce)
{
    std::string id = "Stroke";
    IdList list(id.c_str());
    id = "gone";  // the list has a copy of its own
    list.SetID("Base");
    list.SetID("Stroke");
    list.SetID(nullptr);
    list.SetID("Layer");
    EXPECT_EQ(Dump(list), "Stroke Base Layer ");
    const IdList copy = list;
    list.SetID("Later");
    EXPECT_EQ(Dump(copy), "Stroke Base Layer ");
}

TEST(IdList, ChecksWholeIdsAndRefusesWhatIsNotThere)
{
    IdList list("MaskLayer");
    EXPECT_TRUE(list.CheckID("MaskLayer"));
    for (const char* id : {"Mask", "MaskLayers", "masklayer", ""})
        EXPECT_FALSE(list.CheckID(id)) << id;
    EXPECT_FALSE(list.CheckID(nullptr));
    EXPECT_EQ(list.GetID(-1), nullptr);
    EXPECT_EQ(list.GetID(1), nullptr);
    EXPECT_EQ(IdList(nullptr).GetID(0), nullptr);
}

}  // namespace
