#include "stack/PropertySnapshot.h"

#include "platform/base/Notices.h"
#include "stack/StackPort.h"

#include <utility>

namespace {

/// All containers; the selection mask, which need not keep its handle, goes by a name of its own.
qs::vector<LayerContainer*> ContainersOf(const LayerStack& document)
{
    qs::vector<LayerContainer*> all;
    for (const LayerMode mode : {kLayerModeImage, kLayerModeMask, kLayerModeStencil})
        document.GetLayerFolder(mode)->GetLCArray_FLATTEN(&all);
    if (document.GetSelectionMask() != nullptr)
        all.push_back(document.GetSelectionMask());
    return all;
}

PntHandle NameOf(const LayerStack& document, const LayerContainer& container)
{
    return &container == document.GetSelectionMask() ? kNullHandle : container.GetLayerContainerHandle();
}

/// Finds one name after another in a list whose order is much the same: each search begins after the last find.
template <class List, class NameIn>
class OrderedSearch {
public:
    OrderedSearch(const List& list, NameIn nameIn) : list_(list), nameIn_(nameIn) {}

    const typename List::value_type* Find(const PntHandle& name)
    {
        for (size_t i = 0; i < list_.size(); ++i, ++next_) {
            if (next_ >= list_.size())
                next_ = 0;
            if (nameIn_(list_[next_]) == name)
                return &list_[next_++];
        }
        return nullptr;
    }

private:
    const List& list_;
    NameIn nameIn_;
    size_t next_ = 0;
};

}  // namespace

void PropertyChanges::Swap() noexcept
{
    for (auto& [container, properties] : containers_) {
        const ContainerProperties before = container->GetProperties();
        container->SetProperties(properties);
        properties = before;
    }
    if (document_ != nullptr)
        document_->SwapProperties(properties_);
}

PropertySnapshot::PropertySnapshot(LayerStack& document) : document_(document.GetProperties())
{
    const qs::vector<LayerContainer*> containers = ContainersOf(document);
    containers_.reserve(containers.size());
    for (const LayerContainer* container : containers)
        containers_.push_back({NameOf(document, *container), container->GetProperties()});
}

PropertyChanges PropertySnapshot::ChangesFor(LayerStack& other, LayerStack& now) const
{
    PropertyChanges changes;
    const qs::vector<LayerContainer*> present = ContainersOf(now);
    OrderedSearch inPresent(present, [&](const LayerContainer* one) { return NameOf(now, *one); });
    OrderedSearch inSnapshot(containers_, [](const Entry& entry) { return entry.handle; });
    for (LayerContainer* container : ContainersOf(other)) {
        const PntHandle name = NameOf(other, *container);
        LayerContainer* const* shown = inPresent.Find(name);
        const Entry* base = inSnapshot.Find(name);
        if (shown == nullptr || base == nullptr || (*shown)->GetProperties() == base->properties)
            continue;
        const ContainerProperties merged =
            MergeProperties(container->GetProperties(), base->properties, (*shown)->GetProperties());
        changes.containers_.emplace_back(container, merged);
    }
    changes.document_ = &other;
    changes.properties_ = MergeProperties(other.GetProperties(), document_, now.GetProperties());
    return changes;
}

void TellOtherProperties(const LayerStack& now, const LayerStack& before)
{
    const StackPort& port = GetStackPort();
    const Notices::Scope hold(*port.notices);
    const qs::vector<LayerContainer*> past = ContainersOf(before);
    OrderedSearch inPast(past, [&](const LayerContainer* one) { return NameOf(before, *one); });
    for (const LayerContainer* container : ContainersOf(now)) {
        LayerContainer* const* found = inPast.Find(NameOf(now, *container));
        if (found == nullptr)
            continue;
        const ContainerProperties& is = container->GetProperties();
        const ContainerProperties& was = (*found)->GetProperties();
        const PntHandle& handle = container->GetLayerContainerHandle();
        if (is.name != was.name)
            port.LayerRenamed(handle);
        if (is.opacity != was.opacity)
            port.OpacityRestored(handle, is.opacity);
        if (is.isVisible != was.isVisible || is.isActive != was.isActive)
            port.ContainerState(handle);
    }
}
