#include "stack/selection/SelectionLayers.h"

#include "stack/StackRooms.h"
#include "stack/edits/StackEdit.h"
#include "stack/selection/SelectionImages.h"

void SelectionLayers::Add(Layer* layer, bool rebuild)
{
    if (layer != nullptr)
        images_.Add(layer->GetImage(), layer->getXOffset(), layer->getYOffset(), rebuild);
}

void SelectionLayers::Subtract(Layer* layer, bool rebuild)
{
    if (layer != nullptr)
        images_.Subtract(layer->GetImage(), layer->getXOffset(), layer->getYOffset(), rebuild);
}

void SelectionLayers::Take(Layer* layer, bool rebuild)
{
    if (layer != nullptr)
        images_.Take(layer->GetImage(), layer->getXOffset(), layer->getYOffset(), rebuild);
}

qs::TempReference<ilSmartImage> SelectionLayers::Copy(Layer* layer)
{
    const qs::TempReference<ilMIOImage> image = layer != nullptr ? layer->GetImage() : nullptr;
    const ilTile onCanvas = selection_.GetCanvasBounds();
    if (!image || onCanvas.IsEmpty())
        return {};
    const ilTile onLayer = layer->ToLayer(onCanvas);
    const qs::Reference<ilSmartImage> copy(new ilSmartImage(ilPixel(image->GetDataType(), image->GetNumChannels())));
    const auto copyFrom = [&](const ilMIOImage& source) {
        copy->copyTile3D(onCanvas.x, onCanvas.y, 0, onCanvas.nx, onCanvas.ny, 1, source, onLayer.x, onLayer.y, 0);
    };
    copyFrom(*image);
    if (const qs::TempReference<ilSmartImage> shown = layer->GetStencilledImage(&onLayer, true))
        copyFrom(*shown);
    return copy;
}
