#include "OpenStack.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

const ilPixel kRed = ilPixel::Rgba(255, 0, 0, 255);
const ilPixel kSelected = ilPixel::Coverage(255);

/// Selects a rectangle, as the tools do: in the mask's image.
void Select(OpenStack& document, const ilTile& tile)
{
    document->GetSelectionMask()->GetImage()->fillTile(tile, kSelected);
}

TEST(SelectionMask, ItIsMadeEmptyInactiveAndOutsideTheFolders)
{
    OpenStack document;
    const Layer* const mask = document->GetSelectionMask();
    ASSERT_NE(mask, nullptr);
    EXPECT_STREQ(mask->GetLayerContainerName(), "Marquee");
    EXPECT_TRUE(mask->isMask());
    EXPECT_EQ(mask->GetImage()->GetNumChannels(), 1);
    EXPECT_EQ(mask->GetMaskColor(), document->GetSelectionDefaultDisplayColor());
    EXPECT_EQ(mask->GetMaskDisplayOpacity(), 0.5f);
    EXPECT_EQ(mask->GetLayerContainerHandle().layerStack, document->GetLsInstanceHandle());
    EXPECT_FALSE(document->isSelectionMaskActive());
    EXPECT_TRUE(document->GetSelMaskBounds().IsEmpty());
    EXPECT_EQ(document->FindLayerFolder(document->GetSelectionMaskHandle(), true), nullptr);
}

TEST(SelectionMask, ItIsUsedWhenActiveNotEmptyAndNotCurrent)
{
    OpenStack document;
    document.Add("a");
    EXPECT_FALSE(document->isSelectionMaskUsed());
    Select(document, {10, 10, 20, 20});
    EXPECT_FALSE(document->isSelectionMaskUsed()) << "made inactive";
    document->SetSelectionMaskActive(true);
    EXPECT_TRUE(document->isSelectionMaskUsed());
    EXPECT_EQ(document->GetSelMaskBounds(), ilTile(10, 10, 20, 20));
    document.TakeTold();
    document->SetSelectionMaskCurrent();
    EXPECT_EQ(document.TakeTold(), "edited changed updated");
    EXPECT_FALSE(document->isSelectionMaskUsed());
    EXPECT_TRUE(document->isSelectionMaskCurrent());
    document->SetSelectionMaskCurrent();
    EXPECT_EQ(document.TakeTold(), "") << "is current already";
    document->SetCurrentLayer(document->GetBottomLayer(kLayerModeImage)->GetLayerContainerHandle(), true, false, false);
    EXPECT_TRUE(document->isSelectionMaskUsed());
    document->ClearSelectionMask(true);
    EXPECT_FALSE(document->isSelectionMaskUsed());
}

TEST(SelectionMask, ItLimitsPaintingWhereverTheLayersLie)
{
    OpenStack document;
    document.Add("a");
    document->SetCurrentLayerOffset(7, -3, true);
    Select(document, {0, 0, 10, 10});
    document->SetLayerOffset(document->GetSelectionMaskHandle(), 20, 30, true);
    document->SetSelectionMaskActive(true);
    document.Paint({0, 0, 100, 100}, kRed);
    EXPECT_EQ(document->GetCurrentLayerPtr()->getLayerBoundsInCanvasCoords(), ilTile(20, 30, 10, 10));

    document->SetCurrentLayerOffset(0, 0, true);
    document->GetCLP()->rect_fill(0, 0, 200, 150, ilPixel());
    EXPECT_EQ(document->GetCurrentLayerPtr()->GetImage()->GetPixel(20, 30), ilPixel()) << "the selection stays there";
    EXPECT_EQ(document->GetCurrentLayerPtr()->GetImage()->GetPixel(15, 34), kRed);

    document->SetSelectionMaskActive(false);
    document->GetCLP()->rect_fill(50, 50, 1, 1, kRed);
    EXPECT_EQ(document->GetCurrentLayerPtr()->GetImage()->GetPixel(50, 50), kRed)
        << "the painter in use no longer knows the selection";
}

