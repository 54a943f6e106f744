#pragma once

/// The four corners of a rectangle after a deformation: top left, top right, bottom right, bottom left.
struct Rect8f {
    float x[4] = {0, 0, 0, 0};
    float y[4] = {0, 0, 0, 0};
};
