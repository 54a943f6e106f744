#pragma once

#include "platform/base/Containers.h"
#include "platform/base/Export.h"
#include "platform/base/Reference.h"

#include <cstddef>
#include <functional>
#include <type_traits>
#include <utility>

namespace qsRTB {

class ConnectionList;

/// One slot connected to a signal. The slot's callable is destroyed when the item is disconnected, but never while
/// the item is locked, that is while the slot runs.
class PAINTLAYER_EXPORT ConnectionItem : public qs::ReferenceCount {
public:
    /// Locks nest: a slot may emit its own signal.
    void connectionItem_lock() noexcept { ++locks_; }
    void connectionItem_unlock() noexcept;

    void Disconnect() noexcept;
    bool IsConnected() const noexcept { return list_ != nullptr; }

    void SetBlocked(bool blocked) noexcept { blocked_ = blocked; }
    bool IsBlocked() const noexcept { return blocked_; }

protected:
    /// Destroys the callable; whatever that runs may end the signal or this item's last outside reference.
    virtual void DropSlot() noexcept = 0;

private:
    friend class ConnectionList;

    ConnectionList* list_ = nullptr;  // null once disconnected; the list outlives its connected items
    int locks_ = 0;
    bool blocked_ = false;
};

/// The connections of one signal in the order they were made. A running emission keeps the list alive, so a slot
/// may destroy the signal; items that go during an emission stay in their places until the outermost one ends.
class PAINTLAYER_EXPORT ConnectionList : public qs::ReferenceCount {
public:
    ConnectionList() = default;
    ConnectionList(const ConnectionList&) = delete;
    ConnectionList& operator=(const ConnectionList&) = delete;
    ~ConnectionList() override;

    void Add(ConnectionItem* item);
    void DisconnectAll() noexcept;
    int GetNumConnected() const noexcept { return numConnected_; }

    /// Calls `call(item)` for every item present at the start that is still connected and not blocked when its
    /// turn comes, each locked meanwhile, also when `call` throws.
    template <class Call>
    void Walk(Call&& call);

private:
    class Walking;
    friend class ConnectionItem;

    void NoteDisconnected() noexcept;
    void Sweep() noexcept;

    qs::vector<qs::Reference<ConnectionItem>> items_;
    int numConnected_ = 0;
    int walks_ = 0;  // emissions under way
    bool hasGaps_ = false;  // disconnected items wait for the last of them to end
};

/// A copyable name for one connection. Everything is safe, and nothing happens, when the signal is gone.
class PAINTLAYER_EXPORT Connection {
public:
    Connection() = default;
    explicit Connection(qs::Reference<ConnectionItem> item) : item_(std::move(item)) {}

    /// The slot is never entered again; a call under way runs to its end.
    void Disconnect();
    bool IsConnected() const { return item_ && item_->IsConnected(); }

    /// A blocked slot stays connected and is passed over.
    void SetBlocked(bool blocked);
    bool IsBlocked() const { return item_ && item_->IsBlocked(); }

private:
    qs::Reference<ConnectionItem> item_;
};

/// What every signal has, whatever it carries.
class PAINTLAYER_EXPORT SignalBase {
public:
    SignalBase() = default;
    SignalBase(const SignalBase&) = delete;
    SignalBase& operator=(const SignalBase&) = delete;
    virtual ~SignalBase();

    /// Blocked connections count too.
    int GetNumConnections() const { return connections_ ? connections_->GetNumConnected() : 0; }

protected:
    Connection AddItem(qs::Reference<ConnectionItem> item);
    /// For the destructor of the complete signal: a slot that is destroyed may still turn to it.
    void DisconnectAll() noexcept;

    qs::Reference<ConnectionList> connections_;  // null until the first connection
};

/// How a slot is handed a `T`: references and small plain values as they are, other values without a copy.
template <class T>
using SlotArgument = std::conditional_t<std::is_reference_v<T> || std::is_scalar_v<T>, T, const T&>;

/// A notification that carries `Args` to any number of slots, called in the order in which they were connected.
///
/// Inside a slot everything is allowed: disconnecting this or another slot (one not yet reached is not called any
/// more), connecting (the new slot waits for the next emission), emitting again, destroying the signal (the rest
/// is not called). What a slot throws comes out of Emit(), and later slots are not called.
template <class... Args>
class Signal : public SignalBase {
public:
    using Slot = std::function<void(SlotArgument<Args>...)>;

    Signal() = default;
    ~Signal() override { DisconnectAll(); }

    /// An empty `slot` is not connected.
    Connection Connect(Slot slot)
    {
        if (!slot)
            return Connection();
        return AddItem(qs::MakeReference<Item>(std::move(slot)));
    }

    void Emit(SlotArgument<Args>... args) const
    {
        if (GetNumConnections() == 0)
            return;
        const qs::Reference<ConnectionList> kept = connections_;  // a slot may destroy this signal
        kept->Walk([&](ConnectionItem& item) { static_cast<Item&>(item).slot_(args...); });
    }

private:
    class Item : public ConnectionItem {
    public:
        explicit Item(Slot slot) : slot_(std::move(slot)) {}

        Slot slot_;

    protected:
        void DropSlot() noexcept override { Slot().swap(slot_); }
    };
};

/// One emission under way: counts it in and out, and sweeps the list after the outermost one.
class ConnectionList::Walking {
public:
    explicit Walking(ConnectionList& list) noexcept : list_(list) { ++list_.walks_; }
    Walking(const Walking&) = delete;
    Walking& operator=(const Walking&) = delete;

    ~Walking()
    {
        if (--list_.walks_ == 0 && list_.hasGaps_)
            list_.Sweep();
    }

private:
    ConnectionList& list_;
};

template <class Call>
void ConnectionList::Walk(Call&& call)
{
    struct Lock {
        explicit Lock(ConnectionItem& item) noexcept : item_(item) { item_.connectionItem_lock(); }
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;
        ~Lock() { item_.connectionItem_unlock(); }
        ConnectionItem& item_;
    };

    const Walking walking(*this);
    // By index, as a slot may connect and so move the array; the items themselves stay until the sweep.
    const std::size_t count = items_.size();
    for (std::size_t i = 0; i < count; ++i) {
        ConnectionItem& item = *items_[i];
        if (!item.IsConnected() || item.IsBlocked())
            continue;
        const Lock lock(item);
        call(item);
    }
}

}  // namespace qsRTB
