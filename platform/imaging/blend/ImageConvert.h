#pragma once

#include "platform/imaging/pages/ilSmartImage.h"

/// What is known of all pixels of `image` within `tile` together: Mixed when they are neither all zero nor all opaque,
/// as far as whole pages tell. Reads no pixel of a page that was looked at since it was written.
PageContent ContentOver(const ilMIOImage& image, const ilTile& tile);

// Each of these makes an image of its own, page by page: what is uniform stays uniform and holds no pixel memory.

/// The alpha of a four-channel image as coverage.
qs::Reference<ilSmartImage> AlphaImage(const ilMIOImage& image);

/// `color` (premultiplied, four channels) seen through a one-channel image.
qs::Reference<ilSmartImage> TintedImage(const ilMIOImage& coverage, const ilPixel& color);

/// The pixels of `image` within `tile`, at their places; all else is transparent. Whole pages are shared; an unstored
/// area that is not transparent is stored, so the tile should be of a canvas's order.
qs::Reference<ilSmartImage> CroppedImage(const ilMIOImage& image, const ilTile& tile);

/// The image with its pixels within `bounds` mirrored there; all else has the fill value.
qs::Reference<ilSmartImage> FlippedImage(const ilMIOImage& image, const ilTile& bounds, bool horizontal, bool vertical);
