#pragma once

#include "platform/imaging/pages/ilMIOImage.h"
#include "platform/imaging/regions/FloodRegion.h"

/// A one-channel image laid over another: what is selected there. Without an image all is.
class FloodSelection {
public:
    FloodSelection() = default;

    /// (x, y): the pixel of the other image on which the coverage's (0, 0) lies.
    FloodSelection(qs::TempReference<ilMIOImage> image, int x, int y) : image_(std::move(image)), x_(x), y_(y) {}

    FloodSelection MovedBy(int dx, int dy) const { return {image_, x_ + dx, y_ + dy}; }

    int GetX() const { return x_; }
    int GetY() const { return y_; }

    /// What is known of a tile of the other image without looking at pixels.
    FloodRegion::Cover GetCover(const ilTile& tile) const;

    /// Reads at most 64 × 64 pixels into rows of 64 bytes.
    void Read(const ilTile& tile, uint8_t* rows) const;

private:
    qs::TempReference<ilMIOImage> image_;
    int x_ = 0;
    int y_ = 0;
};
