#include "composite/CompositePicture.h"
#include "layers/CoverageUnion.h"
#include "platform/imaging/blend/ImageConvert.h"
#include "stack/LayerStack.h"
#include "stack/StackParts.h"
#include "stack/edits/StackEdit.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <utility>

namespace {

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

Layer* LayerStack::FindMergeLayer(const PntHandle& handle) const
{
    Layer* layer = parts_->tree.GetLayerFromHandle(handle);
    if (layer != nullptr && layer->isStencil() && layer->IsHardLinkToOwnerLayer())
        layer = parts_->tree.GetLayerFromHandle(layer->GetOwnerLayerArray().front());
    return layer;
}

bool LayerStack::CanMerge(const Layer* upper, const Layer* lower) const
{
    const bool areLayers = upper != nullptr && lower != nullptr && upper != lower && upper != parts_->selection.Get() &&
                           lower != parts_->selection.Get();
    if (!areLayers || upper->GetLayerMode() != lower->GetLayerMode())
        return false;
    // One coverage can stand for two only where both act on the same layers. Of a stencil in a folder nobody hears.
    const auto isInFolder = [&](const Layer* layer) {
        return !parts_->tree.IsTopFolder(parts_->tree.HoldingFolder(layer, nullptr));
    };
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
    const LayerFolder* holding = parts_->tree.HoldingFolder(&upper, nullptr);
    const bool areNormal = upper.GetLayerBlend() == kBlendNormal && lower.GetLayerBlend() == kBlendNormal;
    if (!areNormal || holding == nullptr || parts_->tree.HoldingFolder(&lower, nullptr) != holding)
        return false;
    const qs::vector<LayerContainer*>& siblings = holding->GetLCArray();
    const auto at = std::find(siblings.begin(), siblings.end(), &upper);
    return at != siblings.begin() && at[-1] == &lower && !IsReadFromAbove(*holding, &upper) &&
           (parts_->tree.IsTopFolder(holding) || !IsReadFromAbove(*parts_->tree.GetImageFolder(), holding));
}

/// The canvas without the upper layer and with `merged` for the lower one; null: as it is.
qs::Reference<ilSmartImage> LayerStack::ComposeWith(const PntHandle& upper, const PntHandle& lower,
                                                    const MergedPicture* merged)
{
    const std::unique_ptr<CompositeBase> tree(
        parts_->canvas.GetComposite().MakeCompositeTree(this, parts_->tree.GetImageFolder()));
    if (merged != nullptr) {
        tree->Replace(upper, nullptr);
        if (merged->image)
            tree->Replace(lower, std::make_unique<CompositePicture>(this, merged->image, merged->blend));
        LayerStackComposite::SettleSeparateTree(*tree);
    }
    const qs::Reference<ilSmartImage> picture(new ilSmartImage(ilPixel(kUnsignedByte, 4)));
    tree->ComposeInto(*picture, parts_->canvas.GetSize());
    return picture;
}

/// Tried on the canvas: whether one layer can stand for two that read what lies below, or are read, is up to the
/// pixels.
LayerStack::MergedPicture LayerStack::FindMergedPicture(Layer& upper, Layer& lower)
{
    const ShownScope shown(lower);
    const Canvas::ResumedScope resumed(parts_->canvas);
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
    const Layer* receiver = parts_->tree.HoldingFolder(folder, &top) != nullptr ? folder->GetBottomLayer() : nullptr;
    if (receiver == nullptr || top == parts_->tree.GetStencilFolder() || !IsRaster(*receiver))
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
    const qs::vector<Layer*> shown = parts_->tree.GetFlattenedImageLayers(true);
    if (shown.size() < (visibleOnly ? 2 : 1))
        return kNullHandle;  // nothing to merge; and what is hidden is not thrown away for an empty picture
    const Layer* lowest = visibleOnly ? shown.front() : parts_->tree.GetFlattenedImageLayers(false).front();
    return IsRaster(*lowest) ? lowest->GetLayerContainerHandle() : kNullHandle;
}

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
            below->SetImage(CroppedImage(*image, parts_->canvas.CanvasOn(*below)));
        RemoveMerged(*below, {above.get()});
    }
    if (makeCurrent && parts_->tree.HoldingFolder(below.get(), nullptr) != nullptr)
        parts_->current.Become(below.get());
    EndStructuralEdit(true);
}

void LayerStack::MergeLayerFolder(LayerFolder* folder)
{
    const StackEdit edit(*this);
    BeginEdit();
    const qs::Reference<Layer> receiver = parts_->tree.GetLayerFromHandle(GetFolderMergeReceiver(folder));
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
    parts_->tree.LiftOutOfFolder(*receiver);
    EndStructuralEdit(true);
}

void LayerStack::MergeAllLayers(bool visibleOnly)
{
    const StackEdit edit(*this);
    BeginEdit();
    const qs::Reference<Layer> receiver = parts_->tree.GetLayerFromHandle(GetMergeAllReceiver(visibleOnly));
    if (!receiver)
        return;
    const qs::Reference<ilSmartImage> picture = ComposeApart(parts_->tree.GetImageFolder()->GetLCHArray(true));
    ReceiveMerge(*receiver, picture, parts_->tree.GetFlattenedImageLayers(visibleOnly));
    receiver->SetLayerBlend(kBlendNormal);  // nothing that shows lies below it
    ShowLayer(*receiver, true);
    if (!visibleOnly)
        parts_->tree.LiftOutOfFolder(*receiver);
    EndStructuralEdit(true);
}

bool LayerStack::HasPixelsOnCanvas(Layer& layer) const
{
    return layer.GetImage() && !parts_->canvas.DamageOf(layer).IsEmpty();
}

qs::Reference<ilSmartImage> LayerStack::ComposeApart(const qs::vector<PntHandle>& containers)
{
    // Nothing is shown by this, so it does not matter that composites are suspended.
    const Canvas::ResumedScope resumed(parts_->canvas);
    const std::unique_ptr<CompositeBase> tree(parts_->canvas.GetComposite().MakeCompositeTree(this, containers));
    const qs::Reference<ilSmartImage> picture(new ilSmartImage(ilPixel(kUnsignedByte, 4)));
    tree->ComposeInto(*picture, parts_->canvas.GetSize());
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
        for (const PntHandle& mask : parts_->tree.GetMaskLayers(handle))
            parts_->tree.GetLayerFromHandle(mask)->ReplaceOwnerLayer(handle, receiver);
        ReleaseStencils(*layer, &receiver, true);
    }
    std::erase_if(leaving, [&](const qs::Reference<Layer>& layer) { return layer == &receiver; });
    if (std::find(leaving.begin(), leaving.end(), parts_->tree.GetCurrent()) != leaving.end())
        parts_->current.Become(&receiver);
    for (const qs::Reference<Layer>& layer : leaving)
        RemoveLayerFromStack(layer.get());
}
