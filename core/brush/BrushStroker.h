#pragma once

#include "layers/Layer.h"
#include "platform/imaging/painter/MaskingPaintOps.h"
#include "platform/imaging/strokes/Stroke.h"
#include "stack/LayerStack.h"

#include <memory>
#include <optional>

class BrushState;
struct PaintSession;

/// The stroke in progress, from pen down to pen up, and the word to the host that painting has settled.
///
/// Whatever the host does from inside a callback, a slot or a view (ending the stroke, deleting the document or the
/// layer, feeding more samples), the stroke holds on to what it uses until it is through.
class BrushStroker {
public:
    explicit BrushStroker(PaintSession& session);
    ~BrushStroker();

    void Begin(bool noTimerUpdate);

    /// As PaintManager::AddStrokePoint.
    void AddPoint(float x, float y, float size, float opacity, float aspect, float rotation);
    void End();
    bool IsOpen() const { return open_ != nullptr; }

    /// Ends the stroke when it paints on the document.
    void EndOn(const LayerStack* stack);

    /// The document is about to be closed or replaced: a stroke on it ends and leaves nothing to undo.
    void StackIsLeaving(const LayerStack* stack);

    /// A stamp that was laid down, in layer coordinates; the host hears of it when the sample is through.
    struct StampNote {
        float x, y, size, opacity;
    };
    void NoteStamp(const StampNote& stamp);

    uint64_t GetStampCount() const;
    uint64_t GetStampedPixels() const;

private:
    struct OpenStroke;

    bool SetUpPainter(OpenStroke& stroke);  // false for a layer without an image
    void CaptureForUndo(OpenStroke& stroke);
    std::unique_ptr<Stroke> newBrushStroke(const OpenStroke& stroke);
    void StartUpdates(OpenStroke& stroke, bool noTimerUpdate);
    void Cancel(OpenStroke& stroke);
    bool IsStillThere(const OpenStroke& stroke) const;
    int UpdateIntervalMs() const;

    void UpdateCanvas(const OpenStroke& stroke, float size);
    void MarkTracePoint(const OpenStroke& stroke);

    void ReportStamps();
    void FinishPainting(OpenStroke& stroke);
    void FinishUpdates(OpenStroke& stroke);
    void KeepForUndo(OpenStroke& stroke);

    struct TracePoint {
        int x;
        int y;
    };

    PaintSession& session_;
    BrushState& brush_;
    qs::Reference<OpenStroke> open_;
    bool isBeginning_ = false;
    int untilCheck_ = 0;  // samples until the views are asked whether an update is due
    std::optional<TracePoint> lastTrace_;  // layer coordinates
    qs::vector<StampNote> stampNotes_;  // not told yet
    uint64_t stampCount_ = 0;  // of the strokes that ended
    uint64_t stampedPixels_ = 0;
};
