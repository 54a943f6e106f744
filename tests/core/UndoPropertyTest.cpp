#include "RandomHost.h"

#include <memory>

namespace {

/// The order of undo that a host keeps for the list.
qs::vector<unsigned int> listed;

}  // namespace

class UndoProperty : public RandomHost {
protected:
    void TearDown() override
    {
        listed.clear();
        RandomHost::TearDown();
    }

    static bool Listed(unsigned int handle)
    {
        listed.push_back(handle);
        return true;
    }

    /// Runs a command and says how many steps it made. Without one nothing changed, but by a move that the one before
    /// took in.
    size_t RunRecorded(std::string& description)
    {
        const auto& records = *PaintUndoDatabase()->GetUndoDB();
        const qs::Reference<PntUndoOper> newest = records.empty() ? nullptr : records.back();
        const bool wasMove = newest && std::string(newest->GetName()) == "Move Layer";
        RunCommand();
        const std::string now = Describe();
        const bool isNew = !records.empty() && records.back() != newest;
        const bool mayJoin = (wasMove && GetCommand().starts_with("offset")) ||
                             (newest && newest->CheckID("MioProperty") && GetCommand() == "recorded property");
        EXPECT_TRUE(isNew || mayJoin || now == description) << "changed without a step: " << GetTrace();
        description = now;
        return isNew ? 1 : 0;
    }

    void CheckPlanes(size_t one)
    {
        if (one % 4 == 0)
            ExpectTruePlanes();
    }

    void BeginWithList(unsigned seed)
    {
        delete ExchangeUndoDatabase(nullptr);
        Begin(seed);
        listed.clear();
        SetupPntUndoList(Listed);
    }

    static std::string NameOf(const PntHandle& handle) { return handle.own.asString().c_str(); }

    struct Heard {
        int renamed = 0;
        int state = 0;
        float opacity = -1;
    };
    static qs::map<std::string, Heard>& heard()
    {
        static qs::map<std::string, Heard> all;
        return all;
    }

    /// A host that keeps its panel of layers by what it is told.
    void Listen()
    {
        isListening_ = true;
        PaintCoreCallbacks callbacks;
        callbacks.LayerRenamedCB = [](PntHandle handle) { ++heard()[NameOf(handle)].renamed; };
        PaintCore.SetCallbacks(callbacks);
        Connect(PaintCore.ContainerStateSignal, [](const PntHandle& handle) { ++heard()[NameOf(handle)].state; });
        Connect(PaintCore.OpacitySignal,
                [](const PntHandle& handle, float opacity) { heard()[NameOf(handle)].opacity = opacity; });
    }

    static qs::map<std::string, ContainerProperties> Properties()
    {
        qs::map<std::string, ContainerProperties> all;
        for (int i = 0; i < PaintManager::kMaxLayerStacks; ++i)
            if (const qs::Reference<LayerStack> stack = PaintCore.GetLayerStack(i))
                for (const LayerMode mode : {kLayerModeImage, kLayerModeMask, kLayerModeStencil})
                    for (const PntHandle& handle : stack->GetLayerContainerHandleArray(mode, false))
                        all[NameOf(handle)] = stack->GetLayerContainerFromHandle(handle)->GetProperties();
        return all;
    }

    /// What a step of undo or redo changes is told, with the values that then hold.
    template <class Step>
    bool IsDoneAndTold(Step step)
    {
        if (!isListening_)
            return step();
        const auto before = Properties();
        heard().clear();
        if (!step())
            return false;
        for (const auto& [name, is] : Properties())
            if (const auto was = before.find(name); was != before.end()) {
                const Heard told = heard()[name];
                EXPECT_TRUE(is.name == was->second.name || told.renamed > 0);
                EXPECT_TRUE(is.opacity == was->second.opacity ? told.opacity < 0 : told.opacity == is.opacity);
                EXPECT_TRUE((is.isVisible == was->second.isVisible && is.isActive == was->second.isActive) ||
                            told.state > 0);
            }
        return true;
    }

    bool isListening_ = false;

    /// Undoes all steps and redoes them, twice. Each redo leads to the state before its undo, and each undo, where
    /// `isExact`, to the state before the command.
    void GoBackAndForth(qs::vector<std::string> states, bool isExact)
    {
        for (int round = 0; round < 2 && !HasFailure(); ++round) {
            for (size_t i = listed.size(); i-- > 0 && !HasFailure(); CheckPlanes(i)) {
                ASSERT_TRUE(IsDoneAndTold([&] { return PaintUndoList()->Undo(listed[i]); }));
                const std::string now = Describe();
                ASSERT_TRUE(!isExact || now == states[i]) << "undo of " << i << " of " << GetTrace() << now;
                states[i] = now;
            }
            for (size_t i = 0; i < listed.size() && !HasFailure(); CheckPlanes(i++)) {
                ASSERT_TRUE(IsDoneAndTold([&] { return PaintUndoList()->Redo(listed[i]); }));
                ASSERT_EQ(Describe(), states[i + 1]) << "redo of " << i << " of " << GetTrace();
            }
        }
    }
};

