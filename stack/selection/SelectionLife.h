#pragma once

#include "platform/base/Reference.h"
#include "platform/imaging/pages/PaintColor.h"
#include "platform/imaging/pages/ilSmartImage.h"
#include "stack/edits/DocumentEdit.h"

#include <functional>

/// Makes, exchanges, edits and shows the selection mask. With `rebuild` the composite mask and the views follow at
/// once, else at the next update.
class SelectionLife : public DocumentEdit {
public:
    using DocumentEdit::DocumentEdit;

    void Set(Layer* mask);

    /// The same for a mask that was this document's before, when nothing may fail.
    void PutBack(Layer& mask) noexcept;

    /// A new selection mask, empty or over the image, which is inactive and keeps the handle of the one before.
    void Clear(bool rebuild);
    void Replace(const qs::Reference<ilSmartImage>& image);

    /// A selection mask over the image in the default colours, shown as layers are, with the handle of the one before:
    /// whoever named the selection finds it again.
    qs::Reference<Layer> MakeMask(const qs::Reference<ilSmartImage>& image) const;

    /// Lets `change` edit the selection mask's image within `onCanvas`, or leaves it as it is when that fails.
    void Edit(const ilTile& onCanvas, bool rebuild, const std::function<void(ilMIOImage& mask)>& change);
    void Show(bool rebuild);

    void SetActive(bool active);
    void SetCurrent();
    void SetDisplayOpacity(float opacity);
    void SetDisplayColor(const PaintColor& color);
};
