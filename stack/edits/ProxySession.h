#pragma once

#include "layers/PntHandle.h"
#include "layers/ProxyParameters.h"
#include "platform/base/Containers.h"

#include <optional>

class Canvas;
class CurrentLayer;
class Layer;
class LayerStack;
class LayerTree;

/// The proxy of a document: while it runs, edits of its layers go to work images, which are what is shown.
class ProxySession {
public:
    ProxySession(LayerStack& stack, LayerTree& tree, Canvas& canvas, CurrentLayer& current);

    bool Begin(const ProxyParameters& parameters, const qs::vector<PntHandle>& layers);
    bool Begin(ProxyParameters::ScopeHint scope, ProxyParameters::Images images);
    bool IsRunning() const { return isRunning_; }
    void ForceOut() { isRunning_ = false; }
    const qs::vector<PntHandle>& GetLayers() const { return layers_; }

    /// Its layers show their originals again, unless a slot of the keep signal wants the edits to stay.
    void End();

    /// The edits are gone and the proxy goes on; nobody is told.
    void Revert();

    /// Ends a proxy that memory did not suffice for; nobody hears of it.
    void Drop() noexcept;

    /// Damages where the work image of a layer shows other pixels than the original.
    void DamageEdits(Layer& layer);

    bool IsRotatingCanvas() const { return isRotatingCanvas_; }
    void SetRotatingCanvas(bool on) { isRotatingCanvas_ = on; }

private:
    struct EndedProxy;
    bool AskWhetherEditsStay(const EndedProxy& ended);
    void DropEdits(Layer& layer, bool goesOn);

    LayerStack& stack_;
    LayerTree& tree_;
    Canvas& canvas_;
    CurrentLayer& current_;
    bool isRunning_ = false;
    bool isRotatingCanvas_ = false;
    bool isEnding_ = false;  // a slot is asked whether the edits stay
    std::optional<ProxyParameters> parameters_;  // of the proxy in progress
    qs::vector<PntHandle> layers_;
};
