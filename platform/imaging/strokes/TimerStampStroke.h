#pragma once

#include "platform/imaging/strokes/StampStroke.h"

/// A stroke that keeps stamping where the pen rests: whenever a bleed interval passes without a sample, the last one is
/// stamped again. It runs on the timers of ImageCoreCB(); without them it is a StampStroke.
class PAINTLAYER_EXPORT TimerStampStroke : public StampStroke {
public:
    using StampStroke::StampStroke;
    ~TimerStampStroke() override;

    /// At least 1 ms. A timer that is running starts anew.
    void setBleedInterval(unsigned milliseconds);

    /// The first sample starts the timer; finish() stops it.
    void add_point(float x, float y, float size, float opacity, float aspect, float rotation) override;
    void finish() override;

private:
    static void OnTimer(int timerId);
    void StartTimer();
    void StopTimer();

    unsigned intervalMs_ = 50;
    int timerId_ = -1;
    bool hasMoved_ = false;  // since the last tick
};
