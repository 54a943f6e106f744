#include "core/commands/LayerCommands.h"

#include "core/DocumentCalls.h"
#include "core/HostCalls.h"
#include "core/commands/UndoableCommand.h"
#include "undo/PntUndoProperty.h"

#include <cmath>

namespace {

/// A structural command that redraws by itself.
bool ChangeStructure(const LayerCommands* group, int layerStack, const char* name,
                     FunctionRef<void(LayerStack&)> change)
{
    return UndoableCommand(SessionOf(group), layerStack, name).ChangeStructure([&](LayerStack& stack) {
        change(stack);
        return true;
    });
}

/// Sets a property of containers of the document that `target` names: a step of undo where these are recorded.
template <class Target>
void SetProperty(const LayerCommands* group, const Target& target, std::span<const PntHandle> containers,
                 ContainerProperty property, FunctionRef<void(LayerStack&)> set)
{
    PaintSession& session = SessionOf(group);
    const qs::Reference<LayerStack> stack = session.Find(target);
    if (!stack || !session.MayEdit())
        return;
    if (!session.options.recordsProperties || !UndoableCommand::IsRecording(session)) {
        TellStack(group, target, set);
        return;
    }
    Notices::Scope hold(session.notices);
    qs::Reference<PntUndoProperty> step;
    const bool isDone = Attempt([&] {
        step.reset(new PntUndoProperty(&session.manager, session.registry.IndexOf(stack.get()), *stack,
                                       {containers.begin(), containers.end()}, property));
        set(*stack);
        if (step->HasChanges())
            UndoableCommand::Keep(session, step, step->GetName());
    });
    if (isDone)
        return;
    if (step)
        step->UndoOper();
    stack->DistrustCaches();
    hold.Drop();
}

void SetProperty(const LayerCommands* group, const PntHandle& layer, ContainerProperty property,
                 FunctionRef<void(LayerStack&)> set)
{
    SetProperty(group, layer, std::span(&layer, 1), property, set);
}

bool IsHidden(const LayerStack& stack, const PntHandle& handle)
{
    const LayerFolder* folder = stack.GetLayerFolderFromHandle(handle);
    return folder != nullptr ? !folder->isActive() : !stack.isLayerVisible(handle);
}

}  // namespace

// --- structure ---

PntHandle LayerCommands::AddLayer(qs::TempReference<ilImage> image, LayerMode mode, LayerType type, bool above,
                                  const PntHandle& where, int x, int y, int layerStack,
                                  const qs::vector<PntHandle>& owners, bool hardLink, qs::TempReference<ilImage> second,
                                  bool inTransformGroup)
{
    PaintSession& session = SessionOf(this);
    const bool isMode = mode == kLayerModeImage || mode == kLayerModeMask || mode == kLayerModeStencil;
    const int channels = mode == kLayerModeImage ? 4 : 1;
    if (!isMode || type != kLayerTypeRaster || (image && image->GetNumChannels() != channels) ||
        session.Find(layerStack) == nullptr || !session.MayEdit())
        return kNullHandle;
    PntHandle added = kNullHandle;
    const BusyScope busy(session.callbacks);
    UndoableCommand(session, layerStack, "Add Layer").ChangeStructure([&](LayerStack& stack) {
        const PntHandle before = stack.GetCurrentLayerContainerHandle();
        added = stack.AddLayer(image, second, mode, type, above, 0, where, false, x, y, true);
        if (added == kNullHandle)
            return false;
        for (const PntHandle& owner : owners)
            stack.AddOwnerToLayer(owner, added, hardLink);
        if (inTransformGroup)
            stack.AddToTransformGroupOf(before, added);
        stack.RedrawEntireCanvas();
        return true;
    });
    return session.Find(added) != nullptr ? added : kNullHandle;
}

PntHandle LayerCommands::AddLayerFolder(LayerMode mode, const PntHandle& where, int layerStack)
{
    PaintSession& session = SessionOf(this);
    if (session.Find(layerStack) == nullptr || !session.MayEdit())
        return kNullHandle;
    PntHandle added = kNullHandle;
    const BusyScope busy(session.callbacks);
    UndoableCommand(session, layerStack, "Add Folder").ChangeStructure([&](LayerStack& stack) {
        added = stack.AddLayerFolder(mode, where);
        return added != kNullHandle;
    });
    return session.Find(added) != nullptr ? added : kNullHandle;
}

