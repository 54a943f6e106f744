#include "stack/LayerStack.h"
#include "stack/StackParts.h"

LayerFolder* LayerStack::GetLayerFolder(LayerMode mode) const
{
    return parts_->tree.GetLayerFolder(mode);
}

LayerContainer* LayerStack::GetLayerContainerFromHandle(const PntHandle& handle) const
{
    return parts_->tree.GetLayerContainerFromHandle(handle);
}

Layer* LayerStack::GetLayerFromHandle(const PntHandle& handle) const
{
    return parts_->tree.GetLayerFromHandle(handle);
}

LayerFolder* LayerStack::GetLayerFolderFromHandle(const PntHandle& handle) const
{
    return parts_->tree.GetLayerFolderFromHandle(handle);
}

PntHandle LayerStack::GetCurrentLayerContainerHandle() const
{
    return parts_->tree.GetCurrentHandle();
}

PntHandle LayerStack::GetSelectionMaskHandle() const
{
    return parts_->tree.GetSelectionMaskHandle();
}

qs::vector<PntHandle> LayerStack::GetLayerContainerHandleArray(LayerMode mode, bool directOnly) const
{
    return parts_->tree.GetLayerFolder(mode)->GetLCHArray(directOnly);
}

LayerFolder* LayerStack::FindLayerFolder(const PntHandle& handle, bool deep) const
{
    return parts_->tree.FindLayerFolder(handle, deep);
}

LayerFolder* LayerStack::FindLayerFolderHasLayer(const PntHandle& handle) const
{
    return parts_->tree.HoldingFolder(GetLayerFromHandle(handle), nullptr);
}

bool LayerStack::IsLayerNameUnique(const char* name) const
{
    return parts_->tree.IsNameUnique(name);
}

Layer* LayerStack::GetNextLayer(Layer* layer) const
{
    return parts_->tree.GetNextLayer(layer);
}

Layer* LayerStack::GetPreviousLayer(Layer* layer) const
{
    return parts_->tree.GetPreviousLayer(layer);
}

LayerContainer* LayerStack::GetNextLayerContainer(LayerContainer* container) const
{
    return parts_->tree.GetNextLayerContainer(container);
}

LayerContainer* LayerStack::GetPreviousLayerContainer(LayerContainer* container) const
{
    return parts_->tree.GetPreviousLayerContainer(container);
}

Layer* LayerStack::GetTopLayer(LayerMode mode) const
{
    return parts_->tree.GetTopLayer(mode);
}

Layer* LayerStack::GetBottomLayer(LayerMode mode) const
{
    return parts_->tree.GetBottomLayer(mode);
}

PntHandle LayerStack::FindLayer(int x, int y, bool includeHidden, bool includeLocked, float tolerance) const
{
    return parts_->tree.FindLayer(x, y, includeHidden, includeLocked, tolerance);
}

qs::vector<PntHandle> LayerStack::getMaskLayers(const PntHandle& owner) const
{
    return parts_->tree.GetMaskLayers(owner);
}

qs::vector<PntHandle> LayerStack::getStencilLayers(const PntHandle& owner) const
{
    return parts_->tree.GetStencilLayers(owner);
}

qs::vector<PntHandle> LayerStack::getOwnerArray(const PntHandle& handle) const
{
    return parts_->tree.GetOwners(handle);
}

void LayerStack::LayerStackToLayerCoords(float& x, float& y, const PntHandle& handle) const
{
    parts_->tree.ToLayer(x, y, handle);
}

void LayerStack::LayerStackToLayerCoords(int& x, int& y, const PntHandle& handle) const
{
    parts_->tree.ToLayer(x, y, handle);
}

void LayerStack::LayerToLayerStackCoords(float& x, float& y, const PntHandle& handle) const
{
    parts_->tree.ToCanvas(x, y, handle);
}

void LayerStack::LayerToLayerStackCoords(int& x, int& y, const PntHandle& handle) const
{
    parts_->tree.ToCanvas(x, y, handle);
}

Layer* LayerStack::GetCurrentLayerPtr() const
{
    return parts_->tree.GetCurrent();
}

bool LayerStack::IsShown(const Layer& layer) const
{
    return parts_->tree.IsShown(layer);
}

const qs::list<qs::vector<PntHandle>>& LayerStack::GetTransformGroups() const
{
    return parts_->groups.Get();
}

qs::vector<PntHandle> LayerStack::getTransformGroup(const PntHandle& handle) const
{
    return parts_->groups.GetGroup(handle);
}

bool LayerStack::AddTransformGroup(const qs::vector<PntHandle>& layers)
{
    return parts_->groups.Add(layers);
}

bool LayerStack::addLayerToCurrTransformGroup(const PntHandle& handle)
{
    return parts_->groups.AddToGroupOf(kCurrentLayerHandle, handle);
}

bool LayerStack::AddToTransformGroupOf(const PntHandle& member, const PntHandle& handle)
{
    return parts_->groups.AddToGroupOf(member, handle);
}

bool LayerStack::removeLayerFromCurrTransformGroup(const PntHandle& handle)
{
    return parts_->groups.RemoveFromCurrent(handle);
}

bool LayerStack::removeLayerFromTransformGroup(const PntHandle& handle)
{
    return parts_->groups.Remove(handle);
}

void LayerStack::GetLCHForMergeBelow(const PntHandle& handle, PntHandle& below) const
{
    parts_->tree.FindBelow(handle, below);
}
