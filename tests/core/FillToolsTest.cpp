#include "PaintCoreFixture.h"

#include "undo/PntUndoQueue.h"

#include <limits>

namespace {

constexpr PaintColor kRed(1, 0, 0), kBlue(0, 0, 1);

/// A document with a soft black ring on its layer, a store of undo, and a host that notes what it hears.
class FillToolsTest : public PaintCoreTest {
protected:
    void SetUp() override
    {
        PaintCoreTest::SetUp();
        delete ExchangeUndoDatabase(new PntUndoQueue);  // goes with the fixture
        PaintCoreCallbacks host;
        host.ShowMessageCB = [](const char* text) { Tell(text); };
        host.FillEndingCB = [](bool& keeps, const qs::vector<PntHandle>& held) {
            keeps = wantsToKeep;
            Tell("fill? " + std::to_string(held.size()));
        };
        host.FillEndedCB = [](const qs::vector<PntHandle>&) { Tell("fill ended"); };
        host.WandEndingCB = [](bool& keeps, const qs::vector<PntHandle>& held) {
            keeps = wantsToKeep;
            Tell(held.front() == PaintCore.GetSelectionMaskHandle() ? "wand?" : "other?");
        };
        host.WandEndedCB = [](const qs::vector<PntHandle>&) { Tell("wand ended"); };
        PaintCore.SetCallbacks(host);
        wantsToKeep = false;
    }

    void OpenWithRing()
    {
        Open();
        SetBrush(6, PaintColor(0, 0, 0), 0.3F);
        PaintCore.BeginBrushStroke(false);
        for (int i = 0; i <= 40; ++i)
            Sample(100 + 40 * std::cos(static_cast<float>(i) * 0.15708F),
                   75 + 40 * std::sin(static_cast<float>(i) * 0.15708F), 6);
        PaintCore.EndBrushStroke();
        PaintUndoQueue()->FlushUndoDatabase();
        ring = LayerBytes();
        told().clear();
    }

    static size_t Steps() { return PaintUndoQueue()->GetUndoDB()->size(); }

    static qs::vector<uint8_t> MaskBytes()
    {
        return BytesOf(*Stack().GetSelectionMask()->GetImage(), Stack().GetSize());
    }

