#pragma once

#include "platform/imaging/pages/PaintColor.h"
#include "platform/imaging/stamps/BrushProfile.h"
#include "platform/imaging/stamps/PaintObj.h"
#include "platform/imaging/stamps/StampCoverage.h"

/// Where and how one impression of the brush is made.
struct StampPlacement {
    static constexpr float kMaxRadius = 1280;  // pixels; larger ones act as this
    static constexpr float kMaxAspect = 1.9F;

    double x = 0;  // centre, pixels of the target image
    double y = 0;
    float size = 1;  // radius in pixels, above 0
    float opacity = 1;  // 0 to 1
    float aspect = 1;  // the axis across the rotation by the axis along it, above 0 to kMaxAspect
    float rotation = 0;  // degrees, clockwise on the screen (y down)
};

/// A coverage and the whole-pixel position at which it belongs.
struct PlacedCoverage {
    qs::Reference<const StampCoverage> coverage;  // null: nothing is covered
    int x = 0;
    int y = 0;

    /// The pixels that may be covered.
    ilTile GetTile() const
    {
        if (!coverage)
            return {};
        return {x + coverage->GetLeft(), y + coverage->GetTop(), coverage->GetWidth(), coverage->GetHeight()};
    }
};

class StampMask;

/// The brush's impression: a colour or a source of pixels, seen through a radial profile or a mask image.
class PAINTLAYER_EXPORT Stamp : public qs::ReferenceCount {
public:
    /// How pixels come from the source: 0 from a texture that lies fixed on the canvas and is tinted by nothing,
    /// 2 from an image at the source offset (clone, smear, effect brush).
    enum Method : int { kMethodTexture = 0, kMethodImage = 2 };

    Stamp();
    ~Stamp() override;

    /// Premultiplied components, 0 to 1 (clamped).
    void set_color(float r, float g, float b, float a);
    const PaintColor& get_color() const { return color_; }

    void set_opacity(float opacity);  // 0 to 1; a NaN changes nothing
    float get_opacity() const { return opacity_; }

    /// Null restores the hard disc.
    void set_profile(qs::Reference<LinearProfile> profile);
    const qs::Reference<LinearProfile>& get_profile() const { return profile_; }

    /// A one-channel image whose longer side spans the stamp's diameter; null restores the profile. The image must not
    /// change while it is the mask.
    void set_stamp_mask(qs::TempReference<ilImage> mask);
    const qs::TempReference<ilImage>& get_stamp_mask() const { return mask_; }

    /// Pixels come from `source` instead of the colour; null restores the colour.
    void set_source(qs::Reference<PaintObj> source);
    const qs::Reference<PaintObj>& get_source() const { return source_; }
    void set_method(int method);  // an unknown one changes nothing
    int get_method() const { return method_; }

    /// Pixel (x, y) of the target takes pixel (x + dx, y + dy) of the source.
    void set_source_offset(int dx, int dy);
    int get_source_offset_x() const { return sourceDx_; }
    int get_source_offset_y() const { return sourceDy_; }

    /// The coverage of the stamp at `placement` (its opacity is not part of it), from the stamp cache where it is
    /// known. Nothing is covered when a number is NaN or infinite, size or aspect is not above 0, or the place lies
    /// beyond ±2^30 pixels. A radius below 1/16 pixel acts as 1/16, one above kMaxRadius as that.
    PlacedCoverage GetCoverage(const StampPlacement& placement) const;

    /// An upper bound of the distance from the centre to the farthest covered pixel, in pixels.
    static double GetReach(float size, float aspect);

private:
    void UpdateShape();
    qs::Reference<const StampCoverage> MakeCoverage(uint64_t geometry) const;

    PaintColor color_{0, 0, 0, 1};
    float opacity_ = 1;
    qs::Reference<LinearProfile> profile_;
    qs::TempReference<ilImage> mask_;
    qs::Reference<const StampMask> maskBytes_;  // null without a mask
    uint64_t shapeIdentity_ = 0;  // of the mask, or else of the profile
    float stepByRadius_ = 0;  // a move of this many radii changes no pixel by over two levels
    qs::Reference<PaintObj> source_;
    int method_ = kMethodTexture;
    int sourceDx_ = 0;
    int sourceDy_ = 0;
};
