#pragma once

#include "layers/Layer.h"
#include "platform/imaging/stamps/PaintObj.h"

/// A brush's shape or texture, taken from what is painted on a layer.
namespace BrushPickup {

/// One channel: the coverage or alpha of the layer within `area` (canvas pixels; an empty one: the whole layer), cut to
/// what is painted. Null when nothing is, or when it is larger than any stamp could use.
qs::TempReference<ilImage> TakeShape(const Layer& layer, const ilTile& area);

/// The colours of a layer within `area`, as a texture that repeats; the whole layer is cut to what is painted. Null
/// likewise, and for layers of coverage.
qs::Reference<PaintObj> TakeTexture(const Layer& layer, const ilTile& area);

}  // namespace BrushPickup
