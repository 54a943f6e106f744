#include "stack/tree/LayerPlacement.h"

#include "stack/StackPort.h"
#include "stack/StackRooms.h"
#include "stack/edits/StackEdit.h"

namespace {

bool HoldsFolder(const LayerFolder& folder)
{
    for (const LayerContainer* child : folder.GetLCArray())
        if (dynamic_cast<const LayerFolder*>(child) != nullptr)
            return true;
    return false;
}

int ChannelsOf(LayerMode mode)
{
    return mode == kLayerModeImage ? 4 : 1;
}

/// A paged image of its own with what `image` shows; pages are shared.
qs::Reference<ilSmartImage> CopyOf(const ilImage& image)
{
    const qs::Reference<ilSmartImage> copy(new ilSmartImage(image.GetFillValue()));
    if (const ilMIOImage* paged = image.AsPaged()) {
        copy->ShareAllFrom(*paged);
    } else {
        const ilTile bounds = image.GetBounds();
        copy->copyTile3D(bounds.x, bounds.y, 0, bounds.nx, bounds.ny, 1, image, bounds.x, bounds.y, 0);
    }
    return copy;
}

}  // namespace

bool LayerPlacement::Insert(Layer* layer, const PntHandle& where, bool above)
{
    if (!InsertLayer(layer, where, above))
        return false;
    canvas_.MarkTreeStale();
    return true;
}

bool LayerPlacement::InsertFolder(LayerFolder* folder, LayerMode mode, const PntHandle& where)
{
    LayerFolder* top = tree_.GetLayerFolder(mode);
    if (folder == nullptr || HoldsFolder(*folder))
        return false;
    LayerFolder* holding = tree_.FindLayerFolder(where, true);
    if (holding != nullptr && holding != top && !tree_.IsTopFolder(holding))
        return false;
    if (!InsertContainer(folder, top, where, true))
        return false;
    folder->VerifyAllLsHandle(tree_.GetInstance());
    canvas_.MarkTreeStale();
    return true;
}

PntHandle LayerPlacement::Add(Layer* layer, const PntHandle& where, bool rebuild, bool above)
{
    const StackEdit edit(stack_);
    if (!InsertLayer(layer, where, above))
        return kNullHandle;
    current_.Become(layer);
    canvas_.DamageCanvas();
    if (layer->IsCoverage())
        canvas_.SetTreeStale(true);
    else if (!canvas_.IsTreeStale())
        canvas_.GetComposite().AddCompositeBase(&stack_, *layer);
    if (rebuild && !layer->isMask())
        canvas_.BringCompositeUpToDate();
    current_.ResetPainter();
    if (layer->isMask())
        layer->SetMaskColor(properties_.maskDisplayColor);
    if (layer->IsCoverage())
        layer->SetMaskDisplayOpacity(properties_.maskDisplayOpacity);

    const PntHandle added = layer->GetLayerContainerHandle();
    stack_.Notify(true);
    GetStackPort().ContainerAdded(GetStackPort().GetStackHandle(&stack_), added);
    return added;
}

PntHandle LayerPlacement::Add(qs::TempReference<ilImage> image, qs::TempReference<ilImage> aux, LayerMode mode,
                              LayerType type, bool above, const PntHandle& where, bool redraw, int x, int y,
                              bool forceAlphaValid)
{
    const StackEdit edit(stack_);
    const bool isRaster = type != kLayerTypeShape && type != kLayerTypeObjectImage;
    const bool isMode = mode == kLayerModeImage || mode == kLayerModeMask || mode == kLayerModeStencil;
    if (!isRaster || !isMode || (image && image->GetNumChannels() != ChannelsOf(mode)))
        return kNullHandle;
    if (where == kCurrentLayerHandle && selection_.IsCurrent())
        return kNullHandle;

    proxy_.End();
    const qs::Reference<ilSmartImage> content =
        image ? CopyOf(*image)
              : qs::Reference<ilSmartImage>(new ilSmartImage(ilPixel(kUnsignedByte, ChannelsOf(mode))));
    if (image && forceAlphaValid)
        content->ForceAlphaValid();
    const qs::Reference<Layer> layer(new Layer(content, aux, mode, kLayerTypeRaster, x, y));
    const PntHandle added = Add(layer.get(), where, redraw, above);
    if (redraw && added != kNullHandle)
        update_.UpdateImagePlaneBits();
    return added;
}

