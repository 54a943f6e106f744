#include "platform/base/Attempt.h"
#include "stack/LayerStack.h"
#include "stack/StackParts.h"
#include "stack/StackPort.h"
#include "stack/edits/StackEdit.h"

#include <algorithm>
#include <cmath>

void LayerStack::ShowLayer(Layer& layer, bool visible)
{
    const bool wasVisible = layer.isVisible();
    layer.SetVisible(visible);
    if (layer.isVisible() != wasVisible) {
        const PntHandle& owner = layer.GetLayerContainerHandle();
        qs::vector<PntHandle> changed = parts_->tree.GetMaskLayers(owner);
        const qs::vector<PntHandle> stencils = parts_->tree.GetStencilLayers(owner);
        changed.insert(changed.end(), stencils.begin(), stencils.end());
        std::erase_if(changed, [&](const PntHandle& handle) {
            const Layer* follower = parts_->tree.GetLayerFromHandle(handle);
            return follower == nullptr || !follower->IsHardLinkToOwnerLayer();
        });
        changed.push_back(owner);
        for (const PntHandle& handle : changed) {
            parts_->canvas.TellChanged(*parts_->tree.GetLayerFromHandle(handle));
            parts_->canvas.DamageLayer(*parts_->tree.GetLayerFromHandle(handle));
        }
        if (&layer == parts_->selection.Get())
            parts_->current.UpdateClip();
    }
    GetStackPort().ContainerState(layer.GetLayerContainerHandle());
}

void LayerStack::SetLayerVisible(const PntHandle& handle, bool visible, bool redraw)
{
    const StackEdit edit(*this);
    Layer* layer = parts_->tree.GetLayerFromHandle(handle);
    if (layer == nullptr)
        return;
    ShowLayer(*layer, visible);
    if (redraw)
        parts_->update.ShowChange();
}

bool LayerStack::isLayerVisible(const PntHandle& handle) const
{
    const Layer* layer = parts_->tree.GetLayerFromHandle(handle);
    return layer != nullptr && layer->isVisible();
}

void LayerStack::SetAllLayerVisible(bool visible, bool redraw)
{
    qs::vector<PntHandle> handles;
    for (const LayerFolder* folder : parts_->tree.TopFolders()) {
        const qs::vector<PntHandle> contents = folder->GetLCHArray(false);
        handles.insert(handles.end(), contents.begin(), contents.end());
    }
    SetAllLayerVisible(handles, visible, redraw);
}

void LayerStack::SetAllLayerVisible(const qs::vector<PntHandle>& handles, bool visible, bool redraw)
{
    const StackEdit edit(*this);
    for (const PntHandle& handle : handles)
        if (Layer* layer = parts_->tree.GetLayerFromHandle(handle))
            ShowLayer(*layer, visible);
    if (redraw)
        parts_->update.ShowChange();
}

void LayerStack::SetLayerFolderActive(const PntHandle& handle, bool active, bool redraw)
{
    const StackEdit edit(*this);
    LayerFolder* folder = parts_->tree.GetLayerFolderFromHandle(handle);
    if (folder == nullptr)
        return;
    if (folder->isActive() != active) {
        folder->SetActive(active);
        parts_->canvas.GetComposite().CompositeBaseDirty(folder->GetLayerContainerHandle());
        qs::vector<LayerContainer*> contents;
        folder->GetLCArray_FLATTEN(&contents);
        for (LayerContainer* container : contents)
            if (Layer* layer = dynamic_cast<Layer*>(container)) {
                parts_->canvas.TellChanged(*layer);
                parts_->canvas.DamageLayer(*layer);
            }
    }
    GetStackPort().ContainerState(folder->GetLayerContainerHandle());
    if (redraw)
        parts_->update.ShowChange();
}

void LayerStack::SetLayerActive(const PntHandle& handle, bool active)
{
    const StackEdit edit(*this);
    Layer* layer = parts_->tree.GetLayerFromHandle(handle);
    if (layer == nullptr)
        return;
    const bool wasActive = layer->isActive();
    layer->SetActive(active);
    if (layer->isActive() != wasActive) {
        parts_->canvas.TellChanged(*layer);
        parts_->canvas.DamageLayer(*layer);
    }
    GetStackPort().ContainerState(layer->GetLayerContainerHandle());
    parts_->update.ForceUpdate();
}

LayerMode LayerStack::GetLayerMode(const PntHandle& handle) const
{
    const Layer* layer = parts_->tree.GetLayerFromHandle(handle);
    return layer != nullptr ? layer->GetLayerMode() : kLayerModeImage;
}

LayerBlendMode LayerStack::GetLayerBlend(const PntHandle& handle) const
{
    const Layer* layer = parts_->tree.GetLayerFromHandle(handle);
    return layer != nullptr ? layer->GetLayerBlend() : kBlendNormal;
}

void LayerStack::SetLayerBlend(const PntHandle& handle, LayerBlendMode mode)
{
    const StackEdit edit(*this);
    Layer* layer = parts_->tree.GetLayerFromHandle(handle);
    if (layer == nullptr || mode < 0 || mode >= kLayerBlendModeCount || mode == layer->GetLayerBlend())
        return;
    layer->SetLayerBlend(mode);
    parts_->canvas.TellChanged(*layer);
    parts_->canvas.DamageCanvas();  // the layers around it are grouped anew
    parts_->update.ShowChange();
}

float LayerStack::GetLayerOpacity(const PntHandle& handle) const
{
    const Layer* layer = parts_->tree.GetLayerFromHandle(handle);
    return layer != nullptr ? layer->GetOpacity() : 1.0f;
}

