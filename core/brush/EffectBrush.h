#pragma once

#include "platform/base/Export.h"
#include "platform/imaging/pages/ilMIOImage.h"

/// A brush that uncovers a processed version of the layer (blur, sharpen, a colour effect): the host's own filter.
class PAINTLAYER_EXPORT EffectBrush {
public:
    virtual ~EffectBrush() = default;

    /// Whether the other brush makes the same effect with the same settings.
    virtual bool IsEqual(const EffectBrush* other) const = 0;

    /// The whole layer with the effect applied, of the same channels and coordinates; null when it cannot be made.
    virtual qs::TempReference<ilMIOImage> ProcessLayer(const ilMIOImage& layer) = 0;
};
