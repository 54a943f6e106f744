#include "stack/edits/Merge.h"

#include "layers/CoverageUnion.h"
#include "layers/Layer.h"
#include "platform/imaging/blend/ImageConvert.h"
#include "stack/StackRooms.h"
#include "stack/edits/Bake.h"
#include "stack/edits/LayerVisibility.h"
#include "stack/edits/MergeChoice.h"
#include "stack/edits/StackEdit.h"

#include <algorithm>

namespace {

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

void Merge::Layers(const PntHandle& upper, const PntHandle& lower, bool makeCurrent)
{
    const StackEdit edit(stack_);
    BeginEdit();
    const qs::Reference<Layer> above = choice_.FindLayer(upper);
    const qs::Reference<Layer> below = choice_.FindLayer(lower);
    if (!choice_.CanMerge(above.get(), below.get()))
        return;
    const bool mergesPixels = IsRaster(*above) && IsRaster(*below);
    MergedPicture merged;
    merged.blend = below->GetLayerBlend();
    if (mergesPixels && above->IsCoverage())
        merged.image = UnionOf(above->isStencil() || above->isVisible() ? qs::vector<Layer*>{below.get(), above.get()}
                                                                        : qs::vector<Layer*>{below.get()});
    else if (mergesPixels)
        merged = choice_.FindPicture(*above, *below);
    if (!merged.isTrue)
        return;
    visibility_.Show(*below, true);
    if (merged.image) {
        Receive(*below, merged.image, {below.get(), above.get()});
        below->SetLayerBlend(merged.blend);
    } else if (mergesPixels) {
        if (const qs::TempReference<ilMIOImage> image = below->GetImage())
            below->SetImage(CroppedImage(*image, canvas_.CanvasOn(*below)));
        RemoveMerged(*below, {above.get()});
    }
    if (makeCurrent && tree_.HoldingFolder(below.get(), nullptr) != nullptr)
        current_.Become(below.get());
    EndStructuralEdit(true);
}

void Merge::Folder(LayerFolder* folder)
{
    const StackEdit edit(stack_);
    BeginEdit();
    const qs::Reference<Layer> receiver = tree_.GetLayerFromHandle(choice_.GetFolderReceiver(folder));
    if (!receiver)
        return;
    const qs::Reference<LayerFolder> kept(folder);
    qs::vector<Layer*> merged;
    for (LayerContainer* child : folder->GetLCArray())
        if (Layer* layer = dynamic_cast<Layer*>(child))
            merged.push_back(layer);
    const qs::Reference<ilSmartImage> picture =
        receiver->isMask() ? UnionOf(ShownMasksOf(*folder)) : choice_.ComposeApart(folder->GetLCHArray(true));
    Receive(*receiver, picture, merged);
    receiver->SetLayerBlend(kBlendNormal);  // a folder is painted over what lies below it
    visibility_.Show(*receiver, receiver->isMask() ? receiver->isVisible() : folder->isActive());
    stack_.SetLayerContainerName(receiver->GetLayerContainerHandle(), folder->GetLayerContainerName());
    tree_.LiftOutOfFolder(*receiver);
    EndStructuralEdit(true);
}

void Merge::All(bool visibleOnly)
{
    const StackEdit edit(stack_);
    BeginEdit();
    const qs::Reference<Layer> receiver = tree_.GetLayerFromHandle(choice_.GetReceiverOfAll(visibleOnly));
    if (!receiver)
        return;
    const qs::Reference<ilSmartImage> picture = choice_.ComposeApart(tree_.GetImageFolder()->GetLCHArray(true));
    Receive(*receiver, picture, tree_.GetFlattenedImageLayers(visibleOnly));
    receiver->SetLayerBlend(kBlendNormal);  // nothing that shows lies below it
    visibility_.Show(*receiver, true);
    if (!visibleOnly)
        tree_.LiftOutOfFolder(*receiver);
    EndStructuralEdit(true);
}

/// `merged` contains the receiver.
void Merge::Receive(Layer& receiver, const qs::Reference<ilSmartImage>& picture, const qs::vector<Layer*>& merged)
{
    RemoveMerged(receiver, merged);
    receiver.SetOpacity(1.0F);
    receiver.SetOffset(0, 0, LayerStackTransform(), true);
    receiver.SetImage(picture);
}

/// Takes the merged layers out, except for the receiver, with what is connected to them.
void Merge::RemoveMerged(Layer& receiver, const qs::vector<Layer*>& merged)
{
    qs::vector<qs::Reference<Layer>> leaving(merged.begin(), merged.end());
    for (const qs::Reference<Layer>& layer : leaving) {
        const PntHandle& handle = layer->GetLayerContainerHandle();
        for (const PntHandle& mask : tree_.GetMaskLayers(handle))
            tree_.GetLayerFromHandle(mask)->ReplaceOwnerLayer(handle, receiver);
        bake_.ReleaseStencils(*layer, &receiver, true);
    }
    std::erase_if(leaving, [&](const qs::Reference<Layer>& layer) { return layer == &receiver; });
    if (std::find(leaving.begin(), leaving.end(), tree_.GetCurrent()) != leaving.end())
        current_.Become(&receiver);
    for (const qs::Reference<Layer>& layer : leaving)
        stack_.RemoveLayerFromStack(layer.get());
}
