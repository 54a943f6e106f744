#pragma once

#include "platform/base/FunctionRef.h"
#include "stack/LayerStack.h"
#include "undo/PntUndoLayerStack.h"
#include "undo/PntUndoStroke.h"

#include <span>

class PntUndoDatabase;
struct PaintSession;

/// One command on one document, made undoable in one of three shapes. Every layer command of the paint manager is one:
///
///     UndoableCommand(SessionOf(this), layerStack).ChangeStructure([&](LayerStack& stack) { ... return isDone; });
///
/// All shapes end the stroke on the document and its proxy, take down what the operation may change, run it on the
/// document, keep one step if edits are recorded now (UndoEnable, and there is a store), and make the effect brush's
/// image anew. The operation says whether it did anything; of one that did nothing no step is kept. When memory runs
/// out, for the operation or its step, the document is brought back to what it was. The host hears of all that when the
/// command is through, and not at all of one that was taken back. In the middle of another command nothing happens.
///
/// Handles and names stay what they are, but a structural step puts a copy of the document in its place: no pointer to
/// a layer of before may be used in the operation or after it.
class UndoableCommand {
public:
    using Operation = FunctionRef<bool(LayerStack&)>;

    /// By layer-stack handle (-2: the current one), or by the document that holds a container. name: of the step, for a
    /// menu; a literal.
    UndoableCommand(PaintSession& session, int layerStack, const char* name);
    UndoableCommand(PaintSession& session, const PntHandle& container, const char* name);

    /// The command moves layers, and joins the move of the same ones right before it.
    UndoableCommand& SetIsMove();

    // All return what the operation does; false when there is no document or memory runs out.

    /// Changes which containers there are, their order or properties; no pixels. A refusal is best found before: here
    /// it costs a redraw.
    bool ChangeStructure(Operation operation);

    /// Changes pixels, offset or pivot of the layers, all of one document (the selection mask among them: its
    /// visibility as well). Handles that name no layer are left out; without any nothing happens. A proxy of the
    /// current document ends, whichever document is named.
    bool ChangePixels(std::span<const PntHandle> layers, Operation operation);
    bool ChangePixels(const PntHandle& layer, Operation operation) { return ChangePixels({&layer, 1}, operation); }

    /// Changes the selection mask: its pixels, place and visibility.
    bool ChangeSelection(Operation operation);

    /// Changes the structure, and the pixels of the layers that receive those of others: one combined step.
    bool Merge(std::span<const PntHandle> receivers, Operation operation);

    // --- steps ---

    /// Whether steps are kept now.
    static bool IsRecording(const PaintSession& session);

    /// Keeps a step as the newest in whichever store there is, after the store was flushed if it was marked dirty.
    /// Its edit is done, or (KeepOpen) goes on until the next record is made.
    static void Keep(PaintSession& session, const qs::Reference<PntUndoOper>& step, const char* name);
    static void KeepOpen(PaintSession& session, const qs::Reference<PntUndoOper>& step);

    /// Puts a copy in the document's place and returns the record that holds the document as it was. Null, with nothing
    /// changed, when there is none or another one has the place by then.
    static qs::Reference<PntUndoLayerStack> RecordStructure(PaintSession& session, int stackHandle);

private:
    qs::Reference<LayerStack> Enter(bool endsCurrentProxy);
    qs::Reference<PntUndoStroke> CapturePixels(LayerStack& stack, std::span<const PntHandle> layers);
    bool RunStructural(std::span<const PntHandle> receivers, Operation operation);

    PaintSession& session_;
    int stackHandle_;
    const char* name_;
    bool isMove_ = false;
};
