#pragma once

#include "platform/base/Containers.h"
#include "platform/imaging/pages/ilTile.h"

#include <functional>

class LayerStack;
class LayerStackView;

/// Who shows a document. A view may add and remove views, itself included, and release the document while it is called.
class Views {
public:
    explicit Views(LayerStack& stack) : stack_(stack) {}

    void Add(LayerStackView* view);
    void Remove(LayerStackView* view);
    bool Has(const LayerStackView* view) const;
    bool IsEmpty() const { return views_.empty(); }
    void Clear() { views_.clear(); }
    void TakeFrom(Views& other);

    void DamageTile(const ilTile& onCanvas);
    void BeginTimer(int intervalMs);
    void EndTimer();

    /// Calls those that are there now and have not been removed when their turn comes.
    void Call(const std::function<void(LayerStackView&)>& call) const;

private:
    LayerStack& stack_;
    qs::vector<LayerStackView*> views_;  // not owned, unique, in the order of Add
};
