#include "composite/CompositeBase.h"
#include "layers/CoverageUnion.h"
#include "platform/imaging/ImageConvert.h"
#include "stack/LayerStack.h"
#include "stack/StackEdit.h"
#include "stack/StackPort.h"

#include <algorithm>
#include <memory>
#include <utility>

// A merge first makes its picture, which is all that can run out of memory, and then changes the document.

namespace {

/// Sets a value for the time of a scope.
class ValueScope {
public:
    ValueScope(int& value, int meanwhile) : value_(value), before_(std::exchange(value, meanwhile)) {}
    ValueScope(const ValueScope&) = delete;
    ValueScope& operator=(const ValueScope&) = delete;
    ~ValueScope() { value_ = before_; }

private:
    int& value_;
    int before_;
};

bool IsRaster(const Layer& layer)
{
    return layer.GetLayerType() == kLayerTypeRaster;
}

bool IsCoverage(const Layer& layer)
{
    return layer.isMask() || layer.isStencil();
}

bool HaveSameOwners(const Layer& a, const Layer& b)
{
    const qs::vector<PntHandle> ofA = a.GetOwnerLayerArray();
    const qs::vector<PntHandle> ofB = b.GetOwnerLayerArray();
    return std::is_permutation(ofA.begin(), ofA.end(), ofB.begin(), ofB.end());
}

/// The union of the coverages, in canvas coordinates.
qs::Reference<ilSmartImage> UnionOf(const qs::vector<Layer*>& masks)
{
    const qs::Reference<ilSmartImage> made(new ilSmartImage(ilPixel::Coverage(0)));
    for (const Layer* mask : masks)
        UniteEverywhere(*made, *mask->GetImage(), mask->getXOffset(), mask->getYOffset());
    made->ShrinkBounds();
    return made;
}

}  // namespace

// --- who merges with whom ---

void LayerStack::GetLCHForMergeBelow(const PntHandle& handle, PntHandle& below) const
{
    below = kNullHandle;
    const Layer* layer = GetLayerFromHandle(handle);
    const LayerFolder* holding = HoldingFolder(layer, nullptr);
    if (holding == nullptr)
        return;
    const qs::vector<LayerContainer*>& siblings = holding->GetLCArray();
    const auto at = std::find(siblings.begin(), siblings.end(), layer);
    if (at != siblings.begin())
        below = at[-1]->GetLayerContainerHandle();
}

Layer* LayerStack::FindMergeLayer(const PntHandle& handle) const
{
    Layer* layer = GetLayerFromHandle(handle);
    if (layer != nullptr && layer->isStencil() && layer->IsHardLinkToOwnerLayer())
        layer = GetLayerFromHandle(layer->GetOwnerLayerArray().front());
    return layer;
}

bool LayerStack::CanMerge(const Layer* upper, const Layer* lower) const
{
    const bool areLayers =
        upper != nullptr && lower != nullptr && upper != lower && upper != selectionMask_ && lower != selectionMask_;
    if (!areLayers || upper->GetLayerMode() != lower->GetLayerMode())
        return false;
    // One coverage can stand for two only where both act on the same layers.
    return !IsCoverage(*upper) || (upper->GetImage() && lower->GetImage() && HaveSameOwners(*upper, *lower) &&
                                   (upper->isMask() || upper->isActive() == lower->isActive()));
}

PntHandle LayerStack::GetMergeReceiver(const PntHandle& upper, const PntHandle& lower) const
{
    const Layer* above = FindMergeLayer(upper);
    const Layer* below = FindMergeLayer(lower);
    const bool merges = CanMerge(above, below) && IsRaster(*above) && IsRaster(*below);
    return merges ? below->GetLayerContainerHandle() : kNullHandle;
}

PntHandle LayerStack::GetFolderMergeReceiver(const LayerFolder* folder) const
{
    LayerFolder* top = nullptr;
    const Layer* bottom = HoldingFolder(folder, &top) != nullptr ? folder->GetBottomLayer() : nullptr;
    const bool merges = bottom != nullptr && top != stencilFolder_ && IsRaster(*bottom);
    return merges ? bottom->GetLayerContainerHandle() : kNullHandle;
}

