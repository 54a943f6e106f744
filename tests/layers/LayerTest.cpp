#include "layers/Layer.h"

#include "platform/imaging/pages/ilMemoryImg.h"
#include "platform/imaging/painter/MaskingPaintOps.h"
#include "tests/layers/FakeDocument.h"

#include <gtest/gtest.h>

namespace {

const ilPixel kRed = ilPixel::Rgba(255, 0, 0, 255);

/// None of the members is as in a new layer.
ContainerProperties ChangedProperties()
{
    ContainerProperties properties;
    properties.name = {'s', 'k', 'y'};
    properties.blend = kBlendScreen;
    properties.opacity = 0.25F;
    properties.displayOpacity = 0.75F;
    properties.displayColor = PaintColor(0, 1, 0);
    properties.isVisible = properties.isActive = false;
    properties.isLocked = true;
    return properties;
}

}  // namespace

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
    EXPECT_TRUE(layer->isVisible() && layer->isActive() && layer->IsStencilCompositeDirty());
    EXPECT_FALSE(layer->InProxy() || layer->IsHardLinkToOwnerLayer() || layer->IsLocked());
}

TEST(Layer, OffsetsAndOpacitiesMarkTheStencilsOnlyWhenTheyDiffer)
{
    const qs::Reference<Layer> shape(
        new Layer(new ilSmartImage(ilPixel()), nullptr, kLayerModeImage, kLayerTypeShape, 5, 6));
    shape->SetOffset(7, 8, LayerStackTransform(), true);
    EXPECT_TRUE(shape->getXOffset() == 0 && shape->getYOffset() == 0) << "only raster layers have one";

    const qs::Reference<Layer> raster = MakeLayer(kLayerModeImage, 5, 6);
    raster->SetStencilCompositeDirty(false);
    raster->SetOffset(5, 6, LayerStackTransform(), true);
    raster->SetOffset(9, 9, LayerStackTransform(), false);
    raster->SetOpacity(1.0F);
    EXPECT_FALSE(raster->IsStencilCompositeDirty());
    raster->SetOffset(5, 6, LayerStackTransform(), true);
    EXPECT_TRUE(raster->IsStencilCompositeDirty());
    raster->SetStencilCompositeDirty(false);
    raster->SetOpacity(0.5F);
    EXPECT_TRUE(raster->IsStencilCompositeDirty());
}

TEST(Layer, CopiesHaveAllThatTheirSourceHasAndShareOrOwnItsPixels)
{
    FakeDocument document;
    Layer* owner = document.Add(kLayerModeImage);
    Layer* source = document.Add(kLayerModeImage, 3, 4);
    source->GetImage()->fillTile({0, 0, 200, 100}, kRed);
    source->SetAuxImage(new ilSmartImage(kRed));
    source->SetProperties(ChangedProperties());
    source->SetAppData("key", "value");
    const ContainerProperties properties = source->GetProperties();
    source->SetPivot({5, 6, true});
    source->AddOwnerLayer(owner, false);
    source->SetStencilCompositeDirty(false);
    const qs::TempReference<ilMIOImage> image = source->GetImage();
    PaintOps* painter = source->GetPainter();
    source->BeginProxy(ProxyParameters::kScopeWholeLayer, ProxyParameters::kImagesContent);
    const qs::Reference<Layer> clone(dynamic_cast<Layer*>(source->Clone())), copy(new Layer(source));
    const qs::Reference<Layer> duplicate = source->Duplicate();
    EXPECT_FALSE(source->InProxy());
    for (Layer* made : {clone.get(), copy.get(), duplicate.get()}) {
        ContainerProperties expected = properties;
        expected.isLocked = made != copy.get();
        EXPECT_EQ(made->GetProperties(), expected);
        EXPECT_EQ(made->GetPivot(), (LayerPivot{5, 6, true}));
        EXPECT_TRUE(made->getXOffset() == 3 && made->getYOffset() == 4 && !made->InProxy());
        EXPECT_STREQ(made->GetAppData("key").c_str(), "value");
        EXPECT_TRUE(made->GetAppData("unknown").empty() && made->IsStencilCompositeDirty());
        EXPECT_EQ(made->GetSourceLayer(), source);
        const bool isDuplicate = made == duplicate.get();
        EXPECT_EQ(made->GetImage() == image, !isDuplicate);
        EXPECT_EQ(made->GetAuxImage() == source->GetAuxImage(), !isDuplicate);
        EXPECT_EQ(made->GetPainter() == painter, !isDuplicate);
        EXPECT_EQ(made->HasOwner(owner->GetLayerContainerHandle()), !isDuplicate);
        EXPECT_EQ(made->GetLayerContainerHandle().own == source->GetLayerContainerHandle().own, !isDuplicate);
        EXPECT_EQ(made->GetRefCount(), 1);
    }
    EXPECT_TRUE(duplicate->GetImage()->SharesPageWith(*image, 1, 1));

    const qs::Reference<Layer> mask = source->DuplicateAs(kLayerModeMask, {0, 0, 500, 500});
    ContainerProperties shown = properties;
    shown.opacity = 1;
    shown.blend = kBlendNormal;
    shown.isVisible = shown.isActive = true;
    shown.isLocked = false;
    EXPECT_EQ(mask->GetProperties(), shown);
    EXPECT_EQ(mask->GetImage()->GetPixel(100, 50), ilPixel::Coverage(255));
}

