#pragma once

#include "platform/imaging/strokes/Smooth2D.h"

#include <array>
#include <memory>

/// Smooths the pointer's line before it is painted or drawn.
class PointerInput {
public:
    static constexpr int kMaxPoints = 16;

    /// Begins a new line.
    void Reset();

    /// Takes a point; the points to draw now, good until the next call. Null, with count 0, before the first Reset().
    ilXYfloat* Smooth(const ilXYfloat& point, int& count);

private:
    std::unique_ptr<Smooth2D> smoother_;
    std::array<ilXYfloat, kMaxPoints> points_;
};
