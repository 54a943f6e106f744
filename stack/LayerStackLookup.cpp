#include "stack/LayerStack.h"

#include <algorithm>
#include <cstring>

namespace {

int Saturated(int64_t value)
{
    return static_cast<int>(std::clamp<int64_t>(value, INT32_MIN, INT32_MAX));
}

}  // namespace

LayerFolder* LayerStack::GetLayerFolder(LayerMode mode) const
{
    switch (mode) {
    case kLayerModeImage: return imageFolder_.get();
    case kLayerModeStencil: return stencilFolder_.get();
    default: return maskFolder_.get();
    }
}

std::array<LayerFolder*, 3> LayerStack::TopFolders() const
{
    return {imageFolder_.get(), maskFolder_.get(), stencilFolder_.get()};
}

bool LayerStack::IsTopFolder(const LayerFolder* folder) const
{
    return folder == imageFolder_ || folder == maskFolder_ || folder == stencilFolder_;
}

LayerContainer* LayerStack::GetLayerContainerFromHandle(const PntHandle& handle) const
{
    if (handle == kCurrentLayerHandle)
        return currentLayer_;
    if (selectionMask_ && selectionMask_->GetLayerContainerHandle() == handle)
        return selectionMask_.get();
    // Everything here carries the instance handle, so the handles of other documents need no search.
    if (handle.layerStack != instance_)
        return nullptr;
    for (const LayerFolder* folder : TopFolders())
        if (LayerContainer* found = folder->GetLayerContainerFromHandle(handle))
            return found;
    return nullptr;
}

Layer* LayerStack::GetLayerFromHandle(const PntHandle& handle) const
{
    return dynamic_cast<Layer*>(GetLayerContainerFromHandle(handle));
}

LayerFolder* LayerStack::GetLayerFolderFromHandle(const PntHandle& handle) const
{
    return dynamic_cast<LayerFolder*>(GetLayerContainerFromHandle(handle));
}

PntHandle LayerStack::ResolveHandle(const PntHandle& handle) const
{
    return handle == kCurrentLayerHandle && currentLayer_ != nullptr ? currentLayer_->GetLayerContainerHandle()
                                                                     : handle;
}

PntHandle LayerStack::GetCurrentLayerContainerHandle() const
{
    return currentLayer_ != nullptr ? currentLayer_->GetLayerContainerHandle() : kNullHandle;
}

PntHandle LayerStack::GetSelectionMaskHandle() const
{
    return selectionMask_ ? selectionMask_->GetLayerContainerHandle() : kNullHandle;
}

qs::vector<PntHandle> LayerStack::GetLayerContainerHandleArray(LayerMode mode, bool directOnly) const
{
    return GetLayerFolder(mode)->GetLCHArray(directOnly);
}

LayerFolder* LayerStack::HoldingFolder(const LayerContainer* container, LayerFolder** top) const
{
    LayerFolder* holding = nullptr;
    for (LayerFolder* folder : TopFolders()) {
        if (container != nullptr && folder->FindLayerContainer(container, &holding)) {
            if (top != nullptr)
                *top = folder;
            return holding;
        }
    }
    return nullptr;
}

LayerFolder* LayerStack::FindLayerFolder(const PntHandle& handle, bool deep) const
{
    LayerFolder* holding = HoldingFolder(GetLayerContainerFromHandle(handle), nullptr);
    return deep || IsTopFolder(holding) ? holding : nullptr;
}

LayerFolder* LayerStack::FindLayerFolderHasLayer(const PntHandle& handle) const
{
    return HoldingFolder(GetLayerFromHandle(handle), nullptr);
}

bool LayerStack::IsLayerNameUnique(const char* name) const
{
    if (name == nullptr)
        return true;
    for (const LayerFolder* folder : TopFolders()) {
        qs::vector<LayerContainer*> containers;
        folder->GetLCArray_FLATTEN(&containers);
        for (const LayerContainer* container : containers)
            if (dynamic_cast<const Layer*>(container) != nullptr &&
                std::strcmp(container->GetLayerContainerName(), name) == 0)
                return false;
    }
    return true;
}

Layer* LayerStack::GetNextLayer(Layer* layer) const
{
    return layer != nullptr ? GetLayerFolder(layer->GetLayerMode())->GetNextLayer(layer) : nullptr;
}

