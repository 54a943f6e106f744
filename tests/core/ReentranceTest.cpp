#include "PaintCoreFixture.h"

#include <memory>

using Reentrance = PaintCoreTest;

TEST_F(Reentrance, AViewMayRemoveItselfFromInsideAnUpdate)
{
    Open(600, 400);
    SetBrush(10);
    FakeView leaving;
    FakeView staying;
    PaintCore.AddViewer(&leaving);
    PaintCore.AddViewer(&staying);
    leaving.onUpdate = [&] { PaintCore.RemoveViewer(&leaving); };
    PaintCore.BeginBrushStroke(false);
    Sample(50, 50);
    Sample(550, 350);
    Sample(50, 350);
    EXPECT_EQ(leaving.updates, 1);
    EXPECT_GE(staying.updates, 1);
    PaintCore.EndBrushStroke();
    EXPECT_EQ(PlaneBytes(), ComposedBytes());
    PaintCore.RemoveViewer(&staying);
}

TEST_F(Reentrance, TheDocumentMayGoFromInsideAViewOrBetweenSamples)
{
    enum Where { kBetween, kInUpdate, kInCheck, kAtEnd, kOther };
    for (const Where where : {kBetween, kInUpdate, kInCheck, kAtEnd, kOther}) {
        const int handle = Open(600, 400);
        SetBrush(10);
        auto view = std::make_unique<FakeView>();
        PaintCore.AddViewer(view.get());
        const auto close = [&] { PaintCore.DeleteLayerStack(handle, true); };
        PaintCore.BeginBrushStroke(false);
        Sample(50, 50);
        if (where == kInUpdate || where == kAtEnd)
            view->onUpdate = close;
        if (where == kInCheck)
            view->onCheck = close;
        if (where == kOther)
            Open();  // another document becomes current, then the stroke's goes
        if (where == kBetween || where == kOther)
            close();
        if (where == kInUpdate) {
            Sample(550, 350);
            Sample(50, 350);  // a smooth path is a sample behind
        }
        if (where == kInCheck)
            for (int i = 0; i < 5; ++i)
                Sample(51, 50);
        EXPECT_EQ(PaintCore.InBrushStroke(), where == kAtEnd) << where;
        Sample(60, 60);
        PaintCore.EndBrushStroke();
        EXPECT_FALSE(PaintCore.CheckLayerStackHandle(handle)) << where;
        EXPECT_FALSE(PaintCore.InBrushStroke()) << where;
        EXPECT_EQ(view->begins, view->ends) << where;
        view = nullptr;  // nothing may call it any more
        Sample(60, 60);
        FakeTimers::Advance(4000);
        CloseAll();
    }
}

TEST_F(Reentrance, TheDocumentMayGoWhileAStampIsReported)
{
    PaintCoreCallbacks callbacks;
    callbacks.BrushFeedbackStampCB = [](float, float, float, float) {
        Sample(1, 1);
        PaintCore.DeleteLayerStack(-2, false);
        PaintCore.EndBrushStroke();
        PaintCore.BeginBrushStroke(false);
    };
    PaintCore.SetCallbacks(callbacks);
    PaintCore.EnableBrushFeedback(true);
    FakeView view;
    for (const bool atEnd : {false, true}) {
        Open();
        StrokeParameters stroke;
        stroke.scatter = atEnd ? 0.1F : 0;  // holds the only stamp back until the pen is lifted
        PaintCore.SetStrokeParameters(stroke);
        view = FakeView();
        PaintCore.AddViewer(&view);
        PaintCore.BeginBrushStroke(false);
        Sample(50, 50);
        EXPECT_EQ(PaintCore.GetLayerStackCount(), atEnd ? 1 : 0);
        PaintCore.EndBrushStroke();
        EXPECT_EQ(PaintCore.GetLayerStackCount(), 0);
        EXPECT_FALSE(PaintCore.InBrushStroke());
        EXPECT_EQ(view.updates, 1) << "once, before the document was closed";
        EXPECT_EQ(view.ends, 1);
    }
}

TEST_F(Reentrance, TheStrokeMayBeEndedWhileAStampIsReported)
{
    PaintCoreCallbacks callbacks;
    callbacks.BrushFeedbackStampCB = [](float, float, float, float) { PaintCore.EndBrushStroke(); };
    callbacks.BrushFeedbackEndCB = [] { Tell("end"); };
    PaintCore.SetCallbacks(callbacks);
    PaintCore.EnableBrushFeedback(true);
    Open();
    SetBrush(10);
    PaintCore.BeginBrushStroke(false);
    Sample(50, 50);
    EXPECT_FALSE(PaintCore.InBrushStroke());
    EXPECT_EQ(told(), "end");
    EXPECT_EQ(AlphaAt(50, 50), 255);
    EXPECT_EQ(PlaneBytes(), ComposedBytes());
}

