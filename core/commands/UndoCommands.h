#pragma once

#include "platform/base/Export.h"
#include "platform/base/Reference.h"
#include "stack/LayerStackHandle.h"
#include "undo/PntUndoLayerStack.h"

/// Part of PaintManager: whether edits are recorded. The store itself is set up by SetupPntUndoQueue or
/// SetupPntUndoList, and asked for undo and redo.
class PAINTLAYER_EXPORT UndoCommands {
public:
    /// On at first. Off: edits are not recorded.
    void SetLogUndoOper(bool on);
    bool GetLogUndoOper() const;

    /// The same, for a while and for the whole process.
    void SuspendUndo(bool suspend);
    bool isUndoSuspended() const;

    /// Off at first. On: setting a property of a layer or folder (opacity, blend mode, visibility, name, ...) is a step
    /// of undo as well; consecutive settings of the same property of the same layers are one.
    void SetRecordPropertyEdits(bool on);
    bool GetRecordPropertyEdits() const;

    /// Whether edits are recorded now: not switched off by the environment ("MIO_UNDO_DISABLE" is "1" at the first
    /// call), not suspended, and logging is on.
    bool UndoEnable();

    /// Puts a copy in the document's place, ready for a structural edit, and returns the record that holds the document
    /// as it is; kept as a step of its own when pushToList. Null without the document, when memory does not suffice,
    /// and while edits are not recorded.
    qs::Reference<PntUndoLayerStack> AddUndoLayerStack(int handle, bool pushToList);

    /// The history does not fit the documents any more: it is flushed before the next step is kept.
    void UndoListSetDirty();

    /// Empties the undo store, whichever there is.
    void FlushUndoQueue();

protected:
    UndoCommands() = default;
    ~UndoCommands() = default;
};
