#include "stack/edits/ProxySession.h"

#include "layers/Layer.h"
#include "stack/StackPort.h"
#include "stack/canvas/Canvas.h"
#include "stack/canvas/CurrentLayer.h"
#include "stack/edits/StackEdit.h"
#include "stack/tree/LayerTree.h"

#include <algorithm>
#include <utility>

ProxySession::ProxySession(LayerStack& stack, LayerTree& tree, Canvas& canvas, CurrentLayer& current)
    : stack_(stack), tree_(tree), canvas_(canvas), current_(current)
{}

/// A proxy that ends, for those who hear of it.
struct ProxySession::EndedProxy : qs::ReferenceCount {
    EndedProxy(const ProxyParameters& ending, const qs::vector<PntHandle>& held) : parameters(ending), layers(held) {}

    ProxyParameters parameters;
    qs::vector<PntHandle> layers;
};

bool ProxySession::Begin(const ProxyParameters& parameters, const qs::vector<PntHandle>& layers)
{
    if (isRunning_)
        return true;
    current_.DrainDamage();
    qs::vector<PntHandle> handles;
    for (const PntHandle& handle : layers.empty() ? parameters.affected : layers) {
        const Layer* layer = tree_.GetLayerFromHandle(handle);
        if (layer == nullptr || !layer->GetImage())
            return false;
        const PntHandle own = layer->GetLayerContainerHandle();
        if (std::find(handles.begin(), handles.end(), own) == handles.end())
            handles.push_back(own);
    }
    if (handles.empty())
        return false;
    ProxyParameters kept = parameters;
    kept.affected = handles;
    try {
        for (const PntHandle& handle : handles)
            tree_.GetLayerFromHandle(handle)->BeginProxy(parameters.scope, parameters.images);
    } catch (...) {
        for (const PntHandle& handle : handles)
            tree_.GetLayerFromHandle(handle)->EndProxy();
        throw;
    }
    parameters_ = std::move(kept);
    layers_ = std::move(handles);
    isRunning_ = true;
    current_.GetPainter();
    return true;
}

bool ProxySession::Begin(ProxyParameters::ScopeHint scope, ProxyParameters::Images images)
{
    ProxyParameters parameters;
    parameters.scope = scope;
    parameters.images = images;
    return Begin(parameters, {kCurrentLayerHandle});
}

void ProxySession::End()
{
    if (!isRunning_ || isEnding_)
        return;
    const StackEdit edit(stack_);
    current_.DrainDamage();
    const qs::Reference<EndedProxy> ended(new EndedProxy(*parameters_, layers_));
    // By reference: a slot may take layers out of the document.
    qs::vector<qs::Reference<Layer>> layers;
    for (const PntHandle& handle : ended->layers)
        if (Layer* layer = tree_.GetLayerFromHandle(handle))
            layers.emplace_back(layer);
    const bool keepsEdits = AskWhetherEditsStay(*ended);
    current_.DrainDamage();  // a slot may have painted the last bit
    isRunning_ = false;
    parameters_.reset();
    layers_.clear();
    for (const qs::Reference<Layer>& layer : layers)
        if (keepsEdits)
            layer->KeepProxy();
        else
            DropEdits(*layer, false);
    current_.GetPainter();
    if (keepsEdits)
        ended->parameters.kept->Emit();
    GetStackPort().notices->Tell([ended] { ended->parameters.ended->Emit(ended->layers); });
}

void ProxySession::Revert()
{
    const StackEdit edit(stack_);
    if (!isRunning_ || isEnding_)
        return;
    current_.DrainDamage();
    for (const PntHandle& handle : layers_)
        if (Layer* layer = tree_.GetLayerFromHandle(handle))
            DropEdits(*layer, true);
    current_.GetPainter();
}

void ProxySession::Drop() noexcept
{
    for (const PntHandle& handle : layers_)
        if (Layer* layer = tree_.GetLayerFromHandle(handle))
            layer->EndProxy();
    isRunning_ = false;
    parameters_.reset();
    layers_.clear();
    canvas_.DistrustCaches();
}

void ProxySession::DamageEdits(Layer& layer)
{
    DamageControl damage;
    layer.CollectProxyDamage(damage);
    if (layer.IsCoverage())
        canvas_.TellChanged(layer);
    ilTile tile;
    while (damage.nextDamaged(tile)) {
        const ilTile onCanvas = ilTileIntersection(tile, canvas_.GetSize());
        canvas_.GetComposite().CompositeBaseDirty(layer.GetLayerContainerHandle(), onCanvas);
        canvas_.DamageTile(onCanvas);
    }
}

void ProxySession::DropEdits(Layer& layer, bool goesOn)
{
    DamageEdits(layer);
    if (goesOn)
        layer.RevertProxy();
    else
        layer.EndProxy();
}

bool ProxySession::AskWhetherEditsStay(const EndedProxy& ended)
{
    const Notices::Question question(*GetStackPort().notices);
    const uint64_t damageBefore = canvas_.GetDamageSerial();
    bool keepsEdits = false;
    isEnding_ = true;
    try {
        ended.parameters.keepsEdits->Emit(keepsEdits, ended.layers);
    } catch (...) {
        isEnding_ = false;
        throw;
    }
    isEnding_ = false;
    if (canvas_.GetDamageSerial() != damageBefore)
        canvas_.DistrustCaches();  // a slot has edited what is about to be put back
    return keepsEdits;
}
