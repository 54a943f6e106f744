#pragma once

#include "layers/LayerEnums.h"
#include "layers/PntHandle.h"
#include "platform/base/Reference.h"
#include "platform/imaging/pages/ilImage.h"
#include "stack/edits/DocumentEdit.h"

class LayerContainer;
class LayerFolder;

/// Puts layers and folders into the document, and moves them within it.
class LayerPlacement : public DocumentEdit {
public:
    using DocumentEdit::DocumentEdit;

    /// Only this: nothing becomes current, nobody is told.
    bool Insert(Layer* layer, const PntHandle& where, bool above);
    bool InsertFolder(LayerFolder* folder, LayerMode mode, const PntHandle& where);

    /// Makes the layer current as well and tells the host.
    PntHandle Add(Layer* layer, const PntHandle& where, bool rebuild, bool above);
    PntHandle Add(qs::TempReference<ilImage> image, qs::TempReference<ilImage> aux, LayerMode mode, LayerType type,
                  bool above, const PntHandle& where, bool redraw, int x, int y, bool forceAlphaValid);
    PntHandle AddFolder(LayerMode mode, const PntHandle& where);
    bool Move(const PntHandle& moved, const PntHandle& target, bool above);

private:
    bool InsertLayer(Layer* layer, const PntHandle& where, bool above);
    bool InsertContainer(LayerContainer* container, LayerFolder* top, const PntHandle& where, bool above);
};
