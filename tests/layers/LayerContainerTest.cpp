#include "layers/LayerContainer.h"

#include "tests/layers/FakeDocument.h"

#include <gtest/gtest.h>

#include <string>

namespace {

class FixedClock : public qsOS::ClockPort {
public:
    FixedClock() { qsOS::SetClockPort(this); }
    ~FixedClock() override { qsOS::SetClockPort(nullptr); }
    uint64_t NowFileTimeUnits() override { return units; }

    uint64_t units = 130'000'000'000'000'000;
};

int NumberIn(const LayerContainer& container)
{
    const std::string name = container.GetLayerContainerName();
    return std::stoi(name.substr(name.find('-') + 1));
}

}  // namespace

TEST(PntHandle, BothPartsTakePartInEquality)
{
    const PntHandle handle;
    const PntHandle stale(qsOS::Uuid::generate(), handle.own);
    EXPECT_NE(handle, stale);
    EXPECT_NE(handle, PntHandle(handle.layerStack, qsOS::Uuid::generate()));
    EXPECT_EQ(handle, PntHandle(handle.layerStack, handle.own));
}

TEST(PntHandle, TheReservedHandlesDifferFromEachOtherAndFromGeneratedOnes)
{
    EXPECT_STREQ(kNullHandle.own.asString().c_str(), "ffffff7f-ffff-ff7f-ffff-ff7fffffff7f");
    EXPECT_EQ(kNullHandle.layerStack, kNullHandle.own);
    EXPECT_TRUE(kCurrentLayerHandle.layerStack.isNil());
    EXPECT_EQ(kCurrentLayerHandle.own, kNullHandle.own);
    EXPECT_NE(kCurrentLayerHandle, kNullHandle);
    EXPECT_NE(PntHandle(), kNullHandle);
    EXPECT_NE(PntHandle(), PntHandle());
}

TEST(LayerContainer, NamesAreCutAt127CharactersAndNullHasANameOfItsOwn)
{
    LayerFolder container;
    EXPECT_STREQ(container.GetLayerContainerName(), "NONE");
    const std::string longName(200, 'x');
    container.SetLayerContainerName(longName.c_str());
    EXPECT_EQ(container.GetLayerContainerName(), longName.substr(0, 127));
    container.SetLayerContainerName(container.GetLayerContainerName() + 120);
    EXPECT_STREQ(container.GetLayerContainerName(), "xxxxxxx");
    container.SetLayerContainerName(nullptr);
    EXPECT_STREQ(container.GetLayerContainerName(), "__NULL LAYER NAME__");
}

TEST(LayerContainer, ACopyHasTheIdentityOfItsSourceUntilItGetsItsOwn)
{
    const qs::Reference<Layer> source = MakeLayer();
    source->SetLocked(true);
    const qs::Reference<Layer> copy(new Layer(*source));
    EXPECT_EQ(copy->GetLayerContainerHandle(), source->GetLayerContainerHandle());
    EXPECT_STREQ(copy->GetLayerContainerName(), source->GetLayerContainerName());
    EXPECT_EQ(copy->GetTimeStamp(), source->GetTimeStamp());
    EXPECT_TRUE(copy->IsLocked());
    EXPECT_EQ(copy->GetRefCount(), 1);
    copy->GenerateUUID();
    EXPECT_NE(copy->GetLayerContainerHandle().own, source->GetLayerContainerHandle().own);
    EXPECT_NE(copy->GetLayerContainerHandle().layerStack, source->GetLayerContainerHandle().layerStack);
}

TEST(LayerContainer, TheTimeStampIsThatOfConstructionUntilUpdated)
{
    FixedClock clock;
    const qs::Reference<LayerFolder> folder(new LayerFolder);
    EXPECT_EQ(folder->GetTimeStamp().Units(), clock.units);
    clock.units += 50'000'000;
    EXPECT_NE(folder->GetTimeStamp().Units(), clock.units);
    folder->UpdateTimeStamp();
    EXPECT_EQ(folder->GetTimeStamp().Units(), clock.units);
}

TEST(LayerContainer, DefaultNamesOfLayersShareACounterAndFoldersHaveTheirOwn)
{
    LayerFolder first, second;
    first.CreateDefaultName();
    const qs::Reference<Layer> image = MakeLayer();
    const qs::Reference<Layer> mask = MakeLayer(kLayerModeMask);
    const qs::Reference<Layer> stencil = MakeLayer(kLayerModeStencil);
    second.CreateDefaultName();
    const int number = NumberIn(*image);
    EXPECT_EQ(image->GetLayerContainerName(), "Image-" + std::to_string(number));
    EXPECT_EQ(mask->GetLayerContainerName(), "Mask-" + std::to_string(number + 1));
    EXPECT_EQ(stencil->GetLayerContainerName(), "Invisibility-" + std::to_string(number + 2));
    EXPECT_GE(NumberIn(first), 1);
    EXPECT_EQ(second.GetLayerContainerName(), "Folder-" + std::to_string(NumberIn(first) + 1));
}
