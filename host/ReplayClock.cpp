#include "ReplayClock.h"

#include <algorithm>

namespace {
ReplayClock* theClock = nullptr;
}

ReplayClock::ReplayClock()
{
    theClock = this;
    ImageCoreCB()->StartTimerCB = &StartTimer;
    ImageCoreCB()->StopTimerCB = &StopTimer;
}

ReplayClock::~ReplayClock()
{
    ImageCoreCB()->StartTimerCB = nullptr;
    ImageCoreCB()->StopTimerCB = nullptr;
    theClock = nullptr;
}

int ReplayClock::StartTimer(int milliseconds, ImageCoreCallbacks::TimerFunction function, int)
{
    ReplayClock& clock = *theClock;
    const double interval = std::max(milliseconds, 1);
    clock.timers_.push_back({++clock.lastId_, interval, clock.now_ + interval, function});
    return clock.lastId_;
}

void ReplayClock::StopTimer(int id)
{
    std::erase_if(theClock->timers_, [id](const Timer& timer) { return timer.id == id; });
}

void ReplayClock::AdvanceTo(double nowMs)
{
    for (;;) {
        const auto next = std::min_element(timers_.begin(), timers_.end(),
                                           [](const Timer& a, const Timer& b) { return a.due < b.due; });
        if (next == timers_.end() || next->due > nowMs)
            break;
        now_ = std::max(now_, next->due);
        next->due += next->interval;
        const Timer fired = *next;  // the call may stop it
        fired.function(fired.id);
    }
    now_ = std::max(now_, nowMs);
}
