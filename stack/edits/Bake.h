#pragma once

#include "layers/PntHandle.h"
#include "stack/edits/DocumentEdit.h"

/// Writes into the pixels of image layers what their active stencils do to them.
class Bake : public DocumentEdit {
public:
    using DocumentEdit::DocumentEdit;

    void BakeLayer(const PntHandle& handle, bool deleteUnowned, bool newImage);
    void BakeAll();

    /// Ends what the active stencils do to the layer, as its pixels do it now. With an heir the layer's hard-linked
    /// ones go as well, which follow its visibility, and the others become the heir's.
    void ReleaseStencils(Layer& layer, Layer* heir, bool deleteUnowned);

private:
    bool HasActiveStencil(Layer& layer) const;
    bool BakeStencils(Layer& layer, bool deleteUnowned, bool newImage);
};