TEST_F(UndoProperty, AListGoesAllTheWayBackAndForthThroughTheSameStates)
{
    Listen();
    for (unsigned seed = FirstSeed(); seed < FirstSeed() + 4 && !HasFailure(); ++seed) {
        SCOPED_TRACE("PAINTLAYER_SEED=" + std::to_string(seed));
        BeginWithList(seed);
        qs::vector<std::string> states = {Describe()};
        for (int i = 0; i < 120 && !HasFatalFailure(); ++i) {
            std::string state = states.back();
            RunRecorded(state);
            states.resize(listed.size());
            states.push_back(state);
        }
        GoBackAndForth(states, true);
    }
}

/// A host that gives further commands from wherever the library calls it.
class NestingHost : public UndoProperty {
protected:
    void SetUp() override
    {
        UndoProperty::SetUp();
        current() = this;
        PaintCoreCallbacks callbacks;
        callbacks.CanvasUpdatedCB = [] { Nest("canvas updated"); };
        callbacks.BusyCB = [](bool) { Nest("busy"); };
        callbacks.StackEditedCB = [](bool) { Nest("stack edited"); };
        callbacks.LayerImageChangedCB = [](PntHandle) { Nest("image changed"); };
        callbacks.LayerRenamedCB = [](PntHandle) { Nest("renamed"); };
        callbacks.BrushFeedbackBeginCB = callbacks.BrushFeedbackEndCB = [] { Nest("stroke"); };
        callbacks.BrushFeedbackStampCB = [](float, float, float, float) { Nest("stamp"); };
        callbacks.FillEndingCB = callbacks.WandEndingCB = [](bool& keeps, const qs::vector<PntHandle>&) {
            Nest("ending");
            keeps = current()->Flip();
        };
        callbacks.FillEndedCB = callbacks.WandEndedCB = [](const qs::vector<PntHandle>&) { Nest("ended"); };
        callbacks.UndoRestoreCB = [](int, PntHandle&) {
            Nest("restore");
            return true;
        };
        PaintCore.SetCallbacks(callbacks);
        PaintCore.EnableBrushFeedback(true);
        Connect(PaintCore.StackChangedSignal, [](bool) { Nest("changed"); });
        Connect(PaintCore.ContainerAddedSignal, [](int, const PntHandle&) { Nest("added"); });
        Connect(PaintCore.ContainerRemovedSignal, [](int, const PntHandle&) { Nest("removed"); });
        Connect(PaintCore.ContainerStateSignal, [](const PntHandle&) { Nest("state"); });
        Connect(PaintCore.ContainerStateSignal, [](const PntHandle&) { Nest("state, second slot"); });
        Connect(PaintCore.LayerMovedSignal, [](const PntHandle&, const PntHandle&, bool) { Nest("moved"); });
        view_.onUpdate = [] { Nest("view"); };
    }

    static NestingHost*& current()
    {
        static NestingHost* host = nullptr;
        return host;
    }

    static void Nest(const char* from)
    {
        NestingHost& host = *current();
        if (host.depth_ >= 2 || !host.isNesting_ || host.isHoldingDocument_ || host.Below(6) != 0)
            return;
        ++host.depth_;
        host.Note(std::string("(from ") + from);
        host.TakeDown();
        // What is half painted or previewed is no state that a step leads to.
        host.isExact_ = host.isExact_ && !PaintCore.InBrushStroke() &&
                        std::none_of(host.documents_.begin(), host.documents_.end(),
                                     [](int document) { return PaintCore.InProxy(document); });
        host.RunCommand();
        host.TakeDown();
        host.Note(")");
        --host.depth_;
    }

    /// The state after each step, taken down before another command is given.
    void TakeDown()
    {
        isExact_ = isExact_ && listed.size() <= states_.size();
        states_.resize(listed.size() + 1);
        states_.back() = Describe();
    }

    FakeView view_;
    qs::vector<std::string> states_;
    int depth_ = 0;
    bool isExact_ = true;  // each step leads from one of the states to the next
    bool isNesting_ = false;
};

