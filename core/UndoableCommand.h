#pragma once

#include "core/PaintManager.h"
#include "undo/PntUndoLayerStack.h"
#include "undo/PntUndoStroke.h"

#include <functional>

class BrushStroker;
class PntUndoDatabase;

/// One command on one document, made undoable in one of three shapes. Every layer command of the paint manager is one:
///
///     UndoableCommand(*this, *stroker_, layerStack).ChangeStructure([&](LayerStack& stack) { ... return isDone; });
///
/// All shapes end the stroke on the document and its proxy, take down what the operation may change, run it on the
/// document, keep one step if edits are recorded now (UndoEnable, and there is a store), and make the effect brush's
/// image anew. The operation says whether it did anything; it damages and redraws by itself. Of one that did nothing
/// no step is kept. When it runs out of memory the document is brought back to what it was, as far as the shape tells.
///
/// Handles and names stay what they are, but a structural step puts a copy of the document in its place: no pointer to
/// a layer of before may be used in the operation or after it.
class UndoableCommand {
public:
    using Operation = std::function<bool(LayerStack&)>;

    /// By layer-stack handle (-2: the current one), or by the document that holds a container.
    UndoableCommand(PaintManager& manager, BrushStroker& stroker, int layerStack);
    UndoableCommand(PaintManager& manager, BrushStroker& stroker, const PntHandle& container);

    int GetLayerStackHandle() const { return stackHandle_; }  // -1 for none

    // All return what the operation does; false when there is no document or memory runs out.

    /// Changes which containers there are, their order or properties; no pixels. A refusal is best found before: here
    /// it costs a redraw.
    bool ChangeStructure(const Operation& operation);

    /// Changes pixels, offset or pivot of the layers, all of one document (the selection mask among them: its
    /// visibility as well). Handles that name no layer are left out; without any nothing happens. A proxy of the
    /// current document ends, whichever document is named. When memory runs out the layers get their content back,
    /// recorded or not.
    bool ChangePixels(const qs::vector<PntHandle>& layers, const Operation& operation);

    /// Changes the selection mask: its pixels, place and visibility.
    bool ChangeSelection(const Operation& operation);

    /// Changes the structure, and the pixels of the layers that receive those of others: one combined step.
    bool Merge(const qs::vector<PntHandle>& receivers, const Operation& operation);

    /// Whether steps are kept now.
    static bool IsRecording(PaintManager& manager);

    /// Keeps a step as the newest in whichever store there is, after the store was flushed if it was marked dirty.
    static void Keep(const qs::Reference<PntUndoOper>& step);

private:
    qs::Reference<LayerStack> Enter();
    qs::Reference<PntUndoStroke> CapturePixels(LayerStack& stack, const qs::vector<PntHandle>& layers);
    bool RunOnCopy(PntUndoLayerStack* structure, PntUndoStroke* pixels, const Operation& operation);

    PaintManager& manager_;
    BrushStroker& stroker_;
    int stackHandle_;
};
