#pragma once

#include "composite/LayerStackComposite.h"
#include "layers/PntHandle.h"
#include "platform/imaging/pages/DamageControl.h"
#include "platform/imaging/pages/ilTile.h"

#include <cstdint>

class Layer;
class LayerStack;
class LayerTree;

/// The canvas of a document and its composite, with what of them is stale. A change damages tiles and marks caches;
/// nothing is drawn here.
class Canvas {
public:
    Canvas(LayerStack& stack, LayerTree& tree);

    /// Goes on from another version of the document, which is left without tree and caches. Needs no memory.
    void TakeCompositeFrom(Canvas& source) noexcept;
    void CopyState(const Canvas& source) { state_ = source.state_; }

    const ilTile& GetSize() const { return state_.size; }
    bool GetClipToSize() const { return state_.clipToSize; }
    void SetSize(const ilTile& size, bool clipToSize);
    bool IsTimerBased() const { return state_.isTimerBased; }
    void SetTimerBased(bool on) { state_.isTimerBased = on; }
    LayerStackComposite& GetComposite() { return composite_; }

    // --- where things lie; a fill value reaches as far as the canvas ---

    /// The canvas in layer coordinates; an empty tile for a handle that is no layer's.
    ilTile CanvasOn(const Layer& layer) const;
    ilTile CanvasOn(const PntHandle& handle) const;

    ilTile DamageOf(Layer& layer) const;  // where the layer can show, on the canvas
    ilTile ReachOf(Layer& layer) const;  // how far an edit of all its pixels goes, in layer coordinates

    // --- damage ---

    void DamageTile(const ilTile& tile);
    void DamageCanvas();
    void DamageLayer(Layer& layer);
    DamageControl& GetDamage() { return state_.damage; }
    uint64_t GetDamageSerial() const { return state_.damageSerial; }  // grows with every tile damaged
    bool NeedsFullRedraw() const { return state_.needsFullRedraw; }
    void SetNeedsFullRedraw(bool needs) { state_.needsFullRedraw = needs; }

    // --- caches ---

    /// A layer's pixels or properties changed: what was composed of them is stale.
    void TellChanged(Layer& layer);
    void SetStencilCompositeDirty(const PntHandle& handle);
    void RefreshOwnersOfStencil(const Layer& stencil, const ilTile& onCanvas);

    /// The structure changed, and all of the canvas with it.
    void MarkTreeStale();
    void SetTreeStale(bool isStale) { state_.isTreeStale = isStale; }
    bool IsTreeStale() const { return state_.isTreeStale; }
    void MarkMaskStale() { state_.isMaskStale = true; }

    /// Memory ran out in the middle of a call: all that was composed is made anew at the next update.
    void DistrustCaches() noexcept;
    void ReleaseCachedImages();
    void RebuildCompositeTree();
    void RebuildCompositeMask();
    void BringCompositeUpToDate();
    bool HasCompositeMask();

    // --- suspension ---

    bool CompositesSuspended() const { return state_.compositesSuspended > 0; }
    void SuspendComposites() { ++state_.compositesSuspended; }
    void ResumeComposites();
    void TakeSuspensionFrom(const Canvas& other) { state_.compositesSuspended = other.state_.compositesSuspended; }

    /// Composes for the time of a scope although composites are suspended: for pictures that are not shown.
    class ResumedScope {
    public:
        explicit ResumedScope(Canvas& canvas);
        ResumedScope(const ResumedScope&) = delete;
        ResumedScope& operator=(const ResumedScope&) = delete;
        ~ResumedScope();

    private:
        Canvas& canvas_;
        int before_;
    };

private:
    /// What a copy of the document has as well.
    struct State {
        ilTile size;
        bool clipToSize = true;
        bool isTimerBased = false;
        int compositesSuspended = 0;
        bool isTreeStale = false;  // the structure changed since the composite tree was built
        bool isMaskStale = false;  // the selection mask changed since the composite mask was made
        bool needsFullRedraw = false;
        DamageControl damage;
        uint64_t damageSerial = 0;
    };

    LayerStack& stack_;
    LayerTree& tree_;
    LayerStackComposite composite_;
    State state_;
};
