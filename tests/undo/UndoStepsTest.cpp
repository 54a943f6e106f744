#include "OneDocument.h"
#include "ScarceAllocations.h"
#include "platform/imaging/pages/PageAllocator.h"

#include <new>
#include <string>

namespace {

int told = 0;  // steps that a host with an order of its own has heard of

class UndoSteps : public OneDocument {
protected:
    /// The properties with one of them at its `k`th value.
    static ContainerProperties With(ContainerProperties properties, ContainerProperty which, int k)
    {
        ContainerProperties other;
        other.name = {static_cast<char>('a' + k)};
        other.blend = static_cast<LayerBlendMode>(k);
        other.opacity = other.displayOpacity = 1 / static_cast<float>(k + 2);
        other.displayColor = {other.opacity, 0, 0, 1};
        other.isVisible = other.isActive = other.isLocked = k % 2 != 0;
        SwapProperty(which, properties, other);
        if (which == ContainerProperty::Count)  // what is no step by itself
            properties.appData.Set("key", other.name.data());
        return properties;
    }

    static void Fill(const PntHandle& handle, int x, uint8_t value)
    {
        document->GetLayerFromHandle(handle)->GetImage()->fillTile({x, 0, 60, 60},
                                                                   ilPixel::Rgba(value, value, value, 255));
    }

    static std::string Describe()
    {
        std::string text;
        for (const PntHandle& handle : document->GetLayerContainerHandleArray(kLayerModeImage, false)) {
            const Layer& layer = *document->GetLayerFromHandle(handle);
            text += std::to_string(layer.GetOpacity()) + ' ' + std::to_string(layer.getXOffset());
            for (int x = 0; x < 200; x += 20)
                text += ' ' + std::to_string(layer.GetImage()->GetPixel(x, 5).GetPacked());
            text += '\n';
        }
        return text;
    }

    /// A merge, in small: the lower layer takes the upper one's pixels and opacity, and the upper one goes.
    static void Merge(const PntHandle& lower)
    {
        const qs::Reference<PntUndoOper> pixels = StrokeOn(*document->GetLayerFromHandle(lower));
        const qs::Reference<PntUndoLayerStack> structure = StructuralStep();
        Fill(lower, 40, 200);
        document->SetLayerOpacity(lower, 0.25F);
        document->DeleteCurrentLayer(document->GetTopLayer(kLayerModeImage)->GetLayerContainerHandle(), true);
        structure->SetComplete();
        Queue().AddUndoOperation(new PntUndoCombo("MioCombo", false, false, structure, pixels));
    }
};

}  // namespace

TEST_F(UndoSteps, APropertyComesBackIfTheStepSetItAndStaysIfSomebodyElseDid)
{
    const PntHandle folder = document->AddLayerFolder(kLayerModeImage, kCurrentLayerHandle);
    const PntHandle handles[] = {document->GetBottomLayer(kLayerModeImage)->GetLayerContainerHandle(), folder,
                                 Add(kLayerModeMask).GetLayerContainerHandle(), document->GetSelectionMaskHandle()};
    for (int what = 0; what < static_cast<int>(ContainerProperty::Count) * 16 + 16; ++what) {
        const auto which = static_cast<ContainerProperty>(what / 16);
        const bool inStep = (what & 1) != 0;
        const bool after = (what & 2) != 0;
        const bool whileUndone = (what & 4) != 0;
        const bool isToldByNext = (what & 8) != 0;  // that the step is complete
        for (const PntHandle& handle : handles) {
            const auto get = [&] { return document->GetLayerContainerFromHandle(handle)->GetProperties(); };
            const auto set = [&](int k) { document->SetContainerProperties(handle, With(get(), which, k)); };
            const auto expect = [&](int k) {
                EXPECT_EQ(get(), With(get(), which, k)) << what << " of " << &handle - handles;
            };
            set(2);
            const auto step = StructuralStep();
            Queue().AddUndoOperation(step);
            Add();
            if (inStep)
                set(3);
            if (isToldByNext)
                StrokeOn(*document->GetBottomLayer(kLayerModeImage));
            else
                step->SetComplete();
            if (after)
                set(4);
            step->UndoOper();
            expect(after ? 4 : 2);
            if (whileUndone)
                set(5);
            step->RedoOper();
            step->UndoOper();
            step->RedoOper();
            if (whileUndone)
                expect(5);
            else if (after)
                expect(4);
            else
                expect(inStep ? 3 : 2);
        }
    }
    ExpectTruePlane();
}

