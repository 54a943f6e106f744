#include "stack/edits/Bake.h"

#include "stack/StackRooms.h"
#include "stack/edits/StackEdit.h"

#include <algorithm>

void Bake::BakeLayer(const PntHandle& handle, bool deleteUnowned, bool newImage)
{
    const StackEdit edit(stack_);
    BeginEdit();
    const qs::Reference<Layer> layer = tree_.GetLayerFromHandle(handle);
    if (layer && BakeStencils(*layer, deleteUnowned, newImage))
        EndStructuralEdit(false);
}

void Bake::BakeAll()
{
    const StackEdit edit(stack_);
    BeginEdit();
    const qs::vector<Layer*> images = tree_.GetFlattenedImageLayers(false);
    bool hasBaked = false;
    for (const qs::Reference<Layer>& layer : qs::vector<qs::Reference<Layer>>(images.begin(), images.end()))
        hasBaked = BakeStencils(*layer, true, false) || hasBaked;
    if (hasBaked)
        EndStructuralEdit(true);
}

void Bake::ReleaseStencils(Layer& layer, Layer* heir, bool deleteUnowned)
{
    const qs::Reference<Layer> kept(&layer);
    const PntHandle handle = layer.GetLayerContainerHandle();
    qs::vector<qs::Reference<Layer>> leaving;
    for (const PntHandle& name : tree_.GetStencilLayers(handle)) {
        Layer* stencil = tree_.GetLayerFromHandle(name);
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
    if (std::find(leaving.begin(), leaving.end(), tree_.GetCurrent()) != leaving.end())
        current_.Become(heir != nullptr ? heir : &layer);
    for (const qs::Reference<Layer>& stencil : leaving)
        stack_.RemoveLayerFromStack(stencil.get());
    layer.SetStencilCompositeDirty(true);
}

bool Bake::HasActiveStencil(Layer& layer) const
{
    const qs::vector<PntHandle> stencils = tree_.GetStencilLayers(layer.GetLayerContainerHandle());
    return std::any_of(stencils.begin(), stencils.end(),
                       [&](const PntHandle& handle) { return tree_.GetLayerFromHandle(handle)->isActive(); });
}

bool Bake::BakeStencils(Layer& layer, bool deleteUnowned, bool newImage)
{
    if (layer.IsCoverage() || !layer.GetImage() || !HasActiveStencil(layer))
        return false;
    const qs::Reference<ilSmartImage> baked = layer.MakeBakedImage(canvas_.CanvasOn(layer));
    if (newImage)
        layer.SetImage(baked);
    else
        layer.TakePixels(*baked);
    canvas_.TellChanged(layer);
    ReleaseStencils(layer, nullptr, deleteUnowned);
    return true;
}
