#include "OpenStack.h"

#include <gtest/gtest.h>

namespace {

const ilPixel kRed = ilPixel::Rgba(255, 0, 0, 255);

class Updating : public testing::Test {
protected:
    Updating()
    {
        document.Add("a");
        document->ForceUpdate();
        document->AddViewer(&view);
    }
    ~Updating() override { document->RemoveViewer(&view); }

    OpenStack document;
    RecordingView view;
};

TEST_F(Updating, DamageIsDeliveredAsItsBoundingTileCutToTheCanvas)
{
    ilTile tile(1, 2, 3, 4);
    EXPECT_FALSE(document->GetNextUpdateTile(tile));
    EXPECT_EQ(tile, ilTile(0, 0, 0, 0, 0, 1));

    document->DamageTile({-5, 140, 10, 40});
    document->DamageTile({150, 20, 10, 10});
    EXPECT_EQ(document->PreviewUpdateTile(), ilTile(-5, 20, 165, 160)) << "a preview is not cut and consumes nothing";
    ASSERT_TRUE(document->GetNextUpdateTile(tile));
    EXPECT_EQ(tile, ilTile(0, 20, 160, 130));
    EXPECT_FALSE(document->GetNextUpdateTile(tile));

    document->FreeCacheData();
    document->DamageTile({-5, 140, 10, 40});
    ASSERT_TRUE(document->GetNextUpdateTile(tile));
    EXPECT_EQ(tile, ilTile(-5, 140, 10, 40)) << "not cut without an image plane";
}

TEST_F(Updating, WithActiveSymmetryFarTilesComeOneByOne)
{
    document->SetSymmetry(new Symmetry(100, 75));
    for (const bool isOn : {true, false}) {
        document->GetSymmetry()->SetEnabled(isOn);
        document->DamageTile({0, 0, 8, 8});
        document->DamageTile({180, 130, 8, 8});
        ilTile tile;
        int count = 0;
        ilTile all;
        for (; document->GetNextUpdateTile(tile); ++count)
            all = ilTileUnion(all, tile);
        EXPECT_EQ(count, isOn ? 2 : 1);
        EXPECT_EQ(all, ilTile(0, 0, 188, 138));
    }
}

TEST_F(Updating, PainterDamageIsMovedByTheLayersOffset)
{
    document->SetCurrentLayerOffset(30, -10, true);
    document->GetCurrentLayerPainter()->DamageTile({0, 64, 64, 64});
    EXPECT_EQ(document->PreviewUpdateTile(), ilTile(30, 54, 64, 64));

    document.Add("b");
    document.DropDamage();
    document.Paint({3, 4, 5, 6}, kRed);
    document->SetCurrentLayer(document->GetBottomLayer(kLayerModeImage)->GetLayerContainerHandle(), false, false,
                              false);
    EXPECT_TRUE(document->PreviewUpdateTile().Contains(ilTile(3, 4, 5, 6))) << "outlives the change of layers";
}

TEST_F(Updating, WhatWasErasedBeforeAMoveIsGoneFromTheOldPlace)
{
    document.Paint({10, 10, 20, 20}, kRed);
    document->ForceUpdate();
    document.Paint({10, 10, 20, 20}, ilPixel());
    document->SetCurrentLayerOffset(60, 0, true);
    EXPECT_EQ(document->GetImagePlane()->GetPixel(15, 15), ilPixel());
}

TEST_F(Updating, SuspensionNestsAndItsEndDamagesTheCanvas)
{
    document->SuspendComposites();
    document->SuspendComposites();
    document.Paint({10, 10, 5, 5}, kRed);
    document->ForceUpdate();
    EXPECT_EQ(view.TakeDamage(), ilTile());
    EXPECT_EQ(document->GetCompositeImage(), nullptr);
    document->ResumeComposites();
    EXPECT_TRUE(document->CompositesSuspended());
    EXPECT_EQ(document->PreviewUpdateTile(), ilTile(10, 10, 5, 5));
    document->ResumeComposites();
    EXPECT_FALSE(document->CompositesSuspended());
    EXPECT_EQ(document->GetImagePlane()->GetPixel(12, 12).GetPacked(), 0u) << "nothing is drawn yet";
    document->ForceUpdate();
    EXPECT_EQ(view.TakeDamage(), document->GetSize());
    EXPECT_EQ(document->GetImagePlane()->GetPixel(12, 12), kRed);
    document->ResumeComposites();
    document->SuspendComposites();
    EXPECT_TRUE(document->CompositesSuspended());
    document->ResumeComposites();
}

TEST_F(Updating, ViewsHearOfExactlyTheDamagedTiles)
{
    document.Paint({10, 10, 5, 5}, kRed);
    document->UpdateImagePlaneBits();
    EXPECT_EQ(view.updates, 0);
    document->ForceUpdate();
    EXPECT_EQ(view.updates, 1);
    EXPECT_EQ(view.plane, document->GetImagePlane());
    EXPECT_EQ(view.TakeDamage(), ilTile(10, 10, 5, 5));

    RecordingView stranger;
    document.Paint({10, 10, 5, 5}, kRed);
    document->UpdateViewer(&stranger);
    EXPECT_EQ(stranger.updates, 0);
    EXPECT_EQ(view.updates, 1);
    EXPECT_EQ(view.TakeDamage(), ilTile(10, 10, 5, 5)) << "the plane was updated all the same";
    document->UpdateViewer(&view);
    EXPECT_EQ(view.updates, 2);
}

TEST_F(Updating, ViewsAreKeptOnceInTheirOrder)
{
    std::string order;
    RecordingView second;
    view.onUpdate = [&] { order += "1"; };
    second.onUpdate = [&] { order += "2"; };
    document->AddViewer(nullptr);
    document->AddViewer(&second);
    document->AddViewer(&view);
    document->ForceUpdate();
    EXPECT_EQ(order, "12");

    OpenStack* const first = &document;
    const qs::Reference<LayerStack> other(new LayerStack(qsOS::Uuid::generate(), 10, 10));
    other->TakeViewsFrom(first->stack);
    document->ForceUpdate();
    EXPECT_EQ(order, "12");
    other->ForceUpdate();
    EXPECT_EQ(order, "1212");
}

TEST_F(Updating, ViewsMayComeAndGoInsideAnUpdate)
{
    auto second = std::make_unique<RecordingView>();
    auto third = std::make_unique<RecordingView>();
    RecordingView late;
    document->AddViewer(second.get());
    document->AddViewer(third.get());
    RecordingView* const thirdSeen = third.get();
    view.onUpdate = [&] {
        document->RemoveViewer(second.get());
        second.reset();
        document->RemoveViewer(&view);
        document->AddViewer(&late);
    };
    document->ForceUpdate();
    EXPECT_EQ(view.updates, 1);
    EXPECT_EQ(thirdSeen->updates, 1);
    EXPECT_EQ(late.updates, 0) << "waits for the next update";
    document->ForceUpdate();
    EXPECT_EQ(view.updates, 1);
    EXPECT_EQ(thirdSeen->updates, 2);
    EXPECT_EQ(late.updates, 1);
    document->RemoveViewer(&late);
    document->RemoveViewer(thirdSeen);
}

TEST(UpdatingAlone, AViewMayEndTheDocumentThatUpdatesIt)
{
    qs::Reference<LayerStack> stack(new LayerStack(qsOS::Uuid::generate(), 64, 64));
    RecordingView first;
    RecordingView second;
    first.onUpdate = [&] { stack = nullptr; };
    stack->AddViewer(&first);
    stack->AddViewer(&second);
    stack->ForceUpdate();
    EXPECT_EQ(stack, nullptr);
    EXPECT_EQ(second.updates, 1);
}

TEST_F(Updating, TheTimerIsForwardedAndChecksOnlyWhenOn)
{
    document->BeginTimerBasedUpdate(40);
    EXPECT_EQ(view.interval, 40);
    document->CheckTimerBasedUpdate();
    EXPECT_EQ(view.checks, 0);
    document->SetTimerBasedUpdate(true);
    document->CheckTimerBasedUpdate();
    EXPECT_EQ(view.checks, 1);
    document->EndTimerBasedUpdate();
    EXPECT_EQ(view.interval, 0);
}

TEST_F(Updating, APostponedDeletionTurnsTheNextGeometryChangeIntoAFullRedraw)
{
    const PntHandle second = document.Add("b");
    document.DropDamage();
    view.TakeDamage();
    document->RedrawCanvasDueToGeometryChange();
    EXPECT_EQ(view.TakeDamage(), ilTile()) << "no damage of its own";
    document->DeleteCurrentLayer(second, false);
    document.DropDamage();
    document->RedrawCanvasDueToGeometryChange();
    EXPECT_EQ(view.TakeDamage(), document->GetSize());
    document->RedrawCanvasDueToGeometryChange();
    EXPECT_EQ(view.TakeDamage(), ilTile());
}

TEST_F(Updating, TheCompositeImageLeavesOutTheOverlayAndRedrawsThePlane)
{
    document.Paint({10, 10, 20, 20}, kRed);
    document.Add("m", kLayerModeMask);
    document.Paint({10, 10, 5, 5}, ilPixel::Coverage(255));
    document->SetMaskLayerDisplayColor(PaintColor(0, 0, 1), kCurrentLayerHandle);
    document->SetMaskLayerDisplayOpacity(1, kCurrentLayerHandle);
    view.TakeDamage();
    const auto bare = document->GetCompositeImage();
    EXPECT_EQ(view.TakeDamage(), document->GetSize());
    EXPECT_EQ(bare->GetPixel(12, 12), kRed);
    EXPECT_EQ(document->GetImagePlane()->GetPixel(12, 12), ilPixel::Rgba(0, 0, 255, 255));
    EXPECT_EQ(document->GetImagePlane()->GetPixel(16, 16), kRed);
    EXPECT_EQ(document->GetUpdateImagePlaneBits(true)->GetPixel(12, 12), ilPixel::Rgba(0, 0, 255, 255));

    document->SetCurrentLayer(kNullHandle, false, false, true);
    EXPECT_EQ(document->GetCurrentLayerPtr(), nullptr);
    EXPECT_EQ(document->GetCompositeImage(), nullptr);
}

TEST_F(Updating, AMaskedStrokeOnAMaskIsShownWhileItRuns)
{
    document.Add("m", kLayerModeMask);
    document->SetMaskLayerDisplayOpacity(1, kCurrentLayerHandle);
    document->ForceUpdate();
    document->setMarkerBlend(true);
    PaintOps* const painter = document->GetCurrentLayerPainter();
    painter->blend_func(kFactorOne, kFactorOneMinusSourceAlpha);
    painter->BeginOperation();
    const qs::Reference<Stamp> stamp(new Stamp);
    painter->set_stamp(stamp);
    painter->draw_stamp({.x = 50, .y = 50, .size = 8, .opacity = 1, .aspect = 1, .rotation = 0});
    document->ForceUpdate();
    const ilPixel during = document->GetImagePlane()->GetPixel(50, 50);
    painter->EndOperation();
    document->RebuildAllAndRedrawEntireCanvas();
    EXPECT_NE(during.GetAlpha(), 0);
    EXPECT_EQ(document->GetImagePlane()->GetPixel(50, 50), during);
}

TEST(UpdatingAlone, ABlankHugeCanvasStaysUntouched)
{
    OpenStack document(16384, 16384);
    document.Add("a");
    document->RebuildAllAndRedrawEntireCanvas();
    document.Paint({100, 100, 10, 10}, kRed);
    document->RebuildAllAndRedrawEntireCanvas();
    const auto plane = document->GetImagePlane();
    int written = 0;
    for (int y = 0; y < 256; ++y)
        for (int x = 0; x < 256; ++x)
            written += plane->IsCellBlank(x, y) ? 0 : 1;
    EXPECT_EQ(written, 1);
}

}  // namespace
