#include "ReplayView.h"

#include <paintlayer/core/PaintManager.h>

void ReplayView::UpdateView(qs::TempReference<ilSPMemoryImg> imagePlane)
{
    plane_ = std::move(imagePlane);
    lastUpdate_ = clock_.GetNow();
    ilTile tile;
    while (GetNextUpdateTile(tile)) {
        ++tiles_;
        pixels_ += static_cast<uint64_t>(tile.Area());
    }
}

void ReplayView::BeginTimerBasedUpdate(int intervalMs)
{
    intervalMs_ = intervalMs;
    lastUpdate_ = clock_.GetNow();
}

void ReplayView::CheckTimerBasedUpdate()
{
    if (intervalMs_ > 0 && clock_.GetNow() - lastUpdate_ >= intervalMs_)
        PaintCore.ForceUpdate();
}
