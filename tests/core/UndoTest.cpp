#include "RandomHost.h"

class Undo : public RandomHost {
protected:
    void SetUp() override
    {
        RandomHost::SetUp();
        documents_ = {Open()};
        SetupPntUndoQueue();
    }

    static bool TakeBack() { return PaintUndoQueue()->Undo(); }
    static bool DoAgain() { return PaintUndoQueue()->Redo(); }
    static size_t CountSteps() { return PaintUndoDatabase()->GetUndoDB()->size(); }
};

TEST_F(Undo, PaintingGoesOnFromTheRestoredPixels)
{
    for (const bool marker : {false, true})
        for (const float threshold : {0.0F, 1.0F}) {
            BrushParameters brush;
            brush.color = {1, 0, 0, 1};
            brush.firstSize = brush.secondSize = 20;
            brush.threshold = threshold;
            PaintCore.SetBrushParameters(brush, true);
            StrokeParameters stroke;
            stroke.markerBlend = marker;
            PaintCore.SetStrokeParameters(stroke);
            Line(30, 30, 150, 100, 20, 0.02F);
            const auto before = LayerBytes();
            Line(40, 100, 150, 30, 20, 0.02F);
            const auto once = LayerBytes();
            EXPECT_NE(once, before);
            ASSERT_TRUE(TakeBack());
            EXPECT_EQ(LayerBytes(), before);
            Line(40, 100, 150, 30, 20, 0.02F);
            EXPECT_EQ(LayerBytes(), once) << "marker " << marker << ", threshold " << threshold;
            EXPECT_EQ(PlaneBytes(), ComposedBytes());
        }
}

TEST_F(Undo, AStrokeInProgressEndsAndIsWhatIsUndone)
{
    SetBrush(10);
    Dab(30, 30);
    const auto before = LayerBytes();
    PaintCore.BeginBrushStroke(false);
    Sample(100, 100);
    EXPECT_TRUE(TakeBack());
    EXPECT_FALSE(PaintCore.InBrushStroke());
    EXPECT_EQ(LayerBytes(), before);
    PaintCore.BeginBrushStroke(false);
    Sample(100, 100);
    EXPECT_FALSE(DoAgain()) << "the stroke that ended was the newest";
    EXPECT_EQ(AlphaAt(100, 100), 255);

    // From where its stamps are told as well.
    PaintCoreCallbacks callbacks;
    callbacks.BrushFeedbackStampCB = [](float, float, float, float) { Tell(TakeBack() ? "undone" : "refused"); };
    PaintCore.SetCallbacks(callbacks);
    PaintCore.EnableBrushFeedback(true);
    Dab(150, 50);
    EXPECT_EQ(told(), "undone");
    EXPECT_EQ(AlphaAt(150, 50), 0);
    EXPECT_EQ(CountSteps(), 3U);
}

TEST_F(Undo, AHostThatKeepsTheOrderHearsOfTheStrokeFirst)
{
    delete ExchangeUndoDatabase(nullptr);
    SetupPntUndoList(nullptr);
    SetBrush(10);
    Dab(30, 30);
    const unsigned int first = PaintUndoList()->GetUndoDB()->back()->GetUndoHandle();
    PaintCore.BeginBrushStroke(false);
    Sample(100, 100);
    EXPECT_FALSE(PaintUndoList()->Undo(first)) << "it is not the newest any more";
    EXPECT_EQ(CountSteps(), 2U);
    EXPECT_EQ(AlphaAt(30, 30) + AlphaAt(100, 100), 2 * 255);
}

TEST_F(Undo, AClosedDocumentComesBackUnlessItsPlaceIsTakenOrTheHostRefuses)
{
    SetBrush(10);
    Dab(30, 30);
    const std::string before = Describe();
    FakeView view;
    PaintCore.AddViewer(&view);
    PaintCore.DeleteLayerStack(-2, true);
    EXPECT_EQ(Describe(), "document 0 is closed\n");
    const int taken = Open();
    EXPECT_EQ(taken, documents_.front());
    Dab(99, 99);
    const std::string other = Describe();
    EXPECT_TRUE(TakeBack() && TakeBack() && TakeBack());
    EXPECT_NE(Describe(), before);
    EXPECT_NE(Describe(), other);
    PaintCore.DeleteLayerStack(taken, false);

    PaintCoreCallbacks callbacks;
    callbacks.UndoRestoreCB = [](int, PntHandle&) { return false; };
    PaintCore.SetCallbacks(callbacks);
    EXPECT_TRUE(DoAgain() && TakeBack());
    EXPECT_EQ(PaintCore.GetLayerStack(0), nullptr);
    PaintCore.SetCallbacks({});
    EXPECT_TRUE(DoAgain() && TakeBack());
    EXPECT_EQ(Describe(), before);
    ExpectTruePlanes();
    EXPECT_EQ(view.updates, 0) << "its views may be gone";

    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(PaintCore.GetLayerStackCount(), 1);
        PaintCore.ResetLayerStackIterator();
        EXPECT_EQ(PaintCore.NextLayerStack(), 0);
        const qs::Reference<LayerStack> closed = PaintCore.GetLayerStack(0);
        EXPECT_TRUE(DoAgain());
        EXPECT_EQ(PaintCore.GetLayerStackCount(), 0) << "done again, it is closed";
        EXPECT_FALSE(closed->GetImagePlane()) << "whoever holds it";
        EXPECT_TRUE(TakeBack());
        EXPECT_EQ(Describe(), before);
    }
    EXPECT_TRUE(TakeBack());
    EXPECT_TRUE(PaintCore.GetLayerStack(0)->GetCurrentLayerPtr()->GetImage()->GetPixel(30, 30).GetAlpha() == 0);
}

