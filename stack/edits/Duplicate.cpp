#include "stack/edits/Duplicate.h"

#include "layers/Layer.h"
#include "stack/StackPort.h"
#include "stack/StackRooms.h"
#include "stack/edits/StackEdit.h"

#include <string>
#include <string_view>

namespace {

constexpr size_t kLongestName = 127;

/// The text cut to at most `bytes`, never within a character of several bytes.
std::string_view CutText(std::string_view text, size_t bytes)
{
    if (text.size() <= bytes)
        return text;
    while (bytes > 0 && (static_cast<unsigned char>(text[bytes]) & 0xC0) == 0x80)
        --bytes;
    return text.substr(0, bytes);
}

}  // namespace

PntHandle Duplicate::DuplicateCurrent(bool above, bool redraw, int target, bool connect)
{
    const StackEdit edit(stack_);
    BeginEdit();
    if (tree_.GetCurrent() == nullptr || selection_.IsCurrent())
        return kNullHandle;
    return Make(*tree_.GetCurrent(), tree_.GetCurrentHandle(), above, redraw, target, connect);
}

PntHandle Duplicate::CopyAs(const PntHandle& handle, int target, bool connect)
{
    const StackEdit edit(stack_);
    BeginEdit();
    const Layer* layer = tree_.GetLayerFromHandle(handle);
    if (layer == nullptr || layer == selection_.Get() || layer->GetLayerType() == kLayerTypeObjectImage)
        return kNullHandle;
    if (layer != tree_.GetCurrent()) {
        stack_.SetCurrentLayer(handle, false, true, false);
        current_.GetPainter();
        current_.UpdateBrushClippingRect();
    }
    return DuplicateCurrent(true, true, target, connect);
}

PntHandle Duplicate::CopyToImage(const PntHandle& handle)
{
    const StackEdit edit(stack_);
    BeginEdit();
    const qs::Reference<Layer> layer = tree_.GetLayerFromHandle(handle);
    if (!layer)
        return kNullHandle;
    PntHandle where = layer->GetLayerContainerHandle();
    if (layer->IsCoverage()) {
        const qs::vector<PntHandle> owners = layer->GetOwnerLayerArray();
        where = owners.empty() ? kNullHandle : owners.front();
    }
    return Make(*layer, where, true, true, LayerStack::kDuplicateAsImage, false);
}

qs::TempReference<ilSmartImage> Duplicate::MakeMaskComposite(const PntHandle& layer) const
{
    qs::vector<LayerContainer*> masks;
    for (const PntHandle& handle : tree_.GetMaskLayers(layer))
        if (Layer* mask = tree_.GetLayerFromHandle(handle); mask->isVisible())
            masks.push_back(mask);
    return masks.empty() ? qs::TempReference<ilSmartImage>() : Layer::MakeMaskImage(masks, canvas_.GetSize());
}

PntHandle Duplicate::Make(Layer& source, const PntHandle& where, bool above, bool redraw, int target, bool connect)
{
    const bool isKnown = target >= LayerStack::kDuplicateSame && target <= LayerStack::kDuplicateAsStencil;
    if (!isKnown || source.GetLayerType() == kLayerTypeObjectImage)
        return kNullHandle;
    const bool isSame = target == LayerStack::kDuplicateSame;
    const qs::Reference<Layer> made =
        isSame ? source.Duplicate() : source.DuplicateAs(static_cast<LayerMode>(target - 1), canvas_.CanvasOn(source));
    const qs::vector<qs::Reference<Layer>> followers =
        isSame ? Followers(source, *made) : qs::vector<qs::Reference<Layer>>();
    if (connect && made->IsCoverage() && !source.IsCoverage())
        made->AddOwnerLayer(&source, false);
    else if (connect && made->IsCoverage())
        for (const PntHandle& owner : source.GetOwnerLayerArray())
            made->AddOwnerLayer(tree_.GetLayerFromHandle(owner), source.IsHardLinkToOwnerLayer());

    if (made->GetLayerType() == kLayerTypeRaster)
        made->NormalizeLayerOffset();
    const PaintColor color = source.GetMaskColor();
    const float displayOpacity = source.GetMaskDisplayOpacity();
    made->SetLayerContainerName(MakeCopyName(source.GetLayerContainerName()).c_str());
    const PntHandle added = stack_.AddLayer(made.get(), where, redraw, above);
    if (source.IsCoverage()) {  // a new mask looks like the default
        made->SetMaskColor(color);
        made->SetMaskDisplayOpacity(displayOpacity);
        canvas_.MarkMaskStale();
    }
    current_.GetPainter();  // with the selection, which limits it again when it was the current layer
    if (redraw)
        update_.ShowChange();
    for (const qs::Reference<Layer>& follower : followers)
        GetStackPort().ContainerAdded(GetStackPort().GetStackHandle(&stack_), follower->GetLayerContainerHandle());
    return added;
}

/// Duplicates of what is hard-linked to `source`, linked to `duplicate` and in the folders already, each above its own
/// source.
qs::vector<qs::Reference<Layer>> Duplicate::Followers(const Layer& source, Layer& duplicate)
{
    qs::vector<PntHandle> handles = tree_.GetMaskLayers(source.GetLayerContainerHandle());
    const qs::vector<PntHandle> stencils = tree_.GetStencilLayers(source.GetLayerContainerHandle());
    handles.insert(handles.end(), stencils.begin(), stencils.end());
    qs::vector<qs::Reference<Layer>> made;
    for (const PntHandle& handle : handles) {
        Layer* follower = tree_.GetLayerFromHandle(handle);
        if (!follower->IsHardLinkToOwnerLayer())
            continue;
        made.push_back(follower->Duplicate());
        made.back()->SetLayerContainerName(MakeCopyName(follower->GetLayerContainerName()).c_str());
        made.back()->AddOwnerLayer(&duplicate, true);
        stack_.AddLayerToStack(made.back().get(), handle, true);
    }
    return made;
}

qsString::CString Duplicate::MakeCopyName(const char* name) const
{
    for (int number = 1;; ++number) {
        const std::string suffix = '-' + std::to_string(number);
        std::string made = std::string(CutText(name, kLongestName - suffix.size())) + suffix;
        if (tree_.IsNameUnique(made.c_str()))
            return qsString::CString(std::move(made));
    }
}
