#pragma once

#include "layers/PntHandle.h"
#include "platform/base/Containers.h"

class Layer;
class LayerFolder;

/// What layers ask of the documents and of the host above them. The rooms above fill it at start-up; until then every
/// entry has a neutral answer, so that layers also live without a document.
struct DocumentPort {
    /// The layer that a handle names, in whatever open document; null when there is none.
    Layer* (*FindLayer)(const PntHandle& handle);

    /// Handles of the masks or stencils that act on the layer, in its document; empty without one.
    qs::vector<PntHandle> (*GetMaskLayers)(const PntHandle& owner);
    qs::vector<PntHandle> (*GetStencilLayers)(const PntHandle& owner);

    /// Whether any open document holds the container.
    bool (*IsHandleValid)(const PntHandle& handle);

    /// The neighbours of a layer in its folder's order, and the containers of a document by mode; null handles and
    /// empty lists where there are none.
    PntHandle (*GetPreviousLayer)(const PntHandle& handle);
    PntHandle (*GetNextLayer)(const PntHandle& handle);
    qs::vector<PntHandle> (*GetContainerHandles)(int layerStack, int mode);

    /// The open documents: their number, and the index of the first used slot at or after `from` (-1: none).
    int (*GetLayerStackCount)();
    int (*GetUsedSlotFrom)(int from);

    /// Tells the host: a layer's image was replaced or rewritten; a container left its folder.
    void (*LayerImageChanged)(const PntHandle& handle);
    void (*ContainerRemoved)(const PntHandle& handle);

    /// The host's debug level; 0 without a host.
    int (*GetDebugLevel)();
};

/// The process's port, for reading and filling.
DocumentPort& GetDocumentPort();

/// The debug level at which objects print themselves on standard output.
inline constexpr int kDumpDebugLevel = 8214;

/// Whether the host's debug level asks for dumps.
bool IsDumpWanted();