TEST_F(Undo, ViewsAreToldThatNoLayerIsLeft)
{
    PaintCore.AddLayerStack(60, 40);
    FakeView view;
    PaintCore.AddViewer(&view);
    const qs::TempReference<ilSmartImage> red(new ilSmartImage(PaintColor(1, 0, 0, 1).PixelOf(4)));
    red->fillTile({0, 0, 60, 40}, PaintColor(1, 0, 0, 1).PixelOf(4));
    PaintCore.AddLayer(red);
    ilTile tile;
    while (view.GetNextUpdateTile(tile)) {
    }
    const int updates = view.updates;
    ASSERT_TRUE(TakeBack());
    EXPECT_TRUE(view.updates > updates && view.GetNextUpdateTile(tile));
    EXPECT_EQ(tile, ilTile(0, 0, 60, 40));
    EXPECT_EQ(PlaneBytes(), qs::vector<uint8_t>(60 * 40 * 4));
}

TEST_F(Undo, WithoutMemoryACommandHappensWhollyOrNotAndUndoNeedsNone)
{
    SCOPED_TRACE("PAINTLAYER_SEED=" + std::to_string(FirstSeed()));
    Begin(FirstSeed());
    int refusals = 0;
    for (int i = 0; i < 200 && !HasFailure(); ++i) {
        RunCommand();
        PaintCore.FlushUndoQueue();
        const std::string before = Describe();
        {
            const ScarceMemory memory(Below(4));
            switch (Below(5)) {
            case 0: PaintCore.AddLayer({}); break;
            case 1: PaintCore.SetCurrentLayerOffset(Below(50), 7); break;
            case 2: Dab(60, 60, 50); break;
            default: PaintCore.FillLayer({3, 3, 190, 140}, {1, 0, 0, 0.5F}); break;
            }
            refusals += memory.refused > 0 ? 1 : 0;
        }
        const std::string after = Describe();
        ASSERT_TRUE(CountSteps() == 1 || after == before) << GetTrace();
        {
            const ScarceMemory memory(0);
            TakeBack();
        }
        ASSERT_EQ(Describe(), before) << GetTrace();
        ExpectTruePlanes();
        DoAgain();
        ASSERT_EQ(Describe(), after) << GetTrace();
        ExpectTruePlanes();
    }
    EXPECT_GT(refusals, 10);
}

TEST_F(Undo, TheHostHearsOfWhatCameBack)
{
    PaintCoreCallbacks callbacks;
    callbacks.CanvasUpdatedCB = [] { Tell("canvas"); };
    callbacks.LayerImageChangedCB = [](PntHandle layer) {
        Tell(layer == PaintCore.GetCurrentLayerContainerHandle() ? "layer" : "other");
    };
    callbacks.MessageCB = [](int x, int y, int kind, int* result, const char* text) {
        *result = 1;  // a word to write to
        Tell(std::to_string(x) + std::to_string(y) + ' ' + std::to_string(kind) + ' ' + text);
    };
    SetBrush(10);
    Dab(30, 30);
    PaintCore.AddLayer({});
    PaintCore.SetCallbacks(callbacks);
    TakeBack();
    TakeBack();
    EXPECT_EQ(told(), "canvas canvas layer");
    told().clear();
    TakeBack();
    EXPECT_EQ(told(), "-1-1 16 You cannot undo any more actions.\n");
}

TEST_F(Undo, AStoreThatWasMarkedKeepsOnlyWhatComesAfter)
{
    SetBrush(10);
    Dab(30, 30);
    Dab(40, 30);
    PaintCore.UndoListSetDirty();
    EXPECT_EQ(CountSteps(), 2U);
    Dab(50, 30);
    EXPECT_EQ(CountSteps(), 1U);
    PaintUndoQueue()->GarbageCollect();
    EXPECT_EQ(CountSteps(), 1U);
    PaintCore.FlushUndoQueue();
    EXPECT_EQ(CountSteps(), 0U);
}

TEST(UndoDeathTest, SwitchedOffByTheEnvironmentNothingIsRecorded)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto paint = [] {
        setenv("MIO_UNDO_DISABLE", "1", 1);
        SetupPntUndoQueue();
        PaintCore.AddLayerStack(100, 100);
        PaintCore.AddLayer({});
        PaintCore.FillLayer({0, 0, 50, 50}, {1, 0, 0, 1});
        PaintCore.SetLayerOffset(3, 3);
        PaintCore.DeleteLayerStack(-2, true);
        std::_Exit(PaintUndoQueue()->GetUndoDB()->empty() ? 0 : 1);
    };
    EXPECT_EXIT(paint(), testing::ExitedWithCode(0), "");
}
