#pragma once

#include "layers/PntHandle.h"

/// An iterator over nothing, kept for callers of the interface: Next() always returns the null handle.
class PAINTLAYER_EXPORT LayerContainerIterator {
public:
    LayerContainerIterator(int, bool, bool, bool) {}

    PntHandle Next() { return kNullHandle; }
};
