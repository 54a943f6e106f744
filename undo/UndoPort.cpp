#include "undo/UndoPort.h"

UndoPort& GetUndoPort()
{
    static UndoPort port = {
        .GetLayerStack = [](PaintManager*, int) { return qs::Reference<LayerStack>(); },
        .GetLayerStackHandle = [](PaintManager*, const qs::Reference<LayerStack>&) { return -1; },
        .GetCurrentLayerStack = [](PaintManager*) { return -1; },
        .GetCurrentContainer = [](PaintManager*, int) { return kNullHandle; },
        .ReplaceLayerStack = [](PaintManager*, const qs::Reference<LayerStack>&, int) {},
        .CloseLayerStack = [](PaintManager*, int) {},
        .FinishStroke = [] { return true; },
        .ContentChanged = [](PaintManager*) {},
        .MayRestore = [](PaintManager*, int) { return true; },
        .Message = [](const char*) {},
    };
    return port;
}
