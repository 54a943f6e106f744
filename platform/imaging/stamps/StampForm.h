#pragma once

#include <cmath>

/// The quantised geometry of one stamp: all that its coverage depends on besides its profile or mask.
struct StampForm {
    static constexpr int kRotationSteps = 1440;  // of a full turn

    double along = 1;  // semi-axis along the rotation, pixels
    double across = 1;  // semi-axis across it
    int rotation = 0;  // quarter degrees, 0 to 1439, clockwise with y down
    double centreX = 0;  // from the whole-pixel position, 0 to below 1, a multiple of 1/16
    double centreY = 0;
};

/// The largest whole number that is not above `value`, which lies within the range of int. Without SSE4.1 the
/// standard function is a call.
inline int FloorToInt(double value)
{
    const int truncated = static_cast<int>(value);
    return truncated - static_cast<int>(value < truncated);
}

inline int CeilToInt(double value)
{
    return -FloorToInt(-value);
}

/// Cosine and sine of a quantised rotation, rounded to multiples of 2^-32, so that every mathematics library gives the
/// same. Exact at quarter turns.
struct StampDirection {
    double cosine = 1;
    double sine = 0;

    explicit StampDirection(int rotation);
};

/// An ellipse around the origin: the points where xx·x² + 2·xy·x·y + yy·y² is at most 1.
struct StampEllipse {
    double xx, xy, yy;
    double determinant;  // xx·yy - xy²
    double reachX, reachY;  // half the width and height of its bounding box

    explicit StampEllipse(const StampForm& form);

    /// The chord at height y of the ellipse scaled to `level` (its radius squared): from middle - half to middle +
    /// half. False where the line does not meet it.
    bool FindChord(double y, double level, double& middle, double& half) const
    {
        const double halfSquared = level * byXx_ - determinantByXxXx_ * y * y;
        middle = middleByY_ * y;
        if (!(halfSquared > 0))
            return false;
        half = std::sqrt(halfSquared);
        return true;
    }

private:
    double byXx_, middleByY_, determinantByXxXx_;  // what the chord's equation divides by xx
};
