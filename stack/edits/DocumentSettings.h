#pragma once

#include "stack/edits/DocumentEdit.h"

struct PaintColor;
class Symmetry;

/// Sets what is a property of the document as a whole.
class DocumentSettings : public DocumentEdit {
public:
    using DocumentEdit::DocumentEdit;

    void SetSymmetry(Symmetry* symmetry);
    void SetShowCurrentLayerOnly(bool on);
    void SetMaskDisabled(bool disable);
    void SetMaskVisible(bool visible);
    void SetMaskOpacity(float opacity);
    void SetMaskColor(const PaintColor& color);
    void Swap(DocumentProperties& properties) noexcept;
};