bool LayerCommands::DeleteLayer(const PntHandle& layer)
{
    const PntHandle deleted = AskStack(this, layer, kNullHandle, [&](LayerStack& stack) {
        const Layer* found = stack.GetLayerFromHandle(layer);
        return found != nullptr && found != stack.GetSelectionMask() ? found->GetLayerContainerHandle() : kNullHandle;
    });
    return deleted != kNullHandle &&
           ChangeStructure(this, SessionOf(this).registry.FindHolder(deleted), "Delete Layer",
                           [&](LayerStack& stack) { stack.DeleteCurrentLayer(deleted, true); });
}

bool LayerCommands::DeleteCurrentLayer(int layerStack)
{
    return DeleteLayer(GetCurrentLayerContainerHandle(layerStack));
}

bool LayerCommands::DeleteAllLayers(int layerStack)
{
    return ChangeStructure(this, layerStack, "Delete All Layers", [](LayerStack& stack) { stack.DeleteAllLayers(); });
}

bool LayerCommands::DeleteAllMasks(int layerStack)
{
    return !GetLayerContainerHandles(kLayerModeMask, true, layerStack).empty() &&
           ChangeStructure(this, layerStack, "Delete All Masks", [](LayerStack& stack) {
               stack.DeleteAllMasks(true);
               stack.RebuildAllAndRedrawEntireCanvas();
           });
}

bool LayerCommands::DeleteAllStencils(bool all, int layerStack)
{
    return !GetLayerContainerHandles(kLayerModeStencil, true, layerStack).empty() &&
           ChangeStructure(this, layerStack, "Delete All Stencils", [&](LayerStack& stack) {
               stack.DeleteAllStencils(true, all);
               stack.RebuildAllAndRedrawEntireCanvas();
           });
}

bool LayerCommands::DeleteInvisibleLayers(int layerStack)
{
    const bool hasHidden = AskStack(this, layerStack, false, [](LayerStack& stack) {
        for (const LayerMode mode : {kLayerModeImage, kLayerModeMask, kLayerModeStencil})
            for (const PntHandle& handle : stack.GetLayerContainerHandleArray(mode, false))
                if (IsHidden(stack, handle))
                    return true;
        return false;
    });
    return hasHidden && ChangeStructure(this, layerStack, "Delete Hidden Layers",
                                        [](LayerStack& stack) { stack.DeleteInvisibleLayers(true); });
}

bool LayerCommands::MoveLayer(const PntHandle& moved, const PntHandle& target, bool above)
{
    PaintSession& session = SessionOf(this);
    return UndoableCommand(session, moved, "Move Layer in Stack").ChangeStructure([&](LayerStack& stack) {
        if (!stack.MoveLayer(moved, target, above))
            return false;
        stack.RebuildAllAndRedrawEntireCanvas();
        PaintManager& manager = session.manager;
        session.notices.Tell([&manager, moved, target, above] { manager.LayerMovedSignal.Emit(moved, target, above); });
        return true;
    });
}

bool LayerCommands::AddOwnerToLayer(const PntHandle& owner, const PntHandle& layer, bool hardLink)
{
    return UndoableCommand(SessionOf(this), layer, "Connect Layers").ChangeStructure([&](LayerStack& stack) {
        return stack.AddOwnerToLayer(owner, layer, hardLink);
    });
}

bool LayerCommands::RemoveOwnerFromLayer(const PntHandle& owner, const PntHandle& layer)
{
    return UndoableCommand(SessionOf(this), layer, "Disconnect Layers").ChangeStructure([&](LayerStack& stack) {
        return stack.RemoveOwnerFromLayer(owner, layer);
    });
}

// --- the current layer ---

