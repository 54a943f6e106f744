#include "stack/edits/MergeChoice.h"

#include "composite/CompositePicture.h"
#include "layers/Layer.h"
#include "stack/StackRooms.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

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

/// Act on the same layers, and come and go with them alike.
bool HaveSameOwners(const Layer& a, const Layer& b)
{
    const qs::vector<PntHandle> ofA = a.GetOwnerLayerArray();
    const qs::vector<PntHandle> ofB = b.GetOwnerLayerArray();
    return a.IsHardLinkToOwnerLayer() == b.IsHardLinkToOwnerLayer() &&
           std::is_permutation(ofA.begin(), ofA.end(), ofB.begin(), ofB.end());
}

}  // namespace

bool IsRaster(const Layer& layer)
{
    return layer.GetLayerType() == kLayerTypeRaster;
}

qs::vector<Layer*> ShownMasksOf(const LayerFolder& folder)
{
    qs::vector<Layer*> masks;
    for (LayerContainer* child : folder.GetLCArray())
        if (auto* layer = dynamic_cast<Layer*>(child);
            layer != nullptr && layer->isMask() && layer->isVisible() && layer->GetImage())
            masks.push_back(layer);
    return masks;
}

Layer* MergeChoice::FindLayer(const PntHandle& handle) const
{
    Layer* layer = tree_.GetLayerFromHandle(handle);
    if (layer != nullptr && layer->isStencil() && layer->IsHardLinkToOwnerLayer())
        layer = tree_.GetLayerFromHandle(layer->GetOwnerLayerArray().front());
    return layer;
}

bool MergeChoice::CanMerge(const Layer* upper, const Layer* lower) const
{
    const bool areLayers = upper != nullptr && lower != nullptr && upper != lower && upper != selection_.Get() &&
                           lower != selection_.Get();
    if (!areLayers || upper->GetLayerMode() != lower->GetLayerMode())
        return false;
    // One coverage can stand for two only where both act on the same layers. Of a stencil in a folder nobody hears.
    const auto isInFolder = [&](const Layer* layer) { return !tree_.IsTopFolder(tree_.HoldingFolder(layer, nullptr)); };
    return !upper->IsCoverage() ||
           (upper->GetImage() && lower->GetImage() && HaveSameOwners(*upper, *lower) &&
            (upper->isMask() || (upper->isActive() == lower->isActive() && isInFolder(upper) == isInFolder(lower))));
}

PntHandle MergeChoice::GetReceiver(const PntHandle& upper, const PntHandle& lower)
{
    Layer* above = FindLayer(upper);
    Layer* below = FindLayer(lower);
    const bool merges = CanMerge(above, below) && IsRaster(*above) && IsRaster(*below) &&
                        (above->IsCoverage() || FindPicture(*above, *below).isTrue);
    return merges ? below->GetLayerContainerHandle() : kNullHandle;
}

/// Tried on the canvas: whether one layer can stand for two that read what lies below, or are read, is up to the
/// pixels.
MergedPicture MergeChoice::FindPicture(Layer& upper, Layer& lower)
{
    const ShownScope shown(lower);
    const Canvas::ResumedScope resumed(canvas_);
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

PntHandle MergeChoice::GetFolderReceiver(const LayerFolder* folder) const
{
    LayerFolder* top = nullptr;
    const Layer* receiver = tree_.HoldingFolder(folder, &top) != nullptr ? folder->GetBottomLayer() : nullptr;
    if (receiver == nullptr || top == tree_.GetStencilFolder() || !IsRaster(*receiver))
        return kNullHandle;
    const qs::vector<Layer*> masks = ShownMasksOf(*folder);
    if (!masks.empty())
        receiver = masks.front();
    const bool merges =
        std::all_of(masks.begin(), masks.end(), [&](const Layer* mask) { return HaveSameOwners(*mask, *receiver); });
    return merges ? receiver->GetLayerContainerHandle() : kNullHandle;
}

PntHandle MergeChoice::GetReceiverOfAll(bool visibleOnly) const
{
    const qs::vector<Layer*> shown = tree_.GetFlattenedImageLayers(true);
    if (shown.size() < (visibleOnly ? 2 : 1))
        return kNullHandle;  // nothing to merge; and what is hidden is not thrown away for an empty picture
    const Layer* lowest = visibleOnly ? shown.front() : tree_.GetFlattenedImageLayers(false).front();
    return IsRaster(*lowest) ? lowest->GetLayerContainerHandle() : kNullHandle;
}

qs::Reference<ilSmartImage> MergeChoice::ComposeApart(const qs::vector<PntHandle>& containers)
{
    // Nothing is shown by this, so it does not matter that composites are suspended.
    const Canvas::ResumedScope resumed(canvas_);
    const std::unique_ptr<CompositeBase> tree(canvas_.GetComposite().MakeCompositeTree(&stack_, containers));
    const qs::Reference<ilSmartImage> picture(new ilSmartImage(ilPixel(kUnsignedByte, 4)));
    tree->ComposeInto(*picture, canvas_.GetSize());
    picture->ShrinkBounds();
    return picture;
}

/// Two that are painted over what lies below, one right over the other, with nothing above that reads them: their join
/// is their picture, within a level.
bool MergeChoice::AreNormalNeighbours(const Layer& upper, const Layer& lower) const
{
    const LayerFolder* holding = tree_.HoldingFolder(&upper, nullptr);
    const bool areNormal = upper.GetLayerBlend() == kBlendNormal && lower.GetLayerBlend() == kBlendNormal;
    if (!areNormal || holding == nullptr || tree_.HoldingFolder(&lower, nullptr) != holding)
        return false;
    const qs::vector<LayerContainer*>& siblings = holding->GetLCArray();
    const auto at = std::find(siblings.begin(), siblings.end(), &upper);
    return at != siblings.begin() && at[-1] == &lower && !IsReadFromAbove(*holding, &upper) &&
           (tree_.IsTopFolder(holding) || !IsReadFromAbove(*tree_.GetImageFolder(), holding));
}

/// The canvas without the upper layer and with `merged` for the lower one; null: as it is.
qs::Reference<ilSmartImage> MergeChoice::ComposeWith(const PntHandle& upper, const PntHandle& lower,
                                                     const MergedPicture* merged)
{
    const std::unique_ptr<CompositeBase> tree(
        canvas_.GetComposite().MakeCompositeTree(&stack_, tree_.GetImageFolder()));
    if (merged != nullptr) {
        tree->Replace(upper, nullptr);
        if (merged->image)
            tree->Replace(lower, std::make_unique<CompositePicture>(&stack_, merged->image, merged->blend));
        LayerStackComposite::SettleSeparateTree(*tree);
    }
    const qs::Reference<ilSmartImage> picture(new ilSmartImage(ilPixel(kUnsignedByte, 4)));
    tree->ComposeInto(*picture, canvas_.GetSize());
    return picture;
}

bool MergeChoice::HasPixelsOnCanvas(Layer& layer) const
{
    return layer.GetImage() && !canvas_.DamageOf(layer).IsEmpty();
}
