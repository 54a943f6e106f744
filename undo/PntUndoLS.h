#pragma once

#include "stack/LayerStack.h"
#include "undo/PntUndoOper.h"

class PaintManager;

/// A record about one document, which it holds. Undo and redo do nothing: the caller acts on what was captured.
class PAINTLAYER_EXPORT PntUndoLS : public PntUndoOper {
public:
    /// A stack handle of -2 becomes the manager's current one.
    PntUndoLS(PaintManager* manager, int stackHandle, qs::Reference<LayerStack> stack, const char* id);

    void UndoOper() override {}
    void RedoOper() override {}
    void CountReleased(PageAccount& account) const override;
    int GetBytesUsed() override;
    int GetAllocatedBytes() override;
    void Archive(PntUndoDatabase* database) override;

    /// The same document, by its handle.
    qs::Reference<PntUndoOper> CompareOper(qs::Reference<PntUndoOper> other) override;

    PaintManager* GetPaintCore() const { return manager_; }
    int GetLayerStackHandle() const { return stackHandle_; }
    const qs::Reference<LayerStack>& GetLayerStack() const { return stack_; }

protected:
    void SetLayerStack(const qs::Reference<LayerStack>& stack) { stack_ = stack; }

private:
    PaintManager* manager_;
    int stackHandle_;
    qs::Reference<LayerStack> stack_;
};
