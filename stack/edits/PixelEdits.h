#pragma once

#include "layers/LayerEnums.h"
#include "layers/PntHandle.h"
#include "platform/base/Reference.h"
#include "platform/imaging/pages/ilSmartImage.h"
#include "stack/edits/DocumentEdit.h"

/// Edits that write the image of one raster layer, all or nothing.
class PixelEdits : public DocumentEdit {
public:
    using DocumentEdit::DocumentEdit;

    bool ClearCurrent();
    bool ClearRect(const PntHandle& handle, const ilTile& canvasTile);
    bool ClearSelected(const PntHandle& handle);

    /// A layer of that mode only.
    bool Invert(const PntHandle& handle, LayerMode mode);

    /// Makes what lies outside the tile transparent.
    bool Crop(const PntHandle& handle, const ilTile& canvasTile);
    bool ReplaceImage(const PntHandle& handle, qs::TempReference<ilImage> image);
};
