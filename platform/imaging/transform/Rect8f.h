#pragma once

/// The four corners of a rectangle after a deformation: top left, top right, bottom right, bottom left.
struct Rect8f {
    float x[4] = {0, 0, 0, 0};
    float y[4] = {0, 0, 0, 0};

    Rect8f Moved(double dx, double dy) const
    {
        Rect8f moved;
        for (int i = 0; i < 4; ++i) {
            moved.x[i] = static_cast<float>(x[i] + dx);
            moved.y[i] = static_cast<float>(y[i] + dy);
        }
        return moved;
    }
};