TEST_F(NestingHost, CommandsGivenFromInsideOthersAreThoseGivenAfterwards)
{
    for (unsigned seed = FirstSeed(); seed < FirstSeed() + 12 && !HasFailure(); ++seed) {
        SCOPED_TRACE("PAINTLAYER_SEED=" + std::to_string(seed));
        isNesting_ = false;
        isExact_ = true;
        BeginWithList(seed);
        for (const int document : documents_)
            PaintCore.AddViewer(&view_, document);
        states_ = {Describe()};
        for (int i = 0; i < 20 && !HasFailure(); ++i) {
            isNesting_ = true;
            RunCommand();
            isNesting_ = false;
            for (const int document : documents_)
                PaintCore.EndProxy(document);  // of a tool whose document is no longer the current one
            TakeDown();
            CheckPlanes(static_cast<size_t>(i));
        }
        GoBackAndForth(states_, isExact_);
        CloseAll();
    }
}

TEST_F(UndoProperty, AQueueIsAHistoryOfStatesThatIsWalkedAndBranches)
{
    for (const int capacity : {PntUndoQueue::kDefaultCapacity, 1, 10000})
        for (unsigned seed = FirstSeed(); seed < FirstSeed() + 2 && !HasFailure(); ++seed) {
            SCOPED_TRACE("PAINTLAYER_SEED=" + std::to_string(seed) + ", capacity " + std::to_string(capacity));
            Begin(seed);
            delete ExchangeUndoDatabase(nullptr);
            auto* queue = new PntUndoQueue(capacity);
            ExchangeUndoDatabase(queue);
            qs::vector<std::string> states = {Describe()};
            size_t cursor = 0;
            for (int i = 0; i < 250 && !HasFailure(); ++i) {
                const int what = Below(10);
                const int runs = 1 + Below(6);
                for (int run = 0; run < runs && !HasFailure(); ++run) {
                    if (what < 4) {
                        Note("undo");
                        ASSERT_EQ(queue->Undo(), cursor > 0) << GetTrace();
                        cursor -= cursor > 0 ? 1 : 0;
                    } else if (what < 7) {
                        Note("redo");
                        const bool isPossible = cursor + 1 < states.size();
                        ASSERT_EQ(queue->Redo(), isPossible) << GetTrace();
                        cursor += isPossible ? 1 : 0;
                    } else {
                        std::string state = states[cursor];
                        if (RunRecorded(state) == 0) {
                            states[cursor] = state;
                            continue;
                        }
                        states.resize(cursor + 1);
                        states.push_back(state);
                        if (states.size() > static_cast<size_t>(capacity) + 1)
                            states.erase(states.begin());
                        cursor = states.size() - 1;
                    }
                    ASSERT_EQ(Describe(), states[cursor]) << GetTrace();
                }
                CheckPlanes(static_cast<size_t>(i));
                ASSERT_EQ(queue->CanUndo(), cursor > 0);
                ASSERT_EQ(queue->CanRedo(), cursor + 1 < states.size());
            }
            const int64_t held = queue->GetHeldBytes();
            const size_t inUse = PageAllocator::GetBytesInUse();
            queue->FlushUndoDatabase();
            // Exact but for what painters keep.
            EXPECT_GE(static_cast<int64_t>(inUse - PageAllocator::GetBytesInUse()), held) << GetTrace();
        }
}

TEST_F(UndoProperty, WhateverHappensUnrecordedRedoLeadsBackToWhereUndoBegan)
{
    PaintCoreCallbacks callbacks;
    callbacks.UndoRestoreCB = [](int handle, PntHandle&) { return PaintCore.CheckLayerStackHandle(handle); };
    PaintCore.SetCallbacks(callbacks);  // a host that does not open closed documents again
    for (unsigned seed = FirstSeed(); seed < FirstSeed() + 6 && !HasFailure(); ++seed) {
        SCOPED_TRACE("PAINTLAYER_SEED=" + std::to_string(seed));
        BeginWithList(seed);
        for (int i = 0; i < 100; ++i) {
            PaintCore.SuspendUndo(Below(4) == 0);
            RunCommand();
            PaintCore.SuspendUndo(false);
            const int handle = OneOf(documents_);
            if (Below(40) == 0) {
                Note("close " + std::to_string(handle));
                PaintCore.DeleteLayerStack(handle, false);
                if (Flip()) {
                    PaintCore.AddLayerStack(90, 90);
                    PaintCore.AddLayer({});
                }
            } else if (Below(40) == 0) {
                Note("replace " + std::to_string(handle));
                if (const qs::Reference<LayerStack> stack = PaintCore.GetLayerStack(handle))
                    PaintCore.ReplaceLayerStack(new LayerStack(stack), handle);
            }
            PaintCore.SetCurrentLayerStack(documents_.front());
            if (PaintCore.GetCurrentLayerStack() != documents_.front())
                documents_.front() = Open(80, 80);
        }
        qs::vector<std::string> states(listed.size() + 1);
        states.back() = Describe();
        GoBackAndForth(states, false);
    }
}
