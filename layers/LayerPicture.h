#pragma once

#include "platform/imaging/pages/ilSmartImage.h"
#include "platform/imaging/transform/ColorAdjust.h"
#include "platform/imaging/transform/ImageTransform.h"

/// An image and where its (0, 0) lies on the canvas: a layer's content, or what is to become of it.
struct LayerPicture {
    qs::Reference<ilMIOImage> image;  // null: refused
    int x = 0;
    int y = 0;

    explicit operator bool() const { return static_cast<bool>(image); }
};

/// A one-channel image that limits an edit softly, with the canvas position of its (0, 0). Without an image nothing is
/// limited.
struct EditLimit {
    qs::Reference<ilMIOImage> coverage;
    int x = 0;
    int y = 0;
};

/// What is kept of a picture that a transform makes too large to be kept whole: the canvas and, around it, a margin as
/// wide as its longer side, 1024 to 4096 pixels. Canvas coordinates.
PAINTLAYER_EXPORT ilTile KeptAround(const ilTile& canvas);

/// The picture after a map of the canvas. Quarter turns and flips come out on whole pixels whatever their centre, and
/// back again; a move by whole pixels shares the image. With a limit, what it covers is cut out, transformed and put
/// over the rest. Null when TransformImage refuses. kept: as TransformImage has it, in canvas coordinates.
PAINTLAYER_EXPORT LayerPicture TransformPicture(const LayerPicture& picture, const qsLinear::AffineMatrix& onCanvas,
                                                const TransformFilters& filters, const ilTile& kept = {},
                                                const EditLimit& limit = {});

/// The same without a limit, and with the place transformed too, rounded to whole pixels, instead of the pixels moving
/// away from it. Quarter turns and flips keep every byte there and back. Whatever only moves shares the image.
PAINTLAYER_EXPORT LayerPicture RebasePicture(const LayerPicture& picture, const qsLinear::AffineMatrix& onCanvas,
                                             const TransformFilters& filters, const ilTile& kept = {});

/// The box of what is painted, and within the limit if there is one, in canvas pixels.
PAINTLAYER_EXPORT ilTile GetPaintedBox(const LayerPicture& picture, const EditLimit& limit = {});

/// The part of the picture within the box `from` drawn into a quadrilateral, both on the canvas; the limit as above.
/// Null when WarpImage refuses.
PAINTLAYER_EXPORT LayerPicture DeformPicture(const LayerPicture& picture, const ilTile& from, const Rect8f& onCanvas,
                                             WarpKind kind, const TransformFilters& filters, const ilTile& kept = {},
                                             const EditLimit& limit = {});

/// The picture with its colours adjusted within `area` (canvas pixels; empty: everywhere), `amount` of the way, softly
/// limited. Null for values that are not finite.
PAINTLAYER_EXPORT LayerPicture AdjustPicture(const LayerPicture& picture, const ColorAdjustParm& parm,
                                             const ilTile& area, float amount, const EditLimit& limit = {});

/// `edited` where the limit covers, `original` where it does not, and in between in between. Both lie alike.
PAINTLAYER_EXPORT LayerPicture LimitPicture(const LayerPicture& original, const LayerPicture& edited,
                                            const EditLimit& limit);
