#pragma once

#include "core/brush/BrushState.h"
#include "layers/Layer.h"
#include "platform/imaging/pages/ilSmartImage.h"
#include "platform/imaging/painter/PaintOps.h"

/// Pictures of the brush, on images of their own. Sizes are stamp radii in pixels.
namespace BrushSamples {

/// A painter with the brush at another scale on an empty image whose pixels (0, 0) to (width, height) it may stamp.
qs::Reference<PaintOps> MakePainter(const BrushState& brush, int width, int height, float scale);

/// One stamp in the middle of the picture.
qs::TempReference<ilSmartImage> MakeStamp(const BrushState& brush, int width, int height, float size);

/// An S from left to right; size and opacity follow a pressure that rises to the middle and falls again.
qs::TempReference<ilSmartImage> MakeStroke(const BrushState& brush, int width, int height, float size);

/// A painter with the brush on a scaled copy of the layer within `canvas`, whose pixel (0, 0) becomes (0, 0). Null
/// for a layer without an image.
qs::Reference<PaintOps> MakeLayerPainter(const BrushState& brush, const Layer& layer, const ilTile& canvas,
                                         float scale);

}  // namespace BrushSamples