TEST_F(UndoSteps, AStepThatGoesOnHoldsWhateverIsSetUntilUndo)
{
    const PntHandle top = document->GetTopLayer(kLayerModeImage)->GetLayerContainerHandle();
    document->SetBackgroundColor({0, 0, 0, 1});
    const auto first = StructuralStep();
    Queue().AddUndoOperation(first);
    document->SetLayerOpacity(top, 0.5F);
    document->SetSymmetry(new Symmetry(7, 7));
    document->SetAppData(top, "step", "b");
    first->UndoOper();
    document->SetAppData(top, "apart", "c");
    EXPECT_EQ(document->GetAppData(top, "step"), "");
    EXPECT_EQ(document->GetLayerOpacity(top), 1);
    EXPECT_EQ(document->GetSymmetry(), nullptr);
    first->RedoOper();
    EXPECT_TRUE(document->GetAppData(top, "step") == "b" && document->GetAppData(top, "apart") == "c");
    EXPECT_EQ(document->GetLayerOpacity(top), 0.5F);
    ASSERT_NE(document->GetSymmetry(), nullptr);

    // Of the document as of its containers: what is set apart from the step stays.
    document->SetBackgroundColor({1, 0, 0, 1});
    document->GetSymmetry()->SetOrder(5);
    first->UndoOper();
    EXPECT_EQ(document->GetBackgroundColor(), PaintColor(1, 0, 0, 1));
    EXPECT_EQ(document->GetSymmetry()->GetOrder(), 5);
}

TEST_F(UndoSteps, PropertiesAreStepsThatJoinUntilAnotherComes)
{
    SetupPntUndoList([](unsigned int) { return ++told > 0; });
    told = 0;
    Add(kLayerModeMask);
    Fill(document->GetBottomLayer(kLayerModeImage)->GetLayerContainerHandle(), 20, 90);
    const PntHandle handles[] = {document->GetBottomLayer(kLayerModeImage)->GetLayerContainerHandle(),
                                 document->GetTopLayer(kLayerModeMask)->GetLayerContainerHandle()};
    int steps = 0;
    for (int i = 0; i < static_cast<int>(ContainerProperty::Count) * 2; ++i) {
        const auto which = static_cast<ContainerProperty>(i / 2);
        const PntHandle handle = handles[i % 2];
        const auto get = [&] { return document->GetLayerContainerFromHandle(handle)->GetProperties(); };
        const ContainerProperties before = get();
        for (const int k : {2, 4, 3}) {
            const ContainerProperties last = get();
            const qs::Reference<PntUndoProperty> step(new PntUndoProperty(nullptr, 3, *document, {handle}, which));
            document->SetContainerProperties(handle, With(get(), which, k));
            EXPECT_EQ(step->HasChanges(), get() != last);
            PaintUndoList()->AddUndoOperation(step);
        }
        EXPECT_EQ(told, ++steps);
        const unsigned int newest = PaintUndoList()->GetUndoDB()->back()->GetUndoHandle();
        EXPECT_TRUE(PaintUndoList()->CheckID(newest, "MioProperty") && PaintUndoList()->CanUndo(newest));
        const ContainerProperties after = get();
        EXPECT_TRUE(PaintUndoList()->Undo(newest));
        EXPECT_EQ(get(), before);
        ExpectTruePlane();
        EXPECT_TRUE(PaintUndoList()->CanRedo(newest) && PaintUndoList()->Redo(newest));
        EXPECT_EQ(get(), after);
        ExpectTruePlane();
    }
}

