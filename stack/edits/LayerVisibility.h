#pragma once

#include "layers/PntHandle.h"
#include "platform/base/Containers.h"
#include "stack/edits/DocumentEdit.h"

/// Shows and hides layers and folders.
class LayerVisibility : public DocumentEdit {
public:
    using DocumentEdit::DocumentEdit;

    /// With what is hard-linked to the layer; the redraw is the caller's.
    void Show(Layer& layer, bool visible);
    void SetVisible(const PntHandle& handle, bool visible, bool redraw);
    void SetAllVisible(bool visible, bool redraw);
    void SetAllVisible(const qs::vector<PntHandle>& handles, bool visible, bool redraw);
    void SetFolderActive(const PntHandle& handle, bool active, bool redraw);
    void SetActive(const PntHandle& handle, bool active);
};
