#include "stack/LayerStack.h"
#include "stack/StackParts.h"
#include "stack/StackPort.h"
#include "stack/edits/StackEdit.h"

#include <algorithm>
#include <cstring>
#include <string>

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

bool IsCoverage(const Layer& layer)
{
    return layer.isMask() || layer.isStencil();
}

}  // namespace

qsString::CString LayerStack::MakeCopyName(const char* name) const
{
    for (int number = 1;; ++number) {
        const std::string suffix = '-' + std::to_string(number);
        std::string made = std::string(CutText(name, kLongestName - suffix.size())) + suffix;
        if (parts_->tree.IsNameUnique(made.c_str()))
            return qsString::CString(std::move(made));
    }
}

PntHandle LayerStack::DuplicateCurrentLayer(bool above, bool redraw, int target, bool connect)
{
    const StackEdit edit(*this);
    BeginEdit();
    if (parts_->tree.GetCurrent() == nullptr || parts_->selection.IsCurrent())
        return kNullHandle;
    return DuplicateLayer(*parts_->tree.GetCurrent(), parts_->tree.GetCurrentHandle(), above, redraw, target, connect);
}

PntHandle LayerStack::DuplicateLayer(Layer& source, const PntHandle& where, bool above, bool redraw, int target,
                                     bool connect)
{
    const bool isKnown = target >= kDuplicateSame && target <= kDuplicateAsStencil;
    if (!isKnown || source.GetLayerType() == kLayerTypeObjectImage)
        return kNullHandle;
    const bool isSame = target == kDuplicateSame;
    const qs::Reference<Layer> made =
        isSame ? source.Duplicate()
               : source.DuplicateAs(static_cast<LayerMode>(target - 1), parts_->canvas.CanvasOn(source));
    const qs::vector<qs::Reference<Layer>> followers =
        isSame ? DuplicateFollowers(source, *made) : qs::vector<qs::Reference<Layer>>();
    if (connect && IsCoverage(*made) && !IsCoverage(source))
        made->AddOwnerLayer(&source, false);
    else if (connect && IsCoverage(*made))
        for (const PntHandle& owner : source.GetOwnerLayerArray())
            made->AddOwnerLayer(parts_->tree.GetLayerFromHandle(owner), source.IsHardLinkToOwnerLayer());

    if (made->GetLayerType() == kLayerTypeRaster)
        made->NormalizeLayerOffset();
    const PaintColor color = source.GetMaskColor();
    const float displayOpacity = source.GetMaskDisplayOpacity();
    made->SetLayerContainerName(MakeCopyName(source.GetLayerContainerName()).c_str());
    const PntHandle added = AddLayer(made.get(), where, redraw, above);
    if (IsCoverage(source)) {  // a new mask looks like the default
        made->SetMaskColor(color);
        made->SetMaskDisplayOpacity(displayOpacity);
        parts_->canvas.MarkMaskStale();
    }
    parts_->current.GetPainter();  // with the selection, which limits it again when it was the current layer
    if (redraw)
        parts_->update.ShowChange();
    for (const qs::Reference<Layer>& follower : followers)
        GetStackPort().ContainerAdded(GetStackPort().GetStackHandle(this), follower->GetLayerContainerHandle());
    return added;
}

/// Duplicates of what is hard-linked to `source`, linked to `duplicate` and in the folders already, each above its own
/// source.
qs::vector<qs::Reference<Layer>> LayerStack::DuplicateFollowers(const Layer& source, Layer& duplicate)
{
    qs::vector<PntHandle> handles = parts_->tree.GetMaskLayers(source.GetLayerContainerHandle());
    const qs::vector<PntHandle> stencils = parts_->tree.GetStencilLayers(source.GetLayerContainerHandle());
    handles.insert(handles.end(), stencils.begin(), stencils.end());
    qs::vector<qs::Reference<Layer>> made;
    for (const PntHandle& handle : handles) {
        Layer* follower = parts_->tree.GetLayerFromHandle(handle);
        if (!follower->IsHardLinkToOwnerLayer())
            continue;
        made.push_back(follower->Duplicate());
        made.back()->SetLayerContainerName(MakeCopyName(follower->GetLayerContainerName()).c_str());
        made.back()->AddOwnerLayer(&duplicate, true);
        AddLayerToStack(made.back().get(), handle, true);
    }
    return made;
}

PntHandle LayerStack::CopyLayerAs(const PntHandle& handle, int target, bool connect)
{
    const StackEdit edit(*this);
    BeginEdit();
    const Layer* layer = parts_->tree.GetLayerFromHandle(handle);
    if (layer == nullptr || layer == parts_->selection.Get() || layer->GetLayerType() == kLayerTypeObjectImage)
        return kNullHandle;
    if (layer != parts_->tree.GetCurrent()) {
        SetCurrentLayer(handle, false, true, false);
        parts_->current.GetPainter();
        parts_->current.UpdateBrushClippingRect();
    }
    return DuplicateCurrentLayer(true, true, target, connect);
}

PntHandle LayerStack::CopyLayerToMask(const PntHandle& handle, bool connect)
{
    return CopyLayerAs(handle, kDuplicateAsMask, connect);
}

PntHandle LayerStack::CopyLayerToStencil(const PntHandle& handle, bool connect)
{
    return CopyLayerAs(handle, kDuplicateAsStencil, connect);
}

PntHandle LayerStack::CopyLayerToImage(const PntHandle& handle)
{
    const StackEdit edit(*this);
    BeginEdit();
    const qs::Reference<Layer> layer = parts_->tree.GetLayerFromHandle(handle);
    if (!layer)
        return kNullHandle;
    PntHandle where = layer->GetLayerContainerHandle();
    if (IsCoverage(*layer)) {
        const qs::vector<PntHandle> owners = layer->GetOwnerLayerArray();
        where = owners.empty() ? kNullHandle : owners.front();
    }
    return DuplicateLayer(*layer, where, true, true, kDuplicateAsImage, false);
}

qs::TempReference<ilSmartImage> LayerStack::MakeMaskComposite(const PntHandle& layer) const
{
    qs::vector<LayerContainer*> masks;
    for (const PntHandle& handle : parts_->tree.GetMaskLayers(layer))
        if (Layer* mask = parts_->tree.GetLayerFromHandle(handle); mask->isVisible())
            masks.push_back(mask);
    return masks.empty() ? qs::TempReference<ilSmartImage>() : Layer::MakeMaskImage(masks, parts_->canvas.GetSize());
}
