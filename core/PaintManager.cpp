#include "core/PaintManager.h"

#include "core/PaintSession.h"
#include "core/PortBindings.h"
#include "layers/DocumentPort.h"
#include "platform/base/Attempt.h"
#include "platform/imaging/strokes/ImageCoreCB.h"
#include "platform/imaging/strokes/SmoothInterpolate2D.h"
#include "platform/imaging/strokes/StampStroke.h"

#include <cstdio>
#include <memory>

TpressureFilter* PaintManager::PressFilter = nullptr;
unsigned short PaintManager::minPressure = 0;
unsigned short PaintManager::maxPressure = 0;
const int PaintManager::CheckInterval = 5;
const int PaintManager::MinUpdateInterval = 10;
const int PaintManager::MaxUpdateInterval = 100;
const float PaintManager::MinUpdateIntRadius = 5.0F;
const float PaintManager::MaxUpdateIntRadius = 96.0F;

// After the constants and statics above, which its constructor may use.
PaintManager PaintCore;

PaintManager::PaintManager() : session_(std::make_unique<PaintSession>(*this))
{
    if (this == &PaintCore)
        BindPorts();
}

PaintManager::~PaintManager()
{
    // The host may be gone before this: the documents that die now must not reach it.
    session_->callbacks = {};
    if (this == &PaintCore)
        UnbindPorts();
}

// --- set-up ---

void PaintManager::SetCallbacks(const PaintCoreCallbacks& callbacks)
{
    session_->callbacks = callbacks;
}

const PaintCoreCallbacks* PaintManager::CB() const
{
    return &session_->callbacks;
}

void PaintManager::InitPaintManager()
{
    if (session_->isInitialised)
        return;
    EnableBrushFeedback(false);
    Attempt([&] {
        // The first stamps make tables and caches that a user's first stroke would wait for.
        const qs::Reference<ilSmartImage> image(new ilSmartImage(ilPixel(kUnsignedByte, 4)));
        const qs::Reference<PaintOps> painter(new PaintOps(image));
        painter->blend_func(kFactorOne, kFactorOneMinusSourceAlpha);
        StampStroke stroke(painter.get(), session_->brush.GetStamp(), StampStroke::Parms(),
                           std::make_unique<SmoothInterpolate2D>(0.9, 0.921, 6));
        constexpr float kTaps[3][3] = {{5, 5, 2}, {10, 20, 5}, {15, 15, 3}};  // x, y, radius
        for (const auto& tap : kTaps) {
            stroke.add_point(tap[0], tap[1], tap[2], 1, 1, 0);
            stroke.update();
            stroke.finish();
        }
        painter->blend_func(kFactorOne, kFactorZero);
    });
    InteractivePanZoom(false);
    SetScaleFilter(1, 1);
    session_->isInitialised = true;
    ImageCoreCB()->Use16BitBrushCB = [] { return PaintCore.Use16BitBrush(); };
}

void PaintManager::preparePaintCore()
{
    for (int i = session_->registry.FindUsedFrom(0); i >= 0; i = session_->registry.FindUsedFrom(i + 1))
        Attempt([&] { session_->registry.Get(i)->CleanStencilImg_spf(); });
}

void PaintManager::debug()
{
    if (!IsDumpWanted())
        return;
    std::printf("========== PaintManager [begin] ==========\n");
    for (int i = session_->registry.FindUsedFrom(0); i >= 0; i = session_->registry.FindUsedFrom(i + 1)) {
        std::printf("===== LayerStack [%d] =====\n", i);
        Attempt([&] { session_->registry.Get(i)->debug(); });
    }
    std::printf("========== PaintManager [end] ===========\n");
}
