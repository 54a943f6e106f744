#include "stack/edits/LayerVisibility.h"

#include "stack/StackPort.h"
#include "stack/StackRooms.h"
#include "stack/edits/StackEdit.h"

void LayerVisibility::Show(Layer& layer, bool visible)
{
    const bool wasVisible = layer.isVisible();
    layer.SetVisible(visible);
    if (layer.isVisible() != wasVisible) {
        const PntHandle& owner = layer.GetLayerContainerHandle();
        qs::vector<PntHandle> changed = tree_.GetMaskLayers(owner);
        const qs::vector<PntHandle> stencils = tree_.GetStencilLayers(owner);
        changed.insert(changed.end(), stencils.begin(), stencils.end());
        std::erase_if(changed, [&](const PntHandle& handle) {
            const Layer* follower = tree_.GetLayerFromHandle(handle);
            return follower == nullptr || !follower->IsHardLinkToOwnerLayer();
        });
        changed.push_back(owner);
        for (const PntHandle& handle : changed) {
            canvas_.TellChanged(*tree_.GetLayerFromHandle(handle));
            canvas_.DamageLayer(*tree_.GetLayerFromHandle(handle));
        }
        if (&layer == selection_.Get())
            current_.UpdateClip();
    }
    GetStackPort().ContainerState(layer.GetLayerContainerHandle());
}

void LayerVisibility::SetVisible(const PntHandle& handle, bool visible, bool redraw)
{
    const StackEdit edit(stack_);
    Layer* layer = tree_.GetLayerFromHandle(handle);
    if (layer == nullptr)
        return;
    Show(*layer, visible);
    if (redraw)
        update_.ShowChange();
}

void LayerVisibility::SetAllVisible(bool visible, bool redraw)
{
    qs::vector<PntHandle> handles;
    for (const LayerFolder* folder : tree_.TopFolders()) {
        const qs::vector<PntHandle> contents = folder->GetLCHArray(false);
        handles.insert(handles.end(), contents.begin(), contents.end());
    }
    SetAllVisible(handles, visible, redraw);
}

void LayerVisibility::SetAllVisible(const qs::vector<PntHandle>& handles, bool visible, bool redraw)
{
    const StackEdit edit(stack_);
    for (const PntHandle& handle : handles)
        if (Layer* layer = tree_.GetLayerFromHandle(handle))
            Show(*layer, visible);
    if (redraw)
        update_.ShowChange();
}

void LayerVisibility::SetFolderActive(const PntHandle& handle, bool active, bool redraw)
{
    const StackEdit edit(stack_);
    LayerFolder* folder = tree_.GetLayerFolderFromHandle(handle);
    if (folder == nullptr)
        return;
    if (folder->isActive() != active) {
        folder->SetActive(active);
        canvas_.GetComposite().CompositeBaseDirty(folder->GetLayerContainerHandle());
        qs::vector<LayerContainer*> contents;
        folder->GetLCArray_FLATTEN(&contents);
        for (LayerContainer* container : contents)
            if (Layer* layer = dynamic_cast<Layer*>(container)) {
                canvas_.TellChanged(*layer);
                canvas_.DamageLayer(*layer);
            }
    }
    GetStackPort().ContainerState(folder->GetLayerContainerHandle());
    if (redraw)
        update_.ShowChange();
}

void LayerVisibility::SetActive(const PntHandle& handle, bool active)
{
    const StackEdit edit(stack_);
    Layer* layer = tree_.GetLayerFromHandle(handle);
    if (layer == nullptr)
        return;
    const bool wasActive = layer->isActive();
    layer->SetActive(active);
    if (layer->isActive() != wasActive) {
        canvas_.TellChanged(*layer);
        canvas_.DamageLayer(*layer);
    }
    GetStackPort().ContainerState(layer->GetLayerContainerHandle());
    update_.ForceUpdate();
}
