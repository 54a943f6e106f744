#include "OpenStack.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

constexpr ilPixel kRed = ilPixel::Rgba(255, 0, 0, 255);
constexpr ilPixel kBlue = ilPixel::Rgba(0, 0, 255, 255);
constexpr ilPixel kNothing;

/// A quarter turn to the right about the middle of the canvas of 200 by 150.
const LayerStackTransform kTurn(0, 0, 1, 1, 100, 75, 90);

class Transforms : public testing::Test {
protected:
    Transforms()
    {
        a = document.Add("a");
        document.Paint({100, 75, 20, 10}, kRed);
        b = document.Add("b");
        document->SetLayerOffset(b, 13, 17, false);
        document.Paint({120, 75, 5, 10}, kBlue);
        document->ForceUpdate();
    }
    ilPixel Shown(int x, int y)
    {
        document->ForceUpdate();
        return document->GetImagePlane()->GetPixel(x, y);
    }
    ilPixel Composed(int x, int y) { return document->GetCompositeImage()->GetPixel(x, y); }  // no selection shown
    qs::vector<uint8_t> Picture() { return BytesOf(*document->GetCompositeImage(), document->GetSize()); }
    qs::vector<uint8_t> PixelsOf(const PntHandle& handle)
    {
        const Layer& layer = *document.Find(handle);
        return BytesOf(*layer.GetImage(), {-layer.getXOffset(), -layer.getYOffset(), 300, 300});
    }

    OpenStack document;
    PntHandle a, b;
};

TEST_F(Transforms, AGroupKeepsItsPlacesRelativeToEachOther)
{
    const PntHandle c = document.Add("c");
    EXPECT_TRUE(document->AddTransformGroup({a, b, a, kNullHandle}));
    EXPECT_FALSE(document->AddTransformGroup({c, c}));
    EXPECT_EQ(document->getTransformGroup(b), (qs::vector<PntHandle>{a, b}));
    EXPECT_TRUE(document->XForm(kTurn, kFilterArea, kFilterBicubic, a));
    EXPECT_EQ(Shown(95, 80), kRed);
    EXPECT_EQ(Shown(95, 97), kBlue);
    EXPECT_EQ(Shown(95, 94), kRed);
    EXPECT_EQ(Shown(110, 80), kNothing);

    EXPECT_TRUE(document->addLayerToCurrTransformGroup(a)) << "leaves the other group, which is none with one layer";
    EXPECT_EQ(document->GetTransformGroups().size(), 1U);
    EXPECT_EQ(document->getTransformGroup(a), (qs::vector<PntHandle>{c, a}));
    EXPECT_TRUE(document->getTransformGroup(b).empty());
    EXPECT_FALSE(document->addLayerToCurrTransformGroup(document->GetSelectionMaskHandle()));
    EXPECT_FALSE(document->removeLayerFromCurrTransformGroup(b));
    EXPECT_TRUE(document->DeleteTransformGroup(a, true));
    EXPECT_EQ(Dump(*document.stack), "b* |  | ");
    EXPECT_TRUE(document->GetTransformGroups().empty());
}

TEST_F(Transforms, ASelectionLimitsWhatIsTransformed)
{
    document->GetSelectionMask()->GetImage()->fillTile({110, 0, 40, 150}, ilPixel::Coverage(255));
    document->SetSelectionMaskActive(true);
    EXPECT_EQ(document->GetTransformBounds(a), ilTile(110, 75, 10, 10));
    const auto others = PixelsOf(b);
    LayerStackTransform move;
    move.SetOffset(-30, 20);  // 30 to the right and 20 up
    document->ProxyXForm(kTurn, kFilterArea, kFilterBicubic, a);
    EXPECT_TRUE(document->ProxyXForm(move, kFilterArea, kFilterBicubic, a));
    document->EndProxy();
    EXPECT_EQ(document.Find(a)->GetImage()->GetPixel(115, 80), kRed);
    EXPECT_TRUE(document->XForm(move, kFilterArea, kFilterBicubic, a));
    const qs::TempReference<ilMIOImage> image = document.Find(a)->GetImage();
    EXPECT_EQ(image->GetPixel(109, 80), kRed);
    EXPECT_EQ(image->GetPixel(110, 80), kNothing);
    EXPECT_EQ(image->GetPixel(140, 60), kRed);
    EXPECT_EQ(image->GetPixel(150, 60), kNothing);
    EXPECT_EQ(PixelsOf(b), others);
    EXPECT_TRUE(document->Deform({{0, 20, 20, 0}, {0, 0, 20, 20}}, kFilterArea, 1, 0, 0, a));
    EXPECT_EQ(image->GetPixel(109, 80), kRed);
    EXPECT_EQ(image->GetPixel(10, 10), kRed) << "the box of what is selected goes to the corners";
}

