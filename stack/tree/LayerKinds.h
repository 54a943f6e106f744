#pragma once

#include "layers/Layer.h"

inline bool IsRaster(const Layer& layer)
{
    return layer.GetLayerType() == kLayerTypeRaster;
}

/// A mask or a stencil: one channel that acts on other layers.
inline bool IsCoverage(const Layer& layer)
{
    return layer.isMask() || layer.isStencil();
}
