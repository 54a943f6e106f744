#include "stack/edits/DocumentEdit.h"

#include "layers/Layer.h"
#include "stack/LayerStack.h"
#include "stack/StackRooms.h"

DocumentEdit::DocumentEdit(StackRooms& rooms)
    : stack_(rooms.stack), properties_(rooms.properties), tree_(rooms.tree), groups_(rooms.groups),
      canvas_(rooms.canvas), selection_(rooms.selection), current_(rooms.current), plane_(rooms.plane),
      update_(rooms.update), redraw_(rooms.redraw), proxy_(rooms.proxy)
{}

void DocumentEdit::BeginEdit()
{
    proxy_.End();
    current_.DrainDamage();
}

void DocumentEdit::EndStructuralEdit(bool redraw)
{
    canvas_.MarkMaskStale();
    canvas_.MarkTreeStale();
    current_.GetPainter();
    if (redraw)
        update_.ForceUpdate();
    stack_.Notify(true);
}

qs::Reference<Layer> DocumentEdit::BeginPixelEdit(const PntHandle& handle)
{
    BeginEdit();
    const qs::Reference<Layer> layer = tree_.GetLayerFromHandle(handle);
    return layer && layer->GetImage() && layer->GetLayerType() == kLayerTypeRaster ? layer : nullptr;
}

void DocumentEdit::EndPixelEdit(Layer& layer, const ilTile& canvasTile)
{
    canvas_.TellChanged(layer);
    canvas_.DamageTile(ilTileIntersection(canvasTile, canvas_.GetSize()));
    current_.GetPainter();
    update_.ShowChange();
}
