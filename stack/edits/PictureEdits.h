#pragma once

#include "layers/LayerPicture.h"
#include "layers/PntHandle.h"
#include "platform/base/Containers.h"
#include "stack/edits/DocumentEdit.h"

#include <functional>

/// Edits that give layers new pictures, within what is selected: the pictures are made for all before the first is
/// taken.
class PictureEdits : public DocumentEdit {
public:
    using DocumentEdit::DocumentEdit;
    using MakePicture = std::function<LayerPicture(const Layer& layer, const EditLimit& limit)>;

    /// For good, or with nothing changed.
    bool Edit(const qs::vector<PntHandle>& handles, const MakePicture& make);

    /// The same as a preview, in the proxy in progress or one that it begins.
    bool Preview(const qs::vector<PntHandle>& handles, const MakePicture& make);

private:
    bool EditInProxy(const qs::vector<PntHandle>& handles, const MakePicture& make);
};
