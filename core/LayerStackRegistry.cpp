#include "core/LayerStackRegistry.h"

#include <algorithm>

int LayerStackRegistry::FindFree() const
{
    for (int i = 0; i < kSize; ++i)
        if (Get(i) == nullptr)
            return i;
    return kNone;
}

int LayerStackRegistry::FindUsedFrom(int place) const
{
    for (int i = std::max(place, 0); i < kSize; ++i)
        if (Get(i) != nullptr)
            return i;
    return kNone;
}

int LayerStackRegistry::IndexOf(const LayerStack* stack) const
{
    if (stack == nullptr)
        return kNone;
    for (int i = 0; i < kSize; ++i)
        if (Get(i) == stack)
            return i;
    return kNone;
}

int LayerStackRegistry::FindHolder(const PntHandle& container) const
{
    if (container == kCurrentLayerHandle) {
        const LayerStack* stack = Get(currentHandle_);
        return stack != nullptr && stack->GetLayerFromHandle(container) != nullptr ? currentHandle_ : kNone;
    }
    for (int i = 0; i < kSize; ++i) {
        const LayerStack* stack = Get(i);
        if (stack != nullptr && stack->GetLayerContainerFromHandle(container) != nullptr)
            return i;
    }
    return kNone;
}

void LayerStackRegistry::Put(int handle, qs::Reference<LayerStack> stack)
{
    if (IsPlace(handle))
        table_[static_cast<size_t>(handle)] = std::move(stack);
}

int LayerStackRegistry::Next()
{
    const int found = FindUsedFrom(cursor_);
    cursor_ = found == kNone ? kSize : found + 1;
    return found;
}
