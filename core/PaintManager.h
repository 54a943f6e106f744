#pragma once

#include "core/PaintCoreCallbacks.h"
#include "core/commands/BrushCommands.h"
#include "core/commands/CanvasCommands.h"
#include "core/commands/DocumentCommands.h"
#include "core/commands/FillCommands.h"
#include "core/commands/LayerCommands.h"
#include "core/commands/MergeCommands.h"
#include "core/commands/OptionCommands.h"
#include "core/commands/PixelCommands.h"
#include "core/commands/SelectionCommands.h"
#include "core/commands/StrokeCommands.h"
#include "core/commands/TransformCommands.h"
#include "core/commands/UndoCommands.h"
#include "platform/base/Signal.h"

#include <memory>

struct PaintSession;
class TpressureFilter;

/// The library's one entry object (PaintCore): the open documents, the brush and the stroke in progress, the host's
/// callbacks, and every command. The commands stand in groups by subject, which are its bases.
///
/// An `int` layer-stack handle is a document's place in the table of 512; -2, the default, means the current one. A
/// PntHandle defaults to the current layer of the current document (a default-made PntHandle is a fresh name that
/// nothing has). A handle that resolves to nothing makes a call do nothing and return false, null, -1, 0 or the null
/// handle. Numbers that are NaN or infinite, and sizes that no document can have, are refused likewise; so is a call
/// that memory does not suffice for: a command is done whole, with its step of undo, or not at all. Nothing throws. All
/// calls come from one thread.
///
/// Signals, callbacks and views tell of documents that are settled: what happens during a command is told when it is
/// done, in the order in which it happened, and all commands may be given from there. Where the library asks something
/// in the middle of a command (UndoRestoreCB, whether a preview's edits stay, the callback of an undo list) commands
/// are refused.
class PAINTLAYER_EXPORT PaintManager : public DocumentCommands,
                                       public OptionCommands,
                                       public UndoCommands,
                                       public BrushCommands,
                                       public StrokeCommands,
                                       public LayerCommands,
                                       public MergeCommands,
                                       public PixelCommands,
                                       public TransformCommands,
                                       public CanvasCommands,
                                       public FillCommands,
                                       public SelectionCommands {
public:
    PaintManager();
    ~PaintManager();
    PaintManager(const PaintManager&) = delete;
    PaintManager& operator=(const PaintManager&) = delete;

    static constexpr int kMaxLayerStacks = ::kMaxLayerStacks;
    static constexpr int kCurrentLayerStack = ::kCurrentLayerStack;

    // --- signals, in the order by which hosts may connect ---

    qsRTB::Signal<> StackNotifySignal;  // never emitted by the library
    qsRTB::Signal<bool> StackChangedSignal;  // a structural edit
    qsRTB::Signal<int> StackAddedSignal;  // layer-stack handle
    qsRTB::Signal<int> StackDeletedSignal;  // layer-stack handle
    qsRTB::Signal<int, PntHandle> ContainerAddedSignal;  // layer-stack handle, container
    qsRTB::Signal<int, PntHandle> ContainerRemovedSignal;  // current layer-stack handle, container
    qsRTB::Signal<PntHandle> ContainerStateSignal;  // current, visible or active changed
    qsRTB::Signal<PntHandle> TransformGroupSignal;
    qsRTB::Signal<PntHandle, float> OpacitySignal;
    qsRTB::Signal<PntHandle, PntHandle, bool> LayerMovedSignal;  // moved, beside, above

    // --- set-up ---

    /// Copies all 37 entries.
    void SetCallbacks(const PaintCoreCallbacks& callbacks);
    const PaintCoreCallbacks* CB() const;

    /// Warms up the stamp machinery; runs once.
    void InitPaintManager();

    /// Empties the images in which masked strokes are composed, in all documents.
    void preparePaintCore();

    /// Prints every open document; only at debug level 8214.
    void debug();

    // --- pressure and update intervals ---

    static TpressureFilter* PressFilter;  // of InitPressureFilter; null before
    static unsigned short minPressure;
    static unsigned short maxPressure;
    static const int CheckInterval;  // 5 samples
    static const int MinUpdateInterval;  // 10 ms
    static const int MaxUpdateInterval;  // 100 ms
    static const float MinUpdateIntRadius;  // 5 pixels
    static const float MaxUpdateIntRadius;  // 96 pixels

private:
    friend struct PaintSession;

    std::unique_ptr<PaintSession> session_;  // what the commands share
};

/// The process's paint manager: exists from load time to unload.
extern PAINTLAYER_EXPORT PaintManager PaintCore;
