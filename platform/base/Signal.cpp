#include "platform/base/Signal.h"

#include <algorithm>

namespace qsRTB {

void ConnectionItem::connectionItem_unlock() noexcept
{
    if (--locks_ == 0 && !IsConnected())
        DropSlot();
}

void ConnectionItem::Disconnect() noexcept
{
    if (!IsConnected())
        return;
    // Leaving the list and dropping the slot may each end the last reference to this item: a slot may hold the very
    // connection through which it is disconnected.
    const qs::Reference<ConnectionItem> kept = this;
    std::exchange(list_, nullptr)->NoteDisconnected();
    if (locks_ == 0)
        DropSlot();
}

ConnectionList::~ConnectionList()
{
    DisconnectAll();
}

void ConnectionList::Add(ConnectionItem* item)
{
    items_.emplace_back(item);
    item->list_ = this;
    ++numConnected_;
}

void ConnectionList::NoteDisconnected() noexcept
{
    --numConnected_;
    hasGaps_ = true;
    if (walks_ == 0)
        Sweep();
}

void ConnectionList::DisconnectAll() noexcept
{
    const Walking walking(*this);
    // A slot's destruction may connect anew and so move the array: by index, and the end is looked at each time.
    // NOLINTNEXTLINE(modernize-loop-convert)
    for (std::size_t i = 0; i < items_.size(); ++i)
        items_[i]->Disconnect();
}

void ConnectionList::Sweep() noexcept
{
    hasGaps_ = false;
    std::erase_if(items_, [](const auto& item) { return !item->IsConnected(); });
}

void Connection::Disconnect()
{
    if (item_)
        item_->Disconnect();
}

void Connection::SetBlocked(bool blocked)
{
    if (item_)
        item_->SetBlocked(blocked);
}

SignalBase::~SignalBase() = default;

void SignalBase::DisconnectAll() noexcept
{
    // An emission under way keeps the list, but must not call any further slot.
    if (connections_)
        connections_->DisconnectAll();
}

Connection SignalBase::AddItem(qs::Reference<ConnectionItem> item)
{
    if (!connections_)
        connections_ = qs::MakeReference<ConnectionList>();
    connections_->Add(item.get());
    return Connection(std::move(item));
}

}  // namespace qsRTB
