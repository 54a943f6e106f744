#include "stack/canvas/Redraw.h"

#include "layers/Layer.h"
#include "stack/canvas/Canvas.h"
#include "stack/canvas/CanvasUpdate.h"
#include "stack/canvas/CurrentLayer.h"
#include "stack/tree/LayerTree.h"

void Redraw::EntireCanvas()
{
    Prepare();
    update_.ForceUpdate();
}

void Redraw::RebuildMask()
{
    Prepare();
    canvas_.RebuildCompositeMask();
    update_.ForceUpdate();
}

void Redraw::RebuildAll()
{
    Prepare();
    canvas_.RebuildCompositeTree();
    update_.ForceUpdate();
}

void Redraw::RebuildWithout(LayerMode mode, const PntHandle& handle)
{
    if (mode == kLayerModeMask || mode == kLayerModeStencil) {
        RebuildAll();
        return;
    }
    Prepare();
    canvas_.GetComposite().DeleteCompositeBase(&stack_, tree_.ResolveHandle(handle));
    canvas_.SetTreeStale(false);
    canvas_.GetComposite().SplitCompositeTreeByRefLCH(&stack_, tree_.GetCurrentHandle(), true, true);
    update_.ForceUpdate();
}

void Redraw::Refresh(const PntHandle& handle, bool rebuildCache)
{
    const LayerContainer* container = tree_.GetLayerContainerFromHandle(handle);
    if (container != nullptr && (container->isMask() || container->isStencil())) {
        RebuildAll();
        return;
    }
    Prepare();
    canvas_.GetComposite().CompositeBaseDirty(tree_.ResolveHandle(handle));
    if (rebuildCache)
        canvas_.GetComposite().BuildCache(&stack_, true);
    update_.ForceUpdate();
}

void Redraw::AfterGeometryChange()
{
    if (canvas_.NeedsFullRedraw()) {
        RebuildAll();
        return;
    }
    current_.GetPainterAsLeft();
    canvas_.RebuildCompositeTree();
    update_.ForceUpdate();
}

void Redraw::Prepare()
{
    canvas_.SetNeedsFullRedraw(false);
    current_.GetPainterAsLeft();
    canvas_.DamageCanvas();
}
