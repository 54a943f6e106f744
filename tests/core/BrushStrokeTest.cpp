#include "PaintCoreFixture.h"

using BrushStroke = PaintCoreTest;

// --- samples ---

TEST_F(BrushStroke, SizesAndAspectsAreLimited)
{
    struct Case {
        float size, aspect, sameSize, sameAspect;
    };
    constexpr Case kCases[] = {{0, 1, 1, 1},    {0.25F, 1, 1, 1},    {-5, 1, 1, 1},    {1e6F, 1, 1280, 1},
                               {8, 3, 8, 1.9F}, {4, 0.1F, 4, 0.25F}, {4, -1, 4, 0.25F}};
    SetBrush(10);
    for (const Case& one : kCases) {
        Open();
        Dab(60, 60, one.size, 1, one.aspect, 30);
        const auto painted = LayerBytes();
        Open();
        Dab(60, 60, one.sameSize, 1, one.sameAspect, 30);
        EXPECT_EQ(LayerBytes(), painted) << one.size << " " << one.aspect;
        EXPECT_NE(AlphaAt(60, 60), 0);
    }
}

TEST_F(BrushStroke, SamplesAreCanvasCoordinatesAndStampsStayOnTheCanvas)
{
    Open(100, 80);
    SetBrush(10);
    Stack().SetCurrentLayerOffset(-30, 25, true);
    Dab(40, 30);
    EXPECT_EQ(AlphaAt(40 + 30, 30 - 25), 255);
    EXPECT_EQ(AlphaAt(40, 30), 0);
    Dab(100, 80);
    Dab(0, 0);
    EXPECT_NE(AlphaAt(129, 54), 0);
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(AlphaAt(130 + i, 50), 0) << "nothing right of the canvas";
        EXPECT_EQ(AlphaAt(29 - i, -25), 0) << "nothing left of the canvas";
    }
}

TEST_F(BrushStroke, NothingHappensWithoutAVisibleLayer)
{
    PaintCore.BeginBrushStroke(false);
    EXPECT_FALSE(PaintCore.InBrushStroke());
    PaintCore.AddLayerStack(50, 50);
    PaintCore.BeginBrushStroke(false);
    EXPECT_FALSE(PaintCore.InBrushStroke()) << "the document has no layer";
    PaintCore.AddLayer({});
    PaintCore.SetLayerVisible(false);
    PaintCore.BeginBrushStroke(false);
    Sample(20, 20);
    PaintCore.EndBrushStroke();
    EXPECT_FALSE(PaintCore.InBrushStroke());
    EXPECT_EQ(FakeTimers::Count(), 0);
    EXPECT_TRUE(Image().IsEmpty());
}

TEST_F(BrushStroke, TheStrokeEndsWhereThePenWasLifted)
{
    for (const int interpolation : {0, 1, 7}) {
        Open();
        SetBrush(3);
        StrokeParameters stroke;
        stroke.interpolation = interpolation;
        PaintCore.SetStrokeParameters(stroke);
        PaintCore.BeginBrushStroke(false);
        for (const float x : {20.0F, 60.0F, 100.0F, 140.0F})
            Sample(x, 50 + (x - 20) / 4, 3);
        PaintCore.EndBrushStroke();
        EXPECT_NE(AlphaAt(140, 80), 0) << "interpolation " << interpolation;
        EXPECT_EQ(AlphaAt(147, 81), 0) << "interpolation " << interpolation;
    }
}

TEST_F(BrushStroke, SettersAreLockedDuringAStroke)
{
    Open();
    SetBrush(10, {1, 0, 0, 1});
    PaintCore.BeginBrushStroke(false);
    SetBrush(50, {0, 1, 0, 1});
    PaintCore.SetColor({0, 0, 1, 1}, true);
    StrokeParameters stroke;
    stroke.spacing = 3;
    PaintCore.SetStrokeParameters(stroke);
    EXPECT_EQ(PaintCore.updateFromOptions(stroke, {}), 0);
    PaintCore.BrushPreviewPoint(20, 20, 10, 1, 1, 0);
    PaintCore.BeginBrushStroke(false);
    Sample(50, 50);
    PaintCore.EndBrushStroke();
    EXPECT_EQ(PaintCore.GetBrushParameters().secondSize, 10);
    EXPECT_EQ(PaintCore.GetBrushParameters().color, PaintColor(1, 0, 0, 1));
    EXPECT_EQ(PaintCore.GetStrokeParameters().spacing, 0.25F);
    EXPECT_EQ(Image().GetPixel(50, 50), ilPixel::Rgba(255, 0, 0, 255));
    EXPECT_FALSE(PaintCore.InBrushStroke());
}

