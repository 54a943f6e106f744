#pragma once

#include "layers/PntHandle.h"
#include "stack/edits/DocumentEdit.h"

struct PaintColor;

/// Selects what is 4-connected to a canvas point and like it in colour.
class MagicWand : public DocumentEdit {
public:
    using DocumentEdit::DocumentEdit;

    bool Select(int x, int y, float tolerance, const PaintColor& color, bool fromAll, bool isSmooth,
                const PntHandle& handle);
};
