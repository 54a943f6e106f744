#pragma once

#include "layers/LayerStackTransform.h"
#include "layers/PntHandle.h"
#include "platform/imaging/pages/ilTile.h"
#include "platform/imaging/transform/FilterMethod.h"
#include "platform/imaging/transform/Rect8f.h"
#include "stack/edits/DocumentEdit.h"

class PictureEdits;

/// Transforms of a layer, or of its transform group, within what is selected; and their previews.
class LayerTransforms : public DocumentEdit {
public:
    LayerTransforms(StackRooms& rooms, PictureEdits& pictures) : DocumentEdit(rooms), pictures_(pictures) {}

    bool XForm(const LayerStackTransform& transform, FilterMethod minify, FilterMethod magnify,
               const PntHandle& handle);
    bool ProxyXForm(const LayerStackTransform& transform, FilterMethod minify, FilterMethod magnify,
                    const PntHandle& handle);
    bool Deform(const Rect8f& corners, FilterMethod filter, int kind, double dx, double dy, const PntHandle& handle);
    bool ProxyDeform(const Rect8f& corners, FilterMethod filter, int kind, double dx, double dy,
                     const PntHandle& handle);

    /// The canvas box of what they would change.
    ilTile GetBounds(const PntHandle& handle) const;

private:
    PictureEdits& pictures_;
};
