#pragma once

#include "layers/PntHandle.h"
#include "platform/base/Containers.h"
#include "platform/imaging/pages/ilTile.h"

class Layer;
class LayerContainer;
class LayerFolder;
class LayerStack;
class MaskingPaintOps;

/// What the composite asks of its document. The room above fills it at start-up; until then every entry has a neutral
/// answer. The stack argument is never null; what is returned is borrowed and good for the call.
struct CompositePort {
    /// The image folder; null when there is none.
    LayerFolder* (*GetImageFolder)(LayerStack* stack);

    /// The current layer of any mode, the selection mask included; null when there is none.
    Layer* (*GetCurrentLayer)(LayerStack* stack);

    /// A container of any of the three folders, or the selection mask; null when the handle names none.
    LayerContainer* (*GetContainer)(LayerStack* stack, const PntHandle& handle);
    Layer* (*GetLayer)(LayerStack* stack, const PntHandle& handle);  // null for a folder

    /// Owners of a mask or stencil, in its order; the masks connected to a layer, in folder order.
    qs::vector<PntHandle> (*GetOwnerArray)(LayerStack* stack, const PntHandle& handle);
    qs::vector<PntHandle> (*GetMaskLayers)(LayerStack* stack, const PntHandle& owner);

    /// The canvas.
    ilTile (*GetSize)(LayerStack* stack);

    bool (*CompositesSuspended)(LayerStack* stack);
    bool (*IsShowCurrentLayerOnly)(LayerStack* stack);

    /// True when mask layers are shown: they are set visible and not disabled.
    bool (*AreMasksShown)(LayerStack* stack);

    /// The selection mask while it is used (isSelectionMaskUsed); null otherwise.
    Layer* (*GetUsedSelectionMask)(LayerStack* stack);

    /// The painter of the current layer while it composes a stroke over the saved original (IsMasking); else null.
    MaskingPaintOps* (*GetMaskingPainter)(LayerStack* stack);

    /// Announces an edit of the document.
    void (*Notify)(LayerStack* stack, bool edited);

    /// Adds a canvas tile to what the next update redraws; nothing is drawn at once.
    void (*DamageTile)(LayerStack* stack, const ilTile& tile);
};

/// The process's port, for reading and filling.
CompositePort& GetCompositePort();
