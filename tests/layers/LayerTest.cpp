#include "layers/Layer.h"

#include "platform/imaging/pages/ilMemoryImg.h"
#include "platform/imaging/painter/MaskingPaintOps.h"
#include "tests/layers/FakeDocument.h"

#include <gtest/gtest.h>

namespace {

const ilPixel kRed = ilPixel::Rgba(255, 0, 0, 255);

}  // namespace

TEST(Layer, StartsWithItsDefaults)
{
    const qs::Reference<Layer> layer = MakeLayer();
    EXPECT_EQ(layer->GetOpacity(), 1.0F);
    EXPECT_EQ(layer->GetMaskDisplayOpacity(), 0.5F);
    EXPECT_EQ(layer->GetMaskColor(), PaintColor::FromBytes(255, 0, 0, 255));
    EXPECT_TRUE(layer->isVisible() && layer->isActive() && layer->IsStencilCompositeDirty());
    EXPECT_FALSE(layer->InProxy() || layer->IsHardLinkToOwnerLayer() || layer->IsLocked());
    EXPECT_EQ(layer->GetLayerBlend(), kBlendNormal);
}

TEST(Layer, WarnsOfImagesThatAreNotSmartAndTakesThemAnyway)
{
    const qs::Reference<ilMemoryImg> plain(new ilMemoryImg(8, 8, 4));
    plain->SetPixel(3, 4, kRed);
    testing::internal::CaptureStdout();
    const qs::Reference<Layer> layer(new Layer(plain, plain, kLayerModeImage, kLayerTypeRaster, 0, 0));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Color Img must be a smart image!\nStencil must be a smart image!\n");
    EXPECT_EQ(layer->GetImage()->GetPixel(3, 4), kRed);
    EXPECT_EQ(layer->getLayerBounds(true), ilTile(3, 4, 1, 1));
}

TEST(Layer, OnlyRasterLayersTakeAnOffset)
{
    const qs::Reference<ilSmartImage> image(new ilSmartImage(ilPixel()));
    const qs::Reference<Layer> shape(new Layer(image, nullptr, kLayerModeImage, kLayerTypeShape, 5, 6));
    EXPECT_EQ(shape->getXOffset(), 0);
    shape->SetOffset(7, 8, LayerStackTransform(), true);
    EXPECT_EQ(shape->getYOffset(), 0);

    const qs::Reference<Layer> raster = MakeLayer(kLayerModeImage, 5, 6);
    raster->SetStencilCompositeDirty(false);
    raster->SetOffset(5, 6, LayerStackTransform(), true);
    raster->SetOffset(9, 9, LayerStackTransform(), false);
    EXPECT_FALSE(raster->IsStencilCompositeDirty());
    raster->SetOffset(5, 6, LayerStackTransform(), true);
    EXPECT_TRUE(raster->IsStencilCompositeDirty());
}

TEST(Layer, ACloneSharesImagesAndPainterAndEndsTheProxyOfItsSource)
{
    const qs::Reference<Layer> source = MakeLayer(kLayerModeImage, 3, 4);
    source->SetAppData("key", "value");
    source->SetOpacity(0.25F);
    source->SetVisible(false);
    source->SetLayerContainerName("sky");
    source->SetStencilCompositeDirty(false);
    const qs::TempReference<ilMIOImage> image = source->GetImage();
    PaintOps* painter = source->GetPainter();
    source->BeginProxy(ProxyParameters::kScopeWholeLayer, ProxyParameters::kImagesContent);
    const qs::Reference<LayerContainer> container(source->Clone());
    Layer& clone = dynamic_cast<Layer&>(*container);
    EXPECT_FALSE(source->InProxy() || clone.InProxy());
    EXPECT_EQ(clone.GetLayerContainerHandle(), source->GetLayerContainerHandle());
    EXPECT_STREQ(clone.GetLayerContainerName(), "sky");
    EXPECT_EQ(clone.GetImage(), image);
    EXPECT_EQ(clone.GetPainter(), painter);
    EXPECT_EQ(clone.GetSourceLayer(), source.get());
    EXPECT_EQ(clone.GetOpacity(), 0.25F);
    EXPECT_EQ(clone.getYOffset(), 4);
    EXPECT_FALSE(clone.isVisible());
    EXPECT_STREQ(clone.GetAppData("key").c_str(), "value");
    EXPECT_TRUE(clone.GetAppData("unknown").empty());
    EXPECT_TRUE(clone.IsStencilCompositeDirty());
}