TEST(Layer, CapturedContentComesBackWithPlaceAndPivotAndTellsWhatDiffers)
{
    FakeDocument document;
    Layer* layer = document.Add(kLayerModeImage, 3, 4);
    layer->GetImage()->fillTile({0, 0, 200, 100}, kRed);
    layer->SetPivot({5, 6, true});
    const LayerContent before = layer->CaptureContent();
    layer->BeginProxy(ProxyParameters::kScopeWholeLayer, ProxyParameters::kImagesContent);
    layer->SetOffset(50, 60, LayerStackTransform(), true);
    layer->GetImage()->SetPixel(1, 1, ilPixel());
    EXPECT_TRUE(layer->CaptureContent().IsSameAs(before)) << "a preview is no content";
    layer->EndProxy();

    const auto changes = {+[](Layer& l) { l.GetImage()->SetPixel(70, 1, ilPixel()); },
                          +[](Layer& l) {
                              l.SetPivot({5, 7, true});
                          },
                          +[](Layer& l) {
                              l.SetPivot({5, 6, false});
                          },
                          +[](Layer& l) { l.SetOffset(3, 5, LayerStackTransform(), true); },
                          +[](Layer& l) { l.SetOffset(2, 4, LayerStackTransform(), true); },
                          +[](Layer& l) { l.SetImage(new ilSmartImage(ilPixel())); }};
    for (const auto change : changes) {
        const auto* soft = dynamic_cast<MaskingPaintOps*>(layer->GetPainter());
        layer->GetPainter()->GetLowOrderBitImage()->SetPixel(9, 9, kRed);
        change(*layer);
        const LayerContent after = layer->CaptureContent();
        EXPECT_FALSE(after.IsSameAs(before));
        layer->RestoreContent(before);
        EXPECT_TRUE(layer->CaptureContent().IsSameAs(before));
        EXPECT_TRUE(layer->GetPivot() == (LayerPivot{5, 6, true}) && layer->getYOffset() == 4);
        EXPECT_TRUE(soft != nullptr && layer->GetPainter()->GetLowOrderBitImage()->IsEmpty());
    }
    layer->GetImage()->SetPixel(70, 1, ilPixel());
    EXPECT_EQ(layer->CaptureContent().TilesOfDifference(before, {0, 0, 500, 500}),
              (qs::vector<ilTile>{{67, 4, 64, 64}}));
}

TEST(Layer, ThePainterFollowsTheImageAndANewImageIsToldToHostAndOwners)
{
    FakeDocument document;
    Layer* owner = document.Add(kLayerModeImage);
    Layer* stencil = document.AddStencil(owner);
    PaintOps* painter = stencil->GetPainter();
    EXPECT_NE(dynamic_cast<MaskingPaintOps*>(painter), nullptr);
    owner->SetStencilCompositeDirty(false);
    stencil->SetImage(stencil->GetImage());
    EXPECT_TRUE(document.imageChanges.empty() && !owner->IsStencilCompositeDirty());
    const qs::Reference<ilSmartImage> other(new ilSmartImage(ilPixel::Coverage(0)));
    stencil->SetImage(other);
    EXPECT_EQ(document.imageChanges, qs::vector{stencil->GetLayerContainerHandle()});
    EXPECT_TRUE(owner->IsStencilCompositeDirty());
    EXPECT_EQ(stencil->GetPainter(), painter);
    EXPECT_EQ(painter->target_img(), other.get());
    stencil->SetImage(nullptr);
    EXPECT_EQ(stencil->GetPainter(), nullptr);
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
    EXPECT_TRUE(layer->GetImage()->GetPixel(5, 5) == faint && layer->GetImage()->GetPixel(8, 8) == faint);
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
    EXPECT_EQ(layer->getLayerBoundsInCanvasCoords(), ilTile(110, -80, 5, 8));
}