TEST_F(Transforms, ColoursAndSharpnessRespectASoftSelection)
{
    const qs::TempReference<ilMIOImage> image = document.Find(a)->GetImage();
    document->GetSelectionMask()->GetImage()->fillTile({110, 75, 3, 10}, ilPixel::Coverage(255));
    document->GetSelectionMask()->GetImage()->fillTile({113, 75, 40, 10}, ilPixel::Coverage(51));
    document->SetSelectionMaskActive(true);
    ColorAdjustParm parm;
    parm.hue = 120;
    EXPECT_EQ(document->AnalyzeLayer(a).count, 100U);
    EXPECT_TRUE(document->ProxyColorAdjust(parm, 1, a));
    EXPECT_EQ(Composed(112, 80), ilPixel::Rgba(0, 255, 0, 255));
    EXPECT_TRUE(document->ProxyColorAdjust(parm, 1, a)) << "from the original, not from the preview";
    EXPECT_EQ(Composed(112, 80), ilPixel::Rgba(0, 255, 0, 255));
    EXPECT_EQ(image->GetPixel(112, 80), kRed);
    document->EndProxy();
    EXPECT_EQ(Composed(112, 80), kRed);
    EXPECT_TRUE(document->ColorAdjust(parm, 1, a));
    EXPECT_EQ(Composed(109, 80), kRed);
    EXPECT_EQ(Composed(114, 80), ilPixel::Rgba(204, 51, 0, 255));
    EXPECT_EQ(document.Find(a)->GetImage(), image);
    EXPECT_TRUE(document->SharpenOrBlurDone(-1, 3, a));
    EXPECT_EQ(Composed(109, 80), kRed);
    EXPECT_LT(Composed(112, 80).GetAlpha(), 250);
    EXPECT_EQ(Composed(112, 70), kNothing);
    const auto before = Picture();
    parm.contrast = std::numeric_limits<float>::quiet_NaN();
    EXPECT_FALSE(document->ColorAdjust(parm, 1, a));
    EXPECT_FALSE(document->SharpenOrBlurDone(2, -1, a));
    EXPECT_EQ(Difference(Picture(), before, 200), "");

    Layer& layer = *document.Find(a);
    ImageAnalysisData data;
    parm = {};
    EXPECT_FALSE(layer.ProxyColorAdjust(&parm, &data, {}, 1, true, true)) << "outside a proxy";
    layer.BeginProxy(ProxyParameters::kScopeWholeLayer, ProxyParameters::kImagesContent);
    EXPECT_TRUE(layer.ProxyColorAdjust(&parm, &data, {100, 75, 10, 10}, 1, true, false));
    EXPECT_EQ(data.count, 100U);
    layer.EndProxy();
}

TEST_F(Transforms, RefusalsChangeNoLayerOfAGroup)
{
    document->AddTransformGroup({a, b});
    const auto before = Picture();
    const float bad = std::numeric_limits<float>::quiet_NaN();
    document.TakeTold();
    EXPECT_FALSE(document->XForm({bad, 0, 1, 1, 0, 0, 0}, kFilterArea, kFilterArea, a));
    EXPECT_FALSE(document->XForm(kTurn, kFilterArea, kFilterArea, kNullHandle));
    EXPECT_FALSE(document->Deform(Rect8f(), kFilterArea, 0, 0, 0, a));
    for (const double factor : {0.0, -1.0, 1e9, double{bad}})
        EXPECT_FALSE(document->ScaleAllLayers(factor, 1.0, kFilterArea, kFilterArea));
    EXPECT_FALSE(document->ScaleAllLayers(0, 100, kFilterArea, kFilterArea));
    EXPECT_FALSE(document->ResizeDocument(LayerStack::kMaxSide + 1, 1, LayerStack::Anchor::Center));
    EXPECT_FALSE(document->RotateCanvas(bad, kFilterArea, kFilterArea));
    EXPECT_FALSE(document->InProxy());
    EXPECT_EQ(document.TakeTold(), "");
    EXPECT_EQ(Difference(Picture(), before, 200), "");
}