TEST(Layer, AnOpacityMarksTheStencilsOnlyWhenItDiffers)
{
    const qs::Reference<Layer> layer = MakeLayer();
    layer->SetStencilCompositeDirty(false);
    layer->SetOpacity(1.0F);
    EXPECT_FALSE(layer->IsStencilCompositeDirty());
    layer->SetOpacity(0.5F);
    EXPECT_TRUE(layer->IsStencilCompositeDirty());
}

TEST(Layer, ThePainterFollowsTheImage)
{
    const qs::Reference<Layer> layer = MakeLayer();
    PaintOps* painter = layer->GetPainter();
    EXPECT_NE(dynamic_cast<MaskingPaintOps*>(painter), nullptr);
    const qs::Reference<ilSmartImage> other(new ilSmartImage(ilPixel()));
    layer->SetImage(other);
    EXPECT_EQ(layer->GetPainter(), painter);
    EXPECT_EQ(painter->target_img(), other.get());
    layer->SetImage(nullptr);
    EXPECT_EQ(layer->GetPainter(), nullptr);
}

TEST(Layer, ANewImageTellsTheHostAndTheOwnersOfAStencil)
{
    FakeDocument document;
    Layer* owner = document.Add(kLayerModeImage);
    Layer* stencil = document.AddStencil(owner);
    owner->SetStencilCompositeDirty(false);
    stencil->SetImage(stencil->GetImage());
    EXPECT_TRUE(document.imageChanges.empty());
    EXPECT_FALSE(owner->IsStencilCompositeDirty());
    stencil->SetImage(new ilSmartImage(ilPixel::Coverage(0)));
    EXPECT_EQ(document.imageChanges, qs::vector{stencil->GetLayerContainerHandle()});
    EXPECT_TRUE(owner->IsStencilCompositeDirty());
}

TEST(Layer, ApplyImageStoresPixelsWithinTheBoundsAndLeavesThePainterAsItWas)
{
    FakeDocument document;
    Layer* layer = document.Add(kLayerModeImage);
    layer->GetImage()->fillTile({0, 0, 20, 20}, kRed);
    const ilPixel faint = ilPixel::Rgba(0, 10, 0, 10);
    const qs::Reference<ilSmartImage> image(new ilSmartImage(ilPixel()));
    image->fillTile({5, 5, 4, 4}, faint);
    image->ForceShrinkAttempt();
    layer->GetPainter()->blend_func(0, 7);
    EXPECT_FALSE(layer->ApplyImage(nullptr));
    EXPECT_TRUE(layer->ApplyImage(image));
    EXPECT_EQ(layer->GetImage()->GetPixel(5, 5), faint);
    EXPECT_EQ(layer->GetImage()->GetPixel(8, 8), faint);
    EXPECT_EQ(layer->GetImage()->GetPixel(9, 9), kRed);
    EXPECT_EQ(layer->GetPainter()->get_destination_factor(), 7);
    EXPECT_EQ(layer->GetPainter()->get_paint_mode(), PaintOps::PaintMode::Blend);
    EXPECT_TRUE(layer->GetPainter()->previewDamage().Contains(ilTile(5, 5, 4, 4)));
    EXPECT_EQ(document.imageChanges.size(), 1U);
}

TEST(Layer, ThePivotIsTheCentreOfThePaintedBoundsUntilItIsSet)
{
    const qs::Reference<Layer> layer = MakeLayer(kLayerModeImage, 100, -100);
    layer->GetImage()->fillTile({10, 20, 5, 8}, kRed);
    EXPECT_EQ(layer->GetPivot(), (LayerPivot{112.5F, -76.0F, false}));
    layer->SetPivot({1, 2, true});
    EXPECT_EQ(layer->GetPivot(), (LayerPivot{1, 2, true}));
    EXPECT_EQ(layer->getLayerBoundsInCanvasCoords(), ilTile(110, -80, 5, 8));
}

