#include "stack/LayerStack.h"
#include "stack/StackParts.h"
#include "stack/edits/StackEdit.h"

#include <algorithm>
#include <cmath>

void LayerStack::DeleteLayersOf(LayerFolder* folder, bool keepHardLinked)
{
    const StackEdit edit(*this);
    parts_->proxy.End();
    qs::vector<LayerContainer*> contents;
    folder->GetLCArray_FLATTEN(&contents);
    qs::vector<qs::Reference<Layer>> layers;
    for (LayerContainer* container : contents)
        if (Layer* layer = dynamic_cast<Layer*>(container))
            if (!keepHardLinked || !layer->IsHardLinkToOwnerLayer())
                layers.emplace_back(layer);
    const bool holdsCurrent = std::find(layers.begin(), layers.end(), parts_->tree.GetCurrent()) != layers.end();
    for (const qs::Reference<Layer>& layer : layers)
        DeleteLayer(layer.get(), false);
    Layer* bottom = parts_->tree.GetBottomLayer(kLayerModeImage);
    if (holdsCurrent && bottom != nullptr) {
        parts_->current.Become(bottom);
        parts_->current.ResetPainter();
    }
}

void LayerStack::DeleteAllMasks(bool notify)
{
    const StackEdit edit(*this);
    DeleteLayersOf(parts_->tree.GetMaskFolder(), false);
    if (notify)
        Notify(true);
}

void LayerStack::DeleteAllStencils(bool notify, bool all)
{
    const StackEdit edit(*this);
    DeleteLayersOf(parts_->tree.GetStencilFolder(), !all);
    if (notify)
        Notify(true);
}
