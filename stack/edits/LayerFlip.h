#pragma once

#include "layers/PntHandle.h"
#include "platform/base/Containers.h"
#include "stack/edits/DocumentEdit.h"

/// Mirrors a layer with its transform group and what is hard-linked to them.
class LayerFlip : public DocumentEdit {
public:
    using DocumentEdit::DocumentEdit;

    qs::vector<PntHandle> GetFlippedWith(const PntHandle& handle) const;
    bool Flip(const PntHandle& handle, bool horizontal, bool vertical);
};