PntHandle LayerPlacement::AddFolder(LayerMode mode, const PntHandle& where)
{
    const StackEdit edit(stack_);
    const bool isMode = mode == kLayerModeImage || mode == kLayerModeMask || mode == kLayerModeStencil;
    if (!isMode || !tree_.IsTopFolder(tree_.FindLayerFolder(where, true)))
        return kNullHandle;
    const qs::Reference<LayerFolder> folder(new LayerFolder);
    if (!InsertFolder(folder.get(), mode, where))
        return kNullHandle;
    folder->CreateDefaultName();
    const PntHandle added = folder->GetLayerContainerHandle();
    Add({}, {}, mode, kLayerTypeRaster, false, added, false, 0, 0, false);
    canvas_.DamageCanvas();
    if (mode == kLayerModeImage)
        canvas_.BringCompositeUpToDate();
    stack_.Notify(true);
    GetStackPort().ContainerAdded(GetStackPort().GetStackHandle(&stack_), added);
    return added;
}

bool LayerPlacement::Move(const PntHandle& moved, const PntHandle& target, bool above)
{
    const StackEdit edit(stack_);
    LayerContainer* container = tree_.GetLayerContainerFromHandle(moved);
    LayerContainer* neighbour = tree_.GetLayerContainerFromHandle(target);
    LayerFolder* fromTop = nullptr;
    LayerFolder* toTop = nullptr;
    LayerFolder* from = tree_.HoldingFolder(container, &fromTop);
    LayerFolder* to = tree_.HoldingFolder(neighbour, &toTop);
    if (from == nullptr || to == nullptr || container == neighbour || fromTop != toTop)
        return false;
    const bool isFolder = dynamic_cast<LayerFolder*>(container) != nullptr;
    if (isFolder && (dynamic_cast<LayerFolder*>(neighbour) != nullptr || !tree_.IsTopFolder(to)))
        return false;

    proxy_.End();
    const qs::Reference<LayerContainer> keptContainer(container);
    const qs::Reference<LayerFolder> keptFrom(from);
    // From the folder itself, which then stays although it may be empty: the target may be that very folder.
    const bool isRemoved = from->RemoveLayerContainer(container);
    to->AddLayerContainer(container, neighbour, above);
    if (!tree_.IsTopFolder(from) && from->GetSize() == 0)
        fromTop->RemoveLayerContainer(from);
    tree_.RememberCurrentInFolder();
    container->SetStencilCompositeDirty(true);  // a stencil acts or not by the folder that holds it
    canvas_.MarkTreeStale();
    canvas_.BringCompositeUpToDate();
    return isRemoved;
}

bool LayerPlacement::InsertLayer(Layer* layer, const PntHandle& where, bool above)
{
    if (layer == nullptr || !InsertContainer(layer, tree_.GetLayerFolder(layer->GetLayerMode()), where, above))
        return false;
    layer->VerifyAllLsHandle(tree_.GetInstance());
    return true;
}

bool LayerPlacement::InsertContainer(LayerContainer* container, LayerFolder* top, const PntHandle& where, bool above)
{
    const PntHandle stamped(tree_.GetInstance(), container->GetLayerContainerHandle().own);
    if (tree_.GetLayerContainerFromHandle(stamped) != nullptr)
        return false;
    LayerContainer* ref = top->GetLayerContainerFromHandle(tree_.ResolveHandle(where));
    if (ref == top)
        ref = nullptr;
    return top->AddLayerContainer(container, ref, above);
}
