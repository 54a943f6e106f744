#include "core/brush/BrushStroker.h"

#include "core/FlagScope.h"
#include "core/HostCalls.h"
#include "core/PaintSession.h"
#include "core/brush/BrushStampKinds.h"
#include "core/brush/BrushState.h"
#include "core/brush/BrushStrokeMaker.h"
#include "core/brush/SettledTimer.h"
#include "core/brush/StrokeSampleRules.h"
#include "core/commands/UndoableCommand.h"
#include "platform/base/Attempt.h"
#include "platform/imaging/strokes/ImageCoreCB.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

constexpr int kTraceDebugLevel = 8001;
constexpr uint32_t kTraceColor = 0xFF0000FF;

/// The damage at which the canvas is brought up to date without waiting for the views, in pixels a side.
int UpdateThreshold(float size)
{
    const int grown = static_cast<int>(128 + 384 * std::clamp(size / 256, 0.0F, 1.0F));
    return std::max(grown, 4 * static_cast<int>(size));
}

}  // namespace

/// Everything that a stroke uses, kept alive until the outermost call on it returns.
struct BrushStroker::OpenStroke : qs::ReferenceCount {
    OpenStroke(int handle, LayerStack* stackArgument, Layer* layerArgument)
        : stackHandle(handle), stack(stackArgument), layer(layerArgument),
          layerHandle(layerArgument->GetLayerContainerHandle())
    {}

    int stackHandle;
    qs::Reference<LayerStack> stack;
    qs::Reference<Layer> layer;
    PntHandle layerHandle;
    qs::Reference<PaintOps> painter;
    std::unique_ptr<Stroke> path;
    qs::Reference<PntUndoStroke> undo;
    uint64_t stampsBefore = 0;
    uint64_t pixelsBefore = 0;
    bool paintsStencil = false;  // what is painted hides parts of other layers
    bool isEnding = false;
    bool wasSettling = false;  // the host was still to hear of the stroke before
    bool hasTimedUpdates = false;  // the views' timers were started and not stopped yet
    bool isGone = false;  // the document was closed meanwhile: its views are not to be called any more

    bool IsLayerCurrent() const { return stack->GetCurrentLayerPtr() == layer.get(); }

    void EndTimedUpdates()
    {
        if (std::exchange(hasTimedUpdates, false))
            Attempt([&] { stack->EndTimerBasedUpdate(); });
    }
};

BrushStroker::BrushStroker(PaintSession& session) : session_(session), brush_(session.brush) {}

BrushStroker::~BrushStroker() = default;

// --- pen down ---

void BrushStroker::Begin(bool noTimerUpdate)
{
    const qs::Reference<LayerStack> stack = session_.registry.GetCurrent();
    if (!stack || open_ || isBeginning_)
        return;
    const FlagScope beginning(isBeginning_);
    if (stack->GetCurrentLayerPtr() == nullptr || !stack->IsShown(*stack->GetCurrentLayerPtr()))
        return;
    stack->EndProxy();
    if (stack->GetCurrentLayerPtr() == nullptr || !brush_.HasStampSource())
        return;

    const qs::Reference<OpenStroke> stroke(
        new OpenStroke(session_.registry.GetCurrentHandle(), stack.get(), stack->GetCurrentLayerPtr()));
    session_.preview.Clear();
    if (session_.options.isBrushFeedbackEnabled)
        CallHost(session_.callbacks.BrushFeedbackBeginCB);
    stroke->wasSettling = SettledTimer::Stop();
    lastTrace_.reset();
    untilCheck_ = PaintManager::CheckInterval;
    const auto setUp = [&] {
        if (!IsStillThere(*stroke) || !SetUpPainter(*stroke))
            return false;
        StartUpdates(*stroke, noTimerUpdate);
        return true;
    };
    if (!Guarded(false, setUp) || !IsStillThere(*stroke)) {
        Cancel(*stroke);
        return;
    }
    open_ = stroke;
}

bool BrushStroker::IsStillThere(const OpenStroke& stroke) const
{
    return session_.registry.Get(stroke.stackHandle) == stroke.stack && stroke.IsLayerCurrent();
}

