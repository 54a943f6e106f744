#include "PaintCoreFixture.h"

#include "layers/DocumentPort.h"
#include "layers/LayerStackIterator.h"

using PaintManagerStacks = PaintCoreTest;

TEST_F(PaintManagerStacks, A513thDocumentIsRefusedAndTheLowestFreePlaceIsTakenNext)
{
    for (int i = 0; i < PaintManager::kMaxLayerStacks; ++i)
        ASSERT_EQ(PaintCore.AddLayerStack(4, 4), i);
    EXPECT_EQ(PaintCore.AddLayerStack(4, 4), -1);
    EXPECT_EQ(PaintCore.GetLayerStackCount(), 512);
    EXPECT_EQ(PaintCore.GetCurrentLayerStack(), 511);
    PaintCore.DeleteLayerStack(3, false);
    EXPECT_EQ(PaintCore.AddLayerStack(4, 4), 3);
    EXPECT_EQ(PaintCore.GetLayerStackCount(), 512);
}

TEST_F(PaintManagerStacks, HandlesResolveAsTheTableSays)
{
    int handle = PaintManager::kCurrentLayerStack;
    EXPECT_FALSE(PaintCore.LayerStackFromHandle(handle));
    EXPECT_EQ(handle, -1);
    EXPECT_FALSE(PaintCore.ValidLayerStackHandle(-2));
    EXPECT_TRUE(PaintCore.GetLayerStackInstanceHandle().isNil());

    const int opened = Open();
    handle = PaintManager::kCurrentLayerStack;
    EXPECT_EQ(PaintCore.LayerStackFromHandle(handle).get(), &Stack());
    EXPECT_EQ(handle, opened);
    EXPECT_TRUE(PaintCore.ValidLayerStackHandle(-2));
    EXPECT_FALSE(PaintCore.CheckLayerStackHandle(-2));
    EXPECT_TRUE(PaintCore.CheckLayerStackHandle(opened));
    EXPECT_EQ(PaintCore.GetLayerStackHandle(&Stack()), opened);
    const qs::Reference<LayerStack> stranger(new LayerStack(qsOS::Uuid::generate(), 4, 4));
    EXPECT_EQ(PaintCore.GetLayerStackHandle(stranger), -1);
    for (const int bad : {-1, -3, 511, 512, INT32_MAX, INT32_MIN}) {
        EXPECT_FALSE(PaintCore.GetLayerStack(bad)) << bad;
        EXPECT_FALSE(PaintCore.CheckLayerStackHandle(bad)) << bad;
    }
}

TEST_F(PaintManagerStacks, TheHolderOfAContainerIsFoundAndTheCurrentLayerOnlyInTheCurrentDocument)
{
    const int first = Open();
    const PntHandle inFirst = PaintCore.GetCurrentLayerContainerHandle();
    const int empty = PaintCore.AddLayerStack(10, 10);
    EXPECT_EQ(PaintCore.GetCurrentLayerStack(inFirst), first);
    EXPECT_TRUE(PaintCore.isLayerContainerHandleValid(inFirst));
    EXPECT_EQ(PaintCore.GetCurrentLayerStack(kCurrentLayerHandle), -1) << "the current document has no layer";
    EXPECT_EQ(PaintCore.GetCurrentLayerStack(kNullHandle), -1);
    PaintCore.SetCurrentLayerStack(first);
    EXPECT_EQ(PaintCore.GetCurrentLayerStack(kCurrentLayerHandle), first);
    PaintCore.DeleteLayerStack(first, false);
    EXPECT_FALSE(PaintCore.isLayerContainerHandleValid(inFirst));
    EXPECT_TRUE(PaintCore.CheckLayerStackHandle(empty));
}

