#include "layers/HandleHints.h"

#include "layers/LayerContainer.h"

#include <bit>
#include <cstring>
#include <new>

namespace {

/// Identities are random, so that any of their words will do.
size_t HashOf(const PntHandle& handle)
{
    uint64_t word = 0;
    std::memcpy(&word, &handle.own, sizeof word);
    return static_cast<size_t>(word);
}

}  // namespace

LayerContainer* HandleHints::Find(const qs::vector<LayerContainer*>& children, const PntHandle& handle) const
{
    if (slots_.empty())
        return nullptr;
    const size_t mask = slots_.size() - 1;
    for (size_t i = HashOf(handle) & mask; slots_[i] != 0; i = (i + 1) & mask) {
        const size_t position = slots_[i] - 1;
        if (position < children.size() && children[position]->GetLayerContainerHandle() == handle)
            return children[position];
    }
    return nullptr;
}

void HandleHints::Rebuild(const qs::vector<LayerContainer*>& children) noexcept
{
    try {
        slots_.assign(std::bit_ceil(2 * children.size() + 1), 0);
    } catch (const std::bad_alloc&) {
        slots_.clear();
        return;
    }
    const size_t mask = slots_.size() - 1;
    for (size_t position = 0; position < children.size(); ++position) {
        size_t i = HashOf(children[position]->GetLayerContainerHandle()) & mask;
        while (slots_[i] != 0)
            i = (i + 1) & mask;
        slots_[i] = static_cast<uint32_t>(position + 1);
    }
}
