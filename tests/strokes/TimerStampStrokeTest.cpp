#include "platform/imaging/strokes/TimerStampStroke.h"

#include "platform/imaging/strokes/ImageCoreCB.h"
#include "tests/strokes/StrokeRecorder.h"

#include <gtest/gtest.h>

namespace {

/// Timers, by their milliseconds, that run when the test says so.
class TimerStampStrokes : public testing::Test {
protected:
    TimerStampStrokes()
    {
        running.clear();
        ImageCoreCB()->StartTimerCB = [](int milliseconds, ImageCoreCallbacks::TimerFunction timer, int) {
            function = timer;
            running[++lastId] = milliseconds;
            return lastId;
        };
        ImageCoreCB()->StopTimerCB = [](int id) { running.erase(id); };
    }
    ~TimerStampStrokes() override { *ImageCoreCB() = saved; }

    std::unique_ptr<TimerStampStroke> MakeStroke(float x)
    {
        auto stroke = recorder.MakeStroke<TimerStampStroke>({}, StrokeRecorder::Smooth());
        stroke->add_point(x, 100, 4, 0.5F, 1, 0);
        return stroke;
    }
    /// Runs those that run now, and gives the number of stamps laid since.
    static size_t Tick(const qs::map<int, int>& timers = running)
    {
        const size_t before = StrokeRecorder::laid().size();
        for (const auto& [id, milliseconds] : qs::map<int, int>(timers))
            function(id);
        return StrokeRecorder::laid().size() - before;
    }

    static inline qs::map<int, int> running;
    static inline ImageCoreCallbacks::TimerFunction function = nullptr;
    static inline int lastId = 0;
    const ImageCoreCallbacks saved = *ImageCoreCB();
    const StrokeRecorder recorder;
};

TEST_F(TimerStampStrokes, StampAgainOnlyWhereThePenRests)
{
    const auto stroke = MakeStroke(100);
    stroke->update();
    ASSERT_EQ(running.size(), 1U);
    for (const auto& [set, expected] : {std::pair(0U, 1), {70U, 70}}) {
        stroke->setBleedInterval(set);  // restarts the timer
        EXPECT_TRUE(running.size() == 1 && running.begin()->second == expected);
    }
    EXPECT_EQ(Tick(), 0U);  // the sample came within this interval
    EXPECT_EQ(Tick() + Tick(), 2U);
    EXPECT_EQ(StrokeRecorder::laid().back(), (StrokeRecorder::Laid{100, 100, 4, 0.5F}));
    stroke->add_point(110, 100, 4, 0.5F, 1, 0);
    EXPECT_EQ(Tick(), 0U);
    EXPECT_EQ(Tick(), 1U);
    EXPECT_EQ(StrokeRecorder::laid().back().x, 110);
    stroke->finish();
    EXPECT_TRUE(running.empty());
    EXPECT_EQ(StrokeRecorder::laid().size(), 14U);
}

TEST_F(TimerStampStrokes, ThrowTheirRestingStampsAlikeEachTime)
{
    StampStroke::Parms parms;
    parms.scatter = 3;
    const auto stroke = recorder.MakeStroke<TimerStampStroke>(parms);
    qs::vector<StrokeRecorder::Laid> runs[2];
    for (auto& run : runs) {
        stroke->add_point(100, 100, 4, 1, 1, 0);
        stroke->add_point(110, 100, 4, 1, 1, 0);
        stroke->update();
        EXPECT_EQ(Tick() + Tick() + Tick(), 2U);
        stroke->finish();
        run = std::exchange(StrokeRecorder::laid(), {});
    }
    EXPECT_EQ(runs[0], runs[1]);
}

TEST_F(TimerStampStrokes, ThatAreGoneAreNotCalledAndWithoutTimersTheyStillPaint)
{
    auto stroke = MakeStroke(100), other = MakeStroke(300);
    Tick();
    const auto before = running;
    stroke.reset();
    EXPECT_EQ(running.size(), 1U);
    EXPECT_EQ(Tick(before), 1U);
    EXPECT_EQ(StrokeRecorder::laid().back().x, 300);
    ImageCoreCB()->StartTimerCB = nullptr;
    StrokeRecorder::laid().clear();
    const auto untimed = MakeStroke(100);
    untimed->add_point(110, 100, 4, 1, 1, 0);
    untimed->finish();
    EXPECT_EQ(StrokeRecorder::laid().size(), 11U);
}

}  // namespace