TEST_F(UndoSteps, MovesJoinUntilSomethingElseComes)
{
    const auto move = [&](Layer& layer, int x) {
        const auto step = StrokeOn(layer);
        step->SetIsMove();
        document->SetLayerOffset(layer.GetLayerContainerHandle(), x, 0, true);
        Queue().AddUndoOperation(step);
        return Queue().GetUndoDB()->size();
    };
    Layer& a = *document->GetBottomLayer(kLayerModeImage);
    Layer& b = *document->GetTopLayer(kLayerModeImage);
    EXPECT_EQ(move(a, 1) + move(a, 2), 2U);
    EXPECT_EQ(move(b, 3), 2U) << "another layer";
    EXPECT_EQ(move(a, 4), 3U);
    EXPECT_TRUE(Queue().Undo());
    EXPECT_EQ(a.getXOffset(), 2);
    EXPECT_EQ(move(b, 5), 3U) << "an undo came between, and what could be redone is gone";
    EXPECT_TRUE(Queue().Undo() && Queue().Redo());
    EXPECT_EQ(move(b, 6), 4U);
    Queue().EndJoining();
    EXPECT_EQ(move(b, 7), 5U);
    EXPECT_EQ(std::string(Queue().GetUndoName()), "Move Layer");
    while (Queue().CanUndo())
        EXPECT_TRUE(Queue().Undo());
    EXPECT_EQ(a.getXOffset() + b.getXOffset(), 0);
}

TEST_F(UndoSteps, WhateverAllocationFailsAStepIsUndoneAndRedoneAsAWholeOrNotAtAll)
{
    const PntHandle lower = document->GetBottomLayer(kLayerModeImage)->GetLayerContainerHandle();
    Fill(lower, 0, 50);
    Fill(document->GetTopLayer(kLayerModeImage)->GetLayerContainerHandle(), 30, 100);
    const std::string before = Describe();
    Merge(lower);
    const std::string after = Describe();
    int refusals = 0;
    for (const bool isUndo : {true, false}) {
        bool isDone = false;
        const auto run = [&](bool undo) { isDone = undo ? Queue().Undo() : Queue().Redo(); };
        for (int n = 0; RunScarce(n, [&] { run(isUndo); }); ++n) {
            refusals += isDone ? 0 : 1;
            ASSERT_EQ(Describe(), isDone == isUndo ? before : after) << n;
            ASSERT_EQ(Queue().CanUndo(), isDone != isUndo) << n;
            ExpectTruePlane();
            if (isDone)
                run(!isUndo);
        }
        EXPECT_TRUE(isDone);
    }
    EXPECT_GT(refusals, 20);
}

TEST_F(UndoSteps, AStepIsKeptOrNothingIsLostAndRollingBackNeedsNoMemory)
{
    const PntHandle lower = document->GetBottomLayer(kLayerModeImage)->GetLayerContainerHandle();
    Fill(lower, 0, 50);
    Merge(lower);
    Merge(lower);
    Queue().SetCapacity(2);
    EXPECT_TRUE(Queue().Undo());
    const qs::Reference<PntUndoStroke> step = StrokeOn(*document->GetLayerFromHandle(lower));
    const auto add = [&] {
        try {
            return Queue().AddUndoOperation(step);
        } catch (const std::bad_alloc&) {
            return false;
        }
    };
    RunScarce(0, [&] { EXPECT_FALSE(add()); });
    EXPECT_TRUE(Queue().CanUndo() && Queue().CanRedo());
    Queue().ReserveStep();
    RunScarce(0, [&] { EXPECT_TRUE(add()); });
    EXPECT_FALSE(Queue().CanRedo());
    EXPECT_EQ(Queue().GetUndoDB()->size(), 2U);

    const std::string before = Describe();
    Fill(lower, 100, 77);
    document->SetLayerOffset(lower, 9, 9, true);
    EXPECT_NE(Describe(), before);
    RunScarce(0, [&] { step->RollBack(); });
    EXPECT_EQ(Describe(), before);
    ExpectTruePlane();
}

