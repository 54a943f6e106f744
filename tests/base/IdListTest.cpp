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

TEST(IdList, KeepsTheOrderOfAddingEachIdOnceAndChecksWholeIds)
{
    std::string id = "Stroke";
    IdList list(id.c_str());
    id = "gone";  // the list has a copy of its own
    for (const char* more : {"Base", "Stroke", static_cast<const char*>(nullptr), "Layer"})
        list.SetID(more);
    const IdList copy = list;
    list.SetID("Later");
    EXPECT_EQ(Dump(copy), "Stroke Base Layer ");
    EXPECT_TRUE(list.CheckID("Later"));
    for (const char* other : {"Lat", "Laters", "later", "", static_cast<const char*>(nullptr)})
        EXPECT_FALSE(list.CheckID(other));
    EXPECT_EQ(list.GetID(-1), nullptr);
    EXPECT_EQ(list.GetID(4), nullptr);
    EXPECT_EQ(IdList(nullptr).GetID(0), nullptr);
}

}  // namespace
