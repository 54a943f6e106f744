#pragma once

#include "ReplayClock.h"
#include <paintlayer/stack/LayerStackView.h>

#include <cstdint>

/// A view without a window: takes the image plane, counts what it is told to show, and asks for an update when the
/// interval of a stroke's timed update has passed.
class ReplayView : public LayerStackView {
public:
    explicit ReplayView(const ReplayClock& clock) : clock_(clock) {}

    void UpdateView(qs::TempReference<ilSPMemoryImg> imagePlane) override;
    void BeginTimerBasedUpdate(int intervalMs) override;
    void EndTimerBasedUpdate() override { intervalMs_ = 0; }
    void CheckTimerBasedUpdate() override;

    /// What was shown last; null before the first update.
    const qs::TempReference<ilSPMemoryImg>& GetImagePlane() const { return plane_; }

    uint64_t GetTileCount() const { return tiles_; }
    uint64_t GetUpdatedPixels() const { return pixels_; }

private:
    const ReplayClock& clock_;
    qs::TempReference<ilSPMemoryImg> plane_;
    uint64_t tiles_ = 0;
    uint64_t pixels_ = 0;
    int intervalMs_ = 0;  // 0 while no stroke runs
    double lastUpdate_ = 0;
};
