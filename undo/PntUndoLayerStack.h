#pragma once

#include "undo/PntUndoLayer.h"

/// A change of a document's structure. The record keeps the document as it is and puts a copy in its place, on which
/// the edit is made; undo and redo exchange the two. Layers are copied, their images are shared: no pixel is copied.
class PAINTLAYER_EXPORT PntUndoLayerStack : public PntUndoLayer {
public:
    /// Replaces the document under the handle by a copy. Throws std::bad_alloc with the document in its place.
    PntUndoLayerStack(PaintManager* manager, int stackHandle, const PntHandle& handle, qs::Reference<LayerStack> stack,
                      Layer* layer, const char* id);

    /// Nothing happens when the host refuses or another document has the place now. Into the place of the document
    /// after it was closed, undo brings it back.
    void UndoOper() override;
    void RedoOper() override;
    int GetBytesUsed() override;
    int GetAllocatedBytes() override;
    void Archive(PntUndoDatabase* database) override;

    /// The copy that the edit was made on.
    const qs::Reference<LayerStack>& GetNewLayerStack() const { return newStack_; }

    /// Puts the old document back after an edit that was refused; the record is of no use any more.
    void Cancel();

private:
    bool CanTakePlace(const qs::Reference<LayerStack>& stack) const;
    qs::Reference<LayerStack> GetPresent() const;
    qs::Reference<LayerStack> Restore(const qs::Reference<LayerStack>& stack);

    qs::Reference<LayerStack> newStack_;
};