// --- updates ---

TEST_F(BrushStroke, TheUpdateIntervalFollowsTheSecondSize)
{
    struct Case {
        float secondSize, timerScale;
        int intervalMs;
    };
    constexpr Case kCases[] = {{0, 1, 10},     {5, 1, 10},   {96, 1, 100},  {200, 1, 100},
                               {50.5F, 1, 55}, {96, 2, 200}, {5, 0.55F, 5}, {50.5F, -1, 0}};
    Open();
    FakeView view;
    PaintCore.AddViewer(&view);
    for (const Case& one : kCases) {
        SetBrush(one.secondSize);
        StrokeParameters stroke;
        stroke.timerScale = one.timerScale;
        PaintCore.SetStrokeParameters(stroke);
        PaintCore.BeginBrushStroke(false);
        PaintCore.EndBrushStroke();
        EXPECT_EQ(view.interval, one.intervalMs) << one.secondSize << " times " << one.timerScale;
    }
    EXPECT_EQ(view.begins, view.ends);
    PaintCore.RemoveViewer(&view);
}

TEST_F(BrushStroke, SmallDamageIsCheckedEveryFifthSample)
{
    Open();
    SetBrush(4);
    FakeView view;
    PaintCore.AddViewer(&view);
    for (int stroke = 0; stroke < 2; ++stroke) {
        PaintCore.BeginBrushStroke(false);
        view.checks = 0;
        view.updates = 0;
        std::string checked;
        for (int i = 1; i <= 10; ++i) {
            const int before = view.checks;
            Sample(50 + static_cast<float>(i), 50, 4);
            if (view.checks != before)
                checked += std::to_string(i) + " ";
        }
        EXPECT_EQ(checked, "5 10 ") << "stroke " << stroke;
        EXPECT_EQ(view.updates, 0);
        for (int i = 0; i < 3; ++i)
            Sample(50, 50, 4);
        PaintCore.EndBrushStroke();
        EXPECT_EQ(view.updates, 1);
    }
    PaintCore.BeginBrushStroke(true);
    view.checks = 0;
    for (int i = 0; i < 10; ++i)
        Sample(50, 50, 4);
    EXPECT_EQ(view.checks, 0) << "without timed updates";
    PaintCore.EndBrushStroke();
    PaintCore.RemoveViewer(&view);
}

TEST_F(BrushStroke, DamageBeyondTheThresholdIsShownAtOnce)
{
    Open(2000, 400);
    SetBrush(4);
    StrokeParameters parameters;
    parameters.interpolation = 0;
    PaintCore.SetStrokeParameters(parameters);
    FakeView view;
    PaintCore.AddViewer(&view);
    PaintCore.BeginBrushStroke(false);
    Sample(100, 100, 4);
    Sample(200, 100, 4);
    EXPECT_EQ(view.updates, 0) << "109 pixels of 134";
    Sample(240, 100, 4);
    EXPECT_EQ(view.updates, 1);
    // At a radius of 100 the threshold is 400 pixels, and the damage of one stamp 201.
    Sample(1000, 200, 100);
    const int before = view.updates;
    Sample(1010, 200, 100);
    EXPECT_EQ(view.updates, before);
    PaintCore.EndBrushStroke();
    EXPECT_EQ(PlaneBytes(), ComposedBytes());
    PaintCore.RemoveViewer(&view);
}

// --- after the stroke ---

