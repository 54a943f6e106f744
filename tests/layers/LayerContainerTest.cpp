#include "layers/LayerContainer.h"

#include "tests/layers/FakeDocument.h"

#include <gtest/gtest.h>

#include <string>

namespace {

int NumberIn(const LayerContainer& container)
{
    const std::string name = container.GetLayerContainerName();
    return std::stoi(name.substr(name.find('-') + 1));
}

}  // namespace

TEST(PntHandle, BothPartsTakePartInEqualityAndTheReservedOnesDifferFromAllOthers)
{
    const PntHandle handle;
    EXPECT_NE(handle, PntHandle(qsOS::Uuid::generate(), handle.own));
    EXPECT_NE(handle, PntHandle(handle.layerStack, qsOS::Uuid::generate()));
    EXPECT_EQ(handle, PntHandle(handle.layerStack, handle.own));
    EXPECT_STREQ(kNullHandle.own.asString().c_str(), "ffffff7f-ffff-ff7f-ffff-ff7fffffff7f");
    EXPECT_EQ(kNullHandle.layerStack, kNullHandle.own);
    EXPECT_TRUE(kCurrentLayerHandle.layerStack.isNil() && kCurrentLayerHandle.own == kNullHandle.own);
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
