#include "stack/LayerStack.h"
#include "stack/StackParts.h"

#include <utility>

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

bool LayerStack::AddLayerToStack(Layer* layer, const PntHandle& where, bool above)
{
    return parts_->placement.Insert(layer, where, above);
}

bool LayerStack::AddLayerFolderToStack(LayerFolder* folder, LayerMode mode, const PntHandle& where)
{
    return parts_->placement.InsertFolder(folder, mode, where);
}

void LayerStack::RemoveLayerFromStack(Layer* layer)
{
    parts_->removal.TakeOut(layer);
}

PntHandle LayerStack::AddLayer(Layer* layer, const PntHandle& where, bool rebuild, bool above)
{
    return parts_->placement.Add(layer, where, rebuild, above);
}

PntHandle LayerStack::AddLayer(qs::TempReference<ilImage> image, qs::TempReference<ilImage> aux, LayerMode mode,
                               LayerType type, bool above, int, const PntHandle& where, bool redraw, int x, int y,
                               bool forceAlphaValid)
{
    return parts_->placement.Add(std::move(image), std::move(aux), mode, type, above, where, redraw, x, y,
                                 forceAlphaValid);
}

PntHandle LayerStack::AddLayerFolder(LayerMode mode, const PntHandle& where)
{
    return parts_->placement.AddFolder(mode, where);
}

void LayerStack::DeleteCurrentLayer(const PntHandle& handle, bool redraw)
{
    parts_->removal.Delete(handle, redraw);
}

void LayerStack::DeleteLayerFolder(LayerFolder* folder)
{
    parts_->removal.DeleteFolder(folder);
}

void LayerStack::DeleteAllLayers()
{
    parts_->removal.DeleteAll();
}

void LayerStack::DeleteInvisibleLayers(bool notify)
{
    parts_->removal.DeleteInvisible(notify);
}

bool LayerStack::MoveLayer(const PntHandle& moved, const PntHandle& target, bool above)
{
    return parts_->placement.Move(moved, target, above);
}

Layer* LayerStack::GetCurrentLayerPtr() const
{
    return parts_->tree.GetCurrent();
}

bool LayerStack::IsShown(const Layer& layer) const
{
    return parts_->tree.IsShown(layer);
}

void LayerStack::DeleteAllMasks(bool notify)
{
    parts_->removal.DeleteAllMasks(notify);
}

void LayerStack::DeleteAllStencils(bool notify, bool all)
{
    parts_->removal.DeleteAllStencils(notify, all);
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

bool LayerStack::DeleteTransformGroup(const PntHandle& handle, bool redraw)
{
    return parts_->removal.DeleteGroup(handle, redraw);
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
    below = parts_->tree.FindBelow(handle);
}