    qs::vector<uint8_t> ring;
    static inline bool wantsToKeep = false;
};

enum Kind { kFlood, kSmooth, kWand };

/// The pair of calls of each tool, and the pixels that it edits.
struct Tool {
    Kind kind;
    void Do(int x, int y, float tolerance, const PaintColor& color) const
    {
        if (kind == kFlood)
            PaintCore.DoFloodFill(x, y, tolerance, color);
        else if (kind == kSmooth)
            PaintCore.DoSmoothFloodFill(x, y, tolerance, color);
        else
            PaintCore.DoMagicWand(x, y, tolerance, color, false);
    }
    void Done(int x, int y, float tolerance, const PaintColor& color) const
    {
        if (kind == kFlood)
            PaintCore.FloodFillDone(x, y, tolerance, color);
        else if (kind == kSmooth)
            PaintCore.SmoothFloodFillDone(x, y, tolerance, color);
        else
            PaintCore.MagicWandDone(x, y, tolerance, color, false);
    }
};

TEST_F(FillToolsTest, TellTheUserOnceWithoutADocument)
{
    for (const Kind kind : {kFlood, kSmooth, kWand}) {
        Tool{kind}.Do(5, 5, 0, kRed);
        EXPECT_EQ(std::exchange(told(), {}),
                  kind == kWand ? "There is no image layer in the window. This happens when magic wand is done before "
                                  "an image layer has been created."
                                : "No image layer present. Please create a new Image Layer before using Floodfill.");
        Tool{kind}.Done(5, 5, 0, kRed);
        EXPECT_EQ(told(), "");
    }
    EXPECT_EQ(Steps(), 0U);
}

TEST_F(FillToolsTest, ShowEachAttemptAloneAndAreOneStepOfUndo)
{
    for (const Kind kind : {kFlood, kSmooth, kWand}) {
        for (const bool keeps : {false, true}) {
            SCOPED_TRACE(testing::Message() << "tool " << kind << ", kept " << keeps);
            OpenWithRing();
            if (kind == kWand)
                PaintCore.SetSelectionMaskActive(true);
            const Tool tool{kind};
            const auto edited = [&] { return kind == kWand ? MaskBytes() : LayerBytes(); };
            const qs::vector<uint8_t> original = edited();
            wantsToKeep = keeps;

            tool.Do(100, 75, 0.1F, kRed);
            EXPECT_TRUE(PaintCore.InProxy());
            const qs::vector<uint8_t> once = edited();
            EXPECT_NE(once, original);
            tool.Do(2, 2, 0.3F, kBlue);
            EXPECT_NE(edited(), once);
            tool.Do(100, 75, 0.1F, kRed);
            EXPECT_EQ(edited(), once);
            tool.Do(100, 75, std::numeric_limits<float>::quiet_NaN(), kBlue);
            EXPECT_EQ(edited(), once) << "a refused attempt leaves the one before";
            EXPECT_EQ(PaintCore.InProxy(), true);
            EXPECT_TRUE(kind == kWand || PlaneBytes() == ComposedBytes());
            EXPECT_EQ(Steps(), 0U) << "it may still be cancelled";
            EXPECT_EQ(told(), "");

            PaintCore.EndProxy();
            EXPECT_EQ(told(), kind == kWand ? "wand? wand ended" : "fill? 1 fill ended");
            EXPECT_EQ(edited(), keeps ? once : original);
            if (!keeps) {
                tool.Done(100, 75, 0.1F, kRed);
                EXPECT_EQ(edited(), once);
            }
            EXPECT_EQ(Steps(), 1U);
            EXPECT_TRUE(PaintUndoQueue()->Undo());
            EXPECT_EQ(edited(), original);
            EXPECT_TRUE(PaintUndoQueue()->Redo());
            EXPECT_EQ(edited(), once);
            // Not tried before: a step of its own.
            tool.Done(2, 2, 0.1F, kBlue);
            EXPECT_EQ(Steps(), 2U);
            EXPECT_TRUE(PaintUndoQueue()->Undo());
            EXPECT_EQ(edited(), once);
            CloseAll();
        }
    }
}

TEST_F(FillToolsTest, ACancelledFillLeavesNoStepAndWhatCouldBeDoneAgain)
{
    OpenWithRing();
    PaintCore.FloodFillDone(100, 75, 0, kRed);
    const qs::vector<uint8_t> filled = LayerBytes();
    EXPECT_TRUE(PaintUndoQueue()->Undo());
    for (int i = 0; i < 3; ++i) {
        PaintCore.DoFloodFill(2, 2, 0, kBlue);
        PaintCore.EndProxy();
        EXPECT_EQ(LayerBytes(), ring);
    }
    EXPECT_EQ(Steps(), 1U);
    EXPECT_TRUE(PaintUndoQueue()->Redo());
    EXPECT_EQ(LayerBytes(), filled);
    // Undone while it is shown: the preview ends, and is what is undone if it stays.
    for (const bool keeps : {true, false}) {
        wantsToKeep = keeps;
        PaintCore.DoFloodFill(2, 2, 0, kBlue);
        EXPECT_TRUE(PaintUndoQueue()->Undo());
        EXPECT_FALSE(PaintCore.InProxy());
        EXPECT_EQ(LayerBytes(), keeps ? filled : ring);
    }
    PaintCore.SuspendUndo(true);
    PaintCore.DoFloodFill(2, 2, 0, kBlue);
    PaintCore.FloodFillDone(2, 2, 0, kBlue);
    PaintCore.EndProxy();
    EXPECT_EQ(LayerBytes(), ring);
    PaintCore.SuspendUndo(false);
    EXPECT_EQ(Steps(), 2U);
}

TEST_F(FillToolsTest, RefusedFillsLeaveNoProxyNoStepAndNoWord)
{
    OpenWithRing();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const PntHandle layer = PaintCore.GetCurrentLayerContainerHandle();
    const auto tryAll = [&](int x, float tolerance, const PaintColor& color) {
        for (const Kind kind : {kFlood, kSmooth, kWand}) {
            if (kind == kWand && x < 0)
                continue;
            Tool{kind}.Do(x, 75, tolerance, color);
            Tool{kind}.Done(x, 75, tolerance, color);
        }
        EXPECT_FALSE(PaintCore.InProxy());
    };
    tryAll(100, nan, kRed);
    tryAll(100, -1, kRed);
    tryAll(100, 0, PaintColor(nan, 0, 0));
    tryAll(-1, 0, kRed);
    PaintCore.SetLayerVisible(false, layer);
    PaintCore.DoFloodFill(100, 75, 0, kRed);
    PaintCore.SmoothFloodFillDone(100, 75, 0, kRed);
    PaintCore.SetLayerVisible(true, layer);
    const PntHandle folder = PaintCore.AddLayerFolder(kLayerModeImage);
    PaintUndoQueue()->FlushUndoDatabase();
    PaintCore.DoFloodFill(100, 75, 0, kRed, folder);
    PaintCore.SmoothFloodFillDone(100, 75, 0, kRed, folder);
    PaintCore.DoMagicWand(100, 75, 0, kRed, true, folder);
    {
        PaintCore.SetCurrentLayer(layer);
        ScarceMemory memory(1);
        tryAll(100, 0, kRed);
        EXPECT_GT(memory.refused, 0);
    }
    EXPECT_FALSE(PaintCore.InProxy());
    EXPECT_EQ(Steps(), 0U);
    EXPECT_EQ(told(), "");
    EXPECT_EQ(LayerBytes(), ring);
    EXPECT_TRUE(Stack().GetSelectionMask()->GetImage()->IsEmpty());
    EXPECT_EQ(PlaneBytes(), ComposedBytes());
}

TEST_F(FillToolsTest, PointsAreBeingFilledFromTheFirstSmoothTryToItsEnd)
{
    OpenWithRing();
    EXPECT_FALSE(PaintCore.IsPointBeingFilled(100, 75, kRed));
    PaintCore.DoFloodFill(100, 75, 0, kRed);
    EXPECT_FALSE(PaintCore.IsPointBeingFilled(100, 75, kRed));
    PaintCore.DoSmoothFloodFill(100, 75, 0, kRed);
    // The box, from what the layer shows in red.
    ilTile box;
    for (int y = 0; y < 150; ++y)
        for (int x = 0; x < 200; ++x)
            if (Image().GetPixel(x, y).GetComponent(0) > 0)
                box = ilTileUnion(box, {x, y, 1, 1});
    ASSERT_FALSE(box.IsEmpty());
    for (const auto& [x, y, isInside] : {std::tuple(box.x, box.y, true),
                                         {box.x - 1, box.y, false},
                                         {box.x, box.y - 1, false},
                                         {box.x + box.nx, box.y + box.ny, true},
                                         {box.x + box.nx + 1, box.y, false},
                                         {box.x, box.y + box.ny + 1, false}})
        EXPECT_EQ(PaintCore.IsPointBeingFilled(x, y, kRed), isInside) << x << ", " << y;
    EXPECT_FALSE(PaintCore.IsPointBeingFilled(100, 75, kBlue));
    PaintCore.DoSmoothFloodFill(100, 75, 0, kBlue);
    EXPECT_TRUE(PaintCore.IsPointBeingFilled(100, 75, kBlue));
    PaintCore.EndProxy();
    EXPECT_TRUE(PaintCore.IsPointBeingFilled(100, 75, kBlue));
    PaintCore.SmoothFloodFillDone(100, 75, 0, kBlue);
    EXPECT_FALSE(PaintCore.IsPointBeingFilled(100, 75, kBlue));
}

TEST_F(FillToolsTest, APreviewEndsForAnotherLayerAndForAStroke)
{
    OpenWithRing();
    const PntHandle first = PaintCore.GetCurrentLayerContainerHandle();
    const PntHandle second = PaintCore.AddLayer({});
    PaintUndoQueue()->FlushUndoDatabase();
    PaintCore.DoFloodFill(100, 75, 0, kRed, first);
    PaintCore.DoFloodFill(10, 10, 0, kBlue, second);
    EXPECT_EQ(told(), "fill? 1 fill ended");
    EXPECT_EQ(BytesOf(*Stack().GetLayerFromHandle(first)->GetImage(), Stack().GetSize()), ring);
    EXPECT_EQ(Steps(), 0U);
    PaintCore.DoMagicWand(10, 10, 0, kRed, true, second);
    EXPECT_EQ(AlphaAt(10, 10), 0);
    EXPECT_EQ(Stack().GetSelectionMask()->GetImage()->GetPixel(10, 10).GetPacked(), 255U);
    Dab(20, 20);
    EXPECT_FALSE(PaintCore.InProxy());
    EXPECT_TRUE(Stack().GetSelectionMask()->GetImage()->IsEmpty());
    EXPECT_EQ(PlaneBytes(), ComposedBytes());
}

}  // namespace