TEST(SelectionMask, ItsColourAndOpacityFollowTheDefaultsWhileActive)
{
    OpenStack document;
    document.Add("a");
    Select(document, {10, 10, 20, 20});
    const PaintColor green(0, 1, 0, 1);
    document->SetSelectionDefaultDisplayColor(green);
    document->SetSelectionDefaultDisplayOpacity(1);
    document->SetSelectionDefaultDisplayOpacity(NAN);
    EXPECT_NE(document->GetSelectionMask()->GetMaskColor(), green);
    document->SetSelectionMaskActive(true);
    EXPECT_EQ(document->GetSelectionMask()->GetMaskColor(), green);
    document->ForceUpdate();
    EXPECT_EQ(document->GetImagePlane()->GetPixel(15, 15), ilPixel::Rgba(0, 255, 0, 255));
    EXPECT_EQ(document->GetImagePlane()->GetPixel(5, 15), ilPixel());
    document->SetSelectionDefaultDisplayColor(PaintColor(0, 0, 1, 1));
    EXPECT_EQ(document->GetImagePlane()->GetPixel(15, 15), ilPixel::Rgba(0, 0, 255, 255));
    document->SetSelectionMaskActive(false);
    document->ForceUpdate();
    EXPECT_EQ(document->GetImagePlane()->GetPixel(15, 15), ilPixel());
}

TEST(SelectionMask, ReplacingTheCurrentOneKeepsASelectionMaskCurrent)
{
    OpenStack document;
    const PntHandle a = document.Add("a");
    const PntHandle mask = document.Add("m", kLayerModeMask);
    document->SetSelectionMaskCurrent();
    document->ClearSelectionMask(true);
    EXPECT_TRUE(document->isSelectionMaskCurrent());
    document->SetSelectionMask(document.Find(mask));
    EXPECT_TRUE(document->isSelectionMaskCurrent()) << "a layer of the folders cannot be the selection mask";
    document->SetSelectionMask(nullptr);
    EXPECT_EQ(document->GetCurrentLayerContainerHandle(), a);
    EXPECT_EQ(document->GetSelectionMaskHandle(), kNullHandle);
    document->SetSelectionMaskActive(true);
    document->SetSelectionMaskCurrent();
    EXPECT_FALSE(document->isSelectionMaskUsed());
    EXPECT_TRUE(document->GetSelMaskBounds().IsEmpty());
}

TEST(Masks, NewOnesTakeTheDefaultsOfTheirMode)
{
    OpenStack document;
    document->SetMaskDefaultDisplayColor(PaintColor(0, 2, 0, 1));
    document->SetMaskDefaultDisplayOpacity(0.25f);
    const PntHandle mask = document.Add("m", kLayerModeMask);
    const PntHandle stencil = document.Add("s", kLayerModeStencil);
    const PntHandle image = document.Add("a");
    EXPECT_EQ(document->GetMaskLayerDisplayColor(mask), PaintColor(0, 1, 0, 1)) << "clamped";
    EXPECT_EQ(document->GetMaskLayerDisplayOpacity(mask), 0.25f);
    EXPECT_EQ(document->GetMaskLayerDisplayColor(stencil), PaintColor(1, 0, 0, 1));
    EXPECT_EQ(document->GetMaskLayerDisplayOpacity(stencil), 0.25f);
    EXPECT_EQ(document->GetMaskLayerDisplayOpacity(image), 0.5f);
    EXPECT_EQ(document->GetMaskLayerDisplayOpacity(kNullHandle), 0.5f);
}

TEST(Masks, DeletingALayerEndsTheConnectionsToIt)
{
    OpenStack document;
    document.Add("base");
    const PntHandle a = document.Add("a");
    const PntHandle mask = document.Add("m", kLayerModeMask);
    const PntHandle stencil = document.Add("s", kLayerModeStencil);
    EXPECT_FALSE(document->AddOwnerToLayer(mask, a, false)) << "an image layer acts on none";
    EXPECT_TRUE(document->AddOwnerToLayer(a, mask, false));
    EXPECT_TRUE(document->AddOwnerToLayer(a, stencil, false));
    EXPECT_FALSE(document->AddOwnerToLayer(a, stencil, false));
    EXPECT_EQ(document->getMaskLayers(a), qs::vector<PntHandle>{mask});
    EXPECT_EQ(document->getStencilLayers(a), qs::vector<PntHandle>{stencil});
    EXPECT_EQ(document->getOwnerArray(stencil), qs::vector<PntHandle>{a});
    EXPECT_TRUE(document->RemoveOwnerFromLayer(a, mask));
    EXPECT_TRUE(document->getMaskLayers(a).empty());
    document->DeleteCurrentLayer(a, true);
    EXPECT_TRUE(document->getOwnerArray(stencil).empty());
}