TEST_F(UndoSteps, WhatRecordsHoldIsWhatComesFreeWithThem)
{
    const PntHandle lower = document->GetBottomLayer(kLayerModeImage)->GetLayerContainerHandle();
    Fill(lower, 0, 50);
    Queue().SetCapacity(100);
    for (int i = 0; i < 15; ++i) {
        Queue().AddUndoOperation(StructuralStep());
        Add();
    }
    EXPECT_EQ(Queue().GetHeldBytes(), 0) << "additions hold no pixel";
    for (int i = 0; i < 6; ++i) {
        const auto stroke = StrokeOn(*document->GetLayerFromHandle(lower));
        Fill(lower, 30 * i, static_cast<uint8_t>(60 + i));
        Queue().AddUndoOperation(stroke);
        Fill(document->GetTopLayer(kLayerModeImage)->GetLayerContainerHandle(), 10 * i, 9);
        Merge(lower);
    }
    for (const bool halfUndone : {false, true}) {
        for (int i = 0; halfUndone && i < 5; ++i)
            EXPECT_TRUE(Queue().Undo());
        int64_t single = 0;
        for (const auto& record : *Queue().GetUndoDB())
            single += record->GetHeldBytes();
        EXPECT_GT(single, 0);
        EXPECT_LE(single, Queue().GetHeldBytes()) << "what two share is held by neither alone";
    }
    const int64_t held = Queue().GetHeldBytes();
    const auto oldest = [&] { return Queue().GetUndoDB()->front(); };
    int64_t inUse = static_cast<int64_t>(PageAllocator::GetBytesInUse());
    Queue().SetByteLimit(held / 2);
    EXPECT_LE(Queue().GetHeldBytes(), held / 2);
    EXPECT_EQ(inUse - static_cast<int64_t>(PageAllocator::GetBytesInUse()), held - Queue().GetHeldBytes());
    while (!Queue().GetUndoDB()->empty()) {
        inUse = static_cast<int64_t>(PageAllocator::GetBytesInUse());
        const int64_t alone = oldest()->GetHeldBytes();
        Queue().GetUndoDB()->pop_front();
        EXPECT_EQ(inUse - static_cast<int64_t>(PageAllocator::GetBytesInUse()), alone);
    }
}

TEST_F(UndoSteps, AClosedDocumentIsClosedAgainAndDeadRecordsLetGo)
{
    const PntHandle lower = document->GetBottomLayer(kLayerModeImage)->GetLayerContainerHandle();
    const auto early = StrokeOn(*document->GetLayerFromHandle(lower));
    Fill(lower, 0, 50);
    const std::string before = Describe();
    Queue().AddUndoOperation(early);
    auto closing = StructuralStep();
    Queue().AddUndoOperation(closing);
    document->BecomeClosed();
    document = nullptr;
    closing->SetClosesDocument();
    Queue().ReleaseDeadRecords();
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(Queue().Undo());
        ASSERT_NE(document, nullptr);
        EXPECT_EQ(Describe(), before);
        ExpectTruePlane();
        EXPECT_TRUE(Queue().Redo());
        EXPECT_EQ(document, nullptr);
    }
    EXPECT_TRUE(Queue().Undo() && Queue().Undo() && Queue().Redo());
    EXPECT_EQ(Describe(), before) << "records of before the closing apply";

    document->BecomeClosed();
    document = nullptr;
    Queue().ReleaseDeadRecords();
    EXPECT_NE(early->GetLayerStack(), nullptr) << "the closing can bring the document back";
    Queue().GetUndoDB()->pop_back();
    Queue().ReleaseDeadRecords();
    EXPECT_NE(early->GetLayerStack(), nullptr) << "a reference is still here";
    closing.reset();
    Queue().ReleaseDeadRecords();
    EXPECT_EQ(early->GetLayerStack(), nullptr);
    EXPECT_EQ(Queue().GetHeldBytes(), 0);
}
