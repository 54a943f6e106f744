#include "stack/tree/LayerRemoval.h"

#include "stack/StackRooms.h"
#include "stack/edits/StackEdit.h"

#include <algorithm>

void LayerRemoval::TakeOut(Layer* layer)
{
    if (layer == nullptr || tree_.HoldingFolder(layer, nullptr) == nullptr)
        return;
    const StackEdit edit(stack_);
    const qs::vector<qs::Reference<Layer>> leaving = tree_.GetWithHardLinked(layer);
    if (std::find(leaving.begin(), leaving.end(), tree_.GetCurrent()) != leaving.end())
        current_.Become(ChooseCurrentAfter(layer, leaving));
    for (const qs::Reference<Layer>& one : leaving)
        TakeOutOne(one.get());
}

void LayerRemoval::Delete(const PntHandle& handle, bool redraw)
{
    const StackEdit edit(stack_);
    proxy_.End();
    Layer* layer = tree_.GetLayerFromHandle(handle);
    if (layer == nullptr || layer == selection_.Get())
        return;
    const LayerMode mode = layer->GetLayerMode();
    const PntHandle deleted = layer->GetLayerContainerHandle();
    DeleteLayer(layer, true);
    if (redraw)
        redraw_.RebuildWithout(mode, deleted);
    else
        canvas_.SetNeedsFullRedraw(true);
    stack_.Notify(true);
}

void LayerRemoval::DeleteFolder(LayerFolder* folder)
{
    const StackEdit edit(stack_);
    LayerFolder* top = nullptr;
    if (tree_.HoldingFolder(folder, &top) == nullptr)
        return;
    const qs::Reference<LayerFolder> kept(folder);
    const qs::vector<LayerContainer*> children = folder->GetLCArray();
    const auto isHere = [&](const Layer* layer) { return tree_.HoldingFolder(layer, nullptr) == folder; };
    if (tree_.GetCurrent() != nullptr && isHere(tree_.GetCurrent())) {
        Layer* next = tree_.GetBottomLayer(kLayerModeImage);
        while (next != nullptr && isHere(next))
            next = tree_.GetNextLayer(next);
        current_.Become(next);
    }
    for (LayerContainer* child : children)
        if (Layer* layer = dynamic_cast<Layer*>(child))
            TakeOut(layer);
    if (tree_.HoldingFolder(folder, nullptr) != nullptr)
        top->RemoveLayerContainer(folder);  // it held nothing
    canvas_.MarkTreeStale();
    EnsureImageLayer();
    current_.Become(tree_.GetBottomLayer(kLayerModeImage));
    current_.ResetPainter();
}

void LayerRemoval::DeleteAll()
{
    const StackEdit edit(stack_);
    DeleteAllMasks(false);
    DeleteAllStencils(false, true);
    proxy_.End();
    current_.Become(tree_.GetBottomLayer(kLayerModeImage));
    while (tree_.GetCurrent() != nullptr && tree_.GetTopLayer(kLayerModeImage) != tree_.GetBottomLayer(kLayerModeImage))
        DeleteLayer(tree_.GetCurrent(), true);
    DeleteLayer(tree_.GetCurrent(), true);
    EnsureImageLayer();
    redraw_.RebuildAll();
    stack_.Notify(true);
}

void LayerRemoval::DeleteInvisible(bool notify)
{
    const StackEdit edit(stack_);
    proxy_.End();
    qs::vector<PntHandle> handles;
    for (const LayerFolder* folder : tree_.TopFolders()) {
        const qs::vector<PntHandle> contents = folder->GetLCHArray(false);
        handles.insert(handles.end(), contents.begin(), contents.end());
    }
    for (const PntHandle& handle : handles) {
        LayerContainer* container = tree_.GetLayerContainerFromHandle(handle);
        if (Layer* layer = dynamic_cast<Layer*>(container)) {
            if (!layer->isVisible())
                DeleteLayer(layer, true);
        } else if (LayerFolder* folder = dynamic_cast<LayerFolder*>(container)) {
            if (!folder->isActive())
                DeleteFolder(folder);
        }
    }
    if (notify)
        stack_.Notify(true);
    redraw_.RebuildAll();
}

void LayerRemoval::DeleteAllMasks(bool notify)
{
    const StackEdit edit(stack_);
    DeleteContents(tree_.GetMaskFolder(), false);
    if (notify)
        stack_.Notify(true);
}