TEST_F(PaintManagerStacks, OpeningTellsTheHostInOrder)
{
    PaintCoreCallbacks callbacks;
    callbacks.BusyCB = [](bool busy) { Tell(busy ? "busy" : "idle"); };
    callbacks.LayerStackAddedCB = [](int handle) { Tell("added-callback-" + std::to_string(handle)); };
    callbacks.StackEditedCB = [](bool) { Tell("edited"); };
    callbacks.DefaultBackgroundColorCB = [] { return PaintColor(0.5F, 0.25F, 1, 1); };
    PaintCore.SetCallbacks(callbacks);
    Connect(PaintCore.StackAddedSignal, [](int handle) { Tell("added-signal-" + std::to_string(handle)); });
    Connect(PaintCore.StackChangedSignal, [](bool) { Tell("changed"); });

    PaintCore.setCurrLSLocked(true);
    PaintCore.AddLayerStack(10, 10);
    EXPECT_EQ(told().substr(0, 4), "busy");
    EXPECT_NE(told().find("edited changed added-signal-0 added-callback-0 idle"), std::string::npos) << told();
    EXPECT_FALSE(PaintCore.isCurrLSLocked());
    EXPECT_EQ(PaintCore.GetBackgroundColor(), PaintColor(0.5F, 0.25F, 1, 1));
}

TEST_F(PaintManagerStacks, ClosingTheCurrentDocumentLeavesNoneCurrent)
{
    FakeStore store;
    const int other = Open();
    const int current = Open();
    store.told.clear();
    Connect(PaintCore.StackDeletedSignal, [](int handle) { Tell("deleted-" + std::to_string(handle)); });
    Connect(PaintCore.StackChangedSignal, [](bool) { Tell("changed"); });

    PaintCore.DeleteLayerStack(other, true);
    EXPECT_EQ(store.told, "") << "only the current document is recorded";
    EXPECT_EQ(PaintCore.GetCurrentLayerStack(), current);
    EXPECT_EQ(told(), "deleted-" + std::to_string(other));
    told().clear();

    PaintCore.DeleteLayerStack(-2, true);
    EXPECT_EQ(store.told, "MioLayerStack ");
    EXPECT_TRUE(told().ends_with("deleted-" + std::to_string(current) + " changed")) << told();
    EXPECT_EQ(PaintCore.GetCurrentLayerStack(), -1);
    EXPECT_EQ(PaintCore.GetLayerStackCount(), 0);
    PaintCore.DeleteLayerStack(-2, true);
    EXPECT_EQ(PaintCore.GetLayerStackCount(), 0);
}

TEST_F(PaintManagerStacks, ASlotThatClosesTheDocumentOnceMoreClosesItOnce)
{
    Open();
    Connect(PaintCore.StackDeletedSignal, [](int) { PaintCore.DeleteLayerStack(-2, false); });
    PaintCore.DeleteLayerStack(-2, false);
    EXPECT_EQ(PaintCore.GetLayerStackCount(), 0);
}

TEST_F(PaintManagerStacks, BecomingCurrentAgainIsNoNewsAndKeepsThePreview)
{
    const int first = Open();
    const int second = Open();
    SetBrush(10);
    PaintCore.BrushPreviewPoint(50, 50, 10, 1, 1, 0);
    const auto previewed = PlaneBytes();
    Connect(PaintCore.StackChangedSignal, [](bool) { Tell("changed"); });
    PaintCore.SetCurrentLayerStack(second);
    EXPECT_EQ(told(), "");
    EXPECT_EQ(PlaneBytes(), previewed);

    PaintCore.SetCurrentLayerStack(first);
    EXPECT_EQ(told(), "changed");
    EXPECT_EQ(PaintCore.GetCurrentLayerStack(), first);
    for (const int bad : {-2, -1, 100, 512})
        PaintCore.SetCurrentLayerStack(bad);
    EXPECT_EQ(PaintCore.GetCurrentLayerStack(), first);
    PaintCore.SetCurrentLayerStack(second);
    EXPECT_EQ(PlaneBytes(), ComposedBytes()) << "leaving the document cleared its preview";
}

