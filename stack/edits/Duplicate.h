#pragma once

#include "layers/PntHandle.h"
#include "platform/base/CString.h"
#include "platform/base/Containers.h"
#include "platform/base/Reference.h"
#include "platform/imaging/pages/ilSmartImage.h"
#include "stack/edits/DocumentEdit.h"

/// Independent copies of layers, as the same or in another role (LayerStack::DuplicateTarget).
class Duplicate : public DocumentEdit {
public:
    using DocumentEdit::DocumentEdit;

    PntHandle DuplicateCurrent(bool above, bool redraw, int target, bool connect);
    PntHandle CopyAs(const PntHandle& handle, int target, bool connect);
    PntHandle CopyToImage(const PntHandle& handle);

    /// The union of the visible masks of a layer.
    qs::TempReference<ilSmartImage> MakeMaskComposite(const PntHandle& layer) const;

private:
    PntHandle Make(Layer& source, const PntHandle& where, bool above, bool redraw, int target, bool connect);
    qs::vector<qs::Reference<Layer>> Followers(const Layer& source, Layer& duplicate);
    qsString::CString MakeCopyName(const char* name) const;
};