void LayerCommands::SetCurrentLayer(const PntHandle& layer)
{
    SessionOf(this).EndStrokeOn(layer);
    TellStack(this, layer, [&](LayerStack& stack) {
        stack.SetCurrentLayer(layer, true, true, false);
        SessionOf(this).UpdateProcessedLayerImage();
    });
}

PntHandle LayerCommands::GetCurrentLayerContainerHandle(int layerStack) const
{
    return AskStack(this, layerStack, kNullHandle,
                    [](LayerStack& stack) { return stack.GetCurrentLayerContainerHandle(); });
}

PntHandle LayerCommands::PickLayer(int x, int y, float tolerance, int layerStack)
{
    const PntHandle picked = AskStack(this, layerStack, kNullHandle, [&](LayerStack& stack) {
        return std::isfinite(tolerance) ? stack.FindLayer(x, y, false, true, tolerance) : kNullHandle;
    });
    if (picked != kNullHandle)
        SetCurrentLayer(picked);
    return picked;
}

qs::vector<PntHandle> LayerCommands::GetLayerContainerHandles(LayerMode mode, bool directOnly, int layerStack) const
{
    return AskStack(this, layerStack, qs::vector<PntHandle>(),
                    [&](LayerStack& stack) { return stack.GetLayerContainerHandleArray(mode, directOnly); });
}

qs::vector<PntHandle> LayerCommands::GetOwnersOfLayer(const PntHandle& layer) const
{
    return AskStack(this, layer, qs::vector<PntHandle>(),
                    [&](LayerStack& stack) { return stack.getOwnerArray(layer); });
}

// --- properties ---

void LayerCommands::SetLayerVisible(bool visible, const PntHandle& layer)
{
    SetProperty(this, layer, ContainerProperty::Visible,
                [&](LayerStack& stack) { stack.SetLayerVisible(layer, visible, true); });
}

void LayerCommands::SetAllLayerVisible(bool visible, int layerStack)
{
    const qs::vector<PntHandle> all = AskStack(this, layerStack, qs::vector<PntHandle>(), [](LayerStack& stack) {
        qs::vector<PntHandle> handles;
        for (const LayerMode mode : {kLayerModeImage, kLayerModeMask, kLayerModeStencil})
            for (const PntHandle& handle : stack.GetLayerContainerHandleArray(mode, false))
                handles.push_back(handle);
        return handles;
    });
    SetAllLayerVisible(all, visible, layerStack);
}

void LayerCommands::SetAllLayerVisible(const qs::vector<PntHandle>& layers, bool visible, int layerStack)
{
    SetProperty(this, layerStack, layers, ContainerProperty::Visible,
                [&](LayerStack& stack) { stack.SetAllLayerVisible(layers, visible, true); });
}

bool LayerCommands::isLayerVisible(const PntHandle& layer) const
{
    return AskStack(this, layer, false, [&](LayerStack& stack) { return stack.isLayerVisible(layer); });
}

void LayerCommands::SetLayerOpacity(float opacity, const PntHandle& layer)
{
    if (!std::isfinite(opacity))
        return;
    SetProperty(this, layer, ContainerProperty::Opacity, [&](LayerStack& stack) {
        const Layer* changed = stack.GetLayerFromHandle(layer);
        if (changed == nullptr)
            return;
        stack.SetLayerOpacity(layer, opacity);
        PaintManager& manager = SessionOf(this).manager;
        SessionOf(this).notices.Tell([&manager, handle = changed->GetLayerContainerHandle(),
                                      stored = changed->GetOpacity()] { manager.OpacitySignal.Emit(handle, stored); });
    });
}

float LayerCommands::GetLayerOpacity(const PntHandle& layer) const
{
    return AskStack(this, layer, 0.0F, [&](LayerStack& stack) { return stack.GetLayerOpacity(layer); });
}

void LayerCommands::SetLayerBlend(LayerBlendMode mode, const PntHandle& layer)
{
    SetProperty(this, layer, ContainerProperty::Blend, [&](LayerStack& stack) { stack.SetLayerBlend(layer, mode); });
}

LayerBlendMode LayerCommands::GetLayerBlend(const PntHandle& layer) const
{
    return AskStack(this, layer, kBlendNormal, [&](LayerStack& stack) { return stack.GetLayerBlend(layer); });
}

