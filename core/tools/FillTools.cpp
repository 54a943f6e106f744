#include "core/tools/FillTools.h"

#include "core/HostCalls.h"
#include "core/PaintSession.h"
#include "core/commands/UndoableCommand.h"
#include "undo/UndoStore.h"

#include <algorithm>
#include <utility>

namespace {

const char* TextWithoutDocument(FillTools::Tool tool)
{
    return tool == FillTools::Tool::Wand
               ? "There is no image layer in the window. This happens when magic wand is done "
                 "before an image layer has been created."
               : "No image layer present. Please create a new Image Layer before using "
                 "Floodfill.";
}

/// Whether a fill could take place: what is refused anyway must not take an attempt back.
bool IsPossible(const LayerStack& stack, const FillTools::Request& request)
{
    return request.tolerance >= 0 && request.color.IsFinite() &&
           (request.tool == FillTools::Tool::Wand || stack.GetSize().Contains(request.x, request.y));
}

bool IsInProxy(const LayerStack& stack, const PntHandle& target)
{
    const qs::vector<PntHandle>& held = stack.GetProxyLayers();
    return stack.InProxy() && std::find(held.begin(), held.end(), target) != held.end();
}

}  // namespace

/// The document that holds the layer, with no stroke under way, and the handle of what is edited in it: the layer, or
/// the selection mask. No document: the null one. Nothing to edit: the null handle.
qs::Reference<LayerStack> FillTools::Enter(const PntHandle& layer, PntHandle& target, Tool tool)
{
    target = kNullHandle;
    if (const qs::Reference<LayerStack> stack = session_.Find(layer))
        session_.stroker.EndOn(stack.get());
    // Once more: the end of a stroke calls the host.
    qs::Reference<LayerStack> stack = session_.Find(layer);
    const Layer* found = stack ? stack->GetLayerFromHandle(layer) : nullptr;
    if (found != nullptr)
        target = tool == Tool::Wand ? stack->GetSelectionMaskHandle() : found->GetLayerContainerHandle();
    return stack;
}

void FillTools::Try(const Request& request)
{
    PntHandle target;
    const qs::Reference<LayerStack> stack = Enter(request.layer, target, request.tool);
    if (!stack) {
        CallHost(session_.callbacks.ShowMessageCB, TextWithoutDocument(request.tool));
        return;
    }
    if (target == kNullHandle || !IsPossible(*stack, request))
        return;
    bool isFilled = false;
    if (IsInProxy(*stack, target)) {
        stack->RevertProxy();
        isFilled = Apply(*stack, request);
        if (!isFilled)
            stack->ForceUpdate();  // the attempt before is gone all the same
    } else {
        isFilled = TryFirst(*stack, target, request);
    }
    isSmoothFilling_ = isSmoothFilling_ || (isFilled && request.tool == Tool::SmoothFlood);
}

bool FillTools::TryFirst(LayerStack& stack, const PntHandle& target, const Request& request)
{
    stack.EndProxy();  // of another tool
    Layer* layer = stack.GetLayerFromHandle(target);
    if (layer == nullptr)
        return false;
    qs::Reference<PntUndoStroke> step;
    if (UndoableCommand::IsRecording(session_) && !HoldsStepOf(target))
        step = new PntUndoStroke(&session_.manager, session_.registry.FindHolder(target), {target}, &stack, {layer},
                                 "MioStroke");
    ProxyParameters parameters;
    parameters.affected = {target};
    if (!stack.BeginProxy(parameters, {target}))
        return false;
    bool isFilled = false;
    try {
        isFilled = Apply(stack, request);
        if (isFilled) {
            ConnectHost(parameters, target, request.tool);
            UndoableCommand::Keep(session_, step);
        }
    } catch (...) {
        stack.EndProxy();
        throw;
    }
    if (!isFilled)
        stack.EndProxy();  // nobody has heard of it yet
    else if (step)
        step_ = step;
    return isFilled;
}

void FillTools::ConnectHost(const ProxyParameters& parameters, const PntHandle& target, Tool tool)
{
    *open_ = target;
    parameters.ended->Connect([open = open_](const qs::vector<PntHandle>&) { *open = kNullHandle; });
    const PaintCoreCallbacks& host = session_.callbacks;
    if (const auto ending = tool == Tool::Wand ? host.WandEndingCB : host.FillEndingCB)
        parameters.keepsEdits->Connect(ending);
    if (const auto ended = tool == Tool::Wand ? host.WandEndedCB : host.FillEndedCB)
        parameters.ended->Connect(ended);
}

void FillTools::Finish(const Request& request)
{
    PntHandle target;
    const qs::Reference<LayerStack> stack = Enter(request.layer, target, request.tool);
    if (request.tool == Tool::SmoothFlood)
        isSmoothFilling_ = false;
    if (!stack || target == kNullHandle || !IsPossible(*stack, request))
        return;
    if (IsInProxy(*stack, target)) {
        if (*open_ == target)
            stack->RevertProxy();
        Apply(*stack, request);
    } else if (HoldsStepOf(target)) {
        stack->EndProxy();
        if (Apply(*stack, request))
            session_.UpdateProcessedLayerImage();
    } else {
        UndoableCommand(session_, target).ChangePixels(target, [&](LayerStack& found) {
            return Apply(found, request);
        });
    }
}

/// Whether the newest step of undo is one of a fill of this layer that was tried and taken back: what the layer holds
/// now is what that step brings back, so a fill that follows is undone by it.
bool FillTools::HoldsStepOf(const PntHandle& target) const
{
    PntUndoDatabase* database = PaintUndoDatabase();
    return step_ && database != nullptr && !database->GetUndoDB()->empty() && database->GetUndoDB()->back() == step_ &&
           step_->GetLayerContainerHandle(0) == target && !step_->IsUndone() && !step_->HasChanges();
}

bool FillTools::Apply(LayerStack& stack, const Request& request)
{
    const auto& [tool, x, y, tolerance, color, layer, fromAll] = request;
    if (tool == Tool::Wand)
        return stack.SmoothMagicWandDone(x, y, tolerance, color, fromAll, layer);
    if (tool == Tool::Flood)
        return stack.FloodFillDone(x, y, tolerance, color, layer);
    const Layer* filled = stack.GetLayerFromHandle(layer);
    const qs::TempReference<ilMIOImage> image = filled != nullptr ? filled->GetImage() : nullptr;
    if (!image)
        return false;
    const qs::TempReference<ilSmartImage> preview(new ilSmartImage(color.PixelOf(image->GetNumChannels())));
    if (!stack.SmoothFloodFillDone(x, y, tolerance, color, preview, filled_, layer))
        return false;
    preview_ = preview;
    return true;
}

bool FillTools::IsPointBeingFilled(int x, int y, const PaintColor& color) const
{
    if (!isSmoothFilling_ || !preview_ || x < filled_.x || y < filled_.y || x > filled_.Right() || y > filled_.Bottom())
        return false;
    return color.IsFinite() && preview_->GetPixel(x, y) == color.PixelOf(preview_->GetNumChannels());
}
