#include "OpenStack.h"

#include <gtest/gtest.h>

namespace {

const ilPixel kRed = ilPixel::Rgba(255, 0, 0, 255);

TEST(LayerStack, ANewDocumentIsBlankAndHasNoLayers)
{
    OpenStack document(30, 20);
    int x = 0;
    int y = 0;
    document->GetResolution(x, y);
    EXPECT_EQ(std::make_pair(x, y), std::make_pair(100, 100));
    EXPECT_EQ(document->GetSize(), ilTile(0, 0, 0, 30, 20, 1));
    EXPECT_FALSE(document->GetClipToSize());
    EXPECT_TRUE(document->GetMaskVisible());
    EXPECT_EQ(document->GetSelectionDefaultDisplayColor(), PaintColor(0.7245f, 0.4274f, 0.396f, 1.0f));
    EXPECT_EQ(document->GetMaskDefaultDisplayColor(), PaintColor(1, 0, 0, 1));
    EXPECT_EQ(document->GetBackgroundColor(), PaintColor(1, 1, 1, 1));
    EXPECT_EQ(document->GetCurrentLayerPtr(), nullptr);
    EXPECT_EQ(document->GetCLP(), nullptr);
    EXPECT_EQ(Dump(*document.stack), " |  | ");
    EXPECT_EQ(document->GetImagePlane()->GetBounds(), ilTile(0, 0, 30, 20));
    for (const LayerMode mode : {kLayerModeImage, kLayerModeMask, kLayerModeStencil})
        EXPECT_EQ(document->GetLayerFolder(mode)->GetLayerContainerHandle().layerStack,
                  document->GetLsInstanceHandle());
}

TEST(LayerStack, SizesOutsideTheLimitsAreRefused)
{
    OpenStack document(30, 20);
    const auto plane = document->GetImagePlane();
    for (const ilTile& size :
         {ilTile(0, 0, 0, 5), ilTile(0, 0, 5, -1), ilTile(0, 0, 1'000'001, 1), ilTile(0, 0, 1'000'000, 1'000'000)})
        EXPECT_FALSE(document->SetSize(size, true, true, true));
    EXPECT_EQ(document->GetImagePlane(), plane);
    EXPECT_EQ(document->GetSize(), ilTile(0, 0, 30, 20));
    EXPECT_EQ(document.TakeTold(), "");

    EXPECT_TRUE(document->SetSize({0, 0, 40, 10}, true, true, true));
    EXPECT_TRUE(document->GetClipToSize());
    EXPECT_EQ(document->GetImagePlane()->GetBounds(), ilTile(0, 0, 40, 10));
    EXPECT_EQ(document.TakeTold(), "edited changed");
}

TEST(LayerStack, ACopyAnswersToTheSameHandlesAndTakesTheImagePlane)
{
    OpenStack document(100, 80);
    const PntHandle below = document.Add("below");
    const PntHandle folder = document->AddLayerFolder(kLayerModeImage, below);
    const PntHandle inner = document->GetCurrentLayerContainerHandle();
    document->SetCurrentLayer(below, true, false, false);
    document->SetSymmetry(new Symmetry(3, 4));
    document.Paint({10, 10, 20, 20}, kRed);
    document->GetSelectionMask()->GetImage()->fillTile({20, 20, 40, 40}, ilPixel::Coverage(255));
    document->SetSelectionMaskActive(true);
    document->ForceUpdate();
    const auto plane = document->GetImagePlane();
    const qs::vector<uint8_t> before = BytesOf(*plane, document->GetSize());

    const qs::Reference<LayerStack> copy(new LayerStack(document.stack));
    EXPECT_EQ(copy->GetImagePlane(), plane);
    EXPECT_EQ(document->GetImagePlane(), nullptr);
    EXPECT_EQ(copy->GetLsInstanceHandle(), document->GetLsInstanceHandle());
    EXPECT_EQ(Dump(*copy), Dump(*document.stack));
    EXPECT_EQ(copy->GetCurrentLayerContainerHandle(), below);
    EXPECT_NE(copy->GetLayerFromHandle(inner), document.Find(inner));
    EXPECT_NE(copy->GetLayerFolderFromHandle(folder), nullptr);
    EXPECT_EQ(copy->GetLayerFromHandle(below)->GetImage(), document.Find(below)->GetImage());
    EXPECT_EQ(copy->GetSelectionMaskHandle(), document->GetSelectionMaskHandle());
    EXPECT_NE(copy->GetSelectionMask(), document->GetSelectionMask());
    EXPECT_EQ(copy->GetSymmetry()->GetCenterX(), 3);
    EXPECT_NE(copy->GetSymmetry(), document->GetSymmetry());

    // The source draws itself again once it is given a plane of its own.
    document->AllocateCacheData();
    document->ForceUpdate();
    EXPECT_EQ(Difference(BytesOf(*document->GetImagePlane(), document->GetSize()), before, 100), "");
    copy->RedrawEntireCanvas();
    EXPECT_EQ(Difference(BytesOf(*plane, copy->GetSize()), before, 100), "");
}

TEST(LayerStack, FreedCachesComeBackWithTheSamePicture)
{
    OpenStack document(100, 80);
    document.Add("a");
    document.Paint({10, 10, 20, 20}, kRed);
    document->ForceUpdate();
    const qs::vector<uint8_t> before = BytesOf(*document->GetImagePlane(), document->GetSize());
    RecordingView view;
    document->AddViewer(&view);

    document->FreeCacheData();
    EXPECT_EQ(document->GetImagePlane(), nullptr);
    document->ForceUpdate();
    EXPECT_EQ(Difference(BytesOf(*view.plane, document->GetSize()), before, 100), "");
    document->RemoveViewer(&view);
}

TEST(LayerStack, StacksWithoutCanvasRefuseQuietly)
{
    const auto blank = [](LayerStack& stack) {
        EXPECT_EQ(stack.GetUpdateImagePlaneBits(true), nullptr);
        stack.AllocateCacheData();
        EXPECT_EQ(stack.GetImagePlane(), nullptr);
        EXPECT_NE(stack.AddLayer({}, {}, kLayerModeImage, kLayerTypeRaster, true, 0, kNullHandle, true, 0, 0, false),
                  kNullHandle);
        stack.RebuildAllAndRedrawEntireCanvas();
        EXPECT_EQ(stack.GetCompositeImage(), nullptr);
        stack.DeleteAllLayers();
        EXPECT_NE(stack.GetCurrentLayerPtr(), nullptr);
    };
    blank(*qs::MakeReference<LayerStack>(static_cast<MIOLayerStack_sr*>(nullptr)));
    blank(*qs::MakeReference<LayerStack>(qs::Reference<LayerStack>()));
}

TEST(LayerStack, TheDumpNamesTheFoldersInOrderAndOnlyOnDemand)
{
    OpenStack document;
    document.Add("a");
    testing::internal::CaptureStdout();
    document->debug();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");

    document.debugLevel = 8214;
    testing::internal::CaptureStdout();
    document->debug();
    const std::string text = testing::internal::GetCapturedStdout();
    size_t at = 0;
    for (const char* line :
         {"=================== LS (begin) ===================\n", ">>> LsInstanceHandle[", "IMAGE FOLDER\n", "Layer[a]",
          "MASK FOLDER\n", "STENCIL FOLDER\n", "=================== TRANSFORM ===================\n",
          "=================== LS (end) ===================\n"}) {
        at = text.find(line, at);
        ASSERT_NE(at, std::string::npos) << line << " in\n" << text;
    }
}

}  // namespace
