#include "stack/edits/LayerProperties.h"

#include "platform/base/Attempt.h"
#include "stack/StackPort.h"
#include "stack/StackRooms.h"
#include "stack/edits/StackEdit.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float kDefaultDisplayOpacity = 0.5F;

}  // namespace

LayerMode LayerProperties::GetMode(const PntHandle& handle) const
{
    const Layer* layer = tree_.GetLayerFromHandle(handle);
    return layer != nullptr ? layer->GetLayerMode() : kLayerModeImage;
}

LayerBlendMode LayerProperties::GetBlend(const PntHandle& handle) const
{
    const Layer* layer = tree_.GetLayerFromHandle(handle);
    return layer != nullptr ? layer->GetLayerBlend() : kBlendNormal;
}

void LayerProperties::SetBlend(const PntHandle& handle, LayerBlendMode mode)
{
    const StackEdit edit(stack_);
    Layer* layer = tree_.GetLayerFromHandle(handle);
    if (layer == nullptr || mode < 0 || mode >= kLayerBlendModeCount || mode == layer->GetLayerBlend())
        return;
    layer->SetLayerBlend(mode);
    canvas_.TellChanged(*layer);
    canvas_.DamageCanvas();  // the layers around it are grouped anew
    update_.ShowChange();
}

float LayerProperties::GetOpacity(const PntHandle& handle) const
{
    const Layer* layer = tree_.GetLayerFromHandle(handle);
    return layer != nullptr ? layer->GetOpacity() : 1.0F;
}

void LayerProperties::SetOpacity(const PntHandle& handle, float opacity)
{
    const StackEdit edit(stack_);
    Layer* layer = tree_.GetLayerFromHandle(handle);
    if (layer == nullptr || std::isnan(opacity))
        return;
    opacity = std::clamp(opacity, 0.0F, 1.0F);
    if (opacity == layer->GetOpacity())
        return;
    layer->SetOpacity(opacity);
    canvas_.TellChanged(*layer);
    canvas_.DamageLayer(*layer);
    update_.ShowChange();
}

bool LayerProperties::IsVisible(const PntHandle& handle) const
{
    const Layer* layer = tree_.GetLayerFromHandle(handle);
    return layer != nullptr && layer->isVisible();
}

PaintColor LayerProperties::GetDisplayColor(const PntHandle& handle) const
{
    const Layer* layer = tree_.GetLayerFromHandle(handle);
    return layer != nullptr ? layer->GetMaskColor() : PaintColor();
}

float LayerProperties::GetDisplayOpacity(const PntHandle& handle) const
{
    const Layer* layer = tree_.GetLayerFromHandle(handle);
    return layer != nullptr ? layer->GetMaskDisplayOpacity() : kDefaultDisplayOpacity;
}

qsString::CString LayerProperties::GetAppData(const PntHandle& handle, const qsString::CString& key) const
{
    Layer* layer = tree_.GetLayerFromHandle(handle);
    return layer != nullptr ? layer->GetAppData(key) : qsString::CString();
}

void LayerProperties::SetAppData(const PntHandle& handle, const qsString::CString& key, const qsString::CString& value)
{
    if (Layer* layer = tree_.GetLayerFromHandle(handle))
        layer->SetAppData(key, value);
}

void LayerProperties::SetLocked(const PntHandle& handle, bool locked)
{
    if (LayerContainer* container = tree_.GetLayerContainerFromHandle(handle))
        container->SetLocked(locked);
}

void LayerProperties::SetOffset(const PntHandle& handle, int x, int y, bool redraw)
{
    const StackEdit edit(stack_);
    Layer* layer = tree_.GetLayerFromHandle(handle);
    if (layer == nullptr)
        return;
    if (x != layer->getXOffset() || y != layer->getYOffset()) {
        current_.DrainDamage();
        canvas_.DamageLayer(*layer);
        layer->SetOffset(x, y, LayerStackTransform(), true);
        canvas_.TellChanged(*layer);
        canvas_.DamageLayer(*layer);
        current_.UpdateBrushClippingRect();
        current_.UpdateClip();
    }
    if (redraw)
        update_.ForceUpdate();
}

