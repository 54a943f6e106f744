#pragma once

#include "layers/PntHandle.h"
#include "platform/base/Containers.h"
#include "platform/base/Signal.h"

#include <memory>

/// What a tool asks for when it begins a proxy, and how it hears of the end. Copies share the signals; none is null.
struct ProxyParameters {
    /// What the edits will touch.
    enum ScopeHint : int {
        kScopeWholeLayer = 0,
        kScopeSelection = 1,
    };

    /// Which of the layer's images the edits go to.
    enum Images : int {
        kImagesAll = 0,  // acts as the content: the second image of a layer is never edited in a proxy
        kImagesContent = 1,
    };

    /// Carries the layers that the proxy held.
    using EndedSignal = qsRTB::Signal<qs::vector<PntHandle>>;
    /// The same with the answer: false on arrival; a slot that sets it true keeps the edits.
    using KeepSignal = qsRTB::Signal<bool&, qs::vector<PntHandle>>;

    ScopeHint scope = kScopeSelection;
    Images images = kImagesContent;

    /// Emitted once, after the proxy has ended.
    std::shared_ptr<EndedSignal> ended = std::make_shared<EndedSignal>();

    /// Emitted once, right before the proxy ends: shall the edits become the layers' content?
    std::shared_ptr<KeepSignal> keepsEdits = std::make_shared<KeepSignal>();

    /// Emitted when the edits have become the layers' content, before anybody hears of it: for whoever records them.
    /// The document must not be edited from there.
    std::shared_ptr<qsRTB::Signal<>> kept = std::make_shared<qsRTB::Signal<>>();

    /// The layers that the tool works on.
    qs::vector<PntHandle> affected;
};