TEST_F(BrushStroke, SettledIsToldOnceAfterTheLastStroke)
{
    static PntHandle changed = kNullHandle;
    PaintCoreCallbacks callbacks;
    callbacks.StrokeSettledCB = [] { Tell("settled"); };
    callbacks.LayerImageChangedCB = [](PntHandle layer) {
        Tell("changed");
        changed = layer;
    };
    Open();
    PaintCore.SetCallbacks(callbacks);
    Dab(20, 20);
    FakeTimers::Advance(2000);
    Dab(40, 20);
    FakeTimers::Advance(3029);
    EXPECT_EQ(told(), "");
    FakeTimers::Advance(1);
    EXPECT_EQ(told(), "settled changed");
    EXPECT_EQ(changed, PaintCore.GetCurrentLayerContainerHandle());
    FakeTimers::Advance(10000);
    EXPECT_EQ(told(), "settled changed");

    Dab(60, 20);
    FakeTimers::Advance(1000);
    PaintCore.BeginBrushStroke(false);
    FakeTimers::Advance(10000);
    EXPECT_EQ(told(), "settled changed") << "a stroke under way puts it off";
    PaintCore.EndBrushStroke();
    FakeTimers::Advance(3030);
    EXPECT_EQ(told(), "settled changed settled changed");
}

TEST_F(BrushStroke, FeedbackFramesTheStrokeAndReportsItsStamps)
{
    static int reports;
    reports = 0;
    PaintCoreCallbacks callbacks;
    callbacks.BrushFeedbackBeginCB = [] { Tell("begin"); };
    callbacks.BrushFeedbackEndCB = [] { Tell(PaintCore.InBrushStroke() ? "end-too-early" : "end"); };
    callbacks.BrushFeedbackStampCB = [](float, float, float, float) { ++reports; };
    PaintCore.SetCallbacks(callbacks);
    Open();
    SetBrush(5);
    Line(20, 20, 80, 20, 5);
    EXPECT_EQ(told(), "");
    EXPECT_EQ(reports, 0);
    PaintCore.EnableBrushFeedback(true);
    const uint64_t before = PaintCore.GetStampCount();
    Line(20, 60, 80, 60, 5);
    EXPECT_EQ(told(), "begin end");
    EXPECT_EQ(static_cast<uint64_t>(reports), PaintCore.GetStampCount() - before);
    EXPECT_EQ(reports, 60 / 5 * 4 + 1) << "a stamp every quarter radius";
}

TEST_F(BrushStroke, TheTraceMarksSamplesOnItsDebugLevel)
{
    PaintCoreCallbacks callbacks;
    callbacks.DebugLevelCB = [] { return 8001; };
    PaintCore.SetCallbacks(callbacks);
    Open();
    SetBrush(1, {0, 0, 0, 1});
    PaintCore.BeginBrushStroke(false);
    Sample(30.9F, 30.9F, 1, 0);
    EXPECT_TRUE(Image().IsEmpty()) << "the sample is marked by the next one";
    Sample(60, 30, 1, 0);
    EXPECT_EQ(Image().GetPixel(30, 30), ilPixel(kUnsignedByte, 4, 0xFF0000FF));
    EXPECT_EQ(AlphaAt(60, 30), 0);
    PaintCore.EndBrushStroke();
    int marked = 0;
    for (int y = 20; y < 40; ++y)
        for (int x = 20; x < 70; ++x)
            marked += AlphaAt(x, y) != 0 ? 1 : 0;
    EXPECT_EQ(marked, 18);
}

TEST_F(BrushStroke, ATimerStrokeKeepsStampingWhileThePenRests)
{
    Open();
    SetBrush(8, {0, 0, 0, 1});
    StrokeParameters stroke;
    stroke.timerStroke = true;
    stroke.bleedInterval = 20;
    PaintCore.SetStrokeParameters(stroke);
    PaintCore.BeginBrushStroke(false);
    Sample(50, 50, 8, 0.1F);
    const uint8_t once = AlphaAt(50, 50);
    FakeTimers::Advance(400);
    EXPECT_GT(AlphaAt(50, 50), 2 * once);
    PaintCore.EndBrushStroke();
    const uint8_t ended = AlphaAt(50, 50);
    FakeTimers::Advance(1000);
    EXPECT_EQ(AlphaAt(50, 50), ended);
    EXPECT_EQ(PlaneBytes(), ComposedBytes());
}
