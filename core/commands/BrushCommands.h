#pragma once

#include "core/brush/EffectBrush.h"
#include "layers/PntHandle.h"
#include "platform/base/Export.h"
#include "platform/imaging/pages/ilSmartImage.h"
#include "platform/imaging/painter/PaintOps.h"
#include "platform/imaging/stamps/BrushParameters.h"
#include "platform/imaging/stamps/Stamp.h"
#include "platform/imaging/strokes/StrokeParameters.h"

/// Part of PaintManager: the brush, and pictures of it.
class PAINTLAYER_EXPORT BrushCommands {
public:
    static constexpr int kMaxStampRadius = static_cast<int>(StampPlacement::kMaxRadius);  // pixels

    // --- parameters; not changed during a stroke, nor with numbers that no brush can have ---

    /// `force` sets even what has not changed. The reference stamp stays the host's and is asked again when a stroke
    /// begins.
    void SetBrushParameters(const BrushParameters& brush, bool force);
    const BrushParameters& GetBrushParameters() const;

    /// How stamps follow the pen: spacing, interpolation, marker blend, timers.
    void SetStrokeParameters(const StrokeParameters& stroke);
    const StrokeParameters& GetStrokeParameters() const;

    /// The brush's colour alone; read back with GetBrushParameters().color.
    void SetColor(PaintColor color, bool force);

    /// Whether strokes take away what they cover, by opacity and alpha of the brush, instead of painting; not changed
    /// during a stroke, false at first. Previews and samples show the brush as it paints.
    void SetBrushErases(bool erases);
    bool GetBrushErases() const;

    /// Both parameters at once: 0 when they were taken, and during a stroke, which goes on as it is; -1 when refused.
    int updateFromOptions(const StrokeParameters& stroke, const BrushParameters& brush);

    /// A profile that stands for the brush's own; null for none. Returns 0.
    int overrideProfile(qs::Reference<LinearProfile> profile);
    qs::Reference<LinearProfile> GetOverridenProfile() const;

    /// Owned by the manager from here on; null for none.
    void SetEffectBrush(EffectBrush* brush);
    EffectBrush* GetEffectBrush() const;

    /// Makes the effect brush's image of the current layer anew; drops it without an effect brush or a layer.
    void UpdateProcessedLayerImage();

    /// Takes the brush's shape from the current layer's coverage, or its texture from the layer's colours, within a
    /// tile of the canvas (an empty one: the whole layer). False when there is nothing to take.
    bool PickupShape(const ilTile& area);
    bool PickupTexture(const ilTile& area);

    /// The brush is round, or plain, again.
    void ClearShape();
    void ClearTexture();

    /// Whether strokes of the brush as it is paint with 16 bits per channel.
    bool Use16BitBrush() const;

    /// By which the spacing of marker strokes of a radius in pixels is multiplied: 0.3 to 1.
    double GetSpacingBias(float size) const;

    // --- stamps that are kept for further use ---

    /// Drops them all.
    void ResetStampCache();

    /// How much memory they may take, in MiB.
    void SetStampCacheSize(int mebibytes);
    int GetStampCacheSize() const;

    /// Rotations are rounded to multiples of so many degrees, so that fewer stamps are kept; 1 at first.
    void SetStampRotationQuantizationIncrement(int degrees);
    int GetStampRotationQuantizationIncrement() const;

    /// The largest radius that a stroke takes, in pixels.
    int GetMaxStampRadius() const { return kMaxStampRadius; }

    // --- preview and samples of the brush ---

    /// Shows one stamp of the brush on the image plane at a canvas point, without touching the layer; replaces the
    /// preview before. size: radius in pixels. Nothing during a stroke.
    void BrushPreviewPoint(float x, float y, float size, float opacity, float aspect, float rotation);

    /// Shows the document again where the preview was.
    void ClearBrushPreview();

    /// Whether BrushPreviewPoint is running: for views and callbacks that are called from it.
    bool InPreview() const;

    /// A picture of one stamp of the brush, centred in width × height pixels of transparency; null when refused.
    qs::TempReference<ilSmartImage> CreateSampleStamp(int width, int height, float size);

    /// A picture of an S-shaped stroke of the brush with pressure rising and falling; null when refused.
    qs::TempReference<ilSmartImage> CreateSampleStroke(int width, int height, float size);

    /// A painter with the current brush on an image of its own, width × height pixels, for drawing at another scale
    /// (radii times `scale`); null when refused.
    qs::Reference<PaintOps> CreateScaledPaintOps(int width, int height, float scale);

    /// The same on a copy of a layer, scaled; for previews of a layer at `scale`, above 0 to 8.
    qs::Reference<PaintOps> CreateScaledLayerPaintOps(const PntHandle& layer, float scale);

protected:
    BrushCommands() = default;
    ~BrushCommands() = default;
};
