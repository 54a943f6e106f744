#pragma once

#include "layers/PntHandle.h"
#include "platform/base/Containers.h"
#include "platform/base/Reference.h"
#include "stack/edits/DocumentEdit.h"

class LayerFolder;

/// Takes layers and folders out of the document; a current layer among them gives way to its neighbour.
class LayerRemoval : public DocumentEdit {
public:
    using DocumentEdit::DocumentEdit;

    /// With what is hard-linked to it. Not redrawn.
    void TakeOut(Layer* layer);

    /// The named layer; the image folder keeps one.
    void Delete(const PntHandle& handle, bool redraw);
    void DeleteFolder(LayerFolder* folder);
    bool DeleteGroup(const PntHandle& handle, bool redraw);
    void DeleteAll();
    void DeleteInvisible(bool notify);
    void DeleteAllMasks(bool notify);
    void DeleteAllStencils(bool notify, bool all);

private:
    void DeleteLayer(Layer* layer, bool keepOne);
    void DeleteContents(LayerFolder* folder, bool keepHardLinked);

    /// The nearest layer below, else above, else the bottom image layer that stays.
    Layer* ChooseCurrentAfter(Layer* layer, const qs::vector<qs::Reference<Layer>>& leaving) const;
    void TakeOutOne(Layer* layer);
    void EnsureImageLayer();
};
