#include "PaintCoreFixture.h"

using BrushPreviewing = PaintCoreTest;

TEST_F(BrushPreviewing, ThePreviewShowsOnThePlaneAndGoesWithoutATrace)
{
    Open();
    PaintCore.FillLayer({0, 0, 120, 150}, {0, 1, 0, 1});
    SetBrush(10, {1, 0, 0, 1});
    FakeView view;
    PaintCore.AddViewer(&view);
    const auto clean = PlaneBytes();
    const auto layer = LayerBytes();
    const auto redAt = [&](int x, int y) { return PaintCore.GetImagePlane()->GetPixel(x, y).GetComponent(0); };
    bool wasRunning = false;
    view.onUpdate = [&] { wasRunning = PaintCore.InPreview(); };
    PaintCore.BrushPreviewPoint(50, 50, 10, 1, 1, 0);
    EXPECT_TRUE(wasRunning);
    EXPECT_FALSE(PaintCore.InPreview());
    EXPECT_EQ(redAt(50, 50), 255);
    EXPECT_EQ(LayerBytes(), layer);
    ilTile damaged;
    ilTile all;
    while (view.GetNextUpdateTile(damaged))
        all = ilTileUnion(all, damaged);
    EXPECT_TRUE(all.Contains({40, 40, 20, 20}));
    EXPECT_LT(all.Area(), 30 * 30);

    PaintCore.BrushPreviewPoint(150, 50, 10, 1, 1, 0);
    EXPECT_EQ(redAt(50, 50), 0) << "one preview at a time";
    EXPECT_EQ(redAt(150, 50), 255);
    PaintCore.BrushPreviewPoint(198, 148, 10, 1, 1, 0);
    const int updates = view.updates;
    PaintCore.ClearBrushPreview();
    EXPECT_EQ(view.updates, updates + 1);
    EXPECT_EQ(PlaneBytes(), clean);
    PaintCore.ClearBrushPreview();
    EXPECT_EQ(view.updates, updates + 1);
    PaintCore.RemoveViewer(&view);
}

TEST_F(BrushPreviewing, EditsUnderThePreviewAreNotLost)
{
    Open();
    SetBrush(10, {1, 0, 0, 1});
    PaintCore.BrushPreviewPoint(50, 50, 10, 1, 1, 0);
    PaintCore.FillLayer({45, 45, 20, 20}, {0, 0, 1, 1});
    PaintCore.ClearBrushPreview();
    EXPECT_EQ(PlaneBytes(), ComposedBytes());
    PaintCore.BrushPreviewPoint(50, 50, 10, 1, 1, 0);
    Dab(60, 50);
    EXPECT_EQ(PlaneBytes(), ComposedBytes()) << "a stroke clears it";
    PaintCore.BrushPreviewPoint(50, 50, 10, 1, 1, 0);
    PaintCore.DeleteLayerStack(-2, false);
    Open();
    PaintCore.ClearBrushPreview();
    EXPECT_EQ(PlaneBytes(), ComposedBytes());
}

TEST_F(BrushPreviewing, AViewMayDoAnythingDuringThePreview)
{
    Open();
    SetBrush(10);
    FakeView view;
    PaintCore.AddViewer(&view);
    view.onUpdate = [&] {
        PaintCore.BrushPreviewPoint(90, 90, 10, 1, 1, 0);
        PaintCore.RemoveViewer(&view);
        PaintCore.DeleteLayerStack(-2, false);
    };
    PaintCore.BrushPreviewPoint(50, 50, 10, 1, 1, 0);
    EXPECT_EQ(PaintCore.GetLayerStackCount(), 0);
    EXPECT_FALSE(PaintCore.InPreview());
}

TEST_F(BrushPreviewing, SamplesLookLikeTheBrush)
{
    SetBrush(20, {0, 0, 1, 1}, 0);
    const qs::TempReference<ilSmartImage> stamp = PaintCore.CreateSampleStamp(64, 48, 20);
    ASSERT_TRUE(stamp);
    EXPECT_EQ(stamp->GetPixel(1, 24).GetAlpha(), 0);
    EXPECT_EQ(stamp->GetPixel(32, 24).GetComponent(2), stamp->GetPixel(32, 24).GetAlpha());
    EXPECT_GT(stamp->GetPixel(32, 24).GetAlpha(), stamp->GetPixel(45, 24).GetAlpha());
    for (int y = 0; y < 48; ++y)
        for (int x = 0; x < 64; ++x)
            ASSERT_EQ(stamp->GetPixel(x, y), stamp->GetPixel(63 - x, 47 - y)) << "centred";

    const qs::TempReference<ilSmartImage> stroke = PaintCore.CreateSampleStroke(200, 80, 8);
    ASSERT_TRUE(stroke);
    const auto rows = [&](int x) {
        int first = 80;
        int last = -1;
        for (int y = 0; y < 80; ++y)
            if (stroke->GetPixel(x, y).GetAlpha() != 0) {
                first = std::min(first, y);
                last = y;
            }
        return std::pair(first, last);
    };
    EXPECT_LT(rows(55).second, 42) << "the S rises on the left";
    EXPECT_GT(rows(145).first, 38) << "and falls on the right";
    EXPECT_GT(stroke->GetPixel(100, 40).GetAlpha(), 2 * stroke->GetPixel(8, 40).GetAlpha());
    EXPECT_TRUE(ilTile(0, 0, 200, 80).Contains(stroke->GetBounds()) || stroke->GetPixel(-1, 40).GetAlpha() == 0);
    EXPECT_EQ(PaintCore.GetLayerStackCount(), 0);
}

TEST_F(BrushPreviewing, ScaledPaintersPaintOnImagesOfTheirOwn)
{
    Open();
    Stack().SetCurrentLayerOffset(20, -10, true);
    PaintCore.FillLayer({40, 40, 60, 60}, {0, 1, 0, 1});
    SetBrush(10, {1, 0, 0, 1});
    const auto before = LayerBytes();
    const qs::Reference<PaintOps> painter = PaintCore.CreateScaledLayerPaintOps(kCurrentLayerHandle, 0.5F);
    ASSERT_TRUE(painter);
    const ilImage& scaled = *painter->target_img();
    EXPECT_EQ(scaled.GetPixel(35, 35), ilPixel::Rgba(0, 255, 0, 255));
    EXPECT_EQ(scaled.GetPixel(20, 20).GetAlpha(), 255);
    EXPECT_EQ(scaled.GetPixel(19, 20).GetAlpha(), 0);
    EXPECT_EQ(scaled.GetPixel(50, 35).GetAlpha(), 0);
    painter->draw_stamp({70, 30, 5});
    EXPECT_EQ(scaled.GetPixel(70, 30), ilPixel::Rgba(255, 0, 0, 255));
    EXPECT_EQ(LayerBytes(), before);

    const qs::Reference<PaintOps> empty = PaintCore.CreateScaledPaintOps(50, 40, 2);
    ASSERT_TRUE(empty);
    empty->draw_stamp({48, 20, 10});
    EXPECT_EQ(empty->target_img()->GetPixel(48, 20), ilPixel::Rgba(255, 0, 0, 255));
    EXPECT_EQ(empty->target_img()->GetPixel(51, 20).GetAlpha(), 0);
}
