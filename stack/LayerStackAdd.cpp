#include "stack/LayerStack.h"
#include "stack/StackParts.h"
#include "stack/StackPort.h"
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

bool LayerStack::InsertContainer(LayerContainer* container, LayerFolder* top, const PntHandle& where, bool above)
{
    const PntHandle stamped(parts_->tree.GetInstance(), container->GetLayerContainerHandle().own);
    if (parts_->tree.GetLayerContainerFromHandle(stamped) != nullptr)
        return false;
    LayerContainer* ref = top->GetLayerContainerFromHandle(parts_->tree.ResolveHandle(where));
    if (ref == top)
        ref = nullptr;
    return top->AddLayerContainer(container, ref, above);
}

bool LayerStack::AddLayerToStack(Layer* layer, const PntHandle& where, bool above)
{
    if (!InsertLayer(layer, where, above))
        return false;
    parts_->canvas.MarkTreeStale();
    return true;
}

bool LayerStack::InsertLayer(Layer* layer, const PntHandle& where, bool above)
{
    if (layer == nullptr || !InsertContainer(layer, parts_->tree.GetLayerFolder(layer->GetLayerMode()), where, above))
        return false;
    layer->VerifyAllLsHandle(parts_->tree.GetInstance());
    return true;
}

bool LayerStack::AddLayerFolderToStack(LayerFolder* folder, LayerMode mode, const PntHandle& where)
{
    LayerFolder* top = parts_->tree.GetLayerFolder(mode);
    if (folder == nullptr || HoldsFolder(*folder))
        return false;
    LayerFolder* holding = parts_->tree.FindLayerFolder(where, true);
    if (holding != nullptr && holding != top && !parts_->tree.IsTopFolder(holding))
        return false;
    if (!InsertContainer(folder, top, where, true))
        return false;
    folder->VerifyAllLsHandle(parts_->tree.GetInstance());
    parts_->canvas.MarkTreeStale();
    return true;
}

PntHandle LayerStack::AddLayer(Layer* layer, const PntHandle& where, bool rebuild, bool above)
{
    const StackEdit edit(*this);
    if (!InsertLayer(layer, where, above))
        return kNullHandle;
    parts_->current.Become(layer);
    parts_->canvas.DamageCanvas();
    if (layer->isMask() || layer->isStencil())
        parts_->canvas.SetTreeStale(true);
    else if (!parts_->canvas.IsTreeStale())
        parts_->canvas.GetComposite().AddCompositeBase(this, *layer);
    if (rebuild && !layer->isMask())
        parts_->canvas.BringCompositeUpToDate();
    parts_->current.ResetPainter();
    if (layer->isMask())
        layer->SetMaskColor(parts_->properties.maskDisplayColor);
    if (layer->isMask() || layer->isStencil())
        layer->SetMaskDisplayOpacity(parts_->properties.maskDisplayOpacity);

    const PntHandle added = layer->GetLayerContainerHandle();
    Notify(true);
    GetStackPort().ContainerAdded(GetStackPort().GetStackHandle(this), added);
    return added;
}

PntHandle LayerStack::AddLayer(qs::TempReference<ilImage> image, qs::TempReference<ilImage> aux, LayerMode mode,
                               LayerType type, bool above, int, const PntHandle& where, bool redraw, int x, int y,
                               bool forceAlphaValid)
{
    const StackEdit edit(*this);
    const bool isRaster = type != kLayerTypeShape && type != kLayerTypeObjectImage;
    const bool isMode = mode == kLayerModeImage || mode == kLayerModeMask || mode == kLayerModeStencil;
    if (!isRaster || !isMode || (image && image->GetNumChannels() != ChannelsOf(mode)))
        return kNullHandle;
    if (where == kCurrentLayerHandle && parts_->selection.IsCurrent())
        return kNullHandle;

    parts_->proxy.End();
    const qs::Reference<ilSmartImage> content =
        image ? CopyOf(*image)
              : qs::Reference<ilSmartImage>(new ilSmartImage(ilPixel(kUnsignedByte, ChannelsOf(mode))));
    if (image && forceAlphaValid)
        content->ForceAlphaValid();
    const qs::Reference<Layer> layer(new Layer(content, aux, mode, kLayerTypeRaster, x, y));
    const PntHandle added = AddLayer(layer.get(), where, redraw, above);
    if (redraw && added != kNullHandle)
        parts_->update.UpdateImagePlaneBits();
    return added;
}

PntHandle LayerStack::AddLayerFolder(LayerMode mode, const PntHandle& where)
{
    const StackEdit edit(*this);
    const bool isMode = mode == kLayerModeImage || mode == kLayerModeMask || mode == kLayerModeStencil;
    if (!isMode || !parts_->tree.IsTopFolder(parts_->tree.FindLayerFolder(where, true)))
        return kNullHandle;
    const qs::Reference<LayerFolder> folder(new LayerFolder);
    if (!AddLayerFolderToStack(folder.get(), mode, where))
        return kNullHandle;
    folder->CreateDefaultName();
    const PntHandle added = folder->GetLayerContainerHandle();
    AddLayer({}, {}, mode, kLayerTypeRaster, false, 0, added, false, 0, 0, false);
    parts_->canvas.DamageCanvas();
    if (mode == kLayerModeImage)
        parts_->canvas.BringCompositeUpToDate();
    Notify(true);
    GetStackPort().ContainerAdded(GetStackPort().GetStackHandle(this), added);
    return added;
}
