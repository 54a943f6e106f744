#include "stack/LayerStack.h"

// A deletion picks the next current layer before the old one goes, as the host hears of every removal at once and may
// ask for the current layer.

Layer* LayerStack::ChooseCurrentAfter(Layer* layer) const
{
    if (Layer* below = GetPreviousLayer(layer))
        return below;
    if (Layer* above = GetNextLayer(layer))
        return above;
    Layer* bottom = GetBottomLayer(kLayerModeImage);
    return bottom != layer ? bottom : nullptr;
}

void LayerStack::RemoveLayerFromStack(Layer* layer)
{
    const qs::Reference<Layer> kept(layer);
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
    if (layer == currentLayer_)
        BecomeCurrent(ChooseCurrentAfter(layer));
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
