#include "composite/CompositePort.h"

namespace {

CompositePort port = {
    .GetImageFolder = [](LayerStack*) -> LayerFolder* { return nullptr; },
    .GetCurrentLayer = [](LayerStack*) -> Layer* { return nullptr; },
    .GetContainer = [](LayerStack*, const PntHandle&) -> LayerContainer* { return nullptr; },
    .GetLayer = [](LayerStack*, const PntHandle&) -> Layer* { return nullptr; },
    .GetOwnerArray = [](LayerStack*, const PntHandle&) { return qs::vector<PntHandle>(); },
    .GetMaskLayers = [](LayerStack*, const PntHandle&) { return qs::vector<PntHandle>(); },
    .GetSize = [](LayerStack*) { return ilTile(); },
    .CompositesSuspended = [](LayerStack*) { return false; },
    .IsShowCurrentLayerOnly = [](LayerStack*) { return false; },
    .AreMasksShown = [](LayerStack*) { return true; },
    .GetUsedSelectionMask = [](LayerStack*) -> Layer* { return nullptr; },
    .GetMaskingPainter = [](LayerStack*) -> MaskingPaintOps* { return nullptr; },
    .Notify = [](LayerStack*, bool) {},
    .DamageTile = [](LayerStack*, const ilTile&) {},
};

}  // namespace

CompositePort& GetCompositePort()
{
    return port;
}
