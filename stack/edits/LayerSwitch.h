#pragma once

#include "layers/PntHandle.h"
#include "stack/edits/DocumentEdit.h"

/// Makes another layer current: ends a proxy, splits the composite there and shows what changes by it.
class LayerSwitch : public DocumentEdit {
public:
    using DocumentEdit::DocumentEdit;

    void SetCurrent(const PntHandle& handle, bool redraw, bool splitFlag, bool force);
};
