#pragma once

#include "platform/base/Export.h"
#include "platform/geometry/ilXY.h"

#include <cstdint>

/// Part of PaintManager: strokes, from the samples of a pen or mouse to the canvas.
class PAINTLAYER_EXPORT StrokeCommands {
public:
    // --- strokes ---

    /// Begins a stroke on the current layer, if it shows. noTimerUpdate: views are updated by damage alone.
    /// InBrushStroke() tells whether it has begun.
    void BeginBrushStroke(bool noTimerUpdate);

    /// Feeds one sample to the open stroke; does nothing when none is open.
    /// x, y: canvas pixels, fractions kept. size: stamp radius in pixels, below 1 acts as 1 and above
    /// GetMaxStampRadius() as that. opacity: 0 to 1. aspect: axis across by axis along the rotation, up to 1.9.
    /// rotation: degrees. A NaN or infinity refuses it. A stroke whose layer is no longer current ends instead.
    void AddStrokePoint(float x, float y, float size, float opacity, float aspect, float rotation, bool, bool);

    /// Ends the stroke: one step of undo when pixels changed. 3030 ms later callback 16 tells that painting settled.
    void EndBrushStroke();
    bool InBrushStroke() const;

    /// Stamps laid down by strokes so far, and the pixels of their rectangles.
    uint64_t GetStampCount() const;
    uint64_t GetStampedPixels() const;

    // --- pointer input ---

    /// The raw pressures that count as none and as full; kept for the process (PaintManager::PressFilter).
    static void InitPressureFilter(unsigned short min, unsigned short max);

    /// A raw pressure as 0 to 1; 0 before InitPressureFilter.
    static float PressureFilter(unsigned int raw);

    /// Begins a new line of points for SmoothPoints.
    void ResetPointSmoother();

    /// Smooths one point; the points to draw now, `count` of them (at most 16), in a buffer good until the next call.
    /// Null, with count 0, before ResetPointSmoother.
    ilXYobj<ilXYstruct<float>, float>* SmoothPoints(const ilXYobj<ilXYstruct<float>, float>& point, int& count);

protected:
    StrokeCommands() = default;
    ~StrokeCommands() = default;
};
