#include "stack/LayerStack.h"

void LayerStack::RebuildCompositeTree()
{
    composite_.MakeCompositeTree(this, true);
    treeIsStale_ = false;
    maskIsStale_ = false;
}

void LayerStack::RebuildCompositeMask()
{
    composite_.MakeCompositeMask(this, true);
    maskIsStale_ = false;
}

void LayerStack::BringCompositeUpToDate()
{
    if (treeIsStale_) {
        composite_.MakeCompositeTree(this, false);  // which drops the mask as well
        treeIsStale_ = false;
        maskIsStale_ = true;
    }
    if (maskIsStale_)
        RebuildCompositeMask();
}

void LayerStack::MarkTreeStale()
{
    treeIsStale_ = true;
    DamageCanvas();
}

bool LayerStack::HasCompositeMask()
{
    if (maskIsStale_)
        RebuildCompositeMask();
    const qs::TempReference<ilSmartImage>& mask = composite_.GetCompositeMask();
    return mask && !mask->GetBounds().IsEmpty();
}

void LayerStack::PrepareFullRedraw()
{
    needsFullRedraw_ = false;
    GetCLP();
    DamageCanvas();
}

void LayerStack::RedrawEntireCanvas()
{
    PrepareFullRedraw();
    ForceUpdate();
}

void LayerStack::RebuildMaskAndRedrawEntireCanvas()
{
    PrepareFullRedraw();
    RebuildCompositeMask();
    ForceUpdate();
}

void LayerStack::RebuildAllAndRedrawEntireCanvas()
{
    PrepareFullRedraw();
    RebuildCompositeTree();
    ForceUpdate();
}

void LayerStack::ReuseLSCAndRedrawEntireCanvas(LayerMode mode, const PntHandle& handle)
{
    if (mode == kLayerModeMask || mode == kLayerModeStencil) {
        RebuildAllAndRedrawEntireCanvas();
        return;
    }
    PrepareFullRedraw();
    composite_.DeleteCompositeBase(this, ResolveHandle(handle));
    treeIsStale_ = false;
    composite_.SplitCompositeTreeByRefLCH(this, GetCurrentLayerContainerHandle(), true, true);
    ForceUpdate();
}

void LayerStack::ReuseLSCAndRedrawCanvas(const PntHandle& handle, bool rebuildCache)
{
    const LayerContainer* container = GetLayerContainerFromHandle(handle);
    if (container != nullptr && (container->isMask() || container->isStencil())) {
        RebuildAllAndRedrawEntireCanvas();
        return;
    }
    PrepareFullRedraw();
    composite_.CompositeBaseDirty(ResolveHandle(handle));
    if (rebuildCache)
        composite_.BuildCache(this, true);
    ForceUpdate();
}

void LayerStack::RedrawCanvasDueToGeometryChange()
{
    if (needsFullRedraw_) {
        RebuildAllAndRedrawEntireCanvas();
        return;
    }
    GetCLP();
    RebuildCompositeTree();
    ForceUpdate();
}

void LayerStack::LayerContentChanged(Layer& layer, const qs::vector<ilTile>& tiles, bool isMoved)
{
    if (isMoved) {
        layer.SetStencilCompositeDirty(true);
        TellChanged(layer);
    } else if (layer.isStencil()) {
        for (const ilTile& tile : tiles)
            RefreshOwnersOfStencil(layer, tile);
    } else if (layer.isMask()) {
        maskIsStale_ = true;
    } else {
        ilTile all;
        for (const ilTile& tile : tiles)
            all = ilTileUnion(all, tile);
        composite_.CompositeBaseDirty(layer.GetLayerContainerHandle(), all);
    }
    for (const ilTile& tile : tiles)
        DamageTile(tile);
    if (&layer == currentLayer_)
        GetCurrentLayerPainter();
    else if (&layer == selectionMask_)
        UpdatePainterClip();
}

void LayerStack::MakeBelowAndAbove(const PntHandle&)
{
    composite_.BuildCache(this, false);
}
