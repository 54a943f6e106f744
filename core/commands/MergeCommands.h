#pragma once

#include "layers/PntHandle.h"
#include "platform/base/Export.h"
#include "stack/LayerStackHandle.h"

/// Part of PaintManager: merging, baking and copying layers; false, or the null handle, when nothing was done. One step
/// of undo each.
class PAINTLAYER_EXPORT MergeCommands {
public:
    /// Into the layer below in the same folder. The canvas shows what it showed before, for all merges; where one layer
    /// cannot express that the merge is refused.
    bool MergeLayerWithBelow(const PntHandle& layer = kCurrentLayerHandle);

    /// One layer in the folder's place.
    bool MergeFolder(int layerStack, const PntHandle& folder);

    /// All image layers become one, hidden ones go; or the visible ones become one and the others stay.
    bool MergeAllLayers(int layerStack = kCurrentLayerStack);
    bool MergeVisibleLayers(int layerStack = kCurrentLayerStack);

    /// Makes transparent what stencils hide; the stencils go.
    bool BakeAllStencils(int layerStack = kCurrentLayerStack);

    /// A copy of the current layer above it, which becomes current.
    PntHandle DuplicateCurrentLayer(int layerStack = kCurrentLayerStack);

    /// A new layer of the layer's look, or of its coverage; connect: it acts on the layer.
    PntHandle CopyLayerToImage(const PntHandle& layer = kCurrentLayerHandle);
    PntHandle CopyLayerToMask(const PntHandle& layer = kCurrentLayerHandle, bool connect = true);
    PntHandle CopyLayerToStencil(const PntHandle& layer = kCurrentLayerHandle, bool connect = true);

protected:
    MergeCommands() = default;
    ~MergeCommands() = default;
};
