#pragma once

#include "layers/LayerContent.h"
#include "undo/PntUndoLayer.h"

/// A change of the pixels of one or several layers of a document, as by a stroke, and of where they lie.
///
/// Captured are snapshots that share pages with the layers: constant time, and the memory of the pages changed since.
/// Undo and redo exchange them with what the layers have then, so they are exact whatever happened in between; they
/// cost the pages that differ. Of the selection mask, visibility and handle are captured as well.
class PAINTLAYER_EXPORT PntUndoStroke : public PntUndoLayer {
public:
    /// Captures one layer; `image` is its image as it is before the change (null: its present one).
    PntUndoStroke(PaintManager* manager, int stackHandle, const PntHandle& handle, LayerStack* stack, Layer* layer,
                  const qs::TempReference<ilImage>& image, const char* id);

    /// Captures several layers of a document, pairwise with their handles, as they are now.
    PntUndoStroke(PaintManager* manager, int stackHandle, const qs::vector<PntHandle>& handles, LayerStack* stack,
                  const qs::vector<Layer*>& layers, const char* id);

    /// Undo after undo, or redo without one, does nothing.
    void UndoOper() override;
    void RedoOper() override;
    int GetBytesUsed() override;

    /// Counts the pixels of captured pages that the layer does not share any more.
    int GetAllocatedBytes() override;
    void Archive(PntUndoDatabase* database) override;

    /// Whether a captured layer is otherwise now, as far as shared pages tell.
    bool HasChanges() const;

    bool IsUndone() const { return isUndone_; }

private:
    struct Saved {
        LayerContent content;
        bool isSelectionMask = false;
        qs::Reference<Layer> mask;  // the selection mask itself: a selection that was made anew is another one
        bool isVisible = true;  // of the selection mask
        PntHandle handle = kNullHandle;
    };
    struct Exchange;

    Saved Capture(Layer& layer) const;
    qs::Reference<Layer> FindLayer(size_t index) const;
    bool Swap();
    void Show(LayerStack& stack, const qs::vector<Exchange>& exchanged) const;

    qs::vector<Saved> saved_;  // as many as layers; of a null layer nothing
    bool isUndone_ = false;
};
