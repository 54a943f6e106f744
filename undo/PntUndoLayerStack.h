#pragma once

#include "stack/PropertySnapshot.h"
#include "undo/PntUndoLayer.h"

#include <optional>

/// A change of a document's structure. The record keeps the document as it is and puts a copy in its place, on which
/// the edit is made; undo and redo exchange the two. Layers are copied, their images are shared: no pixel is copied.
///
/// Properties of containers and of the document that were set by the step itself come and go with it. Those that were
/// set apart from it, before or after, stay as they are now. What is part of the step is told by SetComplete.
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

    /// The edit was the closing of the document, which has left its place: redo closes it again. The copy is let go.
    void SetClosesDocument();

    /// Takes what the document has now for what the step has made of it.
    void SetComplete() noexcept override;
    void CountReleased(PageAccount& account) const override;

protected:
    Outcome TryUndo() override;
    Outcome TryRedo() override;
    void Revert() noexcept override;
    const char* GetKindName() const override { return closesDocument_ ? "Close Document" : "Change Layers"; }

private:
    bool CanTakePlace(const qs::Reference<LayerStack>& stack) const;
    qs::Reference<LayerStack> GetPresent() const;
    bool MayRestore() const;
    Outcome Restore(const qs::Reference<LayerStack>& stack, qs::Reference<LayerStack>& before);
    bool Replace(const qs::Reference<LayerStack>& stack, LayerStack* before);
    Outcome CloseAgain();

    qs::Reference<LayerStack> newStack_;
    std::optional<PropertySnapshot> left_;  // of the document when the step was done last, either way; none: going on
    bool closesDocument_ = false;
};
