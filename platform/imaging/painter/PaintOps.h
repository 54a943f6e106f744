#pragma once

#include "platform/imaging/kernels/BlendFactor.h"
#include "platform/imaging/kernels/LayerBlendMode.h"
#include "platform/imaging/kernels/Weight.h"
#include "platform/imaging/pages/DamageControl.h"
#include "platform/imaging/pages/ilMIOImage.h"
#include "platform/imaging/stamps/Stamp.h"

struct ImageBlend;
namespace kernels {
struct StampColor;
}

/// A painter bound to one image: fills, draws images and lays down stamps, and remembers which tiles it damaged.
///
/// Coordinates are the target image's pixels. What is painted is limited by the brush clipping rectangle (stamps) and
/// by the clipping image (everything): its coverage scales what arrives, 0 protects a pixel.
class PAINTLAYER_EXPORT PaintOps : public qs::ReferenceCount {
public:
    /// How fills and images reach the target: by the blend function, stored as they are, inverted (every component),
    /// or inverted in colour only. The inverting modes ignore the pixels given and turn those of the target.
    enum class PaintMode : int { Blend, Copy, Invert, ColorInvert };

    explicit PaintOps(qs::TempReference<ilImage> target);
    ~PaintOps() override;

    ilImage* target_img() const { return target_.get(); }

    /// Binds the painter to another image; pending damage and the clipping image go.
    virtual void set_target_img(qs::TempReference<ilImage> target);

    /// Sets the factors (BlendFactor, 0 to 7) of source and destination; an unknown factor changes nothing.
    void blend_func(int source, int destination);
    int get_source_factor() const { return sourceFactor_; }
    int get_destination_factor() const { return destinationFactor_; }

    void set_paint_mode(PaintMode mode) { mode_ = mode; }
    PaintMode get_paint_mode() const { return mode_; }

    /// How images are blended by draw_image while the blend function is (1, 7).
    void set_layer_blend_mode(LayerBlendMode mode) { layerBlendMode_ = mode; }

    // --- fills and images ---

    /// Fills nx × ny pixels with `pixel` (premultiplied), through the blend function and the clipping image.
    void rect_fill(int x, int y, int nx, int ny, const ilPixel& pixel);

    /// The same with a packed pixel of the target's channels, first component lowest.
    void rect_fill(int x, int y, int nx, int ny, uint32_t packed);

    /// Draws nx × ny target pixels at (x, y) from `source`, whose pixel (sourceX, sourceY) meets the first one.
    /// xScale, yScale: target pixels per source pixel; at 1 pixels are taken as they are, otherwise filtered (bilinear
    /// when enlarging, area-averaged when shrinking). A scale that is not above 0 and finite draws nothing.
    /// colorWeight scales colour, alphaWeight colour and alpha, 0 to 1. Source and target have equal channels, or the
    /// source has one and acts as coverage of the current fill colour (SetCoverageColor).
    void draw_image(int x, int y, int nx, int ny, const ilImage& source, int sourceX, int sourceY, float xScale = 1,
                    float yScale = 1, float colorWeight = 1, float alphaWeight = 1);

    /// The premultiplied colour in which one-channel images are drawn into a four-channel target. Opaque black first.
    void SetCoverageColor(const ilPixel& color) { coverageColor_ = color; }

    // --- limits ---

    /// A one-channel image that scales all painting; its pixel (0, 0) lies on target pixel (x, y). Null for none.
    void set_clip_image(qs::TempReference<ilMIOImage> coverage, int x = 0, int y = 0);
    const qs::TempReference<ilMIOImage>& get_clip_image() const { return clipImage_; }

    /// Stamps leave nothing outside this rectangle.
    void SetBrushClippingRect(const ilTile& rect) { brushClip_ = rect; }
    const ilTile& GetBrushClippingRect() const { return brushClip_; }

    // --- stamps ---

    void set_stamp(qs::Reference<Stamp> stamp) { stamp_ = std::move(stamp); }
    const qs::Reference<Stamp>& get_stamp() const { return stamp_; }

    /// Lays down one stamp. Nothing happens without a stamp, on an image that is not paged, or with a placement that
    /// covers nothing. Supported blend functions: (1, 7) paints over, (0, 7) erases, (1, 0) replaces by coverage;
    /// others act as (1, 7).
    void draw_stamp(const StampPlacement& placement);

    /// Stamps laid down and pixels within their rectangles since construction, for statistics.
    uint64_t GetStampCount() const { return stampCount_; }
    uint64_t GetStampedPixels() const { return stampedPixels_; }

    // --- damage ---

    /// Removes one tile damaged since it was last asked and stores it in `tile`; false when there is none.
    bool getNextDamagedTile(ilTile& tile) { return damage_.nextDamaged(tile); }
    ilTile previewDamage() const { return damage_.previewEntireDamaged(); }
    void DamageTile(const ilTile& tile) { damage_.DamageTile(tile); }

    // --- a stroke as one operation; what a kind of painter does not support has no effect and reads as off ---

    virtual void BeginOperation() {}
    virtual void EndOperation() {}

    /// The image of low-order bits while 16-bit painting runs, made on first demand; null where not supported.
    virtual qs::TempReference<ilMIOImage> GetLowOrderBitImage() { return {}; }
    virtual void SetLowOrderBitImage(qs::TempReference<ilMIOImage>) {}

    virtual void SetMarkerBlend(bool) {}
    virtual bool IsMarkerBlend() const { return false; }
    virtual void SetMarkerWetness(float) {}
    virtual float GetMarkerWetness() const { return 0; }

protected:
    /// Where stamps go: the image, its low-order bits (null in 8 bits), and whether they build a wet layer.
    struct StampTarget {
        ilMIOImage* image = nullptr;
        ilMIOImage* lowBits = nullptr;
        bool isWet = false;
        kernels::Weight wetness = 0;
    };
    virtual StampTarget GetStampTarget();

    qs::TempReference<ilImage> target_;

private:
    ImageBlend GetBlend(float colorWeight, float alphaWeight) const;
    void FillRows(const ilTile& tile, const ilPixel& pixel);
    void InvertRows(const ilTile& tile);
    void DrawScaled(const ilTile& tile, const ilImage& source, int sourceX, int sourceY, float xScale, float yScale,
                    const ImageBlend& blend);
    kernels::StampColor GetStampColor(float opacity, bool isWet) const;

    qs::Reference<Stamp> stamp_;
    qs::TempReference<ilMIOImage> clipImage_;
    int clipX_ = 0;
    int clipY_ = 0;
    ilTile brushClip_{-(1 << 30), -(1 << 30), INT32_MAX, INT32_MAX};
    DamageControl damage_;
    ilPixel coverageColor_ = ilPixel::Rgba(0, 0, 0, 255);
    PaintMode mode_ = PaintMode::Blend;
    LayerBlendMode layerBlendMode_ = kBlendNormal;
    int sourceFactor_ = kFactorOne;
    int destinationFactor_ = kFactorZero;
    uint64_t stampCount_ = 0;
    uint64_t stampedPixels_ = 0;
};
