#include "composite/CompositePicture.h"
#include "layers/CoverageUnion.h"
#include "platform/imaging/blend/ImageConvert.h"
#include "stack/LayerStack.h"
#include "stack/StackEdit.h"
#include "stack/StackPort.h"

#include <algorithm>
#include <cstdlib>
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

/// Shows a layer for the time of a scope, without telling anybody.
class ShownScope {
public:
    explicit ShownScope(Layer& layer) : layer_(layer), wasVisible_(layer.isVisible()) { layer_.SetVisible(true); }
    ShownScope(const ShownScope&) = delete;
    ShownScope& operator=(const ShownScope&) = delete;
    ~ShownScope() { layer_.SetVisible(wasVisible_); }

private:
    Layer& layer_;
    bool wasVisible_;
};

/// Whether no byte of the two, both without a fill, differs by more than a level.
bool AreWithinALevel(const ilMIOImage& a, const ilMIOImage& b)
{
    bool areClose = true;
    a.VisitDifferentPages(b, [&](int, int, const Page* here, const Page* there) {
        for (int i = 0; areClose && i < kPagePixels * 4; ++i) {
            const int one = here != nullptr ? here->GetBytes()[i] : 0;
            const int other = there != nullptr ? there->GetBytes()[i] : 0;
            areClose = std::abs(one - other) <= 1;
        }
    });
    return areClose;
}

/// Whether a member above `container` reads what lies below it.
bool IsReadFromAbove(const LayerFolder& folder, const LayerContainer* container)
{
    const qs::vector<LayerContainer*>& members = folder.GetLCArray();
    return std::any_of(std::find(members.begin(), members.end(), container), members.end(),
                       [&](const LayerContainer* member) {
                           const auto* layer = dynamic_cast<const Layer*>(member);
                           return member != container && layer != nullptr && layer->GetLayerBlend() != kBlendNormal;
                       });
}

bool IsRaster(const Layer& layer)
{
    return layer.GetLayerType() == kLayerTypeRaster;
}

bool IsCoverage(const Layer& layer)
{
    return layer.isMask() || layer.isStencil();
}

/// Act on the same layers, and come and go with them alike.
bool HaveSameOwners(const Layer& a, const Layer& b)
{
    const qs::vector<PntHandle> ofA = a.GetOwnerLayerArray();
    const qs::vector<PntHandle> ofB = b.GetOwnerLayerArray();
    return a.IsHardLinkToOwnerLayer() == b.IsHardLinkToOwnerLayer() &&
           std::is_permutation(ofA.begin(), ofA.end(), ofB.begin(), ofB.end());
}

/// Bottom to top. Whether the folder is active is nothing to masks.
qs::vector<Layer*> ShownMasksOf(const LayerFolder& folder)
{
    qs::vector<Layer*> masks;
    for (LayerContainer* child : folder.GetLCArray())
        if (auto* layer = dynamic_cast<Layer*>(child);
            layer != nullptr && layer->isMask() && layer->isVisible() && layer->GetImage())
            masks.push_back(layer);
    return masks;
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
    // One coverage can stand for two only where both act on the same layers. Of a stencil in a folder nobody hears.
    const auto isInFolder = [&](const Layer* layer) { return !IsTopFolder(HoldingFolder(layer, nullptr)); };
    return !IsCoverage(*upper) ||
           (upper->GetImage() && lower->GetImage() && HaveSameOwners(*upper, *lower) &&
            (upper->isMask() || (upper->isActive() == lower->isActive() && isInFolder(upper) == isInFolder(lower))));
}

PntHandle LayerStack::GetMergeReceiver(const PntHandle& upper, const PntHandle& lower)
{
    Layer* above = FindMergeLayer(upper);
    Layer* below = FindMergeLayer(lower);
    const bool merges = CanMerge(above, below) && IsRaster(*above) && IsRaster(*below) &&
                        (IsCoverage(*above) || FindMergedPicture(*above, *below).isTrue);
    return merges ? below->GetLayerContainerHandle() : kNullHandle;
}

