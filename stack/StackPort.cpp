#include "stack/StackPort.h"

StackPort& GetStackPort()
{
    static Notices notices;
    static StackPort port = {
        .DefaultBackgroundColor = [] { return PaintColor(1, 1, 1, 1); },
        .CanvasUpdated = [] {},
        .StackEdited = [](bool) {},
        .StackChanged = [](bool) {},
        .ContainerAdded = [](int, const PntHandle&) {},
        .ContainerState = [](const PntHandle&) {},
        .LayerRenamed = [](const PntHandle&) {},
        .OpacityRestored = [](const PntHandle&, float) {},
        .TransformGroup = [](const PntHandle&) {},
        .GetStackHandle = [](const LayerStack*) { return -1; },
        .notices = &notices,
    };
    return port;
}