void LayerStack::SetLayerOpacity(const PntHandle& handle, float opacity)
{
    const StackEdit edit(*this);
    Layer* layer = parts_->tree.GetLayerFromHandle(handle);
    if (layer == nullptr || std::isnan(opacity))
        return;
    opacity = std::clamp(opacity, 0.0f, 1.0f);
    if (opacity == layer->GetOpacity())
        return;
    layer->SetOpacity(opacity);
    parts_->canvas.TellChanged(*layer);
    parts_->canvas.DamageLayer(*layer);
    parts_->update.ShowChange();
}

void LayerStack::SetLayerOffset(const PntHandle& handle, int x, int y, bool redraw)
{
    const StackEdit edit(*this);
    Layer* layer = parts_->tree.GetLayerFromHandle(handle);
    if (layer == nullptr)
        return;
    if (x != layer->getXOffset() || y != layer->getYOffset()) {
        parts_->current.DrainDamage();
        parts_->canvas.DamageLayer(*layer);
        layer->SetOffset(x, y, LayerStackTransform(), true);
        parts_->canvas.TellChanged(*layer);
        parts_->canvas.DamageLayer(*layer);
        parts_->current.UpdateBrushClippingRect();
        parts_->current.UpdateClip();
    }
    if (redraw)
        parts_->update.ForceUpdate();
}

void LayerStack::SetCurrentLayerOffset(int x, int y, bool redraw)
{
    SetLayerOffset(kCurrentLayerHandle, x, y, redraw);
}

void LayerStack::SetLayerContainerName(const PntHandle& handle, const char* name)
{
    LayerContainer* container = parts_->tree.GetLayerContainerFromHandle(handle);
    if (container == nullptr)
        return;
    container->SetLayerContainerName(name);
    GetStackPort().LayerRenamed(container->GetLayerContainerHandle());
}

void LayerStack::SetLayerContainerLocked(const PntHandle& handle, bool locked)
{
    if (LayerContainer* container = parts_->tree.GetLayerContainerFromHandle(handle))
        container->SetLocked(locked);
}

qsString::CString LayerStack::GetAppData(const PntHandle& handle, const qsString::CString& key) const
{
    Layer* layer = parts_->tree.GetLayerFromHandle(handle);
    return layer != nullptr ? layer->GetAppData(key) : qsString::CString();
}

void LayerStack::SetAppData(const PntHandle& handle, const qsString::CString& key, const qsString::CString& value)
{
    if (Layer* layer = parts_->tree.GetLayerFromHandle(handle))
        layer->SetAppData(key, value);
}

void LayerStack::SetContainerProperties(const PntHandle& handle, const ContainerProperties& properties) noexcept
{
    const qs::Reference<LayerContainer> container = parts_->tree.GetLayerContainerFromHandle(handle);
    if (!container)
        return;
    const bool isShown = Attempt([&] {
        const ContainerProperties before = container->GetProperties();
        if (properties.name != before.name)
            SetLayerContainerName(handle, properties.name.data());
        if (properties.blend != before.blend)
            SetLayerBlend(handle, properties.blend);
        if (properties.opacity != before.opacity) {
            SetLayerOpacity(handle, properties.opacity);
            GetStackPort().OpacityRestored(container->GetLayerContainerHandle(), properties.opacity);
        }
        if (properties.displayOpacity != before.displayOpacity)
            SetMaskLayerDisplayOpacity(properties.displayOpacity, handle);
        if (properties.displayColor != before.displayColor)
            SetMaskLayerDisplayColor(properties.displayColor, handle);
        if (properties.isVisible != before.isVisible)
            SetLayerVisible(handle, properties.isVisible, true);
        if (properties.isActive != before.isActive && parts_->tree.GetLayerFolderFromHandle(handle) != nullptr)
            SetLayerFolderActive(handle, properties.isActive, true);
        else if (properties.isActive != before.isActive)
            SetLayerActive(handle, properties.isActive);
        SetLayerContainerLocked(handle, properties.isLocked);
    });
    container->SetProperties(properties);
    if (!isShown)
        MarkAllStale();
}

bool LayerStack::AddOwnerToLayer(const PntHandle& owner, const PntHandle& layer, bool hardLink)
{
    const StackEdit edit(*this);
    Layer* follower = parts_->tree.GetLayerFromHandle(layer);
    Layer* leader = parts_->tree.GetLayerFromHandle(owner);
    const bool isFollower = follower != nullptr && (follower->isMask() || follower->isStencil());
    if (!isFollower || (hardLink && !follower->GetOwnerLayerArray().empty()) || follower == leader ||
        follower == parts_->selection.Get() || !follower->AddOwnerLayer(leader, hardLink))
        return false;
    parts_->canvas.TellChanged(*follower);
    parts_->canvas.MarkTreeStale();
    return true;
}

bool LayerStack::RemoveOwnerFromLayer(const PntHandle& owner, const PntHandle& layer)
{
    const StackEdit edit(*this);
    Layer* follower = parts_->tree.GetLayerFromHandle(layer);
    if (follower == nullptr)
        return false;
    parts_->canvas.TellChanged(*follower);  // while it still names the owner
    if (!follower->RemoveLayerFromOwnerLayer(parts_->tree.GetLayerContainerFromHandle(owner)))
        return false;
    parts_->canvas.MarkMaskStale();
    parts_->canvas.MarkTreeStale();
    return true;
}
