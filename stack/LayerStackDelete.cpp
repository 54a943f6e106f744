#include "stack/LayerStack.h"
#include "stack/StackEdit.h"

#include <algorithm>

/// The layer, and what is hard-linked to it or to one of those.
qs::vector<qs::Reference<Layer>> LayerStack::WithHardLinked(Layer* layer) const
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

/// The nearest layer below, else above, else the bottom image layer that stays.
Layer* LayerStack::ChooseCurrentAfter(Layer* layer, const qs::vector<qs::Reference<Layer>>& leaving) const
{
    const auto stays = [&](const Layer* one) {
        return std::find(leaving.begin(), leaving.end(), one) == leaving.end();
    };
    for (Layer* below = GetPreviousLayer(layer); below != nullptr; below = GetPreviousLayer(below))
        if (stays(below))
            return below;
    for (Layer* above = GetNextLayer(layer); above != nullptr; above = GetNextLayer(above))
        if (stays(above))
            return above;
    for (Layer* bottom = GetBottomLayer(kLayerModeImage); bottom != nullptr; bottom = GetNextLayer(bottom))
        if (stays(bottom))
            return bottom;
    return nullptr;
}

void LayerStack::RemoveLayerFromStack(Layer* layer)
{
    if (layer == nullptr || HoldingFolder(layer, nullptr) == nullptr)
        return;
    const StackEdit edit(*this);
    const qs::vector<qs::Reference<Layer>> leaving = WithHardLinked(layer);
    if (std::find(leaving.begin(), leaving.end(), currentLayer_) != leaving.end())
        BecomeCurrent(ChooseCurrentAfter(layer, leaving));
    for (const qs::Reference<Layer>& one : leaving)
        TakeOut(one.get());
}

void LayerStack::TakeOut(Layer* layer)
{
    // While it is still found: what it hid or was hidden by has to be composed again.
    if (layer->isStencil())
        SetStencilCompositeDirty(layer->GetLayerContainerHandle());
    // A stencil hard-linked to this layer was active as this one was visible, for its further owners too.
    for (const PntHandle& stencil : getStencilLayers(layer->GetLayerContainerHandle()))
        SetStencilCompositeDirty(stencil);
    MarkTreeStale();
    maskIsStale_ = true;
    GetLayerFolder(layer->GetLayerMode())->RemoveLayerContainer(layer);
    maskFolder_->RemoveLayerFromOwnerLayer(layer);
    stencilFolder_->RemoveLayerFromOwnerLayer(layer);
}

void LayerStack::EnsureImageLayer()
{
    if (imageFolder_->GetSize() > 0)
        return;
    const PntHandle where = isSelectionMaskCurrent() ? kNullHandle : kCurrentLayerHandle;
    AddLayer({}, {}, kLayerModeImage, kLayerTypeRaster, true, 0, where, true, 0, 0, false);
}

void LayerStack::DeleteLayer(Layer* layer, bool keepOne)
{
    if (layer == nullptr) {
        ResetCurrentPainter();
        return;
    }
    const qs::Reference<Layer> kept(layer);
    RemoveLayerFromStack(layer);
    if (keepOne)
        EnsureImageLayer();
    if (currentLayer_ == nullptr && imageFolder_->GetSize() > 0) {
        Layer* next = nullptr;
        if (layer->isMask())
            next = GetTopLayer(kLayerModeStencil);
        else if (layer->isStencil())
            next = GetTopLayer(kLayerModeMask);
        BecomeCurrent(next != nullptr ? next : GetTopLayer(kLayerModeImage));
    }
    ResetCurrentPainter();
}

void LayerStack::DeleteCurrentLayer(const PntHandle& handle, bool redraw)
{
    const StackEdit edit(*this);
    EndProxy();
    Layer* layer = GetLayerFromHandle(handle);
    if (layer == nullptr || layer == selectionMask_)
        return;
    const LayerMode mode = layer->GetLayerMode();
    const PntHandle deleted = layer->GetLayerContainerHandle();
    DeleteLayer(layer, true);
    if (redraw)
        ReuseLSCAndRedrawEntireCanvas(mode, deleted);
    else
        needsFullRedraw_ = true;
    Notify(true);
}

void LayerStack::DeleteLayerFolder(LayerFolder* folder)
{
    const StackEdit edit(*this);
    LayerFolder* top = nullptr;
    if (HoldingFolder(folder, &top) == nullptr)
        return;
    const qs::Reference<LayerFolder> kept(folder);
    const qs::vector<LayerContainer*> children = folder->GetLCArray();
    const auto isHere = [&](const Layer* layer) { return HoldingFolder(layer, nullptr) == folder; };
    if (currentLayer_ != nullptr && isHere(currentLayer_)) {
        Layer* next = GetBottomLayer(kLayerModeImage);
        while (next != nullptr && isHere(next))
            next = GetNextLayer(next);
        BecomeCurrent(next);
    }
    for (LayerContainer* child : children)
        if (Layer* layer = dynamic_cast<Layer*>(child))
            RemoveLayerFromStack(layer);
    if (HoldingFolder(folder, nullptr) != nullptr)
        top->RemoveLayerContainer(folder);  // it held nothing
    MarkTreeStale();
    EnsureImageLayer();
    BecomeCurrent(GetBottomLayer(kLayerModeImage));
    ResetCurrentPainter();
}

void LayerStack::DeleteAllLayers()
{
    const StackEdit edit(*this);
    DeleteAllMasks(false);
    DeleteAllStencils(false, true);
    EndProxy();
    BecomeCurrent(GetBottomLayer(kLayerModeImage));
    while (currentLayer_ != nullptr && GetTopLayer(kLayerModeImage) != GetBottomLayer(kLayerModeImage))
        DeleteLayer(currentLayer_, true);
    DeleteLayer(currentLayer_, true);
    EnsureImageLayer();
    RebuildAllAndRedrawEntireCanvas();
    Notify(true);
}

void LayerStack::DeleteInvisibleLayers(bool notify)
{
    const StackEdit edit(*this);
    EndProxy();
    qs::vector<PntHandle> handles;
    for (const LayerFolder* folder : TopFolders()) {
        const qs::vector<PntHandle> contents = folder->GetLCHArray(false);
        handles.insert(handles.end(), contents.begin(), contents.end());
    }
    for (const PntHandle& handle : handles) {
        LayerContainer* container = GetLayerContainerFromHandle(handle);
        if (Layer* layer = dynamic_cast<Layer*>(container)) {
            if (!layer->isVisible())
                DeleteLayer(layer, true);
        } else if (LayerFolder* folder = dynamic_cast<LayerFolder*>(container)) {
            if (!folder->isActive())
                DeleteLayerFolder(folder);
        }
    }
    if (notify)
        Notify(true);
    RebuildAllAndRedrawEntireCanvas();
}