void LayerProperties::SetDisplayColor(const PaintColor& color, const PntHandle& handle)
{
    Layer* layer = tree_.GetLayerFromHandle(handle);
    if (layer == nullptr)
        return;
    PaintColor clamped = color;
    clamped.Clamp();
    layer->SetMaskColor(clamped);
    canvas_.MarkMaskStale();
    canvas_.DamageLayer(*layer);
}

void LayerProperties::SetDisplayOpacity(float opacity, const PntHandle& handle)
{
    Layer* layer = tree_.GetLayerFromHandle(handle);
    if (layer == nullptr || std::isnan(opacity))
        return;
    layer->SetMaskDisplayOpacity(std::clamp(opacity, 0.0F, 1.0F));
    canvas_.MarkMaskStale();
    canvas_.DamageLayer(*layer);
}

void LayerProperties::SetName(const PntHandle& handle, const char* name)
{
    LayerContainer* container = tree_.GetLayerContainerFromHandle(handle);
    if (container == nullptr)
        return;
    container->SetLayerContainerName(name);
    GetStackPort().LayerRenamed(container->GetLayerContainerHandle());
}

bool LayerProperties::AddOwner(const PntHandle& owner, const PntHandle& layer, bool hardLink)
{
    const StackEdit edit(stack_);
    Layer* follower = tree_.GetLayerFromHandle(layer);
    Layer* leader = tree_.GetLayerFromHandle(owner);
    const bool isFollower = follower != nullptr && follower->IsCoverage();
    if (!isFollower || (hardLink && !follower->GetOwnerLayerArray().empty()) || follower == leader ||
        follower == selection_.Get() || !follower->AddOwnerLayer(leader, hardLink))
        return false;
    canvas_.TellChanged(*follower);
    canvas_.MarkTreeStale();
    return true;
}

bool LayerProperties::RemoveOwner(const PntHandle& owner, const PntHandle& layer)
{
    const StackEdit edit(stack_);
    Layer* follower = tree_.GetLayerFromHandle(layer);
    if (follower == nullptr)
        return false;
    canvas_.TellChanged(*follower);  // while it still names the owner
    if (!follower->RemoveLayerFromOwnerLayer(tree_.GetLayerContainerFromHandle(owner)))
        return false;
    canvas_.MarkMaskStale();
    canvas_.MarkTreeStale();
    return true;
}

void LayerProperties::SetAll(const PntHandle& handle, const ContainerProperties& properties) noexcept
{
    const qs::Reference<LayerContainer> container = tree_.GetLayerContainerFromHandle(handle);
    if (!container)
        return;
    const bool isShown = Attempt([&] {
        const ContainerProperties before = container->GetProperties();
        if (properties.name != before.name)
            SetName(handle, properties.name.data());
        if (properties.blend != before.blend)
            SetBlend(handle, properties.blend);
        if (properties.opacity != before.opacity) {
            SetOpacity(handle, properties.opacity);
            GetStackPort().OpacityRestored(container->GetLayerContainerHandle(), properties.opacity);
        }
        if (properties.displayOpacity != before.displayOpacity)
            SetDisplayOpacity(properties.displayOpacity, handle);
        if (properties.displayColor != before.displayColor)
            SetDisplayColor(properties.displayColor, handle);
        if (properties.isVisible != before.isVisible)
            stack_.SetLayerVisible(handle, properties.isVisible, true);
        if (properties.isActive != before.isActive && tree_.GetLayerFolderFromHandle(handle) != nullptr)
            stack_.SetLayerFolderActive(handle, properties.isActive, true);
        else if (properties.isActive != before.isActive)
            stack_.SetLayerActive(handle, properties.isActive);
        SetLocked(handle, properties.isLocked);
    });
    container->SetProperties(properties);
    if (!isShown)
        stack_.MarkAllStale();
}
