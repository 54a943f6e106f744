#include "platform/base/Attempt.h"
#include "stack/LayerStack.h"
#include "stack/StackEdit.h"
#include "stack/StackPort.h"

#include <algorithm>
#include <cmath>

void LayerStack::TellChanged(Layer& layer)
{
    if (layer.isStencil())
        SetStencilCompositeDirty(layer.GetLayerContainerHandle());
    else if (layer.isMask())
        maskIsStale_ = true;
    else
        composite_.CompositeBaseDirty(layer.GetLayerContainerHandle());
}

ilTile LayerStack::DamageOf(Layer& layer) const
{
    const qs::TempReference<ilMIOImage> image = layer.GetImage();
    if (!image)
        return {};
    // A fill value reaches as far as the canvas.
    return image->GetFillValue().GetPacked() != 0 ? size_
                                                  : ilTileIntersection(layer.getLayerBoundsInCanvasCoords(), size_);
}

void LayerStack::DamageLayer(Layer& layer)
{
    DamageTile(DamageOf(layer));
}

void LayerStack::ShowChange()
{
    ForceUpdate();
    GetStackPort().CanvasUpdated();
}

// --- visibility ---

void LayerStack::ShowLayer(Layer& layer, bool visible)
{
    const bool wasVisible = layer.isVisible();
    layer.SetVisible(visible);
    if (layer.isVisible() != wasVisible) {
        const PntHandle& owner = layer.GetLayerContainerHandle();
        qs::vector<PntHandle> changed = getMaskLayers(owner);
        const qs::vector<PntHandle> stencils = getStencilLayers(owner);
        changed.insert(changed.end(), stencils.begin(), stencils.end());
        std::erase_if(changed, [&](const PntHandle& handle) {
            const Layer* follower = GetLayerFromHandle(handle);
            return follower == nullptr || !follower->IsHardLinkToOwnerLayer();
        });
        changed.push_back(owner);
        for (const PntHandle& handle : changed) {
            TellChanged(*GetLayerFromHandle(handle));
            DamageLayer(*GetLayerFromHandle(handle));
        }
        if (&layer == selectionMask_)
            UpdatePainterClip();
    }
    GetStackPort().ContainerState(layer.GetLayerContainerHandle());
}

void LayerStack::SetLayerVisible(const PntHandle& handle, bool visible, bool redraw)
{
    const StackEdit edit(*this);
    Layer* layer = GetLayerFromHandle(handle);
    if (layer == nullptr)
        return;
    ShowLayer(*layer, visible);
    if (redraw)
        ShowChange();
}

bool LayerStack::isLayerVisible(const PntHandle& handle) const
{
    const Layer* layer = GetLayerFromHandle(handle);
    return layer != nullptr && layer->isVisible();
}

bool LayerStack::IsShown(const Layer& layer) const
{
    const LayerFolder* folder = HoldingFolder(&layer, nullptr);
    return layer.isVisible() && (folder == nullptr || folder->isActive());
}

void LayerStack::SetAllLayerVisible(bool visible, bool redraw)
{
    qs::vector<PntHandle> handles;
    for (const LayerFolder* folder : TopFolders()) {
        const qs::vector<PntHandle> contents = folder->GetLCHArray(false);
        handles.insert(handles.end(), contents.begin(), contents.end());
    }
    SetAllLayerVisible(handles, visible, redraw);
}

void LayerStack::SetAllLayerVisible(const qs::vector<PntHandle>& handles, bool visible, bool redraw)
{
    const StackEdit edit(*this);
    for (const PntHandle& handle : handles)
        if (Layer* layer = GetLayerFromHandle(handle))
            ShowLayer(*layer, visible);
    if (redraw)
        ShowChange();
}

void LayerStack::SetLayerFolderActive(const PntHandle& handle, bool active, bool redraw)
{
    const StackEdit edit(*this);
    LayerFolder* folder = GetLayerFolderFromHandle(handle);
    if (folder == nullptr)
        return;
    if (folder->isActive() != active) {
        folder->SetActive(active);
        composite_.CompositeBaseDirty(folder->GetLayerContainerHandle());
        qs::vector<LayerContainer*> contents;
        folder->GetLCArray_FLATTEN(&contents);
        for (LayerContainer* container : contents)
            if (Layer* layer = dynamic_cast<Layer*>(container)) {
                TellChanged(*layer);
                DamageLayer(*layer);
            }
    }
    GetStackPort().ContainerState(folder->GetLayerContainerHandle());
    if (redraw)
        ShowChange();
}

void LayerStack::SetLayerActive(const PntHandle& handle, bool active)
{
    const StackEdit edit(*this);
    Layer* layer = GetLayerFromHandle(handle);
    if (layer == nullptr)
        return;
    const bool wasActive = layer->isActive();
    layer->SetActive(active);
    if (layer->isActive() != wasActive) {
        TellChanged(*layer);
        DamageLayer(*layer);
    }
    GetStackPort().ContainerState(layer->GetLayerContainerHandle());
    ForceUpdate();
}

// --- what is drawn, and how ---

