#include "platform/imaging/strokes/TimerStampStroke.h"

#include "platform/imaging/strokes/ImageCoreCB.h"
#include "tests/strokes/StrokeRecorder.h"

#include <gtest/gtest.h>

namespace {

/// Timers that run when the test says so.
struct FakeTimers {
    struct Timer {
        int milliseconds;
        ImageCoreCallbacks::TimerFunction function;
    };

    FakeTimers() : saved(*ImageCoreCB())
    {
        running().clear();
        ImageCoreCB()->StartTimerCB = [](int milliseconds, ImageCoreCallbacks::TimerFunction function, int) {
            static int lastId = 0;
            running()[++lastId] = {milliseconds, function};
            return lastId;
        };
        ImageCoreCB()->StopTimerCB = [](int id) { running().erase(id); };
    }
    ~FakeTimers() { *ImageCoreCB() = saved; }

    static qs::map<int, Timer>& running()
    {
        static qs::map<int, Timer> timers;
        return timers;
    }

    static void Tick()
    {
        const auto now = running();
        for (const auto& [id, timer] : now)
            timer.function(id);
    }

    ImageCoreCallbacks saved;
};

size_t NumLaid()
{
    return StrokeRecorder::laid().size();
}

TEST(TimerStampStroke, StampsAgainOnlyWhereThePenRests)
{
    const FakeTimers timers;
    const StrokeRecorder recorder;
    const auto stroke = recorder.MakeStroke<TimerStampStroke>({}, StrokeRecorder::Smooth());
    stroke->setBleedInterval(70);
    EXPECT_TRUE(FakeTimers::running().empty());
    stroke->add_point(100, 100, 4, 0.5F, 1, 0);
    stroke->update();
    ASSERT_EQ(FakeTimers::running().size(), 1U);
    EXPECT_EQ(FakeTimers::running().begin()->second.milliseconds, 70);
    EXPECT_EQ(NumLaid(), 1U);
    FakeTimers::Tick();  // the sample came within this interval
    EXPECT_EQ(NumLaid(), 1U);
    FakeTimers::Tick();
    FakeTimers::Tick();
    ASSERT_EQ(NumLaid(), 3U);
    EXPECT_EQ(StrokeRecorder::laid()[2], (StrokeRecorder::Laid{100, 100, 4, 0.5F}));

    stroke->add_point(110, 100, 4, 0.5F, 1, 0);
    FakeTimers::Tick();
    EXPECT_EQ(NumLaid(), 3U);
    FakeTimers::Tick();
    ASSERT_EQ(NumLaid(), 4U);
    EXPECT_EQ(StrokeRecorder::laid().back().x, 110);

    stroke->finish();
    EXPECT_TRUE(FakeTimers::running().empty());
    EXPECT_EQ(NumLaid(), 14U);
}

TEST(TimerStampStroke, ATimerThatOutlivesItsStrokeDoesNothing)
{
    const FakeTimers timers;
    const StrokeRecorder recorder;
    auto stroke = recorder.MakeStroke<TimerStampStroke>({});
    auto other = recorder.MakeStroke<TimerStampStroke>({});
    stroke->add_point(100, 100, 4, 1, 1, 0);
    other->add_point(300, 100, 4, 1, 1, 0);
    FakeTimers::Tick();
    const auto before = FakeTimers::running();
    ASSERT_EQ(before.size(), 2U);
    stroke.reset();
    EXPECT_EQ(FakeTimers::running().size(), 1U);
    for (const auto& [id, timer] : before)
        timer.function(id);
    ASSERT_EQ(NumLaid(), 1U);
    EXPECT_EQ(StrokeRecorder::laid()[0].x, 300);
}

TEST(TimerStampStroke, ANewIntervalRestartsTheTimerAndWithoutTimersTheStrokeStillPaints)
{
    const StrokeRecorder recorder;
    {
        const FakeTimers timers;
        const auto stroke = recorder.MakeStroke<TimerStampStroke>({});
        stroke->add_point(100, 100, 4, 1, 1, 0);
        stroke->setBleedInterval(0);
        ASSERT_EQ(FakeTimers::running().size(), 1U);
        EXPECT_EQ(FakeTimers::running().begin()->second.milliseconds, 1);
    }
    const auto stroke = recorder.MakeStroke<TimerStampStroke>({});
    stroke->add_point(100, 100, 4, 1, 1, 0);
    stroke->add_point(110, 100, 4, 1, 1, 0);
    stroke->finish();
    EXPECT_EQ(NumLaid(), 11U);
}

}  // namespace
