#include "core/brush/SettledTimer.h"

#include "core/HostCalls.h"
#include "core/PaintManager.h"
#include "platform/imaging/strokes/ImageCoreCB.h"

#include <utility>

namespace {

constexpr int kSettledMs = 3030;
constexpr int kNoTimer = -1;

int runningTimer = kNoTimer;

void OnSettled(int timerId)
{
    if (timerId != runningTimer)
        return;
    SettledTimer::Stop();
    CallHost(PaintCore.CB()->StrokeSettledCB);
    CallHost(PaintCore.CB()->LayerImageChangedCB, PaintCore.GetCurrentLayerContainerHandle());
}

}  // namespace

void SettledTimer::Start()
{
    Stop();
    if (ImageCoreCB()->StartTimerCB != nullptr)
        runningTimer = ImageCoreCB()->StartTimerCB(kSettledMs, OnSettled, 0);
}

bool SettledTimer::Stop()
{
    if (runningTimer == kNoTimer)
        return false;
    CallHost(ImageCoreCB()->StopTimerCB, std::exchange(runningTimer, kNoTimer));
    return true;
}
