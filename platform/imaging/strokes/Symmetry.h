#pragma once

#include "platform/base/AffineMatrix.h"
#include "platform/base/Export.h"

/// Symmetry of painting: a mirror line, a rotational order, or both about one centre (a dihedral arrangement). Image 0
/// is the stroke as drawn.
class PAINTLAYER_EXPORT Symmetry {
public:
    /// centerX, centerY: canvas pixels.
    Symmetry(double centerX = 0, double centerY = 0);

    bool operator==(const Symmetry&) const = default;

    bool IsEnabled() const { return enabled_; }
    void SetEnabled(bool enabled) { enabled_ = enabled; }

    /// Mirrors about the line through the centre at `angleDeg` from the x axis (clockwise, y down).
    void SetMirror(bool on, double angleDeg = 90);
    bool HasMirror() const { return mirror_; }
    double GetMirrorAngle() const { return mirrorAngle_; }

    /// Repeats by rotation: 1 (none) to 64 images about the centre; other orders are clamped.
    void SetOrder(int order);
    int GetOrder() const { return order_; }

    void SetCenter(double x, double y);
    double GetCenterX() const { return centerX_; }
    double GetCenterY() const { return centerY_; }
    void Translate(double dx, double dy);

    /// Number of images: the order, twice that with a mirror; 1 when disabled.
    int numImages() const;

    /// The map from image 0 to image `index` (0 to numImages() - 1; others give the identity).
    qsLinear::AffineMatrix GetImageMatrix(int index) const;

    /// What becomes of a rotation (degrees, of an axis) in image `index`.
    double MapRotation(int index, double rotationDeg) const;

private:
    struct ImageKind {
        bool isMirrored;
        double angleDeg;  // of the turn, or of the mirror line
    };
    ImageKind GetImageKind(int index) const;

    double centerX_;
    double centerY_;
    double mirrorAngle_ = 90;
    int order_ = 1;
    bool mirror_ = false;
    bool enabled_ = true;
};