PntHandle LayerStack::GetMergeAllReceiver(bool visibleOnly) const
{
    const qs::vector<Layer*> shown = FlattenedImageLayers(true);
    if (shown.size() < (visibleOnly ? 2 : 1))
        return kNullHandle;  // nothing to merge; and what is hidden is not thrown away for an empty picture
    const Layer* lowest = visibleOnly ? shown.front() : FlattenedImageLayers(false).front();
    return IsRaster(*lowest) ? lowest->GetLayerContainerHandle() : kNullHandle;
}

qs::vector<Layer*> LayerStack::FlattenedImageLayers(bool shownOnly) const
{
    qs::vector<Layer*> layers;
    const auto append = [&](LayerContainer* container) {
        Layer* layer = dynamic_cast<Layer*>(container);
        if (layer != nullptr && (!shownOnly || layer->isVisible()))
            layers.push_back(layer);
    };
    for (LayerContainer* child : imageFolder_->GetLCArray()) {
        append(child);
        if (const auto* folder = dynamic_cast<LayerFolder*>(child); folder != nullptr)
            if (!shownOnly || folder->isActive())
                std::for_each(folder->GetLCArray().begin(), folder->GetLCArray().end(), append);
    }
    return layers;
}

// --- the merges ---

void LayerStack::MergeLayers(const PntHandle& upper, const PntHandle& lower, bool makeCurrent)
{
    const StackEdit edit(*this);
    BeginEdit();
    const qs::Reference<Layer> above = FindMergeLayer(upper);
    const qs::Reference<Layer> below = FindMergeLayer(lower);
    if (!CanMerge(above.get(), below.get()))
        return;
    const bool mergesPixels = IsRaster(*above) && IsRaster(*below);
    const bool wasVisible = below->isVisible();
    qs::Reference<ilSmartImage> picture;
    below->SetVisible(true);  // to be in the picture
    try {
        if (mergesPixels && IsCoverage(*above))
            picture = UnionOf(above->isStencil() || above->isVisible() ? qs::vector<Layer*>{below.get(), above.get()}
                                                                       : qs::vector<Layer*>{below.get()});
        else if (mergesPixels && HasPixelsOnCanvas(*above))
            picture = ComposeApart({below->GetLayerContainerHandle(), above->GetLayerContainerHandle()});
    } catch (...) {
        below->SetVisible(wasVisible);
        throw;
    }
    below->SetVisible(wasVisible);
    ShowLayer(*below, true);
    if (picture) {
        ReceiveMerge(*below, picture, {below.get(), above.get()});
    } else if (mergesPixels) {
        if (const qs::TempReference<ilMIOImage> image = below->GetImage())
            below->SetImage(CroppedImage(*image, CanvasOn(*below)));
        RemoveMerged(*below, {above.get()});
    }
    if (makeCurrent && HoldingFolder(below.get(), nullptr) != nullptr)
        BecomeCurrent(below.get());
    EndStructuralEdit(true);
}

void LayerStack::MergeLayerFolder(LayerFolder* folder)
{
    const StackEdit edit(*this);
    BeginEdit();
    const qs::Reference<Layer> receiver = GetLayerFromHandle(GetFolderMergeReceiver(folder));
    if (!receiver)
        return;
    const qs::Reference<LayerFolder> kept(folder);
    qs::vector<Layer*> merged;
    qs::vector<Layer*> masks;
    for (LayerContainer* child : folder->GetLCArray())
        if (Layer* layer = dynamic_cast<Layer*>(child)) {
            merged.push_back(layer);
            if (layer->isMask() && layer->isVisible() && layer->GetImage())
                masks.push_back(layer);
        }
    const qs::Reference<ilSmartImage> picture =
        receiver->isMask() ? UnionOf(masks) : ComposeApart(folder->GetLCHArray(true));
    for (const Layer* mask : masks)
        for (const PntHandle& owner : mask->GetOwnerLayerArray())
            receiver->AddOwnerLayer(GetLayerFromHandle(owner), false);
    ReceiveMerge(*receiver, picture, merged);
    receiver->SetLayerBlend(kBlendNormal);  // a folder is painted over what lies below it
    ShowLayer(*receiver, folder->isActive());
    SetLayerContainerName(receiver->GetLayerContainerHandle(), folder->GetLayerContainerName());
    LiftOutOfFolder(*receiver);
    EndStructuralEdit(true);
}

