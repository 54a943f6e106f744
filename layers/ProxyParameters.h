#pragma once

/// What a proxy is begun for. A layer keeps both values so that a reverted proxy begins again as it first did.
struct ProxyParameters {
    /// What the edits will touch.
    enum ScopeHint : int {
        kScopeWholeLayer = 0,
        kScopeSelection = 1,
    };

    /// Which of the layer's images the edits go to.
    enum Images : int {
        kImagesContent = 0,
    };
};
