#pragma once

#include "layers/PntHandle.h"
#include "platform/base/Export.h"
#include "platform/imaging/pages/PaintColor.h"

/// Part of PaintManager: switches of the process.
class PAINTLAYER_EXPORT OptionCommands {
public:
    /// A bracket of the host's own, which others can ask for; EndOperation's argument is not used.
    void BeginOperation();
    void CancelOperation();
    void EndOperation(bool);
    bool InOperation() const;

    /// On how many processors large areas are composed: 1, until the host says otherwise, to 64; others are refused.
    /// The picture has the same bytes for any number. The threads live for one call each.
    bool SetThreadCount(int count);
    int GetThreadCount() const;

    /// Red and blue are exchanged in the colour that the brush paints with.
    void SetColorSwizle(bool on);
    bool GetColorSwizle() const;

    /// Two numbers for the host's views; stored only, 1 and 1 after InitPaintManager.
    void SetScaleFilter(int minify, int magnify);
    void GetScaleFilter(int& minify, int& magnify) const;

    /// The host hears of the beginning, each stamp and the end of strokes (callbacks 33 to 35).
    void EnableBrushFeedback(bool on);
    bool isBrushFeedbackEnabled() const;

    /// The user is panning or zooming; stored only.
    void InteractivePanZoom(bool on);
    bool inInteractivePanZoom() const;

    /// How warp shapes are shown; opacity 0 to 1.
    void SetWarpDefaultDisplayColor(const PaintColor& color);
    PaintColor GetWarpDefaultDisplayColor() const;
    void SetWarpDefaultDisplayOpacity(float opacity);
    float GetWarpDefaultDisplayOpacity() const;

    /// Shapes have no opacity of their own: always 1, and setting does nothing.
    float GetShapeOpacity(const PntHandle& = kCurrentLayerHandle) const { return 1.0F; }
    void SetShapeOpacity(float, const PntHandle& = kCurrentLayerHandle) {}

protected:
    OptionCommands() = default;
    ~OptionCommands() = default;
};
