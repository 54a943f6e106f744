#pragma once

#include "platform/imaging/stamps/BrushProfile.h"
#include "platform/imaging/stamps/Stamp.h"
#include "platform/imaging/stamps/StampCoverage.h"
#include "platform/imaging/stamps/StampForm.h"

#include <algorithm>
#include <cmath>
#include <numbers>

/// Slow and plain coverages of single pixels, from the definition.
class StampReference {
public:
    explicit StampReference(const StampForm& form) : form_(form)
    {
        const double angle = form.rotation * std::numbers::pi / 720;
        cosine_ = std::cos(angle);
        sine_ = std::sin(angle);
    }

    /// The share of pixel (x, y) that the ellipse covers: many lines through the pixel, each cut exactly.
    double Area(int x, int y) const
    {
        constexpr int kLines = 400;
        double sum = 0;
        for (int i = 0; i < kLines; ++i) {
            // Along a line at height dy the squared radius is a·dx² + 2·b·dx + c.
            const double dy = y + (i + 0.5) / kLines - form_.centreY;
            const double along2 = form_.along * form_.along;
            const double across2 = form_.across * form_.across;
            const double a = cosine_ * cosine_ / along2 + sine_ * sine_ / across2;
            const double b = cosine_ * sine_ * dy * (1 / along2 - 1 / across2);
            const double c = dy * dy * (sine_ * sine_ / along2 + cosine_ * cosine_ / across2);
            const double discriminant = b * b - a * (c - 1);
            if (discriminant <= 0)
                continue;
            const double left = (-b - std::sqrt(discriminant)) / a + form_.centreX;
            const double right = (-b + std::sqrt(discriminant)) / a + form_.centreX;
            sum += std::max(0.0, std::min(right, x + 1.0) - std::max(left, static_cast<double>(x)));
        }
        return sum / kLines;
    }

    /// The profile's average over pixel (x, y).
    double Average(const LinearProfile& profile, int x, int y) const
    {
        constexpr int kSamples = 24;
        double sum = 0;
        for (int i = 0; i < kSamples; ++i) {
            for (int j = 0; j < kSamples; ++j) {
                const double dx = x + (j + 0.5) / kSamples - form_.centreX;
                const double dy = y + (i + 0.5) / kSamples - form_.centreY;
                sum += profile.Evaluate(static_cast<float>(
                    std::hypot((dx * cosine_ + dy * sine_) / form_.along, (dy * cosine_ - dx * sine_) / form_.across)));
            }
        }
        return sum / (kSamples * kSamples);
    }

private:
    StampForm form_;
    double cosine_;
    double sine_;
};

/// Coverage at pixel (x, y) from the whole-pixel position; 0 outside of the rectangle.
inline int CoverageAt(const StampCoverage& coverage, int x, int y)
{
    x -= coverage.GetLeft();
    y -= coverage.GetTop();
    if (x < 0 || y < 0 || x >= coverage.GetWidth() || y >= coverage.GetHeight())
        return 0;
    return coverage.GetRow(y)[x];
}

/// Coverage at a pixel of the target image.
inline int PlacedAt(const PlacedCoverage& placed, int x, int y)
{
    return CoverageAt(*placed.coverage, x - placed.x, y - placed.y);
}

/// In pixels.
inline double TotalCoverage(const StampCoverage& coverage)
{
    double sum = 0;
    for (int y = 0; y < coverage.GetHeight(); ++y)
        for (int x = 0; x < coverage.GetWidth(); ++x)
            sum += coverage.GetRow(y)[x];
    return sum / 255;
}
