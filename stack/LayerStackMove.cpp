#include "stack/LayerStack.h"
#include "stack/StackParts.h"
#include "stack/edits/StackEdit.h"

bool LayerStack::MoveLayer(const PntHandle& moved, const PntHandle& target, bool above)
{
    const StackEdit edit(*this);
    LayerContainer* container = parts_->tree.GetLayerContainerFromHandle(moved);
    LayerContainer* neighbour = parts_->tree.GetLayerContainerFromHandle(target);
    LayerFolder* fromTop = nullptr;
    LayerFolder* toTop = nullptr;
    LayerFolder* from = parts_->tree.HoldingFolder(container, &fromTop);
    LayerFolder* to = parts_->tree.HoldingFolder(neighbour, &toTop);
    if (from == nullptr || to == nullptr || container == neighbour || fromTop != toTop)
        return false;
    const bool isFolder = dynamic_cast<LayerFolder*>(container) != nullptr;
    if (isFolder && (dynamic_cast<LayerFolder*>(neighbour) != nullptr || !parts_->tree.IsTopFolder(to)))
        return false;

    parts_->proxy.End();
    const qs::Reference<LayerContainer> keptContainer(container);
    const qs::Reference<LayerFolder> keptFrom(from);
    // From the folder itself, which then stays although it may be empty: the target may be that very folder.
    const bool isRemoved = from->RemoveLayerContainer(container);
    to->AddLayerContainer(container, neighbour, above);
    if (!parts_->tree.IsTopFolder(from) && from->GetSize() == 0)
        fromTop->RemoveLayerContainer(from);
    parts_->tree.RememberCurrentInFolder();
    container->SetStencilCompositeDirty(true);  // a stencil acts or not by the folder that holds it
    parts_->canvas.MarkTreeStale();
    parts_->canvas.BringCompositeUpToDate();
    return isRemoved;
}