TEST_F(Reentrance, TheLayerMayGoOrChangeDuringItsStroke)
{
    for (const bool marker : {false, true})
        for (const int how : {0, 1, 2, 3}) {
            Open();
            const PntHandle below = PaintCore.GetCurrentLayerContainerHandle();
            const PntHandle painted = PaintCore.AddLayer({});
            FakeStore store;
            SetBrush(10, {0, 0, 0, 0.5F});
            StrokeParameters stroke;
            stroke.markerBlend = marker;
            PaintCore.SetStrokeParameters(stroke);
            PaintCore.BeginBrushStroke(false);
            Sample(50, 50);
            Sample(100, 100);
            switch (how) {
            case 0: Stack().DeleteCurrentLayer(kCurrentLayerHandle, true); break;
            case 1: Stack().SetCurrentLayer(below, true, true, false); break;
            case 2: PaintCore.DeleteCurrentLayer(); break;
            default: PaintCore.SetCurrentLayer(below); break;
            }
            Sample(150, 50);
            Sample(150, 100);
            EXPECT_FALSE(PaintCore.InBrushStroke());
            PaintCore.EndBrushStroke();
            const bool isGone = how == 0 || how == 2;
            EXPECT_EQ(Stack().GetLayerFromHandle(painted) == nullptr, isGone);
            EXPECT_EQ(store.told.find("MioStroke") == std::string::npos, how == 0) << store.told;
            EXPECT_TRUE(Image().IsEmpty()) << "nothing falls on the layer that came instead";
            const Layer* left = Stack().GetLayerFromHandle(painted);
            EXPECT_TRUE(isGone || left->GetImage()->GetPixel(50, 50).GetAlpha() >= 127);
            EXPECT_TRUE(isGone || left->GetImage()->GetPixel(100, 100).GetAlpha() >= 127) << "up to its last sample";
            PaintCore.ForceUpdate();
            EXPECT_EQ(PlaneBytes(), ComposedBytes()) << "marker " << marker << ", way " << how;
        }
}

TEST_F(Reentrance, ADocumentReplacedDuringAStrokeEndsIt)
{
    const int handle = Open();
    FakeStore store;
    SetBrush(10);
    PaintCore.BeginBrushStroke(false);
    Sample(50, 50);
    const qs::Reference<LayerStack> copy(new LayerStack(qs::Reference<LayerStack>(&Stack())));
    PaintCore.ReplaceLayerStack(copy, handle);
    EXPECT_FALSE(PaintCore.InBrushStroke());
    EXPECT_EQ(store.told, "");
    Sample(100, 50);
    PaintCore.EndBrushStroke();
    PaintCore.ForceUpdate();
    EXPECT_EQ(PlaneBytes(), ComposedBytes());
    Dab(100, 100);
    EXPECT_EQ(AlphaAt(100, 100), 255);
}

TEST_F(Reentrance, CallbacksAtTheBeginningMayRefuseTheStroke)
{
    PaintCoreCallbacks callbacks;
    callbacks.BrushFeedbackBeginCB = [] {
        PaintCore.BeginBrushStroke(false);
        PaintCore.DeleteLayerStack(-2, false);
    };
    callbacks.BrushFeedbackEndCB = [] { Tell("end"); };
    PaintCore.SetCallbacks(callbacks);
    PaintCore.EnableBrushFeedback(true);
    Open();
    PaintCore.BeginBrushStroke(false);
    EXPECT_FALSE(PaintCore.InBrushStroke());
    EXPECT_EQ(told(), "end");
    Open();
    PaintCore.SetCallbacks({});
    FakeView view;
    PaintCore.AddViewer(&view);
    view.onCheck = [] { PaintCore.DeleteLayerStack(-2, false); };
    PaintCore.BeginBrushStroke(false);
    EXPECT_FALSE(PaintCore.InBrushStroke());
    EXPECT_EQ(PaintCore.GetLayerStackCount(), 0);
}

TEST_F(Reentrance, ADocumentOpenedWhileAnotherOpensGetsAPlaceOfItsOwn)
{
    PaintCoreCallbacks callbacks;
    callbacks.BusyCB = [](bool busy) {
        if (busy && PaintCore.GetLayerStackCount() == 0 && told().empty()) {
            Tell("once");
            PaintCore.AddLayerStack(20, 20);
        }
    };
    PaintCore.SetCallbacks(callbacks);
    const int outer = PaintCore.AddLayerStack(10, 10);
    EXPECT_EQ(outer, 1);
    EXPECT_EQ(PaintCore.GetCurrentLayerStack(), 1);
    EXPECT_EQ(PaintCore.GetLayerStackCount(), 2);
    EXPECT_EQ(PaintCore.GetLayerStack(0)->GetSize().nx, 20);
}

// --- memory ---

TEST_F(Reentrance, RunningOutOfMemoryDuringAStrokeLeavesTheDocumentUsable)
{
    for (const bool marker : {false, true})
        for (const int pages : {0, 1, 2, 5, 7, 9, 12}) {
            SCOPED_TRACE("marker " + std::to_string(marker) + ", pages " + std::to_string(pages));
            Open(300, 200);
            PaintCore.FillLayer({0, 0, 300, 200}, {0, 1, 0, 1});
            PaintCore.AddLayer({});
            SetBrush(20, {1, 0, 0, 1}, 0.5F);
            StrokeParameters stroke;
            stroke.markerBlend = marker;
            PaintCore.SetStrokeParameters(stroke);
            {
                ScarceMemory memory(pages);
                Line(10, 10, 290, 190, 20);
                EXPECT_GT(memory.refused, 0);
                PaintCore.FillLayer({5, 5, 100, 100}, {1, 1, 1, 0.5F});
                PaintCore.CreateSampleStroke(100, 100, 20);
                PaintCore.BrushPreviewPoint(150, 100, 20, 1, 1, 0);
            }
            EXPECT_FALSE(PaintCore.InBrushStroke());
            PaintCore.ForceUpdate();
            const auto shown = PlaneBytes();  // before composing afresh, which brings the plane up to date
            EXPECT_EQ(shown, ComposedBytes());
            const auto before = LayerBytes();
            Line(10, 190, 290, 10, 20);
            EXPECT_NE(LayerBytes(), before);
            EXPECT_GT(AlphaAt(80, 140), 200);
            const auto repainted = PlaneBytes();
            EXPECT_EQ(repainted, ComposedBytes());
            CloseAll();
        }
}
