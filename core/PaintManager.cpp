#include "core/PaintManager.h"

#include "core/BrushPreview.h"
#include "core/BrushState.h"
#include "core/BrushStroker.h"
#include "core/FillTools.h"
#include "core/Guarded.h"
#include "core/LayerStackRegistry.h"
#include "core/PointerInput.h"
#include "core/PortBindings.h"
#include "core/UndoableCommand.h"
#include "layers/DocumentPort.h"
#include "platform/imaging/ImageCoreCB.h"
#include "platform/imaging/SmoothInterpolate2D.h"
#include "platform/imaging/StampStroke.h"
#include "platform/imaging/TpressureFilter.h"
#include "platform/os/Environment.h"
#include "undo/UndoStore.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>

TpressureFilter* PaintManager::PressFilter = nullptr;
unsigned short PaintManager::minPressure = 0;
unsigned short PaintManager::maxPressure = 0;
const int PaintManager::CheckInterval = 5;
const int PaintManager::MinUpdateInterval = 10;
const int PaintManager::MaxUpdateInterval = 100;
const float PaintManager::MinUpdateIntRadius = 5.0F;
const float PaintManager::MaxUpdateIntRadius = 96.0F;

namespace {

bool isUndoSuspended = false;

/// What the environment said when it was first asked.
bool IsUndoAllowed()
{
    static const bool isAllowed = [] {
        const char* disable = qsOS::GetEnvironment("MIO_UNDO_DISABLE");
        return disable == nullptr || std::strcmp(disable, "1") != 0;
    }();
    return isAllowed;
}

}  // namespace

// After the constants and statics above, which its constructor may use.
PaintManager PaintCore;

PaintManager::PaintManager()
    : registry_(std::make_unique<LayerStackRegistry>()), brush_(std::make_unique<BrushState>(*this)),
      stroker_(std::make_unique<BrushStroker>(*this, *brush_)),
      preview_(std::make_unique<BrushPreview>(*this, *brush_)), pointer_(std::make_unique<PointerInput>()),
      fillTools_(std::make_unique<FillTools>(*this, *stroker_))
{
    if (this == &PaintCore)
        BindPorts();
}

PaintManager::~PaintManager()
{
    // The host may be gone before this: the documents that die now must not reach it.
    callbacks_ = {};
    if (this == &PaintCore)
        UnbindPorts();
}

// --- set-up ---

void PaintManager::SetCallbacks(const PaintCoreCallbacks& callbacks)
{
    callbacks_ = callbacks;
}

void PaintManager::InitPaintManager()
{
    if (initialised_)
        return;
    EnableBrushFeedback(false);
    Attempt([&] {
        // The first stamps make tables and caches that a user's first stroke would wait for.
        const qs::Reference<ilSmartImage> image(new ilSmartImage(ilPixel(kUnsignedByte, 4)));
        const qs::Reference<PaintOps> painter(new PaintOps(image));
        painter->blend_func(kFactorOne, kFactorOneMinusSourceAlpha);
        StampStroke stroke(painter.get(), brush_->GetStamp(), StampStroke::Parms(),
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
    initialised_ = true;
    ImageCoreCB()->Use16BitBrushCB = [] { return PaintCore.Use16BitBrush(); };
}

void PaintManager::preparePaintCore()
{
    for (int i = registry_->FindUsedFrom(0); i >= 0; i = registry_->FindUsedFrom(i + 1))
        Attempt([&] { registry_->Get(i)->CleanStencilImg_spf(); });
}

void PaintManager::debug()
{
    if (!IsDumpWanted())
        return;
    std::printf("========== PaintManager [begin] ==========\n");
    for (int i = registry_->FindUsedFrom(0); i >= 0; i = registry_->FindUsedFrom(i + 1)) {
        std::printf("===== LayerStack [%d] =====\n", i);
        Attempt([&] { registry_->Get(i)->debug(); });
    }
    std::printf("========== PaintManager [end] ===========\n");
}

// --- options ---

void PaintManager::SetColorSwizle(bool on)
{
    brush_->SetColorSwizle(on);
}

bool PaintManager::GetColorSwizle() const
{
    return brush_->GetColorSwizle();
}

void PaintManager::SetScaleFilter(int minify, int magnify)
{
    minifyFilter_ = minify;
    magnifyFilter_ = magnify;
}

void PaintManager::GetScaleFilter(int& minify, int& magnify) const
{
    minify = minifyFilter_;
    magnify = magnifyFilter_;
}

void PaintManager::SetWarpDefaultDisplayColor(const PaintColor& color)
{
    if (!color.IsFinite())
        return;
    warpColor_ = color;
    warpColor_.Clamp();
}

void PaintManager::SetWarpDefaultDisplayOpacity(float opacity)
{
    if (std::isfinite(opacity))
        warpOpacity_ = std::clamp(opacity, 0.0F, 1.0F);
}

// --- undo ---

void PaintManager::SuspendUndo(bool suspend)
{
    isUndoSuspended = suspend;
}

bool PaintManager::UndoEnable()
{
    return IsUndoAllowed() && !isUndoSuspended && logUndo_;
}

qs::Reference<PntUndoLayerStack> PaintManager::AddUndoLayerStack(int handle, bool pushToList)
{
    return Guarded(qs::Reference<PntUndoLayerStack>(), [&] {
        if (const qs::Reference<LayerStack> stack = LayerStackFromHandle(handle))
            stroker_->EndOn(stack.get());
        const qs::Reference<LayerStack> stack = LayerStackFromHandle(handle);
        if (!stack || !UndoEnable())
            return qs::Reference<PntUndoLayerStack>();
        const qs::Reference<PntUndoLayerStack> record(
            new PntUndoLayerStack(this, handle, stack->GetCurrentLayerContainerHandle(), stack,
                                  stack->GetCurrentLayerPtr(), "MioLayerStack"));
        if (registry_->Get(handle) != record->GetNewLayerStack().get())
            return qs::Reference<PntUndoLayerStack>();
        if (pushToList)
            UndoableCommand::Keep(record);
        return record;
    });
}

void PaintManager::UndoListSetDirty()
{
    if (PntUndoDatabase* database = PaintUndoDatabase())
        database->SetDirty();
}

void PaintManager::FlushUndoQueue()
{
    if (PntUndoDatabase* database = PaintUndoDatabase())
        Attempt([&] { database->FlushUndoDatabase(); });
}

// --- pointer input ---

void PaintManager::InitPressureFilter(unsigned short min, unsigned short max)
{
    if (min == minPressure && max == maxPressure)
        return;
    Attempt([&] {
        auto filter = std::make_unique<TpressureFilter>(min, max);
        delete PressFilter;
        PressFilter = filter.release();
        minPressure = min;
        maxPressure = max;
    });
}

float PaintManager::PressureFilter(unsigned int raw)
{
    return PressFilter != nullptr ? PressFilter->getFilteredValue(raw) : 0;
}

void PaintManager::ResetPointSmoother()
{
    Attempt([&] { pointer_->Reset(); });
}

ilXYobj<ilXYstruct<float>, float>* PaintManager::SmoothPoints(const ilXYobj<ilXYstruct<float>, float>& point,
                                                              int& count)
{
    count = 0;
    return Guarded(static_cast<ilXYfloat*>(nullptr), [&] { return pointer_->Smooth(point, count); });
}
