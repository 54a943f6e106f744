// A host that calls what the interface names, with the arguments that hosts are told of: what stops compiling here
// stops compiling for them. What the calls do is tested where it is done.

#include <paintlayer/core/PaintManager.h>
#include <paintlayer/layers/LayerContainerIterator.h>
#include <paintlayer/layers/LayerIterator.h>
#include <paintlayer/layers/LayerStackIterator.h>
#include <paintlayer/undo/UndoStore.h>

#include <gtest/gtest.h>

#include <type_traits>

namespace {

static_assert(!std::is_polymorphic_v<PaintManager>);
static_assert(std::is_abstract_v<LayerStackView> && std::is_abstract_v<PntUndoOper>);

struct View : LayerStackView {
    void UpdateView(qs::TempReference<ilSPMemoryImg>) override { ++updates; }
    void BeginTimerBasedUpdate(int) override {}
    void EndTimerBasedUpdate() override {}
    void CheckTimerBasedUpdate() override {}
    int updates = 0;
};

struct Record : PntUndoOper {
    explicit Record(char* id) : PntUndoOper(id, false, true) {}
    void UndoOper() override {}
    void RedoOper() override {}
};

bool Hear(unsigned int)
{
    return true;
}

qs::TempReference<ilMIOImage> NewImage(int channels)
{
    return new ilSmartImage(ilPixel(2, channels));
}

void CallManager(int stack, PntHandle layer)
{
    PaintCoreCallbacks callbacks;
    callbacks.MessageCB = [](int, int, int, int*, const char*) {};
    PaintCore.SetCallbacks(callbacks);
    PaintCore.preparePaintCore();
    PaintCore.debug();
    int current = -2;
    EXPECT_EQ(PaintCore.LayerStackFromHandle(current), PaintCore.GetLayerStack(stack));
    EXPECT_EQ(PaintCore.GetCurrentLayerStack(layer), stack);
    EXPECT_EQ(PaintCore.GetLayerStackHandle(PaintCore.LayerStackFromHandle(layer)), stack);
    EXPECT_TRUE(PaintCore.ValidLayerStackHandle(-2) && !PaintCore.CheckLayerStackHandle(-2));
    EXPECT_EQ(PaintCore.remapRetrievedHandle(3), -1);
    EXPECT_TRUE(PaintCore.store() && !PaintCore.setMIOLayerStack_sr(nullptr));
    PaintCore.EndOperation(true);
    EXPECT_EQ(PaintCore.overrideProfile(nullptr), 0);
    EXPECT_EQ(PaintCore.updateFromOptions(PaintCore.GetStrokeParameters(), PaintCore.GetBrushParameters()), 0);
    PaintCore.SetShapeOpacity(0.5F, layer);
    EXPECT_EQ(PaintCore.GetShapeOpacity(layer), 1);
    for (const bool erases : {false, true, false}) {
        PaintCore.SetBrushErases(erases);
        PaintCore.BeginBrushStroke(false);
        PaintCore.SetBrushErases(!erases);  // not during a stroke
        PaintCore.AddStrokePoint(5, 5, 4, 1, 1, 0, false, false);
        PaintCore.EndBrushStroke();
        EXPECT_EQ(PaintCore.GetBrushErases(), erases);
        EXPECT_EQ(PaintCore.GetImagePlane()->GetPixel(5, 5).GetAlpha(), erases ? 0 : 255);
    }
    int count = 0;
    PaintCore.ResetPointSmoother();
    EXPECT_NE(PaintCore.SmoothPoints({1, 2}, count), nullptr);
    PaintCore.InitPressureFilter(0, 1023);
    EXPECT_TRUE(PaintManager::PressureFilter(0) == 0 && PaintManager::PressFilter != nullptr);
    EXPECT_TRUE(PaintManager::CheckInterval == 5 && PaintManager::MaxUpdateIntRadius == 96);
    PaintCore.UpdateImagePlaneBits(1, 1, -2);
    PaintColor color(1, 0, 0, 1);
    PaintCore.DoFloodFill(3, 3, 0.1F, color, layer);
    PaintCore.FloodFillDone(3, 3, 0.1F, color, layer);
    PaintCore.DoSmoothFloodFill(3, 3, 0.1F, color, layer);
    PaintCore.SmoothFloodFillDone(3, 3, 0.1F, color, layer);
    PaintCore.DoMagicWand(3, 3, 0.1F, color, true, layer);
    PaintCore.MagicWandDone(3, 3, 0.1F, color, true, layer);
    EXPECT_FALSE(PaintCore.IsPointBeingFilled(3, 3, color));
    PaintCore.EndProxy();
    PaintCore.MergeFolder(-2, layer);
    PaintCore.SetAllLayerVisible(true);
    EXPECT_TRUE(PaintCore.AddUndoLayerStack(-2, false));
    LayerIterator layers(stack, true, true, true);
    EXPECT_EQ(layers.Next(), layer);
    EXPECT_EQ(LayerIterator::GetNextLayer(layer), kNullHandle);
    LayerStackIterator stacks;
    EXPECT_TRUE(stacks.Count() == 1 && stacks.Next() == stack && stacks.CountRemaining() == 0);
    EXPECT_EQ(LayerContainerIterator(stack, true, true, true).Next(), kNullHandle);
}

void CallStack(LayerStack& stack, PntHandle layer)
{
    View view;
    const View copy(view);
    stack.AddViewer(&view);
    stack.UpdateViewer(&view);
    stack.RemoveViewer(&view);
    EXPECT_EQ(copy.updates + 1, view.updates);
    const PntHandle added =
        stack.AddLayer(NewImage(4), nullptr, kLayerModeImage, kLayerTypeRaster, true, 0, layer, true, 2, 3, true);
    stack.RemoveLayerFromStack(stack.GetLayerFromHandle(added));
    EXPECT_EQ(stack.GetLayerFromHandle(added), nullptr);
    const PntHandle folder = stack.AddLayerFolder(kLayerModeImage, layer);
    EXPECT_EQ(stack.FindLayerFolder(folder, true), stack.GetLayerFolder(kLayerModeImage));
    LayerFolder& contents = *stack.GetLayerFolderFromHandle(folder);
    contents.Translate(1, 2);
    EXPECT_TRUE(contents.Scale(2, 2, 0, 0) && contents.GetSize() == 1);
    EXPECT_TRUE(contents.GetTopLayer() == contents.GetBottomLayerContainer(true));
    EXPECT_FALSE(stack.MoveLayer(folder, folder, true));
    stack.SetCurrentLayer(layer, true, true, false);
    float x = 4;
    float y = 5;
    stack.LayerStackToLayerCoords(x, y, layer);
    EXPECT_EQ(stack.FindLayer(-5, -5, true, true, 0), kNullHandle);
    stack.FillSelectionMask(ilTile(0, 0, 10, 10), true);
    stack.AddToSelection(NewImage(1), 0, 0, true);
    stack.CopyFromSelection(NewImage(1));
    float points[] = {1, 1, 9, 1, 5, 9};
    stack.LassoSelection(points, 3);
    EXPECT_TRUE(stack.GetLassoImage(points, 3, true));
    PntHandle below;
    stack.GetLCHForMergeBelow(layer, below);
    stack.MergeLayers(layer, kNullHandle, true);
    LayerStackComposite& composite = *stack.GetLSComposite();
    composite.MakeCompositeMask(&stack, qs::vector<PntHandle>{layer});
    composite.MakeCompositeMask(&stack, true);
    ilTile tile(0, 0, 20, 20);
    composite.MakeComposite(&stack, &tile);
    EXPECT_TRUE(composite.GetCurrentComposite());
    Layer& first = *stack.GetLayerFromHandle(layer);
    EXPECT_TRUE(first.MakeStencilledImage(&tile, true));
    first.MakeStencilComposite(tile, nullptr, first.GetImage());
    EXPECT_FALSE(first.IsStencilCompositeDirty());
    first.SetOffset(1, 1, LayerStackTransform(0, 0, 1, 1, 0, 0, 0), true);
    first.VerifyAllLsHandle(stack.GetLsInstanceHandle());
    stack.RebuildAllAndRedrawEntireCanvas();
}

void CallUndo()
{
    EXPECT_TRUE(SetupPntUndoQueue());
    EXPECT_FALSE(SetupPntUndoList(Hear));
    char id[] = "Own";
    const qs::Reference<PntUndoOper> record(new Record(id));
    EXPECT_TRUE(record->CheckID("MioOper") && !record->Interrupt());
    EXPECT_TRUE(PaintUndoQueue()->AddUndoOperation(record));
    EXPECT_TRUE(PaintUndoQueue()->CheckID(record->GetUndoHandle(), id));
    EXPECT_TRUE(PaintUndoQueue()->Undo() && PaintUndoQueue()->Redo());
    PaintUndoQueue()->SetDirty();
    PaintUndoQueue()->GarbageCollect();
    EXPECT_TRUE(PaintUndoQueue()->GetUndoDB()->empty());
    delete ExchangeUndoDatabase(nullptr);
}

TEST(Interface, TakesTheArgumentsThatHostsGive)
{
    PaintCore.InitPaintManager();
    const int stack = PaintCore.AddLayerStack(60, 40);
    const PntHandle layer = PaintCore.AddLayer(nullptr);
    CallManager(stack, layer);
    CallStack(*PaintCore.GetLayerStack(stack), layer);
    PaintCore.ReplaceLayerStack(new LayerStack(PaintCore.GetLayerStack(stack)), stack);
    PaintCore.DeleteLayerStack(stack, false);
    PaintCore.SetCallbacks({});
    CallUndo();
}

}  // namespace
