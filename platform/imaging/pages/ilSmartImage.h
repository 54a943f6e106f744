#pragma once

#include "platform/imaging/pages/ilMIOImage.h"

/// A paged image whose bounds can be shrunk to what is painted: the kind that layers hold.
class PAINTLAYER_EXPORT ilSmartImage : public ilMIOImage {
public:
    explicit ilSmartImage(const ilPixel& fill) : ilMIOImage(fill) {}

    /// As for every paged image; filling an empty one settles its tight bounds as well.
    void fillTile(const ilTile& tile, const ilPixel& value) override;

    /// A further image that shares the pages of `source`, moved by whole pages when (dx, dy) are multiples of 64 and
    /// copied to the new place otherwise.
    ilSmartImage(const ilMIOImage& source, int dx, int dy);

    /// Drops pages that hold only the fill value and makes the bounds the tight box of the pixels that differ from it.
    /// Reads only pages written since they were last looked at, and those at the rim.
    void ForceShrinkAttempt();

    /// As ForceShrinkAttempt, but does nothing when nothing was written since the last attempt.
    void ShrinkBounds();

    /// Sets the bounds that GetBounds reports; pixels outside stay stored.
    void SetBounds(const ilTile& bounds);

    /// Raises every pixel's alpha at least to its largest colour component, so that all pixels are valid premultiplied
    /// values. Does nothing on one channel.
    void ForceAlphaValid();
};