void LayerStack::MergeAllLayers(bool visibleOnly)
{
    const StackEdit edit(*this);
    BeginEdit();
    const qs::Reference<Layer> receiver = GetLayerFromHandle(GetMergeAllReceiver(visibleOnly));
    if (!receiver)
        return;
    const qs::Reference<ilSmartImage> picture = ComposeApart(imageFolder_->GetLCHArray(true));
    ReceiveMerge(*receiver, picture, FlattenedImageLayers(visibleOnly));
    receiver->SetLayerBlend(kBlendNormal);  // nothing that shows lies below it
    ShowLayer(*receiver, true);
    if (!visibleOnly)
        LiftOutOfFolder(*receiver);
    EndStructuralEdit(true);
}

// --- steps ---

bool LayerStack::HasPixelsOnCanvas(Layer& layer) const
{
    return layer.GetImage() && !DamageOf(layer).IsEmpty();
}

qs::Reference<ilSmartImage> LayerStack::ComposeApart(const qs::vector<PntHandle>& containers)
{
    // Nothing is shown by this, so it does not matter that composites are suspended.
    const ValueScope resumed(compositesSuspended_, 0);
    const std::unique_ptr<CompositeBase> tree(composite_.MakeCompositeTree(this, containers));
    const qs::Reference<ilSmartImage> picture(new ilSmartImage(ilPixel(kUnsignedByte, 4)));
    tree->ComposeInto(*picture, size_);
    picture->ShrinkBounds();
    return picture;
}

/// `merged` contains the receiver.
void LayerStack::ReceiveMerge(Layer& receiver, const qs::Reference<ilSmartImage>& picture,
                              const qs::vector<Layer*>& merged)
{
    RemoveMerged(receiver, merged);
    receiver.SetOpacity(1.0f);
    receiver.SetOffset(0, 0, LayerStackTransform(), true);
    receiver.SetImage(picture);
}

/// Takes the merged layers out, except for the receiver, with what is connected to them.
void LayerStack::RemoveMerged(Layer& receiver, const qs::vector<Layer*>& merged)
{
    qs::vector<qs::Reference<Layer>> leaving(merged.begin(), merged.end());
    for (const qs::Reference<Layer>& layer : leaving) {
        const PntHandle& handle = layer->GetLayerContainerHandle();
        for (const PntHandle& mask : getMaskLayers(handle))
            GetLayerFromHandle(mask)->ReplaceOwnerLayer(handle, receiver);
        ReleaseStencils(*layer, &receiver, true);
    }
    std::erase_if(leaving, [&](const qs::Reference<Layer>& layer) { return layer == &receiver; });
    if (std::find(leaving.begin(), leaving.end(), currentLayer_) != leaving.end())
        BecomeCurrent(&receiver);
    for (const qs::Reference<Layer>& layer : leaving)
        RemoveLayerFromStack(layer.get());
}

void LayerStack::LiftOutOfFolder(Layer& layer)
{
    LayerFolder* top = nullptr;
    LayerFolder* holding = HoldingFolder(&layer, &top);
    if (holding == nullptr || holding == top)
        return;
    const qs::Reference<Layer> keptLayer(&layer);
    const qs::Reference<LayerFolder> keptFolder(holding);
    holding->RemoveLayerContainer(&layer);
    top->AddLayerContainer(&layer, holding, true);
    if (holding->GetSize() == 0)
        top->RemoveLayerContainer(holding);
}