void LayerRemoval::DeleteAllStencils(bool notify, bool all)
{
    const StackEdit edit(stack_);
    DeleteContents(tree_.GetStencilFolder(), !all);
    if (notify)
        stack_.Notify(true);
}

bool LayerRemoval::DeleteGroup(const PntHandle& handle, bool redraw)
{
    const StackEdit edit(stack_);
    const qs::vector<PntHandle> group = groups_.GetGroup(handle);
    if (group.empty())
        return false;
    for (const PntHandle& layer : group)
        groups_.Leave(layer);
    for (const PntHandle& layer : group)
        Delete(layer, redraw && layer == group.back());
    return true;
}

void LayerRemoval::DeleteContents(LayerFolder* folder, bool keepHardLinked)
{
    const StackEdit edit(stack_);
    proxy_.End();
    qs::vector<LayerContainer*> contents;
    folder->GetLCArray_FLATTEN(&contents);
    qs::vector<qs::Reference<Layer>> layers;
    for (LayerContainer* container : contents)
        if (Layer* layer = dynamic_cast<Layer*>(container))
            if (!keepHardLinked || !layer->IsHardLinkToOwnerLayer())
                layers.emplace_back(layer);
    const bool holdsCurrent = std::find(layers.begin(), layers.end(), tree_.GetCurrent()) != layers.end();
    for (const qs::Reference<Layer>& layer : layers)
        DeleteLayer(layer.get(), false);
    Layer* bottom = tree_.GetBottomLayer(kLayerModeImage);
    if (holdsCurrent && bottom != nullptr) {
        current_.Become(bottom);
        current_.ResetPainter();
    }
}

void LayerRemoval::DeleteLayer(Layer* layer, bool keepOne)
{
    if (layer == nullptr) {
        current_.ResetPainter();
        return;
    }
    const qs::Reference<Layer> kept(layer);
    TakeOut(layer);
    if (keepOne)
        EnsureImageLayer();
    if (tree_.GetCurrent() == nullptr && tree_.GetImageFolder()->GetSize() > 0) {
        Layer* next = nullptr;
        if (layer->isMask())
            next = tree_.GetTopLayer(kLayerModeStencil);
        else if (layer->isStencil())
            next = tree_.GetTopLayer(kLayerModeMask);
        current_.Become(next != nullptr ? next : tree_.GetTopLayer(kLayerModeImage));
    }
    current_.ResetPainter();
}

Layer* LayerRemoval::ChooseCurrentAfter(Layer* layer, const qs::vector<qs::Reference<Layer>>& leaving) const
{
    const auto stays = [&](const Layer* one) {
        return std::find(leaving.begin(), leaving.end(), one) == leaving.end();
    };
    for (Layer* below = tree_.GetPreviousLayer(layer); below != nullptr; below = tree_.GetPreviousLayer(below))
        if (stays(below))
            return below;
    for (Layer* above = tree_.GetNextLayer(layer); above != nullptr; above = tree_.GetNextLayer(above))
        if (stays(above))
            return above;
    for (Layer* bottom = tree_.GetBottomLayer(kLayerModeImage); bottom != nullptr; bottom = tree_.GetNextLayer(bottom))
        if (stays(bottom))
            return bottom;
    return nullptr;
}

void LayerRemoval::TakeOutOne(Layer* layer)
{
    // While it is still found: what it hid or was hidden by has to be composed again.
    if (layer->isStencil())
        canvas_.SetStencilCompositeDirty(layer->GetLayerContainerHandle());
    // A stencil hard-linked to this layer was active as this one was visible, for its further owners too.
    for (const PntHandle& stencil : tree_.GetStencilLayers(layer->GetLayerContainerHandle()))
        canvas_.SetStencilCompositeDirty(stencil);
    canvas_.MarkTreeStale();
    canvas_.MarkMaskStale();
    tree_.GetLayerFolder(layer->GetLayerMode())->RemoveLayerContainer(layer);
    tree_.GetMaskFolder()->RemoveLayerFromOwnerLayer(layer);
    tree_.GetStencilFolder()->RemoveLayerFromOwnerLayer(layer);
}

void LayerRemoval::EnsureImageLayer()
{
    if (tree_.GetImageFolder()->GetSize() > 0)
        return;
    const PntHandle where = selection_.IsCurrent() ? kNullHandle : kCurrentLayerHandle;
    stack_.AddLayer({}, {}, kLayerModeImage, kLayerTypeRaster, true, 0, where, true, 0, 0, false);
}
