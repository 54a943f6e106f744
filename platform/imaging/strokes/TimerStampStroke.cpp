#include "platform/imaging/strokes/TimerStampStroke.h"

#include "platform/base/Containers.h"
#include "platform/imaging/strokes/ImageCoreCB.h"

#include <algorithm>
#include <climits>
#include <new>

namespace {

constexpr int kNoTimer = -1;

/// The strokes whose timers run, by timer: a timer function is told nothing but its id.
qs::map<int, TimerStampStroke*>& LiveStrokes()
{
    static qs::map<int, TimerStampStroke*> strokes;
    return strokes;
}

}  // namespace

TimerStampStroke::~TimerStampStroke()
{
    StopTimer();
}

void TimerStampStroke::setBleedInterval(unsigned milliseconds)
{
    intervalMs_ = std::clamp(milliseconds, 1U, static_cast<unsigned>(INT_MAX));
    if (timerId_ != kNoTimer) {
        StopTimer();
        StartTimer();
    }
}

void TimerStampStroke::add_point(float x, float y, float size, float opacity, float aspect, float rotation)
{
    StampStroke::add_point(x, y, size, opacity, aspect, rotation);
    if (!HasSample())
        return;
    hasMoved_ = true;
    if (timerId_ == kNoTimer)
        StartTimer();
}

void TimerStampStroke::finish()
{
    StopTimer();
    StampStroke::finish();
}

void TimerStampStroke::StartTimer()
{
    const ImageCoreCallbacks& callbacks = *ImageCoreCB();
    if (callbacks.StartTimerCB == nullptr)
        return;
    const int id = callbacks.StartTimerCB(static_cast<int>(intervalMs_), &TimerStampStroke::OnTimer, 0);
    if (id == kNoTimer)
        return;
    timerId_ = id;
    LiveStrokes()[id] = this;
}

void TimerStampStroke::StopTimer()
{
    if (timerId_ == kNoTimer)
        return;
    LiveStrokes().erase(timerId_);
    if (ImageCoreCB()->StopTimerCB != nullptr)
        ImageCoreCB()->StopTimerCB(timerId_);
    timerId_ = kNoTimer;
}

void TimerStampStroke::OnTimer(int timerId)
{
    const auto found = LiveStrokes().find(timerId);
    if (found == LiveStrokes().end())
        return;
    TimerStampStroke& stroke = *found->second;
    if (stroke.hasMoved_) {
        stroke.hasMoved_ = false;
        return;
    }
    try {
        stroke.StampAtLastSample();
    } catch (const std::bad_alloc&) {
        // The caller is the host's timer, which knows of no exceptions; a stamp less is all that is lost.
    }
}