Layer* LayerStack::GetPreviousLayer(Layer* layer) const
{
    return layer != nullptr ? GetLayerFolder(layer->GetLayerMode())->GetPreviousLayer(layer) : nullptr;
}

LayerContainer* LayerStack::GetNextLayerContainer(LayerContainer* container) const
{
    LayerFolder* top = nullptr;
    return HoldingFolder(container, &top) != nullptr ? top->GetNextLayerContainer(container) : nullptr;
}

LayerContainer* LayerStack::GetPreviousLayerContainer(LayerContainer* container) const
{
    LayerFolder* top = nullptr;
    return HoldingFolder(container, &top) != nullptr ? top->GetPreviousLayerContainer(container) : nullptr;
}

Layer* LayerStack::GetTopLayer(LayerMode mode) const
{
    return GetLayerFolder(mode)->GetTopLayer();
}

Layer* LayerStack::GetBottomLayer(LayerMode mode) const
{
    return GetLayerFolder(mode)->GetBottomLayer();
}

PntHandle LayerStack::FindLayer(int x, int y, bool includeHidden, bool includeLocked, float tolerance) const
{
    const auto hitsIn = [&](const qs::Reference<LayerFolder>& folder) {
        return folder->FindLayer(x, y, includeHidden, includeLocked, tolerance);
    };
    for (const Layer* stencil : hitsIn(stencilFolder_))
        if (stencil == currentLayer_)
            return stencil->GetLayerContainerHandle();
    if (currentLayer_ != nullptr)
        for (const Layer* mask : hitsIn(maskFolder_))
            if (mask->HasOwner(currentLayer_->GetLayerContainerHandle()))
                return mask->GetLayerContainerHandle();
    const qs::vector<Layer*> images = hitsIn(imageFolder_);
    return images.empty() ? kNullHandle : images.front()->GetLayerContainerHandle();
}

qs::vector<PntHandle> LayerStack::getMaskLayers(const PntHandle& owner) const
{
    qs::vector<PntHandle> masks;
    maskFolder_->GetMaskLayers(masks, ResolveHandle(owner));
    return masks;
}

qs::vector<PntHandle> LayerStack::getStencilLayers(const PntHandle& owner) const
{
    qs::vector<PntHandle> stencils;
    stencilFolder_->GetStencilLayers(stencils, ResolveHandle(owner));
    return stencils;
}

qs::vector<PntHandle> LayerStack::getOwnerArray(const PntHandle& handle) const
{
    const LayerContainer* container = GetLayerContainerFromHandle(handle);
    return container != nullptr ? container->GetOwnerLayerArray() : qs::vector<PntHandle>();
}

void LayerStack::LayerStackToLayerCoords(float& x, float& y, const PntHandle& handle) const
{
    if (const Layer* layer = GetLayerFromHandle(handle)) {
        x -= static_cast<float>(layer->getXOffset());
        y -= static_cast<float>(layer->getYOffset());
    }
}

void LayerStack::LayerStackToLayerCoords(int& x, int& y, const PntHandle& handle) const
{
    if (const Layer* layer = GetLayerFromHandle(handle)) {
        x = Saturated(int64_t{x} - layer->getXOffset());
        y = Saturated(int64_t{y} - layer->getYOffset());
    }
}

void LayerStack::LayerToLayerStackCoords(float& x, float& y, const PntHandle& handle) const
{
    if (const Layer* layer = GetLayerFromHandle(handle)) {
        x += static_cast<float>(layer->getXOffset());
        y += static_cast<float>(layer->getYOffset());
    }
}

void LayerStack::LayerToLayerStackCoords(int& x, int& y, const PntHandle& handle) const
{
    if (const Layer* layer = GetLayerFromHandle(handle)) {
        x = Saturated(int64_t{x} + layer->getXOffset());
        y = Saturated(int64_t{y} + layer->getYOffset());
    }
}

ilTile LayerStack::GetLayerStackBndInLayerCoord(const PntHandle& handle) const
{
    const Layer* layer = GetLayerFromHandle(handle);
    if (layer == nullptr)
        return {};
    return ilTileMoved(size_, -int64_t{layer->getXOffset()}, -int64_t{layer->getYOffset()});
}
