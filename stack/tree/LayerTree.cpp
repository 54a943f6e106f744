#include "stack/tree/LayerTree.h"

#include "layers/Layer.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace {

int Saturated(int64_t value)
{
    return static_cast<int>(std::clamp<int64_t>(value, INT32_MIN, INT32_MAX));
}

}  // namespace

LayerTree::LayerTree()
    : imageFolder_(new LayerFolder(kNullHandle)), maskFolder_(new LayerFolder(kNullHandle)),
      stencilFolder_(new LayerFolder(kNullHandle))
{}

LayerTree::LayerTree(const qsOS::Uuid& instance)
    : instance_(instance), imageFolder_(new LayerFolder), maskFolder_(new LayerFolder), stencilFolder_(new LayerFolder)
{
    for (LayerFolder* folder : TopFolders())
        folder->VerifyAllLsHandle(instance_);
}

LayerTree::~LayerTree() = default;

void LayerTree::CopyWhole(const LayerTree& source)
{
    instance_ = source.instance_;
    imageFolder_->CopyWhole(*source.imageFolder_);
    maskFolder_->CopyWhole(*source.maskFolder_);
    stencilFolder_->CopyWhole(*source.stencilFolder_);
    if (source.selectionMask_)
        selectionMask_.reset(static_cast<Layer*>(source.selectionMask_->Clone()));
    current_ = GetLayerFromHandle(source.GetCurrentHandle());
}

void LayerTree::SetSelectionMask(Layer* mask)
{
    selectionMask_.reset(mask);
}

LayerFolder* LayerTree::GetLayerFolder(LayerMode mode) const
{
    switch (mode) {
    case kLayerModeImage: return imageFolder_.get();
    case kLayerModeStencil: return stencilFolder_.get();
    default: return maskFolder_.get();
    }
}

std::array<LayerFolder*, 3> LayerTree::TopFolders() const
{
    return {imageFolder_.get(), maskFolder_.get(), stencilFolder_.get()};
}

bool LayerTree::IsTopFolder(const LayerFolder* folder) const
{
    return folder == imageFolder_ || folder == maskFolder_ || folder == stencilFolder_;
}

LayerFolder* LayerTree::HoldingFolder(const LayerContainer* container, LayerFolder** top) const
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

PntHandle LayerTree::ResolveHandle(const PntHandle& handle) const
{
    return handle == kCurrentLayerHandle && current_ != nullptr ? current_->GetLayerContainerHandle() : handle;
}

void LayerTree::RememberCurrentInFolder()
{
    LayerFolder* holding = HoldingFolder(current_, nullptr);
    if (holding != nullptr && !IsTopFolder(holding))
        holding->SetCacheCurrentLC(current_->GetLayerContainerHandle());
}

