#include "stack/LayerStack.h"
#include "stack/StackEdit.h"

bool LayerStack::MoveLayer(const PntHandle& moved, const PntHandle& target, bool above)
{
    const StackEdit edit(*this);
    LayerContainer* container = GetLayerContainerFromHandle(moved);
    LayerContainer* neighbour = GetLayerContainerFromHandle(target);
    LayerFolder* fromTop = nullptr;
    LayerFolder* toTop = nullptr;
    LayerFolder* from = HoldingFolder(container, &fromTop);
    LayerFolder* to = HoldingFolder(neighbour, &toTop);
    if (from == nullptr || to == nullptr || container == neighbour || fromTop != toTop)
        return false;
    const bool isFolder = dynamic_cast<LayerFolder*>(container) != nullptr;
    if (isFolder && (dynamic_cast<LayerFolder*>(neighbour) != nullptr || !IsTopFolder(to)))
        return false;

    EndProxy();
    const qs::Reference<LayerContainer> keptContainer(container);
    const qs::Reference<LayerFolder> keptFrom(from);
    // From the folder itself, which then stays although it may be empty: the target may be that very folder.
    const bool isRemoved = from->RemoveLayerContainer(container);
    to->AddLayerContainer(container, neighbour, above);
    if (!IsTopFolder(from) && from->GetSize() == 0)
        fromTop->RemoveLayerContainer(from);
    RememberCurrentInFolder();
    container->SetStencilCompositeDirty(true);  // a stencil acts or not by the folder that holds it
    MarkTreeStale();
    BringCompositeUpToDate();
    return isRemoved;
}
