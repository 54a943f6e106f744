#pragma once

#include "layers/PntHandle.h"
#include "platform/base/Containers.h"

#include <cstdint>

class LayerContainer;

/// Where a folder's children probably stand, by their handles, so that one among thousands is found without a walk. The
/// folder's list alone says what is true: every hint is looked up in it before it is believed.
class HandleHints {
public:
    /// The child of that handle, or null where the hints know of none: it may be there nevertheless.
    LayerContainer* Find(const qs::vector<LayerContainer*>& children, const PntHandle& handle) const;

    /// Takes all children in. Where memory does not suffice there are no hints.
    void Rebuild(const qs::vector<LayerContainer*>& children) noexcept;

private:
    qs::vector<uint32_t> slots_;  // 1 + a child's position, or 0; a power of two of them, at least twice the children
};
