#pragma once

#include "layers/ContainerProperties.h"
#include "undo/PntUndoLS.h"

/// A change of one property of one or several containers of a document. It finds them again by their handles in
/// whichever version of the document has the place; a container that is not there is left out. Undo and redo exchange
/// what the record holds with what the containers have, with all that follows from setting it.
class PAINTLAYER_EXPORT PntUndoProperty : public PntUndoLS {
public:
    /// Captures the property as it is now.
    PntUndoProperty(PaintManager* manager, int stackHandle, const LayerStack& stack,
                    const qs::vector<PntHandle>& handles, ContainerProperty property);

    void UndoOper() override;
    void RedoOper() override;
    int GetBytesUsed() override;
    int GetAllocatedBytes() override;

    /// Whether a container has another value now.
    bool HasChanges() const;

    /// A later change of the same property of the same containers.
    bool TakeIn(const PntUndoOper& later) noexcept override;

    ContainerProperty GetProperty() const { return property_; }

protected:
    Outcome TryUndo() override;
    Outcome TryRedo() override;
    void Revert() noexcept override;
    const char* GetKindName() const override;

private:
    struct Saved {
        PntHandle handle;
        ContainerProperties properties;  // one of them counts
    };
    qs::Reference<LayerStack> FindStack() const;
    Outcome Run();
    void Exchange(LayerStack& stack) noexcept;

    qsOS::Uuid document_;
    ContainerProperty property_;
    qs::vector<Saved> saved_;
};
