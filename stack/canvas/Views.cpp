#include "stack/canvas/Views.h"

#include "platform/base/Reference.h"
#include "stack/LayerStack.h"
#include "stack/LayerStackView.h"

#include <algorithm>
#include <utility>

void Views::TakeFrom(Views& other)
{
    views_ = std::exchange(other.views_, {});
}

void Views::Add(LayerStackView* view)
{
    if (view != nullptr && !Has(view))
        views_.push_back(view);
}

void Views::Remove(LayerStackView* view)
{
    std::erase(views_, view);
}

bool Views::Has(const LayerStackView* view) const
{
    return std::find(views_.begin(), views_.end(), view) != views_.end();
}

void Views::Call(const std::function<void(LayerStackView&)>& call) const
{
    // A view may end the last reference to the document; one that is not shared yet has none to keep.
    const qs::Reference<LayerStack> kept(stack_.GetRefCount() > 0 ? &stack_ : nullptr);
    const qs::vector<LayerStackView*> present = views_;
    for (LayerStackView* view : present)
        if (Has(view))
            call(*view);
}

void Views::DamageTile(const ilTile& onCanvas)
{
    for (LayerStackView* view : views_)
        view->DamageTile(onCanvas);
}

void Views::BeginTimer(int intervalMs)
{
    Call([intervalMs](LayerStackView& view) { view.BeginTimerBasedUpdate(intervalMs); });
}

void Views::EndTimer()
{
    Call([](LayerStackView& view) { view.EndTimerBasedUpdate(); });
}
