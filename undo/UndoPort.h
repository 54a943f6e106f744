#pragma once

#include "layers/PntHandle.h"
#include "platform/base/Reference.h"
#include "stack/LayerStack.h"

class PaintManager;

/// What records and stores ask of, and tell, the paint manager and the host above them; the manager is the one that the
/// record was made with. The room above fills it at start-up; until then every entry has a neutral answer or does
/// nothing. Entries that change documents may run code of the host.
struct UndoPort {
    /// The document under a handle, or null; the handle of a document and of the current one, or -1.
    qs::Reference<LayerStack> (*GetLayerStack)(PaintManager* manager, int stackHandle);
    int (*GetLayerStackHandle)(PaintManager* manager, const qs::Reference<LayerStack>& stack);
    int (*GetCurrentLayerStack)(PaintManager* manager);

    /// The current container of a document, or the null handle.
    PntHandle (*GetCurrentContainer)(PaintManager* manager, int stackHandle);

    /// Puts a document in the place of another, or opens it again in an empty one, which counts as one document more.
    /// Nothing happens when memory does not suffice.
    void (*ReplaceLayerStack)(PaintManager* manager, const qs::Reference<LayerStack>& stack, int stackHandle);

    /// Closes a document again, without a record.
    void (*CloseLayerStack)(PaintManager* manager, int stackHandle);

    /// Ends the stroke in progress, which may be kept as a new step. False while it cannot end: it is being fed.
    bool (*FinishStroke)();

    /// Pixels changed without the manager's doing.
    void (*ContentChanged)(PaintManager* manager);

    /// Whether the host lets a document be brought back; without a host it does.
    bool (*MayRestore)(PaintManager* manager, int stackHandle);

    /// Shows a text to the user.
    void (*Message)(const char* text);
};

/// The process's port, for reading and filling.
UndoPort& GetUndoPort();