TEST(LayerOwners, AreAddedOnceAndLeftUnlessTheLinkIsHard)
{
    FakeDocument document;
    Layer *owner = document.Add(kLayerModeImage), *other = document.Add(kLayerModeImage);
    Layer* mask = document.Add(kLayerModeMask);
    const PntHandle ownHandle = owner->GetLayerContainerHandle(), otherHandle = other->GetLayerContainerHandle();
    owner->SetStencilCompositeDirty(false);
    EXPECT_FALSE(mask->AddOwnerLayer(nullptr, true));
    EXPECT_TRUE(mask->AddOwnerLayer(owner, false) && owner->IsStencilCompositeDirty());
    EXPECT_FALSE(mask->AddOwnerLayer(owner, true) || mask->IsHardLinkToOwnerLayer());
    EXPECT_FALSE(mask->RemoveLayerFromOwnerLayer(other) || mask->RemoveLayerFromOwnerLayer(nullptr));
    EXPECT_FALSE(mask->ReplaceOwnerLayer(otherHandle, *owner));
    EXPECT_TRUE(mask->ReplaceOwnerLayer(ownHandle, *other));
    EXPECT_EQ(mask->GetOwnerLayerArray(), qs::vector{otherHandle});
    EXPECT_TRUE(mask->AddOwnerLayer(owner, false) && mask->ReplaceOwnerLayer(otherHandle, *owner));
    EXPECT_EQ(mask->GetOwnerLayerArray(), qs::vector{ownHandle}) << "no owner twice";
    owner->SetStencilCompositeDirty(false);
    EXPECT_TRUE(mask->RemoveLayerFromOwnerLayer(owner) && owner->IsStencilCompositeDirty());
    EXPECT_TRUE(mask->GetOwnerLayerArray().empty());

    EXPECT_TRUE(mask->AddOwnerLayer(owner, true));
    EXPECT_FALSE(mask->AddOwnerLayer(other, false) || mask->RemoveLayerFromOwnerLayer(owner));
    EXPECT_EQ(mask->GetOwnerLayerArray(), qs::vector{ownHandle});
}

TEST(LayerOwners, AHardLinkedLayerShowsItsOwnersVisibilityAsBothFlags)
{
    FakeDocument document;
    Layer* owner = document.Add(kLayerModeImage);
    Layer* stencil = document.AddStencil(owner, 0, 0, true);
    stencil->SetVisible(false);
    stencil->SetActive(false);
    owner->SetActive(false);
    EXPECT_TRUE(stencil->isVisible() && stencil->isActive());
    owner->SetVisible(false);
    EXPECT_FALSE(stencil->isVisible() || stencil->isActive());
    owner->AddOwnerLayer(stencil, true);
    EXPECT_FALSE(owner->isVisible() && !stencil->isActive()) << "linked in a circle, they still answer";
}

TEST(LayerOwners, MarkingAStencilMarksItsOwnersAndNotItself)
{
    FakeDocument document;
    Layer *first = document.Add(kLayerModeImage), *second = document.Add(kLayerModeImage);
    Layer* stencil = document.AddStencil(first);
    stencil->AddOwnerLayer(second, false);
    const bool own = stencil->IsStencilCompositeDirty();
    for (const bool dirty : {false, true}) {
        stencil->SetStencilCompositeDirty(dirty);
        EXPECT_TRUE(first->IsStencilCompositeDirty() == dirty && second->IsStencilCompositeDirty() == dirty);
        EXPECT_EQ(stencil->IsStencilCompositeDirty(), own);
    }
    document.layers.erase(document.layers.begin());  // an owner that is gone is passed over
    stencil->SetStencilCompositeDirty(false);
    stencil->SetActive(true);
    EXPECT_FALSE(second->IsStencilCompositeDirty());
    stencil->SetActive(false);
    EXPECT_TRUE(second->IsStencilCompositeDirty());
}

TEST(LayerProxy, EditsLeaveTheOriginalAloneUntilTheyAreKept)
{
    FakeDocument document;
    Layer* layer = document.Add(kLayerModeImage, 3, 4);
    layer->GetImage()->fillTile({0, 0, 200, 200}, kRed);
    const qs::TempReference<ilMIOImage> original = layer->GetImage();
    const auto edit = [&] {
        EXPECT_TRUE(layer->BeginProxy(ProxyParameters::kScopeWholeLayer, ProxyParameters::kImagesContent));
        EXPECT_TRUE(layer->GetOrigImage() == original && layer->GetImage() != original);
        EXPECT_TRUE(layer->GetImage()->SharesPageWith(*original, 1, 1));
        layer->GetPainter()->rect_fill(0, 0, 10, 10, ilPixel());
        DamageControl atPlace, moved;
        layer->CollectProxyDamage(atPlace);
        EXPECT_EQ(atPlace.previewEntireDamaged(), ilTile(3, 4, 64, 64));
        layer->SetOffset(50, 60, LayerStackTransform(), true);
        layer->CollectProxyDamage(moved);
        EXPECT_EQ(moved.previewEntireDamaged(), ilTile(3, 4, 256 + 47, 256 + 56));
        EXPECT_EQ(original->GetPixel(0, 0), kRed);
    };
    for (const bool revert : {true, false}) {
        edit();
        if (revert)
            layer->RevertProxy();
        else
            layer->EndProxy();
        EXPECT_EQ(layer->InProxy(), revert);
        EXPECT_EQ(layer->GetImage()->GetPixel(0, 0), kRed);
        EXPECT_TRUE(layer->getXOffset() == 3 && layer->getYOffset() == 4);
    }
    EXPECT_TRUE(layer->GetImage() == original && !layer->GetOrigImage());
    edit();
    layer->KeepProxy();
    EXPECT_TRUE(layer->GetImage() == original && !layer->InProxy() && layer->getXOffset() == 50);
    EXPECT_EQ(layer->GetImage()->GetPixel(0, 0), ilPixel());
}