LayerMode LayerCommands::GetLayerMode(const PntHandle& layer) const
{
    return AskStack(this, layer, kLayerModeImage, [&](LayerStack& stack) { return stack.GetLayerMode(layer); });
}

void LayerCommands::SetLayerContainerName(const char* name, const PntHandle& layer)
{
    SetProperty(this, layer, ContainerProperty::Name,
                [&](LayerStack& stack) { stack.SetLayerContainerName(layer, name); });
}

qsString::CString LayerCommands::GetLayerContainerName(const PntHandle& layer) const
{
    return AskStack(this, layer, qsString::CString(), [&](LayerStack& stack) {
        const LayerContainer* found = stack.GetLayerContainerFromHandle(layer);
        return found != nullptr ? qsString::CString(found->GetLayerContainerName()) : qsString::CString();
    });
}

void LayerCommands::SetLayerActive(bool active, const PntHandle& layer)
{
    SetProperty(this, layer, ContainerProperty::Active,
                [&](LayerStack& stack) { stack.SetLayerActive(layer, active); });
}

bool LayerCommands::isLayerActive(const PntHandle& layer) const
{
    return AskStack(this, layer, false, [&](LayerStack& stack) {
        const Layer* found = stack.GetLayerFromHandle(layer);
        return found != nullptr && found->isActive();
    });
}

void LayerCommands::SetLayerFolderActive(bool active, const PntHandle& folder)
{
    SetProperty(this, folder, ContainerProperty::Active,
                [&](LayerStack& stack) { stack.SetLayerFolderActive(folder, active, true); });
}

bool LayerCommands::isLayerFolderActive(const PntHandle& folder) const
{
    return AskStack(this, folder, false, [&](LayerStack& stack) {
        const LayerFolder* found = stack.GetLayerFolderFromHandle(folder);
        return found != nullptr && found->isActive();
    });
}

void LayerCommands::SetLayerContainerLocked(bool locked, const PntHandle& layer)
{
    SetProperty(this, layer, ContainerProperty::Locked,
                [&](LayerStack& stack) { stack.SetLayerContainerLocked(layer, locked); });
}

bool LayerCommands::isLayerContainerLocked(const PntHandle& layer) const
{
    return AskStack(this, layer, false, [&](LayerStack& stack) {
        const LayerContainer* found = stack.GetLayerContainerFromHandle(layer);
        return found != nullptr && found->IsLocked();
    });
}

void LayerCommands::SetMaskLayerDisplayColor(const PaintColor& color, const PntHandle& layer)
{
    if (color.IsFinite())
        SetProperty(this, layer, ContainerProperty::DisplayColor,
                    [&](LayerStack& stack) { stack.SetMaskLayerDisplayColor(color, layer); });
}

PaintColor LayerCommands::GetMaskLayerDisplayColor(const PntHandle& layer) const
{
    return AskStack(this, layer, PaintColor(),
                    [&](LayerStack& stack) { return stack.GetMaskLayerDisplayColor(layer); });
}

void LayerCommands::SetMaskLayerDisplayOpacity(float opacity, const PntHandle& layer)
{
    if (std::isfinite(opacity))
        SetProperty(this, layer, ContainerProperty::DisplayOpacity,
                    [&](LayerStack& stack) { stack.SetMaskLayerDisplayOpacity(opacity, layer); });
}

float LayerCommands::GetMaskLayerDisplayOpacity(const PntHandle& layer) const
{
    return AskStack(this, layer, 0.5F, [&](LayerStack& stack) { return stack.GetMaskLayerDisplayOpacity(layer); });
}

void LayerCommands::SetAppData(const qsString::CString& key, const qsString::CString& value, const PntHandle& layer)
{
    TellStack(this, layer, [&](LayerStack& stack) { stack.SetAppData(layer, key, value); });
}

qsString::CString LayerCommands::GetAppData(const qsString::CString& key, const PntHandle& layer) const
{
    return AskStack(this, layer, qsString::CString(), [&](LayerStack& stack) { return stack.GetAppData(layer, key); });
}
