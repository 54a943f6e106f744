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

    /// Marks the record as one of a layer's place: the next move of the same layers joins it.
    void SetIsMove() { isMove_ = true; }
    bool TakeIn(const PntUndoOper& later) noexcept override;

    /// Gives the layers back what was captured, after an edit that failed halfway: needs no memory, draws nothing and
    /// tells nobody; all of the document is made again at the next update. The record is of no use any more.
    void RollBack() noexcept;

    void CountReleased(PageAccount& account) const override;
    const LayerStack* GetNeededStack() const override { return GetLayerStack().get(); }

protected:
    bool Prepare() override;
    Outcome TryUndo() override;
    Outcome TryRedo() override;
    void Revert() noexcept override;
    void Settle() noexcept override;
    const char* GetKindName() const override { return isMove_ ? "Move Layer" : "Change Pixels"; }

private:
    struct Saved {
        LayerContent content;
        bool isSelectionMask = false;
        qs::Reference<Layer> mask;  // the selection mask itself: a selection that was made anew is another one
        bool isVisible = true;  // of the selection mask
        PntHandle handle = kNullHandle;
    };

    /// One layer's part of an undo that is prepared: where it goes, what is there now, what that changes on the canvas.
    struct Exchange {
        size_t index;
        qs::Reference<Layer> layer;
        Saved other;  // what the layer has; once exchanged, what it had from the record
        qs::vector<ilTile> tiles;
        bool isMoved;  // or changed in other ways than by stored pixels
        bool isMask;  // the selection mask, and whether it was visible
        bool wasVisible;
    };

    Saved Capture(Layer& layer) const;
    qs::Reference<Layer> FindLayer(size_t index) const;
    Exchange MakeExchange(LayerStack& stack, size_t index, const qs::Reference<Layer>& layer) const;
    static qs::Reference<Layer> Put(LayerStack& stack, const qs::Reference<Layer>& layer, const Saved& saved) noexcept;
    Outcome Swap();
    void Commit() noexcept;
    void Show(LayerStack& stack, const qs::vector<Exchange>& exchanged) const;

    qs::vector<Saved> saved_;  // as many as layers; of a null layer nothing
    qs::vector<Exchange> exchanges_;  // while an undo or redo runs
    bool isPrepared_ = false;
    bool isMove_ = false;
};
