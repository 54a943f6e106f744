#pragma once

#include "undo/PntUndoList.h"
#include "undo/PntUndoQueue.h"

/// The one undo store of the process. None exists until the host sets one up; the first call wins, later ones return
/// false. It is never destroyed: the documents that its records hold may be needed until the very end.
PAINTLAYER_EXPORT bool SetupPntUndoQueue();
PAINTLAYER_EXPORT bool SetupPntUndoList(bool (*callback)(unsigned int handle));

/// The store, or null, as the kind that the caller knows it to be.
PAINTLAYER_EXPORT PntUndoQueue* PaintUndoQueue();
PAINTLAYER_EXPORT PntUndoList* PaintUndoList();
PAINTLAYER_EXPORT PntUndoDatabase* PaintUndoDatabase();

/// Makes another store (or null, for none) the process's and returns the one before; both belong to the caller.
PAINTLAYER_EXPORT PntUndoDatabase* ExchangeUndoDatabase(PntUndoDatabase* database);