/// Two that are painted over what lies below, one right over the other, with nothing above that reads them: their join
/// is their picture, within a level.
bool LayerStack::AreNormalNeighbours(const Layer& upper, const Layer& lower) const
{
    const LayerFolder* holding = HoldingFolder(&upper, nullptr);
    const bool areNormal = upper.GetLayerBlend() == kBlendNormal && lower.GetLayerBlend() == kBlendNormal;
    if (!areNormal || holding == nullptr || HoldingFolder(&lower, nullptr) != holding)
        return false;
    const qs::vector<LayerContainer*>& siblings = holding->GetLCArray();
    const auto at = std::find(siblings.begin(), siblings.end(), &upper);
    return at != siblings.begin() && at[-1] == &lower && !IsReadFromAbove(*holding, &upper) &&
           (IsTopFolder(holding) || !IsReadFromAbove(*imageFolder_, holding));
}

/// The canvas without the upper layer and with `merged` for the lower one; null: as it is.
qs::Reference<ilSmartImage> LayerStack::ComposeWith(const PntHandle& upper, const PntHandle& lower,
                                                    const MergedPicture* merged)
{
    const std::unique_ptr<CompositeBase> tree(composite_.MakeCompositeTree(this, imageFolder_.get()));
    if (merged != nullptr) {
        tree->Replace(upper, nullptr);
        if (merged->image)
            tree->Replace(lower, std::make_unique<CompositePicture>(this, merged->image, merged->blend));
        LayerStackComposite::SettleSeparateTree(*tree);
    }
    const qs::Reference<ilSmartImage> picture(new ilSmartImage(ilPixel(kUnsignedByte, 4)));
    tree->ComposeInto(*picture, size_);
    return picture;
}

/// Tried on the canvas: whether one layer can stand for two that read what lies below, or are read, is up to the
/// pixels.
LayerStack::MergedPicture LayerStack::FindMergedPicture(Layer& upper, Layer& lower)
{
    const ShownScope shown(lower);
    const ValueScope resumed(compositesSuspended_, 0);
    const PntHandle above = upper.GetLayerContainerHandle();
    const PntHandle below = lower.GetLayerContainerHandle();
    MergedPicture merged;
    merged.blend = lower.GetLayerBlend();
    if (upper.isVisible() && HasPixelsOnCanvas(upper))
        merged.image = ComposeApart({below, above});
    if (AreNormalNeighbours(upper, lower))
        return merged;
    const qs::Reference<ilSmartImage> before = ComposeWith(above, below, nullptr);
    for (const LayerBlendMode blend : {lower.GetLayerBlend(), kBlendNormal, upper.GetLayerBlend()}) {
        merged.blend = blend;
        if (AreWithinALevel(*before, *ComposeWith(above, below, &merged)))
            return merged;
        if (!merged.image)
            break;  // there is no choice
    }
    merged.isTrue = false;
    return merged;
}

PntHandle LayerStack::GetFolderMergeReceiver(const LayerFolder* folder) const
{
    LayerFolder* top = nullptr;
    const Layer* receiver = HoldingFolder(folder, &top) != nullptr ? folder->GetBottomLayer() : nullptr;
    if (receiver == nullptr || top == stencilFolder_ || !IsRaster(*receiver))
        return kNullHandle;
    const qs::vector<Layer*> masks = ShownMasksOf(*folder);
    if (!masks.empty())
        receiver = masks.front();
    const bool merges =
        std::all_of(masks.begin(), masks.end(), [&](const Layer* mask) { return HaveSameOwners(*mask, *receiver); });
    return merges ? receiver->GetLayerContainerHandle() : kNullHandle;
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
    MergedPicture merged;
    merged.blend = below->GetLayerBlend();
    if (mergesPixels && IsCoverage(*above))
        merged.image = UnionOf(above->isStencil() || above->isVisible() ? qs::vector<Layer*>{below.get(), above.get()}
                                                                        : qs::vector<Layer*>{below.get()});
    else if (mergesPixels)
        merged = FindMergedPicture(*above, *below);
    if (!merged.isTrue)
        return;
    ShowLayer(*below, true);
    if (merged.image) {
        ReceiveMerge(*below, merged.image, {below.get(), above.get()});
        below->SetLayerBlend(merged.blend);
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
    for (LayerContainer* child : folder->GetLCArray())
        if (Layer* layer = dynamic_cast<Layer*>(child))
            merged.push_back(layer);
    const qs::Reference<ilSmartImage> picture =
        receiver->isMask() ? UnionOf(ShownMasksOf(*folder)) : ComposeApart(folder->GetLCHArray(true));
    ReceiveMerge(*receiver, picture, merged);
    receiver->SetLayerBlend(kBlendNormal);  // a folder is painted over what lies below it
    ShowLayer(*receiver, receiver->isMask() ? receiver->isVisible() : folder->isActive());
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
