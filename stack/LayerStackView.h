#pragma once

#include "platform/imaging/pages/DamageControl.h"
#include "platform/imaging/pages/ilMemoryImg.h"

/// Base of whatever shows a layer stack: it collects the canvas tiles that changed and is told to show them.
///
/// A view registers itself with LayerStack::AddViewer and calls RemoveViewer before it dies; the stack never owns it.
/// From inside its operations a view may add and remove views, itself included, and release the stack.
class PAINTLAYER_EXPORT LayerStackView {
public:
    LayerStackView() = default;
    LayerStackView(const LayerStackView&) = default;
    LayerStackView& operator=(const LayerStackView&) = default;
    virtual ~LayerStackView();

    /// The image plane is up to date: show the tiles that GetNextUpdateTile yields. Never called with null.
    virtual void UpdateView(qs::TempReference<ilSPMemoryImg> imagePlane) = 0;

    /// A stroke begins or ends: start or stop a timer that calls CheckTimerBasedUpdate every `intervalMs`.
    virtual void BeginTimerBasedUpdate(int intervalMs) = 0;
    virtual void EndTimerBasedUpdate() = 0;

    /// The document asks whether an update is due; a view whose interval has passed calls LayerStack::ForceUpdate.
    virtual void CheckTimerBasedUpdate() = 0;

    /// For the host's own use: what it keeps with the view. The library never asks.
    virtual void* GetHostData() { return nullptr; }

    /// Adds canvas pixels to the view's pending damage; an empty tile changes nothing.
    void DamageTile(const ilTile& tile) { damage_.DamageTile(tile); }

    /// Removes one damaged tile and stores it in `tile`; false, with `tile` untouched, when there is none.
    bool GetNextUpdateTile(ilTile& tile) { return damage_.nextDamaged(tile); }

private:
    DamageControl damage_;
};
