#pragma once

#include "layers/PntHandle.h"
#include "platform/base/Export.h"
#include "platform/base/Reference.h"
#include "platform/imaging/ilImage.h"

class Layer;
class LayerStack;

/// A change that waits to be kept: what it captured when it began. Dropping it keeps nothing.
class PAINTLAYER_EXPORT UndoStep : public qs::ReferenceCount {};

/// Where edits go to be taken back later. The paint manager asks it before and after each undoable change, only while
/// undo is enabled; without a recorder nothing is kept.
class PAINTLAYER_EXPORT UndoRecorder {
public:
    virtual ~UndoRecorder() = default;

    /// Captures a layer's pixels before a stroke changes them. Cheap: pages are shared.
    virtual qs::Reference<UndoStep> BeginStroke(int stackHandle, const PntHandle& layerHandle, LayerStack& stack,
                                                Layer& layer, qs::TempReference<ilImage> image) = 0;

    /// Captures a document's structure before it changes. The document may be replaced by a copy.
    virtual qs::Reference<UndoStep> BeginStructure(int stackHandle, const PntHandle& current, LayerStack& stack) = 0;

    /// Keeps a finished step as the newest.
    virtual void Append(qs::Reference<UndoStep> step) = 0;

    virtual void SetListDirty() = 0;
    virtual void FlushQueue() = 0;
};

/// The process's recorder, or null. The store that is set up last installs itself here.
PAINTLAYER_EXPORT UndoRecorder* GetUndoRecorder();
PAINTLAYER_EXPORT void SetUndoRecorder(UndoRecorder* recorder);