TEST_F(Transforms, TurningAndFlippingTheDocumentKeepsEveryByteInNewImages)
{
    const PntHandle mask = document.Add("mask", kLayerModeMask);
    document.Paint({10, 10, 33, 44}, ilPixel::Coverage(99));
    document->SetCurrentLayer(a, false, false, false);
    const PntHandle stencil = document.Add("stencil", kLayerModeStencil);
    document.Paint({110, 70, 5, 9}, ilPixel::Coverage(255));
    document->AddOwnerToLayer(a, stencil, false);
    document->GetSelectionMask()->GetImage()->fillTile({30, 40, 50, 60}, ilPixel::Coverage(255));
    const auto before = Picture();
    const auto maskBefore = PixelsOf(mask);
    const auto selectionBefore = PixelsOf(document->GetSelectionMaskHandle());
    const qs::TempReference<ilMIOImage> image = document.Find(a)->GetImage();
    const qs::Reference<ilMIOImage> copy = image->Snapshot();

    EXPECT_TRUE(document->RotateCanvas(90, kFilterArea, kFilterBicubic));
    EXPECT_EQ(document->GetSize(), ilTile(0, 0, 150, 200));
    const auto turned = Picture();
    for (int y = 0; y < 150; ++y)
        for (int x = 0; x < 200; ++x)
            for (size_t c = 0; c < 4; ++c)
                ASSERT_EQ(turned[static_cast<size_t>(x * 150 + 149 - y) * 4 + c],
                          before[static_cast<size_t>(y * 200 + x) * 4 + c]);
    EXPECT_NE(document.Find(a)->GetImage(), image);
    EXPECT_TRUE(image->SharesPageWith(*copy, 1, 1) && image->GetBounds() == copy->GetBounds());
    EXPECT_TRUE(document->RotateCanvas(180, kFilterArea, kFilterBicubic));
    EXPECT_TRUE(document->FlipDocument(true, false));
    EXPECT_TRUE(document->FlipDocument(true, true));
    EXPECT_TRUE(document->FlipDocument(false, true));
    EXPECT_TRUE(document->RotateCanvas(90, kFilterArea, kFilterBicubic));
    EXPECT_EQ(Difference(Picture(), before, 200), "");
    EXPECT_EQ(PixelsOf(mask), maskBefore);
    EXPECT_EQ(PixelsOf(document->GetSelectionMaskHandle()), selectionBefore);
    EXPECT_EQ(document.Find(b)->getXOffset(), 13);
}

TEST_F(Transforms, ResizingMovesAndScalingResamples)
{
    const auto before = Picture();
    const qs::TempReference<ilMIOImage> image = document.Find(a)->GetImage();
    EXPECT_TRUE(document->ResizeDocument(301, 100, LayerStack::Anchor::Center));
    EXPECT_EQ(document->GetImagePlane()->GetPixel(150, 50), kRed);
    EXPECT_EQ(document.Find(a)->getXOffset(), 50);
    EXPECT_EQ(document.Find(a)->getYOffset(), -25);
    EXPECT_EQ(document.Find(a)->GetImage(), image);
    EXPECT_TRUE(document->ResizeDocument(200, 150, LayerStack::Anchor::Center));
    EXPECT_EQ(Difference(Picture(), before, 200), "");
    EXPECT_TRUE(document->ResizeDocument(150, 150, LayerStack::Anchor::BottomRight));
    EXPECT_EQ(document->GetImagePlane()->GetPixel(50, 75), kRed);
    EXPECT_TRUE(document->ResizeDocument(200, 150, LayerStack::Anchor::BottomRight));
    EXPECT_EQ(Difference(Picture(), before, 200), "");

    document->GetSelectionMask()->GetImage()->fillTile({30, 40, 50, 60}, ilPixel::Coverage(255));
    EXPECT_TRUE(document->ScaleAllLayers(400, 75, kFilterArea, kFilterArea));
    EXPECT_EQ(document->GetSize(), ilTile(0, 0, 400, 75));
    EXPECT_EQ(document->GetSelMaskBounds(), ilTile(60, 20, 100, 30));
    EXPECT_EQ(document->GetImagePlane()->GetPixel(239, 41), kRed);
    EXPECT_EQ(document->GetImagePlane()->GetPixel(240, 41), kBlue);
    EXPECT_EQ(document->GetImagePlane()->GetPixel(250, 41), kNothing);
    EXPECT_TRUE(document->ScaleAllLayers(0.5, 2.0, kFilterArea, kFilterArea));
    EXPECT_EQ(document->GetSize(), ilTile(0, 0, 200, 150));

    EXPECT_TRUE(document->RotateCanvas(30, kFilterArea, kFilterBicubic));
    EXPECT_EQ(document->GetSize(), ilTile(0, 0, 249, 230));
    EXPECT_EQ(document->GetImagePlane()->GetPixel(135, 125), kRed);
}

}  // namespace