bool BrushStroker::SetUpPainter(OpenStroke& stroke)
{
    stroke.painter = stroke.stack->GetCurrentLayerPainter();
    brush_.UpdateUse16Bit();
    if (!stroke.painter)
        return false;
    PaintOps& painter = *stroke.painter;
    painter.set_stamp({});
    painter.set_stamp(brush_.GetStamp());
    // A layer's painter may be newer than the parameters, and the spacing depends on the first of these.
    painter.SetMarkerBlend(brush_.GetStroke().markerBlend);
    painter.SetMarkerWetness(brush_.GetBrush().markerWetness);
    CaptureForUndo(stroke);
    brush_.setCurrentStampIPO();
    painter.blend_func(brush_.GetSourceFactor(), kFactorOneMinusSourceAlpha);
    brush_.snappedSplineToLayerCoords();
    stroke.path = newBrushStroke(stroke);
    stroke.stampsBefore = painter.GetStampCount();
    stroke.pixelsBefore = painter.GetStampedPixels();
    stroke.paintsStencil = stroke.layer->isStencil() && stroke.layer->isActive();
    return true;
}

void BrushStroker::CaptureForUndo(OpenStroke& stroke)
{
    PaintOps& painter = *stroke.painter;
    // Whether undo is on must not change the pixels: 16-bit painting starts either way.
    const qs::TempReference<ilMIOImage> lowBits =
        brush_.Uses16Bit() ? painter.GetLowOrderBitImage() : qs::TempReference<ilMIOImage>();
    if (!lowBits)
        painter.SetLowOrderBitImage({});
    if (UndoableCommand::IsRecording(session_))
        stroke.undo = new PntUndoStroke(&session_.manager, stroke.stackHandle, stroke.layerHandle, stroke.stack.get(),
                                        stroke.layer.get(), stroke.layer->GetImage(), "MioStroke");
    painter.SetLowOrderBitImage(lowBits);
}

std::unique_ptr<Stroke> BrushStroker::newBrushStroke(const OpenStroke& stroke)
{
    BrushStrokeParts parts;
    parts.painter = stroke.painter.get();
    parts.stamp = brush_.GetStamp();
    parts.stroke = brush_.GetStroke();
    parts.spacingBias = brush_.GetSpacingBias(brush_.GetBrush().secondSize);
    parts.isSmear = isSmearStamp(brush_.GetBrush().referenceStamp);
    if (session_.options.isBrushFeedbackEnabled && session_.callbacks.BrushFeedbackStampCB != nullptr)
        parts.report = [](float x, float y, float size, float opacity) {
            PaintSession::Of(PaintCore).stroker.NoteStamp({x, y, size, opacity});
        };

    gk_spline* spline = brush_.GetGuideSpline();
    const Symmetry* symmetry = stroke.stack->GetSymmetry();
    if (symmetry == nullptr || !symmetry->IsEnabled())
        return singleNewBrushStroke(parts, spline);
    Symmetry onLayer = *symmetry;
    onLayer.Translate(-stroke.layer->getXOffset(), -stroke.layer->getYOffset());
    std::unique_ptr<Stroke> made = NewSymmetricBrushStroke(parts, onLayer, spline, session_.callbacks.CopySplineCB);
    if (spline != nullptr && ImageCoreCB()->ReleaseSplineCB != nullptr) {
        brush_.ForgetGuideSpline();
        ImageCoreCB()->ReleaseSplineCB(spline);
    }
    return made;
}

int BrushStroker::UpdateIntervalMs() const
{
    constexpr double kPerPixel = 0.010989011;  // 1 / (96 - 5)
    const double radius =
        std::clamp(brush_.GetBrush().secondSize, PaintManager::MinUpdateIntRadius, PaintManager::MaxUpdateIntRadius);
    const double range = PaintManager::MaxUpdateInterval - PaintManager::MinUpdateInterval;
    const double interval =
        std::round((radius - static_cast<double>(PaintManager::MinUpdateIntRadius)) * kPerPixel * range +
                   PaintManager::MinUpdateInterval);
    constexpr double kLongest = 1e9;
    return static_cast<int>(std::clamp(interval * static_cast<double>(brush_.GetStroke().timerScale), 0.0, kLongest));
}

