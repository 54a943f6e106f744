#include "stack/LayerStack.h"
#include "stack/StackParts.h"
#include "stack/edits/StackEdit.h"

#include <algorithm>

bool LayerStack::HasActiveStencil(Layer& layer) const
{
    const qs::vector<PntHandle> stencils = parts_->tree.GetStencilLayers(layer.GetLayerContainerHandle());
    return std::any_of(stencils.begin(), stencils.end(),
                       [&](const PntHandle& handle) { return parts_->tree.GetLayerFromHandle(handle)->isActive(); });
}

bool LayerStack::BakeStencils(Layer& layer, bool deleteUnowned, bool newImage)
{
    if (layer.isMask() || layer.isStencil() || !layer.GetImage() || !HasActiveStencil(layer))
        return false;
    const qs::Reference<ilSmartImage> baked = layer.MakeBakedImage(parts_->canvas.CanvasOn(layer));
    if (newImage)
        layer.SetImage(baked);
    else
        layer.TakePixels(*baked);
    parts_->canvas.TellChanged(layer);
    ReleaseStencils(layer, nullptr, deleteUnowned);
    return true;
}

/// Ends what the active stencils do to the layer, as its pixels do it now. With an heir the layer's hard-linked ones go
/// as well, which follow its visibility, and the others become the heir's.
void LayerStack::ReleaseStencils(Layer& layer, Layer* heir, bool deleteUnowned)
{
    const qs::Reference<Layer> kept(&layer);
    const PntHandle handle = layer.GetLayerContainerHandle();
    qs::vector<qs::Reference<Layer>> leaving;
    for (const PntHandle& name : parts_->tree.GetStencilLayers(handle)) {
        Layer* stencil = parts_->tree.GetLayerFromHandle(name);
        const bool isLinked = stencil->IsHardLinkToOwnerLayer();
        const bool isReleased = stencil->isActive() || (heir != nullptr && isLinked);
        const bool isUnowned = stencil->GetOwnerLayerArray().size() == 1;
        if (isReleased && (isLinked || (isUnowned && deleteUnowned)))
            leaving.emplace_back(stencil);
        else if (isReleased)
            stencil->RemoveLayerFromOwnerLayer(&layer);
        else if (heir != nullptr)
            stencil->ReplaceOwnerLayer(handle, *heir);
    }
    if (std::find(leaving.begin(), leaving.end(), parts_->tree.GetCurrent()) != leaving.end())
        parts_->current.Become(heir != nullptr ? heir : &layer);
    for (const qs::Reference<Layer>& stencil : leaving)
        RemoveLayerFromStack(stencil.get());
    layer.SetStencilCompositeDirty(true);
}

void LayerStack::BakeStencilMaskToLayer(const PntHandle& handle, bool deleteUnowned, bool newImage)
{
    const StackEdit edit(*this);
    BeginEdit();
    const qs::Reference<Layer> layer = parts_->tree.GetLayerFromHandle(handle);
    if (layer && BakeStencils(*layer, deleteUnowned, newImage))
        EndStructuralEdit(false);
}

void LayerStack::BakeAllStencilMaskToLayer()
{
    const StackEdit edit(*this);
    BeginEdit();
    const qs::vector<Layer*> images = parts_->tree.GetFlattenedImageLayers(false);
    bool hasBaked = false;
    for (const qs::Reference<Layer>& layer : qs::vector<qs::Reference<Layer>>(images.begin(), images.end()))
        hasBaked = BakeStencils(*layer, true, false) || hasBaked;
    if (hasBaked)
        EndStructuralEdit(true);
}