TEST_F(PaintManagerStacks, IterationVisitsUsedPlacesOnce)
{
    for (int i = 0; i < 5; ++i)
        PaintCore.AddLayerStack(4, 4);
    PaintCore.DeleteLayerStack(0, false);
    PaintCore.DeleteLayerStack(3, false);
    PaintCore.ResetLayerStackIterator();
    for (const int expected : {1, 2, 4, -1, -1})
        EXPECT_EQ(PaintCore.NextLayerStack(), expected);
    LayerStackIterator iterator;
    for (const int expected : {1, 2, 4, -1})
        EXPECT_EQ(iterator.Next(), expected);
}

TEST_F(PaintManagerStacks, AReplacedDocumentPassesItsViewsAndPlaceOn)
{
    const int handle = Open();
    FakeView view;
    PaintCore.AddViewer(&view);
    const qs::Reference<LayerStack> old(&Stack());
    const qs::Reference<LayerStack> copy(new LayerStack(old));
    PaintCore.ReplaceLayerStack(copy, handle);
    EXPECT_EQ(&Stack(), copy.get());
    EXPECT_EQ(PaintCore.GetLayerStackCount(), 1);
    view.updates = 0;
    PaintCore.ForceUpdate();
    EXPECT_EQ(view.updates, 1);
    EXPECT_FALSE(old->GetImagePlane());
    EXPECT_TRUE(copy->GetImagePlane());

    PaintCore.ReplaceLayerStack({}, handle);
    PaintCore.ReplaceLayerStack(old, 512);
    EXPECT_EQ(&Stack(), copy.get());
    PaintCore.ReplaceLayerStack(copy, handle);
    view.updates = 0;
    PaintCore.ForceUpdate();
    EXPECT_EQ(view.updates, 1) << "replaced by itself, it keeps its views";
    PaintCore.RemoveViewer(&view);
}

TEST_F(PaintManagerStacks, TheDumpIsPrintedAtItsDebugLevelOnly)
{
    static int level;
    PaintCoreCallbacks callbacks;
    callbacks.DebugLevelCB = [] { return level; };
    PaintCore.SetCallbacks(callbacks);
    Open();
    level = 8213;
    testing::internal::CaptureStdout();
    PaintCore.debug();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    level = 8214;
    testing::internal::CaptureStdout();
    PaintCore.debug();
    const std::string dump = testing::internal::GetCapturedStdout();
    const std::string begin = "========== PaintManager [begin] ==========\n===== LayerStack [0] =====\n";
    const std::string end = "========== PaintManager [end] ===========\n";
    EXPECT_EQ(dump.substr(0, begin.size()), begin);
    EXPECT_EQ(dump.substr(dump.size() - end.size()), end);
}

TEST_F(PaintManagerStacks, LayersFindTheirDocumentThroughThePorts)
{
    Open();
    const PntHandle below = PaintCore.GetCurrentLayerContainerHandle();
    const PntHandle above = PaintCore.AddLayer({});
    const DocumentPort& port = GetDocumentPort();
    EXPECT_EQ(port.FindLayer(below), Stack().GetLayerFromHandle(below));
    EXPECT_EQ(port.FindLayer(kNullHandle), nullptr);
    EXPECT_EQ(port.GetNextLayer(below), above);
    EXPECT_EQ(port.GetPreviousLayer(above), below);
    EXPECT_EQ(port.GetNextLayer(above), kNullHandle);
    EXPECT_EQ(port.GetContainerHandles(-2, kLayerModeImage), (qs::vector<PntHandle>{below, above}));
    EXPECT_EQ(port.GetUsedSlotFrom(1), -1);

    static PntHandle removed = kNullHandle;
    Connect(PaintCore.ContainerRemovedSignal, [](int, const PntHandle& handle) { removed = handle; });
    PaintCore.DeleteLayer(above);
    EXPECT_EQ(removed, above);
}
