#pragma once

#include "core/LayerStackRegistry.h"
#include "core/PaintManager.h"
#include "core/brush/BrushPreview.h"
#include "core/brush/BrushState.h"
#include "core/brush/BrushStroker.h"
#include "core/brush/PointerInput.h"
#include "core/tools/FillTools.h"
#include "platform/base/Notices.h"

/// What the host switched on or off.
struct HostOptions {
    bool inOperation = false;
    bool isBrushFeedbackEnabled = false;
    bool isPanningOrZooming = false;
    bool logsUndo = true;
    bool recordsProperties = false;
    int minifyFilter = 0;
    int magnifyFilter = 0;
    PaintColor warpColor{0, 0, 0, 1};
    float warpOpacity = 0.5F;
};

/// What the commands share: one for each paint manager.
struct PaintSession {
    explicit PaintSession(PaintManager& owner);

    static PaintSession& Of(const PaintManager& manager) { return *manager.session_; }

    /// The document of a layer-stack handle (-2: the current one), or the one that holds a container; or null.
    LayerStack* Find(int layerStack) const;
    LayerStack* Find(const PntHandle& container) const;

    /// False in the middle of a command: the host was asked something, and commands are refused.
    bool MayEdit() const { return !notices.IsHeld() && !notices.IsAsking(); }

    /// The current layer of the current document, or the null handle.
    PntHandle GetCurrentContainer() const;

    /// Ends the stroke when it paints on that document.
    void EndStrokeOn(int layerStack) { EndStrokeOn(Find(layerStack)); }
    void EndStrokeOn(const PntHandle& container) { EndStrokeOn(Find(container)); }

    /// Ends the proxy of the current document.
    void EndCurrentProxy();

    /// Ends a stroke on the document in a place of the table and puts `stack` there, from where it goes on showing what
    /// was shown there. Needs no memory.
    void ReplaceDocument(const qs::Reference<LayerStack>& stack, int handle);

    /// Makes the effect brush's image anew; told nobody when that fails.
    void UpdateProcessedLayerImage();

    PaintManager& manager;
    PaintCoreCallbacks callbacks;
    HostOptions options;
    Notices& notices;  // of the process: documents that are in no session tell as well
    LayerStackRegistry registry;
    BrushState brush;
    BrushStroker stroker;
    BrushPreview preview;
    PointerInput pointer;
    FillTools fillTools;
    qsOS::Uuid closing = kNullHandle.layerStack;  // the document that is being closed
    bool isCurrentLocked = false;
    bool isInitialised = false;

private:
    void EndStrokeOn(const LayerStack* stack);
};

/// The session of the manager that `group`, one of its command groups, is a part of.
template <class Group>
PaintSession& SessionOf(const Group* group)
{
    return PaintSession::Of(static_cast<const PaintManager&>(*group));
}
