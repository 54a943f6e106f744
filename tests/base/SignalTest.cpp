#include "platform/base/Signal.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>

namespace {

using qsRTB::Connection;
using qsRTB::Signal;

/// A signal whose slots are letters with scripts, such as "b-a!c". A slot logs its letter, does its script and logs a
/// dot when it had one. In scripts, +x connects x, -x disconnects it, !x blocks it and ?x no more, * emits, ~ destroys
/// the signal, # throws, and ^ emits again instead of the rest until three emissions are under way.
class ScriptedSignal {
public:
    void Connect(const std::string& slot)
    {
        connections_[slot[0]] = signal->Connect([this, slot](int) {
            log += slot[0];
            Do(slot.substr(1));
            log += slot.size() > 1 ? "." : "";
        });
    }
    void Do(const std::string& script)
    {
        for (size_t i = 0; i < script.size(); ++i)
            switch (script[i]) {
            case '+': Connect(script.substr(++i, 1)); break;
            case '-': connections_[script[++i]].Disconnect(); break;
            case '!': connections_[script[++i]].SetBlocked(true); break;
            case '?': connections_[script[++i]].SetBlocked(false); break;
            case '~': signal.reset(); break;
            case '#': throw std::runtime_error("refused");
            case '*': signal->Emit(0); break;
            default:
                if (++depth_ < 3)
                    return signal->Emit(0);
            }
    }

    std::unique_ptr<Signal<int>> signal = std::make_unique<Signal<int>>();
    std::string log;

private:
    std::map<char, Connection> connections_;
    int depth_ = 0;
};

TEST(Signal, SlotsMayDoAnythingToTheirSignalWhileItIsEmitted)
{
    const struct {
        const char *slots, *steps, *log;
        int left;
    } cases[] = {
        {"a b c", "* !b* ?b-c-c+d*", "abc|ac|abd|", 3},
        {"a b-a-b-c c d", "* *", "ab.d|d|", 1},
        {"a+n+n+n+n+n+n+n+n b", "* *", "a.b|a.bnnnnnnnn|", 18},  // enough to move the array; they wait for the next
        {"a!b b", "*", "a.|", 2},
        {"a^-a b", "* *", "aaa.b.b.b|b|", 1},
        {"a-a# b", "* *", "athrown|b|", 1},
        {"a^~ b", "* !b-a", "aaa...||", 0},
        {"a b c d", "* ~", "abcd||", 0},
    };
    for (const auto& [slots, steps, log, left] : cases) {
        SCOPED_TRACE(slots);
        ScriptedSignal scripted;
        std::istringstream slotWords(slots), stepWords(steps);
        std::string word;
        while (slotWords >> word)
            scripted.Connect(word);
        while (stepWords >> word) {
            try {
                scripted.Do(word);
            } catch (const std::runtime_error&) {
                scripted.log += "thrown";
            }
            scripted.log += '|';
        }
        EXPECT_EQ(scripted.log, log);
        EXPECT_EQ(scripted.signal ? scripted.signal->GetNumConnections() : 0, left);
    }
}

TEST(Signal, ADisconnectedSlotIsDestroyedAtOnceButNotWhileItRuns)
{
    const auto token = std::make_shared<int>(0);
    Signal<> signal;
    Connection idle = signal.Connect([token] {});
    EXPECT_TRUE(idle.IsConnected());
    idle.Disconnect();
    EXPECT_FALSE(idle.IsConnected());
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
    {
        const auto own = std::make_shared<Connection>();
        *own = signal->Connect([own, signal] { own->Disconnect(); });
    }
    signal->Emit();
    EXPECT_EQ(signal->GetNumConnections(), 0);
    EXPECT_EQ(signal.use_count(), 1);

    auto own = std::make_shared<Connection>();
    *own = signal->Connect([own] {});
    Connection* const heldBySlotOnly = own.get();
    own.reset();
    heldBySlotOnly->Disconnect();
    EXPECT_EQ(signal->GetNumConnections(), 0);
}

TEST(Signal, ASlotWhoseDestructionConnectsToTheDyingSignalLeavesNothingConnected)
{
    auto signal = std::make_unique<Signal<>>();
    Connection late;
    std::shared_ptr<void> atEnd(nullptr, [&late, dying = signal.get()](void*) { late = dying->Connect([] {}); });
    signal->Connect([end = std::move(atEnd)] {});
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
    EXPECT_FALSE(signal.Connect(nullptr).IsConnected());
    signal.Connect([](bool& answer, const Payload&) { answer = true; });
    signal.Connect([](bool&, const Payload&) {});
    EXPECT_EQ(signal.GetNumConnections(), 2);
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

}  // namespace
