#include "stack/LayerStack.h"
#include "stack/StackParts.h"
#include "stack/edits/StackEdit.h"

#include <algorithm>

bool LayerStack::DeleteTransformGroup(const PntHandle& handle, bool redraw)
{
    const StackEdit edit(*this);
    const qs::vector<PntHandle> group = parts_->groups.GetGroup(handle);
    if (group.empty())
        return false;
    for (const PntHandle& layer : group)
        parts_->groups.Leave(layer);
    for (const PntHandle& layer : group)
        DeleteCurrentLayer(layer, redraw && layer == group.back());
    return true;
}
