#pragma once

#include "platform/base/AffineMatrix.h"
#include "platform/imaging/pages/ilSmartImage.h"
#include "platform/imaging/transform/FilterMethod.h"
#include "platform/imaging/transform/Rect8f.h"

/// The filters of a transform, per axis where it only scales.
struct TransformFilters {
    FilterMethod minify = kFilterArea;
    FilterMethod magnify = kFilterBicubic;
};

/// How a rectangle becomes a quadrilateral: as seen in perspective, or with its sides divided evenly.
enum class WarpKind : int { Perspective = 0, Bilinear = 1 };

/// The image drawn through `matrix` (points of the source to points of the result; pixel (x, y) covers [x, x + 1) ×
/// [y, y + 1)), with the source's fill value. Works on premultiplied pixels, page by page; missing and uniform areas
/// cost nothing.
///
/// Moves by whole pixels, quarter turns and flips store the very same pixels and share pages that line up. What is
/// uniform stays uniform. Null, with nothing made, for a matrix that is singular or not finite, or whose result would
/// not lie within 2^29 pixels of the origin or would touch over 2^31 pixels.
///
/// kept: where the result is wanted, in its coordinates; empty for everywhere. A result of over 2^24 pixels that is
/// also larger than `kept` is cut to it, at whole pages: work and memory are those of what is left.
PAINTLAYER_EXPORT qs::Reference<ilSmartImage> TransformImage(const ilMIOImage& source,
                                                             const qsLinear::AffineMatrix& matrix,
                                                             const TransformFilters& filters, const ilTile& kept = {});

/// The part `from` of the image drawn into the quadrilateral `to`; what lies outside of it is left out. kept, and null,
/// as above; null also for a quadrilateral that is not convex or has no area, and for an unknown kind.
PAINTLAYER_EXPORT qs::Reference<ilSmartImage> WarpImage(const ilMIOImage& source, const ilTile& from, const Rect8f& to,
                                                        WarpKind kind, const TransformFilters& filters,
                                                        const ilTile& kept = {});

/// True when the matrix only moves, by whole pixels.
PAINTLAYER_EXPORT bool IsWholePixelMove(const qsLinear::AffineMatrix& matrix, int& dx, int& dy);
