#pragma once

/// The process's timer that tells the host when painting has settled: 3030 ms after the last stroke. It runs on the
/// timers of ImageCoreCB(); without them nothing is told.
namespace SettledTimer {

/// Starts anew.
void Start();

/// Whether it was running.
bool Stop();

}  // namespace SettledTimer
