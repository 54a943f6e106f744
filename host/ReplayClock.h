#pragma once

#include <paintlayer/platform/imaging/strokes/ImageCoreCB.h>

#include <vector>

/// The host's time while a recording is replayed: it stands at the time of the sample being fed, so that a replay does
/// the same whatever the machine's speed. It runs the timers that the library starts.
class ReplayClock {
public:
    /// Installs the timers in the library's table; there is one clock at a time.
    ReplayClock();
    ~ReplayClock();
    ReplayClock(const ReplayClock&) = delete;
    ReplayClock& operator=(const ReplayClock&) = delete;

    /// Milliseconds since the replay began.
    double GetNow() const { return now_; }

    /// Moves on to `now` and calls the timers that fall due on the way.
    void AdvanceTo(double nowMs);

private:
    struct Timer {
        int id;
        double interval;
        double due;
        ImageCoreCallbacks::TimerFunction function;
    };
    static int StartTimer(int milliseconds, ImageCoreCallbacks::TimerFunction function, int argument);
    static void StopTimer(int id);

    std::vector<Timer> timers_;
    double now_ = 0;
    int lastId_ = 0;
};
