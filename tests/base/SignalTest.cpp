#include "platform/base/Signal.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using qsRTB::Connection;
using qsRTB::Signal;

/// Slots that write their letter, so that a test reads as the order of calls.
class SignalSlots : public testing::Test {
protected:
    Connection Connect(char letter)
    {
        return signal_->Connect([this, letter](int) { log_ += letter; });
    }

    Connection Connect(char letter, const std::function<void()>& also)
    {
        return signal_->Connect([this, letter, also](int) {
            log_ += letter;
            also();
            log_ += '.';
        });
    }

    std::string EmitAndTakeLog()
    {
        signal_->Emit(0);
        return std::exchange(log_, "");
    }

    std::unique_ptr<Signal<int>> signal_ = std::make_unique<Signal<int>>();
    std::string log_;
};

TEST_F(SignalSlots, AreCalledInTheOrderOfConnectingAndNotWhenBlockedOrDisconnected)
{
    EXPECT_EQ(EmitAndTakeLog(), "");
    Connect('a');
    Connection b = Connect('b');
    Connection c = Connect('c');
    EXPECT_EQ(EmitAndTakeLog(), "abc");
    b.SetBlocked(true);
    EXPECT_EQ(EmitAndTakeLog(), "ac");
    EXPECT_EQ(signal_->GetNumConnections(), 3);
    b.SetBlocked(false);
    c.Disconnect();
    c.Disconnect();
    Connect('d');
    EXPECT_EQ(EmitAndTakeLog(), "abd");
    EXPECT_EQ(signal_->GetNumConnections(), 3);
    EXPECT_FALSE(c.IsConnected());
}

TEST_F(SignalSlots, MayDisconnectThemselvesAndEachOther)
{
    Connection a, b, c;
    a = Connect('a');
    b = Connect('b', [&] {
        a.Disconnect();
        b.Disconnect();
        c.Disconnect();
    });
    c = Connect('c');
    Connect('d');
    EXPECT_EQ(EmitAndTakeLog(), "ab.d");
    EXPECT_EQ(signal_->GetNumConnections(), 1);
    EXPECT_EQ(EmitAndTakeLog(), "d");
}

TEST_F(SignalSlots, ConnectedDuringAnEmissionWaitForTheNext)
{
    Connect('a', [this] {
        for (int i = 0; i < 50; ++i)  // enough to move the array of connections
            Connect('n');
    });
    Connect('b');
    EXPECT_EQ(EmitAndTakeLog(), "a.b");
    EXPECT_EQ(EmitAndTakeLog(), "a.b" + std::string(50, 'n'));
}

TEST_F(SignalSlots, MayBlockALaterSlotOfTheSameEmission)
{
    Connection b;
    Connect('a', [&] { b.SetBlocked(true); });
    b = Connect('b');
    EXPECT_EQ(EmitAndTakeLog(), "a.");
}

TEST_F(SignalSlots, MayEmitAgainAndDisconnectInsideTheInnerEmission)
{
    int depth = 0;
    Connection a, b;
    a = Connect('a', [&] {
        if (++depth < 3)
            signal_->Emit(0);
        else
            a.Disconnect();
    });
    b = Connect('b');
    EXPECT_EQ(EmitAndTakeLog(), "aaa.b.b.b");
    EXPECT_EQ(EmitAndTakeLog(), "b");
}

TEST_F(SignalSlots, MayDestroyTheSignalAtAnyDepth)
{
    Connection a, b;
    int depth = 0;
    a = Connect('a', [&] {
        if (++depth < 3)
            signal_->Emit(0);
        else
            signal_.reset();
    });
    b = Connect('b');
    signal_->Emit(0);
    EXPECT_EQ(log_, "aaa...");
    EXPECT_FALSE(a.IsConnected());
    EXPECT_FALSE(b.IsConnected());
    b.SetBlocked(true);
    a.Disconnect();
}