LayerContainer* LayerTree::GetLayerContainerFromHandle(const PntHandle& handle) const
{
    if (handle == kCurrentLayerHandle)
        return current_;
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

Layer* LayerTree::GetLayerFromHandle(const PntHandle& handle) const
{
    return dynamic_cast<Layer*>(GetLayerContainerFromHandle(handle));
}

LayerFolder* LayerTree::GetLayerFolderFromHandle(const PntHandle& handle) const
{
    return dynamic_cast<LayerFolder*>(GetLayerContainerFromHandle(handle));
}

PntHandle LayerTree::GetCurrentHandle() const
{
    return current_ != nullptr ? current_->GetLayerContainerHandle() : kNullHandle;
}

PntHandle LayerTree::GetSelectionMaskHandle() const
{
    return selectionMask_ ? selectionMask_->GetLayerContainerHandle() : kNullHandle;
}

LayerFolder* LayerTree::FindLayerFolder(const PntHandle& handle, bool deep) const
{
    LayerFolder* holding = HoldingFolder(GetLayerContainerFromHandle(handle), nullptr);
    return deep || IsTopFolder(holding) ? holding : nullptr;
}

Layer* LayerTree::GetTopLayer(LayerMode mode) const
{
    return GetLayerFolder(mode)->GetTopLayer();
}

Layer* LayerTree::GetBottomLayer(LayerMode mode) const
{
    return GetLayerFolder(mode)->GetBottomLayer();
}

Layer* LayerTree::GetNextLayer(Layer* layer) const
{
    return layer != nullptr ? GetLayerFolder(layer->GetLayerMode())->GetNextLayer(layer) : nullptr;
}

Layer* LayerTree::GetPreviousLayer(Layer* layer) const
{
    return layer != nullptr ? GetLayerFolder(layer->GetLayerMode())->GetPreviousLayer(layer) : nullptr;
}

LayerContainer* LayerTree::GetNextLayerContainer(LayerContainer* container) const
{
    LayerFolder* top = nullptr;
    return HoldingFolder(container, &top) != nullptr ? top->GetNextLayerContainer(container) : nullptr;
}

LayerContainer* LayerTree::GetPreviousLayerContainer(LayerContainer* container) const
{
    LayerFolder* top = nullptr;
    return HoldingFolder(container, &top) != nullptr ? top->GetPreviousLayerContainer(container) : nullptr;
}

PntHandle LayerTree::FindLayer(int x, int y, bool includeHidden, bool includeLocked, float tolerance) const
{
    const auto hitsIn = [&](const qs::Reference<LayerFolder>& folder) {
        return folder->FindLayer(x, y, includeHidden, includeLocked, tolerance);
    };
    for (const Layer* stencil : hitsIn(stencilFolder_))
        if (stencil == current_)
            return stencil->GetLayerContainerHandle();
    if (current_ != nullptr)
        for (const Layer* mask : hitsIn(maskFolder_))
            if (mask->HasOwner(current_->GetLayerContainerHandle()))
                return mask->GetLayerContainerHandle();
    const qs::vector<Layer*> images = hitsIn(imageFolder_);
    return images.empty() ? kNullHandle : images.front()->GetLayerContainerHandle();
}

qs::vector<PntHandle> LayerTree::GetMaskLayers(const PntHandle& owner) const
{
    qs::vector<PntHandle> masks;
    maskFolder_->GetMaskLayers(masks, ResolveHandle(owner));
    return masks;
}

qs::vector<PntHandle> LayerTree::GetStencilLayers(const PntHandle& owner) const
{
    qs::vector<PntHandle> stencils;
    stencilFolder_->GetStencilLayers(stencils, ResolveHandle(owner));
    return stencils;
}

qs::vector<PntHandle> LayerTree::GetOwners(const PntHandle& handle) const
{
    const LayerContainer* container = GetLayerContainerFromHandle(handle);
    return container != nullptr ? container->GetOwnerLayerArray() : qs::vector<PntHandle>();
}

bool LayerTree::IsNameUnique(const char* name) const
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

bool LayerTree::IsShown(const Layer& layer) const
{
    const LayerFolder* folder = HoldingFolder(&layer, nullptr);
    return layer.isVisible() && (folder == nullptr || folder->isActive());
}

qs::vector<qs::Reference<Layer>> LayerTree::GetAllLayers() const
{
    qs::vector<LayerContainer*> containers;
    for (const LayerFolder* folder : TopFolders())
        folder->GetLCArray_FLATTEN(&containers);
    qs::vector<qs::Reference<Layer>> layers;
    for (LayerContainer* container : containers)
        if (Layer* layer = dynamic_cast<Layer*>(container))
            layers.emplace_back(layer);
    if (selectionMask_)
        layers.push_back(selectionMask_);
    return layers;
}

qs::vector<Layer*> LayerTree::GetFlattenedImageLayers(bool shownOnly) const
{
    qs::vector<Layer*> layers;
    const auto append = [&](LayerContainer* container) {
        Layer* layer = dynamic_cast<Layer*>(container);
        if (layer != nullptr && (!shownOnly || layer->isVisible()))
            layers.push_back(layer);
    };
    for (LayerContainer* child : imageFolder_->GetLCArray()) {
        append(child);
        if (const auto* folder = dynamic_cast<LayerFolder*>(child); folder != nullptr)
            if (!shownOnly || folder->isActive())
                std::for_each(folder->GetLCArray().begin(), folder->GetLCArray().end(), append);
    }
    return layers;
}

qs::vector<qs::Reference<Layer>> LayerTree::GetWithHardLinked(Layer* layer) const
{
    qs::vector<LayerContainer*> others;  // wherever they stand: a folder's list of stencils leaves some out
    for (const LayerFolder* top : TopFolders())
        top->GetLCArray_FLATTEN(&others);
    qs::vector<qs::Reference<Layer>> found = {layer};
    for (size_t i = 0; i < found.size(); ++i)
        for (LayerContainer* other : others) {
            Layer* follower = dynamic_cast<Layer*>(other);
            if (follower != nullptr && follower->IsHardLinkToOwnerLayer() &&
                follower->GetOwnerLayerArray().front() == found[i]->GetLayerContainerHandle() &&
                std::find(found.begin(), found.end(), follower) == found.end())
                found.emplace_back(follower);
        }
    return found;
}

void LayerTree::LiftOutOfFolder(Layer& layer)
{
    LayerFolder* top = nullptr;
    LayerFolder* holding = HoldingFolder(&layer, &top);
    if (holding == nullptr || holding == top)
        return;
    const qs::Reference<Layer> keptLayer(&layer);
    const qs::Reference<LayerFolder> keptFolder(holding);
    holding->RemoveLayerContainer(&layer);
    top->AddLayerContainer(&layer, holding, true);
    if (holding->GetSize() == 0)
        top->RemoveLayerContainer(holding);
}

PntHandle LayerTree::FindBelow(const PntHandle& handle) const
{
    const Layer* layer = GetLayerFromHandle(handle);
    const LayerFolder* holding = HoldingFolder(layer, nullptr);
    if (holding == nullptr)
        return kNullHandle;
    const qs::vector<LayerContainer*>& siblings = holding->GetLCArray();
    const auto at = std::find(siblings.begin(), siblings.end(), layer);
    return at != siblings.begin() ? at[-1]->GetLayerContainerHandle() : kNullHandle;
}

void LayerTree::ToLayer(float& x, float& y, const PntHandle& handle) const
{
    if (const Layer* layer = GetLayerFromHandle(handle)) {
        x -= static_cast<float>(layer->getXOffset());
        y -= static_cast<float>(layer->getYOffset());
    }
}

void LayerTree::ToLayer(int& x, int& y, const PntHandle& handle) const
{
    if (const Layer* layer = GetLayerFromHandle(handle)) {
        x = Saturated(int64_t{x} - layer->getXOffset());
        y = Saturated(int64_t{y} - layer->getYOffset());
    }
}

void LayerTree::ToCanvas(float& x, float& y, const PntHandle& handle) const
{
    if (const Layer* layer = GetLayerFromHandle(handle)) {
        x += static_cast<float>(layer->getXOffset());
        y += static_cast<float>(layer->getYOffset());
    }
}

void LayerTree::ToCanvas(int& x, int& y, const PntHandle& handle) const
{
    if (const Layer* layer = GetLayerFromHandle(handle)) {
        x = Saturated(int64_t{x} + layer->getXOffset());
        y = Saturated(int64_t{y} + layer->getYOffset());
    }
}
