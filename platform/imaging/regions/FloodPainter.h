#pragma once

#include "platform/imaging/regions/CachedSmartImage.h"
#include "platform/imaging/regions/FloodSelection.h"

#include <optional>

/// How a region is painted into an image.
struct FloodPaint {
    ilPixel value;  // stored where the region covers in full; of the image's channels

    /// The colour that the region replaces. What soft pixels hold of it is exchanged for the value, and the rest, the
    /// outline's own part, stays in full. Without it soft pixels move towards the value by their coverage.
    std::optional<ilPixel> replaced;

    FloodSelection selection;  // on the image; scales what the paint changes
};

/// Paints `region`, moved by (dx, dy), into the image. Pages covered whole come to share one page of the value.
void PaintRegion(CachedSmartImage& image, const FloodRegion& region, int dx, int dy, const FloodPaint& paint);