TEST(Masks, AnInvertedOneIsShownAndHiddenAllOverTheCanvas)
{
    OpenStack document;
    document.Add("a");
    const PntHandle mask = document.Add("m", kLayerModeMask);
    document.Paint({10, 10, 10, 10}, kSelected);
    document.Find(mask)->InvertMask();
    document->RebuildAllAndRedrawEntireCanvas();
    EXPECT_NE(document->GetImagePlane()->GetPixel(199, 149), ilPixel());
    document->SetLayerVisible(mask, false, true);
    EXPECT_EQ(document->GetImagePlane()->GetPixel(199, 149), ilPixel());
}

/// Two image layers on a third that one stencil acts on; the stencil is current and itself not shown.
class Stencils : public testing::Test {
protected:
    Stencils()
    {
        document.Add("bottom");  // cached together with the one above it
        document.Paint({190, 0, 10, 10}, kRed);
        below = document.Add("below");
        document.Paint({0, 0, 100, 100}, kRed);
        above = document.Add("above");
        document.Paint({50, 50, 100, 100}, kBlue);
        stencil = document.Add("s", kLayerModeStencil);
        document->AddOwnerToLayer(above, stencil, false);
        document->AddOwnerToLayer(below, stencil, false);
        document->SetMaskLayerDisplayOpacity(0, stencil);
        document->ForceUpdate();
        document.Paint({20, 20, 10, 10}, kSelected);
        document.Paint({120, 120, 10, 10}, kSelected);
        document->ForceUpdate();
    }

    /// What the image plane shows where the stencil covers the lower and the upper layer, and where it covers nothing.
    void ExpectShown(const ilPixel& onBelow, const ilPixel& onAbove)
    {
        const auto plane = document->GetImagePlane();
        EXPECT_EQ(plane->GetPixel(25, 25), onBelow);
        EXPECT_EQ(plane->GetPixel(125, 125), onAbove);
        EXPECT_EQ(plane->GetPixel(10, 10), kRed);
        EXPECT_EQ(plane->GetPixel(110, 110), kBlue);
    }

    const ilPixel kBlue = ilPixel::Rgba(0, 0, 255, 255);
    const ilPixel kNothing;
    OpenStack document;
    PntHandle below = kNullHandle;
    PntHandle above = kNullHandle;
    PntHandle stencil = kNullHandle;
};

TEST_F(Stencils, StrokesOnOneHideWhatIsBelowThemOnEveryOwner)
{
    ExpectShown(kNothing, kNothing);
}

TEST_F(Stencils, SwitchingOneOffShowsWhatItHid)
{
    document->SetLayerActive(stencil, false);
    ExpectShown(kRed, kBlue);
    document->SetLayerActive(stencil, true);
    ExpectShown(kNothing, kNothing);
    document->SetLayerOffset(stencil, 0, 1000, true);
    ExpectShown(kRed, kBlue);
}

TEST_F(Stencils, DeletingOneOrItsConnectionShowsWhatItHid)
{
    document->RemoveOwnerFromLayer(below, stencil);
    document->ForceUpdate();
    ExpectShown(kRed, kNothing);
    document->DeleteCurrentLayer(stencil, true);
    ExpectShown(kRed, kBlue);
}

TEST_F(Stencils, ReplacedPixelsAreToldAsDirty)
{
    document.Find(stencil)->GetImage()->Clear();
    document->SetStencilCompositeDirty(stencil);
    document->RedrawEntireCanvas();
    ExpectShown(kRed, kBlue);
}

}  // namespace
