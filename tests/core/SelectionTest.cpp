#include "PaintCoreFixture.h"

using SelectionTest = PaintCoreTest;

TEST_F(SelectionTest, StrokesAndFillsFollowASoftSelection)
{
    Open();
    PaintCore.FillSelectionMask({60, 40, 80, 70});
    PaintCore.FeatherSelection(12);
    PaintCore.MoveSelection(5, -3);
    PaintCore.SetSelectionMaskActive(true);
    const qs::Reference<ilSmartImage> selected(new ilSmartImage(ilPixel::Coverage(0)));
    PaintCore.CopyFromSelection(selected);
    const auto coverageAt = [&](int x, int y) { return selected->GetPixel(x - 5, y + 3).GetAlpha(); };
    ilTile bounds;
    PaintCore.GetSelectionMaskBnd(bounds);
    EXPECT_GT(bounds.nx, 90);
    SetBrush(300);
    Dab(100, 75, 300);
    const auto expectLerp = [&](const char* what) {
        for (int y = 0; y < 150; y += 3)
            for (int x = 0; x < 200; ++x)
                ASSERT_NEAR(AlphaAt(x, y), coverageAt(x, y), 1) << what << " at " << x << ", " << y;
    };
    expectLerp("stroke");
    EXPECT_EQ(PlaneBytes(), (PaintCore.RedrawCanvasDueToGeometryChange(), PlaneBytes()));
    PaintCore.InvertSelection();
    PaintCore.FillLayer({0, 0, 200, 150}, {0, 0, 0, 0});
    PaintCore.InvertSelection();
    PaintCore.SetSelectionMaskActive(false);
    PaintCore.FillLayer({0, 0, 200, 150}, {0, 0, 0, 0});
    PaintCore.SetSelectionMaskActive(true);
    PaintCore.FillLayer({0, 0, 200, 150}, {0, 0, 0, 1});
    expectLerp("fill");
}

TEST_F(SelectionTest, AnEditEndsTheStrokeThatTheOldSelectionLimits)
{
    Open();
    SetBrush(10);
    PaintCore.BeginBrushStroke(false);
    Sample(50, 50);
    const float lasso[] = {0, 0, 100, 0, 100, 100, 0, 100};
    EXPECT_TRUE(PaintCore.SelectLasso(lasso, 4, SelectionMode::Replace, FillRule::NonZero));
    EXPECT_FALSE(PaintCore.InBrushStroke());
    Line(50, 50, 150, 50);
    EXPECT_EQ(AlphaAt(99, 50), 255);
    EXPECT_EQ(AlphaAt(100, 50), 0);
}

TEST_F(SelectionTest, RunningOutOfMemoryLeavesSelectionAndLayerAsTheyWere)
{
    Open();
    SetBrush(40);
    Dab(100, 75, 40);
    const float lasso[] = {10, 10, 180, 20, 90, 140.5F};
    const std::function<void()> edits[] = {
        [] { PaintCore.AddToSelection(ilTile(3, 3, 190, 140)); },
        [] { PaintCore.ClearSelectionMask(ilTile(3, 3, 190, 140)); },
        [] { PaintCore.SubtractFromSelection(PaintCore.GetCurrentLayerContainerHandle()); },
        [&] { PaintCore.SelectLasso(lasso, 3, SelectionMode::Intersect, FillRule::EvenOdd); },
        [] { PaintCore.GrowSelection(7); },
        [] { PaintCore.FeatherSelection(7); },
        [] {
            PaintCore.FillLayer({0, 0, 200, 150}, {1, 0, 0, 1});
        },
    };
    const auto picture = [] {
        auto bytes = BytesOf(*Stack().GetSelectionMask()->GetImage(), Stack().GetSize());
        const auto layer = LayerBytes();
        bytes.insert(bytes.end(), layer.begin(), layer.end());
        bytes.push_back(PaintCore.isSelectionMaskActive());
        return bytes;
    };
    const qs::Reference<ilMIOImage> kept = Image().Snapshot();
    const auto begin = [&] {
        Image().ShareAllFrom(*kept);
        PaintCore.FillSelectionMask({20, 20, 100, 100});
        PaintCore.FeatherSelection(3);
        PaintCore.SetSelectionMaskActive(true);
    };
    begin();
    const auto before = picture();
    for (const auto& edit : edits) {
        begin();
        edit();
        const auto after = picture();
        EXPECT_NE(before, after);
        int refusedWhole = 0;
        for (int refused = 1, pages = 0; refused > 0 && pages < 200; ++pages) {
            begin();
            {
                ScarceMemory scarce(pages);
                edit();
                refused = scarce.refused;
            }
            const auto now = picture();
            // Memory may also run out after the edit, while it is shown.
            ASSERT_TRUE(now == before || (now == after)) << "edit " << &edit - edits << " with pages " << pages;
            refusedWhole += now == before ? 1 : 0;
        }
        EXPECT_GT(refusedWhole, 0) << "edit " << &edit - edits;
    }
}
