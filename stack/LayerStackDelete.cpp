#include "stack/LayerStack.h"
#include "stack/StackParts.h"
#include "stack/edits/StackEdit.h"

#include <algorithm>

/// The nearest layer below, else above, else the bottom image layer that stays.
Layer* LayerStack::ChooseCurrentAfter(Layer* layer, const qs::vector<qs::Reference<Layer>>& leaving) const
{
    const auto stays = [&](const Layer* one) {
        return std::find(leaving.begin(), leaving.end(), one) == leaving.end();
    };
    for (Layer* below = parts_->tree.GetPreviousLayer(layer); below != nullptr;
         below = parts_->tree.GetPreviousLayer(below))
        if (stays(below))
            return below;
    for (Layer* above = parts_->tree.GetNextLayer(layer); above != nullptr; above = parts_->tree.GetNextLayer(above))
        if (stays(above))
            return above;
    for (Layer* bottom = parts_->tree.GetBottomLayer(kLayerModeImage); bottom != nullptr;
         bottom = parts_->tree.GetNextLayer(bottom))
        if (stays(bottom))
            return bottom;
    return nullptr;
}

void LayerStack::RemoveLayerFromStack(Layer* layer)
{
    if (layer == nullptr || parts_->tree.HoldingFolder(layer, nullptr) == nullptr)
        return;
    const StackEdit edit(*this);
    const qs::vector<qs::Reference<Layer>> leaving = parts_->tree.GetWithHardLinked(layer);
    if (std::find(leaving.begin(), leaving.end(), parts_->tree.GetCurrent()) != leaving.end())
        parts_->current.Become(ChooseCurrentAfter(layer, leaving));
    for (const qs::Reference<Layer>& one : leaving)
        TakeOut(one.get());
}

void LayerStack::TakeOut(Layer* layer)
{
    // While it is still found: what it hid or was hidden by has to be composed again.
    if (layer->isStencil())
        parts_->canvas.SetStencilCompositeDirty(layer->GetLayerContainerHandle());
    // A stencil hard-linked to this layer was active as this one was visible, for its further owners too.
    for (const PntHandle& stencil : parts_->tree.GetStencilLayers(layer->GetLayerContainerHandle()))
        parts_->canvas.SetStencilCompositeDirty(stencil);
    parts_->canvas.MarkTreeStale();
    parts_->canvas.MarkMaskStale();
    parts_->tree.GetLayerFolder(layer->GetLayerMode())->RemoveLayerContainer(layer);
    parts_->tree.GetMaskFolder()->RemoveLayerFromOwnerLayer(layer);
    parts_->tree.GetStencilFolder()->RemoveLayerFromOwnerLayer(layer);
}

void LayerStack::EnsureImageLayer()
{
    if (parts_->tree.GetImageFolder()->GetSize() > 0)
        return;
    const PntHandle where = parts_->selection.IsCurrent() ? kNullHandle : kCurrentLayerHandle;
    AddLayer({}, {}, kLayerModeImage, kLayerTypeRaster, true, 0, where, true, 0, 0, false);
}

void LayerStack::DeleteLayer(Layer* layer, bool keepOne)
{
    if (layer == nullptr) {
        parts_->current.ResetPainter();
        return;
    }
    const qs::Reference<Layer> kept(layer);
    RemoveLayerFromStack(layer);
    if (keepOne)
        EnsureImageLayer();
    if (parts_->tree.GetCurrent() == nullptr && parts_->tree.GetImageFolder()->GetSize() > 0) {
        Layer* next = nullptr;
        if (layer->isMask())
            next = parts_->tree.GetTopLayer(kLayerModeStencil);
        else if (layer->isStencil())
            next = parts_->tree.GetTopLayer(kLayerModeMask);
        parts_->current.Become(next != nullptr ? next : parts_->tree.GetTopLayer(kLayerModeImage));
    }
    parts_->current.ResetPainter();
}

void LayerStack::DeleteCurrentLayer(const PntHandle& handle, bool redraw)
{
    const StackEdit edit(*this);
    parts_->proxy.End();
    Layer* layer = parts_->tree.GetLayerFromHandle(handle);
    if (layer == nullptr || layer == parts_->selection.Get())
        return;
    const LayerMode mode = layer->GetLayerMode();
    const PntHandle deleted = layer->GetLayerContainerHandle();
    DeleteLayer(layer, true);
    if (redraw)
        parts_->redraw.RebuildWithout(mode, deleted);
    else
        parts_->canvas.SetNeedsFullRedraw(true);
    Notify(true);
}

void LayerStack::DeleteLayerFolder(LayerFolder* folder)
{
    const StackEdit edit(*this);
    LayerFolder* top = nullptr;
    if (parts_->tree.HoldingFolder(folder, &top) == nullptr)
        return;
    const qs::Reference<LayerFolder> kept(folder);
    const qs::vector<LayerContainer*> children = folder->GetLCArray();
    const auto isHere = [&](const Layer* layer) { return parts_->tree.HoldingFolder(layer, nullptr) == folder; };
    if (parts_->tree.GetCurrent() != nullptr && isHere(parts_->tree.GetCurrent())) {
        Layer* next = parts_->tree.GetBottomLayer(kLayerModeImage);
        while (next != nullptr && isHere(next))
            next = parts_->tree.GetNextLayer(next);
        parts_->current.Become(next);
    }
    for (LayerContainer* child : children)
        if (Layer* layer = dynamic_cast<Layer*>(child))
            RemoveLayerFromStack(layer);
    if (parts_->tree.HoldingFolder(folder, nullptr) != nullptr)
        top->RemoveLayerContainer(folder);  // it held nothing
    parts_->canvas.MarkTreeStale();
    EnsureImageLayer();
    parts_->current.Become(parts_->tree.GetBottomLayer(kLayerModeImage));
    parts_->current.ResetPainter();
}

void LayerStack::DeleteAllLayers()
{
    const StackEdit edit(*this);
    DeleteAllMasks(false);
    DeleteAllStencils(false, true);
    parts_->proxy.End();
    parts_->current.Become(parts_->tree.GetBottomLayer(kLayerModeImage));
    while (parts_->tree.GetCurrent() != nullptr &&
           parts_->tree.GetTopLayer(kLayerModeImage) != parts_->tree.GetBottomLayer(kLayerModeImage))
        DeleteLayer(parts_->tree.GetCurrent(), true);
    DeleteLayer(parts_->tree.GetCurrent(), true);
    EnsureImageLayer();
    parts_->redraw.RebuildAll();
    Notify(true);
}

void LayerStack::DeleteInvisibleLayers(bool notify)
{
    const StackEdit edit(*this);
    parts_->proxy.End();
    qs::vector<PntHandle> handles;
    for (const LayerFolder* folder : parts_->tree.TopFolders()) {
        const qs::vector<PntHandle> contents = folder->GetLCHArray(false);
        handles.insert(handles.end(), contents.begin(), contents.end());
    }
    for (const PntHandle& handle : handles) {
        LayerContainer* container = parts_->tree.GetLayerContainerFromHandle(handle);
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
    parts_->redraw.RebuildAll();
}
