#include "core/tools/FillTools.h"

#include "core/HostCalls.h"
#include "core/PaintSession.h"
#include "core/commands/UndoableCommand.h"
#include "platform/base/Attempt.h"
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

const char* NameOf(FillTools::Tool tool)
{
    switch (tool) {
    case FillTools::Tool::Flood: return "Flood Fill";
    case FillTools::Tool::SmoothFlood: return "Smooth Fill";
    case FillTools::Tool::Wand: return "Magic Wand";
    }
    return "";
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
    if (UndoableCommand::IsRecording(session_)) {
        step.reset(new PntUndoStroke(&session_.manager, session_.registry.FindHolder(target), {target}, &stack, {layer},
                                     "MioStroke"));
        PaintUndoDatabase()->ReserveStep();
    }
    ProxyParameters parameters;
    parameters.affected = {target};
    if (!stack.BeginProxy(parameters, {target}))
        return false;
    bool isFilled = false;
    try {
        isFilled = Apply(stack, request);
        if (isFilled) {
            KeepAtTheEnd(parameters, step, request.tool);
            ConnectHost(parameters, target, request.tool);
        }
    } catch (...) {
        stack.EndProxy();
        throw;
    }
    if (!isFilled)
        stack.EndProxy();  // nobody has heard of it yet
    return isFilled;
}

/// One step for all attempts, when the last one stays: a fill that is cancelled leaves none.
void FillTools::KeepAtTheEnd(const ProxyParameters& parameters, const qs::Reference<PntUndoStroke>& step, Tool tool)
{
    if (!step)
        return;
    parameters.kept->Connect([&session = session_, step, name = NameOf(tool)] {
        if (Guarded(true, [&] { return step->HasChanges(); }))
            UndoableCommand::Keep(session, step, name);
    });
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
    } else {
        UndoableCommand(session_, target, NameOf(request.tool)).ChangePixels(target, [&](LayerStack& found) {
            return Apply(found, request);
        });
    }
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