TEST_F(SignalSlots, ThatThrowAreUnlockedAndLeaveTheSignalUsable)
{
    Connection a = Connect('a', [&] {
        a.Disconnect();
        throw std::runtime_error("refused");
    });
    Connect('b');
    EXPECT_THROW(signal_->Emit(0), std::runtime_error);
    EXPECT_EQ(log_, "a");
    EXPECT_EQ(signal_->GetNumConnections(), 1);
    log_.clear();
    EXPECT_EQ(EmitAndTakeLog(), "b");
}

TEST(Signal, ADisconnectedSlotIsDestroyedAtOnceButNotWhileItRuns)
{
    const auto token = std::make_shared<int>(0);
    Signal<> signal;
    Connection idle = signal.Connect([token] {});
    EXPECT_EQ(token.use_count(), 2);
    idle.Disconnect();
    EXPECT_EQ(token.use_count(), 1);

    long countWhileRunning = 0;
    Connection running;
    running = signal.Connect([&running, &countWhileRunning, token] {
        running.Disconnect();
        countWhileRunning = token.use_count();
    });
    signal.Emit();
    EXPECT_EQ(countWhileRunning, 2);
    EXPECT_EQ(token.use_count(), 1);
}

TEST(Signal, ASlotThatOwnsItsConnectionOrItsSignalIsReleased)
{
    const auto signal = std::make_shared<Signal<>>();
    const std::weak_ptr<Signal<>> watched = signal;
    {
        const auto own = std::make_shared<Connection>();
        *own = signal->Connect([own, signal] { own->Disconnect(); });
    }
    signal->Emit();
    EXPECT_EQ(signal->GetNumConnections(), 0);
    EXPECT_EQ(watched.use_count(), 1);

    auto own = std::make_shared<Connection>();
    *own = signal->Connect([own] {});
    Connection* const heldBySlotOnly = own.get();
    own.reset();
    heldBySlotOnly->Disconnect();
    EXPECT_EQ(signal->GetNumConnections(), 0);
}

TEST(Signal, TheEndOfASignalDisconnectsEverySlot)
{
    auto signal = std::make_unique<Signal<>>();
    std::vector<Connection> connections;
    connections.reserve(9);
    for (int i = 0; i < 9; ++i)
        connections.push_back(signal->Connect([] {}));
    signal.reset();
    for (Connection& connection : connections) {
        EXPECT_FALSE(connection.IsConnected());
        connection.Disconnect();
    }
}

TEST(Signal, ASlotWhoseDestructionConnectsToTheDyingSignalLeavesNothingConnected)
{
    auto signal = std::make_unique<Signal<>>();
    Connection late;
    struct AtEnd {
        explicit AtEnd(std::function<void()> action_) : action(std::move(action_)) {}
        ~AtEnd() { action(); }
        std::function<void()> action;
    };
    Signal<>* const dying = signal.get();
    const auto connectAgain = [&late, dying] { late = dying->Connect([] {}); };
    signal->Connect([end = std::make_shared<AtEnd>(connectAgain)] {});
    signal.reset();
    EXPECT_FALSE(late.IsConnected());
}

struct Payload {
    Payload() = default;
    Payload(const Payload& other) : copies(other.copies) { ++*copies; }
    Payload& operator=(const Payload&) = delete;
    std::shared_ptr<int> copies = std::make_shared<int>(0);
};

TEST(Signal, CarriesReferencesThroughAndCopiesNoValueThatNoSlotCopies)
{
    Signal<bool&, Payload> signal;
    signal.Connect([](bool& answer, const Payload&) { answer = true; });
    signal.Connect([](bool&, const Payload&) {});
    bool answer = false;
    const Payload payload;
    signal.Emit(answer, payload);
    EXPECT_TRUE(answer);
    EXPECT_EQ(*payload.copies, 0);
    // NOLINTNEXTLINE(performance-unnecessary-value-param): this slot is the one that copies
    signal.Connect([](bool&, Payload) {});
    signal.Emit(answer, payload);
    EXPECT_GT(*payload.copies, 0);
}

TEST(Signal, AnEmptySlotIsNotConnected)
{
    Signal<int> signal;
    EXPECT_FALSE(signal.Connect(nullptr).IsConnected());
    EXPECT_EQ(signal.GetNumConnections(), 0);
}

}  // namespace