void BrushStroker::StartUpdates(OpenStroke& stroke, bool noTimerUpdate)
{
    stroke.hasTimedUpdates = true;
    stroke.stack->BeginTimerBasedUpdate(UpdateIntervalMs());
    stroke.stack->SetTimerBasedUpdate(!noTimerUpdate);
    stroke.stack->CheckTimerBasedUpdate();
    if (!IsStillThere(stroke))
        return;
    PaintOps& painter = *stroke.painter;
    painter.blend_func(brush_.GetSourceFactor(), kFactorOneMinusSourceAlpha);
    painter.SetMarkerBlend(brush_.GetStroke().markerBlend);
    painter.BeginOperation();
}

/// Takes a beginning back that did not succeed.
void BrushStroker::Cancel(OpenStroke& stroke)
{
    if (stroke.painter) {
        Attempt([&] { stroke.painter->EndOperation(); });
        stroke.painter->blend_func(kFactorOne, kFactorZero);
    }
    stroke.EndTimedUpdates();
    if (session_.options.isBrushFeedbackEnabled)
        CallHost(session_.callbacks.BrushFeedbackEndCB);
    if (stroke.wasSettling)
        SettledTimer::Start();
}

// --- samples ---

void BrushStroker::AddPoint(float x, float y, float size, float opacity, float aspect, float rotation)
{
    const qs::Reference<OpenStroke> stroke = open_;
    if (!stroke || stroke->isEnding || !IsFiniteSample(x, y, size, opacity, aspect, rotation))
        return;
    if (!stroke->IsLayerCurrent()) {
        End();
        return;
    }
    size = LimitedSampleSize(size);
    aspect = LimitedSampleAspect(aspect, size);
    brush_.GetStamp()->set_opacity(opacity);
    const float layerX = x - static_cast<float>(stroke->layer->getXOffset());
    const float layerY = y - static_cast<float>(stroke->layer->getYOffset());
    const bool isFed = Attempt([&] {
        const Notices::Question feeding(session_.notices);
        stroke->path->add_point(layerX, layerY, size, opacity, aspect, rotation);
        stroke->path->update();
    });
    if (!isFed)
        stroke->stack->DistrustCaches();
    ReportStamps();
    if (open_ != stroke)
        return;
    const auto debugLevel = session_.callbacks.DebugLevelCB;
    if (debugLevel != nullptr && debugLevel() == kTraceDebugLevel) {
        MarkTracePoint(*stroke);
        lastTrace_ = TracePoint{TruncateToPixel(layerX), TruncateToPixel(layerY)};
    }
    if (open_ == stroke)
        UpdateCanvas(*stroke, size);
}

void BrushStroker::NoteStamp(const StampNote& stamp)
{
    Attempt([&] { stampNotes_.push_back(stamp); });
}

/// Tells the host of the stamps that were laid down. Not from inside the path: the host may edit.
void BrushStroker::ReportStamps()
{
    const auto notes = std::exchange(stampNotes_, {});
    for (const StampNote& note : notes)
        CallHost(session_.callbacks.BrushFeedbackStampCB, note.x, note.y, note.size, note.opacity);
}

/// Marks the sample before with a square, on the layer itself.
void BrushStroker::MarkTracePoint(const OpenStroke& stroke)
{
    if (!lastTrace_)
        return;
    const ilTile square(lastTrace_->x - 1, lastTrace_->y - 1, 3, 3);
    const ilTile inside = ilTileIntersection(square, stroke.painter->GetBrushClippingRect());
    Attempt([&] { stroke.painter->rect_fill(inside.x, inside.y, inside.nx, inside.ny, kTraceColor); });
}

void BrushStroker::UpdateCanvas(const OpenStroke& stroke, float size)
{
    --untilCheck_;
    const ilTile damage = stroke.stack->PreviewUpdateTile();
    const int threshold = UpdateThreshold(size);
    if (damage.nx > threshold || damage.ny > threshold)
        stroke.stack->ForceUpdate();
    else if (untilCheck_ > 0)
        return;
    else
        stroke.stack->CheckTimerBasedUpdate();
    untilCheck_ = PaintManager::CheckInterval;
}

// --- pen up ---

