#pragma once

#include "layers/PntHandle.h"
#include "platform/base/Notices.h"
#include "platform/imaging/pages/PaintColor.h"

class LayerStack;

/// What a layer stack asks of, and tells, the paint manager and the host above it. The room above fills it at start-up;
/// until then every entry has a neutral answer or does nothing, so that stacks also live without a manager.
struct StackPort {
    /// The background of a new document; white without a host.
    PaintColor (*DefaultBackgroundColor)();

    /// The image plane was brought up to date by a command rather than a stroke.
    void (*CanvasUpdated)();

    /// The structure was edited: the host's callback, then the changed signal.
    void (*StackEdited)(bool changed);
    void (*StackChanged)(bool changed);

    /// A container joined the document with this registry handle (-1: unregistered); a container's state (current,
    /// visible, active) or a container's name changed; undo or redo changed its opacity.
    void (*ContainerAdded)(int stackHandle, const PntHandle& container);
    void (*ContainerState)(const PntHandle& container);
    void (*LayerRenamed)(const PntHandle& container);
    void (*OpacityRestored)(const PntHandle& container, float opacity);

    /// A layer joined or left a transform group.
    void (*TransformGroup)(const PntHandle& layer);

    /// The registry handle of a stack, or -1.
    int (*GetStackHandle)(const LayerStack* stack);

    /// Holds back what is told while a document is being edited. Never null.
    Notices* notices;
};

/// The process's port, for reading and filling.
StackPort& GetStackPort();