LayerMode LayerStack::GetLayerMode(const PntHandle& handle) const
{
    const Layer* layer = GetLayerFromHandle(handle);
    return layer != nullptr ? layer->GetLayerMode() : kLayerModeImage;
}

LayerBlendMode LayerStack::GetLayerBlend(const PntHandle& handle) const
{
    const Layer* layer = GetLayerFromHandle(handle);
    return layer != nullptr ? layer->GetLayerBlend() : kBlendNormal;
}

void LayerStack::SetLayerBlend(const PntHandle& handle, LayerBlendMode mode)
{
    const StackEdit edit(*this);
    Layer* layer = GetLayerFromHandle(handle);
    if (layer == nullptr || mode < 0 || mode >= kLayerBlendModeCount || mode == layer->GetLayerBlend())
        return;
    layer->SetLayerBlend(mode);
    TellChanged(*layer);
    DamageCanvas();  // the layers around it are grouped anew
    ShowChange();
}

float LayerStack::GetLayerOpacity(const PntHandle& handle) const
{
    const Layer* layer = GetLayerFromHandle(handle);
    return layer != nullptr ? layer->GetOpacity() : 1.0f;
}

void LayerStack::SetLayerOpacity(const PntHandle& handle, float opacity)
{
    const StackEdit edit(*this);
    Layer* layer = GetLayerFromHandle(handle);
    if (layer == nullptr || std::isnan(opacity))
        return;
    opacity = std::clamp(opacity, 0.0f, 1.0f);
    if (opacity == layer->GetOpacity())
        return;
    layer->SetOpacity(opacity);
    TellChanged(*layer);
    DamageLayer(*layer);
    ShowChange();
}

void LayerStack::SetLayerOffset(const PntHandle& handle, int x, int y, bool redraw)
{
    const StackEdit edit(*this);
    Layer* layer = GetLayerFromHandle(handle);
    if (layer == nullptr)
        return;
    if (x != layer->getXOffset() || y != layer->getYOffset()) {
        DrainPainterDamage();
        DamageLayer(*layer);
        layer->SetOffset(x, y, LayerStackTransform(), true);
        TellChanged(*layer);
        DamageLayer(*layer);
        UpdateBrushClippingRect();
        UpdatePainterClip();
    }
    if (redraw)
        ForceUpdate();
}

void LayerStack::SetCurrentLayerOffset(int x, int y, bool redraw)
{
    SetLayerOffset(kCurrentLayerHandle, x, y, redraw);
}

// --- names and data ---

void LayerStack::SetLayerContainerName(const PntHandle& handle, const char* name)
{
    LayerContainer* container = GetLayerContainerFromHandle(handle);
    if (container == nullptr)
        return;
    container->SetLayerContainerName(name);
    GetStackPort().LayerRenamed(container->GetLayerContainerHandle());
}

void LayerStack::SetLayerContainerLocked(const PntHandle& handle, bool locked)
{
    if (LayerContainer* container = GetLayerContainerFromHandle(handle))
        container->SetLocked(locked);
}

qsString::CString LayerStack::GetAppData(const PntHandle& handle, const qsString::CString& key) const
{
    Layer* layer = GetLayerFromHandle(handle);
    return layer != nullptr ? layer->GetAppData(key) : qsString::CString();
}

void LayerStack::SetAppData(const PntHandle& handle, const qsString::CString& key, const qsString::CString& value)
{
    if (Layer* layer = GetLayerFromHandle(handle))
        layer->SetAppData(key, value);
}

void LayerStack::SetContainerProperties(const PntHandle& handle, const ContainerProperties& properties) noexcept
{
    const qs::Reference<LayerContainer> container = GetLayerContainerFromHandle(handle);
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
        if (properties.isActive != before.isActive && GetLayerFolderFromHandle(handle) != nullptr)
            SetLayerFolderActive(handle, properties.isActive, true);
        else if (properties.isActive != before.isActive)
            SetLayerActive(handle, properties.isActive);
        SetLayerContainerLocked(handle, properties.isLocked);
    });
    container->SetProperties(properties);
    if (!isShown)
        MarkAllStale();
}

// --- owners ---

bool LayerStack::AddOwnerToLayer(const PntHandle& owner, const PntHandle& layer, bool hardLink)
{
    const StackEdit edit(*this);
    Layer* follower = GetLayerFromHandle(layer);
    Layer* leader = GetLayerFromHandle(owner);
    const bool isFollower = follower != nullptr && (follower->isMask() || follower->isStencil());
    if (!isFollower || (hardLink && !follower->GetOwnerLayerArray().empty()) || follower == leader ||
        follower == selectionMask_ || !follower->AddOwnerLayer(leader, hardLink))
        return false;
    TellChanged(*follower);
    MarkTreeStale();
    return true;
}

bool LayerStack::RemoveOwnerFromLayer(const PntHandle& owner, const PntHandle& layer)
{
    const StackEdit edit(*this);
    Layer* follower = GetLayerFromHandle(layer);
    if (follower == nullptr)
        return false;
    TellChanged(*follower);  // while it still names the owner
    if (!follower->RemoveLayerFromOwnerLayer(GetLayerContainerFromHandle(owner)))
        return false;
    maskIsStale_ = true;
    MarkTreeStale();
    return true;
}