TEST(LayerOwners, TheChecksOfAddingAndRemoving)
{
    FakeDocument document;
    Layer* owner = document.Add(kLayerModeImage);
    Layer* other = document.Add(kLayerModeImage);
    Layer* mask = document.Add(kLayerModeMask);
    owner->SetStencilCompositeDirty(false);
    EXPECT_FALSE(mask->AddOwnerLayer(nullptr, true));
    EXPECT_TRUE(mask->AddOwnerLayer(owner, false));
    EXPECT_TRUE(owner->IsStencilCompositeDirty());
    EXPECT_FALSE(mask->AddOwnerLayer(owner, true));
    EXPECT_FALSE(mask->IsHardLinkToOwnerLayer());
    EXPECT_FALSE(mask->RemoveLayerFromOwnerLayer(other));
    EXPECT_FALSE(mask->RemoveLayerFromOwnerLayer(nullptr));
    owner->SetStencilCompositeDirty(false);
    EXPECT_TRUE(mask->RemoveLayerFromOwnerLayer(owner));
    EXPECT_TRUE(owner->IsStencilCompositeDirty());
    EXPECT_TRUE(mask->GetOwnerLayerArray().empty());

    EXPECT_TRUE(mask->AddOwnerLayer(owner, true));
    EXPECT_FALSE(mask->AddOwnerLayer(other, false));
    EXPECT_FALSE(mask->RemoveLayerFromOwnerLayer(owner));
    EXPECT_EQ(mask->GetOwnerLayerArray(), qs::vector{owner->GetLayerContainerHandle()});
}

TEST(LayerOwners, AHardLinkedLayerShowsItsOwnersVisibilityAsBothFlags)
{
    FakeDocument document;
    Layer* owner = document.Add(kLayerModeImage);
    Layer* stencil = document.AddStencil(owner, 0, 0, true);
    stencil->SetVisible(false);
    stencil->SetActive(false);
    owner->SetActive(false);
    EXPECT_TRUE(stencil->isVisible());
    EXPECT_TRUE(stencil->isActive());
    owner->SetVisible(false);
    EXPECT_FALSE(stencil->isVisible());
    EXPECT_FALSE(stencil->isActive());
}

TEST(LayerOwners, LayersThatAreHardLinkedToEachOtherStillAnswer)
{
    FakeDocument document;
    Layer* first = document.Add(kLayerModeMask);
    Layer* second = document.Add(kLayerModeMask);
    first->AddOwnerLayer(second, true);
    second->AddOwnerLayer(first, true);
    EXPECT_TRUE(first->isVisible() && second->isActive());
}

TEST(LayerOwners, MarkingAStencilMarksItsOwnersAndNotItself)
{
    FakeDocument document;
    Layer* first = document.Add(kLayerModeImage);
    Layer* second = document.Add(kLayerModeImage);
    Layer* stencil = document.AddStencil(first);
    stencil->AddOwnerLayer(second, false);
    const bool own = stencil->IsStencilCompositeDirty();
    for (const bool dirty : {false, true}) {
        stencil->SetStencilCompositeDirty(dirty);
        EXPECT_EQ(first->IsStencilCompositeDirty(), dirty);
        EXPECT_EQ(second->IsStencilCompositeDirty(), dirty);
        EXPECT_EQ(stencil->IsStencilCompositeDirty(), own);
    }
    document.layers.erase(document.layers.begin());  // an owner that is gone is passed over
    stencil->SetStencilCompositeDirty(false);
    EXPECT_FALSE(second->IsStencilCompositeDirty());
}

TEST(LayerProxy, EditsDuringAProxyLeaveTheOriginalAlone)
{
    FakeDocument document;
    Layer* layer = document.Add(kLayerModeImage, 3, 4);
    layer->GetImage()->fillTile({0, 0, 200, 200}, kRed);
    const qs::TempReference<ilMIOImage> original = layer->GetImage();
    EXPECT_TRUE(layer->BeginProxy(ProxyParameters::kScopeWholeLayer, ProxyParameters::kImagesContent));
    EXPECT_EQ(layer->GetOrigImage(), original);
    EXPECT_NE(layer->GetImage(), original);
    EXPECT_TRUE(layer->GetImage()->SharesPageWith(*original, 1, 1));
    EXPECT_TRUE(layer->BeginProxy(ProxyParameters::kScopeSelection, ProxyParameters::kImagesContent));

    for (const bool revert : {true, false}) {
        layer->GetPainter()->rect_fill(0, 0, 10, 10, ilPixel());
        layer->SetOffset(50, 60, LayerStackTransform(), true);
        EXPECT_EQ(layer->GetImage()->GetPixel(0, 0), ilPixel());
        EXPECT_EQ(original->GetPixel(0, 0), kRed);
        if (revert)
            layer->RevertProxy();
        else
            layer->EndProxy();
        EXPECT_EQ(layer->InProxy(), revert);
        EXPECT_EQ(layer->GetImage()->GetPixel(0, 0), kRed);
        EXPECT_EQ(layer->getXOffset(), 3);
    }
    EXPECT_EQ(layer->GetImage(), original);
    EXPECT_EQ(layer->GetOrigImage(), nullptr);
}
