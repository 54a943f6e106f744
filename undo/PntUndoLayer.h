#pragma once

#include "undo/PntUndoLS.h"

/// A record about one or several layers of a document, which it holds. Undo and redo do nothing.
class PAINTLAYER_EXPORT PntUndoLayer : public PntUndoLS {
public:
    /// A null handle becomes the current container of that document.
    PntUndoLayer(PaintManager* manager, int stackHandle, const PntHandle& handle, LayerStack* stack, Layer* layer,
                 const char* id);

    /// The same for several, pairwise; null layers are allowed.
    PntUndoLayer(PaintManager* manager, int stackHandle, const qs::vector<PntHandle>& handles, LayerStack* stack,
                 const qs::vector<Layer*>& layers, const char* id);

    int GetBytesUsed() override;
    int GetAllocatedBytes() override;
    void Archive(PntUndoDatabase* database) override;
    void CountReleased(PageAccount& account) const override;

    /// The same document and the same first layer, by their handles.
    qs::Reference<PntUndoOper> CompareOper(qs::Reference<PntUndoOper> other) override;

    /// Number of captured layers; null and the null handle for an index out of range.
    int size() const { return static_cast<int>(layers_.size()); }
    Layer* GetLayer(int index) const;
    PntHandle GetLayerContainerHandle(int index) const;

protected:
    /// Whether the captured document is still the one under its handle.
    bool LayerStackIsValid() const;

private:
    qs::vector<PntHandle> handles_;
    qs::vector<qs::Reference<Layer>> layers_;
};
