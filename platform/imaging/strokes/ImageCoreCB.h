#pragma once

#include "platform/base/Export.h"

#include <cstdint>

class gk_spline;

/// What the imaging core asks of its surroundings. Entries that are null are skipped; a query then reads as false.
/// Entry numbers are counted from 1 in this order.
struct ImageCoreCallbacks {
    using TimerFunction = void (*)(int timerId);

    /// 1: starts a timer that calls `function` with its id every `milliseconds` until stopped; returns the id, or -1.
    int (*StartTimerCB)(int milliseconds, TimerFunction function, int argument) = nullptr;
    /// 2: stops a timer; an unknown id is ignored.
    void (*StopTimerCB)(int timerId) = nullptr;
    /// 3: whether brushes paint with 16 bits now. Installed by the paint manager.
    bool (*Use16BitBrushCB)() = nullptr;
    void* reserved[6] = {};  // 4 to 9
    /// 10: takes a guide spline back from a stroke that has made its own copies.
    void (*ReleaseSplineCB)(gk_spline* spline) = nullptr;
};

/// The process's table, for reading and filling.
PAINTLAYER_EXPORT ImageCoreCallbacks* ImageCoreCB();

/// Gives unused page memory back to the system.
PAINTLAYER_EXPORT void ShrinkSwapFiles();