void BrushStroker::End()
{
    const qs::Reference<OpenStroke> stroke = open_;
    if (!stroke || stroke->isEnding)
        return;
    stroke->isEnding = true;
    const auto debugLevel = session_.callbacks.DebugLevelCB;
    if (debugLevel != nullptr && debugLevel() == kTraceDebugLevel)
        MarkTracePoint(*stroke);
    lastTrace_.reset();
    FinishPainting(*stroke);
    FinishUpdates(*stroke);
    KeepForUndo(*stroke);
    stampCount_ = GetStampCount();
    stampedPixels_ = GetStampedPixels();
    stroke->undo = nullptr;
    stroke->path.reset();
    open_ = nullptr;
    ReportStamps();
    if (session_.options.isBrushFeedbackEnabled)
        CallHost(session_.callbacks.BrushFeedbackEndCB);
    SettledTimer::Start();
}

void BrushStroker::FinishPainting(OpenStroke& stroke)
{
    Attempt([&] {
        const Notices::Question feeding(session_.notices);
        stroke.path->finish();
        stroke.path->update();
    });
    auto* masking = dynamic_cast<MaskingPaintOps*>(stroke.painter.get());
    if (masking == nullptr || !masking->IsMasking()) {
        stroke.painter->EndOperation();
        return;
    }
    // The layer's pixels change only now. For the layer itself that was shown all along; what its stencil hides of
    // other layers was not.
    const ilTile wet = masking->GetWetImage()->GetBounds();
    const qs::TempReference<ilMIOImage> original = masking->GetOriginalImage();
    const bool isComposed = Attempt([&] { masking->EndOperation(); });
    if (!isComposed) {
        // Without the memory for all of the wet layer it is given up, rather than painted in parts.
        const qs::TempReference<ilImage> target(masking->target_img());
        target->AsPaged()->ShareAllFrom(*original);
        masking->set_target_img(target);
    }
    if (!isComposed || stroke.paintsStencil) {
        stroke.stack->SetStencilCompositeDirty(stroke.layerHandle);
        stroke.stack->DamageTile(stroke.layer->ToCanvas(wet));
    }
}

void BrushStroker::FinishUpdates(OpenStroke& stroke)
{
    const auto onLivingStack = [&](auto&& call) {
        if (!stroke.isGone)
            Attempt([&] { call(*stroke.stack); });
    };
    onLivingStack([](LayerStack& stack) { stack.CheckTimerBasedUpdate(); });
    stroke.painter->blend_func(kFactorOne, kFactorZero);
    stroke.EndTimedUpdates();
    onLivingStack([&](LayerStack& stack) {
        // A layer that is current no more is cached, by a picture of it that may be older than the last stamps.
        if (stroke.IsLayerCurrent())
            stack.ForceUpdate();
        else
            stack.ReuseLSCAndRedrawCanvas(stroke.layerHandle, true);
    });
}

void BrushStroker::KeepForUndo(OpenStroke& stroke)
{
    const bool isLayerThere =
        !stroke.isGone && stroke.stack->GetLayerFromHandle(stroke.layerHandle) == stroke.layer.get();
    if (!stroke.undo || !isLayerThere || !UndoableCommand::IsRecording(session_))
        return;
    const bool isKept = Attempt([&] {
        if (stroke.undo->HasChanges())
            UndoableCommand::Keep(session_, stroke.undo, "Brush Stroke");
    });
    if (!isKept) {
        stroke.undo->RollBack();  // rather no stroke than one that cannot be taken back
    }
}

void BrushStroker::EndOn(const LayerStack* stack)
{
    if (open_ && open_->stack == stack)
        End();
}

void BrushStroker::StackIsLeaving(const LayerStack* stack)
{
    const qs::Reference<OpenStroke> stroke = open_;
    if (!stroke || !(stroke->stack == stack) || stroke->isGone)
        return;
    stroke->undo = nullptr;
    End();
    if (open_ != stroke)
        return;
    // It is under way further down the call stack. The views' timers stop now, while the views are sure to live.
    stroke->isGone = true;
    stroke->EndTimedUpdates();
}

// --- statistics ---

uint64_t BrushStroker::GetStampCount() const
{
    return stampCount_ + (open_ ? open_->painter->GetStampCount() - open_->stampsBefore : 0);
}

uint64_t BrushStroker::GetStampedPixels() const
{
    return stampedPixels_ + (open_ ? open_->painter->GetStampedPixels() - open_->pixelsBefore : 0);
}
